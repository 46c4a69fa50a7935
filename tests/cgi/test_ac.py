"""Access control: lists as they are kept, the script as written, rules in the kernel."""

import pytest

from appliance import HAS_ADDRESS, IP_UP, IS_MODEM, IS_PPPOE, LINK_UP, SETTINGS, told
from test_ipvs_script import COMPLAINTS, RULES, connected  # noqa: F401

SCRIPT, LAN = "/etc/rc.d/rc.ac_ctrl", "/sbin/ifconfig eth1"
RERUN = [IS_MODEM, IS_PPPOE, HAS_ADDRESS % "eth0", LINK_UP % "eth0"]
FULL = "A," + ",".join(map(str, range(10000, 10090, 2)))  # 271 characters, all a line holds
NETWORK = "vs_web_1=192&vs_web_2=168&vs_web_3=1&"


@pytest.fixture
def ac(connected):  # noqa: F811
    connected.answer("ifconfig eth1", "eth1\n     inet addr:192.168.1.1  Mask:255.255.255.0\n")
    link_up = f'#!/bin/sh\nipchains -F\nipchains -X\n{SCRIPT} "$1" 2>> {COMPLAINTS}\n'
    connected.write(IP_UP, link_up, 0o755)
    connected.write(SCRIPT, connected.read(SCRIPT).replace("acc_en=no", "acc_en=yes"), 0o700)
    return connected


def post(ac, todo, group, fields):
    return ac.post(f"this_file=ac_cfg.htm&todo={todo}&group_name=Group+{group}&{fields}")


def lines(ports):
    return "".join(f"{each}\n" for each in ports.split())


@pytest.mark.parametrize("ports, choice, after, allowed, blocked", [
    ("A,21,80-90", "x", "B,21,80-90", "0:20 22:79 91:65535", "21 80:90"),
    (" ,1-65534", "Allowed", "A,1-65534", "1:65534", "0 65535"),
    ("", "Block", "B,", "0:65535", ""), ("B", "", "B", "0:65535", ""),
    ("B,65535,70000,80x,8;0", "", "A,65535,70000,80x,8;0", "65535 70000 80x", "0:65534 81:65535"),
])
def test_ports_in_the_script(ac, ports, choice, after, allowed, blocked):
    ac.change(SETTINGS, G3P=ports)
    expected = ac.read(SCRIPT).replace(
        'P3="\n0:65535\n"\nB3="\n', f'P3="\n{lines(allowed)}"\nB3="\n{lines(blocked)}')
    result = post(ac, "change_access", 3, f"block_allow={choice}")
    shown = {"A": "Allow", "B": "Block"}[after[0]]
    assert (result.shown["block_allow"], result.message) == (shown, told(54))
    assert (ac.keys(SETTINGS)["G3P"], result.commands) == (after, [*RERUN, LAN])
    assert (ac.read(SCRIPT), ac.mode(SCRIPT)) == (expected, 0o755)


def rules(hosts, ports):
    return [f"ac_ctrl -j {target} -p {kind} -s {host} -d 0.0.0.0/0 {port}"
            for host in hosts for kind in ("tcp", "udp") for target, port in ports]


def test_rules_of_the_kernel(ac):
    for todo, fields in (("add_ip", NETWORK + "start_ip_4=1&finish_ip_4=6"), ("change_access", ""),
                         ("add_port", "port_start=25"),
                         ("add_port", "port_start=80&port_finish=90")):
        result = post(ac, todo, 2, fields)
    assert result.shown["port_list"] == "<option>25\n<option>80-90"
    wanted = [("RETURN", "25"), ("RETURN", "80:90"), ("REJECT", "0:24"), ("REJECT", "26:79"),
              ("REJECT", "91:65535")]
    hosts = [f"192.168.1.{host}" for host in ("1", "2/31", "4/31", "6")]
    jump = "input -j ac_ctrl -i eth1 -d ! 192.168.1.1/255.255.255.0"
    everyone = rules(["0.0.0.0/0"], [("RETURN", "0:65535")])
    assert ac.read(COMPLAINTS) == ""
    assert ac.read(RULES).splitlines() == [jump, *rules(hosts, wanted), *everyone]
    post(ac, "del_ip", 2, "address_list=192.168.1.1-6")
    assert (ac.keys(SETTINGS)["G2A"], ac.read(RULES).splitlines()) == ("", [jump, *everyone])


