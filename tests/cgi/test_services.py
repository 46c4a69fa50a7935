"""The services page: what a save writes, runs and refuses."""

import pytest

from appliance import MESSAGES

RECORD, WAN, SETTINGS = "/etc/ppp/nat_ppp.con", "/etc/ppp/CGI_nat.conf", "/etc/CGI_qs.conf"
SERVICES, IP_UP, SCRIPT = "/etc/rc.d/rc.service", "/etc/ppp/ip-up", "/etc/rc.d/rc.ipvs"
IFCFG, SYSCTL = "/etc/sysconfig/network-scripts/ifcfg-eth0", "/etc/sysctl.conf"
DIRECT, PPPOE, SERIAL = "WAN Port - Direct Connection", "WAN Port - PPPoE", "Serial Port"

LINK = ["/sbin/pidof pppd > /tmp/ppp.tmp", "/sbin/ifconfig eth0 > /tmp/eth.tmp 2> /tmp/eth.tmp"]
START_SQUID = ["pidof squid > pid", "chmod 755 /etc/resolv.conf >/dev/null", "/usr/local/squid/bin/squid >/dev/null"]
NETWORK = [f"/usr/share/quillstead/network/NET_Set{name} > /dev/null" for name in ("TCPIP", "Netatalk", "DHCPServer")]
SQUID_AGAIN = ["/sbin/pidof squid > /tmp/pid", "/usr/local/squid/bin/squid > /dev/null"]
IS_MODEM, IS_PPPOE = "/sbin/pidof diald > /tmp/pid", "/sbin/pidof -x adsl-connect > /tmp/pid"
IS_DIRECT = '/sbin/ifconfig eth0 | grep "inet addr" > /tmp/t'
STOP_MODEM = ["/etc/ppp/dial stop > /dev/null", "ifconfig sl0 down > /dev/null"]
STOP_PPPOE = ["/usr/sbin/adsl-stop > /dev/null", "/sbin/ifdown ppp0 &> /dev/null"]
STOP_DIRECT = ["/sbin/ifdown eth0 &> /dev/null", "/etc/ppp/ip-down eth1 > /dev/null"]
ETH0_IS_UP = "eth0      Link encap:Ethernet\n          inet addr:192.0.2.7  Bcast:192.0.2.255\n"


@pytest.fixture
def saved(appliance):
    """An appliance with a record of its own, all other settings as from the factory."""
    appliance.get("next_file=nat_base.htm")
    appliance.stub_scripts()
    return appliance


def save(appliance, **fields):
    return appliance.post({"this_file": "nat_conn.htm", "todo": "save", "next_file": "nat_base.htm", **fields})


def replaced(appliance, path, **values):
    """The file with some of its key=value lines changed."""
    lines = appliance.read(path).split("\n")
    for key, value in values.items():
        assert any(line.startswith(key + "=") for line in lines)
        lines = [f"{key}={value}" if line.startswith(key + "=") else line for line in lines]
    return "\n".join(lines)


def setting(appliance, path, key):
    return [line.split("=", 1)[1] for line in appliance.read(path).split("\n") if line.startswith(key + "=")]


def fields_of(appliance):
    return dict(line.split("=", 1) for line in appliance.read(RECORD).splitlines())


def refused(appliance, result, number):
    """That the services page shows this message and that nothing has happened."""
    text = MESSAGES[str(number)]
    assert text in result.body and "<title>Internet sharing: services</title>" in result.body
    assert (result.changed, result.removed, result.commands) == ({}, set(), [])


@pytest.mark.parametrize("method, number, starts, interface", [
    (DIRECT, 1, ["/sbin/ifup eth0 &> /dev/null", "/etc/ppp/ip-up eth0 &> /dev/null", "echo 1 > /tmp/dyna"], "eth0"),
    (PPPOE, 2, ["/usr/sbin/adsl-start > /dev/null"], "ppp0"),
])
def test_switching_on(saved, method, number, starts, interface):
    result = save(saved, internet_access="checked", access_method=method)
    assert result.commands == [*LINK, *LINK, *START_SQUID, IS_MODEM, IS_PPPOE, IS_DIRECT, *NETWORK, *SQUID_AGAIN,
                               *starts]
    assert fields_of(saved)["Method"] == str(number)
    assert [setting(saved, WAN, key) for key in ("nat_enable", "nat_interface", "connect_method")] == [
        ["yes"], [interface], [str(number)]]
    assert "net.ipv4.ip_forward=1\n" in saved.read(SYSCTL)
    assert (saved.mode(RECORD), saved.mode("/etc/resolv.conf")) == (0o600, 0o644)
    assert "<title>Internet sharing: overview</title>" in result.body
    assert 'name="internet_access" value="checked" checked>' in result.body
    protocol = {1: "dhcp", 2: "none"}[number]
    assert saved.read(IFCFG) == f"DEVICE=eth0\nONBOOT=no\nBOOTPROTO={protocol}\n"
    if number == 1:
        assert saved.read("/tmp/dyna") == "1\n"
    leftovers = [path for path in result.changed if path.startswith(("/www/", "/tmp/")) and path != "/tmp/dyna"]
    assert leftovers == []


