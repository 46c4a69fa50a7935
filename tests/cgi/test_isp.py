"""The ISP account of the modem, and the serial overview and status pages."""

import html
import re

import pytest

from appliance import MESSAGES, message_of

RECORD, SETTINGS, WAN = "/etc/ppp/nat_ppp.con", "/etc/CGI_qs.conf", "/etc/ppp/CGI_nat.conf"
DIALD, FILTER, TEL, USER = "/etc/diald.conf", "/usr/lib/diald/standard.filter", "/etc/ppp/tel", "/etc/ppp/user"
OPTIONS, PAP, CHAP = "/etc/ppp/options.ttyS0", "/etc/ppp/pap-secrets", "/etc/ppp/chap-secrets"
LOGS = ["/var/log/ppp1.log", "/var/log/ppp0.log", "/var/log/pppd.log"]
SET_DNS = "/usr/share/quillstead/network/NET_SetDNS > /dev/null"
CHMOD = [f"chmod 0600 {file} > /dev/null" for file in (PAP, CHAP)]


def octets(prefix, text):
    return {f"{prefix}{n}": octet for n, octet in enumerate(text.split("."), 1)}


ACCOUNT = dict(nat_ac_name="joe@isp", nat_ac_pwd="secret", nat_ac_pwd_v="secret", nat_tel01="555", nat_tel02="",
               nat_tel03="777", nat_idle_time="5", nat_isp_ip_radio="dynamic", **octets("nat_isp_ip0", "10.0.0.1"))


def save(appliance, page="sp_int.htm", **fields):
    return appliance.post({"this_file": "sp_int.htm", "todo": "save", "next_file": page, **fields})


def record(appliance):
    return dict(line.split("=", 1) for line in appliance.read(RECORD).splitlines())


def shown(result):
    """What the browser would post: the fields of the form and the first, selected options."""
    values = re.findall(r'<input [^>]*name="(\w+)" value="([^"]*)"', result.body.replace("<input name", "<input  name"))
    values += re.findall(r'<select name="(\w+)"[^>]*>\n<option selected[^>]*>(.*)</option>', result.body)
    return {key: html.unescape(value) for key, value in values}


@pytest.fixture
def account(appliance):
    assert message_of(save(appliance, **ACCOUNT).body) == ""
    save(appliance)  # the account's name reaches the file "user" with the next save
    return appliance


def test_the_dial_up_files_are_rewritten(appliance):
    result = save(appliance, **ACCOUNT)
    assert result.changed.keys() - {USER} == {RECORD, DIALD, PAP, CHAP, TEL, OPTIONS, FILTER}
    assert result.commands == CHMOD
    appliance.remove(DIALD)  # a fatal error in the first action: the others did not run
    assert save(appliance, **{**ACCOUNT, "nat_ac_name": "ann"}).changed.keys() - {USER} == {RECORD, "/etc/diald.tmp"}


@pytest.mark.parametrize("form, changed", [
    ({"nat_isp_ip_radio": "fixed", **octets("nat_isp_ip0", "192.168.1.1")}, {"DynamicIP": "0", "IP": "192.168.1.1"}),
    (octets("nat_isp_ip0", "10..5.1"), {"IP": "10.5.1"}),
    (octets("nat_isp_ip0", ".2.3.4"), {"IP": ""}),
    (octets("nat_isp_ip0", "999.x.2x3."), {"IP": "999.2x3."}),
    ({"nat_idle_time": "7x"}, {"Idle": "7"}),
    ({"nat_ac_name": "joe#1 o'x@isp", "nat_ac_pwd": ""}, {"User": "joe#1 o'x@isp", "Password": ""}),
    ({"nat_tel01": "1", "nat_tel02": "2", "nat_tel03": "3" * 60}, {"Phone1": "1", "Phone2": "2", "Phone3": "3" * 59}),
    ({"nat_ac_pwd_v": "other", "nat_isp_ip_radio": "", "todo": "save"}, {}),
    ({"nat_ac_name": "ann", "todo": "cancel"}, {}),
])
def test_save(account, form, changed):
    before = record(account)
    result = save(account, **{**ACCOUNT, **form})
    assert record(account) == {**before, **changed} and message_of(result.body) == ""
    assert result.commands == (CHMOD if changed else []) and (changed or not result.changed)


