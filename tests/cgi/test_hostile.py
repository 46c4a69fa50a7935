"""Attacks that must not work: what strangers have sent, and values that programs misread."""

import os
import time

import pytest

from appliance import told
from test_requests import FATAL
from test_uploads import END, TYPE, field, upload


@pytest.mark.parametrize("form, message", [
    ("todo=upload&load_file=nat_conn.htm", 22), ("todo=upload&load_file=/www/cgi_err", 22),
    ("this_file=sites_ban.htm&todo=import_file&upload_file=/tmp/../www/nat_conn.htm", 29),
])
def test_no_page_is_taken_for_an_upload(saved, form, message):
    result = saved.post(form)
    assert (result.message, result.did_nothing) == (told(message), True)


@pytest.mark.parametrize("size, start, end, content_type", [
    (2 << 20, "next_file=nat_vs.htm&typed=", "", "application/x-www-form-urlencoded"),
    (16 << 20, field("next_file", "nat_vs.htm") + field("typed", "")[:-2], "\r\n" + END, TYPE),
])
def test_the_longest_forms(appliance, size, start, end, content_type):
    for more, page in (0, "nat_vs.htm"), (1, None):
        body = start.ljust(size - len(end) + more, "x") + end
        assert appliance.post(body, env={"CONTENT_TYPE": content_type}).page == page


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
    result = appliance.post(upload("typed", "m", "x") + END, env={"CONTENT_TYPE": TYPE})
    assert (result.removed, result.changed) == ({"/tmp/upload.aaaaaa"}, {})


# ---- values that another program would misread ----

PHONES = "Telephone number", "Second number", "Third number"


@pytest.mark.parametrize("key, value, message", [
    ("nat_ac_pwd", "@/etc/shadow", told(62, "Password", "@")),
    ("ppp_ac_pwd", "@/etc/shadow", told(62, "Password", "@")),
    ("service_name", "x -D /etc/passwd", told(62, "Service name", " ")),
    *((key, value, told(69)) for key in ("nat_idle_time", "ppp_idle_time")
      for value in ("-1", "10000", "9" * 30)),
    *((f"nat_tel0{1 + n % 3}", f"5{bad}reboot", told(62, PHONES[n % 3], bad))
      for n, bad in enumerate(";$&|<>()'\"\\`")),
])
def test_refused(saved, key, value, message):
    result = saved.save("sp_int.htm" if key.startswith("nat") else "wan_ppp.htm", **{key: value})
    assert (result.message, result.did_nothing) == (message, True)


def test_stored(saved):
    saved.save("sp_int.htm", nat_tel01="*#0W,+49 -./:=!@", nat_ac_pwd="x")
    assert "\nPhone1=*#0W,+49 -./:=!@\n" in saved.read("/etc/ppp/tel")
    # without a word for the name pppd takes the next one
    assert '\nname ""\n' in saved.read("/etc/ppp/options.ttyS0")


# ---- signals ----

PID = "/usr/local/squid/logs/squid.pid"


def of_another_program(appliance, pid):
    appliance.write(f"/proc/{pid}/cmdline", "/bin/sleep\0squid\0")


def by_a_link(appliance, pid):
    appliance.at(PID).rename(appliance.at("/tmp/pid"))
    appliance.at(PID).symlink_to("/tmp/pid")


def give_away(*paths):
    if os.getuid() != 0:
        pytest.skip("needs root")
    for path in paths:
        os.chown(path, 13, 13)


def by_a_stranger(appliance, pid):
    give_away(appliance.at(PID))


def by_its_user(appliance, pid):
    give_away(appliance.at(PID), appliance.at(f"/proc/{pid}"))


def of_a_renamed_one(appliance, pid):
    appliance.write(f"/proc/{pid}/cmdline", "(squid-1)\0")
    appliance.write(f"/proc/{pid}/exe", None)
    appliance.at(f"/proc/{pid}/exe").symlink_to("/usr/sbin/squid")


@pytest.mark.parametrize("named, is_told", [
    (of_another_program, False), (by_a_link, False), (of_a_renamed_one, True),
    (by_a_stranger, False), (by_its_user, True),
])
def test_only_the_proxy_gets_its_signals(saved, proxy, named, is_told):
    """Whatever its pid file names."""
    named(saved, proxy.pid)
    result = saved.post({"this_file": "sites_ban.htm", "todo": "add_url", "new_url": "x.com"})
    assert result.message == told(None if is_told else 46)
    if is_told:
        assert proxy.wait(10) == -1
    else:
        assert proxy.poll() is None
