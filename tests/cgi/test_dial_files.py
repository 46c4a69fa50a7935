"""The files of diald, pppd and chat, as saving the modem and the ISP account writes them."""

import pytest

from appliance import CHAP, PAP, RECORD, told

DIALD = "/etc/diald.conf"
DIALER, TEL, OPTIONS = (f"/etc/ppp/{name}" for name in ("pppondialer", "tel", "options.ttyS0"))
FILTER, DEFAULT_FILTER = "/usr/lib/diald/standard.filter", "/usr/lib/diald/default.filter"
LOCAL = "pppd-options local {}:\n".format


def save(appliance, message=""):
    """Both pages of the group are saved."""
    result = appliance.save("sp_int.htm", nat_ac_pwd="pw", nat_serspeed_list="57600")
    assert result.message == message
    return result


def diald(local, dynamic, pppd):
    return ("fifo /etc/diald/diald.ctl\nmode ppp\nconnect /etc/ppp/pppon\ndevice /dev/ttyS0\n"
            f"speed 57600\nmodem\nlock\ncrtscts\nlocal {local}\nremote 10.0.0.2\n{dynamic}"
            f"defaultroute\nredial-timeout 1\nretry-count 0\ndied-retry-count 0\n{pppd}"
            "first-packet-timeout 120\ninclude /usr/lib/diald/standard.filter\n")


def chat(init, dial):
    return (f"ABORT\t'BUSY'\nABORT\t'NO ANSWER'\nABORT\t'RINGING'\nINIT\t'{init}\\r'\n"
            f"{dial}CONNECT\nSAY \"\\n\"")


@pytest.mark.parametrize("path, record, text", [
    (DIALD, {"DynamicIP": 1, "IP": "1.2.3.4"}, diald("10.0.0.1", "dynamic\n", "")),
    (DIALD, {"DynamicIP": 0, "IP": "1.2.3.4"}, diald("1.2.3.4", "", LOCAL("1.2.3.4"))),
    (DIALD, {"DynamicIP": 0, "IP": "300.1.1.1"}, diald("10.0.0.1", "", LOCAL("300.1.1.1"))),
    *((DIALD, {"DynamicIP": 0, "IP": unusable}, diald("10.0.0.1", "", LOCAL("10.0.0.1")))
      for unusable in ("0.0.0.0", "", "1.2.3.4 x")),
    (DIALER, {"DialType": 0, "InitStr": "AT&F"}, chat("AT&F", "OK\t'ATDT\\T'\n")),
    (DIALER, {"DialType": 1, "InitStr": 'AT "x"'}, chat('AT "x"', "OK\t'ATDP\\T'\n")),
    (DIALER, {"DialType": 2, "InitStr": ""}, chat("", "OK\t'ATD'\n")),
    (DIALER, {"DialType": 3, "InitStr": "AT"}, chat("AT", "")),
    (TEL, {"Phone2": "555"}, "Total=1\nNext=1\nPhone1=555\nPhone2=\nPhone3=\n"),
    (TEL, {"Phone1": "1", "Phone3": "3 w"}, "Total=2\nNext=1\nPhone1=1\nPhone2=3 w\nPhone3=\n"),
    (OPTIONS, {"User": "joe@isp"}, "idle 120\nname joe@isp\nremotename ppp0\nnoipdefault\n"),
    (OPTIONS, dict(User='joe#1 "x"', Idle=0, DynamicIP=0),
     'idle 0\nname "joe#1 \\"x\\""\nremotename ppp0\n'),
])
def test_files_of_the_record(saved, path, record, text):
    saved.change(RECORD, **record)
    saved.write(path, "", 0o640)
    save(saved)
    assert (saved.read(path), saved.mode(path)) == (text, 0o640)


@pytest.mark.parametrize("path, init, temporary, action", [
    (DIALER, "AT'", "Dialer2", "SaPPPOn"), (DIALER, "AT", "Dialer", "SaPPPOn"),
    (TEL, "AT", "tel", "SaTel"),
    (CHAP, "AT", "chap", "SaSecret"), (OPTIONS, "AT", "ttyS0", "SaOption"),
])
def test_files_that_cannot_be_written(saved, path, init, temporary, action):
    saved.change(RECORD, InitStr=init, Phone1=5, Idle=7)
    saved.block(f"/etc/ppp/{temporary}.tmp")
    assert path not in save(saved, told(12, action)).changed


NEW, SET = "#Serial\njoe\tppp0\tpw\n", "joe\t\tppp0\tpw\n"
LONG = "long\t*\t" + "s" * 121 + "#Serial\n"
REST = "r" * 200 + "keepup a 1\n"


@pytest.mark.parametrize("before, after", [
    (None, "#client\tserver\tsecret\tIP address\n" + NEW), ("", NEW),
    ("a\tb\tc", "a\tb\tc\n" + NEW), (LONG, LONG + NEW),
    ("#Serial\nold\n#PPPoE\nx\n", f"#Serial\n{SET}#PPPoE\nx\n"),
    ("#SerialPort\nold\n#Serial\nold", f"#SerialPort\n{SET}#Serial\n{SET}"),
    (" #Serial\n#serial\n#Serial", " #Serial\n#serial\n#Serial\n" + SET),
])
def test_secrets(saved, before, after):
    saved.change(RECORD, User="joe")
    for path in PAP, CHAP:
        saved.write(path, before, 0o640)
    assert not save(saved).commands
    assert [(saved.read(path), saved.mode(path)) for path in (PAP, CHAP)] == [(after, 0o600)] * 2


@pytest.mark.parametrize("before, after", [
    ("#accept a 1\naccept  tcp\t15 x 5\nkeepup udp 60\nignore any 1",
     "#accept a 1\naccept  tcp\t120 x 5\nkeepup udp 120\nignore any 1"),
    ("accept\naccept tcp\nkeepup tcp \naccept a 5", "accept a 120"),
    (f"accept tcp 15 {REST}", f"accept tcp 120 {REST}"),
    (None, "keepup a 120\n"),
])
def test_time_outs_of_the_filter(saved, before, after):
    """One that is missing is made from the default one."""
    saved.write(FILTER, before)
    saved.write(DEFAULT_FILTER, "keepup a 7\n")
    save(saved)
    assert saved.read(FILTER) == after
