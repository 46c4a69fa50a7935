"""A preview tells what a request would do, and does nothing of it."""

import fcntl
import os
import re
import threading
from copy import copy

import pytest

from appliance import CHANGES, CHAP, HARNESS, PAP, PROGRAM, RECORD, told, until
from table import CASES, SECRET
from test_turns import ON, script
from test_uploads import field

FORESEEN = os.environ.get("NAT_FORESEEN")  # the program that leaves the files of a preview


def state(appliance):
    """Content, mode, owner and time of every file."""
    found = {}
    for path, content in appliance.snapshot().items():
        status = appliance.at(path).lstat()
        found[path] = content, status.st_mode, status.st_uid, status.st_gid, status.st_mtime_ns
    return found


def files_of(text):
    """What a list says of each file."""
    parts = re.split(r"(?m)^(?=/)", text)[1:]
    return {path: words.rstrip("\n") for path, words in (part.split("\n", 1) for part in parts)}


def look(appliance, page, todo="save", **fields):
    return appliance.post({"this_file": page, "todo": todo, "preview": "yes", **fields})


def foreseen(appliance, *request, **fields):
    return files_of(look(appliance, *request, **fields).shown["preview_files"])


@pytest.mark.parametrize("case", [case for case in CASES if case.form], ids=lambda case: case.name)
def test_a_preview_does_nothing_and_the_request_what_it_told(appliance, proxy, case):
    """What commands answer is fixed here, so none that ran makes a difference to what follows."""
    case.prepare(appliance, proxy.pid)
    appliance.at(CHANGES).mkdir(parents=True)
    appliance.at(f"{HARNESS}/foreseen").mkdir()
    before = state(appliance)
    appliance.program = FORESEEN or PROGRAM
    preview = copy(case)
    preview.form = ({**case.form, "preview": "yes"} if isinstance(case.form, dict)
                    else field("preview", "yes").encode() + case.form)
    seen = preview.send(appliance)
    appliance.program = PROGRAM
    assert state(appliance) == before and proxy.poll() is None
    result = case.send(appliance)
    after = state(appliance)
    changed = {path for path in before.keys() | after.keys() if not path.startswith(CHANGES)
               and before.get(path, ())[:4] != after.get(path, ())[:4]}
    assert SECRET not in str(seen.body)
    if seen.page is None:  # the answer of last resort is the same for both
        assert (seen.body, changed) == (result.body, set())
        return
    files = files_of(seen.shown["preview_files"])
    assert (seen.page, files.keys()) == ("preview.htm", changed)
    history = appliance.view("history.htm").shown
    words = files_of(history["history_files"])
    # The history also lists what has got a mode and the old one again, and no logs and states.
    no_settings = "/tmp/", "/var/", "/usr/local/squid/logs/"
    assert {path: words[path] for path in words.keys() & changed} == {
        path: files[path] for path in files if not path.startswith(no_settings)}
    commands = seen.shown["preview_commands"].splitlines()
    assert commands == [line.split(" ", 1)[1] for line in history["history_commands"].splitlines()]
    asked = {re.sub(r"^\S*/", "", command) for command in seen.commands}
    assert not any(re.sub(r"^\S*/", "", command) in asked for command in commands)
    left = {path.name.replace("%", "/"): (path.stat().st_mode, path.read_bytes())
            for path in appliance.at(f"{HARNESS}/foreseen").iterdir()}
    if FORESEEN:
        assert left == {path: after[path][1::-1] for path in changed & after.keys()}


def test_what_a_refusal_would_say_and_that_nothing_would_change(kept):
    def outcome(seen):
        return seen.shown["preview_result"], seen.shown["preview_summary"].rstrip("\n")

    before = state(kept)
    seen = look(kept, "wan_ppp.htm", ppp_ac_name="")
    assert outcome(seen) == ("refused", told(82))
    assert (seen.message, seen.shown["preview_page"]) == (told(16), "wan_ppp.htm")
    assert outcome(look(kept, "nat_vs.htm")) == ("accepted", told(81))
    assert outcome(kept.view("preview.htm")) == ("", told(84))
    assert state(kept) == before
    kept.save("nat_conn.htm", enable_dmz="checked")
    seen = look(kept, "nat_conn.htm", seen=0, enable_dmz="unchecked")
    assert seen.headers["Status"] == "409 Conflict" and seen.message.startswith("Not stored: ")
    kept.block("/etc/rc.d/rc.ipvs")
    assert outcome(look(kept, "nat_vs.htm", vs_web_enable="checked")) == ("failed", told(83))


@pytest.mark.parametrize("is_new", [True, False])
def test_secrets_are_not_shown(kept, is_new):
    """Neither a file of them that is new, nor one whose lines look like settings."""
    for path in PAP, CHAP:
        kept.write(path, None if is_new else "#PPPoE\nold\tppp0\tgeheim=0\n", 0o600)
    fields = {"ppp_ac_name": "joe", "ppp_ac_pwd": "geheim=1", "ppp_idle_time": "5"}
    seen = foreseen(kept, "wan_ppp.htm", **fields)
    kept.save("wan_ppp.htm", **fields)
    done = files_of(kept.view("history.htm").shown["history_files"])
    undone = foreseen(kept, "history.htm", "undo", change=1)
    for files, words in (seen, "(new)\n"), (done, "(new)\n"), (undone, "(removed)\n"):
        assert files[PAP] == words * is_new + "changed"
        assert "geheim" not in str(files) and "joe" in str(files)


def test_what_a_list_says_of_files(kept):
    """Firmware images keep the record on flash so."""
    sites, logs = "/usr/local/squid/etc/access.list", ["/var/log/pppd.log", "/var/log/ppp1.log"]
    kept.at("/flash").mkdir()
    kept.at(RECORD).rename(kept.at("/flash/record"))
    kept.at(RECORD).symlink_to("/flash/record")
    files = foreseen(kept, "nat_conn.htm", enable_dmz="checked")
    assert files["/flash/record"].startswith("DMZ: 0 → 1\n")
    kept.save("nat_conn.htm", enable_dmz="checked")
    files = foreseen(kept, "history.htm", "undo", change=1)
    assert files["/flash/record"].startswith("DMZ: 1 → 0")
    assert "DMZ=1\n" in kept.read("/flash/record")
    for path in logs:
        kept.write(path, "geheim\n")
    assert foreseen(kept, "sp_status.htm", "nat_clearlog") == dict(
        zip(logs, ["(emptied)", "(removed)\nchanged"]))
    kept.write(sites, "".join(f"{number}.example.org\n" for number in range(4000)))
    assert foreseen(kept, "sites_allow.htm", "del_all") == {
        sites: "(There is more than this page has room for.)"}


def test_others_wait_for_a_preview_but_do_not_hear_of_a_change(kept):
    script(kept, "/sbin/pidof", ": > /tmp/asked\nwhile ! [ -e /tmp/go ]; do sleep .05; done\n")
    looking = threading.Thread(target=look, args=(kept, "nat_conn.htm"), kwargs=ON)
    looking.start()
    until(lambda: kept.exists("/tmp/asked"))
    with open(kept.at("/run/quillstead-admin/lock"), "r+") as lock, pytest.raises(BlockingIOError):
        fcntl.lockf(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    assert kept.view("progress").body == '{"busy": null}\n'
    kept.write("/tmp/go", "")
    looking.join()
