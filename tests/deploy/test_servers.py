"""The web server configurations: what each lets through, refuses and adds."""

import mimetypes
import re
import socket
import struct
import subprocess
import time

import pytest

from appliance import RECORD, WAN, until
from servers import OTHER, SECRET, Busybox, Lighttpd, login

LIST = "/usr/local/squid/etc/deny.list"
ACT = "this_file=sites_ban.htm&todo=del_all&next_file=sites_ban.htm"  # empties the list
PAGE = "/nat.cgi"
LIMIT = 16 * 1024 * 1024
FORM = {"Content-Type": "application/x-www-form-urlencoded"}
CHUNKED = FORM | {"Transfer-Encoding": "chunked"}
BROWSER, EVIL = {"User-Agent": "Mozilla/5.0"}, {"Origin": "http://evil.example"}


def running(kind):
    @pytest.fixture(scope="module")
    def server(tmp_path_factory, template):
        server = kind(tmp_path_factory.mktemp("server"), template)
        yield server
        server.stop()
    return server


lighttpd, busybox = running(Lighttpd), running(Busybox)


@pytest.fixture(params=["lighttpd", "busybox"])
def server(request):
    found = request.getfixturevalue(request.param)
    found.box.write(LIST, "a.com\n")
    return found


# What is asked, and the answers of lighttpd and of busybox httpd. "done" empties the list of banned
# sites, all others keep it. "fatal" is the program's page for errors.
REQUESTS = [
    ("done", "done", "POST", PAGE, FORM | BROWSER | {"Origin": "own"}, ACT),
    (403, 403, "POST", PAGE, FORM | EVIL, ACT),
    (403, 403, "POST", PAGE, FORM | {"Sec-Fetch-Site": "cross-site"}, ACT),
    ("done", "shown", "POST", PAGE, CHUNKED, [ACT.encode()]),
    ("fatal", "fatal", "POST", PAGE, FORM, (ACT + "&x=").ljust(LIMIT, "a")),
    (413, "fatal", "POST", PAGE, FORM, (ACT + "&x=").ljust(LIMIT + 1, "a")),
    (413, "shown", "POST", PAGE, CHUNKED, [ACT.encode(), b"&x=", LIMIT * b"a"]),
    (403, "fatal", "DELETE", PAGE, FORM, ACT),
    *((answer, "shown", "GET", f"{PAGE}?{query}", BROWSER, None) for answer, query in [
        ("shown", "next_file=no_page"),
        ("shown", "todos=1&a=todo&a=%26todo=1&atodo=1&anext_file=.&next_files=.&a=next_file=.&"
                  "next=&_file=&next_file=nat_base.htm&x=1&next_file=nat_vs.htm"),
        *((403, f"next_file{rest}") for rest in (
            "", "=", "=nat_base.html", "=Nat_base.htm", "=nat_base.htm&next_file=%3Cscript",
            "%=<", "%zz=<")),
        (403, "x=1&%6e%65%78%74%5F%66%69%6C%65=<")]),
    *((answer, 403, "GET", f"{PAGE}?this_file=sites_ban.htm&{query}", BROWSER, None)
      for answer, query in [(403, "todo=del_all"), (403, "%74%6f%64%6F=del_all"),
                            (403, "todo%zz=del_all"), (400, "todo%00=del_all")]),
    (403, "done", "GET", f"{PAGE}?{ACT}", {}, None),  # a program that is no browser
    *((answer, "shown", "GET", PAGE, {"Host": host}, None) for answer, host in [
        ("shown", "192.168.1.1"), ("shown", "[fe80::1]:443"), ("shown", "Quillstead.LAN:443"),
        (403, "evil.example"), (403, "quillstead.lan.evil.example"), (403, "quillsteadxlan"),
        (403, "192.168.1.1.evil.example"), (400, "127.1")]),
]


@pytest.mark.parametrize("secure, plain, method, path, headers, body", REQUESTS)
def test_requests(server, secure, plain, method, path, headers, body):
    if headers.get("Origin") == "own":
        headers = headers | {"Origin": f"{server.scheme}://{server.host}"}
    status, _, text = server.ask(method, path, headers, body)
    expected = secure if server.scheme == "https" else plain
    done = server.box.read(LIST) != "a.com\n"
    page = "fatal" if "<TITLE>Error!" in text else "done" if done else "shown"
    assert (page if status == 200 else status, done) == (expected, expected == "done")


def test_nothing_without_the_password(server):
    for password in "", "admin:wrong", "root:secret", "admin:":
        for path in PAGE, "/style.css":
            status, headers, _ = server.ask("POST", path, FORM, ACT, password)
            assert (status, server.box.read(LIST)) == (401, "a.com\n")
            assert headers["WWW-Authenticate"].startswith("Basic ")


def test_what_the_pages_refer_to_is_served(server):
    templates = "".join(page.read_text() for page in server.www.glob("*.htm"))
    names = set(re.findall(r'(?:href|src)="([\w.]+)', templates)) - {"nat.cgi"}
    assert names >= {"style.css", "script.js"}
    for name in names | {"nat_fs.htm", "sp_fs.htm", "yellowbg.gif"}:
        status, headers, text = server.ask(path="/" + name)
        kind = mimetypes.guess_type(name)[0].partition("/")[2]
        assert status == 200 and f"/{kind}" in headers["Content-Type"], name
        assert text == (server.www / name).read_text("latin-1"), name


def test_the_start_leads_to_the_overview(lighttpd, busybox):
    status, headers, _ = lighttpd.ask(path="/")
    assert (status, headers["Location"]) == (307, PAGE + "?next_file=nat_base.htm")
    assert busybox.ask(path="/")[2] == (busybox.www / "nat_fs.htm").read_text()


