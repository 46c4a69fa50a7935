"""Why there is no internet: which question says no, as commands, name servers and hosts answer."""

import ctypes
import os
import re
import signal
import subprocess
import sys
import time
from html import unescape

import pytest

import beyond
from appliance import INSTALLED, RECORD, SANITIZED, SETTINGS, WAN, until

DIRECT, PPPOE, SERIAL = 1, 2, 3
RESOLVER, PORT, ARP = "/etc/resolv.conf", "/dev/ttyS0", "/proc/net/arp"
IFCONFIG = "{}   Link encap:Ethernet\n   {}  Mask:255.255.255.0\n   UP RUNNING  MTU:1500\n\n"
PORT_ADDRESS = "inet addr:203.0.113.7 Bcast:203.0.113.255"
LINK_ADDRESS = "inet addr:203.0.113.9 P-t-P:203.0.113.1"
WAITING = "inet addr:10.112.112.112 P-t-P:10.112.112.113"
PORT_UP, PORT_BARE = IFCONFIG.format("eth0", PORT_ADDRESS), IFCONFIG.format("eth0", "")
ROUTES = "192.168.1.0 0.0.0.0 255.255.255.0 U 0 0 0 eth1\n"
TO_GATEWAY = "0.0.0.0 203.0.113.1 0.0.0.0 UG 0 0 0 eth0"
TO_LINK = "0.0.0.0 0.0.0.0 0.0.0.0 U 0 0 0 ppp0"
TO_HALF = TO_GATEWAY.replace("0.0.0.0 UG", "128.0.0.0 UG")
PING = "ping -qc1 -w2 203.0.113.1"
PINGED = "1 packets transmitted, 1 packets received, 0% packet loss"
LOST = "1 packets transmitted, 0 received, 100% packet loss, time 0ms"
ASKS_NAME = "the address of example.com, over UDP, port 53"
ASKS_HOST = "example.com, %s, over TCP, port 80"
MAC = "00:11:22:33:44:55"


@pytest.fixture(scope="module")
def internet():
    """A network namespace with name servers and hosts; how to enter it."""
    user = ["--user", "--map-root-user"] if os.getuid() else []
    command = ["unshare", *user, "--net", sys.executable, "-B", beyond.__file__]
    with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
        assert process.stdout.readline() == b"ready\n"
        spaces = [f"/proc/{process.pid}/ns/{name}" for name in (*(["user"] if user else []), "net")]
        yield spaces
        process.terminate()


def join(spaces):
    for space in spaces:
        with open(space) as file:
            assert ctypes.CDLL(None).setns(file.fileno(), 0) == 0


@pytest.fixture
def box(appliance, internet):
    """An appliance that is connected, by the method that the test chooses with connect()."""
    enter = appliance.enter
    appliance.enter = lambda: (join(internet), enter())
    return appliance


def connect(box, method=DIRECT, changes={}):
    """All in order, but for changes: what a file holds or a command prints, status first."""
    box.write(RECORD, f"Method={method}\nPhone1=5551234\n", 0o600)
    box.write(WAN, "nat_enable=yes\nnat_interface=eth0\npppoe_username=ann\n", 0o600)
    box.write(PORT, "")
    box.write(RESOLVER, "# 127.0.0.2\nnameserver 127.0.0.1\n")
    box.write(ARP, "")
    answers = {"ifconfig eth0": PORT_UP, "ifconfig ppp0": IFCONFIG.format("ppp0", LINK_ADDRESS),
               "route -n": ROUTES + (TO_GATEWAY if method == DIRECT else TO_LINK),
               "pidof -x adsl-connect": "322\n", "pidof diald": "321\n", PING: PINGED}
    for name, text in (answers | changes).items():
        if name.startswith("/"):
            box.write(name, text)
        else:
            box.answer(name, *([text] if isinstance(text, str) else reversed(text)))


def diagnosis(result):
    """The steps of a diagnosis, a list of cells each, and its result."""
    steps = [re.findall(r"<td nowrap>(.*)</td>", unescape(row))
             for row in result.shown["diagnose_steps"].split("<tr>\n")[1:]]
    keys = "verdict", "meaning", "page", "title"
    return steps, [unescape(result.shown[f"diagnose_{key}"]) for key in keys]