@pytest.mark.parametrize("routes", [2, 3])
def test_switching_the_serial_port_on(saved, routes):
    """diald has put its routes in place, or it is started a second time."""
    saved.answer("route -n", "10.0.0.0 0.0.0.0 U sl0\n" * routes + "127.0.0.0 lo\n")
    result = save(saved, internet_access="on", access_method="anything else")
    dial = ["/etc/ppp/dial start > /dev/null"]
    again = [] if routes == 3 else [*STOP_MODEM, *dial]
    assert result.commands == [*LINK, *LINK, *START_SQUID, IS_MODEM, IS_PPPOE, IS_DIRECT, *NETWORK, *SQUID_AGAIN,
                               *dial, "route -n | grep sl0 -c > sl0.cnt", *again]
    assert fields_of(saved)["Method"] == "3"


def test_a_running_diald_is_left_alone(saved):
    saved.answer("pidof diald", "123\n")
    result = save(saved, internet_access="checked", access_method=SERIAL)
    assert result.commands == [*LINK, *LINK, *START_SQUID, IS_MODEM]


@pytest.mark.parametrize("answers, stops", [
    ({}, ["", "", ""]),
    ({"pidof diald": "77\n"}, [STOP_MODEM, "", ""]),
    ({"pidof -x adsl-connect": "78 79\n"}, ["", STOP_PPPOE, ""]),
    ({"ifconfig eth0": ETH0_IS_UP}, ["", "", STOP_DIRECT]),
    ({"pidof diald": "7\n", "pidof -x adsl-connect": "x1\n", "ifconfig eth0": "inet addr:0.0.0.0\n"},
     ["", STOP_PPPOE, ""]),
])
def test_switching_off_takes_every_link_down(saved, answers, stops):
    """The direct link too, although sharing is off already when its interface is asked."""
    saved.write(RECORD, replaced(saved, RECORD, Method=1), 0o600)
    saved.write(WAN, replaced(saved, WAN, nat_enable="yes"))
    for call, text in answers.items():
        saved.answer(call, text)
    result = save(saved, internet_access="unchecked")
    run = result.commands[result.commands.index(START_SQUID[0]):]
    asked = zip([IS_MODEM, IS_PPPOE, IS_DIRECT], stops)
    assert run == [*START_SQUID, *(command for ask, stop in asked for command in (ask, *stop)), *NETWORK]
    assert setting(saved, WAN, "nat_enable") == ["no"]
    assert "net.ipv4.ip_forward=0\n" in saved.read(SYSCTL)


def test_squid_is_ended_by_its_pid_file(saved, request):
    import subprocess
    squid = subprocess.Popen(["sleep", "60"])
    request.addfinalizer(squid.kill)
    saved.write("/usr/local/squid/etc/squid.conf", "# pid_filename /none\npid_filename   /var/run/s.pid \n")
    saved.write("/var/run/s.pid", f"{squid.pid}\n")
    saved.write(WAN, replaced(saved, WAN, nat_enable="yes"))
    save(saved, internet_access="unchecked")
    assert squid.wait(10) == -15


@pytest.mark.parametrize("fields, key, before, after", [
    ({"enable_web_access": "unchecked"}, "SrvWeb", 1, 0), ({"enable_email": "x"}, "SrvEMail", 0, 1),
    ({"enable_ftp": "checked"}, "SrvFTP", 0, 1), ({"enable_telnet": "unchecked"}, "SrvTelNet", 1, 0),
    ({"enable_sp_apps": "unchecked"}, "SAP", 1, 0), ({"access_method": PPPOE}, "Method", 0, 2),
    ({"enable_dmz": "on"}, "DMZ", 1, 0), ({"enable_dmz": "checked"}, "DMZ", 0, 1),
])
def test_a_field_changes_its_key_alone(saved, fields, key, before, after):
    saved.write(RECORD, replaced(saved, RECORD, **{key: before}), 0o600)
    expected = replaced(saved, RECORD, **{key: after})
    result = save(saved, **fields)
    record = "\n".join(line for line in expected.split("\n") if not line.startswith("VPN"))
    assert result.changed[RECORD] == record.replace("Phone3=\n", "Phone3=\nDNS=192.0.2.53\n")
    assert ("chmod +x /etc/rc.d/rc.ipvs > /dev/null" in result.commands) == (key == "DMZ")
    assert result.commands[:2] == LINK


