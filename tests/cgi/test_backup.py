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
from test_changes import ADMIN, save, settings, three_saves, undo
from test_uploads import END, TYPE, field, upload

PAGE = "backup.htm"
WAITING = "/run/quillstead-admin/restore"
WHOLE = "quillstead-backup"
LIST = "/usr/local/squid/etc/access.list"


def post(appliance, todo, **fields):
    return appliance.post({"this_file": PAGE, "next_file": PAGE, "todo": todo, **fields}, ADMIN)


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


def fnv(octets):
    digest = 14695981039346656037
    for octet in octets:
        digest = (digest ^ octet) * 1099511628211 % 2**64
    return f"{digest:016x}"[::-1]


@pytest.fixture
def used(kept):
    three_saves(kept)
    return kept


def test_a_backup_tells_of_every_file(used):
    result = post(used, "backup")
    name = r'attachment; filename="quillstead-[\w-]+-\d{4}-\d\d-\d\d\.tar"'
    assert re.fullmatch(name, result.headers.pop("Content-Disposition"))
    content = result.stdout.partition(b"\n\n")[2]
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
    archive, before = take(used), settings(used)
    (tmp_path / "taken").mkdir()
    again = f"{program} -xpf - && find . -type f -exec {program} -cf - {{}} +"
    packed = subprocess.run(["sh", "-c", again], input=archive, cwd=tmp_path / "taken",
                            stdout=subprocess.PIPE, check=True).stdout
    for path in WAN, RECORD, IP_UP:
        used.write(path, "x\n", 0o600)
    used.write(PAP, None)
    changed = settings(used)
    looked = send(used, packed)
    assert states(looked).items() >= {
        WAN: "is replaced", PAP: "is made", "/etc/ppp/tel": "the same"}.items()
    assert settings(used) == changed and looked.shown["backup_no_archive"] == ""
    assert used.mode(WAITING) == 0o600 and used.mode("/run/quillstead-admin") == 0o700
    done = apply(used, looked)
    assert (done.page, done.message, settings(used)) == (PAGE, told(94), before)
    assert not used.exists(WAITING) and not list(used.at("/tmp").glob("upload*"))
    history = used.view("history.htm").shown["history_files"]
    assert f"{PAP}\n(new)\nchanged\n" in history and "pw4711" not in history


TEL, USERS = ("etc/ppp/tel", b"555\n"), ("etc/ppp/user", b"x")
PLAIN = pack(TEL)
BELONGS = "no file of the settings"
IFCFGS = "etc/sysconfig/network-scripts/ifcfg-{}".format


def odd(**peculiar):
    return pack((TEL[0], b"", peculiar), tar_format=tarfile.GNU_FORMAT)


def patched(at, octets):
    """The archive of one file with other octets in its header, and the right sum."""
    header = bytearray(PLAIN[:512])
    header[at:at + len(octets)] = octets
    header[148:156] = b" " * 8
    header[148:156] = b"%06o\0 " % sum(header)
    return bytes(header) + PLAIN[512:]


