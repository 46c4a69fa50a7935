"""The services page: what a save writes, runs and refuses."""

import pytest

from appliance import (FILTER, HAS_ADDRESS, IFCFG, IP_UP, IS_MODEM, IS_PPP, IS_PPPOE, LINK_UP,
                       NETWORK, RECORD, SET_MODULE, SETTINGS, SQUID, WAN, told)

SERVICES, AC, FIREWALL = (f"/etc/rc.d/rc.{name}" for name in ("service", "ac_ctrl", "firewall"))
CLOSED = "/etc/rc.d/dis_rc.firewall"
DIRECT, PPPOE, SERIAL = "WAN Port - Direct Connection", "WAN Port - PPPoE", "Serial Port"

LINK = [IS_PPP, "/sbin/ifconfig eth0"]
IS_DIRECT = HAS_ADDRESS % "eth0"
PROXY = [*LINK, *LINK, *SQUID, IS_MODEM]
SWITCH_ON = [*PROXY, IS_PPPOE, IS_DIRECT, *NETWORK, *SQUID]
START, ROUTES = "/etc/ppp/dial start", "10.0.0.0 0.0.0.0 U sl0\n"
FTP_SERVER = {"vs_ftp_enable": "checked"}
STOP_MODEM = ["/etc/ppp/dial stop", "/sbin/ifconfig sl0 down"]
STOP_PPPOE = ["/usr/sbin/adsl-stop", "/sbin/ifdown ppp0"]
STOP_DIRECT = ["/sbin/ifdown eth0", "/etc/ppp/ip-down eth1"]
OFF = "unchecked"


def save(appliance, **fields):
    return appliance.save("nat_conn.htm", **fields)


@pytest.mark.parametrize("label, answer, runs, method, interface, protocol", [
    (DIRECT, {}, [*SWITCH_ON, "/sbin/ifup eth0", "/etc/ppp/ip-up eth0"], 1, "eth0", "dhcp"),
    (PPPOE, {}, [*SWITCH_ON, "/usr/sbin/adsl-start"], 2, "ppp0", "none"),
    # diald has put its routes in place, or is started a second time
    (SERIAL, {"route -n": 3 * ROUTES + "127.0.0.0 lo\n"}, [*SWITCH_ON, START, "/sbin/route -n"],
     3, "ppp0", None),
    ("anything else", {"route -n": 2 * ROUTES},
     [*SWITCH_ON, START, "/sbin/route -n", *STOP_MODEM, START], 3, "ppp0", None),
])
def test_switching_on(saved, label, answer, runs, method, interface, protocol):
    kernel = "#net.ipv4.ip_forward=0\nnet.ipv4.ip_forward{}\nnet.ipv4.ip_forward_x=0"
    saved.write("/etc/sysctl.conf", kernel.format(" \t= 0 # x"))
    saved.write(IFCFG, "old\n")
    for call, text in answer.items():
        saved.answer(call, text)
    result = save(saved, internet_access="on", access_method=label)
    assert (result.commands, saved.keys(RECORD)["Method"]) == (runs, str(method))
    wan = dict(nat_enable="yes", nat_interface=interface, connect_method=str(method))
    assert wan.items() <= saved.keys(WAN).items()
    assert saved.read("/etc/sysctl.conf") == kernel.format("=1")
    assert (result.page, saved.mode("/etc/resolv.conf")) == ("nat_base.htm", 0o644)
    assert saved.read(IFCFG) == (
        f"DEVICE=eth0\nONBOOT=no\nBOOTPROTO={protocol}\n" if protocol else "old\n")
    assert result.changed.get("/tmp/dyna") == ("1\n" if method == 1 else None)


def test_a_running_diald_is_left_alone(saved):
    saved.answer("pidof diald", "123\n")
    assert save(saved, internet_access="checked", access_method=SERIAL).commands == PROXY


@pytest.mark.parametrize("answers, stops", [
    ({"pidof diald": "77\n", "pidof -x adsl-connect": "78 79\n",
      "ifconfig eth0": "eth0  Link\n  inet addr:10.112.112.112  Bcast:10.112.112.255\n"},
     [STOP_MODEM, STOP_PPPOE, STOP_DIRECT]),
    ({"pidof diald": "7\n", "pidof -x adsl-connect": "x1\n",
      "ifconfig eth0": "inet addr:0.0.0.0\n"}, ["", STOP_PPPOE, ""]),
])
def test_switching_off_takes_every_link_and_the_proxy_down(saved, proxy, answers, stops):
    """The direct link too, although sharing is off already when its interface is asked."""
    saved.write("/usr/local/squid/etc/squid.conf",
                "# pid_filename /none\npid_filename   /var/run/s.pid \n")
    saved.write("/var/run/s.pid", f"{proxy.pid}\n")
    saved.change(RECORD, Method=1)
    saved.change(WAN, nat_enable="yes")
    for call, text in answers.items():
        saved.answer(call, text)
    result = save(saved, internet_access="unchecked")
    run = result.commands[result.commands.index(SQUID[0]):]
    modem, pppoe, direct = stops
    assert run == [*SQUID, IS_MODEM, *modem, IS_PPPOE, *pppoe, IS_DIRECT, *direct, *NETWORK]
    assert saved.keys(WAN)["nat_enable"] == "no"
    assert "net.ipv4.ip_forward=0\n" in saved.read("/etc/sysctl.conf")
    assert proxy.wait(10) == -15


