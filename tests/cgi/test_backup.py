"""All settings in one archive: taken, looked at, restored as one change, and undone."""

import io
import os
import re
import signal
import subprocess
import tarfile

import pytest

from appliance import (
    FACTORY, IFCFG, INSTALLED, IP_UP, LINK_UP, NETWORK, PAP, PPPOE, PROJECT, RECORD,
    SANITIZED, SETTINGS, SQUID, USER, WAN, told)
from test_changes import ADMIN, act, save, settings, three_saves, undo
from test_uploads import END, TYPE, field, upload

PAGE = "backup.htm"
WAITING = "/run/quillstead-admin/restore"
WHOLE = "quillstead-backup"
LIST = "/usr/local/squid/etc/access.list"


def post(appliance, todo, **fields):
    return act(appliance, PAGE, todo, **fields)


def take(appliance):
    return post(appliance, "backup").stdout.partition(b"\n\n")[2]


def send(appliance, archive):
    form = field("this_file", PAGE) + field("todo", "restore") + upload("archive", "b.tar", "|")
    head, foot = (form + END).encode().split(b"|")
    return appliance.post(head + archive + foot, {"CONTENT_TYPE": TYPE, **ADMIN})


def apply(appliance, looked, **fields):
    return post(appliance, "apply", digest=looked.shown["backup_digest"], **fields)


def restore(appliance, archive):
    return apply(appliance, send(appliance, archive))


def states(result):
    cells = re.findall("<td nowrap>(.*)</td>", result.shown["backup_list"])
    return dict(zip(cells[1::3], cells[::3]))


def pack(*members, tar_format=tarfile.USTAR_FORMAT):
    """An archive of members: a name, its content, and what is peculiar about the entry."""
    octets = b""
    for name, content, *peculiar in members:
        entry = tarfile.TarInfo(name)
        entry.size = len(content)
        for key, value in dict(*peculiar).items():
            setattr(entry, key, value)
        octets += entry.tobuf(tar_format) + content + b"\0" * (-len(content) % 512)
    return octets + b"\0" * 1024


def owned_rows():
    """The table of owned files: path, what it holds, whether the factory makes it."""
    names = dict(re.findall(r'(\w+)\[\] = "(.*)";', (PROJECT / "src/base/paths.h").read_text()))
    table = (PROJECT / "src/appliance/owned_files.h").read_text()
    rows = re.findall(r"^    \{(\w+), Holds::(\w+)(, Comes::later)?", table, re.M)
    return {names[name]: (holds, not later) for name, holds, later in rows}


@pytest.fixture
def used(kept):
    three_saves(kept)
    return kept


def test_a_backup_tells_of_every_file(used):
    form, browser = f"this_file={PAGE}&todo=backup", {"HTTP_USER_AGENT": "Mozilla/5"}
    for result in used.post(form, {"HTTP_ORIGIN": "http://evil"}), used.get(form, browser):
        assert result.headers["Status"] == "403 Forbidden" and result.did_nothing
    result = used.post(form)
    content = result.stdout.partition(b"\n\n")[2]
    name = r'attachment; filename="quillstead-[\w-]+-\d{4}-\d\d-\d\d\.tar"'
    assert re.fullmatch(name, result.headers.pop("Content-Disposition"))
    assert result.did_nothing and result.headers == {
        "Content-type": "application/x-tar", "Cache-Control": "no-store",
        "Content-Length": str(len(content))}
    with tarfile.open(fileobj=io.BytesIO(content), format=tarfile.USTAR_FORMAT) as tar:
        first, *members = tar.getmembers()
    assert first.name == WHOLE
    for each in members:
        status = used.at(each.name).stat()
        assert (each.mode, each.uid, each.gid, each.mtime) == (
            status.st_mode & 0o7777, status.st_uid, status.st_gid, int(status.st_mtime))


@pytest.mark.parametrize("program", ["tar", "bsdtar", "busybox tar"])
def test_what_other_programs_have_unpacked_and_packed_is_restored(used, tmp_path, program):
    before = settings(used)
    again = (f"mkdir taken && cd taken && {program} -xpf - && "
             f"find . -type f -exec {program} -cf - {{}} +")
    packed = subprocess.run(["sh", "-c", again], input=take(used), cwd=tmp_path,
                            stdout=subprocess.PIPE, check=True).stdout
    used.write(IP_UP, "x\n", 0o600)
    used.write(PAP, None)
    changed = settings(used)
    looked = send(used, packed)
    assert states(looked).items() >= {
        IP_UP: "is replaced", PAP: "is made", "/etc/ppp/tel": "the same"}.items()
    assert settings(used) == changed and looked.shown["backup_no_archive"] == ""
    assert used.mode(WAITING) == 0o600 and used.mode("/run/quillstead-admin") == 0o700
    done = apply(used, looked)
    assert (done.page, done.message, settings(used)) == (PAGE, told(94), before)
    assert not used.exists(WAITING) and not list(used.at("/tmp").glob("upload*"))
    assert f"{PAP}\n(new)\nchanged\n" in used.view("history.htm").shown["history_files"]


