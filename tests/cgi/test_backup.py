"""All settings in one archive: taken, looked at, restored as one change, and undone."""

import io
import os
import re
import subprocess
import tarfile

import pytest

from appliance import CHAP, FACTORY, IFCFG, IP_UP, PAP, RECORD, SETTINGS, USER, WAN, told
from test_changes import ADMIN, CHANGES, kept, save, settings, three_saves, undo  # noqa: F401
from test_uploads import END, TYPE, field, part

PAGE = "backup.htm"
WAITING = "/run/quillstead-admin/restore"
WHOLE = "quillstead-backup"
LIST = "/usr/local/squid/etc/access.list"


def post(appliance, todo, **fields):
    return appliance.post({"this_file": PAGE, "next_file": PAGE, "todo": todo, **fields}, ADMIN)


def take(appliance):
    return post(appliance, "backup").stdout.partition(b"\n\n")[2]


def send(appliance, archive):
    fields = "".join(field(key, value) for key, value in
                     {"this_file": PAGE, "next_file": PAGE, "todo": "restore"}.items())
    head, foot = part(['Content-Disposition: form-data; name="archive"; filename="b.tar"'],
                      "|").split("|")
    return appliance.post((fields + head).encode() + archive + (foot + END).encode(),
                          {"CONTENT_TYPE": TYPE, **ADMIN})


def apply(appliance, looked, **fields):
    return post(appliance, "apply", digest=looked.shown["backup_digest"], **fields)


def restore(appliance, archive):
    return apply(appliance, send(appliance, archive))


def states(result):
    cells = re.findall("<td nowrap>(.*)</td>", result.shown["backup_list"])
    return dict(zip(cells[::3], cells[2::3]))


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


@pytest.fixture
def used(kept):  # noqa: F811
    three_saves(kept)
    return kept


def test_a_backup_tells_of_every_file(used):
    result = post(used, "backup")
    name = rf'attachment; filename="quillstead-[\w-]+-\d{{4}}-\d\d-\d\d\.tar"'
    assert re.fullmatch(name, result.headers["Content-Disposition"])
    content = result.stdout.partition(b"\n\n")[2]
    wanted = {"Content-type": "application/x-tar", "Cache-Control": "no-store",
              "Content-Length": str(len(content))}
    assert result.headers.items() >= wanted.items() and result.did_nothing
    with tarfile.open(fileobj=io.BytesIO(content), format=tarfile.USTAR_FORMAT) as tar:
        first, *members = tar.getmembers()
    assert first.name == WHOLE
    assert {f"/{each.name}" for each in members} >= {RECORD, WAN, SETTINGS, PAP, CHAP, IFCFG, IP_UP}
    for each in members:
        status = used.at(each.name).stat()
        assert (each.mode, each.uid, each.gid, each.mtime, each.size) == (
            status.st_mode & 0o7777, status.st_uid, status.st_gid, int(status.st_mtime),
            status.st_size)


def test_what_was_changed_is_restored_byte_for_byte_and_undone(used):
    used.write("/etc/sysconfig/network-scripts/ifcfg-ppp0", None)
    archive, before = take(used), settings(used)
    save(used, "nat_conn.htm", internet_access="unchecked", enable_dmz="unchecked")
    save(used, "wan_dc.htm", wan_ip_type="fixed", nat_isp_ip01="10", dns1_ip_1="9", dns1_ip_2="9",
         dns1_ip_3="9", dns1_ip_4="9")
    save(used, "wan_ppp.htm", ppp_ac_name="ann", ppp_ac_pwd="other")
    used.post({"this_file": "sites_allow.htm", "todo": "add_url", "new_url": "a.example"}, ADMIN)
    used.post({"this_file": "ac_cfg.htm", "todo": "add_port", "group_name": "Group 1",
               "block_allow": "Block", "port_list": "21", "port_start": "25"}, ADMIN)
    used.write(USER, None)
    changed = settings(used)
    looked = send(used, archive)
    assert states(looked).items() >= {
        WAN: "differs: is replaced", USER: "is not there: is made", LIST: "differs: is replaced",
        "/etc/ppp/tel": "the same"}.items()
    assert settings(used) == changed and looked.shown["backup_no_archive"] == ""
    assert used.mode(WAITING) == 0o600 and used.mode("/run/quillstead-admin") == 0o700
    done = apply(used, looked)
    assert (done.page, done.message) == (PAGE, told(94))
    assert settings(used) == before and not used.exists(WAITING)
    assert "/usr/sbin/adsl-start" in done.commands and not list(used.at("/tmp").glob("upload*"))
    newest = os.readlink(used.at(f"{CHANGES}/newest"))
    assert undo(used, newest).message == told(79)
    assert settings(used) == changed


@pytest.mark.parametrize("pack_all", [
    "tar -cf - {files}", "tar --format=ustar -cf - {files}", "bsdtar -cf - {files}",
    "bsdtar --format=ustar -cf - ./{files}", "busybox tar -cf - {files}"])
