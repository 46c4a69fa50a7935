"""The WAN pages: what they show, write, run and refuse."""

import re

import pytest

from appliance import CHAP, IFCFG, PAP, PPPOE, RECORD, SET_DNS, SETTINGS, WAN, octets, told

LOG = "/var/log/pppd.log"
INFO = "/usr/share/quillstead/network/NET_ReadNetworkInfo"
OWN_ADDRESS = f"{INFO} eth0"
OWN_PORT = "00:A0:C9:00:00:00"
PORT = f"HWADDR={OWN_PORT}\n"

DIRECT = dict(isp_ip_type="fixed", device_name="", wan_mac_address="")
ACCOUNT = dict(ppp_ac_name="joe@isp", ppp_ac_pwd="secret", ppp_idle_time="5", isp_ip_type="dynamic")


def fields(prefixes, addresses):
    pairs = zip(prefixes, addresses)
    return {key: octet for each in pairs for key, octet in octets(*each).items()}


def dns(*servers):
    return fields(("dns1_ip_", "dns2_ip_", "dns3_ip_"), servers)


def isp(*addresses):
    """The fields of an address, its mask and its gateway."""
    return fields(("nat_isp_ip0", "nat_isp_mask0", "nat_isp_gw0"), addresses)


def post(appliance, page, form):
    """A field given as None is not posted."""
    given = {key: value for key, value in form.items() if value is not None}
    return appliance.post({"this_file": page, "todo": "save", **given})


def test_what_is_stored_is_shown(appliance):
    """An address that was fixed is not shown while the provider assigns one."""
    appliance.change(SETTINGS, dns_server1="8.8", dns_server2="", dns_server3="1.x2.3y.4")
    appliance.change(WAN, pppoe_ip="10.20.30.40")
    appliance.change(PPPOE, PPPOE_EXTRA='"-U -S a \\$b  " #"')
    appliance.answer("NET_ReadNetworkInfo eth0", PORT)
    servers = dns("8.8..", "...", "1..3.4")
    direct = dict(default_name="quillstead", isp_ip_type="dynamic", wan_mac_address="00A0C9000000")
    account = dict(ppp_ac_name="", ppp_idle_time="5", isp_ip_type="dynamic", service_name="a $b",
                   **isp("..."))
    for page, expected in ("wan_dc.htm", direct), ("wan_ppp.htm", account):
        assert {**expected, **servers}.items() <= appliance.view(page).shown.items()
    for page, file, named in ("wan_dc.htm", SETTINGS, SETTINGS), ("wan_ppp.htm", PPPOE, WAN):
        appliance.write(file, None)
        assert appliance.view(page).message == told(13, named)


ADDRESSES = "wan_ipaddr", "wan_netmask", "wan_gateway"


@pytest.mark.parametrize("form, fixed, rest, stored", [
    (dict(wan_mac_address="FFFFFFFFFFFF", **dns("8x.8 .4;.4", ".1.1.1", "9.9"),
          **isp("192.168.1.1", "255.255.255.0", "192.168.1.254")),
     ("192.168.1.1", "255.255.255.0", "192.168.1.254"), "MACADDR=00:A0:C9:11:22:33\n",
     dict(dns_server1="8.8.4.4", dns_server2="")),
    (dict(isp_ip_type="dynamic", device_name="my-pc", **isp("192.168.1.1")), None,
     "BOOTPROTO=dhcp\nDHCP_HOSTNAME=my-pc\nMACADDR=00:A0:C9:11:22:33\n",
     dict(wan_name="my-pc", dynamic="1")),
    (dict(isp_ip_type="dynamically", wan_mac_address=None, **isp("abc.-.x.999", "25512.0.0.0")),
     ("abc.-.x.999", "255.0.0.0", "..."), "", dict(wan_hw_addr="")),
])
def test_direct_save(appliance, form, fixed, rest, stored):
    appliance.change(SETTINGS, wan_hw_addr="00A0C9112233", wan_ipaddr="9.9.9.9")
    before = appliance.keys(SETTINGS)
    result = post(appliance, "wan_dc.htm", {**DIRECT, **form})
    stored = {"dynamic": "0", **dict(zip(ADDRESSES, fixed or ("", "", ""))), **stored}
    assert appliance.keys(SETTINGS) == {**before, **stored}
    if fixed:
        rest = "BOOTPROTO=none\nIPADDR={}\nNETMASK={}\nGATEWAY={}\n".format(*fixed) + rest
    assert result.changed[IFCFG] == "DEVICE=eth0\nONBOOT=no\n" + rest
    assert (result.page, result.message, len(result.changed)) == ("wan_dc.htm", "", 2)
    shown = dict(device_name=stored.get("wan_name", ""),
                 isp_ip_type="fixed" if fixed else "dynamic", **isp(*fixed or ["..."] * 3))
    assert shown.items() <= result.shown.items()


