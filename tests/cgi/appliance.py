"""A private root with the appliance's files, in which single requests are run.

Whatever the program runs (pidof, ifconfig, adsl-start, ...) is one stub, which records how it was called and
gives prepared answers; scripts of the appliance are recorded by /bin/sh, which then really runs them. What a
script runs is not recorded. The shell's builtin kill is taken away, so that no test can signal a stranger's
process; `kill` is a stub as well.

Each page's template is made of the shipped one's markers alone, a line "key=[value]=" each, and of the key "typed",
which no page knows, so that a test reads what a page shows whatever it looks like (Result.shown).
"""

import ctypes
import fcntl
import os
import re
import resource
import shutil
import signal
import socket
import stat
import subprocess
import time
import urllib.parse
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("NAT_PROGRAM") or PROJECT / "build/nat.cgi")
WWW = PROJECT / "build/www"
SYMBOLIZE = PROJECT / "tests/sanitize/symbolize"
SANITIZED = bool(os.environ.get("NAT_SANITIZED"))
CLONE_NEWUSER = 0x10000000

MESSAGES = (line.split("-", 1) for line in (WWW / "cgi_err").read_text().splitlines())
MESSAGES = {int(number): text for number, text in MESSAGES}

RECORD, WAN, SETTINGS = "/etc/ppp/nat_ppp.con", "/etc/ppp/CGI_nat.conf", "/etc/CGI_qs.conf"
PAP, CHAP, PPPOE = "/etc/ppp/pap-secrets", "/etc/ppp/chap-secrets", "/etc/ppp/pppoe.conf"
USER, IP_UP, IFCFG = "/etc/ppp/user", "/etc/ppp/ip-up", "/etc/sysconfig/network-scripts/ifcfg-eth0"
FILTER = "/usr/local/squid/etc/filter.conf"
FACTORY = "/usr/share/quillstead/factory.tar"
CHANGES = "/var/lib/quillstead-admin/changes"

# Commands that several pages run.
IS_PPP = "/sbin/pidof pppd"
IS_MODEM, IS_PPPOE = "/sbin/pidof diald", "/sbin/pidof -x adsl-connect"
HAS_ADDRESS = "/sbin/ifconfig %s"
LINK_UP = "/etc/ppp/ip-up %s"
NETWORK = [f"/usr/share/quillstead/network/NET_Set{name}" for name in ("TCPIP", "Netatalk", "DHCPServer")]
SQUID = ["/sbin/pidof squid", "/usr/local/squid/bin/squid"]
SET_DNS = "/usr/share/quillstead/network/NET_SetDNS"
SET_MODULE = "/usr/share/quillstead/public/PUB_SetModule -m %s -%s"

INSTALLED = "usr/lib/quillstead/nat.cgi"
HARNESS = ".harness"  # the recorder's own folder in the root
SHARED = {"bin/bash": "/bin/bash-static", "bin/busybox": "/bin/busybox", INSTALLED: PROGRAM}
FOLDERS = (HARNESS + "/answers", "bin", "dev", "sbin", "tmp", "usr/sbin", "usr/bin", "var/log", "var/run", "www")
TOOLS = """awk basename cat chmod chown cmp cp cut date dd dirname echo egrep expr find grep head id ln ls mkdir mktemp
    mv printf rm rmdir sed seq sleep sort tail tee test touch tr true false uniq wc xargs""".split()
STUBS = {
    "bin": "kill ping",
    "sbin": "depmod ifconfig ifdown ifup insmod ipchains ipvsadm lsmod modprobe pidof rmmod route",
    "usr/sbin": "adsl-connect adsl-start adsl-stop chat diald pppd pppoe",
    "etc/ppp": "dial",
    "usr/local/squid/bin": "squid",
    "usr/share/quillstead/network": "NET_ReadNetworkInfo NET_SetDHCPServer NET_SetDNS NET_SetNetatalk NET_SetTCPIP",
    "usr/share/quillstead/public": "PUB_SetModule",
}

SECRETS = (PAP, CHAP, WAN)

