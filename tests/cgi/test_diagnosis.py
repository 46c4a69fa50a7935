"""Why there is no internet: which question says no, as commands, name servers and hosts answer."""

import ctypes
import os
import re
import signal
import subprocess
import sys
import time
from html import unescape
from pathlib import Path

import pytest

import beyond
from appliance import INSTALLED, RECORD, SANITIZED, SETTINGS, WAN, until

DIRECT, PPPOE, SERIAL = 1, 2, 3
RESOLVER, PORT, ARP = "/etc/resolv.conf", "/dev/ttyS0", "/proc/net/arp"
METHODS = {DIRECT: "direct connection", PPPOE: "PPPoE", SERIAL: "modem"}
IFCONFIG = """{}      Link encap:Ethernet  HWaddr 00:A0:C9:00:00:00
          inet addr:{}  {}  Mask:255.255.255.0
          UP RUNNING  MTU:1500  Metric:1

"""
PORT_UP = IFCONFIG.format("eth0", "203.0.113.7", "Bcast:203.0.113.255")
PORT_BARE = "\n".join(line for line in PORT_UP.split("\n") if "inet addr" not in line)
LINK_UP = IFCONFIG.format("ppp0", "203.0.113.9", "P-t-P:203.0.113.1")
WAITS = IFCONFIG.format("ppp0", "10.112.112.112", "P-t-P:10.112.112.113")
NONE = "ppp0: error fetching interface information: Device not found\n"
TABLE = """Kernel IP routing table
Destination     Gateway         Genmask         Flags Metric Ref    Use Iface
192.168.1.0     0.0.0.0         255.255.255.0   U     0      0        0 eth1
"""
TO_GATEWAY = "0.0.0.0 203.0.113.1 0.0.0.0 UG 0 0 0 eth0"
TO_LINK = "0.0.0.0 0.0.0.0 0.0.0.0 U 0 0 0 ppp0"
PING = "ping -qc1 -w2 203.0.113.1"
PINGED = "1 packets transmitted, 1 packets received, 0% packet loss"
LOST = "1 packets transmitted, 0 received, 100% packet loss, time 0ms"
PINGS = "PING 203.0.113.1: 56 data bytes\n\n--- 203.0.113.1 ping statistics ---\n{}\n".format
ASKS_NAME = "the address of example.com, over UDP, port 53"
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
    box.write(ARP, "IP address  HW type  Flags  HW address  Mask  Device\n")
    route = TABLE + (TO_GATEWAY if method == DIRECT else TO_LINK)
    answers = {"ifconfig eth0": PORT_UP, "ifconfig ppp0": LINK_UP, "route -n": route,
               "pidof -x adsl-connect": "322\n", "pidof diald": "321\n", PING: PINGS(PINGED)}
    for call, text in answers.items():
        box.answer(call, text)
    for name, text in changes.items():
        if name.startswith("/"):
            box.write(name, text)
        else:
            box.answer(name, *([text] if isinstance(text, str) else reversed(text)))


def diagnosis(box):
    """The steps of a diagnosis, a list of cells each, and its result."""
    shown = box.view("diagnose.htm").shown
    rows = shown["diagnose_steps"].split("<tr>\n")[1:]
    steps = [re.findall(r"<td nowrap>(.*)</td>", unescape(row)) for row in rows]
    result = [unescape(shown[f"diagnose_{key}"]) for key in ("verdict", "meaning", "page", "title")]
    return steps, result


QUESTIONS = [
    "Is internet access switched on?", "Is an access method set up?", "Is the port there?",
    "Was the connection started?", "Is the cable plugged in?", "Has it an address?",
    "Do the routes lead to a gateway?", "Does the gateway answer?", "Does a name server answer?",
    "Does the internet answer?"]
LEFT_OUT = {DIRECT: 3, SERIAL: 4}
IFCONFIG_PORT = ["/sbin/ifconfig eth0", "eth0 Link encap:Ethernet HWaddr 00:A0:C9:00:00:00"]
HEARS = ["the same report of ifconfig, for RUNNING", "UP RUNNING MTU:1500 Metric:1"]
IFCONFIG_LINK = ["/sbin/ifconfig ppp0",
                 "inet addr:203.0.113.9 P-t-P:203.0.113.1 Mask:255.255.255.0"]