TEL = "etc/ppp/tel", b"555\n"
PLAIN = pack(TEL)
BELONGS = "no file of the settings"
IFCFGS = "etc/sysconfig/network-scripts/ifcfg-{}".format


@pytest.mark.parametrize("archive, name, what", [
    *((pack((name, b"")), shown, BELONGS) for name, shown in {
        "/etc/ppp/user": "/etc/ppp/user", IFCFGS("a/b"): IFCFGS("a/b"),
        "etc/<b>\x1b\n".ljust(90, "x"): "etc/<b>??".ljust(48, "x")}.items()),
    *((pack((name, b"")), "", "a hidden name")
      for name in ("etc/ppp/tel\0/../user", "etc/\0x/" + "x" * 99)),
    (pack((TEL[0], b"", {"type": b"1"})), TEL[0], "a link"),
    (pack((TEL[0], b"", {"type": b"7"})), TEL[0], "no plain file"),
    (pack((TEL[0], b"", {"size": 10 << 30}), tar_format=tarfile.GNU_FORMAT), TEL[0],
     "a number that is none"),
    (pack(TEL, TEL), TEL[0], "there twice"),
    (pack((WHOLE, b""), (WHOLE, b"")), WHOLE, BELONGS),
    (PLAIN[:100] + b"1" + PLAIN[101:], "", "a wrong checksum"),
    (pack(*((IFCFGS(n), b"") for n in range(129))), IFCFGS(128), "one file too many"),
    (pack((TEL[0], b"x" * 15_999_488), (IFCFGS(1), b"x")), IFCFGS(1), "too large"),
    (PLAIN + b"x", "", "goes on behind its end"), (PLAIN[:1536], "", "cut short"),
    (PLAIN[:700], TEL[0], "cut short"), (pack((WHOLE, b"")), "", "empty"),
    (b"PK\3\4" + b"x" * 2000, "", "no such archive"),
])
def test_a_hostile_archive_is_refused_by_the_name_of_its_entry(saved, archive, name, what):
    result = send(saved, archive)
    wanted = told(92, what, name) if name else told(91, what)
    assert (result.page, result.message) == (PAGE, wanted)
    assert result.did_nothing and result.shown["backup_no_archive"] == "hidden"
    assert not saved.exists(WAITING)


def test_another_appliance_keeps_its_hardware_address(saved):
    archive = pack((IFCFG[1:], b"DEVICE=eth0\nMACADDR=AA\nHWADDR=AA\nONBOOT=no\n"),
                   (SETTINGS[1:], b"a=1\nwan_hw_addr=A\nb=2\n"))
    for present, wanted in [
            ("MACADDR=BB\n", "DEVICE=eth0\nMACADDR=BB\nONBOOT=no\n"),
            ("HWADDR=B\n\nMACADDR=BB", "DEVICE=eth0\nMACADDR=BB\nHWADDR=B\nONBOOT=no\n"),
            (None, "DEVICE=eth0\nONBOOT=no\n")]:
        saved.write(IFCFG, present)
        saved.write(SETTINGS, "wan_hw_addr=B")
        assert restore(saved, archive).message == told(94)
        assert saved.read(IFCFG) == wanted
        assert saved.read(SETTINGS) == "a=1\nwan_hw_addr=B\nb=2\n"
        assert states(send(saved, archive))[IFCFG] == "the same"
    assert restore(saved, pack((SETTINGS[1:], b"a=1"))).message == told(94)
    assert saved.read(SETTINGS) == "a=1\nwan_hw_addr=B\n"


def test_factory_settings_are_restored_and_undone(used):
    for name in "eth1", "ppp0":
        used.write("/" + IFCFGS(name), f"DEVICE={name}\n")
    before = settings(used)
    assert used.view(PAGE).shown["backup_no_factory"] == ""
    looked = post(used, "factory")
    assert states(looked)[RECORD] == "is removed"
    assert apply(used, looked).message == told(94)
    with tarfile.open(used.at(FACTORY)) as tar:
        for each in tar:
            assert each.name == WHOLE or (
                used.at(each.name).read_bytes() == tar.extractfile(each).read())
    assert before.keys() - settings(used).keys() == {
        RECORD, "/" + IFCFGS("ppp0"), "/etc/rc.d/rc.ipvs"}
    assert (used.mode(WAN), used.mode(IP_UP)) == (0o600, 0o755)
    assert undo(used, 4).message == told(79) and settings(used) == before
    used.write(FACTORY, None)
    assert used.view(PAGE).shown["backup_no_factory"] == "hidden"
    assert post(used, "factory").message == told(13, FACTORY)


