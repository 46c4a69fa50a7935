"""The content filter's settings, its switch in the services script, and the filter log."""

import os
import re
import subprocess

import pytest

from appliance import MESSAGES, PROJECT, message_of
from test_services import IS_DIRECT, IS_MODEM, IS_PPPOE, SERVICES, WAN, replaced

CONF, LOG, PROXY = "/usr/local/squid/etc/filter.conf", "/usr/local/squid/logs/access.log", "/usr/local/squid/etc/squid.conf"
PID = "/usr/local/squid/logs/squid.pid"
FACTORY = (PROJECT / f"lab/factory{CONF}").read_text()
PAGE, OVERVIEW = "<title>Content filter</title>", "<title>Internet sharing: overview</title>"


def save(appliance, fields, page="nat_filter.htm"):
    return appliance.post({"this_file": page, "todo": "save", "next_file": "nat_base.htm", **fields})


def settings(**changes):
    """The factory's file with other values."""
    return re.sub(r"^(\w+) .*$", lambda line: f"{line[1]} {changes.get(line[1], line[0][len(line[1]) + 1:])}", FACTORY, flags=re.M)


@pytest.fixture
def made(appliance):
    """An appliance with a record of its own."""
    appliance.get("next_file=nat_base.htm")
    return appliance


ON = dict.fromkeys(("remove_java", "remove_ax", "enable_filter_log"), "checked")


@pytest.mark.parametrize("fields, changes", [
    ({**ON, "filter_daystart": "Saturday", "filter_starttime": " 07x", "start_min": "59", "sitelist_type": "banned"},
     {"filter_from": "Saturday 7 59", "block_applet": "on", "block_activex": "on", "custom_filter_state": "on"}),
    ({"filter_dayfinish": "friday", "filter_finishtime": "23", "finish_min": "+5", "enable_filter_log": "on", "sitelist_type": ""},
     {"filter_to": "Sunday 23 5", "enable_log": "off", "custom_filter_state": "on"}),
    ({"remove_js": "checked", "remove_cookies": "checked", "filter_finishtime": "x", "sitelist_type": "allowed"},
     {"filter_to": "Friday 0 0", "block_script": "on", "block_cookies": "on", "custom_filter_state": "on", "custom_content_state": "1"}),
    # nothing differs, nothing is there, another button
    ({"filter_when": "off", "filter_starttime": "08", "start_min": "", "remove_js": "on", "sitelist_type": "off"}, {}),
    ({}, {}), ({"todo": "clear", **ON}, {}),
])
def test_fields(made, fields, changes):
    result = save(made, fields)
    assert result.changed == ({CONF: settings(**changes)} if changes else {})
    assert message_of(result.body) == (MESSAGES["46"] if changes else "")
    assert result.commands == [] and OVERVIEW in result.body


def test_what_the_file_lacks_is_added(made):
    """Every line of a key is rewritten, all others stay; a list that is switched off keeps its kind."""
    made.write(CONF, "# ours\nblock_applet maybe\n\ncustom_content_state 1\nfoo  bar\nblock_applet\ton\ncustom_filter_state on")
    result = save(made, {"sitelist_type": "off"})
    assert result.changed == {CONF: (
        "# ours\nblock_applet on\n\ncustom_content_state 1\nfoo  bar\nblock_applet on\ncustom_filter_state off\nfilter_state 0\n"
        "filter_from Sunday 0 0\nfilter_to Sunday 0 0\nblock_script off\nblock_activex off\nblock_cookies off\nenable_log off\n")}


@pytest.mark.parametrize("before, fields, code", [
    ({"filter_state": "3"}, {"start_min": "10"}, 1), ({}, {"filter_starttime": "24", "finish_min": "60"}, 4),
    ({}, {"start_min": "60"}, 5), ({}, {"filter_finishtime": "-1"}, 6), ({}, {"finish_min": "4294967356x"}, 7),
    ({"custom_content_state": "-1"}, {"start_min": "10"}, 14), ({"custom_content_state": "3"}, {"sitelist_type": "on"}, 14),
])
def test_values_out_of_range(made, before, fields, code):
    made.write(CONF, settings(**before))
    result = save(made, fields, "nat_vs.htm")
    assert (result.changed, result.commands) == ({}, []) and PAGE in result.body
    assert message_of(result.body) == f"Check value in set_filter_info return error:{code}"
    for field, value in fields.items():
        assert f'name="{field}" value="{value}"' in result.body or f'<option selected value="{value}">' in result.body


@pytest.mark.parametrize("blocked, message", [
    (CONF, MESSAGES["41"]), (CONF + ".tmp", "Set value in set_filter_info return error:-37"),
])
def test_settings_out_of_reach(made, blocked, message):
    made.at(blocked).unlink(missing_ok=True)
    made.at(blocked).mkdir()
    result = save(made, {"remove_java": "checked", "sitelist_type": "banned"}, "nat_conn.htm")
    assert message_of(result.body) == message and PAGE in result.body and CONF not in result.changed


LONG = "c" * 300 + "\n"


