"""Lets every system call of every acting request fail, and kills and interrupts the program at it.

Whatever happens: a file is as it was or as it was wanted, passwords stay secret, no temporary file
stays, and unless the page tells of a failure every file is as wanted. strace counts and disturbs
the program's own calls from outside its private root; the commands that it runs are left in peace.
"""

import argparse
import os
import re
import stat
import subprocess
import sys
import tempfile
import zlib
from collections import Counter, defaultdict
from concurrent.futures import ProcessPoolExecutor
from dataclasses import dataclass
from functools import partial
from itertools import product
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "cgi"))

from appliance import (  # noqa: E402
    CHANGES, HARNESS, INSTALLED, MESSAGES, PROJECT, RECORD, SECRETS, Appliance, Result,
    become_root, make_template)
from table import CASES, SECRET, UNDONE, UNKEPT, Case  # noqa: E402

ENTER = os.environ.get("NAT_ENTER") or PROJECT / "build/sanitize/tests/enter"
UNSEEN = f"/{HARNESS}", "/bin", "/sbin", "/dev", "/run", "/usr/lib/quillstead"
TWO_DAYS = 2 * 24 * 3600

READ_ONLY, NO_ROOM = ("EIO", "EROFS"), ("EIO", "EROFS", "ENOSPC")
ERRORS = {call: errors for calls, errors in {  # what each call can fail with
    "open openat": (*NO_ROOM, "EMFILE"), "dup dup2 dup3 pipe pipe2": ("EMFILE",),
    "rename renameat renameat2 link linkat symlink symlinkat mkdir mkdirat": NO_ROOM,
    "unlink unlinkat rmdir chmod fchmod fchmodat chown fchown lchown truncate ftruncate": READ_ONLY,
    "write fsync fdatasync": ("EIO", "ENOSPC"), "clone clone3 fork vfork": ("EAGAIN",),
    "read close stat fstat lstat newfstatat statx getdents64": ("EIO",),
}.items() for call in calls.split()}
CHANGE_NOTHING = re.compile("read|.*stat|getdents|close|dup|pipe")
SIGNALLED = ("sharing on, PPPoE", "direct connection", "ISP account", "sites imported",
             "application added")

# Texts that tell of no failure: what was done, and warnings.
OTHERS = "|".join(re.escape(MESSAGES[n]).replace("%s", ".*") for n in (21, 40, 45, *range(52, 61)))
NO_FAILURE = re.compile(f"(?:{OTHERS}|Warning: .*)?")

COPIED_FROM = {"/usr/lib/diald/standard.filter": "/usr/lib/diald/default.filter"}


@dataclass
class Call:
    """A system call of the undisturbed request: the n-th of its name."""

    name: str
    number: int
    text: str = ""

    def __str__(self):
        return f"{self.name} #{self.number} {self.text[:60]}"

    @property
    def writes_answer(self):
        return self.name == "write" and self.text.startswith(("1<", "2<"))

    @property
    def only_reads(self):
        return self.name.startswith("open") and not re.search("O_CREAT|O_WRONLY|O_RDWR", self.text)

    @property
    def changes_files(self):
        return not (self.only_reads or self.writes_answer or CHANGE_NOTHING.match(self.name))

    @property
    def errors(self):
        return ("EIO", "EMFILE") if self.only_reads else ERRORS.get(self.name, ())

    @property
    def paths(self):
        """From where to where a file is renamed."""
        names = re.findall('"([^"]*)"', self.text) if self.name.startswith("rename") else ()
        return [str(Path("/www", name)) for name in names]


