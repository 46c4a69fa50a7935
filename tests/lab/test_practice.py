"""The practice appliance as its user meets it: on, saved to through its web server, and off."""

import subprocess

from appliance import until


def share(practice, method):
    practice.save("nat_conn.htm", internet_access="checked", access_method=method)


def test_the_three_methods(practice):
    assert "192.0.2.53" in practice.view("nat_base.htm")
    for method, daemons in (("WAN Port - PPPoE", ["adsl-connect", "pppd", "squid"]),
                            ("Serial Port", ["diald", "squid"])):
        share(practice, method)
        for daemon in daemons:
            until(lambda: practice.runs(daemon))
    assert not practice.runs("adsl-connect")
    share(practice, "WAN Port - Direct Connection")
    assert not practice.runs("diald")
    assert "addr=198.51.100.23" in practice.read("/var/lib/practice/if/eth0")
    practice.save("nat_conn.htm", internet_access="unchecked")
    until(lambda: not practice.runs("squid"))
    assert not practice.exists("/var/lib/practice/if/eth0")
    until(lambda: "  wrote    /etc/sysctl.conf" in practice.said())
    assert "  ran      adsl-start\n" in practice.said()


def test_ctrl_c_stops_everything(practice):
    share(practice, "WAN Port - PPPoE")
    assert len(practice.processes()) > 3
    practice.stop()
    assert practice.processes() == []


def test_a_port_in_use_is_a_clear_error(practice, tmp_path):
    other = tmp_path / "second"
    command = [other if word == practice.root else word for word in practice.command]
    second = subprocess.run(command, capture_output=True, text=True, timeout=20)
    assert (second.returncode, second.stdout) == (1, "")
    assert second.stderr == ("practice appliance: "
                             f"port {practice.port} is in use; choose another with --port\n")
    assert not other.exists()
