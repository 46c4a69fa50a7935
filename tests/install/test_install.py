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

from test_backup import owned_rows

PROJECT = Path(__file__).resolve().parents[2]
BUILD = PROJECT / "build/release"
PACKAGES = PROJECT / "build/package"
INSTALL_FACTORY = "usr/lib/quillstead/install-factory"
PAGES, SHARE, DOC = "var/lib/quillstead/www", "usr/share/quillstead/factory", "usr/share/doc/quillstead-admin"
PRIVATE_FOLDERS = PAGES, "var/lib/quillstead-admin", "var/lib/quillstead-admin/changes"
SYSTEM = ("usr", "usr/lib/systemd", "usr/lib/systemd/system", "usr/lib", "usr/share", "usr/share/doc", "var", "var/lib")  # the umask's, where missing
PRIVATE = ("pap-secrets", "chap-secrets", "CGI_nat.conf", "lighttpd.conf", "httpd.conf")
SCRIPTS = ("ip-up", "ip-down", "pppon", "rc.ac_ctrl", "rc.firewall", "rc.service", "rc.wan")

FACTORY = {
    str(file.relative_to(PROJECT / "lab/factory"))
    for part in ("etc", "usr/lib/diald", "usr/local/squid/etc")
    for file in (PROJECT / "lab/factory" / part).rglob("*") if file.is_file()
} | {"etc/quillstead/lighttpd.conf", "etc/quillstead/httpd.conf"}
CONFIGURATION = {
    place: 0o600 if Path(place).name in PRIVATE else 0o755 if Path(place).name in SCRIPTS else 0o644
    for place in FACTORY
}
PROGRAM = {"usr/lib/quillstead/nat.cgi": 0o755, INSTALL_FACTORY: 0o755, "usr/lib/quillstead/at-boot": 0o755} | dict.fromkeys(
    [f"{PAGES}/nat.cgi"]
    + [f"{PAGES}/{file.name}" for file in (PROJECT / "pages").glob("*.htm")]
    + [f"{PAGES}/{file.name}" for file in (PROJECT / "www").iterdir()]
    + [f"{DOC}/{name}.md" for name in ("installing", "servers", "files", "changes", "diagnosis", "templates",
                                 "automation")]
    + [f"{DOC}/openapi.json"]
    + ["usr/lib/systemd/system/quillstead-admin.service"]
    + [f"{SHARE}/{place}" for place in FACTORY] + [f"{SHARE}.tar"],
    0o644,
)


def test_the_table_the_document_and_the_factory_name_the_same_files():
    rows = owned_rows()
    modes = {"settings": 0o644, "passwords": 0o600, "commands": 0o755}
    assert {path[1:]: modes[holds] for path, (holds, is_there) in rows.items() if is_there} == {
        place: mode for place, mode in CONFIGURATION.items() if "quillstead" not in place}
    text = (PROJECT / "docs/files.md").read_text()
    tables = text.partition("## Settings")[2].partition("## State")[0]
    named = []
    for cell in re.findall(r"(?m)^\| (`/.*?) \|", tables):
        for path in re.findall("`([^`]*)`", cell):
            named.append(path if path.startswith("/") else f"{Path(named[-1]).parent}/{path}")
    assert sorted(named) == sorted(rows)
    with tarfile.open(BUILD / "factory.tar") as tar:
        content = {each.name: tar.extractfile(each).read() for each in tar}
    assert content.pop("quillstead-backup")
    assert content == {place: (PROJECT / "lab/factory" / place).read_bytes() for place in FACTORY
                       if "quillstead" not in place}


def run(*command, **more):
    return subprocess.run(command, check=True, capture_output=True, **{"text": True, **more}).stdout


def modes(root, wanted):
    return {
        str(path.relative_to(root)): stat.S_IMODE(path.lstat().st_mode) for path in root.rglob("*")
        if wanted(path) and path != root
    }


@pytest.mark.parametrize("umask", [0o022, 0o077])
def test_install_and_upgrade(tmp_path, umask):
    root = tmp_path / "the root"

    def install():
        run("cmake", "--install", BUILD, env={**os.environ, "DESTDIR": str(root)}, umask=umask)
        return modes(root, lambda path: path.is_symlink() or not path.is_dir())

    assert install() == PROGRAM | CONFIGURATION
    folders = modes(root, lambda path: path.is_dir() and str(path.relative_to(root)) not in SYSTEM)
    assert {folders.pop(name) for name in PRIVATE_FOLDERS} == {0o700} and set(folders.values()) == {0o755}
    for text in (root / DOC).iterdir():  # what they name is there
        links = re.findall(r'(?:\]\(|src=")(?!http)([^)"#]*)', text.read_text())
        assert [link for link in links if not (text.parent / link).exists()] == []
        assert "./dev" not in text.read_text()

    etc = root / "etc"
    (etc / "ppp/CGI_nat.conf").write_text("nat_enable=yes\n")
    (etc / "rc.d/rc.service").write_text("")
    (etc / "rc.d/rc.service").chmod(0o744)
    (etc / "ppp/tel").unlink()
    (etc / "ppp/tel").symlink_to("/nowhere/tel")
    (etc / "ppp/modem.ini").unlink()
    (etc / "quillstead/httpd.conf").write_text("# ours")
    (root / PAGES / "nat_base.htm").write_text("an older page")
    assert install() == PROGRAM | CONFIGURATION | {"etc/rc.d/rc.service": 0o744, "etc/ppp/tel": 0o777}
    assert (etc / "ppp/CGI_nat.conf").read_text() == "nat_enable=yes\n"
    assert (etc / "rc.d/rc.service").read_text() == ""
    assert os.readlink(etc / "ppp/tel") == "/nowhere/tel"
    assert (etc / "quillstead/httpd.conf").read_text() == "# ours"
    assert (root / PAGES / "nat_base.htm").read_bytes() == (BUILD / "www/nat_base.htm").read_bytes()


