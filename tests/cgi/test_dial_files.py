"""The files of diald, pppd and chat, as saving the modem and the ISP account writes them."""

import pytest

from appliance import CHAP, PAP, RECORD, SETTINGS, USER, octets, told

DIALD = "/etc/diald.conf"
DIALER, TEL, OPTIONS = (f"/etc/ppp/{name}" for name in ("pppondialer", "tel", "options.ttyS0"))
FILTER, DEFAULT_FILTER = "/usr/lib/diald/standard.filter", "/usr/lib/diald/default.filter"
LOCAL = "pppd-options local {}:\n".format
PHONE = "*#0W,+49 -./:=!@"
ACCOUNT = dict(nat_ac_name="joe@isp", nat_ac_pwd="pw", nat_tel01="555", nat_idle_time="3")


def save(appliance, message="", **fields):
    """Both pages of the group are saved."""
    form = {"nat_ac_pwd": "pw", "nat_serspeed_list": "57600", **fields}
    result = appliance.save("sp_int.htm", **{**form, "next_file": "sp_base.htm"})
    assert result.message == message
    return result


def diald(local, dynamic, pppd, speed=57600, seconds=120):
    return ("fifo /etc/diald/diald.ctl\nmode ppp\nconnect /etc/ppp/pppon\ndevice /dev/ttyS0\n"
            f"speed {speed}\nmodem\nlock\ncrtscts\nlocal {local}\nremote 10.0.0.2\n{dynamic}"
            f"defaultroute\nredial-timeout 1\nretry-count 0\ndied-retry-count 0\n{pppd}"
            f"first-packet-timeout {seconds}\ninclude /usr/lib/diald/standard.filter\n")


def chat(init, dial):
    return (f"ABORT\t'BUSY'\nABORT\t'NO ANSWER'\nABORT\t'RINGING'\nINIT\t'{init}\\r'\n"
            f"{dial}CONNECT\nSAY \"\\n\"")


def test_what_is_typed(saved):
    texts = {
        DIALD: diald("1.2.3.4", "", LOCAL("1.2.3.4"), 9600, 0),
        DIALER: chat('AT "x"', "OK\t'ATDP\\T'\n"),
        TEL: f"Total=2\nNext=1\nPhone1=1\nPhone2={PHONE}\nPhone3=\n",
        OPTIONS: 'idle 0\nname "joe#1 \\"x\\""\nremotename ppp0\n'}
    for path in texts:
        saved.write(path, "", 0o640)
    before = saved.record()
    form = dict(
        nat_ac_name='joe#1 "x"', nat_ac_pwd="$ecret", nat_tel01="1", nat_tel02="",
        nat_tel03=PHONE, nat_idle_time="0", nat_isp_ip_radio="fixed", nat_serspeed_list="9600",
        nat_modem_list="Elmsworth ED56", nat_init_string='AT "x"', nat_dial_type_radio="pulse",
        **octets("nat_isp_ip0", "1.2.3.4"), **octets("dns2_ip_", "8.7.6.5"))
    result = save(saved, **form)
    assert saved.keys(RECORD) == {
        **before, "DNS": "192.0.2.53", "User": 'joe#1 "x"', "Password": "$ecret", "Phone1": "1",
        "Phone3": PHONE, "Idle": "0", "DynamicIP": "0", "IP": "1.2.3.4", "BaudRate": "9600",
        "Modem": "Elmsworth ED56", "InitStr": 'AT "x"', "DialType": "1"}
    assert {path: saved.read(path) for path in texts} == texts
    assert {saved.mode(path) for path in texts} == {0o640}
    assert form.items() - result.shown.items() == {("nat_ac_pwd", "$ecret")}
    assert result.changed.keys() == {SETTINGS, RECORD, FILTER, PAP, CHAP, *texts}
    assert result.commands == []
    again = save(saved, **form)
    assert (again.changed, again.commands) == ({USER: 'joe#1 "x"'}, [])  # as it was read


def test_files_of_a_dynamic_address(saved):
    """The fixed one is kept for later."""
    save(saved, **ACCOUNT, **octets("nat_isp_ip0", "1.2.3.4"), nat_isp_ip_radio="dynamic",
         nat_dial_type_radio="tone")
    assert saved.record()["IP"] == "1.2.3.4"
    assert saved.read(DIALD) == diald("10.0.0.1", "dynamic\n", "", seconds=180)
    assert saved.read(DIALER) == chat("AT&F", "OK\t'ATDT\\T'\n")
    assert saved.read(OPTIONS) == "idle 180\nname joe@isp\nremotename ppp0\nnoipdefault\n"


@pytest.mark.parametrize("kind, address, local, init, dials", [
    (2, "300.1.1.1", "300.1.1.1", "", "OK\t'ATD'\n"),
    (3, "0.0.0.0", "10.0.0.1", "AT&F", ""), (3, "1.2.3.4 x", "10.0.0.1", "AT&F", ""),
])
def test_files_of_an_odd_record(saved, kind, address, local, init, dials):
    saved.change(RECORD, DynamicIP=0, IP=address, DialType=kind, InitStr=init)
    save(saved)
    assert saved.read(DIALD) == diald("10.0.0.1", "", LOCAL(local))
    assert saved.read(DIALER) == chat(init, dials)
    # Without a word for the name pppd takes the next one.
    assert '\nname ""\n' in saved.read(OPTIONS)


def test_an_account_without_diald(saved):
    """A fatal error in the first action: the others do not run."""
    saved.write(DIALD, None)
    result = saved.save("sp_int.htm", **ACCOUNT)
    assert result.changed.keys() - {USER} == {RECORD}


def test_an_init_string_that_cannot_be_quoted(saved):
    saved.change(RECORD, InitStr="AT'")
    assert DIALER not in save(saved, told(12, "SaPPPOn")).changed


NEW, SET = "#Serial\njoe\tppp0\tpw\n", "joe\t\tppp0\tpw\n"
OTHERS = " #Serial\n#serial\nlong\t*\t" + "s" * 121 + "#Serial\na\tb\tc"


@pytest.mark.parametrize("before, after", [
    (None, "#client\tserver\tsecret\tIP address\n" + NEW), (OTHERS, f"{OTHERS}\n{NEW}"),
    ("#SerialPort\nold\n#PPPoE\nx\n#Serial", f"#SerialPort\n{SET}#PPPoE\nx\n#Serial\n{SET}"),
])
def test_secrets(saved, before, after):
    saved.change(RECORD, User="joe")
    for path in PAP, CHAP:
        saved.write(path, before, 0o640)
    save(saved)
    assert [(saved.read(path), saved.mode(path)) for path in (PAP, CHAP)] == [(after, 0o600)] * 2


RULES = "#accept a 1\naccept  tcp\t{0} x 5\nkeepup udp {0}\naccept tcp {0} " + "r" * 200 + (
    "keepup a 1\n{1}ignore any 1\naccept a {0}")


@pytest.mark.parametrize("before, after", [
    (RULES.format(15, "accept\naccept tcp\nkeepup tcp \n"), RULES.format(120, "")),
    (None, "keepup a 120\n"),
])
def test_time_outs_of_the_filter(saved, before, after):
    """One that is missing is made from the default one."""
    saved.write(FILTER, before)
    saved.write(DEFAULT_FILTER, "keepup a 7\n")
    save(saved)
    assert saved.read(FILTER) == after
