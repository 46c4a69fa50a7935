"""A private root with factory settings, in which single requests are run, timed, counted and traced."""

import ast
import os
import re
import shutil
import stat
import subprocess
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

from cases import COMMANDS, encoded

BENCH = Path(__file__).resolve().parent
PROJECT = BENCH.parent
VALGRIND = Path("/usr/libexec/valgrind")
AS_ROOT = ["unshare", "--map-root-user"] if os.geteuid() else ["unshare"]
ENTER = [*AS_ROOT, "--user"] if os.geteuid() else []

ASKED = {command for answer, commands in COMMANDS.items() if answer for command in commands.split()}


@dataclass
class Cost:
    """Of one run: microseconds, those of the processor, kB, page faults."""

    wall: int
    cpu: int
    peak: int
    faults: int

    def least(self, other):
        return Cost(*map(min, vars(self).values(), vars(other).values())) if other else self


@dataclass
class Trace:
    """System calls of one run: the program's own, those of its commands too, and what they did."""

    own: int
    all: int
    fsyncs: int
    syncs: int
    reads: Counter
    replaced: Counter
    commands: list


def compile_c(source, target, *options):
    subprocess.run(["gcc", "-O2", "-static", "-s", *options, "-o", target, BENCH / source], check=True)


def view(page):
    return {"REQUEST_METHOD": "GET", "QUERY_STRING": f"next_file={page}.htm"}, b""


def posted(form):
    body, kind = encoded(form)
    return {"REQUEST_METHOD": "POST", "CONTENT_TYPE": kind, "CONTENT_LENGTH": str(len(body))}, body


