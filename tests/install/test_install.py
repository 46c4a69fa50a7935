"""What an installation and both packages consist of, and what they leave alone."""

import io
import os
import re
import shutil
import stat
import subprocess
import tarfile
from pathlib import Path

import pytest

from appliance import PROJECT
from test_backup import owned_rows

BUILD = PROJECT / "build/release"
PROGRAMS, DOC = "usr/lib/quillstead", "usr/share/doc/quillstead-admin"
PAGES, SHARE = "var/lib/quillstead/www", "usr/share/quillstead/factory"
PRIVATE = {PAGES, "var/lib/quillstead-admin", "var/lib/quillstead-admin/changes"}
SYSTEM = {"usr", "usr/lib", "usr/lib/systemd", "usr/lib/systemd/system", "usr/share",
          "usr/share/doc", "var", "var/lib"}  # what is missing of them gets the umask's mode


def listed(document, begin, end):
    """The files in the tables of a document, each with the last cell of its row."""
    text = (PROJECT / "docs" / document).read_text()
    for row in text.partition(begin)[2].partition(end)[0].splitlines():
        cells = row.strip("| ").split(" | ")
        names = re.findall("`(.*?)`", cells[0]) if row.startswith("| `/") else []
        for name in names:  # those behind the first lie beside it
            yield str(Path(names[0]).parent / name)[1:], cells[-1]


CONFIGURATION = {path: int(mode[:4], 8) for path, mode in listed(
    "installing.md", "From the copies", "## Debian package")}
FACTORY = {path: PROJECT / "lab/factory" / path for path in CONFIGURATION
           if "quillstead" not in path}
PROGRAM = dict.fromkeys(
    [f"{PAGES}/{path.name}" for path in (BUILD / "www").iterdir()] + [f"{PAGES}/nat.cgi"]
    + [f"{DOC}/{name}.md" for name in ("installing", "servers", "files", "changes", "diagnosis",
                                       "templates", "automation")]
    + [f"{DOC}/openapi.json", "usr/lib/systemd/system/quillstead-admin.service"]
    + [f"{SHARE}/{path}" for path in CONFIGURATION] + [f"{SHARE}.tar"], 0o644)
PROGRAM |= {f"{PROGRAMS}/{name}": 0o755 for name in ("nat.cgi", "install-factory", "at-boot")}


def run(*command, **more):
    return subprocess.run(command, check=True, capture_output=True, **{"text": True, **more}).stdout


def test_the_table_the_documents_and_the_factory_name_the_same_files():
    rows = owned_rows()
    modes = {"settings": 0o644, "passwords": 0o600, "commands": 0o755}
    assert {path[1:]: modes[holds] for path, (holds, is_there) in rows.items() if is_there} == {
        path: CONFIGURATION[path] for path in FACTORY}
    files = [f"/{path}" for path, _ in listed("files.md", "## Settings", "## State")]
    assert sorted(files) == sorted(rows)
    with tarfile.open(BUILD / "factory.tar") as tar:
        content = {each.name: tar.extractfile(each).read() for each in tar}
    assert content.pop("quillstead-backup")
    assert content == {path: file.read_bytes() for path, file in FACTORY.items()}


def check_modes(members, files):
    """Members are (name, mode, whether it is a folder)."""
    folders = {name: mode for name, mode, is_folder in members if is_folder and name not in SYSTEM}
    assert {name: mode for name, mode, is_folder in members if not is_folder} == files
    assert {name for name, mode in folders.items() if mode == 0o700} == PRIVATE
    assert set(folders.values()) == {0o700, 0o755}


def installed(root):
    for path in root.rglob("*"):
        mode = path.lstat().st_mode
        yield str(path.relative_to(root)), stat.S_IMODE(mode), stat.S_ISDIR(mode)


def test_an_installation_by_a_careful_user(tmp_path):
    env = {**os.environ, "DESTDIR": str(tmp_path)}
    run("cmake", "--install", BUILD, env=env, umask=0o077)
    check_modes(list(installed(tmp_path)), PROGRAM | CONFIGURATION)
    for text in (tmp_path / DOC).iterdir():  # what they name is there
        links = re.findall(r'(?:\]\(|src=")(?!http)([^)"#]*)', text.read_text())
        assert [link for link in links if not (text.parent / link).exists()] == []
        assert "./dev" not in text.read_text()


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    """The archive and the Debian package, which the same sources make to the same octets."""
    made, again = (tmp_path_factory.mktemp(name) for name in ("made", "again"))
    for folder in made, again:
        run(PROJECT / "deploy/package.sh", BUILD, folder,
            env={**os.environ, "SOURCE_DATE_EPOCH": "1000000000"})
    run("sha256sum", "--strict", "-c", "SHA256SUMS", cwd=made)
    assert (made / "SHA256SUMS").read_text() == (again / "SHA256SUMS").read_text()
    return sorted(made.glob("quillstead-admin*"))


