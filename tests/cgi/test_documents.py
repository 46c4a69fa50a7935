"""What the documents say of files and of commands is so."""

import re
from fnmatch import fnmatch

import pytest

from appliance import PROJECT
from table import CASES


def listed():
    """A pattern for each file that docs/files.md lists, and the words on its mode."""
    for line in (PROJECT / "docs/files.md").read_text().splitlines():
        cells = line.strip("| ").split(" | ")
        names = re.findall("`([^`]*)`", cells[0])
        for name in names if line.startswith("| `/") else []:
            yield name if name[0] == "/" else names[0].rpartition("/")[0] + "/" + name, cells[-1]


@pytest.mark.parametrize(
    "case", [case for case in CASES if case.stores], ids=lambda case: case.name)
def test_what_is_written_is_listed_with_its_mode(appliance, proxy, case):
    case.prepare(appliance, proxy.pid)
    before = {path: appliance.at(path).lstat().st_mode & 0o7777 for path in appliance.snapshot()}
    for path in case.send(appliance).changed:
        if path.startswith(("/tmp/", "/var/log/", "/usr/local/squid/logs/")):
            continue
        words = next(words for pattern, words in listed() if fnmatch(path, pattern))
        modes = [int(mode, 8) for mode in re.findall(r"\b0[0-7]{3}\b", words)]
        mode = appliance.mode(path)
        if words.startswith("kept"):
            modes = [before.get(path, 0o644)]
        assert mode in modes if modes else mode & 0o111, (path, oct(mode), words)


def test_no_shell_runs_commands():
    sources = {path: path.read_text() for path in (PROJECT / "src").rglob("*.*")}
    shell = re.compile(r'\b(system|popen) ?\(|sh -c|"-c"')
    assert not [path for path, text in sources.items() if shell.search(text)]


def test_each_command_is_listed_as_one_that_asks_or_acts():
    source = (PROJECT / "src/appliance/commands.h").read_text()
    names = dict(re.findall(r'constexpr char (\w+)\[\] = "(.*)"',
                            source + (PROJECT / "src/base/paths.h").read_text()))
    known = {}
    for kind, program, words in re.findall(r"Does::(acts|asks),\s*{([^{]+), {(.*?)}, k", source):
        program = names.get(program) or program.strip('"')
        known[" ".join([program, *re.findall('"(.*?)"', words)])] = kind
    table = (PROJECT / "docs/architecture.md").read_text()
    said = {command: kind for cell, kind in re.findall(r"(?m)^\| (`.*?) \| (acts|asks) \|", table)
            for command in re.findall("`(.*?)`", cell) if not command.startswith("kill ")}
    assert len(known) > 30 and known == said
