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
    (1, wan("nat_interface=\nnat_interface=eth2"), "eth2", "IPADDR=203.0.113.7\n", "203.0.113.7"),
    (1, wan("nat_interface=eth2\nnat_interface=a;b"), "eth2", "IPADDR=1.2.3.4\n", "1.2.3.4"),
    (1, wan(), "eth0", "IPADDR=10.112.112.112\n", "Unknown - not connected"),
    (2, wan("nat_interface=eth2"), "ppp0", "IPADDR=198.51.100.4\n", "198.51.100.4"),
    (3, wan(), "ppp0", "IPADDR=10.112.112.112\n", "Unknown - not connected"),
    (3, wan(), "ppp0", "IPADDR=10.112.112.1\n", "10.112.112.1"),
    (2, wan(), "ppp0", "HWADDR=00:11\n", ""),
    (0, wan(), None, "", "Unknown - not connected"),
    (4, wan(), None, "", "Unknown - not connected"),
    (2, wan(sharing="no"), None, "", "Unknown - not connected"),
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
    *(({}, {f"{prefix}_enable": "checked", **octets(f"{prefix}_", "192.168.1.10"), field: "8080"},
       {switch: "1", host: "192.168.1.10", port: "8080"})
      for (prefix, (switch, host, *_)), (field, port) in zip(SERVERS.items(), PORTS.items())),
    # The fixed services are on for "checked" only, the others off for "unchecked" only.
    ({"Web": 1}, {"vs_web_enable": "on"}, {"Web": "0"}),
    ({"Smtp": 1}, {"vs_smtp_enable": ""}, {"Smtp": "0"}),
    ({}, {"vs_https_enable": "on"}, {"Https": "1"}),
    ({"Https": 1}, {"vs_https_enable": "unchecked"}, {"Https": "0"}),
    ({}, {"vs_ud2_enable": ""}, {"VS_UD2": "1"}),
    ({"VS_UD5": 1}, {"vs_ud5_enable": "unchecked"}, {"VS_UD5": "0"}),
    # Addresses: octets that begin with no digit are left out, the first one clears the host.
    ({"WebIP": "192.168.1.9"}, octets("vs_web_", "abc.168.1.9"), {"WebIP": ""}),
    ({"UD4_IP": "192.168.1.9"}, octets("vs_ud4_", "..."), {"UD4_IP": ""}),
    ({"FtpIP": "192.168.1.9"}, {"vs_ftp_4": "9"}, {"FtpIP": ""}),
    ({}, octets("vs_pop3_", "10..1a.x"), {"Pop3IP": "10.1a."}),
    ({"UD1_Name": "n", "UD1_IP": "10.0.0.1"}, octets("vs_ud1_", "100.100.100.100"),
     {"UD1_IP": "100.100.100.100"}),
    # Ports: whatever number begins the text, in 32 bits.
    ({}, {"vs_web_portno": " 8080x"}, {"WebPort": "8080"}),
    ({}, {"vs_web_portno": ""}, {"WebPort": "0"}),
    ({}, {"vs_ud3_portno": "70000"}, {"UD3_Port": "70000"}),
    ({}, {"vs_smtp_portno": "-1"}, {"SmtpPort": "4294967295"}),
    ({}, {"vs_ftp_portno_data": "4294967297"}, {"FtpDataPort": "1"}),
    # A port is free to servers that are switched off, and HTTPS takes none.
    ({"Web": 1, "WebPort": 8}, dict(vs_web_portno="80", vs_pop3_portno="80"),
     dict(WebPort="80", Pop3Port="80")),
    ({"Web": 1, "Https": 1}, dict(vs_ud1_enable="checked", vs_ud1_portno="443"),
     dict(VS_UD1="1", UD1_Port="443")),
    # Names stand as typed, in fourteen characters.
    ({}, dict(vs_ud1_name=LONG, **octets("vs_ud1_", "10.0.0.9")),
     dict(UD1_Name=LONG[:14], UD1_IP="10.0.0.9")),
    ({"UD5_IP": "10.0.0.9"}, {"vs_ud5_name": "a=b; #'$x"}, {"UD5_Name": "a=b; #'$x"}),
    ({"UD2_Name": "game"}, {"vs_ud2_name": ""}, {"UD2_Name": ""}),
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
    {},
    dict(vs_web_enable="unchecked", vs_web_portno="80", vs_https_enable="unchecked",
         **octets("vs_web_", "x.x.x.x")),
    {"vs_ud1_name": LONG, **octets("vs_ud1_", "10.0.0.1"), "vs_ud1_portno": "25"},
    {"todo": "cancel", "vs_web_enable": "checked", "vs_web_1": "1000"},
])
def test_nothing_to_store(appliance, form):
    prepare(appliance, UD1_Name=LONG[:14], UD1_IP="10.0.0.1", UD1_Port=25)
    result = save(appliance, form)
    assert (result.did_nothing, result.page, result.message) == (True, "nat_base.htm", "")


def refused_octets():
    for number, (prefix, (*_, message, name)) in enumerate(SERVERS.items(), 1):
        yield {}, {f"{prefix}_{(number - 1) % 4 + 1}": "1000"}, message, name
    for bad in "1;", "`x", "$(":
        yield {}, {"vs_web_3": bad, "enable_dmz": "checked"}, 32, "web"


ON = {"Web": 1, "Pop3": 1}


@pytest.mark.parametrize("before, form, message, name", [
    *refused_octets(),
    # The check goes by what is switched on so far, the storing by what the form switches on.
    (ON, {"vs_web_portno": "80", "vs_pop3_portno": "80"}, 50, None),
    (ON, {"vs_web_enable": "unchecked", "vs_web_portno": "80", "vs_pop3_portno": "80"}, 50, None),
    ({}, dict(vs_web_enable="checked", vs_web_portno="80", vs_ud5_enable="checked",
              vs_ud5_portno="80"), 50, None),
    ({"Ftp": 1}, {"vs_ftp_portno_ctrl": "21", "vs_ftp_portno_data": "21"}, 50, None),
    ({"VS_UD1": 1, "VS_UD4": 1}, {"vs_ud1_portno": "99", "vs_ud4_portno": "99"}, 50, None),
    ({"Smtp": 1, "VS_UD2": 1}, {"vs_smtp_portno": "", "vs_ud2_portno": "x"}, 50, None),
])
def test_refusals(appliance, before, form, message, name):
    """The check comes before any page has stored something; what was typed is shown again."""
    prepare(appliance, **before)
    form = {**form, "vs_ud3_name": "kept", "vs_https_enable": "checked"}
    result = save(appliance, form)
    assert (result.did_nothing, result.page) == (True, "nat_vs.htm")
    assert result.message == (told(message, name) if name else told(message))
    assert {key: result.shown[key] for key in form if key.startswith("vs")}.items() <= form.items()


@pytest.mark.parametrize("before, dmz, warned", [
    ({"DMZ": 1}, "checked", True), ({}, "checked", True), ({"DMZ": 1, "Ftp": 1}, "checked", False),
    ({}, "unchecked", False),
])
def test_ftp_server_beside_dmz_host(appliance, before, dmz, warned):
    prepare(appliance, **before)
    result = save(appliance, {"vs_ftp_enable": "checked", "enable_dmz": dmz})
    assert result.message == (f"{told(56)}\n{told(57)}" if warned else "")
    assert appliance.keys(RECORD)["Ftp"] == "1"
