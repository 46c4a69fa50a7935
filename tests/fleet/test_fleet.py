"""Many appliances at once: the playbook, on three practice appliances behind their web servers."""

import json
import os
import re
import shutil
import socket
import subprocess
from pathlib import Path

import pytest

from appliance import PAP, PROGRAM, PROJECT, RECORD, SETTINGS, WAN, WWW, free_ports, until

FLEET = PROJECT / "deploy/fleet"
NAMES = ["127.0.0.2", "127.0.0.3", "127.0.0.4"]
WANTED = {"wan_ppp.htm": {"ppp_ac_name": "ann", "ppp_idle_time": 7},
          "nat_conn.htm": {"enable_telnet": "unchecked"}}
SECRETS = {"wan_ppp.htm": {"ppp_ac_pwd": "pw4711"}}
CHANGES = "/var/lib/quillstead-admin/changes"


class Member:
    """A practice appliance on an address of its own."""

    def __init__(self, folder, name, port):
        self.root, self.name, self.port = folder / name, name, port
        subprocess.run([PROJECT / "lab/make-root.sh", self.root, PROGRAM, WWW], check=True)
        user = ["--user", "--map-root-user"] if os.getuid() else []
        self.server = subprocess.Popen(
            ["unshare", *user, f"--root={self.root}", "--wd=/", "/bin/busybox", "httpd", "-f", "-p",
             f"{name}:{port}", "-h", "/www", "-c", "/etc/httpd.conf"],
            env={"PATH": "/sbin:/bin:/usr/sbin:/usr/bin"}, stdin=subprocess.DEVNULL)
        until(lambda: socket.socket().connect_ex((name, port)) == 0)

    def read(self, path):
        return (self.root / path.lstrip("/")).read_text()

    def change(self, path, before, after):
        text = self.read(path)
        assert before in text
        (self.root / path.lstrip("/")).write_text(text.replace(before, after))

    def settings(self):
        """What the wanted settings have become, and the changes that are kept or wait."""
        found = re.findall("^(?:pppoe_username|idle)=(.*)", self.read(WAN), re.M)
        telnet = (self.root / RECORD[1:]).exists() and "SrvTelNet=0" in self.read(RECORD)
        return found, telnet, sorted(os.listdir(self.root / CHANGES[1:]))

    def stop(self):
        """The server and what it has left behind."""
        self.server.kill()
        self.server.wait()
        for link in Path("/proc").glob("[0-9]*/root"):
            if os.path.islink(link) and os.path.realpath(link) == str(self.root):
                os.kill(int(link.parts[2]), 9)
        shutil.rmtree(self.root)


class Fleet:
    def __init__(self, folder):
        self.folder = folder
        port = next(port for port in free_ports("127.0.0.1", 20)
                    if all(socket.socket().connect_ex((name, port)) for name in NAMES))
        self.members = [Member(folder, name, port) for name in NAMES]
        self.url = f"http://{{{{ inventory_hostname }}}}:{port}/nat.cgi"

    def play(self, *options, secrets={}):
        """Runs the playbook: its output, and of each appliance (changed, failed)."""
        variables = {"quillstead_url": self.url, "quillstead_settings": WANTED,
                     "quillstead_secrets": secrets, "quillstead_patience": 2,
                     "quillstead_confirm_within": 30}
        inventory = {"appliances": {"vars": variables, "hosts": dict.fromkeys(NAMES)}}
        (self.folder / "inventory.json").write_text(json.dumps(inventory))
        done = subprocess.run(
            ["ansible-playbook", "-i", self.folder / "inventory.json", FLEET / "site.yml",
             *options],
            env={"PATH": os.environ["PATH"], "HOME": str(self.folder), "LC_ALL": "C.UTF-8"},
            capture_output=True, text=True, timeout=300)
        recap = re.findall(r"^(\S+) +: .*changed=(\d+) .*failed=(\d+)", done.stdout, re.M)
        (self.folder / "output").write_text(done.stdout + done.stderr)
        return done.stdout + done.stderr, {name: (int(c), int(f)) for name, c, f in recap}

    def all_settings(self):
        return [member.settings() for member in self.members]


@pytest.fixture
def fleet(tmp_path):
    found = Fleet(tmp_path)
    yield found
    for member in found.members:
        member.stop()


def test_only_what_differs_is_sent(fleet):
    fresh = fleet.all_settings()
    output, result = fleet.play("--check", "--diff")
    assert result == dict.fromkeys(NAMES, (2, 0)), output
    assert "pppoe_username:  \u2192 ann" in output and "pppoe_dyna" not in output
    assert fleet.all_settings() == fresh
    output, result = fleet.play()
    assert result == dict.fromkeys(NAMES, (2, 0)), output
    set_now = fleet.all_settings()
    assert [found[:2] for found in set_now] == [(["ann", "7"], True)] * 3
    assert ["000001" in found[2] and "waiting" not in found[2] for found in set_now] == [True] * 3
    assert fleet.play()[1] == dict.fromkeys(NAMES, (0, 0))
    assert fleet.all_settings() == set_now
    fleet.members[1].change(WAN, "idle=7", "idle=9")
    for options, changed in (["--check"], 1), ([], 1), ([], 0):
        output, result = fleet.play("-vvv", "--diff", *options, secrets=SECRETS)
        assert result == dict.fromkeys(NAMES, (changed, 0)), output
        assert "pw4711" not in output  # nor in what it knows of itself
    assert ["pw4711" in member.read(PAP) for member in fleet.members] == [True] * 3


def test_who_refuses_stops_it_and_says_why(fleet):
    fleet.members[1].change(SETTINGS, "bootproto=none", "bootproto=dhcp")
    before = fleet.members[2].settings()
    wanted = {"nat_conn.htm": {"internet_access": "checked"}}
    more = {"quillstead_settings": wanted, "quillstead_serial": 1}
    output, result = fleet.play("-e", json.dumps(more))
    assert result == {NAMES[0]: (1, 0), NAMES[1]: (0, 1)}, output
    assert re.search(r'"msg": "nat_conn.htm: .*DHCP', output)
    assert fleet.members[2].settings() == before


def test_who_hangs_is_left_out(fleet):
    fleet.members[1].server.kill()
    fleet.members[1].server.wait()
    with socket.create_server((NAMES[1], fleet.members[1].port)):
        output, result = fleet.play()
    assert result == {NAMES[0]: (2, 0), NAMES[1]: (0, 1), NAMES[2]: (2, 0)}, output
    assert "Left out, nothing was changed: " in output and "timed out" in output