RECORD_CALL = """call="$*"
[[ -v WITHIN ]] || printf '%s\\0' "$call" >> /.harness/commands
export WITHIN=${WITHIN:-$PPID}
"""
SHELL = """#!/bin/bash
enable -n kill
export BASH_ENV=/.harness/bashrc
. /.harness/record "$@"
if [[ -e /.harness/scripts_are_stubs && $1 == /etc/* ]]; then
    name=${1##*/}
    shift
    . /.harness/stub
else
    exec /bin/bash "$@"
fi
"""
STUB = """#!/bin/bash
. /.harness/record "$0" "$@"
call="${name:-${0##*/}}${*:+ $*}"
status=0 text=
{ read -r status; IFS= read -rd '' text; } 2> /dev/null < "/.harness/answers/${call//\\//%}"
printf '%s' "$text"
exit "$status"
"""


def text_of(octets):
    """The text of a file or answer, or its octets where they are no text."""
    try:
        return octets.decode()
    except UnicodeDecodeError:
        return octets


def told(number, *values):
    """The text of a message, with its values; of none without a number."""
    text = MESSAGES[number] if number else ""
    return text % values if values else text


def octets(prefix, address):
    """The fields that an address is typed into."""
    return {f"{prefix}{number}": octet for number, octet in enumerate(address.split("."), 1)}


def plain(template):
    """A template of another one's markers, a line "key=[value]=" each, the message last."""
    markers = dict.fromkeys(re.findall(r"((?://)?@\w+)\|?\w*#", template))
    markers["@message"] = markers.pop("@message", None)
    return "".join(f"{marker.lstrip('/@')}=[{marker}#]=\n" for marker in markers)


def until(condition):
    """Waits for a condition to come true."""
    end = time.monotonic() + 20
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.02)


def free_ports(address, number):
    sockets = [socket.create_server((address, 0)) for _ in range(number)]
    ports = [each.getsockname()[1] for each in sockets]
    for each in sockets:
        each.close()
    return ports


def become_root():
    """Gives an ordinary user a namespace of its own, in which it may change its root folder."""
    user, group = os.getuid(), os.getgid()
    if user == 0:
        return
    if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWUSER) != 0:
        raise OSError(ctypes.get_errno(), "no user namespace")
    for name, line in ("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1"):
        with open(f"/proc/self/{name}", "w") as file:
            file.write(line)


def enter(root):
    become_root()
    os.umask(0o022)
    if not SANITIZED:
        os.chroot(root)
        os.chdir("/www")


def make_template(root):
    """Builds what every private root is copied from."""
    root = Path(root)
    for folder in (*FOLDERS, *STUBS):
        (root / folder).mkdir(parents=True, exist_ok=True)
    (root / "tmp").chmod(0o1777)
    for tool in TOOLS:
        (root / "bin" / tool).symlink_to("busybox")
    for source, target in (PROJECT / "lab/factory", root), (WWW, root / "www"):
        shutil.copytree(source, target, dirs_exist_ok=True)
    archive = PROJECT / "deploy/factory-archive.sh", PROJECT / "lab/factory", root / FACTORY.lstrip("/")
    subprocess.run(archive, check=True)
    for path in root.rglob("*"):  # a checkout keeps nothing of a mode but the right to run
        if path.is_file() and not path.is_symlink():
            is_secret, is_program = f"/{path.relative_to(root)}" in SECRETS, path.stat().st_mode & 0o100
            path.chmod(0o600 if is_secret else 0o755 if is_program else 0o644)
    for path in (root / "www").glob("*.htm"):
        path.write_text(f"page=[{path.name}]=\n" + plain("@typed#" + path.read_text()))
    harness = {"bin/sh": SHELL, f"{HARNESS}/stub": STUB, f"{HARNESS}/record": RECORD_CALL}
    for path, text in {**harness, f"{HARNESS}/bashrc": "enable -n kill\n"}.items():
        (root / path).write_text(text)
        (root / path).chmod(0o755)
    for folder, names in STUBS.items():
        for name in names.split():
            (root / folder / name).unlink(missing_ok=True)
            (root / folder / name).symlink_to(f"/{HARNESS}/stub")
    try:
        os.mknod(root / "dev/null", stat.S_IFCHR | 0o666, os.makedev(1, 3))
        (root / "dev/null").chmod(0o666)
    except PermissionError:
        (root / "dev/null").touch()


