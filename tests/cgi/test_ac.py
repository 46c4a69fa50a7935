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


@pytest.mark.parametrize("ports, fields, shown, after, allowed, blocked", [
    ("A,21,80-90", "block_allow=x", "Block", "B,21,80-90", "0:20 22:79 91:65535", "21 80:90"),
    (" ,1-65534", "block_allow=Allowed", "Allow", "A,1-65534", "1:65534", "0 65535"),
    ("", "block_allow=Block", "Block", "B,", "0:65535", ""),
    ("B", "block_allow=Allow", "Block", "B", "0:65535", ""),
    ("B,65535,70000,80x,8;0", "", "Allow", "A,65535,70000,80x,8;0",
     "65535 70000 80x", "0:65534 81:65535"),
])
def test_ports_in_the_script(ac, ports, fields, shown, after, allowed, blocked):
    """Those that are allowed and those that are blocked, in either mode."""
    ac.change(SETTINGS, G3P=ports)
    expected = ac.read(SCRIPT).replace(
        'P3="\n0:65535\n"\nB3="\n',
        'P3="\n' + "".join(f"{each}\n" for each in allowed.split())
        + '"\nB3="\n' + "".join(f"{each}\n" for each in blocked.split()))
    result = post(ac, "change_access", 3, fields)
    assert (result.shown["block_allow"], result.message) == (shown, told(54))
    assert (ac.keys(SETTINGS)["G3P"], result.commands) == (after, [*RERUN, LAN])
    assert (ac.read(SCRIPT), ac.mode(SCRIPT)) == (expected, 0o755)


def test_rules_of_the_kernel(ac):
    for todo, fields in (("add_ip", NETWORK + "start_ip_4=1&finish_ip_4=6"), ("change_access", ""),
                         ("add_port", "port_start=25"),
                         ("add_port", "port_start=80&port_finish=90")):
        result = post(ac, todo, 2, fields)
    wanted = [("RETURN", port) for port in ("25", "80:90")]
    wanted += [("REJECT", port) for port in ("0:24", "26:79", "91:65535")]
    everyone = [f"ac_ctrl -j RETURN -p {kind} -s 0.0.0.0/0 -d 0.0.0.0/0 0:65535"
                for kind in ("tcp", "udp")]
    jump = "input -j ac_ctrl -i eth1 -d ! 192.168.1.1/255.255.255.0"
    assert ac.read(COMPLAINTS) == ""
    assert ac.read(RULES).splitlines() == [
        jump, *(f"ac_ctrl -j {target} -p {kind} -s 192.168.1.{host} -d 0.0.0.0/0 {port}"
                for host in ("1", "2/31", "4/31", "6")
                for kind in ("tcp", "udp") for target, port in wanted), *everyone]
    assert result.shown["port_list"] == "<option>25\n<option>80-90"
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
    ("del_ip", "192.168.1.3,192.168.1.5-8", "address_list=192.168.1.3", "192.168.1.5-8"),
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
    assert result.shown["port_list"].count("<option>") == 44


@pytest.mark.parametrize("old, new", [("P1=", "P9="), ("B1=", "B9="), ("\"", "'")])
def test_a_script_without_the_blocks_stays(ac, old, new):
    ac.write(SCRIPT, ac.read(SCRIPT).replace(old, new))
    result = post(ac, "add_port", 1, "port_start=80")
    assert (list(result.changed), result.commands) == ([SETTINGS], [LAN])


@pytest.mark.parametrize("missing, added", [("/www/cgi_err", "<option>10.168.1.5"), (SETTINGS, "")])
def test_hosts_outside_the_lan(ac, missing, added):
    ac.write(missing, None)
    result = post(ac, "add_ip", 1, NETWORK + "start_ip_1=10&start_ip_4=5")
    assert [result.shown[key] for key in ("address_list", "vs_web_3")] == [added, "1"]
    assert result.message == ("Warning: ip address not in LAN range." if added else "")


@pytest.mark.parametrize("name, group", [
    ("Group 2", "Group 2"), ("Group 4", "Default"), ("", "Default"),
])
def test_a_group_is_a_view_of_its_own(ac, name, group):
    result = ac.get(f"next_file=group&group_name={name}&port_start=9&todo")
    assert (result.page, result.shown["group_name"], result.changed) == ("ac_cfg.htm", group, {})
    assert result.shown["port_start"] == ""