@pytest.fixture(scope="module")
def packages():
    run("./dev", "package", cwd=PROJECT)
    run("sha256sum", "--strict", "-c", "SHA256SUMS", cwd=PACKAGES)
    architecture = run("dpkg", "--print-architecture").strip()
    version = run("sed", "-n", r"s/^project(.* VERSION \([0-9.]*\).*/\1/p", PROJECT / "CMakeLists.txt").strip()
    names = f"quillstead-admin-{version}-{architecture}.tar.gz", f"quillstead-admin_{version}_{architecture}.deb"
    sums = (PACKAGES / "SHA256SUMS").read_text()
    assert all(name in sums for name in names)
    return [PACKAGES / name for name in names]


def test_packages(packages, tmp_path):
    archive, package = packages
    data = run("dpkg-deb", "--fsys-tarfile", package, text=False)
    for content in archive.read_bytes(), data:
        with tarfile.open(fileobj=io.BytesIO(content)) as tar:
            members = tar.getmembers()
        assert {each.name.removeprefix("./"): each.mode for each in members if each.isfile()} == PROGRAM
        assert {(each.uid, each.gid, each.uname, each.gname) for each in members} == {(0, 0, "root", "root")}
        folders = {each.name.removeprefix("./"): each.mode for each in members if each.isdir()}
        assert {folders.pop(name) for name in PRIVATE_FOLDERS} == {0o700} and set(folders.values()) == {0o755}
    with tarfile.open(archive) as tar:
        # Folders that the appliance has already would take over mode and owner from the archive.
        assert [each.name for each in tar if each.isdir() and "/quillstead" not in each.name] == []
        assert str(PROJECT).encode() not in tar.extractfile("usr/lib/quillstead/nat.cgi").read()
    control = run("dpkg-deb", "-f", package)
    fields = dict(line.split(": ", 1) for line in control.splitlines() if ": " in line)
    assert fields["Package"] == "quillstead-admin" and "Depends" not in fields
    assert fields["Architecture"] in package.name and fields["Version"] in package.name
    scripts = run("dpkg-deb", "--ctrl-tarfile", package, text=False)
    with tarfile.open(fileobj=io.BytesIO(scripts)) as tar:
        assert {each.name: each.mode for each in tar if each.isfile()} == {
            "./control": 0o644, "./postinst": 0o755, "./postrm": 0o755}

    same = {**os.environ, "SOURCE_DATE_EPOCH": "1000000000"}
    for copy in "a", "b":
        run(PROJECT / "deploy/package.sh", BUILD, tmp_path / copy, env=same)
    assert (tmp_path / "a/SHA256SUMS").read_text() == (tmp_path / "b/SHA256SUMS").read_text()


@pytest.mark.parametrize("shell", ["dash", "busybox sh"])
def test_factory_files(packages, tmp_path, shell):
    """As on the appliance, whose shell may be either: from the archive, nothing becomes readable on its way."""
    root, outside, seen = tmp_path / "root", tmp_path / "outside", tmp_path / "seen"
    root.mkdir()
    outside.mkdir()
    run("tar", "-xpzf", packages[0], "-C", root)
    chmod = tmp_path / "bin/chmod"
    chmod.parent.mkdir()
    chmod.write_text(f'#!/bin/sh\nstat -c %a "$2" >>{seen}\nexec /bin/chmod "$@"\n')
    chmod.chmod(0o755)

    def install_factory():
        path = f"{chmod.parent}:{os.environ['PATH']}"
        run(*shell.split(), root / INSTALL_FACTORY, root, env={"PATH": path}, umask=0o022)

    install_factory()
    assert modes(root, Path.is_file) == PROGRAM | CONFIGURATION
    if shell == "dash":  # busybox changes modes by itself
        assert seen.read_text().split() == ["600"] * len(CONFIGURATION)

    shutil.rmtree(root / "etc/ppp")
    (root / "etc/ppp").symlink_to(outside)
    with pytest.raises(subprocess.CalledProcessError) as refused:
        install_factory()
    assert "etc/ppp is a link out of" in refused.value.stderr
    assert list(outside.iterdir()) == []
