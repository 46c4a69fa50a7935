"""The virtual servers page: what it shows, stores, refuses and starts."""

import pytest

from appliance import RECORD, WAN, octets, told

SCRIPT = "/etc/rc.d/rc.ipvs"
REBUILD = ["/sbin/ipvsadm -C"]
REPORT = "/usr/share/quillstead/network/NET_ReadNetworkInfo %s"
# form prefix: keys in the record for switch, host and port, and how a refusal names the server
SERVERS = {
    "vs_web": ("Web", "WebIP", "WebPort", 32, "web"),
    "vs_pop3": ("Pop3", "Pop3IP", "Pop3Port", 32, "pop3"),
    "vs_smtp": ("Smtp", "SmtpIP", "SmtpPort", 32, "smtp"),
    "vs_ftp": ("Ftp", "FtpIP", "FtpCtlPort", 32, "ftp"),
    **{f"vs_ud{n}": (f"VS_UD{n}", f"UD{n}_IP", f"UD{n}_Port", 49, str(n)) for n in range(1, 6)},
}
PORTS = {f"{prefix}_portno" + "_ctrl" * (prefix == "vs_ftp"): server[2]
         for prefix, server in SERVERS.items()}
UNKNOWN = "Unknown - not connected"
LONG = "fifteen letters and more"


def prepare(appliance, **changes):
    """The record of a new appliance with some settings changed."""
    appliance.view("nat_vs.htm")
    appliance.change(RECORD, **changes)


def save(appliance, form):
    return appliance.save("nat_vs.htm", **form)


def wan(interfaces="nat_interface=eth0", sharing="yes"):
    return f"nat_enable={sharing}\n{interfaces}\nconnect_method=0\n"


@pytest.mark.parametrize("method, wan_settings, asked, report, shown", [
    (1, wan(), "eth0", "HWADDR=x\nIPADDR=203.0.113.7\nNETMASK=y\n", "203.0.113.7"),
    (1, wan("nat_interface=eth2\nnat_interface=eth3\nnat_interface=eth4"), "eth3", "", ""),
    (1, wan("nat_interface=eth2\nnat_interface="), "eth2", "IPADDR=1.2.3.4\n", "1.2.3.4"),
    (1, wan("nat_interface=eth2\nnat_interface=a;b"), "eth2", "IPADDR=1.2.3.4\n", "1.2.3.4"),
    (2, wan("nat_interface=eth2"), "ppp0", "IPADDR=198.51.100.4\n", "198.51.100.4"),
    (3, wan(), "ppp0", "IPADDR=10.112.112.112\n", UNKNOWN),
    (3, wan(), "ppp0", "IPADDR=10.112.112.1\n", "10.112.112.1"),
    (2, wan(sharing="no"), None, "", UNKNOWN),
])
def test_external_address(appliance, method, wan_settings, asked, report, shown):
    prepare(appliance, Method=method)
    appliance.write(WAN, wan_settings)
    appliance.answer(f"NET_ReadNetworkInfo {asked}", report)
    result = appliance.view("nat_vs.htm")
    assert (result.shown["isp_IP_address"], result.message) == (shown, "")
    assert result.commands == [REPORT % asked] * (asked is not None)
    assert not appliance.exists("/tmp/ifcfg")