@pytest.mark.parametrize("method, changes, steps", [
    (DIRECT, {}, [IFCONFIG_PORT, HEARS, [
        "the same report of ifconfig, for inet addr",
        "inet addr:203.0.113.7 Bcast:203.0.113.255 Mask:255.255.255.0"],
        ["route -n", TO_GATEWAY], [PING, PINGED]]),
    (PPPOE, {PING: (1, PINGS(LOST))}, [
        IFCONFIG_PORT, ["/sbin/pidof -x adsl-connect", "process 322"], HEARS, IFCONFIG_LINK,
        ["route -n", TO_LINK],
        [PING, LOST, "unclear",
         "Many providers' gateways answer no ping. What follows will tell."]]),
    (SERIAL, {}, [
        [PORT, "is there"], ["/sbin/pidof diald", "process 321"], IFCONFIG_LINK,
        ["route -n", TO_LINK], [PING, PINGED]]),
])
def test_a_line_in_order(box, method, changes, steps):
    connect(box, method, changes)
    steps = [["nat_enable in /etc/ppp/CGI_nat.conf", "yes"],
             ["the access method in /etc/ppp/nat_ppp.con", METHODS[method]], *steps,
             [ASKS_NAME, "127.0.0.1: 127.0.1.1"],
             ["example.com, 127.0.1.1, over TCP, port 80", "accepts the connection"]]
    questions = [text for place, text in enumerate(QUESTIONS) if place != LEFT_OUT.get(method)]
    rows = [[question, *(step + ["yes", ""])[:4], ""]
            for question, step in zip(questions, steps, strict=True)]
    assert diagnosis(box) == (rows, [
        "good", "The internet answers this appliance. What a computer of the LAN does not reach "
        "may be kept from it by access control or the web filter.", "", ""])


# Where it is mended.
SHARING, MODEM = ["nat_base.htm", "Internet sharing"], ["sp_port.htm", "Modem"]
WAN_DC, DC = ["wan_dc.htm", "Direct connection"], ["dc_status.htm", "Status: direct connection"]
WAN_PPP, PPP = ["wan_ppp.htm", "PPPoE"], ["ppp_status.htm", "Status: PPPoE"]
PROVIDER, SP = ["sp_int.htm", "Provider"], ["sp_status.htm", "Status: modem"]

NO_PORT = ("The WAN port is not there. Connect; if that does not help, the port or its driver is "
           "at fault.")
NOT_STARTED = ("The connection was not started, or what holds it has ended. Connect, then look at "
               "the log.")
SILENCE = ("Nothing is heard at the WAN port: the cable is not plugged in at one of its ends, or "
           "the provider's device is switched off. If both are in order, connect.")
NO_ROUTE = ("There is no gateway on the WAN port, so packets for the internet have nowhere to go. "
            "Enter the provider's; with DHCP, ask the provider.")
NO_GATEWAY = ("Nobody answers at the gateway's address. Is it right, and is the provider's device "
              "switched on?")
NO_SERVER = "No name server is set, so no name can be found. Enter the provider's."
MUTE_SERVERS = ("No name server answers, so no name is found. Are these the provider's? If so, the "
                "fault is beyond the gateway.")
NAMELESS = ("The name server answers, but does not know the names of the internet. Enter another "
            "one.")


def servers(*numbers):
    return "".join(f"nameserver 127.0.0.{number}\n" for number in numbers)


