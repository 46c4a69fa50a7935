"""The ISP account of the modem, and the serial overview and status pages."""

import pytest

from appliance import IS_MODEM, IS_PPP, RECORD, WAN, octets

DIALD = "/etc/diald.conf"
LOGS = ["/var/log/ppp1.log", "/var/log/ppp0.log", "/var/log/pppd.log"]


def test_a_message_may_name_the_record(saved):
    saved.write("/www/cgi_err", "16-No %s.\n")
    assert saved.save("sp_int.htm", nat_ac_name="").message == f"No {RECORD}."


@pytest.mark.parametrize("kind, address, choice, shown", [
    (2, "192.168.1", "perm", "192.168.1."), (3, "123.123.123.1234", "", "123.123.123.123"),
])
def test_overview_of_an_odd_record(saved, kind, address, choice, shown):
    saved.change(RECORD, DialType=kind, DynamicIP=7, IP=address, User="joe\r", Idle="",
                 BaudRate="x", Phone1="1" * 70)
    assert saved.view("sp_base.htm").shown.items() >= dict(
        nat_dial_type_radio=choice, nat_isp_ip_radio="dynamic", nat_ac_name="joe\r",
        nat_idle_time="0", nat_serspeed_list="0", nat_tel01="1" * 59,
        **octets("nat_isp_ip0", shown)).items()


RATE = "ATDT555\nCONNECT 50666\nCONNECT 9600\n"
ADDRESS = "/sbin/ifconfig ppp0"
UP, OFF = "Established", "Off Line"


@pytest.mark.parametrize("pid, interface, diald, log, expected", [
    ("0\n", "", "mode ppp\nspeeds 1\nspeed 9600\nspeed 1\n", RATE, [OFF, OFF, " ", "9600\n", " "]),
    ("123 45\n", "inet addr:8.8.8.8 x\n", None, "no CONNECT 9600\n", [UP, OFF, " ", "115200", " "]),
    ("9\n", "Link\n   inet addr:203.0.113.9  P-t-P:x\n", None, RATE,
     [UP, UP, "203.0.113.9\n", "115200", "50666\n"]),
])
def test_status(appliance, pid, interface, diald, log, expected):
    appliance.answer("pidof pppd", pid)
    appliance.answer("ifconfig ppp0", interface)
    appliance.write(DIALD, diald)
    appliance.write(LOGS[2], log)
    result = appliance.view("nat_status.htm")
    keys = "nat_phy_link nat_ppp_link nat_ppp_ip nat_serial_speed nat_phone_speed wan_dns".split()
    assert [result.shown[key] for key in keys] == [*expected, "192.0.2.53<BR>198.51.100.53"]
    assert result.commands == [IS_PPP, ADDRESS][:1 + (expected[0] == UP)] and not result.changed


@pytest.mark.parametrize("logs, text, pppoe", [
    ((None, None, "on\0e"), "on", "on"),
    (("1" * 3000, "0" * 4000, "p" * 9000), "1" * 3000 + "0" * 4000 + "p" * 999, "p" * 7999),
])
def test_log(appliance, logs, text, pppoe):
    """The PPPoE page shows the one of pppd alone."""
    for path, log in zip(LOGS, logs):
        appliance.write(path, log)
    assert appliance.view("sp_status.htm").shown["nat_log_text"] == text
    assert appliance.view("ppp_status.htm").shown["ppp_wan_log"] == pppoe


START, DIAL, HANGUP = (f"/etc/ppp/dial {each}" for each in ("start", "up", "down"))


@pytest.mark.parametrize("todo, enabled, pid, status, ran", [
    ("nat_dial", "no", "", 0, []), ("nat_dial", "yes", "123\n", 0, [IS_MODEM, DIAL]),
    ("nat_dial", "yes", "", 0, [IS_MODEM, START, DIAL]),
    ("nat_dial", "yes", "", 1, [IS_MODEM, START]), ("nat_hangup", "no", "", 0, [HANGUP]),
    ("nat_clearlog", "yes", "", 0, []), ("save", "yes", "", 0, []),
])
def test_buttons(saved, todo, enabled, pid, status, ran):
    saved.change(RECORD, Method=3)
    saved.change(WAN, nat_enable=enabled)
    saved.answer("pidof diald", pid)
    saved.answer("dial start", status=status)
    for path in LOGS:
        saved.write(path, "log\n")
    result = saved.post({"this_file": "sp_status.htm", "todo": todo})
    assert [each for each in result.commands if each != IS_PPP] == ran
    left = [False, False, ""] if todo == "nat_clearlog" else ["log\n"] * 3
    assert [saved.exists(path) and saved.read(path) for path in LOGS] == left
    assert (result.page, result.message) == ("sp_status.htm", "")