def test_the_table_limits_modes_and_a_part_of_the_files_replaces_no_others(saved):
    before, paths = settings(saved), (PAP, PPPOE, IP_UP)
    for mode, gets in (0o7777, (0o600, 0o644, 0o755)), (0o150, (0o600, 0o640, 0o750)):
        entries = ((f"./{path[1:]}", b"new\n", {"mode": mode, "uid": 7}) for path in paths)
        assert restore(saved, pack(*entries)).message == told(94)
        assert [(saved.read(path), saved.mode(path), saved.at(path).stat().st_uid)
                for path in paths] == [("new\n", each, os.getuid()) for each in gets]
    assert before.keys() <= settings(saved).keys()


def test_only_what_was_looked_at_is_restored_and_once(used):
    archive = take(used)
    used.write(USER, "someone")
    looked = send(used, archive)
    assert post(used, "apply").message == post(used, "apply", digest="1").message == told(93)
    send(used, PLAIN)
    assert apply(used, looked).message == told(93) and used.read(USER) == "someone"
    assert send(used, b"x").message == told(91, "cut short")
    assert used.at(WAITING).read_bytes() == PLAIN
    looked = send(used, archive)
    save(used, "nat_conn.htm", enable_telnet="unchecked")
    stale = apply(used, looked, seen="3")
    assert stale.headers["Status"] == "409 Conflict" and states(stale) and used.read(USER) != "ann"
    assert apply(used, stale).message == told(94)
    assert apply(used, stale).message == told(93)
    looked = send(used, archive)
    os.utime(used.at(WAITING), (1, used.at(WAITING).stat().st_mtime - 601))
    assert apply(used, looked).message == told(93) and not used.exists(WAITING)
    assert post(used, "restore").message == post(used, "restore", archive=WAN).message == told(90)


@pytest.mark.parametrize("method, diald, wanted", [
    (0, True, ["/sbin/ifconfig sl0 down", *NETWORK, *NETWORK, "/sbin/ipvsadm -C"]),
    (1, False, [*NETWORK, SQUID[1], *NETWORK, "/sbin/ifup eth0", LINK_UP % "eth0"])])
def test_what_runs_is_brought_in_line(saved, proxy, method, diald, wanted):
    saved.change(WAN, nat_enable="yes" if method else "no")
    saved.change(RECORD, Method=method)
    archive = take(saved)
    saved.change(WAN, nat_enable="yes")
    saved.change(RECORD, Method=3 if method == 0 else 1)
    saved.answer("pidof diald", f"{proxy.pid}\n" if diald else "")
    ran = iter(restore(saved, archive).commands)
    assert [each for each in wanted if each not in ran] == []
    assert saved.keys(RECORD)["Method"] == str(method)
    assert proxy.wait(5) == -(signal.SIGTERM if diald else signal.SIGHUP)


def test_a_full_disk_restores_nothing(used):
    before = settings(used)
    looked = send(used, pack((USER[1:], b"x"), ("etc/diald.conf", b"x" * 90000)))
    used.disk = 80000
    assert apply(used, looked).message == told(64, "/etc/diald.conf")
    assert settings(used) == before
    used.disk = None
    assert apply(used, looked).message == told(94)


def test_a_file_that_cannot_be_read_ends_the_backup_before_it_begins(used):
    used.block(USER)
    result = post(used, "backup")
    assert result.headers["Status"].startswith("500 ") and told(13, USER) in result.body
    used.at(USER).rmdir()
    used.write(LIST, "x" * 16_000_000)
    assert told(95) in post(used, "backup").body


@pytest.mark.skipif(SANITIZED, reason="the program starts outside of its root")
def test_a_slow_receiver_of_a_backup_keeps_nobody_waiting(used):
    used.write(LIST, "x.example\n" * 100_000)
    form = f"this_file={PAGE}&todo=backup".encode()
    with subprocess.Popen(
            ["/" + INSTALLED], stdout=subprocess.PIPE, stdin=subprocess.PIPE, preexec_fn=used.enter,
            env={"REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(form))}) as slow:
        slow.stdin.write(form)
        slow.stdin.close()
        slow.stdout.read(1000)
        used.post("this_file=sites_allow.htm&todo=del_all")
        assert used.read(LIST) == "" and slow.stdout.read().count(b"x.example\n") == 100_000
