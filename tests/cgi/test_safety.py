"""What must hold when the disk is full, a link is planted, or a daemon is started."""

import os
import resource
import signal

import appliance
import pytest

from test_services import RECORD, SETTINGS, WAN, fields_of, save, saved  # noqa: F401 (a fixture)


@pytest.mark.parametrize("limit", [0, 100, 900])
def test_a_full_disk_leaves_every_file_whole(saved, monkeypatch, limit):
    """No file may grow beyond the limit: each is as it was, or as it was wanted."""
    enter = appliance.enter

    def enter_limited(root):
        enter(root)
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))

    before = saved.snapshot()
    fields = {"internet_access": "checked", "access_method": "WAN Port - PPPoE", "enable_ac": "checked"}
    with monkeypatch.context() as patch:
        patch.setattr(appliance, "enter", enter_limited)
        result = save(saved, **fields)
    limited = result.changed
    for path in limited:  # no new file may be left behind
        saved.write(path, before[path])
    wanted = save(saved, **fields).changed
    for path, content in limited.items():
        assert content == wanted[path], path
    assert (RECORD in limited) == (limit == 900)
    told = appliance.MESSAGES["64"].replace("%s", "/etc/ppp/nat_ppp.tmp") in result.body
    assert told == (limit != 900)


@pytest.mark.parametrize("path", ["/tmp/setstr.tmp", "/tmp/pid", "/tmp/t", "/tmp/ppp.tmp", "/tmp/dyna", "/www/pid",
                                  "/etc/ppp/nat_ppp.tmp"])
def test_a_planted_link_is_not_followed(saved, path):
    saved.write("/etc/victim", "precious\n")
    saved.at(path).symlink_to("/etc/victim")
    save(saved, internet_access="checked", access_method="WAN Port - Direct Connection")
    assert saved.read("/etc/victim") == "precious\n"
    assert fields_of(saved)["Method"] == "1"
    assert not saved.at(path).is_symlink()


def test_owner_and_mode_of_a_rewritten_file_stay(saved):
    saved.at(SETTINGS).chmod(0o640)
    if os.getuid() == 0:
        os.chown(saved.at(SETTINGS), 12, 34)
    save(saved, enable_ac="checked")
    status = saved.at(SETTINGS).stat()
    assert status.st_mode & 0o7777 == 0o640
    if os.getuid() == 0:
        assert (status.st_uid, status.st_gid) == (12, 34)


def test_passwords_are_never_readable(saved):
    saved.at(RECORD).chmod(0o644)
    save(saved, enable_ftp="unchecked")
    assert saved.mode(RECORD) == 0o600


def test_daemons_do_not_inherit_the_lock(saved):
    """What the save starts sees no descriptor but the standard ones."""
    saved.remove("/usr/sbin/adsl-start")
    saved.write("/usr/sbin/adsl-start", '#!/bin/bash\nexec 2> /dev/null\nfor fd in {3..9}; do\n'
                '    true >&$fd && echo $fd >> /etc/inherited\ndone\n', 0o755)
    result = save(saved, internet_access="checked", access_method="WAN Port - PPPoE")
    assert "/usr/sbin/adsl-start > /dev/null" in result.commands
    assert not saved.exists("/etc/inherited")


def test_words_of_commands_come_clean_from_the_settings(saved):
    """A damaged interface name counts as missing."""
    saved.write(WAN, "nat_enable=yes\nnat_interface=e;reboot\nconnect_method=1\n")
    saved.write(SETTINGS, "lan_interface=$(x)\ndns_server1=192.0.2.1\ndynamic=;\n")
    saved.answer("ifconfig eth0", "inet addr:192.0.2.7 \n")
    result = save(saved, internet_access="unchecked")
    assert "/sbin/ifdown eth0 &> /dev/null" in result.commands
    assert "/etc/ppp/ip-down eth1 > /dev/null" in result.commands
