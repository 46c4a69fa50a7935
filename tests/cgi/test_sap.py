"""The special applications page: its list, the firewall script, and what the script does when it runs."""

import pytest

from appliance import PROJECT

SCRIPT, IP_UP, RULES = "/etc/rc.d/rc.firewall", "/etc/ppp/ip-up", "/var/lib/practice/rules"
LISTS = "nat_sap_list a_sap_enable a_inpr a_port1in a_port2in a_outpr a_port1out a_port2out".split()
LINK = ["/sbin/pidof pppd > /tmp/ppp.tmp", "/sbin/ifconfig eth0 > /tmp/eth.tmp 2> /tmp/eth.tmp"]
SET_MODULE = "/usr/share/quillstead/public/PUB_SetModule -m vpn -"
LOAD = [LINK[0], "/sbin/modprobe vpn 2> /dev/null", SET_MODULE + "s"]
UNLOAD = [LINK[0], "/sbin/rmmod vpn 2> /dev/null", "/sbin/lsmod | grep vpn > /tmp/mod.tmp", SET_MODULE + "f"]
TCP_IN, OUT = "ipchains -A input -j ACCEPT -i $extif -p tcp ! -y -d $extip -s $univ ", "ipchains -A output -j ACCEPT"
WEB = f"#@Web\n {TCP_IN}80:90\n {OUT} -i $extif -p udp -d $univ 7:8\n\n"
VPN, PING, REST = "#@VPN\n modprobe vpn\n keep\n\n", "#@Ping\n a -p icmp b\n c\n\n", " ipchains -X"
OLD = "x=$1\n\n" + WEB + VPN + PING + REST
ADD, DELETE, UPDATE = ({"todo": f"nat_{word}_sap"} for word in ("add", "del", "update"))
ON = {"v_nat_sap_enable": "checked"}
CHOICES = ("TCP", "UDP", "TCP/UDP", "none", "n/a")  # of a protocol, in the order of the page's numbers


def rules(name, protocol_in="none", in1="", in2="", protocol_out="none", out1="", out2=""):
    return {"v_nat_sap_name": name, "v_nat_sapin_pr_list": protocol_in, "v_nat_sapout_pr_list": protocol_out,
            "v_nat_sapin_port01": in1, "v_nat_sapin_port02": in2,
            "v_nat_sapout_port01": out1, "v_nat_sapout_port02": out2}


def post(appliance, *forms):
    form = {key: value for each in forms for key, value in each.items()}
    return appliance.post({"this_file": "nat_sap.htm", "next_file": "nat_sap.htm", **form})


@pytest.fixture
def page(appliance):
    """An appliance whose page shows its lists and its message, a line each."""
    appliance.write("/www/nat_sap.htm", "".join(f"//@{name}#\n" for name in LISTS) + "@message#\n")
    appliance.write("/www/cgi_err", "".join(f"{n}-m{n}\n" for n in (6, 7, 8, 61, 64)))
    return appliance


@pytest.mark.parametrize("form, before, after, commands, message", [
    ({**ADD, **ON, **rules("New", "TCP", "80x", "", "UDP", "", "9")}, OLD,
     f"{OLD}\n#@New\n {TCP_IN}80x:80x\n {OUT} -i $extif -p udp -d $univ 9:9\n\n", LINK, ""),
    ({**ADD, **rules("New", "TCP", "x80", "8;0", "n/a", "1", "2")}, "", f"#@New\n#{TCP_IN}\n\n", LINK, ""),
    ({**ADD, **rules("Web")}, OLD, None, [], "m6\n"),
    ({**ADD, **rules("A\nB")}, OLD, None, [], "m61\n"),
    ({**ADD, **rules("")}, OLD, None, [], ""),
    ({"todo": "change_tabs", **rules("New")}, OLD, None, [], ""),
    ({**ADD, **rules("New")}, None, None, [], ""),
    ({**DELETE, **rules("Web")}, OLD, OLD.replace(WEB, ""), LINK, ""),
    ({**DELETE, **rules("web")}, OLD, None, [], "m7\n"),
    ({**DELETE, **rules("Ping")}, OLD, None, [], "Application is reserved and cannot be deleted."),
    ({**DELETE, **rules("A")}, "#@A\n x\n" + VPN + PING, PING, LINK, ""),
    ({**UPDATE, **rules("A")}, OLD, None, [], "m8\n"),
    ({**UPDATE, **rules("Web", "TCP", "1", "2")}, OLD, OLD.replace(WEB, f"#@Web\n#{TCP_IN}1:2\n\n"), LINK, ""),
    ({**UPDATE, **rules("A")}, "#@A\n\n" + VPN, "#@A\n\n" + VPN, LINK, ""),
    ({**UPDATE, **rules("VPN", "TCP")}, OLD, OLD.replace(" modprobe", "#modprobe"), UNLOAD, ""),
    ({**UPDATE, **ON, **rules("VPN")}, OLD.replace(" modprobe", "#modprobe"), OLD, LOAD, ""),
    ({**UPDATE, **rules("Ping", "TCP")}, OLD, OLD.replace(" a -p", "#a -p").replace("\n c\n", "\n#c\n"), LINK, ""),
])
def test_actions(page, form, before, after, commands, message):
    page.remove(SCRIPT)
    if before is not None:
        page.write(SCRIPT, before, 0o755)
    if "vpn" in "".join(commands):
        page.answer("pidof pppd", "321\n")
        page.answer("lsmod", "vpn 1 1\n")
        commands = commands + ["/sbin/pidof pppd > /tmp/ppp.tmp"]
    result = post(page, form)
    assert result.changed == ({} if after in (None, before) else {SCRIPT: after})
    assert (result.commands, result.removed) == (commands, set())
    assert result.body.split("\n", result.body.count("\n<option>") + 8)[-1] == message + "\n"
    assert before is None or page.mode(SCRIPT) == 0o755


