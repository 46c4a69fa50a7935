"""The overview page: every setting as the pages have stored it, and as it is on disk."""

import re

import pytest

from appliance import FILTER, RECORD, SETTINGS, WAN, octets, told
from test_vs import PORTS as VS_PORTS
from test_vs import SERVERS

SWITCHES = dict(
    enable_web_access="SrvWeb", enable_sp_apps="SAP", enable_email="SrvEMail", enable_ftp="SrvFTP",
    enable_telnet="SrvTelNet", enable_dmz="DMZ", vs_https_enable="Https",
    **{f"{prefix}_enable": switch for prefix, (switch, *_) in SERVERS.items()})
FILTER_SWITCHES = dict(
    remove_java="block_applet", remove_js="block_script", remove_ax="block_activex",
    remove_cookies="block_cookies", enable_filter_log="enable_log")
PORTS = {**VS_PORTS, "vs_ftp_portno_data": "FtpDataPort"}
HOSTS = {"dmz_ip": "DMZ_IP", **{prefix: host for prefix, (_, host, *_) in SERVERS.items()}}
METHODS = "WAN Port - Direct Connection", "WAN Port - PPPoE", "Serial Port"
DAYS = "Sunday Monday Tuesday Wednesday Thursday Friday Saturday".split()
LISTS = "off", "allowed", "banned"
USER_DEFINED = "VS_UD{0}=0\nUD{0}_Name=\nUD{0}_IP=\nUD{0}_Port=0\n"
NEW_RECORD = (
    "Method=0\nBaudRate=115200\nModem=_Standard Modem\nInitStr=AT&F\nDialType=0\nUser=\nPassword=\n"
    "Security=0\nIdle=2\nDynamicIP=1\nIP=10.0.0.1\nPhone1=\nPhone2=\nPhone3=\nRetry=3\n"
    "SrvWeb=1\nSAP=1\nSrvEMail=1\nSrvFTP=1\nSrvTelNet=1\nWeb=0\nWebIP=\nWebPort=80\n"
    "Pop3=0\nPop3IP=\nPop3Port=110\nSmtp=0\nSmtpIP=\nSmtpPort=25\nFtp=0\nFtpIP=\n"
    "FtpDataPort=20\nFtpCtlPort=21\nHttps=0\nVPN=0\nVPN_IP=\nVPN_IPSEC=500\nVPN_PPTP=1723\n"
    + "".join(map(USER_DEFINED.format, range(1, 6))) + "DMZ=0\nDMZ_IP=\n")


def show(appliance):
    return appliance.view("nat_base.htm").shown


@pytest.mark.parametrize("bit", range(5))
def test_what_all_pages_store_is_shown(saved, bit):
    """One save of all pages. No two switches are on in the same of the five."""
    numbers = {key: number for number, key in enumerate((*SWITCHES, *FILTER_SWITCHES), 1)}
    form = {key: "checked" if number >> bit & 1 else "unchecked" for key, number in numbers.items()}
    for number, key in enumerate(HOSTS):
        form |= octets(f"{key}_", f"10.{number}.{bit}.1{number}")
    form |= {key: f"42949{bit}00{number:02}" for number, key in enumerate(PORTS)}
    form |= {f"vs_ud{number}_name": f"game {number}{bit}" for number in range(1, 6)}
    form |= dict(
        access_method=METHODS[bit % 3], enable_ac=form["enable_ftp"], sitelist_type=LISTS[bit % 3],
        filter_when=("always", "between", "never")[bit % 3], filter_daystart=DAYS[bit],
        filter_dayfinish=DAYS[bit + 2], filter_starttime=f"0{bit}", start_min=f"1{bit}",
        filter_finishtime="23", finish_min="59")
    result = saved.save("nat_conn.htm", **form)
    assert form.items() <= result.shown.items()
    record, settings = saved.keys(RECORD), saved.read(FILTER)
    for key, name in SWITCHES.items():
        assert record[name] == str(int(form[key] == "checked"))
    for key, name in FILTER_SWITCHES.items():
        assert f"{name} {'on' if form[key] == 'checked' else 'off'}\n" in settings
    assert {key: record[name] for key, name in PORTS.items()}.items() <= form.items()
    for key, name in HOSTS.items():
        assert octets(f"{key}_", record[name]).items() <= form.items()
    assert f"filter_from {DAYS[bit]} {bit} 1{bit}\nfilter_to {DAYS[bit + 2]} 23 59\n" in settings
    assert saved.save("nat_conn.htm", **form).changed == {}


