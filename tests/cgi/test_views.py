"""The views that are no pages: whole logs as downloads, the hosts of the LAN for scripts."""

import json

import pytest

from appliance import RECORD, SETTINGS, WAN, told
from test_requests import NOTICE

SQUID = "/usr/local/squid/etc/squid.conf"
LOG, LEASES, ARP = "/var/log/pppd.log", "/var/lib/dhcpd.leases", "/proc/net/arp"
DOWNLOAD = ("Content-Disposition: attachment; filename={}.log\n"
            "Content-type: text/plain; charset=utf-8\n\n")


def log(appliance, name="pppd"):
    head, _, body = appliance.get(f"next_file=log&name={name}").stdout.partition(b"\n\n")
    assert head + b"\n\n" == DOWNLOAD.format(name).encode()
    return body


def is_refused(result, status, text):
    page = NOTICE.format(status[4:], status[4:], text)
    answer = f"Status: {status}\nContent-type: text/html\n\n{page}"
    return (result.stdout.decode(), result.status) == (answer, 0)


def test_whole_logs(appliance):
    paths = {"pppd": LOG, "ppp0": "/var/log/ppp0.log", "ppp1": "/var/log/ppp1.log",
             "filter": "/var/log/proxy.log"}
    appliance.write(SQUID, "cache_access_log /var/log/proxy.log\n")
    for number, (name, path) in enumerate(paths.items()):
        content = bytes(range(number, 256)) * 1000
        appliance.write(path, content)
        assert log(appliance, name) == content
        appliance.write(path, None)
        assert log(appliance, name) == b""


@pytest.mark.parametrize("name", ["", LOG, "PPPD"])
def test_an_unknown_log(appliance, name):
    result = appliance.get(f"next_file=log&name={name}")
    assert is_refused(result, "404 Not Found", "There is no log of that name.")


@pytest.mark.parametrize("query, path", [
    ("log&name=pppd", RECORD), ("log&name=pppd", WAN), ("log&name=filter", "/a<b"),
    ("hosts", LEASES),
])
def test_what_cannot_be_read(appliance, query, path):
    """A log neither when it is not known what of it must not be shown."""
    appliance.write(SQUID, "cache_access_log /a<b\n")
    appliance.block(path)
    text = told(13, path.replace("<", "&lt;")) + "\n"
    assert is_refused(appliance.get(f"next_file={query}"), "500 Internal Server Error", text)


@pytest.mark.parametrize("modem, pppoe, text, shown", [
    ("", "", 'password="a\\"b" x\npassword="c\nd password=""',
     'password="??????" x\npassword="??????\nd password=""'),
    ("geheim\r", "p p", "send (geheim^M)\nsend (p p)gehei", "send (??????^M)\nsend (??????)gehei"),
    ("ababcd", "aba", "xababax ababcdg ab", "x??????x ??????g ab"),
    ("x", "password", 'ppassword="y', 'p??????="??????'),
    ("ab", "", "a" * 40000 + "b" * 40000 + "a", "a" * 39999 + "??????" + "b" * 39999 + "a"),
])
def test_secrets_are_masked(appliance, modem, pppoe, text, shown):
    appliance.write(RECORD, f"Password={modem}\n")
    appliance.write(WAN, f"pppoe_password={pppoe}\n")
    appliance.write(LOG, text)
    assert log(appliance).decode() == shown


MAC, NAMED = "hardware ethernet 00:11:22:33:44:55", 'client-hostname "anna"'
OLD, NEW = "ends 4 2001/11/09 12:00:00", "ends 5 2099/12/31 23:59:59"
ANNA, BARE = ["anna", "00:11:22:33:44:55"], ["", "00:11:22:33:44:55"]


def lease(number, *statements):
    lines = "".join(f"  {each};\n" for each in statements)
    return f"lease 192.168.1.{number} {{\n{lines}}}\n"


