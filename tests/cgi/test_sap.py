"""The special applications page: its list, the firewall script, and what the script does."""

import pytest

from appliance import IP_UP, IS_PPP, SET_MODULE, WAN, told

SCRIPT, RULES = "/etc/rc.d/rc.firewall", "/var/lib/practice/rules"
LISTS = "a_sap_enable a_inpr a_port1in a_port2in a_outpr a_port1out a_port2out".split()
LINK = [IS_PPP, "/sbin/ifconfig eth0"]
LOAD = [IS_PPP, "/sbin/modprobe vpn", SET_MODULE % ("vpn", "s"), IS_PPP]
UNLOAD = [IS_PPP, "/sbin/rmmod vpn", "/sbin/lsmod", SET_MODULE % ("vpn", "f"),
          IS_PPP]
TCP_IN = "ipchains -A input -j ACCEPT -i $extif -p tcp ! -y -d $extip -s $univ "
OUT = "ipchains -A output -j ACCEPT"
WEB = f"#@Web\n {TCP_IN}80:90\n {OUT} -i $extif -p udp -d $univ 7:8\n\n"
VPN, PING, REST = "#@VPN\n modprobe vpn\n keep\n\n", "#@Ping\n a -p icmp b\n c\n\n", " ipchains -X"
OLD = "x=$1\n\n" + WEB + VPN + PING + REST
ADD, DELETE, UPDATE = ({"todo": f"nat_{word}_sap"} for word in ("add", "del", "update"))
ON = {"v_nat_sap_enable": "checked"}


def rules(name, protocol_in="none", in1="", in2="", protocol_out="none", out1="", out2=""):
    return dict(
        v_nat_sap_name=name, v_nat_sapin_pr_list=protocol_in, v_nat_sapout_pr_list=protocol_out,
        v_nat_sapin_port01=in1, v_nat_sapin_port02=in2,
        v_nat_sapout_port01=out1, v_nat_sapout_port02=out2)


def post(appliance, *forms):
    form = {key: value for each in forms for key, value in each.items()}
    return appliance.post({"this_file": "nat_sap.htm", "next_file": "nat_sap.htm", **form})


@pytest.mark.parametrize("form, before, after, commands, message", [
    ({**ADD, **ON, **rules("New", "TCP", "80x", "", "UDP", "", "9")}, OLD,
     f"{OLD}\n#@New\n {TCP_IN}80x:80x\n {OUT} -i $extif -p udp -d $univ 9:9\n\n", LINK, ""),
    ({**ADD, **rules("New", "TCP", "x80", "8;0", "n/a", "1", "2")}, "",
     f"#@New\n#{TCP_IN}\n\n", LINK, ""),
    ({**ADD, **rules("Web")}, OLD, None, [], told(6)),
    ({**ADD, **rules("A\nB")}, OLD, None, [], told(61, "v_nat_sap_name")),
    ({**ADD, **rules("")}, OLD, None, [], ""),
    ({"todo": "change_tabs", **rules("New")}, OLD, None, [], ""),
    ({**ADD, **rules("New")}, None, None, [], told(None)),
    ({**DELETE, **rules("Web")}, OLD, OLD.replace(WEB, ""), LINK, ""),
    ({**DELETE, **rules("web")}, OLD, None, [], told(7)),
    ({**DELETE, **rules("VPN (PPTP)")}, f"{OLD}\n#@VPN (PPTP)\n x\n", None, [], told(51)),
    ({**DELETE, **rules("A")}, "#@A\n x\n" + VPN + PING, PING, LINK, ""),
    ({**UPDATE, **rules("A")}, OLD, None, [], told(8)),
    ({**UPDATE, **rules("Web", "TCP", "1", "2")}, OLD,
     OLD.replace(WEB, f"#@Web\n#{TCP_IN}1:2\n\n"), LINK, ""),
    ({**UPDATE, **rules("A")}, "#@A\n\n" + VPN, "#@A\n\n" + VPN, LINK, ""),
    ({**UPDATE, **rules("VPN", "TCP")}, OLD, OLD.replace(" modprobe", "#modprobe"), UNLOAD, ""),
    ({**UPDATE, **ON, **rules("VPN")}, OLD.replace(" modprobe", "#modprobe"), OLD, LOAD, ""),
    ({**UPDATE, **rules("Ping", "TCP")}, OLD,
     OLD.replace(PING, "#@Ping\n#a -p icmp b\n#c\n\n"), LINK, ""),
])
def test_actions(appliance, form, before, after, commands, message):
    appliance.write(SCRIPT, before, 0o755)
    if commands in (LOAD, UNLOAD):
        appliance.answer("pidof pppd", "321\n")
        appliance.answer("lsmod", "vpn 1 1\n")
    result = post(appliance, form)
    assert result.changed == ({} if after in (None, before) else {SCRIPT: after})
    assert (result.commands, result.removed, result.message) == (commands, set(), message)
    assert before is None or appliance.mode(SCRIPT) == 0o755


