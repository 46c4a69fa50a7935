"""A private root with the appliance's files, in which single requests are run.

Whatever the program runs is one stub, which records how it was called and gives prepared answers;
scripts are recorded by /bin/sh, which then really runs them. What a script runs is not recorded.
No test can signal a stranger's process: `kill` is a stub, also the shell's own.

Of a page's template only the markers are left, a line "key=[value]=" each, and "typed", which no
page knows: a test reads what is shown whatever it looks like (Result.shown).
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
from contextlib import ExitStack, suppress
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
PROGRAM = Path(os.environ.get("NAT_PROGRAM") or PROJECT / "build/nat.cgi")
WWW = PROJECT / "build/www"
SYMBOLIZE = PROJECT / "tests/sanitize/symbolize"
SANITIZED = bool(os.environ.get("NAT_SANITIZED"))
CLONE_NEWUSER = 0x10000000

MESSAGES = {int(number): text for number, _, text in (
    line.partition("-") for line in (WWW / "cgi_err").read_text().splitlines())}

RECORD, WAN, SETTINGS = "/etc/ppp/nat_ppp.con", "/etc/ppp/CGI_nat.conf", "/etc/CGI_qs.conf"
PAP, CHAP, PPPOE = "/etc/ppp/pap-secrets", "/etc/ppp/chap-secrets", "/etc/ppp/pppoe.conf"
USER, IP_UP = "/etc/ppp/user", "/etc/ppp/ip-up"
IFCFG = "/etc/sysconfig/network-scripts/ifcfg-eth0"
SECRETS = (PAP, CHAP, WAN)
FILTER = "/usr/local/squid/etc/filter.conf"
FACTORY = "/usr/share/quillstead/factory.tar"
CHANGES = "/var/lib/quillstead-admin/changes"

IS_PPP, IS_MODEM = "/sbin/pidof pppd", "/sbin/pidof diald"
IS_PPPOE = "/sbin/pidof -x adsl-connect"
HAS_ADDRESS, LINK_UP = "/sbin/ifconfig %s", "/etc/ppp/ip-up %s"
NET_SET = "/usr/share/quillstead/network/NET_Set"
NETWORK, SET_DNS = [NET_SET + each for each in ("TCPIP", "Netatalk", "DHCPServer")], NET_SET + "DNS"
SQUID = ["/sbin/pidof squid", "/usr/local/squid/bin/squid"]
SET_MODULE = "/usr/share/quillstead/public/PUB_SetModule -m %s -%s"

INSTALLED = "usr/lib/quillstead/nat.cgi"
HARNESS = ".harness"  # the recorder's own folder in the root
SHARED = {"bin/bash": "/bin/bash-static", "bin/busybox": "/bin/busybox", INSTALLED: PROGRAM}
FOLDERS = HARNESS + "/answers", "dev", "tmp", "usr/bin", "var/log", "var/run", "www"
TOOLS = """awk basename cat chmod chown cmp cp cut date dd dirname echo egrep expr find grep head
    id ln ls mkdir mktemp mv printf rm rmdir sed seq sleep sort tail tee test touch tr true false
    uniq wc xargs""".split()
STUBS = {
    "bin": "kill ping",
    "sbin": "depmod ifconfig ifdown ifup insmod ipchains ipvsadm lsmod modprobe pidof rmmod route",
    "usr/sbin": "adsl-connect adsl-start adsl-stop chat diald pppd pppoe",
    "etc/ppp": "dial",
    "usr/local/squid/bin": "squid",
    "usr/share/quillstead/network":
        "NET_ReadNetworkInfo NET_SetDHCPServer NET_SetDNS NET_SetNetatalk NET_SetTCPIP",
    "usr/share/quillstead/public": "PUB_SetModule",
}

RECORD_CALL = """[[ -v WITHIN ]] || printf '%s\\0' "$*" >> /.harness/commands
enable -n kill
export WITHIN=1 BASH_ENV=/.harness/record
"""
SHELL = """#!/bin/bash
. /.harness/record "$@"
[[ -e /.harness/scripts_are_stubs && $1 == /etc/* ]] || exec /bin/bash "$@"
name=${1##*/}
shift
. /.harness/stub
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
    end = time.monotonic() + 20
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.02)


def free_ports(address, number):
    with ExitStack() as servers:
        made = (socket.create_server((address, 0)) for _ in range(number))
        return [servers.enter_context(each).getsockname()[1] for each in made]


def become_root():
    """Gives an ordinary user a namespace of its own, in which it may change its root folder."""
    user, group = os.getuid(), os.getgid()
    if user == 0:
        return
    if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWUSER) != 0:
        raise OSError(ctypes.get_errno(), "no user namespace")
    Path("/proc/self/setgroups").write_text("deny")
    Path("/proc/self/uid_map").write_text(f"0 {user} 1")
    Path("/proc/self/gid_map").write_text(f"0 {group} 1")


def enter(root):
    become_root()
    os.umask(0o022)
    if not SANITIZED:
        os.chroot(root)
        os.chdir("/www")


