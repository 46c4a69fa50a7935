"""The script that publishes the virtual servers, really run: what then stands in the kernel."""

import pytest

from appliance import HAS_ADDRESS, IP_UP, IS_PPPOE, LINK_UP, RECORD, WAN, octets

SCRIPT = "/etc/rc.d/rc.ipvs"
TABLE, RULES, COMPLAINTS = "/var/lib/practice/ipvs", "/var/lib/practice/rules", "/tmp/complaints"
OUTSIDE = "203.0.113.7"
BOTH = ("tcp", "udp")


def server(key, number, protocols=BOTH, **ports):
    """The fields that publish a server, and what must then be reachable from outside."""
    host = f"192.168.1.{number}"
    fields = {f"vs_{key}_enable": "checked", **octets(f"vs_{key}_", host),
              **{f"vs_{key}_{field}": port for field, port in ports.items()}}
    return fields, [(protocol, port, host) for port in ports.values() for protocol in protocols]


SERVERS = [
    server("web", 10, ["tcp"], portno="80"), server("pop3", 11, portno="110"),
    server("smtp", 12, ["tcp"], portno="25"),
    server("ftp", 13, ["tcp"], portno_ctrl="21", portno_data="20"),
    ({"vs_https_enable": "checked"}, [("tcp", "443", "192.168.1.10")]),  # lives with the web server
    *(server(f"ud{n}", 20 + n, portno=f"700{n}") for n in range(1, 6))]


@pytest.fixture
def connected(appliance):
    """An appliance on the internet, with the practice appliance's strict ipvsadm and ipchains."""
    appliance.practise("sbin/ipvsadm", "sbin/ipchains")
    for interface in "eth0", "ppp0":
        appliance.answer(f"ifconfig {interface}", f"{interface}\n  inet addr:{OUTSIDE}  B:1\n")
    appliance.write(WAN, "nat_enable=yes\nnat_interface=eth0\nconnect_method=1\n")
    appliance.write(TABLE, f"-t {OUTSIDE}:1\n-t {OUTSIDE}:1 -> 192.168.1.5:1 -m\n")  # to be cleared
    appliance.write(RULES, "")
    prepare(appliance, method=1)
    return appliance


def prepare(appliance, method, dmz=False):
    """A record whose web port a save changes, and a link-up script that runs ours."""
    record = f"Method={method}\nWeb=0\nWebPort=1\nDMZ={dmz:d}\nDMZ_IP=192.168.1.99\n"
    appliance.write(RECORD, record, 0o600)
    run = f'{SCRIPT} "$1" 2>> {COMPLAINTS}\n'
    appliance.write(IP_UP, f'#!/bin/sh\ndmz="{"no" if dmz else "yes"}"\n{run}{run}', 0o644)


@pytest.mark.parametrize("servers, dmz", [
    (SERVERS, True), (SERVERS[0::2], False), (SERVERS[1::2], False), ([], True),
    ([({"vs_https_enable": "checked"}, [])], False),
])
def test_what_is_published(connected, servers, dmz):
    """The link-up script may run it twice."""
    form, table, openings = {"vs_web_portno": "80"}, [], []
    for fields, published in servers:
        form |= fields
        for protocol, port, host in published:
            service = f"-{protocol[0]} {OUTSIDE}:{port}"
            table += [service, f"{service} -> {host}:{port} -m"]
            openings.append(f"input -j ACCEPT -i eth0 -p {protocol} -d {OUTSIDE} {port}")
    for service in (f"-t {OUTSIDE}:0", f"-u {OUTSIDE}:0") if dmz else ():
        table += [service, f"{service} -> 192.168.1.99 -m"]
    prepare(connected, 1, dmz)
    assert connected.save("nat_vs.htm", **form).commands == [HAS_ADDRESS % "eth0", LINK_UP % "eth0"]
    assert connected.read(COMPLAINTS) == ""
    assert connected.read(TABLE).splitlines() == table
    assert connected.read(RULES).splitlines() == openings * 2
    assert f'\ndmz="{"yes" if dmz else "no"}"\n' in connected.read(IP_UP)
    assert (connected.mode(SCRIPT), connected.mode(IP_UP)) == (0o755, 0o755)


@pytest.mark.parametrize("method, pid, address, commands", [
    (0, "", OUTSIDE, []),
    (1, "", "", [HAS_ADDRESS % "eth0"]),
    (2, "", OUTSIDE, [IS_PPPOE]),
    (2, "4711\n", OUTSIDE, [IS_PPPOE, HAS_ADDRESS % "ppp0", LINK_UP % "ppp0"]),
    (3, "", "10.0.0.2", [HAS_ADDRESS % "ppp0"]),
    (3, "", OUTSIDE, [HAS_ADDRESS % "ppp0", LINK_UP % "ppp0"]),
])
def test_applied_by_method(connected, method, pid, address, commands):
    prepare(connected, method)
    connected.answer("pidof -x adsl-connect", pid)
    for interface in "eth0", "ppp0":
        connected.answer(f"ifconfig {interface}", address and f"  inet addr:{address}  Mask:1\n")
    assert connected.save("nat_vs.htm", vs_web_portno="80").commands == commands
    has_run = method == 0 or commands[-1].startswith("/etc/ppp/ip-up")
    assert (f"-t {OUTSIDE}:1" not in connected.read(TABLE)) == has_run
    assert connected.mode(SCRIPT) == 0o755  # made all the same: the next link-up runs it