@pytest.mark.parametrize("method, changes, question, answered, meaning, place", [
    (DIRECT, {WAN: "nat_enable=no\n"}, 0, "no",
     "Internet access is switched off. Switch it on.", SHARING),
    (0, {}, 1, "none", "No access method is set up: the appliance does not know how to reach the "
     "internet. Choose one.", SHARING),
    (SERIAL, {RECORD: "Method=3\nPhone1=\n"}, 1, "modem, without a telephone number",
     "The modem has no number to dial. Enter that of the provider.", PROVIDER),
    (PPPOE, {WAN: "nat_enable=yes\n"}, 1, "PPPoE, without a user name",
     "The provider lets nobody in without a name. Enter that of the account.", WAN_PPP),
    (DIRECT, {"ifconfig eth0": (1, "eth0: no <device>\n")}, 2, "eth0: no <device>", NO_PORT, DC),
    (PPPOE, {"ifconfig eth0": ""}, 2, "no answer", NO_PORT, PPP),
    (SERIAL, {PORT: None}, 2, "No such file or directory",
     "The appliance has no serial port: it is switched off, or its driver is missing.", MODEM),
    (PPPOE, {"pidof -x adsl-connect": (1, "")}, 3, "no process", NOT_STARTED, PPP),
    (SERIAL, {"pidof diald": (1, "")}, 3, "no process", NOT_STARTED, SP),
    (DIRECT, {"ifconfig eth0": PORT_UP.replace("RUNNING ", "")}, 4, "UP MTU:1500 Metric:1",
     SILENCE, DC),
    (PPPOE, {"ifconfig eth0": "eth0 Link\n"}, 4, "no flags", SILENCE, PPP),
    (DIRECT, {"ifconfig eth0": PORT_BARE}, 5, "none",
     "The provider's DHCP server has given no address. Is the address really assigned by DHCP?",
     WAN_DC),
    (DIRECT, {"ifconfig eth0": PORT_BARE, SETTINGS: "dynamic=0\n"}, 5, "none",
     "The WAN port has no address. Enter the one that the provider has assigned.", WAN_DC),
    (PPPOE, {"ifconfig ppp0": WAITS}, 5,
     "inet addr:10.112.112.112 P-t-P:10.112.112.113 Mask:255.255.255.0",
     "The link waits: it dials when somebody in the LAN needs it. Connect; if it goes on waiting, "
     "the log tells why.", PPP),
    (SERIAL, {"ifconfig ppp0": (1, NONE)}, 5, NONE.strip(),
     "The provider has not answered, or does not accept user name and password. Connect, then look "
     "at the log.", SP),
    (DIRECT, {"route -n": TABLE}, 6, "no row for 0.0.0.0", NO_ROUTE, WAN_DC),
    (DIRECT, {"route -n": TABLE + TO_LINK}, 6, TO_LINK, NO_ROUTE, WAN_DC),
    (DIRECT, {"route -n": TO_GATEWAY.replace("0.0.0.0 UG", "128.0.0.0 UG")}, 6,
     "no row for 0.0.0.0", NO_ROUTE, WAN_DC),
    (SERIAL, {"route -n": TABLE + TO_GATEWAY}, 6, TO_GATEWAY,
     "The link is up, but packets for the internet do not go over it. Connect anew.", SP),
    (DIRECT, {PING: (1, PINGS(LOST))}, 7, LOST, NO_GATEWAY, WAN_DC),
    (DIRECT, {PING: (2, "PING 203.0.113.1 56\nconnect: Network is unreachable\n"),
              ARP: f"203.0.113.1 0x1 0x0 {MAC} * eth0\n203.0.113.1 0x1 0x2 {MAC} * eth1\n"}, 7,
     "connect: Network is unreachable", NO_GATEWAY, WAN_DC),
    (DIRECT, {RESOLVER: "nameserver quick.example\nnameserver 1.2.3.400\n"}, 8,
     "no name server in /etc/resolv.conf", NO_SERVER, WAN_DC),
    (PPPOE, {RESOLVER: None}, 8, "no name server in /etc/resolv.conf", NO_SERVER, WAN_PPP),
    (SERIAL, {RESOLVER: servers(6, 11) + "nameserver 192.0.2.1\n" + servers(1)}, 8,
     "127.0.0.6: no answer; 127.0.0.11: Connection refused; 192.0.2.1: Network is unreachable",
     MUTE_SERVERS, PROVIDER),
    (DIRECT, {RESOLVER: servers(5, 8, 9)}, 8,
     "127.0.0.5: refused, code 2; 127.0.0.8: no answer; 127.0.0.9: no answer", MUTE_SERVERS,
     WAN_DC),
    (DIRECT, {RESOLVER: servers(4)}, 9, "has no address", NAMELESS, WAN_DC),
    (DIRECT, {RESOLVER: servers(7)}, 9, "has no address", NAMELESS, WAN_DC),
    (PPPOE, {RESOLVER: servers(3)}, 9, "no answer", "Names are found, but the internet does not "
     "answer: the fault is the provider's, or a firewall's.", PPP),
])
def test_the_first_no_ends_it(box, method, changes, question, answered, meaning, place):
    connect(box, method, changes)
    begin = time.monotonic()
    steps, result = diagnosis(box)
    assert time.monotonic() - begin < 5
    at = [step[0] for step in steps].index(QUESTIONS[question])
    assert steps[at][2:] == [answered, "no", meaning, place[0]]
    assert {step[3] for step in steps[:at]} <= {"yes"}
    assert {(*step[1:],) for step in steps[at + 1:]} <= {("", "", "not asked", "", "")}
    assert (len(steps) == 10) == (method in (0, PPPOE) or question == 0)
    assert result == ["bad", meaning, *place]