def make_template(root):
    root = Path(root)
    for folder in (*FOLDERS, *STUBS):
        (root / folder).mkdir(parents=True, exist_ok=True)
    (root / "tmp").chmod(0o1777)
    for tool in TOOLS:
        (root / "bin" / tool).symlink_to("busybox")
    for source, target in (PROJECT / "lab/factory", root), (WWW, root / "www"):
        shutil.copytree(source, target, dirs_exist_ok=True)
    subprocess.run([PROJECT / "deploy/factory-archive.sh", PROJECT / "lab/factory",
                    root / FACTORY.lstrip("/")], check=True)
    for path in root.rglob("*"):  # a checkout keeps nothing of a mode but the right to run
        if path.is_file() and not path.is_symlink():
            is_secret = f"/{path.relative_to(root)}" in SECRETS
            path.chmod(0o600 if is_secret else 0o755 if path.stat().st_mode & 0o100 else 0o644)
    for path in (root / "www").glob("*.htm"):
        path.write_text(f"page=[{path.name}]=\n" + plain("@typed#" + path.read_text()))
    harness = {"bin/sh": SHELL, f"{HARNESS}/stub": STUB, f"{HARNESS}/record": RECORD_CALL}
    for path, text in harness.items():
        (root / path).write_text(text)
        (root / path).chmod(0o755)
    for stub in (root / folder / name for folder in STUBS for name in STUBS[folder].split()):
        stub.unlink(missing_ok=True)
        stub.symlink_to(f"/{HARNESS}/stub")
    with suppress(PermissionError):
        os.mknod(root / "dev/null", stat.S_IFCHR | 0o666, os.makedev(1, 3))
    (root / "dev/null").touch()
    (root / "dev/null").chmod(0o666)


class Result:
    def __init__(self, finished, commands, before, after):
        self.status, self.stdout = finished.returncode, finished.stdout
        self.stderr = finished.stderr.decode(errors="replace")
        head, _, body = self.stdout.partition(b"\n\n")
        self.body = text_of(body)
        self.headers = dict(re.findall("(?m)^(.*?): (.*)$", head.decode("latin-1")))
        self.commands = commands
        self.changed = {path: text_of(after[path]) for path, _ in after.items() - before.items()}
        self.removed = before.keys() - after.keys()
        self.did_nothing = not (self.changed or self.removed or commands)
        self.shown = dict(re.findall(r"(?ms)^(\w+)=\[(.*?)\]=$", str(self.body)))
        self.page = self.shown.pop("page", None)
        self.message = self.shown.pop("message", "").removesuffix("\n")


class Appliance:
    def __init__(self, root, template):
        self.root = Path(root)
        self.disk = None  # the octets to which a file can grow
        self.program = PROGRAM
        subprocess.run(["cp", "-a", template, self.root], check=True)
        for target, source in ((self.root / path, source) for path, source in SHARED.items()):
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
        return dict(line.split("=", 1) for line in self.read(path).splitlines() if "=" in line)

    def record(self):
        """The lines of the record that a save keeps."""
        lines = self.keys(RECORD)
        return {key: value for key, value in lines.items() if not key.startswith("VPN")}

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
        found, root = {}, str(self.root)
        for folder, folders, files in os.walk(root):
            if folder == root:
                folders[:] = set(folders) - {HARNESS, "dev", "bin", "sbin", "run"}
            for path in (os.path.join(folder, name) for name in (*files, *folders)):
                name = path[len(root):]
                if os.path.islink(path):
                    found[name] = b"-> " + os.readlink(path).encode()
                elif os.path.isfile(path) and name != f"/{INSTALLED}":
                    found[name] = Path(path).read_bytes()
        return found

    # The appliance around the program.

    def answer(self, call, text="", status=0):
        """Prepares what a stubbed program prints and returns when called with just these words."""
        self.write(f"/{HARNESS}/answers/{call.replace('/', '%')}", f"{status}\n{text}")

    def meet(self, pid):
        """Puts what the kernel tells of a process into the root's /proc."""
        until(lambda: Path(f"/proc/{pid}/cmdline").read_bytes())  # while it starts it has none
        self.write(f"/proc/{pid}/cmdline", Path(f"/proc/{pid}/cmdline").read_bytes())
        self.write(f"/proc/{pid}/exe", None)
        self.at(f"/proc/{pid}/exe").symlink_to(os.readlink(f"/proc/{pid}/exe"))

    def stub_scripts(self):
        """Makes the scripts below /etc stubs too; otherwise they really run."""
        self.write(f"/{HARNESS}/scripts_are_stubs", "")

    def practise(self, *names):
        """Puts the practice appliance's strict stand-ins in place of stubs."""
        for name in ("usr/lib/practice/common", *names):
            self.write(name, None)
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
        command = [*"find /proc -maxdepth 2 -path /proc/[0-9]*/root -lname".split(), self.root]
        found = subprocess.run(command, capture_output=True, text=True).stdout
        return [int(pid) for pid in re.findall("[0-9]+", found)]

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
        body = urllib.parse.urlencode(form) if isinstance(form, dict) else form
        body = body.encode() if isinstance(body, str) else body
        head = {"REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(body)),
                "CONTENT_TYPE": "application/x-www-form-urlencoded"}
        return self.request({**head, **(env or {})}, body)

    def enter(self):
        enter(self.root)
        if self.disk is not None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (self.disk, self.disk))

    def request(self, env, body):
        """Runs the program once. A variable given as None is not set."""
        root = {"NAT_TEST_ROOT": str(self.root)} if SANITIZED else {}
        env = {"PATH": "/sbin:/bin:/usr/sbin:/usr/bin", **root, **env}
        program = str(self.program) if SANITIZED else "/" + INSTALLED
        record = self.at(f"/{HARNESS}/commands")
        record.unlink(missing_ok=True)
        before = self.snapshot()
        env = {name: value for name, value in env.items() if value is not None}
        finished = subprocess.run([program], env=env, input=body, capture_output=True,
                                  preexec_fn=self.enter, timeout=30)
        commands = record.read_bytes().split(b"\0")[:-1] if record.exists() else []
        result = Result(finished, [text_of(each) for each in commands], before, self.snapshot())
        if result.status < 0 or re.search("Sanitizer|runtime error:", result.stderr):
            report = subprocess.run([SYMBOLIZE], input=finished.stderr, capture_output=True).stdout
            raise AssertionError(f"the program broke down, {result.status}\n{report.decode()}")
        return result