def test_list(appliance):
    appliance.write(SCRIPT, OLD.replace(f" {TCP_IN}", f"#{TCP_IN}") + (
        "\n#@Open\n x -p udp input 5x:6\n"
        f"#@Closed\n {TCP_IN}1:2\n{OUT} -p tcp 3:4 5:6\n#{OUT} -p udp 7:8\n\n"))
    shown = appliance.view("nat_sap.htm").shown
    names = ["", "Web", "VPN", "Ping", "Open", "Closed"]
    assert shown["nat_sap_list"].split("\n<option> ") == names
    assert [shown[key] for key in LISTS] == [
        "1,1,1,1,0", "0,4,4,1,0", '"80","","","","1"', '"90","","","","2"',
        "1,4,4,3,2", '"7","","","","3"', '"8","","","","4"']


def test_nothing_stored_without_a_temporary_file(appliance):
    appliance.write(SCRIPT, OLD)
    appliance.block("/etc/rc.d/fw.tmp")
    for form in DELETE, UPDATE:
        result = post(appliance, form, rules("VPN"))
        assert (result.did_nothing, result.message) == (True, told(64, SCRIPT))


def test_the_script_does_what_the_page_says(appliance):
    appliance.practise("sbin/ipchains", "sbin/modprobe")
    appliance.write(WAN, "nat_enable=yes\nnat_interface=eth0\nconnect_method=1\n")
    appliance.write(IP_UP, f'#!/bin/sh\n {SCRIPT} "$1" 2>> /tmp/complaints\n', 0o755)
    for name in "eth0", "eth1":
        appliance.answer(f"ifconfig {name}", "  inet addr:192.0.2.7  Mask:255.255.255.0\n")
    game = rules("Game", "TCP/UDP", "80", "90", "TCP/UDP", "70", "79")
    opened = [f"input -j ACCEPT -i eth0 -p {protocol} -d 192.0.2.7 -s 0.0.0.0/0 80:90"
              for protocol in ("udp", "tcp ! -y")]
    opened += [f"output -j ACCEPT -i eth0 -p {protocol} -d 0.0.0.0/0 70:79"
               for protocol in ("udp", "tcp")]
    post(appliance, UPDATE, ON, rules("Ping"))
    before = appliance.read(RULES).splitlines()
    for action, switch, now in (ADD, ON, before + opened), (UPDATE, {}, before), (
            UPDATE, ON, before + opened):
        post(appliance, action, switch, game)
        assert appliance.read(RULES).splitlines() == now
    appliance.save("nat_conn.htm", enable_sp_apps="unchecked")
    applications = next(n for n, rule in enumerate(before) if "icmp" in rule)
    assert appliance.read(RULES).splitlines() == before[:applications]
    assert appliance.read("/tmp/complaints") == ""
