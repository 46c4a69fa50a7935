"""A request knows the files that it has read or written, until a command changes one."""

from appliance import RECORD, SET_DNS, SETTINGS, WAN, octets

SERVICES = "/etc/rc.d/rc.service"
SITES = "/usr/local/squid/etc/deny.list"

# Changes a file where it is, at once and without making it longer or shorter.
CHANGE = """#!/bin/sh
text=$(< {path})
printf '%s\\n' "${{text/{old}/{new}}}" > {path}
"""


def let_change(appliance, program, path, old, new):
    appliance.write(program, None)
    appliance.write(program, CHANGE.format(path=path, old=old, new=new), 0o755)


def test_a_command_may_change_what_the_request_has_just_written(appliance):
    let_change(appliance, SET_DNS, SETTINGS, "bootproto=none", "bootproto=dhcp")
    before = appliance.read(SETTINGS)
    appliance.save("wan_dc.htm", isp_ip_type="dynamic", device_name="my-pc",
                   **octets("dns3_ip_", "192.0.2.55"))
    expected = {"bootproto=none": "bootproto=dhcp", "dns_server3=": "dns_server3=192.0.2.55",
                "wan_name=": "wan_name=my-pc"}
    assert appliance.read(SETTINGS).splitlines() == [
        expected.get(line, line) for line in before.splitlines()]


def test_a_command_may_change_what_the_request_has_read(appliance):
    appliance.write(RECORD, "Method=1\n")
    appliance.change(WAN, nat_enable="yes", connect_method="1")
    appliance.answer("ifconfig eth0", "inet addr:192.0.2.7")
    let_change(appliance, "/sbin/ifdown", SETTINGS, "lan_interface=eth1", "lan_interface=eth2")
    result = appliance.save("nat_conn.htm", internet_access="unchecked",
                            access_method="WAN Port - Direct Connection")
    assert "/etc/ppp/ip-down eth2" in result.commands


def test_a_script_that_only_has_another_mode_gets_its_own_and_stays(appliance):
    before = appliance.at(SERVICES).stat()
    appliance.save("nat_conn.htm", enable_dmz="checked")
    after = appliance.at(SERVICES).stat()
    assert (before.st_mode & 0o777, after.st_mode & 0o777) == (0o755, 0o744)
    assert after.st_ino == before.st_ino


def test_of_a_long_list_what_stays_is_not_written_anew(appliance):
    text = "".join(f"site{number}.example\n" for number in range(10_000))
    appliance.write(SITES, text)
    for todo, field, site, expected in (
        ("del_selected", "banned_list", "none.example", text),
        ("add_url", "new_url", "new.example", text + "new.example\n"),
        ("del_selected", "banned_list", "new.example", text),
    ):
        before = appliance.at(SITES).stat().st_ino
        appliance.post({"this_file": "sites_ban.htm", "todo": todo, field: site})
        assert appliance.read(SITES) == expected
        assert (appliance.at(SITES).stat().st_ino == before) == (site == "none.example")