def test_dns_servers_are_stored_in_both_phases(account):
    servers = {**octets("dns1_ip_", "1.1.1.1"), **octets("dns3_ip_", "3.3.3.3")}
    result = save(account, **ACCOUNT, **servers)
    assert result.commands == [SET_DNS] * 2 and list(result.changed) == [SETTINGS]
    assert re.findall("dns_server.=(.*)", account.read(SETTINGS)) == ["1.1.1.1", "198.51.100.53", "3.3.3.3"]
    refused = save(account, **{**ACCOUNT, "nat_ac_name": "ann"}, **{**servers, **octets("dns1_ip_", "2.2.2.2"),
                                                                    "dns2_ip_3": ";"})
    assert refused.changed == {SETTINGS: result.changed[SETTINGS].replace("=1.1.1.1", "=2.2.2.2")}
    assert message_of(refused.body) == MESSAGES["19"] and refused.commands == []


@pytest.mark.parametrize("field, value, number", [
    ("nat_ac_name", "", 16), ("nat_tel01", "", 17), ("nat_idle_time", "", 15), ("nat_isp_ip01", "1234", 19),
    ("nat_isp_ip02", "1234", 19), ("nat_isp_ip03", "1;", 19), ("nat_isp_ip04", "`", 19), ("dns1_ip_2", "8|", 19),
])
def test_refused(account, field, value, number):
    """Neither page of the group is saved; what was typed, and only that, is shown again."""
    form = {**ACCOUNT, "nat_ac_name": "ann", "dns1_ip_1": "9", field: value}
    result = save(account, **form, nat_serspeed_list="9600")
    again = shown(result)
    assert (message_of(result.body), result.changed, result.commands) == (MESSAGES[str(number)], {}, [])
    assert {key: again[key] for key in form} == form and again["dns2_ip_1"] == ""
    assert "In use first: 192.0.2.53<" in result.body
    account.write("/www/cgi_err", f"{number}-No %s.\n")
    assert message_of(save(account, **form).body) == ("No %s." if field[0] == "d" else f"No {RECORD}.")


def test_an_unreadable_record(appliance):
    appliance.at(RECORD).mkdir()
    for result in (appliance.get("next_file=sp_int.htm"), appliance.get("next_file=sp_base.htm"),
                   save(appliance, **ACCOUNT)):
        assert message_of(result.body) == MESSAGES["13"].replace("%s", RECORD) and not result.changed


@pytest.mark.parametrize("values, expected", [
    ({}, {**ACCOUNT, "nat_serspeed_list": "115200", "nat_modem_list": "_Standard Modem", "nat_init_string": "AT&F",
          "nat_dial_type_radio": "tone", **octets("dns1_ip_", "192.0.2.53"), **octets("dns2_ip_", "198.51.100.53"),
          **octets("dns3_ip_", "...")}),
    ({"DialType": "1", "DynamicIP": "0", "IP": "192.168.1"},
     {"nat_dial_type_radio": "pulse", "nat_isp_ip_radio": "fixed", **octets("nat_isp_ip0", "192.168.1.")}),
    ({"DialType": "2", "DynamicIP": "7", "IP": "", "BaudRate": "9600", "Idle": "0"},
     {"nat_dial_type_radio": "perm", "nat_isp_ip_radio": "dynamic", "nat_serspeed_list": "9600", "nat_idle_time": "0",
      **octets("nat_isp_ip0", "...")}),
    ({"DialType": "3"}, {"nat_dial_type_radio": ""}), ({"DialType": "-1"}, {"nat_dial_type_radio": ""}),
])
def test_overview(account, values, expected):
    account.write(RECORD, "".join(f"{k}={v}\n" for k, v in {**record(account), **values}.items()))
    result = account.get("next_file=sp_base.htm")
    form = shown(result)
    assert {key: form[key] for key in expected} == expected and not result.changed and message_of(result.body) == ""
    if not values:  # saved as it stands, the form changes nothing
        saved = account.post(form)
        assert shown(saved) == form and saved.commands == [SET_DNS] * 2 and saved.changed.keys() <= {SETTINGS}