HEAD, LONG = "[ACC_CTRL]\n", "x" * 300
NO_HEADS = "acc_en=1\n[acc_ctrl]\n [ACC_CTRL]\n[ACC_CTRL] \n[ACC_CTRLS]\nacc_en=1\n"
NO_KEYS = f"acc_enable=2\nacc_en =2\n{LONG}acc_en=0\n"
LATER = f"acc_en=2\n{HEAD}acc_en=4"


@pytest.mark.parametrize("value, before, after", [
    ("on", f"{NO_HEADS}{HEAD}a=1\n[u]", f"{NO_HEADS}{HEAD}a=1\nacc_en=0\n[u]"),
    ("checked", f"{HEAD}acc_en=0\n{LATER}", f"{HEAD}acc_en=1\n{LATER}"),
    ("checked", f"[ACC_CTRL]\r\n{NO_KEYS}", f"[ACC_CTRL]\r\n{NO_KEYS}acc_en=1\n"),
])
def test_access_control(saved, value, before, after):
    """Switched in its section of the settings, and in every line of the script that says so."""
    script = (f"#!/bin/sh\nacc_en={{0}}\n acc_en=no\nacc_enable=no\nG0=\"\n\"\n{LONG}acc_en=\n"
              "acc_en={0}\n")
    saved.write(SETTINGS, before)
    saved.write(AC, script.format("maybe"))
    result = save(saved, enable_ac=value)
    assert (result.changed[SETTINGS], saved.mode(AC)) == (after, 0o755)
    assert result.changed[AC] == script.format("yes" if value == "checked" else "no")


ALWAYS, ON, SERVER = {"filter_when": "always"}, {"DMZ": 1}, {"Ftp": 1}


@pytest.mark.parametrize("record, state, dmz, numbers, fields", [
    ({}, 1, "checked", [], {"filter_when": "never"}), ({}, 0, "checked", [52], ALWAYS),
    (SERVER, 0, "checked", [58, 59, 60], {**ALWAYS, **FTP_SERVER}),
    (ON, 1, "checked", [56, 57], FTP_SERVER), ({**ON, **SERVER}, 1, "checked", [], FTP_SERVER),
    (ON, 1, "checked", [55], ALWAYS), (ON, 1, "unchecked", [], ALWAYS),
])
def test_a_dmz_host_warns(saved, proxy, record, state, dmz, numbers, fields):
    """It hides the FTP server and what the filter is to see."""
    saved.change(RECORD, **record)
    saved.write(FILTER, f"filter_state {state}\n")
    result = save(saved, enable_dmz=dmz, **fields)
    assert result.message == "\n".join(map(told, numbers))


def test_a_service_section_and_its_module(saved):
    """While a link is up the FTP module follows its section; the script keeps every other line."""
    script = ("#!/bin/sh\n#@FTP\n{0}modprobe ip_masq_ftp\n{0}ipchains -A x\n\n#@Telnet \n keep\n\n"
              "#@E-Mail\n{0}long" + " long" * 39 + "\n\n#@HTTP (WWW)\n unterminated\n")
    saved.write(SERVICES, script.format(" "), 0o640)
    saved.answer("pidof pppd", "321\n")
    saved.answer("lsmod", "ip_masq_ftp 1234 2\n")
    result = save(saved, enable_ftp=OFF, enable_web_access=OFF, enable_email=OFF)
    assert (result.changed[SERVICES], saved.mode(SERVICES)) == (script.format("#"), 0o744)
    unload = [IS_PPP, "/sbin/rmmod ip_masq_ftp", "/sbin/lsmod", SET_MODULE % ("ip_masq_ftp", "f")]
    assert result.commands[:4] == unload
    load = save(saved, enable_ftp="checked").commands[:3]
    assert load == [IS_PPP, "/sbin/modprobe ip_masq_ftp", SET_MODULE % ("ip_masq_ftp", "s")]


@pytest.mark.parametrize("switch, before, after", [
    ("web_access", f" {FIREWALL} $1\n#{FIREWALL}", f"#{FIREWALL} $1\n#{FIREWALL}\n {CLOSED} $1\n"),
    ("sp_apps", f"sh {FIREWALL}\n", f"#sh {FIREWALL}\n {CLOSED} $1\n"),
    ("ftp", f"#{FIREWALL}\nsh {FIREWALL}\n {CLOSED}\nsh {CLOSED}",
     f" {FIREWALL}\nsh {FIREWALL}\n#{CLOSED}\n#sh {CLOSED}"),
])
def test_special_applications_need_both_switches(saved, switch, before, after):
    script = "ipchains -F\n#@VPN\n{0}modprobe vpn\n{0}ipchains -A\n echo\n\n ipchains -X\n"
    saved.write(FIREWALL, script.format(" "))
    saved.write(IP_UP, before)
    result = save(saved, **{f"enable_{switch}": OFF})
    assert (result.changed[IP_UP], saved.mode(IP_UP)) == (after, 0o755)
    if switch != "ftp":
        assert (saved.read(CLOSED), saved.mode(CLOSED)) == (script.format("#"), 0o755)


def test_a_live_link_gets_its_scripts_run_again(saved):
    saved.write(SERVICES, None)
    saved.change(WAN, nat_enable="yes")
    saved.answer("pidof pppd", "321\n")
    saved.answer("pidof -x adsl-connect", "322\n")
    rerun = [IS_PPP, IS_MODEM, IS_PPPOE, HAS_ADDRESS % "ppp0", LINK_UP % "ppp0"]
    for address, switch, runs in (("192.0.2.9", "unchecked", rerun),
                                  ("10.112.112.112", "checked", rerun[:-1])):
        saved.answer("ifconfig ppp0", f"ppp0 Link\n inet addr:{address}  P-t-P:192.0.2.1\n")
        assert save(saved, enable_telnet=switch).commands == runs * 2