@pytest.mark.parametrize("todo, before, fields, after", [
    ("add_port", "", "port_start=21", " ,21"), ("add_port", " ,21,23", "port_start=22", " ,21-23"),
    ("add_port", "B,85", "port_start=80&port_finish=90", "B,80-90"),
    ("add_port", "B,", "port_finish=80x", "B,80x"), ("add_port", "B", "port_start=80", "B"),
    ("add_port", "B,0", "port_start=0", "B,"), ("del_port", "A,21", "port_list=21", "A,"),
    ("add_port", "B,80", "port_start=0&port_finish=5", "B,0-5,80"),
    ("del_port", "A,21,121,12,1", "port_list=21&port_list=1&port_list=2", "A,121,12"),
    ("add_port", FULL[:-6], "port_start=10088", FULL),
    ("add_ip", "10.0.0.9,10.0.0.4-7", NETWORK + "start_ip_4=8", "192.168.1.4-9"),
    ("del_ip", "10.0.0.3,10.0.0.5-8", "address_list=10.0.0.3", "10.0.0.5-8"),
])
def test_lists(ac, todo, before, fields, after):
    key = "G3P" if todo.endswith("port") else "G3A"
    ac.change(SETTINGS, **{key: before})
    result = post(ac, todo, 3, fields)
    assert (ac.keys(SETTINGS)[key], result.message) == (after, "")
    assert sorted(result.commands) == sorted([*RERUN, LAN])


@pytest.mark.parametrize("todo, fields, message", [
    ("add_port", "port_start=100880", told(68)),
    ("add_port", "port_start=80&port_finish=$9", told(62, "Port", "$")),
    ("add_ip", NETWORK + "start_ip_2=`&start_ip_4=1", told(62, "IP address", "`")),
    ("add_port", "", ""), ("add_ip", NETWORK, ""), ("del_port", "", ""),
])
def test_nothing_changes(ac, todo, fields, message):
    ac.change(SETTINGS, G1P=FULL[:-6])
    result = post(ac, todo, 1, fields)
    assert (result.message, result.changed, result.commands) == (message, {}, [LAN])


@pytest.mark.parametrize("old, new", [("P1=", "P9="), ("B1=", "B9="), ("\"", "'")])
def test_a_script_without_the_blocks_stays(ac, old, new):
    ac.write(SCRIPT, ac.read(SCRIPT).replace(old, new))
    result = post(ac, "add_port", 1, "port_start=80")
    assert (list(result.changed), result.commands) == ([SETTINGS], [LAN])


@pytest.mark.parametrize("missing, added, message", [
    ("/www/cgi_err", "<option>10.168.1.5", "Warning: ip address not in LAN range."),
    (SETTINGS, "", ""),
])
def test_hosts_outside_the_lan(ac, missing, added, message):
    ac.write(missing, None)
    result = post(ac, "add_ip", 1, NETWORK + "start_ip_1=10&start_ip_4=5")
    assert (result.shown["address_list"], result.message) == (added, message)
    assert result.shown["vs_web_3"] == "1"


@pytest.mark.parametrize("name, group", [("Group 2", "Group 2"), ("Group 4", "Default")])
def test_a_group_is_a_view_of_its_own(ac, name, group):
    result = ac.get(f"next_file=group&group_name={name}&port_start=9&todo")
    assert (result.page, result.shown["group_name"], result.changed) == ("ac_cfg.htm", group, {})
    assert result.shown["port_start"] == ""
