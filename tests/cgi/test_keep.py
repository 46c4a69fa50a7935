"""A change that is taken back by itself unless it is kept in time."""

import json
import os
import re
import time

import pytest

from appliance import CHANGES, LINK_UP, RECORD, SET_DNS, WAN, Appliance, told, until
from test_changes import SERVICES, act, save, settings, undo
from test_turns import ON, script
from test_wan import dns

MARK = f"{CHANGES}/waiting"
BOOT_ID = "/proc/sys/kernel/random/boot_id"


def save_for(appliance, seconds=600, page=SERVICES, **fields):
    return save(appliance, page, confirm_within=seconds, **(fields or ON))


def keep(appliance, number, **fields):
    return act(appliance, "nat_vs.htm", "confirm", change=number, **fields)


def result_of(appliance, number):
    return appliance.read(f"{CHANGES}/{number:06}/result").rstrip()


def test_what_is_kept_in_time_stays(hurried):
    """The time begins when the save ends, which takes longer here."""
    script(hurried, "/usr/sbin/adsl-start", "sleep 2\n")
    save_for(hurried, 30)
    after = settings(hurried)
    assert (keep(hurried, 1).message, hurried.exists(MARK)) == ("", False)
    until(lambda: not hurried.processes())
    assert settings(hurried) == after and not hurried.exists(f"{CHANGES}/000002")


def test_what_nobody_keeps_is_taken_back_with_all_that_it_did(hurried):
    before = settings(hurried)
    save_for(hurried, 30)
    assert settings(hurried) != before
    hurried.write("/.harness/commands", None)
    until(lambda: not hurried.processes())
    assert settings(hurried) == before and not hurried.exists(MARK)
    assert "NET_SetTCPIP\0" in hurried.read("/.harness/commands")
    assert result_of(hurried, 2) == "taken back: nobody has kept change 1 in time"
    request = hurried.read(f"{CHANGES}/000002/request").splitlines()[1:]
    assert request == ["admin", "192.168.1.7", SERVICES, "take_back"]
    assert save(hurried, SERVICES, seen=1, **ON).headers["Status"] == "409 Conflict"


