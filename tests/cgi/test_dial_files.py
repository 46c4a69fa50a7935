"""The files of diald, pppd and chat, as saving the modem and the ISP account writes them."""

import pytest

from appliance import CHAP, PAP, RECORD, SETTINGS, USER, octets, told

DIALD = "/etc/diald.conf"
DIALER, TEL, OPTIONS = (f"/etc/ppp/{name}" for name in ("pppondialer", "tel", "options.ttyS0"))
FILTER, DEFAULT_FILTER = "/usr/lib/diald/standard.filter", "/usr/lib/diald/default.filter"
LOCAL = "pppd-options local {}:\n".format
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


@pytest.mark.parametrize("form, record, texts", [
    (dict(nat_ac_name='joe#1 "x"', nat_ac_pwd="$ecret", nat_tel01="1", nat_tel02="",
          nat_tel03="3 w", nat_idle_time="0", nat_isp_ip_radio="fixed",
          **octets("nat_isp_ip0", "1.2.3.4"), **octets("dns2_ip_", "8.7.6.5"),
          nat_serspeed_list="9600", nat_modem_list="Elmsworth ED56", nat_init_string='AT "x"',
          nat_dial_type_radio="pulse"),
     dict(User='joe#1 "x"', Password="$ecret", Phone1="1", Phone3="3 w", Idle="0", DynamicIP="0",
          IP="1.2.3.4", BaudRate="9600", Modem="Elmsworth ED56", InitStr='AT "x"', DialType="1"),
     {DIALD: diald("1.2.3.4", "", LOCAL("1.2.3.4"), 9600, 0),
      DIALER: chat('AT "x"', "OK\t'ATDP\\T'\n"),
      TEL: "Total=2\nNext=1\nPhone1=1\nPhone2=3 w\nPhone3=\n",
      OPTIONS: 'idle 0\nname "joe#1 \\"x\\""\nremotename ppp0\n'}),
    (dict(ACCOUNT, **octets("nat_isp_ip0", "1.2.3.4"), nat_isp_ip_radio="dynamic",
          nat_dial_type_radio="tone"),
     dict(User="joe@isp", Password="pw", Phone1="555", Idle="3", IP="1.2.3.4", BaudRate="57600"),
     {DIALD: diald("10.0.0.1", "dynamic\n", "", seconds=180),
      DIALER: chat("AT&F", "OK\t'ATDT\\T'\n"),
      TEL: "Total=1\nNext=1\nPhone1=555\nPhone2=\nPhone3=\n",
      OPTIONS: "idle 180\nname joe@isp\nremotename ppp0\nnoipdefault\n"}),
])
def test_what_is_typed(saved, form, record, texts):
    for path in texts:
        saved.write(path, "", 0o640)
    before = saved.record()
    result = save(saved, **form)
    assert saved.keys(RECORD) == {**before, "DNS": "192.0.2.53", **record}
    assert {path: saved.read(path) for path in texts} == texts
    assert {saved.mode(path) for path in texts} == {0o640}
    assert form.items() - result.shown.items() == {("nat_ac_pwd", form["nat_ac_pwd"])}
    assert result.changed.keys() - {SETTINGS} == {RECORD, FILTER, PAP, CHAP, *texts}
    assert result.commands == []


@pytest.mark.parametrize("record, text, script", [
    (dict(DynamicIP=0, IP="300.1.1.1", DialType=2, InitStr=""),
     diald("10.0.0.1", "", LOCAL("300.1.1.1")), chat("", "OK\t'ATD'\n")),
    *((dict(DynamicIP=0, IP=unusable, DialType=3),
       diald("10.0.0.1", "", LOCAL("10.0.0.1")), chat("AT&F", ""))
      for unusable in ("0.0.0.0", "1.2.3.4 x")),
])
def test_files_of_an_odd_record(saved, record, text, script):
    saved.change(RECORD, **record)
    save(saved)
    assert (saved.read(DIALD), saved.read(DIALER)) == (text, script)


def test_an_account_without_diald(saved):
    """A fatal error in the first action: the others do not run."""
    saved.write(DIALD, None)
    result = saved.save("sp_int.htm", **ACCOUNT)
    assert result.changed.keys() - {USER} == {RECORD}


@pytest.mark.parametrize("path, init, temporary, action", [
    (DIALER, "AT'", "Dialer2", "SaPPPOn"), (TEL, "AT", "tel", "SaTel"),
    (CHAP, "AT", "chap", "SaSecret"), (OPTIONS, "AT", "ttyS0", "SaOption"),
])
def test_files_that_cannot_be_written(saved, path, init, temporary, action):
    saved.change(RECORD, InitStr=init, Phone1=5, Idle=7)
    saved.block(f"/etc/ppp/{temporary}.tmp")
    assert path not in save(saved, told(12, action)).changed


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
