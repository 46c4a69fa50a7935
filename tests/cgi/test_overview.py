"""The overview page: every setting as the pages have stored it, and as it is on disk."""

import re

import pytest

from appliance import FILTER, RECORD, SETTINGS, WAN, octets, told
from test_vs import PORTS as SERVER_PORTS
from test_vs import SERVERS

SWITCHES = dict(
    enable_web_access="SrvWeb", enable_sp_apps="SAP", enable_email="SrvEMail", enable_ftp="SrvFTP",
    enable_telnet="SrvTelNet", enable_dmz="DMZ", vs_https_enable="Https",
    **{f"{prefix}_enable": switch for prefix, (switch, *_) in SERVERS.items()})
FILTER_SWITCHES = dict(
    remove_java="block_applet", remove_js="block_script", remove_ax="block_activex",
    remove_cookies="block_cookies", enable_filter_log="enable_log")
PORTS = {**SERVER_PORTS, "vs_ftp_portno_data": "FtpDataPort"}
HOSTS = {"dmz_ip": "DMZ_IP", **{prefix: host for prefix, (_, host, *_) in SERVERS.items()}}
DAYS = "Sunday Monday Tuesday Wednesday Thursday Friday Saturday".split()
CHOICES = [("WAN Port - Direct Connection", "always", "off"),
           ("WAN Port - PPPoE", "between", "allowed"), ("Serial Port", "never", "banned")]
USER_DEFINED = "VS_UD{0}=0\nUD{0}_Name=\nUD{0}_IP=\nUD{0}_Port=0\n"
NEW_RECORD = (
    "Method=0\nBaudRate=115200\nModem=_Standard Modem\nInitStr=AT&F\nDialType=0\nUser=\nPassword=\n"
    "Security=0\nIdle=2\nDynamicIP=1\nIP=10.0.0.1\nPhone1=\nPhone2=\nPhone3=\nRetry=3\n"
    "SrvWeb=1\nSAP=1\nSrvEMail=1\nSrvFTP=1\nSrvTelNet=1\nWeb=0\nWebIP=\nWebPort=80\n"
    "Pop3=0\nPop3IP=\nPop3Port=110\nSmtp=0\nSmtpIP=\nSmtpPort=25\nFtp=0\nFtpIP=\n"
    "FtpDataPort=20\nFtpCtlPort=21\nHttps=0\nVPN=0\nVPN_IP=\nVPN_IPSEC=500\nVPN_PPTP=1723\n"
    + "".join(map(USER_DEFINED.format, range(1, 6))) + "DMZ=0\nDMZ_IP=\n")


@pytest.mark.parametrize("bit", range(5))
def test_what_all_pages_store_is_shown(saved, bit):
    """One save of all pages. No two switches are on in the same of the five."""
    form, record, lines = {}, {}, set()
    for number, (key, name) in enumerate({**SWITCHES, **FILTER_SWITCHES}.items(), 1):
        is_on = number >> bit & 1
        form[key] = "checked" if is_on else "unchecked"
        if key in FILTER_SWITCHES:
            lines.add(f"{name} {'on' if is_on else 'off'}")
        else:
            record[name] = str(is_on)
    for number, (key, name) in enumerate(HOSTS.items()):
        record[name] = f"10.{number}.{bit}.1{number}"
        form |= octets(f"{key}_", record[name])
    for number, (key, name) in enumerate(PORTS.items()):
        form[key] = record[name] = f"42949{bit}00{number:02}"
    form |= {f"vs_ud{number}_name": f"game {number}{bit}" for number in range(1, 6)}
    method, filter_when, sites = CHOICES[bit % 3]
    form |= dict(
        access_method=method, enable_ac=form["enable_ftp"], filter_when=filter_when,
        sitelist_type=sites, filter_daystart=DAYS[bit], filter_dayfinish=DAYS[bit + 2],
        filter_starttime=f"0{bit}", start_min=f"1{bit}", filter_finishtime="23", finish_min="59")
    lines |= {f"filter_from {DAYS[bit]} {bit} 1{bit}", f"filter_to {DAYS[bit + 2]} 23 59"}
    result = saved.save("nat_conn.htm", **form)
    assert form.items() <= result.shown.items()
    assert record.items() <= saved.keys(RECORD).items()
    assert lines <= set(saved.read(FILTER).splitlines())
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


def schedule(words):
    return dict(zip("""filter_when filter_daystart filter_starttime start_min filter_dayfinish
        filter_finishtime finish_min sitelist_type""".split(), words.split()))


def settings(switch, name, servers):
    return dict(enable_ac=switch, internet_access=switch, dns_name=name, wan_dns=servers)


@pytest.mark.parametrize("files, expected", [
    # A key is found by its beginning; a name that fills its field runs on into the next one.
    ({RECORD: "Method=9\nWebIP=1.2.3\nWeb=0\nUD1_Name=fifteen-letters\nUD1_IP=1.2.3.4\n"},
     dict(access_method="Serial Port", vs_web_enable="checked", vs_web_3="3", vs_web_4="",
          vs_pop3_1="", vs_pop3_portno="110", vs_ud1_name="fifteen-letters1.2.3.4")),
    ({FILTER: "#filter_state 0\nfilter_state\t2\ncustom_filter_state ENABLE\n"
              "custom_content_state 1\nfilter_from friday 25 10\nfilter_to Holiday 8 30\n"},
     schedule("between Sunday 00 00 Sunday 08 30 allowed")),
    ({FILTER: "filter_from FRIDAY 24 0\nfilter_to saturday 8x +5\nfilter_to Monday 1 60\n"
              "filter_to Monday 1\nfilter_state x\nfilter_state +2\n"},
     schedule("between Sunday 00 00 Saturday 08 05 off")),
    ({SETTINGS: "acc_en=1x\ndns_server2=192.0.2.1234567890\r\ndns_server1=1.1.1.1\n",
      WAN: "nat_enable=yes\n"},
     settings("checked", "192.0.2.1234567", "192.0.2.1234567<BR>1.1.1.1")),
    ({SETTINGS: "dns_server4=4\n dns_server1=1\ndns_server1=\ndns_server2=2\ndns_server3=3\n",
      WAN: "nat_enable=no\n"}, settings("unchecked", "", "<BR>2")),
    ({SETTINGS: None, WAN: None}, settings("unchecked", "", "")),
])
def test_what_else_may_stand_in_a_file(appliance, files, expected):
    for path, text in files.items():
        appliance.write(path, text)
    shown = appliance.view("sp_status.htm").shown | appliance.view("nat_base.htm").shown
    assert expected.items() <= shown.items()


def test_only_the_first_failure_is_shown(saved):
    for path, message in (FILTER, told(41)), (RECORD, told(13, RECORD)):
        saved.block(path)
        result = saved.view("nat_base.htm")
        assert (result.shown["dns_name"], result.message) == ("192.0.2.53", message)
        assert result.did_nothing