def test_other_programs_read_and_write_the_same(used, tmp_path, pack_all):
    archive, before = take(used), settings(used)
    (folder := tmp_path / "taken").mkdir()
    program = pack_all.partition(" -")[0].split()
    subprocess.run([*program, "-xpf", "-"], input=archive, cwd=folder, check=True)
    files = [str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()]
    for name in set(files) - {WHOLE}:
        assert (folder / name).read_bytes() == used.at(name).read_bytes()
        assert (folder / name).stat().st_mode == used.at(name).stat().st_mode
    packed = subprocess.run(pack_all.format(files=" ".join(files)), shell=True, cwd=folder,
                            capture_output=True, check=True).stdout
    for path in WAN, RECORD, IP_UP:
        used.write(path, "x\n", used.mode(path))
    assert restore(used, packed).message == told(94)
    assert settings(used) == before


def odd(**peculiar):
    return "etc/ppp/tel", b"", {"linkname": "/etc/passwd", **peculiar}


GOOD = "etc/ppp/tel", b"555\n"
PLAIN = pack(GOOD)
BELONGS = "no file of the settings"


def patched(at, octets):
    """The archive of one file with other octets in its header, and the right sum."""
    header = bytearray(PLAIN[:512])
    header[at:at + len(octets)] = octets
    header[148:156] = b" " * 8
    header[148:156] = b"%06o\0 " % sum(header)
    return bytes(header) + PLAIN[512:]


HOSTILE = [
    (pack(GOOD, ("/etc/ppp/user", b"")), "/etc/ppp/user", BELONGS),
    (pack(GOOD, ("etc/ppp/../passwd", b"")), "etc/ppp/../passwd", BELONGS),
    (pack(("./../etc/ppp/tel", b"")), "./../etc/ppp/tel", BELONGS),
    (pack(("etc/passwd", b"")), "etc/passwd", BELONGS),
    (pack(("etc/<b>\x1b\n", b"")), "etc/<b>??", BELONGS),
    (pack(("etc/sysconfig/network-scripts/ifcfg-a/b", b"")),
     "etc/sysconfig/network-scripts/ifcfg-a/b", BELONGS),
    (pack(("x" * 99, b"")), "x" * 48 + "...", BELONGS),
    (pack(odd(type=tarfile.SYMTYPE)), "etc/ppp/tel", "a link"),
    (pack(odd(type=tarfile.LNKTYPE)), "etc/ppp/tel", "a link"),
    (pack(odd(type=tarfile.CHRTYPE)), "etc/ppp/tel", "a device"),
    (pack(odd(type=tarfile.BLKTYPE)), "etc/ppp/tel", "a device"),
    (pack(odd(type=tarfile.DIRTYPE)), "etc/ppp/tel/", "a folder"),
    (pack(odd(type=tarfile.FIFOTYPE)), "etc/ppp/tel", "a pipe"),
    (pack(odd(type=tarfile.GNUTYPE_SPARSE)), "etc/ppp/tel", "a sparse file"),
    (pack(odd(type=b"7")), "etc/ppp/tel", "no plain file"),
    (pack(("\u00e9", b""), tar_format=tarfile.PAX_FORMAT), "././@PaxHeader", "a pax header"),
    (pack(("x" * 120, b""), tar_format=tarfile.GNU_FORMAT), "././@LongLink", "a long name"),
    (pack(GOOD, GOOD), "etc/ppp/tel", "there twice"),
    (pack((WHOLE, b""), (WHOLE, b"")), WHOLE, BELONGS),
    (pack(odd(size=10 << 30), tar_format=tarfile.GNU_FORMAT), "etc/ppp/tel",
     "a number that is none"),
    (patched(124, b"77777777777\0"), "etc/ppp/tel", "too large"),
    (patched(124, b"00000001001\0"), "", "cut short"),
    (patched(124, b"00000100000\0"), "etc/ppp/tel", "cut short"),
    (patched(124, b"-0000000004\0"), "etc/ppp/tel", "a number that is none"),
    (patched(11, b"\0/../user"), "", "a hidden name"),
    (patched(345, b"etc/\0x"), "", "a hidden name"),
    (PLAIN[:100] + b"1" + PLAIN[101:], "", "a wrong checksum"),
    (pack(*((f"etc/sysconfig/network-scripts/ifcfg-{n}", b"") for n in range(129))),
     "etc/sysconfig/network-scripts/ifcfg-128", "one file too many"),
    (pack(("etc/ppp/tel", b"x" * 15_999_488), ("etc/ppp/user", b"x")), "etc/ppp/user", "too large"),
    (PLAIN + PLAIN, "", "goes on behind its end"),
    (PLAIN[:1024], "", "cut short"), (PLAIN[:1536], "", "cut short"), (PLAIN[:700], "etc/ppp/tel", "cut short"),
    (b"", "", "cut short"), (pack(), "", "empty"), (pack((WHOLE, b"")), "", "empty"),
    (b"PK\3\4" + b"x" * 2000, "", "no such archive"), (b"\0" * 512, "", "cut short"),
]


@pytest.mark.parametrize("archive, name, what", HOSTILE)
def test_a_hostile_archive_is_refused_by_the_name_of_its_entry(saved, archive, name, what):
    result = send(saved, archive)
    wanted = told(92, name, what) if name else told(91, what)
    assert (result.page, result.message) == (PAGE, wanted)
    assert result.did_nothing and result.shown["backup_no_archive"] == "hidden"
    assert not saved.exists(WAITING)