def test_dns_servers_are_stored_in_both_phases(appliance):
    form = {**ACCOUNT, **dns("1.1.1.1", "22.22.22.22222222", "3..3.3")}
    result = post(appliance, "wan_ppp.htm", form)
    settings = result.changed[SETTINGS]
    assert re.findall("dns_server.=(.*)", settings) == ["1.1.1.1", "22.22.22.222222", "3..3.3"]
    assert result.commands == [SET_DNS, SET_DNS]
    # a field behind them that can be refused
    form |= {**dns("4.4.4.4", "5.5.5.5;", "6.6.6.6"), "service_name": '"'}
    result = post(appliance, "wan_ppp.htm", form)
    assert "".join(re.findall("dns_server.=(.)", result.changed[SETTINGS])) == "456"
    assert (result.message, result.commands) == (told(62, "Service name", '"'), [SET_DNS])


@pytest.mark.parametrize("todo, address, stored, line", [
    ("change_wan_mac", "00-A0:C9:aB-cD-EF:", "00A0C9aBcDEF", "MACADDR=00:A0:C9:aB:cD:EF\n"),
    ("change_wan_mac", ":-", "", ""), ("default_wan_mac", "00A0C9112233", "", ""),
])
def test_hardware_address_buttons(appliance, todo, address, stored, line):
    settings = appliance.change(SETTINGS, wan_hw_addr="112233445566")
    appliance.write(IFCFG, "DEVICE=eth0\nMACADDR=11:22:33:44:55:66\nONBOOT=no\n")
    appliance.answer("NET_ReadNetworkInfo eth0", PORT)
    result = post(appliance, "wan_dc.htm", {"todo": todo, "wan_mac_address": address})
    assert result.changed == {SETTINGS: settings.replace("=112233445566", f"={stored}"),
                              IFCFG: f"DEVICE=eth0\n{line}ONBOOT=no\n"}
    assert result.shown["wan_mac_address"] == (stored or "00A0C9000000")
    assert result.commands == ([] if stored else [OWN_ADDRESS])


@pytest.mark.parametrize("before, kept, form, wan, conf", [
    (None, "nat_enable=no\nnat_interface=eth0\nconnect_method=2\n",
     dict(ppp_idle_time="10", isp_ip_type="fixed", service_name="ISP1", **isp("10.20.3040.a")),
     ("joe@isp", "secret", "10", "0", "10.20.304.a"), ("600", "600", '"-S ISP1"')),
    ("one\ntwo", "one\ntwo\nconnect_method=2\n",
     dict(ppp_idle_time="0", isp_ip_type="dynamic IP", ppp_ac_name=None, ppp_ac_pwd=None,
          ppp_ac_pwd_v="other", **isp("1.2.3.4")),
     ("", "", "0", "1", "1.2.3.4"), ("no", "0", '""')),
    ("x" * 70 + "\ntwo\r\nthree\nnat_enable=yes\nidle=9\n", "x" * 63 + "\ntwo\r\nthree\n",
     dict(ppp_idle_time="9999x", isp_ip_type=None, ppp_ac_name="j!]}^%@é", ppp_ac_pwd="$ecret!"),
     ("j!]}^%@é", "$ecret!", "9999", "0", "\n"), ("599940", "599940", '""')),
])
def test_pppoe_save(appliance, before, kept, form, wan, conf):
    """The first three lines of the settings stay, whatever they are."""
    appliance.write(WAN, before)
    result = post(appliance, "wan_ppp.htm", {**ACCOUNT, **form})
    name, password = (word or '""' for word in wan[:2])
    secret = f"#client\tserver\tsecret\tIP address\n#PPPoE\n{name}\tppp0\t{password}\n"
    keys = "USER", "DEMAND", "PPPOE_TIMEOUT", "PPPOE_EXTRA"
    assert result.changed == {
        WAN: kept + "pppoe_username={}\npppoe_password={}\nidle={}\npppoe_dyna={}\n"
                    "pppoe_ip={}".format(*wan),
        PAP: secret, CHAP: secret,
        PPPOE: appliance.change(PPPOE, **dict(zip(keys, (wan[0], *conf)))),
    }
    assert [appliance.mode(file) for file in (WAN, PAP, CHAP)] == [0o600] * 3
    assert (result.commands, result.message) == ([], "")
    shown = dict(ppp_ac_name=wan[0], ppp_idle_time=wan[2],
                 **isp(wan[4] if "fixed" in form.values() else "..."))
    assert shown.items() <= result.shown.items()


