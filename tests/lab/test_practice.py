"""The practice appliance as its user meets it: switched on, saved to through its web server, switched off."""

import os
import signal
import subprocess
import urllib.parse
import urllib.request
from pathlib import Path

import pytest

from appliance import PROGRAM, PROJECT, WWW, free_ports, until

COMMAND = PROJECT / "lab/appliance.sh"


class Practice:
    def __init__(self, folder, port):
        self.root, self.address = folder / "root", f"http://127.0.0.1:{port}/nat.cgi"
        self.output = folder / "output"
        command = [COMMAND, "--port", str(port), self.root, PROGRAM, WWW]
        with open(self.output, "w") as output:
            self.process = subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT)
        until(lambda: "log of commands" in self.said())

    def said(self):
        return self.output.read_text()

    def request(self, **form):
        body = urllib.parse.urlencode(form).encode() if "todo" in form else None
        query = "" if body else "?" + urllib.parse.urlencode(form)
        with urllib.request.urlopen(self.address + query, body, 60) as answer:
            return answer.read().decode()

    def save(self, **fields):
        return self.request(this_file="nat_conn.htm", todo="save", next_file="nat_base.htm", **fields)

    def processes(self):
        """The processes that live in the appliance's root."""
        roots = ((link, os.path.realpath(link)) for link in Path("/proc").glob("[0-9]*/root") if os.path.islink(link))
        return [link.parts[2] for link, root in roots if root == str(self.root)]

    def runs(self, daemon):
        pid = self.root / f"var/lib/practice/run/{daemon}"
        return pid.exists() and pid.read_text().strip() in self.processes()


@pytest.fixture
def practice(tmp_path):
    appliance = Practice(tmp_path, *free_ports("127.0.0.1", 1))
    yield appliance
    appliance.process.terminate()
    appliance.process.wait(20)


def test_the_three_methods(practice):
    assert "192.0.2.53" in practice.request(next_file="nat_base.htm")
    for name, daemons in ("WAN Port - PPPoE", ["adsl-connect", "pppd", "squid"]), ("Serial Port", ["diald", "squid"]):
        practice.save(internet_access="checked", access_method=name)
        for daemon in daemons:
            until(lambda: practice.runs(daemon))
    assert not practice.runs("adsl-connect")
    practice.save(internet_access="checked", access_method="WAN Port - Direct Connection")
    assert not practice.runs("diald")
    assert "addr=198.51.100.23" in (practice.root / "var/lib/practice/if/eth0").read_text()
    practice.save(internet_access="unchecked")
    until(lambda: not practice.runs("squid"))
    assert not (practice.root / "var/lib/practice/if/eth0").exists()
    until(lambda: "  wrote    /etc/sysctl.conf" in practice.said())
    assert "  ran      adsl-start\n" in practice.said()


def test_ctrl_c_stops_everything(practice):
    practice.save(internet_access="checked", access_method="WAN Port - PPPoE")
    assert len(practice.processes()) > 3
    practice.process.send_signal(signal.SIGTERM)
    practice.process.wait(20)
    assert practice.processes() == []


def test_a_port_in_use_is_a_clear_error(practice, tmp_path):
    port = practice.address.split(":")[2].split("/")[0]
    second = subprocess.run([COMMAND, "--port", port, tmp_path / "second", PROGRAM, WWW],
                            capture_output=True, text=True, timeout=20)
    assert (second.returncode, second.stdout) == (1, "")
    assert second.stderr == f"practice appliance: port {port} is in use; choose another with --port\n"
    assert not (tmp_path / "second").exists()