class Disturbed(Appliance):
    """An appliance whose requests run under strace, and which can be put back as it was."""

    strace = ()

    def request(self, env, body):
        words = [*self.strace, ENTER, self.root, f"/{INSTALLED}"]
        env = {"PATH": "/sbin:/bin:/usr/sbin:/usr/bin", **env}
        return Result(subprocess.run(words, env=env, input=body, capture_output=True, timeout=60),
                      [], {}, {})

    def traced(self, case, *options):
        log = Path(f"{self.root}.log")
        self.strace = ["strace", "-o", log, *options]
        result = case.send(self)
        self.strace = ()
        return result, log.read_text()

    def disturb(self, case, call, what, surely=True):
        inject = f"inject={call.name}:{what}:when={call.number}"
        result, log = self.traced(case, "-e", f"trace={call.name}", "-e", inject)
        reached = re.search(r"\(INJECTED\)|--- SIG(?!CHLD)|\+\+\+ killed", log)
        assert reached or not surely, f"{case.name}: {call}: no {what}"
        return result

    def record(self, case):
        """An undisturbed request and its calls."""
        traced = ",".join(f"?{call}" for call in ERRORS)
        result, log = self.traced(case, "-y", "-s", "16", "-e", f"trace={traced}")
        log = re.sub(f"AT_FDCWD<[^>]*>, |{re.escape(str(self.root))}", "", log)
        numbers, calls = Counter(), []
        for name, text in re.findall(r"(?m)^(\w+)\((.*)\)\s+= ", log):
            numbers[name] += 1
            calls.append(Call(name, numbers[name], text))
        return result, calls

    def state(self):
        """The mode and content of everything; of a link, where it leads."""
        found, folders = {}, [""]
        for folder in folders:
            for entry in os.scandir(f"{self.root}{folder}"):
                path, content = f"{folder}/{entry.name}", None
                if path in UNSEEN:
                    continue
                if entry.is_symlink():
                    content = os.readlink(entry).encode()
                elif entry.is_dir():
                    folders.append(path)
                else:
                    content = Path(entry).read_bytes()
                found[path] = entry.stat(follow_symlinks=False).st_mode, content
        return found

    def restore(self, wanted, keep=()):
        """Puts every file back as it was; those to keep stay as they are."""
        found = self.state()
        for path in sorted(found.keys() - wanted.keys() - set(keep), reverse=True):
            (self.at(path).rmdir if found[path][1] is None else self.at(path).unlink)()
        for path, (mode, content) in wanted.items() - found.items():
            self.at(path).unlink(missing_ok=True)
            self.write(path, content, stat.S_IMODE(mode))


def told(result):
    """The text with which an answer tells of a failure."""
    if result.page is None:
        refused = result.headers.get("Status", "").startswith("403")
        is_failure = refused or re.search(r"(?m)<TITLE>Error!|^Failure$", str(result.body))
        return result.body if is_failure else ""
    lines = result.message.splitlines()
    return "" if all(NO_FAILURE.fullmatch(line) for line in lines) else result.message


def content(state, path):
    return state.get(path, (0, None))[1]


def differences(state, wanted, left=()):
    """The files in which two states differ, scratch files and those that are left aside."""
    paths = {path for path, _ in state.items() ^ wanted.items()} - set(left)
    return sorted(path for path in paths if not path.startswith("/tmp/"))