@pytest.mark.parametrize("fields", [{}, {"enable_ftp": "", "dmz_ip_1": ""}, {"enable_ftp": "checked"},
                                    {"internet_access": "unchecked", "enable_ac": "unchecked"}])
def test_nothing_new_writes_and_runs_nothing(saved, fields):
    result = save(saved, **fields)
    assert (result.changed, result.commands) == ({}, [])


@pytest.mark.parametrize("todo", ["", "apply", "Save"])
def test_only_save_saves(saved, todo):
    result = saved.post({"this_file": "nat_conn.htm", "todo": todo, "enable_dmz": "checked", "dmz_ip_1": "1234"})
    assert (result.changed, result.commands) == ({}, [])


@pytest.mark.parametrize("octets, address", [
    (["192", "168", "1", "9"], "192.168.1.9"), (["12a", "0", "0", "1"], "12a.0.0.1"), (["10", "x", "5", "1"], "10.5.1"),
    (["x", "168", "1", "9"], ""), (["10", "", "5", "y"], "10.5."),
])
def test_the_dmz_address(saved, octets, address):
    saved.write(RECORD, replaced(saved, RECORD, DMZ_IP="10.9.9.9"), 0o600)
    result = save(saved, **{f"dmz_ip_{i}": octet for i, octet in enumerate(octets, 1)})
    assert fields_of(saved)["DMZ_IP"] == address
    assert "chmod +x /etc/rc.d/rc.ipvs > /dev/null" in result.commands


@pytest.mark.parametrize("octet", ["1234", "1;", "$a", "`", "1 2", "'", "#"])
def test_a_bad_dmz_octet_is_refused_and_shown_again(saved, octet):
    """Also when a field before it has been accepted, access control included."""
    result = save(saved, enable_ac="checked", enable_dmz="checked", dmz_ip_1="192", dmz_ip_3=octet)
    refused(saved, result, 48)
    assert 'name="dmz_ip_1" value="192"' in result.body


def test_sharing_needs_a_dns_server(saved):
    saved.write(SETTINGS, replaced(saved, SETTINGS, dns_server1=""))
    refused(saved, save(saved, internet_access="checked"), 44)
    assert "nat_enable=no" in saved.read(WAN)
    saved.remove(SETTINGS)
    refused(saved, save(saved, internet_access="checked"), 44)


def test_sharing_needs_an_address_of_its_own(saved):
    saved.write(SETTINGS, replaced(saved, SETTINGS, bootproto="dhcp"))
    refused(saved, save(saved, internet_access="checked"), 39)
    save(saved, internet_access="unchecked", enable_ftp="unchecked")
    assert fields_of(saved)["SrvFTP"] == "0"


@pytest.mark.parametrize("value, before, after", [("checked", 0, 1), ("on", 1, 0), ("unchecked", 1, 0)])
def test_access_control(saved, value, before, after):
    saved.write(SETTINGS, replaced(saved, SETTINGS, acc_en=before))
    expected = replaced(saved, SETTINGS, acc_en=after)
    saved.write("/etc/rc.d/rc.ac_ctrl", "#!/bin/sh\nacc_en=maybe\nG0=\"\n\"\n")
    result = save(saved, enable_ac=value)
    assert result.changed[SETTINGS] == expected
    word = "yes" if after else "no"
    assert result.changed["/etc/rc.d/rc.ac_ctrl"] == f"#!/bin/sh\nacc_en={word}\nG0=\"\n\"\n"
    assert saved.mode("/etc/rc.d/rc.ac_ctrl") == 0o755


@pytest.mark.parametrize("fields, numbers", [
    ({"enable_dmz": "checked"}, []), ({"enable_dmz": "checked", "filter_when": "never"}, []),
    ({"enable_dmz": "checked", "filter_when": "always"}, [52]), ({"enable_dmz": "unchecked", "filter_when": "x"}, []),
    ({"enable_dmz": "checked", "vs_ftp_enable": "checked", "filter_when": "always"}, [58, 59, 60]),
])
def test_a_dmz_host_beside_filter_or_ftp_server_warns(saved, fields, numbers):
    saved.write(RECORD, replaced(saved, RECORD, Ftp=1), 0o600)
    state = 0 if fields.get("filter_when") == "always" else 1  # the filter itself does not change
    saved.write("/usr/local/squid/etc/filter.conf", f"filter_state {state}\n")
    shown = save(saved, **fields).body.split('role="alert">')[1].split("</p>")[0]
    assert shown == "".join(MESSAGES[str(number)] + "\n" for number in numbers)