def arp(number, flags="0x2", mac="00:11:22:33:44:55", interface="eth1"):
    return f"192.168.1.{number:<12} 0x1         {flags:<11} {mac}     *        {interface}\n"


def hosts(appliance, leases, table=None):
    """Name and hardware address of each, by the last number of its address."""
    appliance.write(LEASES, leases)
    appliance.write(ARP, table)
    found = json.loads(appliance.get("next_file=hosts").body)
    return {int(each["address"].split(".")[3]): [each["name"], each["mac"]] for each in found}


def test_the_answer(appliance):
    odd = 'client-hostname "a\\"\\\\\\012\\303\\251\\377é"'
    appliance.write(LEASES, lease(23, MAC, NAMED) + lease(3, odd))
    result = appliance.get("next_file=hosts")
    assert result.did_nothing and result.stdout.decode() == (
        "Content-type: application/json\n\n"
        '[{"address":"192.168.1.3","name":"a\\"\\\\\\u000aé\ufffdé","mac":""},\n'
        ' {"address":"192.168.1.23","name":"anna","mac":"00:11:22:33:44:55"}]\n')


def test_leases(appliance):
    """A host chooses its name."""
    names = {"\\342\\202\\254\\360\\237\\230\\200": "€😀", "\\340\\237\\277": "\ufffd" * 3,
             "\\355\\240\\200": "\ufffd" * 3, "\\364\\220\\200\\200": "\ufffd" * 4,
             '}\n{;#\\"': '}\n{;#"', "\\1112\\9": "I29", "\\170" * 300: "x" * 255}
    cases = [
        *(([f'client-hostname "{octets}"'], [name, ""]) for octets, name in names.items()),
        ([NEW, MAC, NAMED, "binding state active", "next binding state free"], ANNA),
        ([NAMED, 'on expiry { client-hostname "x"', "}", "hardware ethernet 00:11"], ["anna", ""]),
        (["ends never", MAC, "binding state free"], None), (["ends epoch 4102444800", MAC], BARE),
        (["ends epoch 5; # ends never"], None), (["ends 5 soon"], None), ([OLD, MAC], None),
        (["ends 5 2099/13/01 00:00:00"], None)]
    leases = [lease(n, *statements) for n, (statements, _) in enumerate(cases)]
    found = {n: host for n, (_, host) in enumerate(cases) if host}
    assert hosts(appliance, "# lease\nhost x { " + MAC + "; }\n" + "".join(leases)) == found


@pytest.mark.parametrize("leases, table, host", [
    (lease(9, OLD, MAC) + lease(9, NEW, MAC, NAMED), None, ANNA),
    (lease(9, NEW, NAMED) + lease(9, OLD), None, None),
    (lease(9, NAMED) + lease(9, MAC), None, BARE), (lease(9, MAC, NAMED)[:-2], None, None),
    ("".join(lease(n) for n in ("256", "1.1", "", "1.", "x", "1x")), None, None),
    (None, "IP address\n" + arp(9, "0x6"), BARE),
    (None, arp(9, "0x0") + arp(9, interface="eth0") + arp(9, mac="0") + "192.168.1.9\n", None),
    (lease(9, MAC, NAMED), arp(9), ANNA), (lease(9, NEW, NAMED), arp(9), BARE),
])
def test_who_is_there(appliance, leases, table, host):
    assert hosts(appliance, leases, table) == ({9: host} if host else {})


def test_the_interface_of_the_lan_and_the_most_hosts(appliance):
    appliance.change(SETTINGS, lan_interface="br0")
    assert list(hosts(appliance, None, arp(9) + arp(8, interface="br0"))) == [8]
    leases = (f"lease 10.0.{n}.9 {{}} lease 9.{n}.0.9 {{}}" for n in range(256, -1, -1))
    appliance.write(LEASES, "".join(leases))
    assert appliance.get("next_file=hosts").body.count("address") == 512
