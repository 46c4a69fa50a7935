"""Attacks that must not work: what strangers have sent, and values that programs misread."""

import os
import signal
import time

import pytest

from appliance import told
from test_requests import FATAL
from test_uploads import END, TYPE, field, upload


@pytest.mark.parametrize("form, message", [
    ("todo=upload&load_file=nat_conn.htm", 22),
    ("this_file=sites_ban.htm&todo=import_file&upload_file=/tmp/../www/nat_conn.htm", 29),
])
def test_no_page_is_taken_for_an_upload(saved, form, message):
    result = saved.post(form)
    assert (result.message, result.did_nothing) == (told(message), True)


@pytest.mark.parametrize("size, start, end, env", [
    (2 << 20, "next_file=nat_vs.htm&typed=", "", {}),
    (16 << 20, field("next_file", "nat_vs.htm") + field("typed", "")[:-2], "\r\n" + END,
     {"CONTENT_TYPE": TYPE}),
])
def test_the_longest_forms(appliance, size, start, end, env):
    for more, page in (0, "nat_vs.htm"), (1, None):
        body = start.ljust(size - len(end) + more, "x") + end
        assert appliance.post(body, env).page == page


def test_the_fields_of_a_form_are_numbered(appliance):
    form = "next_file=nat_vs.htm" + "&a" * 19_999
    assert appliance.post(form).page == "nat_vs.htm"
    assert appliance.post(form + "&a").body == FATAL.format("Error!", "Error adding to list!")


def test_what_a_killed_upload_left_goes_with_the_next_one(appliance):
    hours = {"upload.aaaaaa": 2, "upload.bbbbbb": 0.5, "upload.cccccccc": 2, "download.aaaa": 2}
    for name, age in hours.items():
        appliance.write(f"/tmp/{name}", "")
        os.utime(appliance.at(f"/tmp/{name}"), (0, time.time() - 3600 * age))
    appliance.at("/tmp/upload.dddddd").symlink_to("/etc/passwd")
    result = appliance.post(upload("typed", "m", "x") + END, {"CONTENT_TYPE": TYPE})
    assert (result.removed, result.changed) == ({"/tmp/upload.aaaaaa"}, {})


# ---- values that another program would misread ----

PHONES = "Telephone number", "Second number", "Third number"


@pytest.mark.parametrize("key, value, message", [
    *((key, "@/etc/shadow", told(62, "Password", "@")) for key in ("nat_ac_pwd", "ppp_ac_pwd")),
    ("service_name", "x -D /etc/passwd", told(62, "Service name", " ")),
    ("nat_idle_time", "-1", told(69)), ("ppp_idle_time", "10000", told(69)),
    ("nat_idle_time", "9" * 30, told(69)),
    *((f"nat_tel0{1 + n % 3}", f"5{bad}reboot", told(62, PHONES[n % 3], bad))
      for n, bad in enumerate(";$&|<>()'\"\\`")),
])
def test_refused(saved, key, value, message):
    result = saved.save("sp_int.htm" if key.startswith("nat") else "wan_ppp.htm", **{key: value})
    assert (result.message, result.did_nothing) == (message, True)


# ---- signals ----

PID = "/usr/local/squid/logs/squid.pid"


@pytest.mark.parametrize("first_argument, executable, of_a_stranger, is_told", [
    ("/bin/sleep", "/bin/sleep", [], False), ("(squid-1)", "/usr/sbin/squid", [], True),
    ("squid", "/bin/sleep", [PID], False), ("squid", "/bin/sleep", [PID, "/proc/{}"], True),
])
def test_only_the_proxy_gets_its_signals(
        saved, proxy, first_argument, executable, of_a_stranger, is_told):
    """Whatever its pid file names. Of another user's file only that user's own process."""
    saved.write(f"/proc/{proxy.pid}/cmdline", f"{first_argument}\0squid\0")
    saved.at(f"/proc/{proxy.pid}/exe").unlink()
    saved.at(f"/proc/{proxy.pid}/exe").symlink_to(executable)
    for path in of_a_stranger:
        if os.getuid() != 0:
            pytest.skip("gives files away")
        os.chown(saved.at(path.format(proxy.pid)), 13, 13)
    result = saved.post("this_file=sites_ban.htm&todo=add_url&new_url=x.com")
    assert result.message == told(None if is_told else 46)
    assert (proxy.wait(10) if is_told else proxy.poll()) == (-signal.SIGHUP if is_told else None)
