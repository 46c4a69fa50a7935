"""A preview tells what a request would do, and does nothing of it."""

import os
import re
import stat

import pytest

from appliance import HARNESS
from table import CASES

CHANGES = "/var/lib/quillstead-admin/changes"
UNSEEN = {"bin", "dev", "proc", "run", "sbin", HARNESS}


def state(appliance):
    """Mode, owner, time and content of everything; of /tmp itself, where uploads come and go, the mode alone."""
    found = {}
    for folder, folders, files in os.walk(appliance.root):
        if folder == str(appliance.root):
            folders[:] = [name for name in folders if name not in UNSEEN]
        for name in (*folders, *files):
            path = os.path.join(folder, name)
            status = os.lstat(path)
            marks = status.st_mode, status.st_uid, status.st_gid
            name = path[len(str(appliance.root)):]
            content = None
            if stat.S_ISLNK(status.st_mode):
                content = os.readlink(path)
            elif stat.S_ISREG(status.st_mode):
                with open(path, "rb") as file:
                    content = file.read()
            found[name] = *marks, content, 0 if name == "/tmp" else status.st_mtime_ns
    return found


def preview(appliance, case):
    form = case.form
    if isinstance(form, bytes):
        form = form.replace(b"\r\n", b'\r\nContent-Disposition: form-data; name="preview"\r\n\r\nyes\r\n'
                            + form.split(b"\r\n", 1)[0] + b"\r\n", 1)
    elif form:
        form = {**form, "preview": "yes"}
    return type(case)(case.name, form).send(appliance)


def files_of(text):
    """The parts of a list of files by their paths."""
    parts = re.split(r"(?m)^(?=/)", text)
    return {part.split("\n", 1)[0]: part.split("\n", 1)[1].rstrip("\n") for part in parts if part}


@pytest.mark.parametrize("case", [case for case in CASES if case.form], ids=lambda case: case.name)
def test_a_preview_does_nothing_and_the_save_what_it_told(appliance, proxy, case):
    case.prepare(appliance, proxy.pid)
    appliance.at(CHANGES).mkdir(parents=True)
    before = state(appliance)
    told = preview(appliance, case)
    assert state(appliance) == before and proxy.poll() is None
    result = case.send(appliance)
    after = state(appliance)
    changed = {path for path in before.keys() | after.keys() if not path.startswith(CHANGES)
               and before.get(path, ())[:4] != after.get(path, ())[:4]}
    if told.page != "preview.htm":  # the answer of last resort, which is that of the request
        assert told.body == result.body and not changed
        return
    files = files_of(told.shown["preview_files"])
    assert files.keys() == changed
    history = appliance.view("history.htm").shown
    kept = files_of(history["history_files"])
    # What was given a mode and its old one again is kept as well, logs and state are not.
    assert {path: kept[path] for path in kept.keys() & changed} == {
        path: text for path, text in files.items() if not path.startswith(("/tmp/", "/var/", "/usr/local/squid/logs/"))}
    assert told.shown["preview_commands"].splitlines() == [
        line.split(" ", 1)[1] for line in history["history_commands"].splitlines()]
