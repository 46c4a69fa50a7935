"""The special applications page: its list, the firewall script, and what the script does."""

import pytest

from appliance import IP_UP, IS_PPP, SET_MODULE, WAN, told

SCRIPT, RULES = "/etc/rc.d/rc.firewall", "/var/lib/practice/rules"
LISTS = "a_sap_enable a_inpr a_port1in a_port2in a_outpr a_port1out a_port2out".split()
LINK = [IS_PPP, "/sbin/ifconfig eth0"]
LOAD = [IS_PPP, "/sbin/modprobe vpn", SET_MODULE % ("vpn", "s"), IS_PPP]
UNLOAD = [IS_PPP, "/sbin/rmmod vpn", "/sbin/lsmod", SET_MODULE % ("vpn", "f"), IS_PPP]
TCP_IN = "ipchains -A input -j ACCEPT -i $extif -p tcp ! -y -d $extip -s $univ "
OUT = "ipchains -A output -j ACCEPT"
WEB = f"#@Web\n {TCP_IN}80:90\n {OUT} -i $extif -p udp -d $univ 7:8\n\n"
VPN, PING, REST = "#@VPN\n modprobe vpn\n keep\n\n", "#@Ping\n a -p icmp b\n c\n\n", " ipchains -X"
OLD = "x=$1\n\n" + WEB + VPN + PING + REST
ON, OFF = {"v_nat_sap_enable": "checked"}, {}


def rules(name, protocol_in="none", in1="", in2="", protocol_out="none", out1="", out2=""):
    return dict(
        v_nat_sap_name=name, v_nat_sapin_pr_list=protocol_in, v_nat_sapout_pr_list=protocol_out,
        v_nat_sapin_port01=in1, v_nat_sapin_port02=in2,
        v_nat_sapout_port01=out1, v_nat_sapout_port02=out2)


def post(appliance, todo, switch, *rule):
    return appliance.post({"this_file": "nat_sap.htm", "todo": f"nat_{todo}_sap", **switch,
                           **rules(*rule)})


@pytest.mark.parametrize("todo, switch, rule, before, after, commands", [
    ("add", ON, ("New", "TCP", "80x", "", "UDP", "", "9"), OLD,
     f"{OLD}\n#@New\n {TCP_IN}80x:80x\n {OUT} -i $extif -p udp -d $univ 9:9\n\n", LINK),
    ("add", OFF, ("New", "TCP", "x80", "8;0", "n/a", "1", "2"), "", f"#@New\n#{TCP_IN}\n\n", LINK),
    ("del", OFF, ["Web"], OLD, OLD.replace(WEB, ""), LINK),
    ("del", OFF, ["A"], "#@A\n x\n" + VPN + PING, PING, LINK),
    ("update", OFF, ("Web", "TCP", "1", "2"), OLD,
     OLD.replace(WEB, f"#@Web\n#{TCP_IN}1:2\n\n"), LINK),
    ("update", ON, ("A", "TCP", "1"), "#@A\n\n" + VPN, f"#@A\n {TCP_IN}1:1\n\n{VPN}", LINK),
    ("update", OFF, ("VPN", "TCP"), OLD, OLD.replace(" modprobe", "#modprobe"), UNLOAD),
    ("update", ON, ["VPN"], OLD.replace(" modprobe", "#modprobe"), OLD, LOAD),
    ("update", OFF, ("Ping", "TCP"), OLD,
     OLD.replace(PING, "#@Ping\n#a -p icmp b\n#c\n\n"), LINK),
])
def test_actions(appliance, todo, switch, rule, before, after, commands):
    appliance.write(SCRIPT, before, 0o755)
    if commands in (LOAD, UNLOAD):
        appliance.answer("pidof pppd", "321\n")
        appliance.answer("lsmod", "vpn 1 1\n")
    result = post(appliance, todo, switch, *rule)
    assert (result.changed, appliance.mode(SCRIPT)) == ({SCRIPT: after}, 0o755)
    assert (result.commands, result.removed, result.message) == (commands, set(), "")


@pytest.mark.parametrize("todo, name, script, message", [
    ("add", "Web", OLD, told(6)), ("add", "A\nB", OLD, told(61, "v_nat_sap_name")),
    ("add", "", OLD, ""), ("add", "New", None, ""), ("del", "web", OLD, told(7)),
    ("del", "VPN (PPTP)", f"{OLD}\n#@VPN (PPTP)\n x\n", told(51)), ("update", "A", OLD, told(8)),
])
def test_nothing_changes(appliance, todo, name, script, message):
    appliance.write(SCRIPT, script)
    result = post(appliance, todo, ON, name)
    assert (result.message, result.did_nothing) == (message, True)


def test_list(appliance):
    appliance.write(SCRIPT, OLD.replace(f" {TCP_IN}", f"#{TCP_IN}") + (
        "\n#@Open\n x -p udp input 5x:6\n"
        f"#@Closed\n {TCP_IN}1:2\n{OUT} -p tcp 3:4 5:6\n#{OUT} -p udp 7:8\n\n"))
    shown = appliance.view("nat_sap.htm").shown
    assert shown["nat_sap_list"] == "\n<option> ".join(["", "Web", "VPN", "Ping", "Open", "Closed"])
    assert [shown[key] for key in LISTS] == [
        "1,1,1,1,0", "0,4,4,1,0", '"80","","","","1"', '"90","","","","2"',
        "1,4,4,3,2", '"7","","","","3"', '"8","","","","4"']


def test_nothing_is_stored_without_a_temporary_file(appliance):
    appliance.write(SCRIPT, OLD)
    appliance.block("/etc/rc.d/fw.tmp")
    for todo in "del", "update":
        result = post(appliance, todo, OFF, "VPN")
        assert (result.did_nothing, result.message) == (True, told(64, SCRIPT))


def test_the_script_does_what_the_page_says(appliance):
    appliance.practise("sbin/ipchains", "sbin/modprobe")
    appliance.write(WAN, "nat_enable=yes\nnat_interface=eth0\nconnect_method=1\n")
    appliance.write(IP_UP, f'#!/bin/sh\n {SCRIPT} "$1" 2>> /tmp/complaints\n', 0o755)
    for name in "eth0", "eth1":
        appliance.answer(f"ifconfig {name}", "  inet addr:192.0.2.7  Mask:255.255.255.0\n")
    game = "Game", "TCP/UDP", "80", "90", "TCP/UDP", "70", "79"
    opened = [f"input -j ACCEPT -i eth0 -p {protocol} -d 192.0.2.7 -s 0.0.0.0/0 80:90"
              for protocol in ("udp", "tcp ! -y")]
    opened += [f"output -j ACCEPT -i eth0 -p {protocol} -d 0.0.0.0/0 70:79"
               for protocol in ("udp", "tcp")]
    post(appliance, "update", ON, "Ping")
    before = appliance.read(RULES).splitlines()
    for todo, switch, now in ("add", ON, before + opened), ("update", OFF, before):
        post(appliance, todo, switch, *game)
        assert appliance.read(RULES).splitlines() == now
    appliance.save("nat_conn.htm", enable_sp_apps="unchecked")
    applications = next(n for n, rule in enumerate(before) if "icmp" in rule)
    assert appliance.read(RULES).splitlines() == before[:applications]
    assert appliance.read("/tmp/complaints") == ""
