"""The practice appliance as its user meets it: on, saved to through its web server, and off."""

import subprocess

from appliance import until


def test_the_three_methods_and_the_end(practice):
    for method, daemons, others in (
            ("WAN Port - Direct Connection", "squid", "pppd diald"),
            ("Serial Port", "diald", "pppd"),
            ("WAN Port - PPPoE", "adsl-connect pppd squid", "diald")):
        practice.save("nat_conn.htm", internet_access="checked", access_method=method)
        until(lambda: all(practice.runs(daemon) for daemon in daemons.split()))
        assert not any(practice.runs(daemon) for daemon in others.split())
    until(lambda: "  wrote    /etc/sysctl.conf" in practice.said())
    assert "  ran      adsl-start\n" in practice.said()
    second = subprocess.run(practice.command, capture_output=True, text=True, timeout=20)
    assert (second.returncode, second.stdout, second.stderr) == (1, "", "practice appliance: "
        f"port {practice.port} is in use; choose another with --port\n")
    practice.stop()  # by Ctrl-C, say
    assert practice.processes() == []