PIDOF, RATE = "/sbin/pidof pppd > /tmp/ppp.tmp", "ATDT555\nCONNECT 50666\nCONNECT 9600\n"
ADDRESS = "/sbin/ifconfig ppp0 | grep 'inet addr' | awk '{print $2}' | sed -e 's/.*://' > ip.tmp"
UP, OFF = "Established", "Off Line"


@pytest.mark.parametrize("pid, interface, diald, log, expected", [
    ("", "", "mode ppp\nspeed 9600\nspeed 1\n", RATE, [OFF, OFF, " ", "9600\n", " "]),
    ("0\n", "", "speeds 9600\n", RATE, [OFF, OFF, " ", "115200", " "]),
    ("123 45\n", "", None, "no CONNECT 9600\n", [UP, OFF, " ", "115200", " "]),
    ("9\n", "Link\n   inet addr:203.0.113.9  P-t-P:x\n", None, RATE, [UP, UP, "203.0.113.9\n", "115200", "50666\n"]),
    ("9\n", "inet addr:8.8.8.8 x\n", None, None, [UP, OFF, " ", "115200", " "]),
])
def test_status(appliance, pid, interface, diald, log, expected):
    appliance.answer("pidof pppd", pid)
    appliance.answer("ifconfig ppp0", interface)
    for path, text in (DIALD, diald), (LOGS[2], log):
        appliance.write(path, text) if text is not None else appliance.at(path).unlink(missing_ok=True)
    result = appliance.get("next_file=nat_status.htm")
    values = re.findall("<td>(.*?)</td>", result.body, re.DOTALL)
    assert values == [*expected, "192.0.2.53<BR>198.51.100.53"]
    assert result.commands == [PIDOF, ADDRESS][:1 + (expected[0] == UP)] and not result.changed


@pytest.mark.parametrize("logs, text", [
    (("one\n", "nought\n", "pppd\n"), "one\nnought\npppd\n"), ((None, None, "p" * 9000), "p" * 7999),
    (("1" * 3000, "0" * 4000, "p" * 1000), "1" * 3000 + "0" * 4000 + "p" * 999),
    (("1" * 9000, "0", "p"), "1" * 7999), (("on\0e", None, None), "on"),
])
def test_log(appliance, logs, text):
    for path, log in zip(LOGS, logs):
        appliance.write(path, log) if log is not None else appliance.at(path).unlink(missing_ok=True)
    body = appliance.get("next_file=sp_status.htm").body
    assert body.split('<pre class="wide">')[1].split("</pre>")[0] == text


START, DIAL, HANGUP = (f"/etc/ppp/dial {each} > /dev/null" for each in ("start", "up", "down"))


@pytest.mark.parametrize("form, enabled, diald, ran", [
    ({"todo": "nat_dial"}, "no", "", []),
    ({"todo": "nat_dial"}, "yes", "123\n", ["pidof diald > pid", DIAL]),
    ({"todo": "nat_dial"}, "yes", "", ["pidof diald > pid", START, DIAL]),
    ({"todo": "nat_dial"}, "yes", "no start", ["pidof diald > pid", START]),
    ({"todo": "nat_hangup"}, "no", "", [HANGUP]),
    ({"todo": "nat_hangup", "next_file": "sp_status.htm", "x": "a\nb"}, "no", "", []),  # refused: a control character
    ({"todo": "nat_clearlog"}, "yes", "", []), ({"todo": "nat_refreshlog"}, "yes", "", []),
    ({"todo": "change_tabs"}, "yes", "", []), ({"todo": "save"}, "yes", "", []),
])
def test_buttons(account, form, enabled, diald, ran):
    account.write(RECORD, account.read(RECORD).replace("Method=0", "Method=3"))
    account.write(WAN, account.read(WAN).replace("nat_enable=no", f"nat_enable={enabled}"))
    account.answer("pidof diald", diald.replace("no start", ""))
    account.answer("dial start", status=int(diald == "no start"))
    account.stub_scripts()
    for path in LOGS:
        account.write(path, "log\n")
    result = account.post({"this_file": "sp_status.htm", **form})
    assert [each for each in result.commands if each != PIDOF] == ran
    cleared = form["todo"] == "nat_clearlog"
    assert [account.exists(path) and account.read(path) for path in LOGS] == (
        [False, False, ""] if cleared else ["log\n"] * 3)
    assert "<title>Status: modem connection</title>" in result.body and (message_of(result.body) == "") == ("x" not in form)