class Trial:
    """A request and an appliance of its own, on which it is tried again and again."""

    keeps_changes = False

    def __init__(self, case, folder, proxy):
        self.case = case
        self.appliance = Disturbed(folder / re.sub(r"\W+", "_", case.name), folder / "template")
        case.prepare(self.appliance, proxy)
        self.appliance.take_turn().close()  # the lock's folder is there
        if self.keeps_changes:
            self.appliance.at(CHANGES).mkdir(parents=True, exist_ok=True)
        self.before = self.appliance.state()
        self.answer, self.calls = self.appliance.record(case)
        self.changing = [call for call in self.calls if call.changes_files]
        self.wanted = self.appliance.state()
        self.answer_again = case.send(self.appliance)  # it has been done already
        self.again = self.appliance.state()
        self.between = self.contents_between()

    def lead_to(self, case):
        """Makes the appliance one that meets a request."""
        self.appliance.restore(self.before)

    def contents_between(self):
        """What a file holds on its way, when a request writes it more than once."""
        found = defaultdict(set)
        replaced = [(path, call) for call in self.calls for path in call.paths[1:]]
        times = Counter(path for path, _ in replaced)
        for path, call in replaced:
            if times[path] > 1:
                self.lead_to(self.case)
                self.appliance.disturb(self.case, call, "signal=KILL")
                found[path].add(content(self.appliance.state(), path))
        return found

    def damaged(self, state, *others):
        """Files that are neither old nor new, and passwords for everybody to read."""
        for path in differences(state, self.wanted, self.left(state)):
            allowed = {content(each, path) for each in (self.before, self.wanted, *others)}
            allowed |= self.between[path] | {content(self.before, COPIED_FROM.get(path))}
            found = content(state, path)
            if found not in allowed:
                yield f"{path} is {'lost' if found is None else 'neither old nor new'}"
        for path, (mode, text) in state.items():
            if mode & 0o077 and (path in (*SECRETS, RECORD) or text and SECRET.encode() in text):
                yield f"{path} has mode {stat.S_IMODE(mode):o}"

    def left(self, state):
        return sorted(state.keys() - self.before.keys() - self.wanted.keys())

    def may_stay(self, path, text, call):
        """One that could not be removed, or not be renamed and is whole and not hidden."""
        if path not in call.paths[:1] or Path(path).name.startswith("."):
            return call.name.startswith("unlink")
        return text in self.between[call.paths[1]] | {content(self.wanted, call.paths[1])}

    def failed(self, call, result):
        state = self.appliance.state()
        yield from self.damaged(state)
        for path in self.left(state):
            if not self.may_stay(path, content(state, path), call):
                yield f"{path} stays"
        if call.writes_answer:
            return
        if result.status != 0:
            yield f"ends with status {result.status}"
        unlike = differences(state, self.wanted, self.left(state))
        if unlike and told(result) in ("", told(self.answer)):
            yield f"silent: {' '.join(unlike)}"

    def killed(self, call, result):
        """The next request of the kind succeeds, and removes what is left of what it writes."""
        state = self.appliance.state()
        yield from self.damaged(state)
        for path in self.left(state):
            old = self.appliance.at(path).stat().st_mtime - TWO_DAYS
            os.utime(self.appliance.at(path), (old, old))
        failure = told(self.case.send(self.appliance))
        if failure not in ("", told(self.answer), told(self.answer_again)):
            yield f"the next one fails: {failure.strip()}"
        state = self.appliance.state()
        yield from self.damaged(state, self.again)
        if self.left(state):  # perhaps there was nothing left to write
            self.appliance.restore(self.before, keep=self.left(state))
            self.case.send(self.appliance)
            if wrong := differences(self.appliance.state(), self.wanted):
                yield f"after the next one stays or differs: {' '.join(wrong)}"

    def interrupted(self, call, result):
        unfinished = differences(self.appliance.state(), self.wanted)
        if unfinished or result.status != 0:
            yield f"ends with status {result.status}, not done: {' '.join(unfinished)}"

    def points(self):
        """Which call of which request is disturbed, how, and who judges what came of it."""
        signals = ("HUP", "PIPE", "TERM") if self.case.name in SIGNALLED else ()
        for call in self.calls:
            for error in call.errors:
                yield self.case, call, f"error={error}", self.failed
            if call.changes_files:
                yield self.case, call, "signal=KILL", self.killed
            for name in signals if call.errors else ():
                yield self.case, call, f"signal={name}", self.interrupted

    def run(self, every):
        """The number of points tried, and the complaints."""
        tried, complaints = 0, []
        stores = bool(differences(self.before, self.wanted))
        if not self.keeps_changes and stores != self.case.stores:
            complaints.append(f"stores something: {stores}")
        start = zlib.crc32(self.case.name.encode()) % every
        for number, (case, call, what, judge) in enumerate(self.points()):
            if number % every == start:
                self.lead_to(case)
                result = self.appliance.disturb(case, call, what)
                complaints += [f"{call}: {what}: {text}" for text in judge(call, result)]
                tried += 1
        return tried, complaints


VIEW = Case("nat_base.htm view", {})