def test_a_process_waits_without_server_answer_lock_or_folder(kept):
    """The answer has come to its end, or the request would not have."""
    save_for(kept)
    pid, = kept.processes()
    status = dict(re.findall(r"(?m)^(\w+):\s+(.*)$", open(f"/proc/{pid}/status").read()))
    assert os.getsid(pid) not in (os.getsid(0), pid) and status["Umask"] == "0022"
    assert os.readlink(f"/proc/{pid}/cwd") == str(kept.root)
    files = {fd: os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")}
    assert files == dict.fromkeys("012", str(kept.at("/dev/null")))


def restart_its_clock(box):
    """With the kernel, which gives boots no id."""
    end = int(os.readlink(box.at(MARK)).split()[1])
    box.at(MARK).unlink()
    box.at(MARK).symlink_to(f"1 {end + 10**8} - 0")


@pytest.mark.parametrize("ends", [
    lambda _: time.sleep(1.6), Appliance.start_anew, restart_its_clock,
])
def test_when_its_process_is_gone_whoever_comes_next_takes_it_back(hurried, ends):
    before = settings(hurried)
    save_for(hurried, 30)
    hurried.end_processes()
    assert hurried.view("nat_vs.htm").message == ""
    ends(hurried)
    assert hurried.view("history.htm").message == told(89, 1)
    hurried.write(BOOT_ID, None)
    assert settings(hurried) == before and not hurried.exists(MARK)
    assert keep(hurried, 1).message == told(87, 1)


def test_what_was_interrupted_does_not_wait(kept):
    """The view that takes it back may make what is missing."""
    kept.at(f"{CHANGES}/open").mkdir()
    kept.write(RECORD, None)
    kept.at(MARK).symlink_to(f"1 {int(time.clock_gettime(time.CLOCK_BOOTTIME) + 300) * 1000} - 0")
    assert "interrupted" in kept.view("nat_vs.htm").message and kept.exists(RECORD)
    assert not kept.exists(MARK) and not kept.exists(f"{CHANGES}/open")
    assert kept.view("nat_vs.htm").message == ""


def test_what_takes_effect_at_once_does_so_again(kept):
    kept.change(WAN, nat_enable="yes", connect_method=1)
    kept.answer("ifconfig eth0", "eth0 Link\n inet addr:192.0.2.7  Mask:255.255.255.0\n")
    form = "this_file=ac_cfg.htm&todo=change_access&block_allow=Allow&confirm_within=60"
    assert kept.post(form).commands.count(LINK_UP % "eth0") == 1
    kept.start_anew()
    assert kept.view("nat_vs.htm").commands[-1] == LINK_UP % "eth0"


def test_what_waits_can_be_kept_or_undone_and_nothing_else_is_changed(kept):
    before = settings(kept)
    shown = save_for(kept, waiting="typed", **ON).shown
    assert (shown["waiting"], shown["waiting_left"]) == ("1", "600")
    texts = [told(86, 1, "admin", left) for left in range(590, 601)]
    for page, todo in ((SERVICES, "save&confirm_within=60&enable_ftp="), ("sp_port.htm", "upload"),
                       ("history.htm", "undo&change=2"),
                       ("history.htm", "undo&change=1&confirm_within=60")):
        result = kept.post(f"this_file={page}&todo={todo}")
        assert (result.headers["Status"], result.changed) == ("423 Locked", {})
        assert result.page == page and result.message in texts
    refused = kept.post("this_file=nat_vs.htm&todo=save", {"HTTP_ACCEPT": "application/json"})
    data = json.loads(refused.body)
    assert (refused.headers["Status"], data["accepted"]) == ("423 Locked", False)
    assert data["waiting"] == "1" and 590 < int(data["waiting_left"]) <= 600
    for number, called in (0, 0), (2, 2), ("x", 0):
        assert keep(kept, number).message == told(87, called)
    assert keep(kept, 1, preview="yes").page == "preview.htm" and kept.exists(MARK)
    result = undo(kept, 1)
    assert (result.message, result.shown["waiting"]) == (told(79), "")
    assert settings(kept) == before and not kept.exists(MARK)
    assert "Status" not in save(kept, SERVICES, enable_dmz="checked").headers


def test_a_wish_that_cannot_be_granted_stores_nothing(saved):
    for wish in "29", "601", "-60", "60s", " 60", "0000060":
        result = save_for(saved, wish)
        assert (result.page, result.message, result.did_nothing) == (SERVICES, told(85), True)
    result = save_for(saved, 60)
    assert (result.message, result.did_nothing) == (told(88), True)  # nothing could be taken back


def test_what_has_changed_something_waits_whatever_came_of_it(kept):
    before = settings(kept)
    refused = {**dns("4.4.4.4", "5.5.5.5", "6.6.6.6"), "service_name": '"'}
    for page, fields in ((SERVICES, {**ON, "preview": "yes"}), (SERVICES, {"dmz_ip_1": "1234"}),
                         ("wan_ppp.htm", refused)):
        assert not kept.exists(MARK) and not kept.processes()
        save_for(kept, 600, page, **fields)
    kept.start_anew()
    result = kept.view("nat_vs.htm")
    assert result.message == told(89, 1) and SET_DNS in result.commands
    kept.write(BOOT_ID, None)
    assert settings(kept) == before
    kept.block("/etc/rc.d/rc.ipvs")
    assert save_for(kept, enable_dmz="checked").message == told(12, "SaVS")
    kept.start_anew()
    kept.view("nat_vs.htm")
    assert result_of(kept, 3).startswith("failed") and kept.keys(RECORD)["DMZ"] == "0"
    assert save_for(kept, enable_dmz="unchecked").message == "" and not kept.exists(MARK)
    only_runs = kept.post("this_file=sp_status.htm&todo=nat_hangup&confirm_within=60")
    assert "/etc/ppp/dial down" in only_runs.commands and not kept.exists(MARK)


@pytest.mark.parametrize("box, addresses", [
    ("", ["", "192.168.1.77", "::ffff:192.168.1.7", "127.0.0.1", "::1"]),
    ("checked", ["192.168.2.1", "::ffff:203.0.113.9", "fe80::1", "1.2.3"]),
])
def test_the_choice_is_on_for_who_is_not_in_the_lan(appliance, box, addresses):
    appliance.write("/www/nat_vs.htm", "@from_outside#")
    for address in addresses:
        result = appliance.get("next_file=nat_vs.htm", {"REMOTE_ADDR": address})
        assert result.body == box, address
