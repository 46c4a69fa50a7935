"""Attacks that must not work."""

import os
import shutil

import pytest

from appliance import told

# ---- values that another program would misread ----

ISP, PPP = "sp_int.htm", "wan_ppp.htm"
PHONES = "Telephone number", "Second number", "Third number"


@pytest.mark.parametrize("page, field, value, message", [
    (ISP, "nat_ac_pwd", "@/etc/shadow", told(62, "Password", "@")),
    (PPP, "ppp_ac_pwd", "@/etc/shadow", told(62, "Password", "@")),
    (PPP, "service_name", "x -D /etc/passwd", told(62, "Service name", " ")),
    *((page, field, value, told(69)) for page, field in ((ISP, "nat_idle_time"), (PPP, "ppp_idle_time"))
      for value in ("71582789", "-1", "10000", "4294967296", "9" * 30)),
    *((ISP, f"nat_tel0{1 + n % 3}", f"5{bad}reboot", told(62, PHONES[n % 3], bad))
      for n, bad in enumerate(";$&|<>()'\"\\`")),
])
def test_refused(saved, page, field, value, message):
    result = saved.save(page, **{field: value})
    assert (result.message, result.did_nothing) == (message, True)


@pytest.mark.parametrize("field, value, path, line", [
    ("nat_tel01", "*#0W,+49 -./:=!@", "/etc/ppp/tel", "Phone1=*#0W,+49 -./:=!@"),
    ("nat_ac_pwd", "x", "/etc/ppp/options.ttyS0", 'name ""'),  # or pppd takes the next word
])
def test_stored(saved, field, value, path, line):
    saved.save(ISP, **{field: value})
    assert line in saved.read(path).splitlines()


# ---- signals ----

PID = "/usr/local/squid/logs/squid.pid"


def of_another_program(appliance, pid):
    appliance.write(f"/proc/{pid}/cmdline", "/bin/sleep\0squid\0")


def without_proc(appliance, pid):
    shutil.rmtree(appliance.at("/proc"))


def by_a_link(appliance, pid):
    appliance.at(PID).rename(appliance.at("/tmp/pid"))
    appliance.at(PID).symlink_to("/tmp/pid")


def by_a_fifo(appliance, pid):
    appliance.write(PID, None)
    os.mkfifo(appliance.at(PID))


def by_a_stranger(appliance, pid):
    os.chown(appliance.at(PID), 13, 13)


def by_its_user(appliance, pid):
    for path in PID, f"/proc/{pid}":
        os.chown(appliance.at(path), 13, 13)


def of_a_renamed_one(appliance, pid):
    appliance.write(f"/proc/{pid}/cmdline", "(squid-1)\0")
    appliance.write(f"/proc/{pid}/exe", None)
    appliance.at(f"/proc/{pid}/exe").symlink_to("/usr/sbin/squid")


NEEDS_ROOT = pytest.mark.skipif(os.getuid() != 0, reason="gives files away")


@pytest.mark.parametrize("named, is_told", [
    (of_another_program, False), (without_proc, False), (by_a_link, False), (by_a_fifo, False),
    (of_a_renamed_one, True), pytest.param(by_a_stranger, False, marks=NEEDS_ROOT),
    pytest.param(by_its_user, True, marks=NEEDS_ROOT),
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
