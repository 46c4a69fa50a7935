"""Real copies of the two web servers, each with the configuration shipped for it, on loopback."""

import base64
import http.client
import os
import re
import shutil
import socket
import ssl
import subprocess

from appliance import INSTALLED, PROJECT, WWW, Appliance, free_ports, until

SECRET = "admin:secret"
# Addresses of this test run alone: on another's, a free port can be taken before the server has it.
OWN, OTHER = (f"127.{net}.{os.getpid() // 256 % 256}.{os.getpid() % 256}" for net in (77, 78))


def login(password):
    coded = base64.b64encode(password.encode()).decode()
    return {"Authorization": f"Basic {coded}"} if password else {}


class Server:
    def __init__(self, folder, template):
        self.folder, self.box = folder, Appliance(folder / "root", template)
        self.www = self.box.at("/www")
        shutil.copytree(WWW, self.www, dirs_exist_ok=True)
        self.box.write("/www/nat.cgi", "")
        self.box.write("/www/Iniabcde.tmp", "scratch")
        self.port, self.plain_port = free_ports(OWN, 2)
        self.host = f"{OWN}:{self.port}"
        with open(folder / "errors", "w") as errors:
            self.process = subprocess.Popen(
                self.command(), stdin=subprocess.DEVNULL, stderr=errors,
                env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LEAK": "1"})
        until(lambda: self.listens(OWN))

    def listens(self, address):
        assert self.process.poll() is None, (self.folder / "errors").read_text()
        with socket.socket() as probe:
            return probe.connect_ex((address, self.port)) == 0

    def stop(self):
        self.process.terminate()
        self.process.wait(20)

    def plain(self, source=OWN, port=None):
        return http.client.HTTPConnection(OWN, port or self.plain_port, 30, (source, 0))

    def ask(self, method="GET", path="/nat.cgi", headers={}, body=None, password=SECRET,
            connection=None):
        """Status, headers and body of the answer. The path is sent as is, a list in chunks."""
        connection = connection or self.connect()
        headers = {"Host": self.host, **login(password), **headers}
        try:
            connection.request(method, path, body, headers, encode_chunked=isinstance(body, list))
        except OSError:  # a server that refuses a long body need not read it
            pass
        answer = connection.getresponse()
        result = answer.status, answer.headers, answer.read().decode("latin-1")
        connection.close()
        return result

    def programs(self):
        """The requests that the program is at work on."""
        command = [*"find /proc -maxdepth 2 -path /proc/[0-9]*/exe -lname".split(),
                   self.box.at(INSTALLED)]
        return subprocess.run(command, capture_output=True).stdout.split()


class Lighttpd(Server):
    scheme = "https"

    def command(self):
        return [PROJECT / "tests/deploy/lighttpd.sh", self.box.root, self.folder, OWN,
                "127.77.0.0/16", str(self.port), str(self.plain_port)]

    def connect(self, source=OWN):
        context = ssl.create_default_context(cafile=self.folder / "server.pem")
        context.check_hostname = False
        # A later one leaves something unread when a client hangs up.
        context.maximum_version = ssl.TLSVersion.TLSv1_2
        return http.client.HTTPSConnection(OWN, self.port, timeout=30, source_address=(source, 0),
                                           context=context)


class Busybox(Server):
    scheme = "http"

    def connect(self, source=OWN):
        return self.plain(source, self.port)

    def command(self):
        known = subprocess.check_output(["openssl", "passwd", "-6", "secret"], text=True).strip()
        text = (PROJECT / "deploy/busybox-httpd.conf").read_text()
        for beginning, value in {"A:": OWN, "/:admin:": known}.items():
            text, number = re.subn(f"(?m)^{beginning}.*", beginning + value, text)
            assert number == 1, beginning
        self.box.write("/etc/quillstead/httpd.conf", text, 0o600)
        # The program is in a private root: an ordinary user may enter it in a namespace of its own.
        enter = ["unshare", *(["--user", "--map-root-user"] if os.getuid() else [])]
        return [*enter, f"--root={self.box.root}", "--wd=/", "/bin/busybox", "httpd", "-f",
                "-p", self.host, "-h", "/www", "-c", "/etc/quillstead/httpd.conf"]