# Questions, what is asked, and what is answered.
LINE = [
    ("Is internet access switched on?", "nat_enable in /etc/ppp/CGI_nat.conf", "yes"),
    ("Is an access method set up?", "the access method in /etc/ppp/nat_ppp.con", "PPPoE"),
    ("Is the port there?", "/sbin/ifconfig eth0", "eth0 Link encap:Ethernet"),
    ("Was the connection started?", "/sbin/pidof -x adsl-connect", "process 322"),
    ("Is the cable plugged in?", "the same report of ifconfig, for RUNNING", "UP RUNNING MTU:1500"),
    ("Has it an address?", "/sbin/ifconfig ppp0", f"{LINK_ADDRESS} Mask:255.255.255.0"),
    ("Do the routes lead to a gateway?", "route -n", TO_LINK),
    ("Does the gateway answer?", PING, PINGED),
    ("Does a name server answer?", ASKS_NAME, "127.0.0.1: 127.0.1.1"),
    ("Does the internet answer?", ASKS_HOST % "127.0.1.1", "accepts the connection")]


def test_a_line_in_order(box):
    """Nothing is changed. A post, which would keep others waiting, asks nothing, and what cannot be
    read ends the questions."""
    connect(box, PPPOE)
    result = box.view("diagnose.htm")
    assert diagnosis(result) == (
        [[*cells, "yes", "", ""] for cells in LINE],
        ["good", "The internet answers this appliance. What a computer of the LAN does not reach "
         "may be kept from it by access control or the web filter.", "", ""])
    assert result.commands == ["/sbin/ifconfig eth0", "/sbin/pidof -x adsl-connect",
                               "/sbin/ifconfig ppp0", "/sbin/route -n", f"/bin/{PING}"]
    assert not result.changed and not result.removed
    assert result.headers == {"X-Content-State": "asking", "Content-type": "text/html"}
    posted = box.post("this_file=ppp_status.htm&todo=none&next_file=diagnose.htm")
    assert posted.commands == [] and posted.stdout.startswith(b"Content-type: text/html\n\n")
    not_all = ["bad", "The questions were not all asked.", "", ""]
    assert diagnosis(posted) == ([], not_all)
    box.block(RECORD)
    steps, result = diagnosis(box.view("diagnose.htm"))
    assert ([step[3] for step in steps], result) == (["yes", "not asked"], not_all)


# Where it is mended.
SHARING, MODEM = ["nat_base.htm", "Internet sharing"], ["sp_port.htm", "Modem"]
WAN_DC, DC = ["wan_dc.htm", "Direct connection"], ["dc_status.htm", "Status: direct connection"]
WAN_PPP, PPP = ["wan_ppp.htm", "PPPoE"], ["ppp_status.htm", "Status: PPPoE"]
PROVIDER, SP = ["sp_int.htm", "Provider"], ["sp_status.htm", "Status: modem"]


def servers(*numbers):
    return {RESOLVER: "".join(f"nameserver 127.0.0.{number}\n" for number in numbers)}


@pytest.mark.parametrize("method, changes, answered, meaning, place", [
    (DIRECT, {WAN: "nat_enable=no\n"}, "no", "Internet access is switched off.", SHARING),
    (0, {}, "none", "No access method is set up:", SHARING),
    (SERIAL, {RECORD: "Method=3\n"}, "modem, without a telephone number",
     "The modem has no number", PROVIDER),
    (PPPOE, {WAN: "nat_enable=yes\n"}, "PPPoE, without a user name", "The provider lets nobody in",
     WAN_PPP),
    (PPPOE, {"ifconfig eth0": (1, "eth0: no <device>\n")}, "eth0: no <device>",
     "The WAN port is not there.", PPP),
    (SERIAL, {PORT: None}, "No such file or directory", "The appliance has no serial port:", MODEM),
    (PPPOE, {"pidof -x adsl-connect": (1, "")}, "no process", "The connection was not started,",
     PPP),
    (DIRECT, {"ifconfig eth0": PORT_UP.replace("RUNNING ", "")}, "UP MTU:1500",
     "Nothing is heard at the WAN port:", DC),
    (DIRECT, {"ifconfig eth0": PORT_BARE}, "none", "The provider's DHCP server", WAN_DC),
    (DIRECT, {"ifconfig eth0": PORT_BARE, SETTINGS: "dynamic=0\n"}, "none",
     "The WAN port has no address.", WAN_DC),
    (PPPOE, {"ifconfig ppp0": WAITING}, WAITING, "The link waits:", PPP),
    (SERIAL, {"ifconfig ppp0": (1, "ppp0: not found\n")}, "ppp0: not found",
     "The provider has not answered,", SP),
    (DIRECT, {"route -n": ROUTES + TO_HALF}, "no row for 0.0.0.0", "There is no gateway", WAN_DC),
    (SERIAL, {"route -n": ROUTES + TO_GATEWAY}, TO_GATEWAY, "The link is up, but packets", SP),
    (DIRECT, {PING: (2, "PING 203.0.113.1 56\n\n--- 203.0.113.1 ---\nNetwork is unreachable\n"),
              ARP: f"203.0.113.1 0x1 0x0 {MAC} * eth0\n203.0.113.1 0x1 0x2 {MAC} * eth1\n"},
     "Network is unreachable", "Nobody answers at the gateway's address.", WAN_DC),
    (DIRECT, {RESOLVER: "nameserver quick.example\nnameserver 1.2.3.400\n"},
     "no name server in /etc/resolv.conf", "No name server is set,", WAN_DC),
    (SERIAL, servers(5, 8, 9, 1),  # no more than three are asked
     "127.0.0.5: refused, code 2; 127.0.0.8: no answer; 127.0.0.9: no answer",
     "No name server answers,", PROVIDER),
    (DIRECT, servers(4), "has no address", "The name server answers, but does not know", WAN_DC),
    (PPPOE, servers(3), "no answer", "Names are found, but the internet does not", PPP),
])
def test_the_first_no_ends_it(box, method, changes, answered, meaning, place):
    connect(box, method, changes)
    begin = time.monotonic()
    steps, result = diagnosis(box.view("diagnose.htm"))
    assert time.monotonic() - begin < 3.5
    verdicts = [step[3] for step in steps]
    at = verdicts.index("no")
    assert steps[at][2:] == [answered, "no", result[1], place[0]]
    assert result[1].startswith(meaning) and result == ["bad", result[1], *place]
    assert {*verdicts[:at]} <= {"yes"}
    assert all(step[1:] == ["", "", "not asked", "", ""] for step in steps[at + 1:])
    assert len(steps) == (10 if place == SHARING or method == PPPOE else 9)