@pytest.mark.parametrize("archive, name, what", [
    *((pack((name, b"")), shown, BELONGS) for name, shown in {
        "/etc/ppp/user": "/etc/ppp/user", "etc/ppp/../passwd": "etc/ppp/../passwd",
        "etc/<b>\x1b\n": "etc/<b>??", IFCFGS("a/b"): IFCFGS("a/b"), "x" * 99: "x" * 48}.items()),
    *((odd(type=kind), TEL[0], what) for kind, what in {
        b"1": "a link", b"S": "a sparse file", b"7": "no plain file"}.items()),
    (pack(("\u00e9", b""), tar_format=tarfile.PAX_FORMAT), "././@PaxHeader", "a pax header"),
    (pack(TEL, TEL), TEL[0], "there twice"),
    (pack((WHOLE, b""), (WHOLE, b"")), WHOLE, BELONGS),
    (odd(size=10 << 30), TEL[0], "a number that is none"),
    (patched(124, b"77777777777\0"), TEL[0], "too large"),
    (patched(124, b"00000001001\0"), "", "cut short"),
    (patched(11, b"\0/../user"), "", "a hidden name"),
    (patched(345, b"etc/\0x"), "", "a hidden name"),
    (PLAIN[:100] + b"1" + PLAIN[101:], "", "a wrong checksum"),
    (pack(*((IFCFGS(n), b"") for n in range(129))), IFCFGS(128), "one file too many"),
    (pack((TEL[0], b"x" * 15_999_488), USERS), USERS[0], "too large"),
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


def test_another_appliance_keeps_its_hardware_address(used):
    save(used, "wan_dc.htm", wan_ip_type="fixed", nat_isp_ip01="10", device_name="mine")
    used.change(SETTINGS, wan_hw_addr="AAAAAAAAAAAA")
    used.write(IFCFG, "DEVICE=eth0\nMACADDR=AA:AA:AA:AA:AA:AA\nHWADDR=AA\nONBOOT=no\n")
    archive = take(used)
    text = used.change(SETTINGS, wan_hw_addr="BBBBBBBBBBBB", wan_name="other")
    for present, wanted in [
            ("MACADDR=BB\n", "DEVICE=eth0\nMACADDR=BB\nONBOOT=no\n"),
            ("HWADDR=B\n\nMACADDR=BB", "DEVICE=eth0\nMACADDR=BB\nHWADDR=B\nONBOOT=no\n"),
            (None, "DEVICE=eth0\nONBOOT=no\n")]:
        used.write(IFCFG, present)
        assert restore(used, archive).message == told(94)
        assert used.read(IFCFG) == wanted
        assert used.read(SETTINGS) == text.replace("wan_name=other", "wan_name=mine")
        assert states(send(used, archive))[IFCFG] == "the same"
    bare = "".join(line for line in text.splitlines(True) if "wan_hw_addr" not in line)
    assert restore(used, pack((SETTINGS[1:], bare.encode()))).message == told(94)
    assert used.read(SETTINGS) == bare + "wan_hw_addr=BBBBBBBBBBBB\n"


def test_factory_settings_are_restored_and_undone(used):
    for name in "eth1", "ppp0":
        used.write("/" + IFCFGS(name), f"DEVICE={name}\n")
    before = settings(used)
    assert used.view(PAGE).shown["backup_no_factory"] == ""
    looked = post(used, "factory")
    assert states(looked)[RECORD] == "is removed"
    assert apply(used, looked).message == told(94)
    with tarfile.open(used.at(FACTORY)) as tar:
        files = {f"/{each.name}": tar.extractfile(each).read() for each in tar}
    assert files.pop(f"/{WHOLE}")
    for path, content in files.items():
        assert used.at(path).read_bytes() == content
    assert before.keys() - settings(used).keys() == {
        RECORD, "/" + IFCFGS("ppp0"), "/etc/rc.d/rc.ipvs"}
    assert (used.mode(WAN), used.mode(IP_UP)) == (0o600, 0o755)
    assert undo(used, 4).message == told(79) and settings(used) == before
    used.write(FACTORY, None)
    assert used.view(PAGE).shown["backup_no_factory"] == "hidden"
    assert post(used, "factory").message == told(13, FACTORY)


def test_the_table_limits_modes_and_a_part_of_the_files_replaces_no_others(saved):
    before = settings(saved)
    for path, mode, gets in [(PAP, 0o6777, 0o600), (PPPOE, 0o7777, 0o644), (PPPOE, 0o640, 0o640),
                             (IP_UP, 0o4777, 0o755), (IP_UP, 0, 0o700)]:
        result = restore(saved, pack((f"./{path[1:]}", b"new\n", {"mode": mode, "uid": 7})))
        assert (result.message, saved.read(path), saved.mode(path)) == (told(94), "new\n", gets)
        assert saved.at(path).stat().st_uid == os.getuid()
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
    archive = take(used)
    used.change(SETTINGS, wan_name="changed")
    used.write("/etc/diald.conf", "small")
    diald = pack(("etc/diald.conf", b"x" * 90000))
    looked = send(used, archive.partition(b"etc/diald.conf")[0] + diald)
    assert states(looked)[SETTINGS] == "is replaced"
    before = settings(used)
    used.disk = 80000
    result = apply(used, looked)
    assert result.message == told(64, "/etc/diald.conf") and settings(used) == before
    used.disk = None
    assert apply(used, looked).message == told(94)


def test_a_file_that_cannot_be_read_ends_the_backup_before_it_begins(used):
    used.block(USER)
    result = post(used, "backup")
    assert result.headers["Status"].startswith("500 ") and told(13, USER) in result.body
    used.at(USER).rmdir()
    used.write(LIST, "x" * 16_000_000)
    assert told(95) in post(used, "backup").body


def test_nobody_elses_page_gets_the_settings(used):
    form, browser = f"this_file={PAGE}&todo=backup", {"HTTP_USER_AGENT": "Mozilla/5"}
    for result in (used.post(form, {"HTTP_ORIGIN": "http://evil"}),
                   used.get(form, browser)):
        assert result.headers["Status"] == "403 Forbidden" and result.did_nothing


@pytest.mark.skipif(SANITIZED, reason="the program starts outside of its root")
def test_a_slow_receiver_of_a_backup_keeps_nobody_waiting(used):
    used.write(LIST, "x.example\n" * 100_000)
    with subprocess.Popen(
            ["/" + INSTALLED], stdout=subprocess.PIPE, stdin=subprocess.PIPE, preexec_fn=used.enter,
            env={"REQUEST_METHOD": "POST", "CONTENT_LENGTH": "32"}) as slow:
        slow.stdin.write(f"this_file={PAGE}&todo=backup".encode().ljust(32, b"&"))
        slow.stdin.close()
        begin = slow.stdout.read(1000)
        used.post({"this_file": "sites_allow.htm", "todo": "del_all"})
        assert used.read(LIST) == ""
        content = begin + slow.stdout.read()
    assert content.count(b"x.example\n") == 100_000 and content.endswith(bytes(1024))