def members(octets):
    """Of an archive: what it holds, and of whom."""
    with tarfile.open(fileobj=io.BytesIO(octets)) as tar:
        found = tar.getmembers()
    assert {(each.uid, each.gid, each.uname, each.gname) for each in found} == {
        (0, 0, "root", "root")}
    return [(each.name.removeprefix("./"), each.mode, each.isdir()) for each in found]


def test_packages(packages):
    archive, package = packages
    held = members(archive.read_bytes())
    # Folders that the appliance has already would take over mode and owner from the archive.
    assert all("/quillstead" in f"/{name}" for name, _, is_folder in held if is_folder)
    check_modes(held, PROGRAM)
    check_modes(members(run("dpkg-deb", "--fsys-tarfile", package, text=False)), PROGRAM)
    scripts = members(run("dpkg-deb", "--ctrl-tarfile", package, text=False))
    assert {name: mode for name, mode, is_folder in scripts if not is_folder} == {
        "control": 0o644, "postinst": 0o755, "postrm": 0o755}
    fields = run("dpkg-deb", "-f", package, "Package", "Version", "Architecture", "Depends")
    name, version, architecture = re.findall("(?m)^.*: (.*)$", fields)
    assert package.name == f"{name}_{version}_{architecture}.deb"
    assert archive.name == f"{name}-{version}-{architecture}.tar.gz"
    with tarfile.open(archive) as tar:
        assert str(PROJECT).encode() not in tar.extractfile(f"{PROGRAMS}/nat.cgi").read()


@pytest.mark.parametrize("shell", ["dash", "busybox sh"])
def test_the_archive_and_an_upgrade(packages, tmp_path, shell):
    """As on the appliance, whose shell may be either. Nothing of ours is overwritten."""
    root, outside, seen = tmp_path / "the root", tmp_path / "outside", tmp_path / "seen"
    for folder in root, outside, tmp_path / "bin":
        folder.mkdir()
    chmod = tmp_path / "bin/chmod"
    chmod.write_text(f'#!/bin/sh\nstat -c %a "$2" >>{seen}\nexec /bin/chmod "$@"\n')
    chmod.chmod(0o755)

    def unpack():
        run("tar", "-xpzf", packages[0], "-C", root)
        path = f"{chmod.parent}:{os.environ['PATH']}"
        run(*shell.split(), root / PROGRAMS / "install-factory", root, env={"PATH": path},
            umask=0o022)
        return list(installed(root))

    check_modes(unpack(), PROGRAM | CONFIGURATION)
    if shell == "dash":  # busybox changes modes by itself
        assert seen.read_text().split() == ["600"] * len(CONFIGURATION)

    ours = {"etc/ppp/CGI_nat.conf": "nat_enable=yes\n", "etc/rc.d/rc.service": "",
            "etc/quillstead/httpd.conf": "# ours"}
    for path, text in ours.items():
        (root / path).write_text(text)
    (root / "etc/rc.d/rc.service").chmod(0o744)
    (root / "etc/ppp/tel").unlink()
    (root / "etc/ppp/tel").symlink_to("/nowhere/tel")
    (root / "etc/ppp/modem.ini").unlink()
    (root / PAGES / "nat_base.htm").write_text("an older page")
    others = {"etc/rc.d/rc.service": 0o744, "etc/ppp/tel": 0o777}
    check_modes(unpack(), PROGRAM | CONFIGURATION | others)
    assert {path: (root / path).read_text() for path in ours} == ours
    assert os.readlink(root / "etc/ppp/tel") == "/nowhere/tel"
    assert (root / PAGES / "nat_base.htm").read_bytes() == (BUILD / "www/nat_base.htm").read_bytes()

    shutil.rmtree(root / "etc/ppp")
    (root / "etc/ppp").symlink_to(outside)
    with pytest.raises(subprocess.CalledProcessError) as refused:
        unpack()
    assert "etc/ppp is a link out of" in refused.value.stderr
    assert list(outside.iterdir()) == []