@pytest.mark.parametrize("before, form, after", [
    # Web, POP3, SMTP and FTP are on for "checked" only, the others off for "unchecked" only.
    ({"Web": 1}, dict(vs_web_enable="on", vs_https_enable="on", vs_ud2_enable=""),
     {"Web": "0", "Https": "1", "VS_UD2": "1"}),
    # Octets that begin with no digit are left out, the first one clears the host.
    (dict(WebIP="192.168.1.9", FtpIP="192.168.1.9", UD1_Name="n", UD1_IP="10.0.0.1"),
     {**octets("vs_web_", "abc.168.1.9"), **octets("vs_pop3_", "10..1a.x"), "vs_ftp_4": "9",
      **octets("vs_ud1_", "100.100.100.100")},
     dict(WebIP="", Pop3IP="10.1a.", FtpIP="", UD1_IP="100.100.100.100")),
    # A port is whatever number begins the text, in 32 bits.
    ({}, dict(vs_web_portno=" 8080x", vs_pop3_portno="", vs_smtp_portno="-1",
              vs_ftp_portno_data="4294967297"),
     dict(WebPort="8080", Pop3Port="0", SmtpPort="4294967295", FtpDataPort="1")),
    # It is free to servers that are switched off, and HTTPS takes none.
    ({"Web": 1, "WebPort": 8, "Https": 1}, dict(
        vs_web_portno="80", vs_pop3_portno="80", vs_ud1_enable="checked", vs_ud1_portno="443"),
     dict(WebPort="80", Pop3Port="80", VS_UD1="1", UD1_Port="443")),
    # Names stand as typed, in fourteen characters.
    ({"UD2_Name": "game", "UD5_IP": "10.0.0.9"},
     dict(vs_ud1_name=LONG, **octets("vs_ud1_", "10.0.0.9"), vs_ud2_name="",
          vs_ud5_name="a=b; #'$x"),
     dict(UD1_Name=LONG[:14], UD1_IP="10.0.0.9", UD2_Name="", UD5_Name="a=b; #'$x")),
])
def test_what_is_stored(appliance, before, form, after):
    prepare(appliance, **before)
    old = appliance.keys(RECORD)
    result = save(appliance, form)
    changed = dict(appliance.keys(RECORD).items() - old.items())
    assert changed == {**after, "DNS": "192.0.2.53"}
    assert (result.changed.keys(), result.commands) == ({RECORD, SCRIPT}, REBUILD)
    assert appliance.mode(RECORD) == 0o600
    assert (result.page, result.message) == ("nat_base.htm", "")


@pytest.mark.parametrize("form", [
    {"vs_web_enable": "unchecked", "vs_web_portno": "80", "vs_https_enable": "unchecked",
     **octets("vs_web_", "x.x.x.x"), "vs_ud1_name": LONG, **octets("vs_ud1_", "10.0.0.1")},
    {"todo": "cancel", "vs_web_enable": "checked", "vs_web_1": "1000"},
])
def test_nothing_to_store(appliance, form):
    prepare(appliance, UD1_Name=LONG[:14], UD1_IP="10.0.0.1")
    assert save(appliance, form).did_nothing


def refused_octets():
    for number, (prefix, (*_, message, name)) in enumerate(SERVERS.items()):
        yield {}, {f"{prefix}_{number % 4 + 1}": "1000"}, told(message, name)
    yield {}, {"vs_web_3": "`x", "enable_dmz": "checked"}, told(32, "web")


@pytest.mark.parametrize("before, form, message", [
    *refused_octets(),
    # The check goes by what is switched on so far, the storing by what the form switches on.
    ({"Web": 1, "Pop3": 1},
     {"vs_web_enable": "unchecked", "vs_web_portno": "80", "vs_pop3_portno": "80"}, told(50)),
    ({}, dict(vs_web_enable="checked", vs_web_portno="80", vs_ud5_enable="checked",
              vs_ud5_portno="80"), told(50)),
    ({"Ftp": 1}, {"vs_ftp_portno_ctrl": "21", "vs_ftp_portno_data": "21"}, told(50)),
    ({"Smtp": 1, "VS_UD2": 1}, {"vs_smtp_portno": "", "vs_ud2_portno": "x"}, told(50)),
])
def test_refusals(appliance, before, form, message):
    """The check comes before any page has stored something; what was typed is shown again."""
    prepare(appliance, **before)
    form = {**form, "vs_ud3_name": "kept", "vs_https_enable": "checked"}
    result = save(appliance, form)
    assert (result.did_nothing, result.page, result.message) == (True, "nat_vs.htm", message)
    assert {key: result.shown[key] for key in form if key in result.shown}.items() <= form.items()


@pytest.mark.parametrize("before, dmz, warned", [
    ({"DMZ": 1}, "checked", True), ({"DMZ": 1, "Ftp": 1}, "checked", False),
    ({}, "unchecked", False),
])
def test_ftp_server_beside_dmz_host(appliance, before, dmz, warned):
    prepare(appliance, **before)
    result = save(appliance, {"vs_ftp_enable": "checked", "enable_dmz": dmz})
    assert result.message == (f"{told(56)}\n{told(57)}" if warned else "")