@pytest.mark.parametrize("method, changes, found", [
    (DIRECT, {PING: (1, LOST), ARP: f"203.0.113.1 0x1 0x2 {MAC} * eth0\n", **servers(11, 8, 2)}, [
        [PING, f"{LOST}; but ARP tells its address, {MAC}", "yes", ""],
        [ASKS_NAME, "127.0.0.11: Connection refused; 127.0.0.8: no answer; 127.0.0.2: 127.0.1.2",
         "yes", ""],
        [ASKS_HOST % "127.0.1.2", "answers that nobody listens there", "yes", ""]]),
    (DIRECT, {"route -n": TO_GATEWAY.replace("203.0.113.1", "0.0.0.0"), **servers(10)}, [
        ["the same report of ifconfig, for inet addr", f"{PORT_ADDRESS} Mask:255.255.255.0",
         "yes", ""],
        ["nobody", "no address", "unclear", "The route names no gateway that could be asked."],
        [ASKS_NAME, "127.0.0.10: 127.0.1.1", "yes", ""]]),
    (SERIAL, {PING: (1, LOST)}, [
        [PORT, "is there", "yes", ""],
        [PING, LOST, "unclear",
         "Many providers' gateways answer no ping. What follows will tell."]]),
])
def test_what_is_good_enough(box, method, changes, found):
    connect(box, method, changes)
    steps, result = diagnosis(box.view("diagnose.htm"))
    told = [step[1:5] for step in steps]
    assert [cells for cells in found if cells not in told] == [] and result[0] == "good"


def slow_down(box, command, says):
    """A command that takes a minute, whatever it has said."""
    box.at(command).unlink()
    box.write(command, f"#!/bin/bash\n: > /tmp/runs\n{says}\nsleep 60\n", 0o755)


def test_two_seconds_a_question(box):
    connect(box)
    slow_down(box, "/bin/ping", "while :; do echo; done")
    begin = time.monotonic()
    steps, _ = diagnosis(box.view("diagnose.htm"))
    assert time.monotonic() - begin < 4
    until(lambda: not box.processes())
    assert steps[6][:4] == ["Does the gateway answer?", PING, "no answer", "no"]


@pytest.mark.parametrize("leave", [
    lambda process: process.stdout.close(),
    lambda process: process.send_signal(signal.SIGTERM),
])
def test_it_ends_soon_after_the_browser_has_gone(box, leave):
    """With the command that runs, and without the next one."""
    connect(box, PPPOE)
    slow_down(box, "/sbin/pidof", "echo 322")
    env = {"PATH": "/sbin:/bin", "REQUEST_METHOD": "GET", "NAT_TEST_ROOT": str(box.root),
           "QUERY_STRING": "next_file=diagnose.htm"}
    program = str(box.program) if SANITIZED else "/" + INSTALLED
    with subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                          preexec_fn=box.enter) as process:
        until(lambda: box.exists("/tmp/runs"))
        assert process.stdout.read1().startswith(b"X-Content-State: asking\n")
        leave(process)
        process.wait(1)
    until(lambda: not box.processes())
    commands = box.read("/.harness/commands").split("\0")
    assert commands[0] == "/sbin/ifconfig eth0" and "/sbin/ifconfig ppp0" not in commands