def test_the_environment_of_the_program(lighttpd):
    """And that its answer is not mixed with what its commands print."""
    lighttpd.box.answer("PUB_SetModule -m ip_masq_ftp -s", "one line\nand another\n")
    lighttpd.box.answer("pidof pppd", "812\n")
    lighttpd.box.view("nat_base.htm")
    lighttpd.box.change(RECORD, SrvFTP=0)
    form = "this_file=nat_conn.htm&todo=save&enable_ftp=checked"
    page = lighttpd.ask("POST", PAGE, FORM | {"Proxy": "http://evil.example"}, form)[2]
    assert lighttpd.box.keys(RECORD)["SrvFTP"] == "1"
    assert page.startswith("<!DOCTYPE html>") and page.endswith("</html>\n")
    environment = (lighttpd.folder / "environment").read_text()
    found = dict(line.split("=", 1) for line in environment.splitlines())
    assert "/sbin" in found["PATH"].split(":") and found["REMOTE_USER"] == "admin"
    assert not found.keys() & {"HTTP_AUTHORIZATION", "HTTP_PROXY", "LEAK"}


def ask_and_hang_up(server, reset, *request):
    """Sends a request and hangs up, with a reset or without, while the program is at work."""
    connection = server.connect()
    connection.request(*request)
    until(server.programs)
    if reset:
        connection.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


@pytest.mark.parametrize("reset", [False, True])
def test_a_save_outlives_its_sender(server, reset):
    with server.box.take_turn():
        ask_and_hang_up(server, reset, "POST", PAGE, ACT, FORM | login(SECRET))
        assert server.ask(path="/style.css")[0] == 200  # now the server knows that nobody waits
    until(lambda: not server.programs())
    assert server.box.read(LIST) == ""


@pytest.mark.parametrize("reset", [False, True])
def test_a_diagnosis_ends_with_its_reader(server, reset):
    server.box.change(WAN, nat_enable="yes")
    server.box.write(RECORD, "Method=1\n", 0o600)
    for command in "/sbin/ifconfig", "/sbin/route":  # nothing takes longer than it may
        server.box.at(command).unlink()
        server.box.write(command, "#!/bin/bash\nsleep 1.8\n. /.harness/stub\n", 0o755)
    server.box.answer("ifconfig eth0", "eth0\n inet addr:192.0.2.7 \n UP RUNNING MTU:1500\n")
    ask_and_hang_up(server, reset, "GET", PAGE + "?next_file=diagnose.htm", None, login(SECRET))
    begin = time.monotonic()
    until(lambda: not server.programs())
    assert time.monotonic() - begin < 2.5  # it asks for 3.6 seconds


def test_what_else_is_in_the_page_folder_is_out_of_reach(lighttpd, busybox):
    for status, paths in (
            (403, r"""/nat_base.htm /cgi_err /Iniabcde.tmp /cgi%5ferr /cgi_err?.css /cgi_err/.css
                /\cgi_err /STYLE.CSS /style.css/ /icon.svg/icons.svg /nat.cgi/cgi_err /nat.cgi."""),
            (400, """/cgi_err%00.css //cgi_err /style.css/../cgi_err /style.css/%2e%2e/cgi_err
                /style.css%2fcgi_err /nat.cgi?%0a /nat.cgi?%ff""")):
        for path in paths.split():
            assert lighttpd.ask(path=path)[0] == status, path
    assert "scratch" not in busybox.ask(path="/Iniabcde.tmp")[2]


def test_headers(lighttpd):
    expected = {
        "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; "
        "img-src 'self'; connect-src 'self'; form-action 'self'; base-uri 'none'; "
        "frame-ancestors 'none'",
        "Referrer-Policy": "same-origin", "X-Content-Type-Options": "nosniff",
        "X-Frame-Options": "DENY", "Strict-Transport-Security": None, "Server": None}
    for path, keep, packed in (
            (PAGE, "no-store", None), ("/nat_fs.htm", "no-store", None),
            ("/style.css", "no-cache", "gzip"), ("/script.js", "no-cache", "gzip"),
            ("/icons.svg", "no-cache", "gzip")):
        headers = lighttpd.ask(path=path, headers={"Accept-Encoding": "gzip"})[1]
        assert {name: headers[name] for name in expected} == expected
        assert headers.get_all("Cache-Control") == [keep]
        assert headers["Content-Encoding"] == packed


def test_only_the_lan_is_answered(lighttpd, busybox):
    assert not lighttpd.listens(OTHER)
    for connect in lighttpd.connect, lighttpd.plain, busybox.connect:
        assert lighttpd.ask(connection=connect(OTHER))[0] == 403


def test_without_tls_no_password_is_asked_for_and_nothing_done(lighttpd):
    for version, status in ("-tls1_1", 1), ("-tls1_2", 0), ("-tls1_3", 0):
        command = f"openssl s_client -cipher ALL:@SECLEVEL=0 -connect {lighttpd.host} {version}"
        ended = subprocess.run(command.split(), stdin=subprocess.DEVNULL, capture_output=True)
        assert ended.returncode == status
    lighttpd.box.write(LIST, "a.com\n")
    named = FORM | {"Host": "quillstead"}
    for password in "", SECRET:
        status, headers, _ = lighttpd.ask("POST", PAGE, named, ACT, password, lighttpd.plain())
        assert (status, headers["Location"]) == (307, "https://quillstead/")
        assert headers["WWW-Authenticate"] is None
    assert lighttpd.box.read(LIST) == "a.com\n"
