"""What must hold when the disk is full, a link is planted, or a daemon is started."""

import os

import pytest

from appliance import RECORD, SETTINGS, WAN, told

ON = {"internet_access": "checked", "access_method": "WAN Port - PPPoE"}


def save(appliance, **fields):
    return appliance.save("nat_conn.htm", **fields)


@pytest.mark.parametrize("limit", [0, 900])
def test_a_full_disk_leaves_every_file_whole(saved, limit):
    """Each file is as it was, or as it was wanted."""
    before = saved.snapshot()
    saved.disk = limit
    result = save(saved, **ON, enable_ac="checked")
    saved.disk = None
    for path in result.changed:  # no new file may be left behind
        saved.write(path, before[path])
    wanted = save(saved, **ON, enable_ac="checked").changed
    for path, content in result.changed.items():
        assert content == wanted[path], path
    assert not result.changed.keys() & {RECORD, WAN}
    assert result.message == told(64, "/etc/rc.d/rc.ac_ctrl")


@pytest.mark.parametrize("path, viewed, posted, message", [
    (RECORD, "nat_vs sp_base sp_int sp_port", "nat_vs sp_int sp_port", told(13, RECORD)),
    ("/etc/ppp/nat_ppp.tmp", "", "nat_vs", told(14, "/etc/ppp/nat_ppp.tmp")), ("/tmp/ifcfg", "nat_vs", "", told(43)),
])
def test_a_file_out_of_reach_is_named(saved, path, viewed, posted, message):
    """And nothing is stored or made from it."""
    saved.change(RECORD, Method=2)
    saved.change(WAN, nat_enable="yes")
    saved.block(path)
    results = {page: saved.view(f"{page}.htm") for page in viewed.split()}
    for page in posted.split():
        results[page] = saved.post({"this_file": f"{page}.htm", "todo": "save", "vs_web_enable": "checked"})
        assert not results[page].changed and not any("rc.ipvs" in command for command in results[page].commands)
    assert {page: result.message for page, result in results.items()} == dict.fromkeys(results, message)


@pytest.mark.parametrize("path", ["/tmp/setstr.tmp", "/tmp/pid", "/tmp/t", "/tmp/ppp.tmp", "/tmp/dyna", "/www/pid",
                                  "/etc/ppp/nat_ppp.tmp"])
def test_a_planted_link_is_not_followed(saved, path):
    saved.write("/etc/victim", "precious\n")
    saved.at(path).symlink_to("/etc/victim")
    save(saved, internet_access="checked", access_method="WAN Port - Direct Connection")
    assert saved.read("/etc/victim") == "precious\n"
    assert saved.keys(RECORD)["Method"] == "1"
    assert not saved.at(path).is_symlink()


def test_owner_and_mode_of_a_rewritten_file_stay(saved):
    """But a file that holds passwords becomes nobody else's to read."""
    saved.at(SETTINGS).chmod(0o640)
    saved.at(RECORD).chmod(0o644)
    if os.getuid() == 0:
        os.chown(saved.at(SETTINGS), 12, 34)
    save(saved, enable_ac="checked")
    assert (saved.mode(SETTINGS), saved.mode(RECORD)) == (0o640, 0o600)
    if os.getuid() == 0:
        status = saved.at(SETTINGS).stat()
        assert (status.st_uid, status.st_gid) == (12, 34)


def test_daemons_do_not_inherit_the_lock(saved):
    """What the save starts sees no descriptor but the standard ones."""
    saved.write("/usr/sbin/adsl-start", None)
    saved.write("/usr/sbin/adsl-start", '#!/bin/bash\nexec 2> /dev/null\nfor fd in {3..9}; do\n'
                '    true >&$fd && echo $fd >> /etc/inherited\ndone\n', 0o755)
    assert "/usr/sbin/adsl-start > /dev/null" in save(saved, **ON).commands
    assert not saved.exists("/etc/inherited")


def test_words_of_commands_come_clean_from_the_settings(saved):
    """A damaged interface name counts as missing."""
    saved.write(WAN, "nat_enable=yes\nnat_interface=e;reboot\nconnect_method=1\n")
    saved.write(SETTINGS, "lan_interface=$(x)\ndns_server1=192.0.2.1\ndynamic=;\n")
    saved.answer("ifconfig eth0", "inet addr:192.0.2.7 \n")
    result = save(saved, internet_access="unchecked")
    assert "/sbin/ifdown eth0 &> /dev/null" in result.commands
    assert "/etc/ppp/ip-down eth1 > /dev/null" in result.commands
