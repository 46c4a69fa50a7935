"""The script that publishes the virtual servers, really run: what it leaves in the kernel's tables."""

import subprocess

import pytest

from appliance import HAS_ADDRESS, IP_UP, IS_PPPOE, LINK_UP, RECORD, WAN, octets

SCRIPT = "/etc/rc.d/rc.ipvs"
TABLE, RULES, COMPLAINTS = "/var/lib/practice/ipvs", "/var/lib/practice/rules", "/tmp/complaints"
OUTSIDE = "203.0.113.7"


def server(key, number, *published, **ports):
    """The fields that publish a server, and the ports of its host that must then be reachable from outside."""
    host = f"192.168.1.{number}"
    fields = {f"vs_{key}_enable": "checked", **octets(f"vs_{key}_", host),
              **{f"vs_{key}_{field}": port for field, port in ports.items()}}
    return fields, [(protocol, port, host) for protocol, port in published]


SERVERS = [
    server("web", 10, ("tcp", "80"), portno="80"),
    server("pop3", 11, ("tcp", "110"), ("udp", "110"), portno="110"),
    server("smtp", 12, ("tcp", "25"), portno="25"),
    server("ftp", 13, ("tcp", "21"), ("tcp", "20"), portno_ctrl="21", portno_data="20"),
    *(server(f"ud{n}", 20 + n, ("tcp", f"700{n}"), ("udp", f"700{n}"), portno=f"700{n}") for n in range(1, 6))]
WEB = SERVERS[0]
HTTPS = {"vs_https_enable": "checked"}, [("tcp", "443", "192.168.1.10")]  # lives with the web server


def together(*servers):
    fields, ports = {}, []
    for more, published in servers:
        fields |= more
        ports += published
    return fields, ports


ALL = together(*SERVERS[:4], HTTPS, *SERVERS[4:])
CASES = [*((*each, False) for each in (*SERVERS, (HTTPS[0], []), together(WEB, HTTPS), ({}, []), ALL)),
         ({}, [], True), (*ALL, True)]


@pytest.fixture
def connected(appliance):
    """An appliance on the internet, with the practice appliance's strict ipvsadm and ipchains."""
    appliance.practise("sbin/ipvsadm", "sbin/ipchains")
    for interface in "eth0", "ppp0":
        appliance.answer(f"ifconfig {interface}", f"{interface}  Link\n     inet addr:{OUTSIDE}  Bcast:203.0.113.255\n")
    appliance.write(WAN, "nat_enable=yes\nnat_interface=eth0\nconnect_method=1\n")
    appliance.write(TABLE, f"-t {OUTSIDE}:1\n-t {OUTSIDE}:1 -> 192.168.1.5:1 -m\n")  # to be cleared
    appliance.write(RULES, "")
    prepare(appliance, method=1)
    return appliance


def prepare(appliance, method, dmz=False, runs=1):
    """The record of a method, with a port that saving changes, and a link-up script that runs ours."""
    record = f"Method={method}\nWeb=0\nWebPort=1\nDMZ={dmz:d}\nDMZ_IP=192.168.1.99\n"
    appliance.write(RECORD, record, 0o600)
    run = f'{SCRIPT} "$1" 2>> {COMPLAINTS}\n'
    appliance.write(IP_UP, f'#!/bin/sh\ndmz="{"no" if dmz else "yes"}"\n' + run * runs, 0o644)


def save(appliance, form):
    return appliance.save("nat_vs.htm", **{"vs_web_portno": "80", **form})


def table(ports, dmz):
    """The table of virtual servers as it must be."""
    lines = []
    for protocol, port, host in ports:
        service = f"-{protocol[0]} {OUTSIDE}:{port}"
        lines += [service, f"{service} -> {host}:{port} -m"]
    for service in (f"-t {OUTSIDE}:0", f"-u {OUTSIDE}:0") if dmz else ():
        lines += [service, f"{service} -> 192.168.1.99 -m"]
    return lines


@pytest.mark.parametrize("runs", (1, 2))
@pytest.mark.parametrize("form, ports, dmz", CASES)
def test_tables(connected, form, ports, dmz, runs):
    prepare(connected, 1, dmz, runs)
    result = save(connected, form)
    assert result.commands == [HAS_ADDRESS % "eth0", LINK_UP % "eth0"]
    assert connected.read(COMPLAINTS) == ""
    assert connected.read(TABLE).splitlines() == table(ports, dmz)
    openings = [f"input -j ACCEPT -i eth0 -p {protocol} -d {OUTSIDE} {port}" for protocol, port, _ in ports]
    assert connected.read(RULES).splitlines() == openings * runs
    assert f'\ndmz="{"yes" if dmz else "no"}"\n' in connected.read(IP_UP)
    assert (connected.mode(SCRIPT), connected.mode(IP_UP)) == (0o755, 0o755)
    for shell in "sh", "/bin/bash-static":
        subprocess.run([shell, "-n", connected.at(SCRIPT)], check=True)


@pytest.mark.parametrize("method, pid, address, commands", [
    (0, "", OUTSIDE, []),
    (1, "", "", [HAS_ADDRESS % "eth0"]),
    (2, "", OUTSIDE, [IS_PPPOE]),
    (2, "4711\n", "10.112.112.112", [IS_PPPOE, HAS_ADDRESS % "ppp0"]),
    (2, "4711\n", OUTSIDE, [IS_PPPOE, HAS_ADDRESS % "ppp0", LINK_UP % "ppp0"]),
    (3, "", "10.0.0.2", [HAS_ADDRESS % "ppp0"]),
    (3, "", OUTSIDE, [HAS_ADDRESS % "ppp0", LINK_UP % "ppp0"]),
])
def test_applied_by_method(connected, method, pid, address, commands):
    prepare(connected, method)
    connected.answer("pidof -x adsl-connect", pid)
    for interface in "eth0", "ppp0":
        connected.answer(f"ifconfig {interface}", address and f"  inet addr:{address}  Mask:255.255.255.0\n")
    result = save(connected, WEB[0])
    assert result.commands == commands
    run = method == 0 or commands[-1].startswith("/etc/ppp/ip-up")
    assert (f"-t {OUTSIDE}:1" not in connected.read(TABLE)) == run
    assert connected.mode(SCRIPT) == 0o755  # made all the same: the next link-up runs it

