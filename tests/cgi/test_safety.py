"""What must hold when a file is a link, a fifo or somebody else's, or has damaged words."""

import os

import pytest

from appliance import FILTER, PPPOE, RECORD, SETTINGS, WAN, told

SITES = "/usr/local/squid/etc/deny.list"


def test_a_link_to_a_file_elsewhere_stays(saved):
    """Firmware images keep /etc on flash so. Where others may write, a link is not followed."""
    saved.at("/flash").mkdir()
    links = {PPPOE: "../../flash/one", RECORD: "/flash/two", FILTER: "/flash/victim"}
    for path, target in links.items():
        saved.at(path).rename(saved.at("/flash/" + target.split("/")[-1]))
        saved.at(path).symlink_to(target)
    saved.at("/flash/two").unlink()
    saved.at(FILTER).parent.chmod(0o777)
    saved.save("wan_ppp.htm", ppp_ac_name="joe")
    assert not saved.save("nat_filter.htm", filter_java="checked").changed
    assert all(saved.at(path).is_symlink() for path in links)
    assert ("joe" in saved.read("/flash/one"), saved.mode("/flash/two")) == (True, 0o600)


def test_owner_and_mode_of_a_rewritten_file_stay(saved):
    """But a file that holds passwords becomes nobody else's to read."""
    saved.at(SETTINGS).chmod(0o640)
    saved.at(RECORD).chmod(0o644)
    owner = (12, 34) if os.getuid() == 0 else (os.getuid(), os.getgid())
    os.chown(saved.at(SETTINGS), *owner)
    saved.save("nat_conn.htm", enable_ac="checked")
    assert (saved.mode(SETTINGS), saved.mode(RECORD)) == (0o640, 0o600)
    status = saved.at(SETTINGS).stat()
    assert (status.st_uid, status.st_gid) == owner


def test_words_of_commands_come_clean_from_the_settings(saved):
    """A damaged interface name counts as missing."""
    saved.write(WAN, "nat_enable=yes\nnat_interface=e;reboot\nconnect_method=1\n")
    saved.write(SETTINGS, "lan_interface=$(x)\ndns_server1=192.0.2.1\ndynamic=;\n")
    saved.answer("ifconfig eth0", "inet addr:192.0.2.7 \n")
    result = saved.save("nat_conn.htm", internet_access="unchecked")
    assert {"/sbin/ifdown eth0", "/etc/ppp/ip-down eth1"} <= set(result.commands)


@pytest.mark.parametrize("path, page", [("/tmp/dyna", "dc_status.htm"), (SETTINGS, "wan_dc.htm")])
def test_nobody_is_waited_for(saved, path, page):
    """A fifo where a file should be is told like any file that cannot be read, whoever fills it."""
    saved.write(path, None)
    os.mkfifo(saved.at(path))
    filling = os.open(saved.at(path), os.O_RDWR)
    os.write(filling, b"bootproto=dhcp\n")
    assert saved.view(page).message == told(13, path)
    os.close(filling)


def test_a_log_that_is_a_link_is_neither_shown_nor_emptied(saved):
    """Where others may write, anybody may have put it there."""
    log = saved.at("/usr/local/squid/logs/access.log")
    saved.write("/etc/victim", "precious words here\n")
    log.unlink(missing_ok=True)
    log.symlink_to("/etc/victim")
    assert "precious" in saved.view("filterlog.htm").shown["log_record"]
    log.parent.chmod(0o777)
    assert saved.view("filterlog.htm").message == told(37)
    result = saved.post("this_file=filterlog.htm&todo=clear&clear=Clear Log")
    assert (result.message, result.changed) == (told(31), {})


def test_of_a_long_list_what_stays_is_not_written_anew(appliance):
    text = "".join(f"site{number}.example\n" for number in range(10_000))
    appliance.write(SITES, text)
    for form, expected in (("del_selected&banned_list=none.example", text),
                           ("add_url&new_url=new.example", text + "new.example\n"),
                           ("del_selected&banned_list=new.example", text)):
        before = appliance.at(SITES).stat().st_ino
        appliance.post(f"this_file=sites_ban.htm&todo={form}")
        assert appliance.read(SITES) == expected
        assert (appliance.at(SITES).stat().st_ino == before) == ("none" in form)