class KeptTrial(Trial):
    """A request whose changes are kept: whenever it is killed, the next view finds all or nothing.

    The recovery is killed as well, twice: at its n-th call and, taken up again, at its n-th call.
    """

    keeps_changes = True

    def unlike(self, *sets):
        """The files of settings that tell none of some sets, of the one that is nearest."""
        state = self.appliance.state()
        no_settings = {path for path in state.keys() | self.wanted.keys()
                       if path.startswith(("/var/", "/proc/"))}
        aside = no_settings | set(self.left(state))
        if wrong := min((differences(state, each, aside) for each in sets), key=len):
            yield f"a mixed set: {' '.join(wrong)}"

    def killed(self, call, result, again=None):
        for _ in range(2 if again else 0):
            self.appliance.disturb(VIEW, again, "signal=KILL", surely=False)
        VIEW.send(self.appliance)
        for wrong in self.unlike(self.before, self.wanted):
            yield f"{wrong} (its recovery was killed at {again})" if again else wrong

    def points(self):
        for call in self.changing:
            yield self.case, call, "signal=KILL", self.killed
        middle = self.changing[len(self.changing) // 2:][:1]
        names = "link", "rename", "unlink", "fsync", "symlink", "chmod"
        for call, number, name in product(middle, range(1, 5), names):
            yield self.case, call, "signal=KILL", partial(self.killed, again=Call(name, number))


class WaitingTrial(KeptTrial):
    """A request whose change waits to be kept: whenever it is killed, or its taking back is, the
    next view after its time finds all old. When its keeping is, all new unless it waits still."""

    keeping = Case("keep", {"this_file": "nat_conn.htm", "todo": "confirm", "change": "1"})

    def lead_to(self, case):
        super().lead_to(case)
        if case is not self.case:
            self.case.send(self.appliance)
            self.appliance.end_processes()
        if case is VIEW:
            self.appliance.start_anew()

    def waits(self):
        return self.appliance.exists(f"{CHANGES}/waiting")

    def killed(self, call, result, may_be_kept=False):
        wanted = self.wanted if may_be_kept and not self.waits() else self.before
        self.appliance.start_anew()  # its time is over
        VIEW.send(self.appliance)
        yield from self.unlike(wanted)

    def cannot_wait(self, call, result):
        if self.waits():
            yield "waits, though nothing of it is kept"
        yield from self.killed(call, result)

    def points(self):
        for call in self.changing:
            yield self.case, call, "signal=KILL", self.killed
            if call.name.startswith("link"):
                yield self.case, call, "error=EIO", self.cannot_wait
            if "changes/waiting" in call.text:
                yield self.case, call, "error=EIO", self.killed
        for case in VIEW, self.keeping:
            self.lead_to(case)
            for call in self.appliance.record(case)[1]:
                if call.changes_files:
                    yield case, call, "signal=KILL", partial(
                        self.killed, may_be_kept=case is self.keeping)


def try_case(folder, proxy, options, case):
    kind = WaitingTrial if case in UNKEPT else KeptTrial if options.changes else Trial
    return kind(case, folder, proxy).run(options.every)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--every", type=int, default=1, help="try one point in so many")
    parser.add_argument("--changes", action="store_true", help="keep changes, and kill alone")
    parser.add_argument("request", nargs="*", help="how the names of requests begin (default: all)")
    options = parser.parse_args()
    known = CASES + (UNKEPT + UNDONE) * options.changes
    cases = [case for case in known if case.name.startswith(tuple(options.request) or "")]
    os.umask(0o022)
    become_root()
    trap = "trap '' HUP TERM; exec -a squid sleep 1d"  # a proxy that survives what it is told
    all_tried = all_failed = 0
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # roots are quickest there
    with tempfile.TemporaryDirectory(dir=memory) as folder:
        make_template(Path(folder, "template"))
        with subprocess.Popen(["bash", "-c", trap]) as proxy, ProcessPoolExecutor(2) as pool:
            try:
                results = pool.map(partial(try_case, Path(folder), proxy.pid, options), cases)
                for case, (tried, complaints) in zip(cases, results):
                    print(f"{case.name}: {tried} points, {len(complaints)} complaints",
                          *complaints, sep=f"\n  {case.name}: ", flush=True)
                    all_tried, all_failed = all_tried + tried, all_failed + len(complaints)
            finally:
                proxy.kill()
    print(f"\nall: {all_tried} points, {all_failed} complaints")
    return all_failed > 0


if __name__ == "__main__":
    sys.exit(main())