class Result:
    """What one request answered, ran and changed."""

    def __init__(self, finished, commands, before, after):
        self.status, self.stdout = finished.returncode, finished.stdout
        self.stderr = finished.stderr.decode(errors="replace")
        head, _, body = self.stdout.partition(b"\n\n")
        self.body = text_of(body)
        self.headers = dict(line.split(": ", 1) for line in head.decode("latin-1").splitlines() if ": " in line)
        self.commands = commands
        self.changed = {path: text_of(now) for path, now in after.items() if before.get(path) != now}
        self.removed = before.keys() - after.keys()
        self.did_nothing = not (self.changed or self.removed or commands)
        self.shown = dict(re.findall(r"^(\w+)=\[(.*?)\]=$", str(self.body), re.DOTALL | re.MULTILINE))
        self.page = self.shown.pop("page", None)
        self.message = self.shown.pop("message", "").removesuffix("\n")


class Appliance:
    def __init__(self, root, template):
        self.root = Path(root)
        self.disk = None  # the octets to which a file can grow
        self.program = PROGRAM
        subprocess.run(["cp", "-a", template, self.root], check=True)
        for path, source in SHARED.items():
            target = self.root / path
            target.parent.mkdir(parents=True, exist_ok=True)
            try:
                os.link(os.path.realpath(source), target)
            except OSError:  # another file system
                shutil.copy2(source, target)

    # The root's files. All paths are the appliance's own absolute ones.

    def at(self, path):
        return self.root / path.lstrip("/")

    def read(self, path):
        return text_of(self.at(path).read_bytes())

    def write(self, path, text, mode=0o644):
        """Makes a file; with None for the text there is none."""
        if text is None:
            return self.at(path).unlink(missing_ok=True)
        self.at(path).parent.mkdir(parents=True, exist_ok=True)
        self.at(path).write_bytes(text if isinstance(text, bytes) else text.encode())
        self.at(path).chmod(mode)

    def block(self, path):
        """Puts a folder where a file should be, so that it can be neither read nor written."""
        self.at(path).unlink(missing_ok=True)
        self.at(path).mkdir()

    def keys(self, path):
        """The lines key=value of a file."""
        return dict(line.split("=", 1) for line in self.read(path).splitlines() if "=" in line)

    def change(self, path, **values):
        """Changes lines key=value of a file and returns its text."""
        text = self.read(path)
        for key, value in values.items():
            text, found = re.subn(f"(?m)^{key}=.*$", lambda _: f"{key}={value}", text)
            assert found == 1
        self.write(path, text, self.mode(path))
        return text

    def exists(self, path):
        return os.path.lexists(self.at(path))

    def mode(self, path):
        return stat.S_IMODE(self.at(path).stat().st_mode)

    def snapshot(self):
        """The content of every file; of a link, where it leads."""
        found = {}
        for folder, folders, files in os.walk(self.root):
            if folder == str(self.root):
                folders[:] = [name for name in folders if name not in (HARNESS, "dev", "bin", "sbin", "run")]
            for name in (*files, *folders):
                path = os.path.join(folder, name)
                if os.path.islink(path):
                    content = b"-> " + os.readlink(path).encode()
                elif name in folders or path == str(self.at(INSTALLED)):
                    continue
                elif os.path.isfile(path):
                    with open(path, "rb") as file:
                        content = file.read()
                else:
                    content = b""  # a fifo
                found[path[len(str(self.root)):]] = content
        return found

    # The appliance around the program.

    def answer(self, call, text="", status=0):
        """Prepares what a stubbed program prints and returns when called with exactly these words."""
        self.write(f"/{HARNESS}/answers/{call.replace('/', '%')}", f"{status}\n{text}")

    def meet(self, pid):
        """Puts what the kernel tells of a process into the root's /proc."""
        until(lambda: Path(f"/proc/{pid}/cmdline").read_bytes())  # while it starts it has none
        self.write(f"/proc/{pid}/cmdline", Path(f"/proc/{pid}/cmdline").read_bytes())
        self.write(f"/proc/{pid}/exe", None)
        self.at(f"/proc/{pid}/exe").symlink_to(os.readlink(f"/proc/{pid}/exe"))

    def stub_scripts(self):
        """Makes the scripts below /etc (ip-up, rc.ipvs, ...) stubs too; otherwise they really run."""
        self.write(f"/{HARNESS}/scripts_are_stubs", "")

    def practise(self, *names):
        """Puts the practice appliance's strict stand-ins in place of stubs."""
        for name in ("usr/lib/practice/common", *names):
            self.at(name).unlink(missing_ok=True)
            self.write(name, (PROJECT / f"lab/commands/{name}.sh").read_text(), 0o755)

    def take_turn(self, text=""):
        """Holds the lock of acting requests until the file is closed that it returns."""
        self.at("/run/quillstead-admin").mkdir(parents=True, exist_ok=True)
        lock = open(self.at("/run/quillstead-admin/lock"), "w+")
        lock.write(text)
        lock.flush()
        fcntl.lockf(lock, fcntl.LOCK_EX)
        return lock

    def processes(self):
        """The processes that have this root."""
        found = subprocess.run(["find", "/proc", "-maxdepth", "2", "-path", "/proc/[0-9]*/root", "-printf", "%h %l\n"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
        return [int(pid) for pid in re.findall(f"(?m)^/proc/(\\d+) {re.escape(str(self.root))}$", found)]

    def end_processes(self):
        for pid in self.processes():
            os.kill(pid, signal.SIGTERM)

    def start_anew(self):
        """The kernel tells of another boot."""
        self.write("/proc/sys/kernel/random/boot_id", "0b5e55ed-0000-4000-8000-000000000000\n")

    # Requests.

    def view(self, page):
        return self.get(f"next_file={page}")

    def save(self, page, **fields):
        return self.post({"this_file": page, "todo": "save", "next_file": "nat_base.htm", **fields})

    def get(self, query="", env=None):
        return self.request({"REQUEST_METHOD": "GET", "QUERY_STRING": query, **(env or {})}, b"")

    def post(self, form, env=None):
        body = form if isinstance(form, (bytes, str)) else urllib.parse.urlencode(form)
        body = body.encode() if isinstance(body, str) else body
        return self.request(
            {
                "REQUEST_METHOD": "POST",
                "CONTENT_TYPE": "application/x-www-form-urlencoded",
                "CONTENT_LENGTH": str(len(body)),
                **(env or {}),
            },
            body,
        )

    def enter(self):
        enter(self.root)
        if self.disk is not None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (self.disk, self.disk))

    def request(self, env, body):
        """Runs the program once. A variable given as None is not set."""
        env = {"PATH": "/sbin:/bin:/usr/sbin:/usr/bin", **env}
        program = "/" + INSTALLED
        if SANITIZED:
            env["NAT_TEST_ROOT"] = str(self.root)
            program = str(self.program)
        record = self.at(f"/{HARNESS}/commands")
        record.unlink(missing_ok=True)
        before = self.snapshot()
        finished = subprocess.run(
            [program],
            env={name: value for name, value in env.items() if value is not None},
            input=body,
            capture_output=True,
            preexec_fn=self.enter,
            timeout=30,
        )
        commands = record.read_bytes().split(b"\0")[:-1] if record.exists() else []
        result = Result(finished, [text_of(each) for each in commands], before, self.snapshot())
        if finished.returncode < 0 or re.search("Sanitizer|runtime error:", result.stderr):
            report = subprocess.run([SYMBOLIZE], input=result.stderr, stdout=subprocess.PIPE, text=True)
            raise AssertionError(f"the program broke down, status {result.status}\n{report.stdout}")
        return result
