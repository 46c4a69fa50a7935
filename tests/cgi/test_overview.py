"""The overview page: every setting as it is on disk."""

import re

import pytest

RECORD, FILTER, SETTINGS = "/etc/ppp/nat_ppp.con", "/usr/local/squid/etc/filter.conf", "/etc/CGI_qs.conf"


def show(appliance, *keys):
    """What the page's keys show."""
    appliance.write("/www/nat_base.htm", "".join(f"{key}=@{key}#\n" for key in keys) + "message=@message#\n")
    return dict(re.findall(r"^(\w+)=(.*)$", appliance.get("next_file=nat_base.htm").body, re.M))


def parts(prefix):
    return [f"{prefix}_{i}" for i in range(1, 5)]


SWITCHES = {
    "enable_web_access": "SrvWeb", "enable_sp_apps": "SAP", "enable_email": "SrvEMail", "enable_ftp": "SrvFTP",
    "enable_telnet": "SrvTelNet", "enable_dmz": "DMZ", "vs_web_enable": "Web", "vs_pop3_enable": "Pop3",
    "vs_smtp_enable": "Smtp", "vs_ftp_enable": "Ftp", "vs_https_enable": "Https",
    **{f"vs_ud{i}_enable": f"VS_UD{i}" for i in range(1, 6)},
}
PORTS = {"vs_web_portno": "WebPort", "vs_pop3_portno": "Pop3Port", "vs_smtp_portno": "SmtpPort",
         "vs_ftp_portno_ctrl": "FtpCtlPort", "vs_ftp_portno_data": "FtpDataPort",
         **{f"vs_ud{i}_portno": f"UD{i}_Port" for i in range(1, 6)}}
HOSTS = {"vs_web": "WebIP", "vs_pop3": "Pop3IP", "vs_smtp": "SmtpIP", "vs_ftp": "FtpIP", "dmz_ip": "DMZ_IP",
         **{f"vs_ud{i}": f"UD{i}_IP" for i in range(1, 6)}}
FILTER_SWITCHES = {"remove_java": "block_applet", "remove_js": "block_script", "remove_ax": "block_activex",
                   "remove_cookies": "block_cookies", "enable_filter_log": "enable_log"}


@pytest.mark.parametrize("keys", [SWITCHES, FILTER_SWITCHES], ids=["record", "filter"])
def test_each_switch_shows_its_own_setting(appliance, keys):
    for key, name in keys.items():
        if keys is SWITCHES:
            appliance.write(RECORD, "".join(f"{other}={int(other == name)}\n" for other in keys.values()))
        else:
            appliance.write(FILTER, "".join(f"{other} {'on' if other == name else 'off'}\n" for other in keys.values()))
        shown = show(appliance, *keys)
        assert {other for other in keys if shown[other] == "checked"} == {key}
        assert {shown[other] for other in keys if other != key} == {"unchecked"}


def test_ports_and_hosts(appliance):
    ports = {key: str(4294967290 + i if i < 5 else 1000 + i) for i, key in enumerate(PORTS)}
    hosts = {key: f"10.{i}.2.1{i}" for i, key in enumerate(HOSTS)}
    appliance.write(RECORD, "".join([f"{PORTS[key]}={port}\n" for key, port in ports.items()]
                                    + [f"{HOSTS[key]}={host}\n" for key, host in hosts.items()]))
    shown = show(appliance, *PORTS, *(part for key in HOSTS for part in parts(key)))
    assert {key: shown[key] for key in PORTS} == ports
    assert {key: ".".join(shown[part] for part in parts(key)) for key in HOSTS} == hosts


@pytest.mark.parametrize("record, key, expected", [
    ("Method=0\n", "access_method", "Serial Port"), ("Method=1\n", "access_method", "WAN Port - Direct Connection"),
    ("Method=2\n", "access_method", "WAN Port - PPPoE"), ("Method=9\n", "access_method", "Serial Port"),
    ("WebIP=192.168.1\n", "vs_web_3", "1"), ("WebIP=192.168.1\n", "vs_web_4", ""), ("", "vs_web_1", ""),
    ("UD2_Name=Game, 1\n", "vs_ud2_name", "Game, 1"), ("", "can_change_vsip_2", "true"), ("", "vs_pop3_portno", "110"),
    # a name that fills its field runs on into the address behind it
    ("UD1_Name=fifteen-letters\nUD1_IP=1.2.3.4\n", "vs_ud1_name", "fifteen-letters1.2.3.4"),
])
def test_values_of_the_record(appliance, record, key, expected):
    appliance.write(RECORD, record)
    assert show(appliance, key)[key] == expected


@pytest.mark.parametrize("settings, expected", [
    ("filter_state 0\nfilter_from Friday 7 5\nfilter_to sunday 23 59\n",
     ["always", "Friday", "07", "05", "Sunday", "23", "59", "off"]),
    ("filter_state\t2\ncustom_filter_state ENABLE\ncustom_content_state 1\nfilter_from friday 25 10\n",
     ["between", "Sunday", "00", "00", "Sunday", "00", "00", "allowed"]),
    ("#filter_state 0\nfilter_state 1\ncustom_filter_state on\nfilter_to Holiday 8 30\n",
     ["never", "Sunday", "00", "00", "Sunday", "08", "30", "banned"]),
])
def test_the_filter_schedule(appliance, settings, expected):
    appliance.write(FILTER, settings)
    keys = ("filter_when filter_daystart filter_starttime start_min filter_dayfinish filter_finishtime finish_min"
            " sitelist_type").split()
    assert list(map(show(appliance, *keys).get, keys)) == expected


def test_the_appliance_settings(appliance):
    appliance.write(SETTINGS, "acc_en=1x\ndns_server2=192.0.2.1234567890\r\ndns_server1=1.1.1.1\n")
    appliance.write("/etc/ppp/CGI_nat.conf", "nat_enable=yes\n")
    keys = ("enable_ac", "dns_name", "internet_access")
    assert list(map(show(appliance, *keys).get, keys)) == ["checked", "192.0.2.1234567", "checked"]
    appliance.remove(SETTINGS)
    appliance.remove("/etc/ppp/CGI_nat.conf")
    assert list(map(show(appliance, *keys).get, keys)) == ["unchecked", "", "unchecked"]


@pytest.mark.parametrize("missing, number", [([FILTER], 41), ([RECORD, FILTER], 13), ([], None)])
def test_only_the_first_failure_is_shown(appliance, missing, number):
    for path in missing:
        appliance.at(path).unlink(missing_ok=True)
        appliance.at(path).mkdir()
    lines = appliance.read("/www/cgi_err").splitlines()
    text = next((line[3:] for line in lines if line.startswith(f"{number}-")), "")
    assert show(appliance, "dns_name") == {"dns_name": "192.0.2.53", "message": text.replace("%s", RECORD)}


def test_the_page_shows_every_key_once_and_posts_what_its_setters_take(appliance):
    """The shipped template: nothing that it posts may switch a virtual server."""
    template = appliance.read("/www/nat_base.htm")
    keys = [key for key in re.findall(r"@(\w+)\|html#", template) if key != "message"]
    assert len(keys) == len(set(keys)) == 91
    page = appliance.get("next_file=nat_base.htm").body
    assert not re.search(r"@[\w|]+#", page)
    names = set(re.findall(r'name="(\w+)"', page))
    assert {"internet_access", "filter_when", "dmz_ip_4"} < names and not any(name.startswith("vs_") for name in names)
