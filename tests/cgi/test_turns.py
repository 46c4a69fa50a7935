"""Who waits for whom, and for how long."""

import json
import threading
import time

import pytest

from appliance import IS_PPPOE, RECORD, told, until
from test_requests import PAGES

ON = {"internet_access": "checked", "access_method": "WAN Port - PPPoE"}
START = "/usr/sbin/adsl-start"


def script(appliance, path, text):
    """Puts a script in place of a command."""
    appliance.write(path, None)
    appliance.write(path, text, 0o755)


def at_once(function, arguments, pause=0):
    """Calls a function with each of these at the same time."""
    threads = [threading.Thread(target=function, args=each) for each in arguments]
    for thread in threads:
        thread.start()
        time.sleep(pause)
    return threads


def test_a_command_sees_what_is_done_and_nothing_of_the_program(saved):
    """What it changes is read anew, even where the file stays as long and nothing else tells of it.
    It needs no first line, and whatever was typed is a word of it."""
    script(saved, START, f"""text=$(< {RECORD})
        echo "${{text/SrvTelNet=1/SrvTelNet=0}}" > {RECORD}
        cp /run/quillstead-admin/lock /etc/seen
        echo one line
        exec > /etc/called 2> /dev/null
        echo "$0 $#"
        for number in {{3..9}}; do true >&$number && echo $number; done\n""")
    result = saved.post({"this_file": "nat_conn.htm", "todo": "save", "next_file": "nat_base.htm",
                         **ON}, {"REMOTE_USER": "joe\nx" + "y" * 99})
    assert result.stdout.startswith(b"Content-type: text/html\n\npage=")
    assert result.shown["enable_telnet"] == "unchecked"
    assert saved.read("/etc/called") == f"{START} 0\n"
    seen = saved.read("/etc/seen").split("\n")
    assert (*seen[:4], seen[5]) == ("nat_conn.htm", "save", "joe?x" + "y" * 59, "", "adsl-start")


def test_saves_take_turns_in_the_order_in_which_they_came_and_views_wait_for_nobody(appliance):
    script(appliance, "/etc/ppp/dial", "echo $REMOTE_USER >> /etc/order\nsleep 0.1\n")
    form = {"this_file": "sp_status.htm", "todo": "nat_hangup"}
    with appliance.take_turn():
        saves = at_once(appliance.post, [(form, {"REMOTE_USER": name}) for name in "abcd"], 0.5)
        for page in PAGES:
            assert appliance.view(page).page == page
        assert not appliance.exists("/etc/order")
    for save in saves:
        save.join(30)
    assert appliance.read("/etc/order").split() == list("abcd")


def turn(user):
    """The lock of a save of 25 seconds, whose command takes 12."""
    now = int(time.clock_gettime(time.CLOCK_MONOTONIC))
    return f"nat_conn.htm\nsave\n{user}\n192.0.2.7\n{now - 25}\nadsl-start\n{now - 12}\n"


def test_everybody_sees_what_is_being_changed(appliance):
    appliance.write("/www/nat_vs.htm", "[@busy#]")
    assert json.loads(appliance.view("progress").body) == {"busy": None}
    with appliance.take_turn(turn('ad"min')):
        busy = json.loads(appliance.view("progress").body)["busy"]
        texts = [f"[{told(74, 'adsl-start', n)}\n]" for n in range(12, 21)]
        assert appliance.view("nat_vs.htm").body in texts
    assert appliance.view("nat_vs.htm").body == "[]"
    assert 25 <= busy.pop("seconds") < 35 and 12 <= busy.pop("command_seconds") < 22
    assert list(busy.values()) == ["nat_conn.htm", "save", 'ad"min', "192.0.2.7", "adsl-start"]


def test_a_save_that_waits_too_long_is_told_for_whom(hurried):
    with hurried.take_turn(turn("ad<min")):
        result = hurried.save("nat_conn.htm", **ON)
    assert result.headers["Status"] == "503 Service Unavailable"
    assert int(result.headers["Retry-After"]) and result.did_nothing
    texts = (told(71, n, "ad&lt;min") for n in range(25, 35))
    assert any(text in result.body for text in texts) and told(72, "adsl-start") in result.body


@pytest.mark.parametrize("ends", ["", "trap '' TERM\n"])
def test_a_command_that_does_not_end_is_ended_with_all_that_it_started(hurried, ends):
    script(hurried, START, f"#!/bin/bash\n{ends}sleep 3000 &\nwait; wait\n")
    result = hurried.save("nat_conn.htm", enable_dmz="checked", **ON)
    assert result.message == told(70, "adsl-start", 90)
    assert result.commands[-1] == IS_PPPOE  # the next action, for the virtual servers
    until(lambda: not hurried.processes())
    script(hurried, "/sbin/ifconfig", f"echo '  inet addr:192.0.2.1 '\n{ends}exec sleep 3000\n")
    assert hurried.view("ac_cfg.htm").message == told(70, "ifconfig", 5)


def test_a_record_is_made_once_however_many_ask(appliance):
    pages = []
    for view in at_once(lambda: pages.append(appliance.view("nat_vs.htm")), [()] * 8):
        view.join(20)
    assert [(result.page, result.message) for result in pages] == [("nat_vs.htm", "")] * 8
    assert not [*appliance.at("/etc/ppp").glob(".*")]
