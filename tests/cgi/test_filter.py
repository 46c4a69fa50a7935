"""The content filter's settings, its switch in the services script, and the filter log."""

import signal

import pytest

from appliance import FILTER as CONF
from appliance import HAS_ADDRESS, IS_MODEM, IS_PPPOE, LINK_UP, WAN, told

PAGE, SERVICES = "nat_filter.htm", "/etc/rc.d/rc.service"
LOG = "/usr/local/squid/logs/access.log"


def test_what_is_stored(saved, proxy):
    """Every line of a key is rewritten, missing ones are added, others stay as they are."""
    kept = "\n\ncustom_content_state 1\nfoo  bar\nblock_applet"
    saved.write(CONF, f"#a\nblock_applet no{kept}\ton\ncustom_filter_state on\nenable_log on")
    result = saved.save(
        PAGE, sitelist_type="off", filter_dayfinish="friday", filter_starttime=" 07x",
        filter_finishtime="x", finish_min="+5", enable_filter_log="on")
    assert result.changed == {CONF: (
        f"#a\nblock_applet on{kept} on\ncustom_filter_state off\nenable_log off\nfilter_state 0\n"
        "filter_from Sunday 7 0\nfilter_to Sunday 0 5\n"
        "block_script off\nblock_activex off\nblock_cookies off\n")}
    assert (result.message, result.commands, proxy.wait(10)) == ("", [], -signal.SIGHUP)
    # A word that no list has switches on the list of the kind that there is.
    assert saved.save(PAGE, sitelist_type="").message == told(46)
    assert f"{kept} on\ncustom_filter_state on\n" in saved.read(CONF)


@pytest.mark.parametrize("blocked, message", [
    (CONF, told(41)), (CONF + ".tmp", "Set value in set_filter_info return error:-37"),
])
def test_settings_out_of_reach(saved, blocked, message):
    saved.block(blocked)
    result = saved.save("nat_conn.htm", remove_java="checked", sitelist_type="banned")
    assert (result.message, result.page) == (message, PAGE)
    assert CONF not in result.changed


LONG = "c" * 300 + "\n"
MARK = "# All web\n"


@pytest.mark.parametrize("when, state, before, after", [
    ("between", 2, f"#a\n\n# All webs\n#a\n##b\n{LONG}x\n#d\n{MARK}#def",
     f"#a\n\n# All webs\n a\n #b\n {LONG[1:]}x\n#d\n{MARK}#def"),
    ("never", 1, f"{MARK} abc\nab\n\n d", f"{MARK}#abc\n#b\n\n d"),
    ("always", 0, None, None),
])
def test_the_redirect(saved, when, state, before, after):
    """Switched when the schedule changes, even if refused, and never in the way of a save."""
    saved.answer("ifconfig eth0", "inet addr:192.0.2.7\n")
    saved.change(WAN, nat_enable="yes")
    saved.write(CONF, f"filter_state {0 if state else 1}\n")
    runs = [IS_MODEM, IS_PPPOE, HAS_ADDRESS % "eth0", LINK_UP % "eth0"] * (before is not None)
    for refused, times in ({"start_min": "77"}, 1), ({}, 2), ({}, 0):
        saved.write(SERVICES, before, 0o744)
        result = saved.save(PAGE, filter_when=when, **refused)
        assert (result.commands, CONF in result.changed) == (times * runs, times == 2)
        if before is not None:
            script = saved.read(SERVICES), saved.mode(SERVICES)
            assert script == ((after, 0o777) if times else (before, 0o744))
    assert f"filter_state {state}\n" in saved.read(CONF)


def rows(*records):
    row = "<tr>\n" + "<td nowrap>{}</td>\n" * 3 + "</tr>\n"
    return "".join(row.format(*record) for record in records)


def test_the_log_as_rows(appliance):
    """Three words of a line, as much of each as has room; a longer line than can be read is two.
    The oldest lines, until the next does not fit."""
    words = " ".join(("1" * 40, "2" * 40, "3" * 100))
    log = [("7", "h" * 31, "a" * 79)] * 400
    shown = rows("abc", ("e", "f", ""), ("", "", ""), ("1" * 31, "2" * 31, "3" * 79),
                 ("x" * 31, "", ""), ("y", "z", ""), *log)
    appliance.write(LOG, "a\tb  c d\n\n#x\n e f\r\n\r\n%s\n%sy z\n%s" % (
        words, "x" * 8191, "\n".join(map(" ".join, log))))
    end = shown.rindex("</tr>\n", 0, 36864 + 1) + len("</tr>\n")
    assert appliance.view("filterlog.htm").shown["log_record"] == shown[:end]


def test_a_log_elsewhere(appliance):
    """The proxy's settings name it. One that is missing cannot be shown and need not be cleared."""
    path = "/tmp/my log"
    appliance.write("/usr/local/squid/etc/squid.conf",
                    f"#cache_access_log /x\ncache_access_log\t{path} \n")
    for button, log, after, number in (
            ("Clear", None, None, 37), ("clear", "a\n", None, None), ("Clear", "a\n", "", None)):
        appliance.write(path, log)
        assert appliance.view("filterlog.htm").message == told(number)
        result = appliance.post(f"this_file=filterlog.htm&todo=clear_log&clear={button}+Log")
        assert (result.changed.get(path), result.message) == (after, told(number))
    appliance.block(path)
    assert appliance.post("this_file=filterlog.htm&todo=x&clear=Clear+Log").message == told(31)