def test_the_record(appliance):
    """A view makes a missing one. A save writes all its lines anew, also missing ones."""
    assert appliance.view("nat_base.htm").changed == {RECORD: NEW_RECORD}
    assert appliance.mode(RECORD) == 0o600
    saved = re.sub("VPN.*\n", "", NEW_RECORD).replace("DMZ=0", "DMZ=1")
    saved = saved.replace("Retry", "DNS=192.0.2.53\nRetry")
    for record, address in (NEW_RECORD, "IP=10.0.0.1\n"), ("\n", "IP=\n"):
        appliance.write(RECORD, record)
        appliance.save("nat_conn.htm", enable_dmz="checked")
        assert appliance.read(RECORD) == saved.replace("IP=10.0.0.1\n", address)


def test_values_of_the_record(appliance):
    """A key is found by its beginning; a name that fills its field runs on into the next one."""
    appliance.write(RECORD, "Method=9\nWebIP=1.2.3\nWeb=0\nUD1_Name=fifteen-letters\n"
                            "UD1_IP=1.2.3.4\nUD2_Name=Game, 1\n")
    expected = dict(access_method="Serial Port", vs_web_enable="checked", vs_web_3="3", vs_web_4="",
                    vs_pop3_1="", vs_pop3_portno="110", vs_ud1_name="fifteen-letters1.2.3.4",
                    vs_ud2_name="Game, 1")
    assert expected.items() <= show(appliance).items()


@pytest.mark.parametrize("settings, expected", [
    ("#filter_state 0\nfilter_state\t2\ncustom_filter_state ENABLE\ncustom_content_state 1\n"
     "filter_from friday 25 10\nfilter_to Holiday 8 30\n",
     "between Sunday 00 00 Sunday 08 30 allowed"),
    ("filter_from FRIDAY 24 0\nfilter_to saturday 8x +5\nfilter_to Monday 1 60\n"
     "filter_to Monday 1\nfilter_state x\nfilter_state +2\n",
     "between Sunday 00 00 Saturday 08 05 off"),
])
def test_the_filter_schedule(appliance, settings, expected):
    appliance.write(FILTER, settings)
    keys = """filter_when filter_daystart filter_starttime start_min filter_dayfinish
        filter_finishtime finish_min sitelist_type""".split()
    assert list(map(show(appliance).get, keys)) == expected.split()


@pytest.mark.parametrize("settings, wan, shown, servers", [
    ("acc_en=1x\ndns_server2=192.0.2.1234567890\r\ndns_server1=1.1.1.1\n", "nat_enable=yes\n",
     ["checked", "192.0.2.1234567", "checked"], "192.0.2.1234567<BR>1.1.1.1"),
    ("dns_server4=4\n dns_server1=1\ndns_server1=\ndns_server2=2\ndns_server3=3\n",
     "nat_enable=no\n", ["unchecked", "", "unchecked"], "<BR>2"),
    (None, None, ["unchecked", "", "unchecked"], ""),
])
def test_the_appliance_settings(appliance, settings, wan, shown, servers):
    appliance.write(SETTINGS, settings)
    appliance.write(WAN, wan)
    assert list(map(show(appliance).get, ("enable_ac", "dns_name", "internet_access"))) == shown
    assert appliance.view("sp_status.htm").shown["wan_dns"] == servers


def test_only_the_first_failure_is_shown(appliance):
    for path, message in (None, ""), (FILTER, told(41)), (RECORD, told(13, RECORD)):
        if path:
            appliance.block(path)
        result = appliance.view("nat_base.htm")
        assert (result.shown["dns_name"], result.message) == ("192.0.2.53", message)
