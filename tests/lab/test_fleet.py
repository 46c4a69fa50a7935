"""Many appliances at once: the playbook, on three practice appliances."""

import json
import os
import re
import socket
import subprocess

import pytest

from appliance import PAP, PROJECT, RECORD, SETTINGS, WAN

NAMES = ["attic", "barn", "cellar"]
WANTED = {"wan_ppp.htm": {"ppp_ac_name": "ann", "ppp_idle_time": 7},
          "nat_conn.htm": {"enable_telnet": "unchecked"}}


class Fleet:
    def __init__(self, folder, members):
        self.folder, self.members = folder, members

    def play(self, *options, **more):
        """Runs the playbook: its output, and of each appliance how much was changed and failed."""
        hosts = {member.name: {"quillstead_url": member.url} for member in self.members}
        variables = {"quillstead_settings": WANTED, "quillstead_patience": 2,
                     "quillstead_confirm_within": 30, **more}
        (self.folder / "hosts.json").write_text(json.dumps({"appliances": {"hosts": hosts}}))
        (self.folder / "variables.json").write_text(json.dumps(variables))
        done = subprocess.run(
            ["ansible-playbook", "-i", "hosts.json", "-e", "@variables.json",
             PROJECT / "deploy/fleet/site.yml", *options],
            cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            env={"PATH": os.environ["PATH"], "HOME": self.folder, "LC_ALL": "C.UTF-8"}, timeout=300)
        recap = re.findall(r"^(\S+) +: .*changed=(\d+) .*failed=(\d+)", done.stdout, re.M)
        return done.stdout, {name: (int(changed), int(failed)) for name, changed, failed in recap}

    def settings(self):
        """What the wanted settings have become, and the changes that are kept or wait."""
        for member in self.members:
            found = member.keys(WAN)
            changes = os.listdir(member.at("/var/lib/quillstead-admin/changes"))
            yield (found["pppoe_username"], found["idle"], member.keys(RECORD)["SrvTelNet"],
                   sorted(changes))


@pytest.fixture
def fleet(tmp_path, switch_on):
    members = [switch_on(name) for name in NAMES]
    for member in members:
        member.view("nat_base.htm")  # makes the record
    return Fleet(tmp_path, members)


def test_only_what_differs_is_sent_and_who_hangs_is_left_out(fleet):
    fresh = list(fleet.settings())
    output, result = fleet.play("--check", "--diff")
    assert result == dict.fromkeys(NAMES, (2, 0)), output
    assert "pppoe_username:  \u2192 ann" in output and "pppoe_dyna" not in output
    assert list(fleet.settings()) == fresh
    output, result = fleet.play()
    assert result == dict.fromkeys(NAMES, (2, 0)), output
    for *settings, changes in fleet.settings():
        assert settings == ["ann", "7", "0"]
        assert "000001" in changes and "waiting" not in changes
    fleet.members[1].change(WAN, idle="9")
    secrets = {"wan_ppp.htm": {"ppp_ac_pwd": "pw4711"}}
    for options, changed in (["--check"], 1), ([], 1), ([], 0):
        output, result = fleet.play("-vvv", "--diff", *options, quillstead_secrets=secrets)
        assert result == dict.fromkeys(NAMES, (changed, 0)), output
        assert "pw4711" not in output  # nor in what it knows of itself
    for member in fleet.members:
        assert "pw4711" in member.read(PAP) and member.keys(WAN)["idle"] == "7"
    fleet.members[1].stop()
    with socket.create_server(("127.0.0.1", fleet.members[1].port)):
        output, result = fleet.play(quillstead_settings={"wan_ppp.htm": {"ppp_idle_time": 8}})
    assert result == {"attic": (1, 0), "barn": (0, 1), "cellar": (1, 0)}, output
    assert "Left out, nothing was changed: " in output and "timed out" in output


def test_who_refuses_stops_it_and_says_why(fleet):
    fleet.members[1].change(SETTINGS, bootproto="dhcp")
    *_, before = fleet.settings()
    wanted = {"nat_conn.htm": {"internet_access": "checked"}}
    output, result = fleet.play(quillstead_settings=wanted, quillstead_serial=[2, 1])
    assert result == {"attic": (1, 0), "barn": (0, 1)}, output
    assert re.search(r'"msg": "nat_conn.htm: .*DHCP', output)
    *_, after = fleet.settings()
    assert after == before
