"""The overview page: every setting as it is on disk."""

import pytest

from appliance import FILTER, RECORD, SETTINGS, WAN, told

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


def show(appliance):
    return appliance.view("nat_base.htm").shown


@pytest.mark.parametrize("keys, path, line", [(SWITCHES, RECORD, "{}={:d}\n"), (FILTER_SWITCHES, FILTER, "{} {}\n")])
def test_each_switch_shows_its_own_setting(appliance, keys, path, line):
    for key, name in keys.items():
        wanted = (other == name for other in keys.values())
        states = wanted if path == RECORD else ("on" if on else "off" for on in wanted)
        appliance.write(path, "".join(map(line.format, keys.values(), states)))
        shown = show(appliance)
        assert {other: shown[other] for other in keys} == {**dict.fromkeys(keys, "unchecked"), key: "checked"}


def test_ports_and_hosts(appliance):
    ports = {key: str(4294967290 + i if i < 5 else 1000 + i) for i, key in enumerate(PORTS)}
    hosts = {key: f"10.{i}.2.1{i}" for i, key in enumerate(HOSTS)}
    appliance.write(RECORD, "".join([f"{PORTS[key]}={port}\n" for key, port in ports.items()]
                                    + [f"{HOSTS[key]}={host}\n" for key, host in hosts.items()]))
    shown = show(appliance)
    assert {key: shown[key] for key in PORTS} == ports
    assert {key: ".".join(shown[f"{key}_{i}"] for i in range(1, 5)) for key in HOSTS} == hosts


@pytest.mark.parametrize("record, expected", [
    ("Method=0\n", {"access_method": "Serial Port"}), ("Method=1\n", {"access_method": "WAN Port - Direct Connection"}),
    ("Method=2\n", {"access_method": "WAN Port - PPPoE"}), ("Method=9\n", {"access_method": "Serial Port"}),
    ("WebIP=192.168.1\n", {"vs_web_3": "1", "vs_web_4": ""}), ("", {"vs_web_1": "", "vs_pop3_portno": "110"}),
    # a name that fills its field runs on into the address behind it
    ("UD1_Name=fifteen-letters\nUD1_IP=1.2.3.4\nUD2_Name=Game, 1\n",
     {"vs_ud1_name": "fifteen-letters1.2.3.4", "vs_ud2_name": "Game, 1"}),
])
def test_values_of_the_record(appliance, record, expected):
    appliance.write(RECORD, record)
    assert expected.items() <= show(appliance).items()


@pytest.mark.parametrize("settings, expected", [
    ("filter_state 0\nfilter_from Friday 7 5\nfilter_to sunday 23 59\n",
     ["always", "Friday", "07", "05", "Sunday", "23", "59", "off"]),
    ("filter_state\t2\ncustom_filter_state ENABLE\ncustom_content_state 1\nfilter_from friday 25 10\n",
     ["between", "Sunday", "00", "00", "Sunday", "00", "00", "allowed"]),
    ("#filter_state 0\nfilter_state 1\ncustom_filter_state on\nfilter_to Holiday 8 30\n",
     ["never", "Sunday", "00", "00", "Sunday", "08", "30", "banned"]),
    ("filter_from FRIDAY 24 0\nfilter_to saturday 8x +5\nfilter_to Monday 1 60\nfilter_to Monday 1\nfilter_state x\n"
     "filter_state +2\n", ["between", "Sunday", "00", "00", "Saturday", "08", "05", "off"]),
])
def test_the_filter_schedule(appliance, settings, expected):
    appliance.write(FILTER, settings)
    keys = ("filter_when filter_daystart filter_starttime start_min filter_dayfinish filter_finishtime finish_min"
            " sitelist_type").split()
    assert list(map(show(appliance).get, keys)) == expected


def test_the_appliance_settings(appliance):
    keys = ("enable_ac", "dns_name", "internet_access")
    appliance.write(SETTINGS, "acc_en=1x\ndns_server2=192.0.2.1234567890\r\ndns_server1=1.1.1.1\n")
    appliance.write(WAN, "nat_enable=yes\n")
    assert list(map(show(appliance).get, keys)) == ["checked", "192.0.2.1234567", "checked"]
    appliance.write(SETTINGS, None)
    appliance.write(WAN, None)
    assert list(map(show(appliance).get, keys)) == ["unchecked", "", "unchecked"]


@pytest.mark.parametrize("blocked, message", [([FILTER], told(41)), ([RECORD, FILTER], told(13, RECORD)), ([], "")])
def test_only_the_first_failure_is_shown(appliance, blocked, message):
    for path in blocked:
        appliance.block(path)
    result = appliance.view("nat_base.htm")
    assert (result.shown["dns_name"], result.message) == ("192.0.2.53", message)