class Appliance:
    def __init__(self, folder, program):
        self.folder, self.root = Path(folder), Path(folder) / "root"
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(PROJECT / "lab/factory", self.root)
        shutil.copytree(PROJECT / "build/www", self.root / "www")
        for name in ("bin", "dev", "proc", "tmp", "var/log", str(VALGRIND).lstrip("/")):
            self.at(name).mkdir(parents=True, exist_ok=True)
        try:
            os.mknod(self.at("/dev/null"), stat.S_IFCHR | 0o666, os.makedev(1, 3))
        except PermissionError:
            self.at("/dev/null").touch()
        shutil.copy(program, self.at("/nat.cgi"))
        for number, (answer, commands) in enumerate(COMMANDS.items()):
            stub = self.folder / f"stub{number}"
            compile_c("stub.c", stub, "-nostartfiles", f"-DANSWER={literal(answer.encode())}")
            for command in commands.split():
                self.at(command).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(stub, self.at(command))
        for path in self.root.glob("etc/**/*"):
            if path.is_file() and path.read_bytes().startswith(b"#!"):  # a checkout may have lost the mode
                path.chmod(0o755)
        compile_c("measure.c", self.folder / "measure")
        self.run("/nat.cgi", view("nat_base"))  # makes the record

    def at(self, path):
        return self.root / str(path).lstrip("/")

    def text(self, path):
        """Empty when there is no such file."""
        return self.at(path).read_text() if self.at(path).exists() else ""

    def change(self, path, **values):
        """Changes lines key=value of a file."""
        text = self.at(path).read_text()
        for key, value in values.items():
            text = re.sub(f"(?m)^{key}=.*$", f"{key}={value}", text)
        self.at(path).write_text(text)

    def set_method(self, method):
        self.change("/etc/ppp/nat_ppp.con", Method=method, User="ann")
        self.change("/etc/ppp/CGI_nat.conf", nat_enable="yes" if method else "no", connect_method=method)

    def files(self):
        """What requests can change: octets and modes."""
        return {path: (path.read_bytes(), stat.S_IMODE(path.stat().st_mode))
                for top in ("etc", "tmp", "usr", "var", "www") for path in self.at(top).rglob("*") if path.is_file()}

    def restore(self, changed, before):
        for path in changed:
            if path not in before:
                path.unlink(missing_ok=True)
                continue
            path.write_bytes(before[path][0])
            path.chmod(before[path][1])

    # ---- running ----

    def start(self, command, request, **options):
        environment, body = request
        return subprocess.run(command, input=body, capture_output=True, check=True,
                              env={"PATH": "/sbin:/bin:/usr/sbin:/usr/bin", **environment, **options})

    def run(self, program, request):
        """The answer, and what it cost."""
        ran = self.start([*ENTER, self.folder / "measure", self.root, program], request)
        return ran.stdout, Cost(*map(int, ran.stderr.split()[-4:]))

    def instructions(self, program, request):
        """The program's own, its commands' not counted."""
        tool = next(VALGRIND.glob("callgrind-*-linux"))
        bind = 'mount --rbind /proc "$2/proc" && mount --rbind "${0%/*}" "$2${0%/*}" && exec "$1" "$2" "$0" "${@:3}"'
        ran = self.start([*AS_ROOT, "--mount", "bash", "-c", bind, tool, self.folder / "measure", self.root,
                          "--vgdb=no", "--callgrind-out-file=/dev/null", program], request,
                         VALGRIND_LAUNCHER="/usr/bin/valgrind", VALGRIND_LIB=str(VALGRIND))
        return int(re.search(rb"Collected : (\d+)", ran.stderr)[1])

    def trace(self, program, request):
        log = self.folder / "trace"
        self.start([*ENTER, "strace", "-f", "-qq", "-s", "4096", "-o", log,
                    self.folder / "measure", self.root, program], request)
        calls = [line.split(maxsplit=1) for line in log.read_text(errors="replace").splitlines()]
        calls = [(pid, call) for pid, call in calls if not call.startswith(("<...", "+++", "---"))]
        start = next(i for i, (_, call) in enumerate(calls) if call.startswith(f'execve("{program}"'))
        own = [call for pid, call in calls[start:] if pid == calls[start][0]]
        execs = [re.match(r'execve\("([^"]+)", (\[.*?\]), .*(?:= 0|<unfinished ...>)$', call) for _, call in calls[start + 1:]]
        commands = [[found[1], *ast.literal_eval(found[2])[1:]] for found in execs if found]
        read = r'openat\(AT_FDCWD, "([^"]+)", O_RDONLY(?!.*O_DIRECTORY).*= \d'
        return Trace(len(own), len(calls) - start, sum(call.startswith("fsync(") for call in own),
                     sum(call.startswith("sync(") for call in own),
                     Counter(found[1] for call in own if (found := re.match(read, call))),
                     Counter(found[1] for call in own if (found := re.match(r'rename\("[^"]+", "([^"]+)"', call))),
                     commands)

    # ---- floors ----

    def make_floor(self, answer, changed=(), commands=(), syncs=0):
        """Builds the least program for a request, /floor of the root."""
        rows = [", ".join([*(f'"/{text}"' for text in (folder, f"{folder}/.bench.tmp", f"{folder}/{path.name}")),
                           literal(text), str(len(text)), oct(mode).replace("o", "")])
                for path, (text, mode) in changed
                for folder in [path.parent.relative_to(self.root)]]
        plan = [f"static const char answer[] = {literal(answer)};",
                f"enum {{ syncs = {syncs} }};",
                "static const struct file files[] = {", *(f"    {{{row}}}," for row in rows), "    {0}};",
                "static const struct command commands[] = {",
                *(f"    {{{int(words[0] in ASKED)}, {{{', '.join(literal(word.encode()) for word in words)}}}}},"
                  for words in commands), "    {0}};"]
        (self.folder / "plan.h").write_text("\n".join(plan) + "\n")
        compile_c("floor.c", self.at("/floor"), f"-I{self.folder}")


def literal(octets):
    """A text of C."""
    return '"' + "".join(chr(c) if 32 <= c < 127 and chr(c) not in '"\\?' else f"\\{c:03o}" for c in octets) + '"'