def test_a_service_section_and_its_module(saved):
    """While a link is up the FTP module follows its section; the script keeps every other line."""
    saved.write(SERVICES, "#!/bin/sh\n#@FTP\n modprobe ip_masq_ftp\n ipchains -A x\n\n"
                          "#@Telnet \n keep\n\n#@E-Mail\n" + " long" * 40 + "\n\n#@HTTP (WWW)\n unterminated\n", 0o640)
    saved.answer("pidof pppd", "321\n")
    saved.answer("lsmod", "ip_masq_ftp 1234 2\n")
    result = save(saved, enable_ftp="unchecked", enable_email="unchecked", enable_web_access="unchecked")
    assert result.changed[SERVICES] == (
        "#!/bin/sh\n#@FTP\n#modprobe ip_masq_ftp\n#ipchains -A x\n\n"
        "#@Telnet \n keep\n\n#@E-Mail\n" + "#" + " long" * 40 + "\n\n#@HTTP (WWW)\n unterminated\n").replace(
            "# long", "#long", 1)
    assert saved.mode(SERVICES) == 0o744
    assert result.commands[:4] == [
        LINK[0], "/sbin/rmmod ip_masq_ftp 2> /dev/null", "/sbin/lsmod | grep ip_masq_ftp > /tmp/mod.tmp",
        "/usr/share/quillstead/public/PUB_SetModule -m ip_masq_ftp -f"]
    result = save(saved, enable_ftp="checked")
    assert result.commands[:3] == [LINK[0], "/sbin/modprobe ip_masq_ftp 2> /dev/null",
                                   "/usr/share/quillstead/public/PUB_SetModule -m ip_masq_ftp -s"]


@pytest.mark.parametrize("fields, before, after", [
    ({"enable_sp_apps": "unchecked"}, " /etc/rc.d/rc.firewall $1\n", "#/etc/rc.d/rc.firewall $1\n"
                                                                    " /etc/rc.d/dis_rc.firewall $1\n"),
    ({"enable_web_access": "unchecked"}, "#/etc/rc.d/rc.firewall $1\n", "#/etc/rc.d/rc.firewall $1\n"
                                                                       " /etc/rc.d/dis_rc.firewall $1\n"),
    ({"enable_ftp": "unchecked"}, "#/etc/rc.d/rc.firewall\n /etc/rc.d/dis_rc.firewall",
     " /etc/rc.d/rc.firewall\n#/etc/rc.d/dis_rc.firewall"),
    ({"enable_ftp": "unchecked"}, "sh /etc/rc.d/rc.firewall\nsh /etc/rc.d/dis_rc.firewall\n",
     "sh /etc/rc.d/rc.firewall\n#sh /etc/rc.d/dis_rc.firewall\n"),
    ({"enable_sp_apps": "unchecked"}, "sh /etc/rc.d/rc.firewall", "#sh /etc/rc.d/rc.firewall\n"
                                                                 " /etc/rc.d/dis_rc.firewall $1\n"),
])
def test_special_applications_need_both_switches(saved, fields, before, after):
    saved.write("/etc/rc.d/rc.firewall", "ipchains -F\n#@VPN\n modprobe vpn\n ipchains -A\n echo\n\n ipchains -X\n")
    saved.write(IP_UP, before)
    result = save(saved, **fields)
    assert (result.changed[IP_UP], saved.mode(IP_UP)) == (after, 0o755)
    if "enable_ftp" not in fields:
        assert saved.read("/etc/rc.d/dis_rc.firewall") == ("ipchains -F\n#@VPN\n#modprobe vpn\n#ipchains -A\n echo\n\n"
                                                           " ipchains -X\n")
        assert saved.mode("/etc/rc.d/dis_rc.firewall") == 0o755


def test_a_live_link_gets_its_scripts_run_again(saved):
    saved.write(WAN, replaced(saved, WAN, nat_enable="yes"))
    saved.answer("pidof pppd", "321\n")
    saved.answer("pidof -x adsl-connect", "322\n")
    saved.answer("ifconfig ppp0", "ppp0 Link\n inet addr:192.0.2.9  P-t-P:192.0.2.1\n")
    rerun = [LINK[0], IS_MODEM, IS_PPPOE, '/sbin/ifconfig ppp0 | grep "inet addr" > /tmp/t',
             "/etc/ppp/ip-up ppp0 > /dev/null"]
    module = [LINK[0], "/sbin/modprobe ip_masq_ftp 2> /dev/null",
              "/usr/share/quillstead/public/PUB_SetModule -m ip_masq_ftp -s"]
    assert save(saved, enable_telnet="unchecked").commands == module + rerun * 2
    saved.answer("ifconfig ppp0", "ppp0 Link\n inet addr:10.112.112.112  P-t-P\n")
    assert save(saved, enable_telnet="checked").commands == module + rerun[:-1] * 2


def test_an_unreadable_record_is_named(saved):
    saved.remove(RECORD)
    saved.at(RECORD).mkdir()
    result = save(saved, enable_ftp="unchecked")
    assert MESSAGES["13"].replace("%s", RECORD) in result.body
    assert (result.changed, result.commands) == ({}, [])
