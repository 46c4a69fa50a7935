"""Practice appliances, switched on as ./dev run does it."""

import subprocess
import urllib.parse
import urllib.request

import pytest

from appliance import PROGRAM, PROJECT, WWW, Appliance, free_ports, until


class Practice(Appliance):
    """One that is on, behind its web server."""

    def __init__(self, folder, name):
        self.name, self.root, self.output = name, folder / name, folder / f"{name}.output"
        self.port, = free_ports("127.0.0.1", 1)
        self.url = f"http://127.0.0.1:{self.port}/nat.cgi"
        self.command = [PROJECT / "lab/appliance.sh", "--port", str(self.port), self.root,
                        PROGRAM, WWW]
        with open(self.output, "w") as output:
            self.process = subprocess.Popen(self.command, stdout=output, stderr=subprocess.STDOUT)
        until(lambda: "log of commands" in self.said())

    def said(self):
        return self.output.read_text()

    def request(self, env, body):
        """The page with which the web server answers."""
        query = f"?{env['QUERY_STRING']}" if env["REQUEST_METHOD"] == "GET" else ""
        with urllib.request.urlopen(self.url + query, body or None, 60) as answer:
            return answer.read().decode()

    def runs(self, daemon):
        pid = f"/var/lib/practice/run/{daemon}"
        return self.exists(pid) and int(self.read(pid)) in self.processes()

    def stop(self):
        self.process.terminate()
        self.process.wait(20)


@pytest.fixture
def switch_on(tmp_path):
    """Switches a practice appliance on, by its name."""
    started = []

    def start(name):
        started.append(Practice(tmp_path, name))
        return started[-1]
    yield start
    for appliance in started:
        appliance.stop()


@pytest.fixture
def practice(switch_on):
    return switch_on("practice")
