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


def test_whole_logs(appliance):
    appliance.write(SQUID, "cache_access_log /var/log/proxy.log\n")
    for number, name in enumerate(["pppd", "ppp0", "ppp1", "filter"]):
        path = f"/var/log/{'proxy' if name == 'filter' else name}.log"
        for content in bytes(range(number, 256)) * 1000, None:
            appliance.write(path, content)
            assert log(appliance, name) == (content or b"")


@pytest.mark.parametrize("query, path, status, text", [
    ("log&name=PPPD", None, "404 Not Found", "There is no log of that name."),
    # a log neither when it is not known what of it must not be shown
    *((query, path, "500 Internal Server Error", told(13, path.replace("<", "&lt;")) + "\n")
      for query, path in (("log&name=pppd", RECORD), ("log&name=pppd", WAN),
                          ("log&name=filter", "/a<b"), ("hosts", LEASES))),
])
def test_what_cannot_be_shown(appliance, query, path, status, text):
    appliance.write(SQUID, "cache_access_log /a<b\n")
    if path:
        appliance.block(path)
    result = appliance.get(f"next_file={query}")
    page = NOTICE.format(status[4:], status[4:], text)
    answer = f"Status: {status}\nContent-type: text/html\n\n{page}"
    assert (result.stdout.decode(), result.status) == (answer, 0)


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
# A host chooses its name.
NAMES = {"\\342\\202\\254\\364\\220\\200\\200": "€" + "\ufffd" * 4,
         '}\n{;#\\"': '}\n{;#"', "\\1112\\9": "I29", "\\170" * 300: "x" * 255}


def lease(number, *statements):
    lines = "".join(f"  {each};\n" for each in statements)
    return f"lease 192.168.1.{number} {{\n{lines}}}\n"


def arp(number, flags="0x2", mac="00:11:22:33:44:55", interface="br0"):
    return f"192.168.1.{number:<12} 0x1         {flags:<11} {mac}     *        {interface}\n"


def test_the_answer(appliance):
    odd = 'client-hostname "a\\"\\\\\\012\\303\\251\\377é"'
    appliance.write(LEASES, lease(23, MAC, NAMED) + lease(3, odd))
    result = appliance.get("next_file=hosts")
    assert result.did_nothing and result.stdout.decode() == (
        "Content-type: application/json\n\n"
        '[{"address":"192.168.1.3","name":"a\\"\\\\\\u000aé\ufffdé","mac":""},\n'
        ' {"address":"192.168.1.23","name":"anna","mac":"00:11:22:33:44:55"}]\n')


def test_who_is_there(appliance):
    """Name and hardware address of each, by the last number of its address."""
    cases = [  # the leases of an address, and whether a host has it
        *(([[f'client-hostname "{octets}"']], [name, ""]) for octets, name in NAMES.items()),
        ([[NEW, MAC, NAMED, "binding state active", "next binding state free"]], ANNA),
        ([[NAMED, 'on expiry { client-hostname "x"', "}", "hardware ethernet 00:11"]],
         ["anna", ""]),
        ([["ends never", MAC, "binding state free"]], None),
        ([["ends epoch 4102444800", MAC]], BARE), ([["ends epoch 5; # ends never"]], None),
        ([["ends 5 soon"]], None), ([["ends 5 2099/13/01 00:00:00"]], None),
        ([[OLD, MAC], [NEW, MAC, NAMED]], ANNA), ([[NEW, NAMED], [OLD]], None),
        ([[NAMED], [MAC]], BARE)]
    leases = [lease(n, *each) for n, (statements, _) in enumerate(cases) for each in statements]
    leases += map(lease, ("256", "1.1", "", "1.", "x", "1x"))
    leases += [lease(50, MAC, NAMED), lease(51, NEW, NAMED), lease(52, MAC, NAMED)[:-2]]
    table = ["IP address\n", arp(50), arp(51), arp(60, "0x6"), arp(61, "0x0"),
             arp(62, interface="eth1"), arp(63, mac="0"), "192.168.1.64\n"]
    found = {n: host for n, (_, host) in enumerate(cases) if host}
    found |= {50: ANNA, 51: BARE, 60: BARE}
    appliance.change(SETTINGS, lan_interface="br0")
    appliance.write(LEASES, "# lease\nhost x { " + MAC + "; }\n" + "".join(leases))
    appliance.write(ARP, "".join(table))
    hosts = json.loads(appliance.get("next_file=hosts").body)
    assert {int(each["address"].split(".")[3]): [each["name"], each["mac"]]
            for each in hosts} == found


def test_the_most_hosts(appliance):
    leases = (f"lease 10.0.{n}.9 {{}} lease 9.{n}.0.9 {{}}" for n in range(256, -1, -1))
    appliance.write(LEASES, "".join(leases))
    assert appliance.get("next_file=hosts").body.count("address") == 512