KEYS = {"dc": "dc_ph_add dc_wan_dhcp dc_ip_address dc_mask dc_gw wan_dns".split(),
        "ppp": "ppp_ph_add ppp_link_status ppp_ip_address ppp_mask wan_dns".split()}
FIXED = "IPADDR=192.0.2.7\nNETMASK=255.255.255.0\nGATEWAY=192.0.2.1\n"
LINK = "IPADDR=10.112.112.{}\nNETMASK=255.255.255.255\n".format
OFF = [OWN_PORT, "off", " ", " "]


@pytest.mark.parametrize("page, methods, report, answer, asked, expected", [
    # at the answer's place: whether /tmp/dyna says that the lease is in use, the process of pppoe
    ("dc", "21", FIXED, "0\n", 1, [OWN_PORT, "no", "192.0.2.7", "255.255.255.0", "192.0.2.1"]),
    ("dc", "1", "IPADDR=192.0.2.7\n", None, 1, [OWN_PORT, "yes", "192.0.2.7", " ", " "]),
    ("dc", "121", FIXED, "0", 1, [OWN_PORT, "no", " ", " ", " "]),
    ("dc", "", FIXED, "1", 0, ["", "no", "", "", ""]),
    ("ppp", "2", LINK(11), "123\n", 3, [OWN_PORT, "on", "10.112.112.11", "255.255.255.255"]),
    ("ppp", "2", LINK(112), "123\n", 3, OFF), ("ppp", "2", "", "", 2, OFF),
    ("ppp", "1", "", "123\n", 0, ["", "off", "", ""]),
])
def test_status(appliance, page, methods, report, answer, asked, expected):
    lines = "nat_enable=no\n".join(f"connect_method={method}\n" for method in methods)
    appliance.write(WAN, lines or None)
    for port in "eth0", "ppp0":
        appliance.answer(f"NET_ReadNetworkInfo {port}", PORT + report)
    appliance.answer("pidof pppoe", answer or "")
    appliance.write("/tmp/dyna", answer)
    result = appliance.view(f"{page}_status.htm")
    assert [result.shown[key] for key in KEYS[page]] == [*expected, "192.0.2.53<BR>198.51.100.53"]
    assert result.commands == [OWN_ADDRESS, "/sbin/pidof pppoe", f"{INFO} ppp0"][:asked]


LINKS = "/sbin/ifup eth0", "/usr/sbin/adsl-start", "/bin/ping -c1 -q 10.112.112.113"


@pytest.mark.parametrize("method, page, todo, ran", [
    (1, "dc_status.htm", "dc_connect", [LINKS[0]]), (2, "dc_status.htm", "dc_connect", []),
    (2, "ppp_status.htm", "ppp_connect", [*LINKS[1:]]),
    (2, "ppp_status.htm", "ppp_disconnect", [LINKS[1]]), (2, "ppp_status.htm", "ppp_clearlog", []),
])
def test_status_buttons(saved, method, page, todo, ran):
    """Each button acts once, so in one of the two phases."""
    saved.change(WAN, nat_enable="yes", connect_method=method)
    saved.change(RECORD, Method=method)
    saved.write(LOG, "CONNECT\n")
    result = post(saved, page, {"todo": todo})
    assert [each for each in result.commands if each in LINKS] == ran
    assert (result.page, saved.read(LOG)) == (page, "CONNECT\n" * (todo != "ppp_clearlog"))