@pytest.mark.parametrize("changes, question, asked, answered, verdict", [
    ({PING: (1, PINGS(LOST)), ARP: f"203.0.113.1 0x1 0x2 {MAC} * eth0\n"}, 7, PING,
     f"{LOST}; but ARP tells its address, {MAC}", "yes"),
    ({"route -n": TO_GATEWAY.replace("203.0.113.1", "0.0.0.0")}, 7, "nobody", "no address",
     "unclear"),
    ({RESOLVER: servers(11, 2)}, 8, ASKS_NAME,
     "127.0.0.11: Connection refused; 127.0.0.2: 127.0.1.2", "yes"),
    ({RESOLVER: servers(2)}, 9, "example.com, 127.0.1.2, over TCP, port 80",
     "answers that nobody listens there", "yes"),
    ({RESOLVER: servers(10)}, 8, ASKS_NAME, "127.0.0.10: 127.0.1.1", "yes"),
])
def test_what_is_good_enough(box, changes, question, asked, answered, verdict):
    connect(box, DIRECT, changes)
    steps, result = diagnosis(box)
    row = next(step for step in steps if step[0] == QUESTIONS[question])
    assert row[1:4] == [asked, answered, verdict] and result[0] == "good"


def test_what_it_runs_and_leaves_alone(box):
    connect(box, PPPOE)
    result = box.view("diagnose.htm")
    assert result.commands == ["/sbin/ifconfig eth0", "/sbin/pidof -x adsl-connect",
                               "/sbin/ifconfig ppp0", "/sbin/route -n", f"/bin/{PING}"]
    assert not result.changed and not result.removed
    assert result.headers == {"X-Content-State": "asking", "Content-type": "text/html"}
    form = {"this_file": "ppp_status.htm", "todo": "none", "next_file": "diagnose.htm"}
    posted = box.post(form)  # it would keep others waiting
    assert posted.commands == [] and posted.stdout.startswith(b"Content-type: text/html\n\n")
    assert posted.shown["diagnose_meaning"] == "The questions were not all asked."
    box.block(RECORD)
    steps, result = diagnosis(box)
    assert [step[3] for step in steps] == ["yes", "not asked"]
    assert result == ["bad", "The questions were not all asked.", "", ""]


def slow_down(box, command, *lines):
    """A command that takes a minute, whatever it has said."""
    box.at(command).unlink()
    lines = "#!/bin/bash", "echo $$ > /tmp/group", *lines, "sleep 60", ""
    box.write(command, "\n".join(lines), 0o755)


def waits(box):
    """Whether that command, or what it has started, is there."""
    pid = box.at("/tmp/group")
    group = pid.read_text().strip() if pid.exists() else ""
    stats = (each.read_text().rsplit(")", 1)[1].split()
             for each in Path("/proc").glob("[0-9]*/stat"))
    return group and any(stat[2] == group and stat[0] != "Z" for stat in stats)


@pytest.mark.parametrize("says", ["", "while :; do echo; done"])
def test_two_seconds_a_question(box, says):
    connect(box)
    slow_down(box, "/bin/ping", says)
    begin = time.monotonic()
    steps, _ = diagnosis(box)
    assert time.monotonic() - begin < 4
    until(lambda: not waits(box))
    assert next(step for step in steps if step[0] == QUESTIONS[7])[2:4] == ["no answer", "no"]


@pytest.mark.parametrize("leave", [
    lambda process: process.stdout.close(),
    lambda process: process.send_signal(signal.SIGTERM),
])
def test_it_ends_soon_after_the_browser_has_gone(box, leave):
    """With the command that runs, and without the next one."""
    connect(box, PPPOE)
    slow_down(box, "/sbin/pidof", "echo 322")
    box.at("/sbin/ifconfig").unlink()
    box.write("/sbin/ifconfig", f"#!/bin/bash\ntouch /tmp/$1\nprintf '%s' '{PORT_UP}'\n", 0o755)
    env = {"PATH": "/sbin:/bin:/usr/sbin:/usr/bin", "REQUEST_METHOD": "GET",
           "QUERY_STRING": "next_file=diagnose.htm", "NAT_TEST_ROOT": str(box.root)}
    program = str(box.program) if SANITIZED else "/" + INSTALLED
    with subprocess.Popen([program], env=env, stdout=subprocess.PIPE,
                          preexec_fn=box.enter) as process:
        until(lambda: waits(box))
        assert process.stdout.read1().startswith(b"X-Content-State: asking\n")
        leave(process)
        process.wait(1)
    until(lambda: not waits(box))
    assert box.exists("/tmp/eth0") and not box.exists("/tmp/ppp0")
