"""Real copies of the two web servers, each with the configuration shipped for it, on loopback."""

import base64
import http.client
import os
import re
import shutil
import socket
import ssl
import subprocess
import sys

from appliance import INSTALLED, PROJECT, WWW, Appliance, free_ports, until

# The program is in a private root: an ordinary user may enter it in a namespace of its own.
ENTER = ["unshare", *(["--user", "--map-root-user"] if os.getuid() else [])]
SECRET = "admin:secret"
# Addresses of this test run alone: on another's, a free port can be taken before the server has it.
OWN, OTHER = (f"127.{net}.{os.getpid() // 256 % 256}.{os.getpid() % 256}" for net in (77, 78))


def output(*command):
    """What a command that must succeed prints, its complaints included."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    assert done.returncode == 0, done.stdout
    return done.stdout.strip()


def adapted(name, changes):
    """A shipped file with what its administrator changes, a line each."""
    text = (PROJECT / "deploy" / name).read_text()
    for beginning, line in changes.items():
        text, number = re.subn(f"^{re.escape(beginning)}.*", lambda _: line, text, flags=re.M)
        assert number == 1, beginning
    return text


def login(password):
    coded = base64.b64encode(password.encode()).decode()
    return {"Authorization": f"Basic {coded}"} if password else {}


class Server:
    inside = []  # what enters the place where it runs

    def __init__(self, folder, template):
        self.folder, self.box = folder, Appliance(folder / "root", template)
        self.www = self.box.at("/www")
        shutil.copytree(WWW, self.www, dirs_exist_ok=True)
        self.box.write("/www/nat.cgi", "")
        self.box.write("/www/Iniabcde.tmp", "scratch")
        self.hash = output("openssl", "passwd", "-6", "secret")
        self.port, self.plain_port = self.ports()
        self.host = f"{OWN}:{self.port}"
        with open(folder / "errors", "w") as errors:
            self.process = subprocess.Popen(
                [*self.inside, *self.command()], stdin=subprocess.DEVNULL, stderr=errors,
                env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LEAK": "1"})
        until(lambda: self.listens(OWN))

    def ports(self):
        return free_ports(OWN, 2)

    def listens(self, address):
        assert self.process.poll() is None, (self.folder / "errors").read_text()
        with socket.socket() as probe:
            return probe.connect_ex((address, self.port)) == 0

    def stop(self):
        self.process.terminate()
        self.process.wait(20)

    def connect(self, source=OWN):
        return http.client.HTTPConnection(OWN, self.port, timeout=30, source_address=(source, 0))

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
        private, root = self.folder, self.box.root
        key, certificate = private / "key", private / "certificate"
        output(*"openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes".split(),
               "-subj", "/CN=box", "-keyout", key, "-out", certificate)
        (private / "server.pem").write_text(key.read_text() + certificate.read_text())
        (private / "passwd").write_text(f"admin:{self.hash}\n")
        # The program in its root, in the folder in which the server has started it.
        (private / "enter").write_text(
            f"#!/bin/bash\nenv > {private}/environment\n"
            f'exec {" ".join(ENTER)} --root={root} --wd="${{PWD#{root}}}" /{INSTALLED}\n')
        (private / "enter").chmod(0o755)
        values = self.site() | {"pages": self.www, "program": private / "enter", "private": private}
        changes = {f"var.{name} ": f'var.{name} = "{value}"' for name, value in values.items()}
        (private / "conf").write_text(adapted("lighttpd.conf", changes))
        command = ["/usr/sbin/lighttpd", "-f", private / "conf"]
        assert output(*command, "-tt") == ""
        return [*command, "-D"]

    def site(self):
        return {"address": OWN, "lan": OWN, "https": self.port, "http": self.plain_port}

    def connect(self, source=OWN):
        context = ssl.create_default_context(cafile=self.folder / "certificate")
        context.check_hostname = False
        # A later one leaves something unread when a client hangs up.
        context.maximum_version = ssl.TLSVersion.TLSv1_2
        return http.client.HTTPSConnection(OWN, self.port, timeout=30, source_address=(source, 0),
                                           context=context)


class LighttpdInItsPlace(Lighttpd):
    """On the LAN for which it is shipped. A stranger on the line of the WAN sends packets for its
    address on the LAN to the appliance."""
    address, wan, stranger = "192.168.1.1", "203.0.113.1", "203.0.113.2"

    def __init__(self, folder, template):
        self.holders = []
        self.inside = self.hold(["unshare", *ENTER[1:], "--net"])
        self.outside = self.hold([*self.inside, "unshare", "--net"])
        self.configure(self.inside, "link set lo up", f"address add {self.address}/24 dev lo",
                       f"link add wan type veth peer name line netns {self.holders[1].pid}",
                       f"address add {self.wan}/24 dev wan", "link set wan up")
        self.configure(self.outside, f"address add {self.stranger}/24 dev line", "link set line up",
                       f"route add {self.address} via {self.wan}")
        super().__init__(folder, template)

    def hold(self, command):
        """Makes a network namespace, which ends with its process, and tells how to enter it."""
        holder = subprocess.Popen([*command, "sh", "-c", "echo; exec sleep 600"],
                                  stdout=subprocess.PIPE)
        self.holders.append(holder)
        holder.stdout.readline()
        user = ["--user", "--preserve-credentials"] if os.getuid() else []
        return ["nsenter", "-t", str(holder.pid), "--net", *user]

    @staticmethod
    def configure(within, *commands):
        command = [*within, "ip", "-batch", "-"]
        subprocess.run(command, input="\n".join(commands), text=True, check=True)

    def ports(self):
        return 443, 80

    def site(self):
        return {}

    def listens(self, _):
        assert self.process.poll() is None, (self.folder / "errors").read_text()
        return self.status(self.inside, "HTTPS")

    def status(self, within, scheme):
        """The status of an answer without a password; nothing when none comes."""
        verify = ", context=ssl._create_unverified_context()" if scheme == "HTTPS" else ""
        program = ("import http.client, ssl\n"
                   f"to = http.client.{scheme}Connection('{self.address}', timeout=20{verify})\n"
                   "to.request('GET', '/style.css')\nprint(to.getresponse().status, end='')")
        return subprocess.run([*within, sys.executable, "-c", program], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True).stdout

    def stop(self):
        super().stop()
        for holder in self.holders:
            holder.kill()
            holder.wait()


class Busybox(Server):
    scheme = "http"

    def command(self):
        self.box.write("/etc/quillstead/httpd.conf", adapted("busybox-httpd.conf", {
            "A:": f"A:{OWN}", "/:admin:": f"/:admin:{self.hash}"}), 0o600)
        return [*ENTER, f"--root={self.box.root}", "--wd=/", "/bin/busybox", "httpd", "-f",
                "-p", self.host, "-h", "/www", "-c", "/etc/quillstead/httpd.conf"]