def test_list(page):
    page.write(SCRIPT, OLD.replace(" ipchains -A input", "#ipchains -A input") + "\n#@Open\n x -p udp input 5x:6\n"
               f"#@Closed\n {TCP_IN}1:2\n{OUT} -p tcp 3:4 5:6\n#{OUT} -p udp 7:8\n\n")
    assert page.get("next_file=nat_sap.htm").body == (
        "\n<option> Web\n<option> VPN\n<option> Ping\n<option> Open\n<option> Closed\n1,1,1,1,0\n0,4,4,1,0\n"
        '"80","","","","1"\n"90","","","","2"\n1,4,4,3,2\n"7","","","","3"\n"8","","","","4"\n\n')


def test_nothing_stored_without_a_temporary_file(page):
    page.write(SCRIPT, OLD)
    page.at("/etc/rc.d/fw.tmp").mkdir()
    for form in DELETE, UPDATE:
        result = post(page, form, rules("VPN"))
        assert (result.changed, result.commands, result.body[-5:]) == ({}, [], "m64\n\n")


def test_the_script_does_what_the_page_shows(page):
    for name in "usr/lib/practice/common", "sbin/ipchains", "sbin/modprobe":
        page.at(name).unlink(missing_ok=True)
        page.write(name, (PROJECT / f"lab/commands/{name}.sh").read_text(), 0o755)
    page.write("/etc/ppp/CGI_nat.conf", "nat_enable=yes\nnat_interface=eth0\nconnect_method=1\n")
    page.write(IP_UP, f'#!/bin/sh\n {SCRIPT} "$1" 2>> /tmp/complaints\n', 0o755)
    applications = [(into, out, switch) for switch in (ON, {}) for into, out in (
        ("UDP", "TCP"), ("TCP", "none"), ("TCP/UDP", "TCP/UDP"), ("none", "UDP"))]
    for n, (into, out, switch) in enumerate(applications):
        post(page, ADD, switch, rules(str(n), into, f"8{n}", "90", out, f"7{n}"))
    for name in "eth0", "eth1":
        page.answer(f"ifconfig {name}", f"{name}  Link\n  inet addr:192.0.2.7  Mask:255.255.255.0\n")
    body = post(page, UPDATE, rules("7", "none", "", "", "UDP", "77")).body
    shown = [[cell.strip('"') for cell in line.split(",")[-8:]] for line in body.split("\n")[-9:-2]]
    opened = ["output -j ACCEPT -i eth0 -p tcp -d 0.0.0.0/0 5190:5190"]  # the last one from the factory
    for wanted, (on, into, in1, in2, out, out1, out2) in zip(applications, zip(*shown), strict=True):
        into, out = CHOICES[int(into)], CHOICES[int(out)]
        assert (into, out, ON if on == "1" else {}) == wanted
        opened += [f"input -j ACCEPT -i eth0 -p {each} -d 192.0.2.7 -s 0.0.0.0/0 {in1}:{in2}"
                   for each in ("udp", "tcp ! -y") if each[:3].upper() in into] * int(on)
        opened += [f"output -j ACCEPT -i eth0 -p {each} -d 0.0.0.0/0 {out1}:{out2}"
                   for each in ("udp", "tcp") if each.upper() in out] * int(on)
    found = page.read(RULES).splitlines()
    assert found[-len(opened):] == opened
    post(page, {"this_file": "nat_conn.htm", "todo": "save", "enable_sp_apps": "unchecked"})
    assert page.read(RULES).splitlines() == found[:next(n for n, rule in enumerate(found) if "icmp" in rule)]
    assert page.read("/tmp/complaints") == ""