@pytest.mark.parametrize("when, state, before, after", [
    ("always", 0, "# All webs\n#a\n##b\nx\n#d\n", "# All webs\n a\n #b\nx\n#d\n"),
    ("between", 2, "#a\n\n# All web\n" + LONG + "\n# All web\n#def", "#a\n\n# All web\n " + LONG[1:] + "\n# All web\n#def"),
    ("never", 1, "# All web\n abc\nab\n#ab", "# All web\n#abc\n#b\n#ab"), ("x", 1, "# All we\n a\n", "# All we\n a\n"),
    ("always", 0, None, None),
])
def test_the_redirect(made, when, state, before, after):
    """Switched when the schedule changes, even for one that is refused, and never in the way of a save."""
    made.stub_scripts()
    made.answer("ifconfig eth0", "inet addr:192.0.2.7\n")
    made.write(WAN, replaced(made, WAN, nat_enable="yes"))
    made.write(CONF, settings(filter_state="0" if state else "1"))
    made.remove(SERVICES)
    runs = [IS_MODEM, IS_PPPOE, IS_DIRECT, "/etc/ppp/ip-up eth0 > /dev/null"] * (before is not None)
    for refused, times in ({"start_min": "77"}, 1), ({}, 2), ({}, 0):
        if before is not None:
            made.write(SERVICES, before, 0o744)
        result = save(made, {"filter_when": when, **refused})
        assert result.commands == times * runs and (CONF in result.changed) == (times == 2)
        if before is not None:
            assert (made.read(SERVICES), made.mode(SERVICES)) == ((after, 0o777) if times else (before, 0o744))
    assert f"filter_state {state}\n" in made.read(CONF)


@pytest.mark.parametrize("state, when, dmz, warned", [
    (1, "always", "checked", True), (0, "between", "checked", True), (0, "never", "checked", False),
    (2, "between", "checked", False), (1, "always", "unchecked", False), (1, "always", None, False),
])
def test_the_filter_beside_a_dmz_host(made, state, when, dmz, warned):
    """The proxy is told to read its settings again, once."""
    made.write("/etc/ppp/nat_ppp.con", replaced(made, "/etc/ppp/nat_ppp.con", DMZ=1), 0o600)
    made.write(CONF, settings(filter_state=str(state)))
    with subprocess.Popen(["sleep", "5"]) as proxy:
        made.write(PID, f"{proxy.pid}\n")
        result = save(made, {"filter_when": when, "remove_js": "checked", **({"enable_dmz": dmz} if dmz else {})})
    assert proxy.returncode == -1, "not ended by a hang-up"
    assert message_of(result.body) == (MESSAGES["55"] if warned else "")


def test_the_overview_changes_the_filter(made):
    """As shown it changes nothing; what is changed on it goes into the filter's settings."""
    body = made.get("next_file=nat_base.htm").body
    form = {name: value for name, value in re.findall(r'<input (?:class=\S+ )?(?:type=\S+ )?name="(\w+)" value="([^"]*)"', body)
            if f'name="{name}" value="checked"' not in body or f'name="{name}" value="checked" checked' in body}
    form.update(re.findall(r'<select name="(\w+)">\n<option selected>(.*)</option>', body))
    assert CONF not in save(made, form, "nat_conn.htm").changed
    form.update(filter_finishtime="22", filter_dayfinish="Monday", remove_ax="checked", filter_when="between")
    result = save(made, form, "nat_conn.htm")
    assert result.changed[CONF] == settings(filter_state="2", filter_to="Monday 22 0", block_activex="on")
    assert "\n ipchains -A input -j REDIRECT" in result.changed[SERVICES]


def rows(*records):
    return "".join("<tr>\n" + "".join(f"<td nowrap>{cell}</td>\n" for cell in record) + "</tr>\n" for record in records)


def view(appliance):
    body = appliance.get("next_file=filterlog.htm").body
    return body.split("<tbody>\n")[1].split("\n</tbody>")[0], message_of(body)


@pytest.mark.parametrize("log, shown", [
    ("# a b c\n\n", rows()), ("a\tb  c d\n\n#x\n e f\r\n\r\ng", rows("abc", ("e", "f", ""), ("", "", ""), ("g", "", ""))),
    ("1" * 40 + " " + "2" * 40 + " " + "3" * 100, rows(("1" * 31, "2" * 31, "3" * 79))),
    ("x" * 8191 + "y z\n", rows(("x" * 31, "", ""), ("y", "z", ""))),
])
def test_the_log_as_rows(appliance, log, shown):
    appliance.write(LOG, log)
    assert view(appliance) == (shown, "")


def test_a_log_is_read_no_further_than_it_is_shown(appliance):
    """Its oldest lines, until the next row does not fit; whoever reads on waits for ever."""
    lines = [f"{number} " + "h" * 31 + " " + "a" * 79 for number in range(400)]
    fits = next(n for n in range(400) if len(rows(*map(str.split, lines[:n + 1]))) > 36864)
    appliance.remove(LOG)
    os.mkfifo(appliance.at(LOG))
    log = os.open(appliance.at(LOG), os.O_RDWR)
    os.write(log, "\n".join(lines).encode())
    assert view(appliance) == (rows(*map(str.split, lines[:fits])), "")
    os.close(log)


def test_a_log_elsewhere(appliance):
    """The proxy's settings name it. One that is missing cannot be shown, and need not be cleared."""
    path = "/tmp/my log"
    appliance.write(PROXY, "#cache_access_log /x\ncache_access_log\t/tmp/my log \n")
    assert view(appliance) == ("", MESSAGES["37"])
    for clear, log, after in ("Clear Log", None, None), ("clear log", "a\n", "a\n"), ("Clear Log", "a\n", ""):
        if log:
            appliance.write(path, log)
        result = appliance.post({"this_file": "filterlog.htm", "todo": "clear_log", "clear": clear})
        assert result.changed.get(path) == (after if after != log else None)
        assert message_of(result.body) == (MESSAGES["37"] if log is None else "")
    appliance.remove(path)
    appliance.at(path).mkdir()
    assert message_of(appliance.post("this_file=filterlog.htm&todo=x&clear=Clear+Log").body) == MESSAGES["31"]
