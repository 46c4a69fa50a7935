"""Changes are kept, looked at, taken back after a crash and undone."""

import re

import pytest

from appliance import CHANGES, PAP, RECORD, octets, told

SERVICES = "nat_conn.htm"
ADMIN = {"REMOTE_USER": "admin", "REMOTE_ADDR": "192.168.1.7"}
LIST = "/usr/local/squid/etc/deny.list"
WEB = dict(vs_web_enable="checked", **octets("vs_web_", "10.0.0.9"))
TIME = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC"


def act(appliance, page, todo, **fields):
    form = {"this_file": page, "todo": todo, "next_file": page, **fields}
    return appliance.post(form, ADMIN)


def save(appliance, page, **fields):
    return act(appliance, page, "save", **fields)


def settings(appliance):
    """All files but those of the changes and the state of links."""
    files = appliance.snapshot().items()
    return {path: (content, appliance.at(path).lstat().st_mode) for path, content in files
            if not path.startswith((CHANGES, "/tmp/"))}


def kept_changes(appliance):
    return sorted(path.name for path in appliance.at(CHANGES).iterdir())


def three_saves(appliance):
    save(appliance, SERVICES, internet_access="checked", access_method="WAN Port - PPPoE",
         enable_dmz="checked")
    save(appliance, "wan_ppp.htm", ppp_ac_name="joe", ppp_ac_pwd="pw4711")
    save(appliance, "nat_vs.htm", **WEB)


def undo(appliance, number, **fields):
    return act(appliance, "history.htm", "undo", change=number, **fields)


def ban(appliance, number):
    act(appliance, "sites_ban.htm", "add_url", new_url=f"site{number}.example")


def test_a_change_is_shown_in_words(kept):
    three_saves(kept)
    first, second, newest = (
        kept.get(f"next_file=history.htm&change={number}").shown for number in (1, 2, ""))
    cells = re.findall("<td nowrap>(.*)</td>", second["history_list"])
    assert cells[::6] == ["3", "2", "1"] and re.fullmatch(TIME, cells[1])
    assert cells[2:6] == ["admin from 192.168.1.7", "nat_vs.htm", "save", "accepted"]
    assert re.fullmatch(f"Change 2, {TIME}", second["history_title"])
    assert second["history_summary"] == "wan_ppp.htm, save, by admin from 192.168.1.7: accepted"
    assert f"{PAP}\nchanged\n" in second["history_files"] and "pw4711" not in str(second)
    assert second["history_later"] == "3"
    assert f"{RECORD}\nWeb: 0 → 1\nWebIP:  → 10.0.0.9\n" in newest["history_files"]
    assert "\n+ipvsadm -A -t $extip:80" in newest["history_files"]
    assert "\n0 /usr/sbin/adsl-start\n" in first["history_commands"]
    names = kept.read(f"{CHANGES}/000002/request").splitlines()[5:]
    assert names == ["next_file", "ppp_ac_name", "ppp_ac_pwd", "this_file", "todo"]


def test_lists_are_compared_line_by_line(kept):
    """Three lines are shown around a change; far ones stand apart."""
    kept.write(LIST, "".join(f"s{number}\n" for number in range(1, 18)))
    kept.post("this_file=sites_ban.htm&todo=del_selected"
              "&banned_list=s2&banned_list=s8&banned_list=s16")
    lines = ("@@ -1,11 +1,9 @@| s1|-s2| s3| s4| s5| s6| s7|-s8| s9| s10| s11|"
             "@@ -13,5 +11,4 @@| s13| s14| s15|-s16| s17|")
    shown = kept.view("history.htm").shown["history_files"].splitlines()
    assert shown == [LIST, *lines.split("|")]
    kept.write(LIST, "")
    ban(kept, 1)
    assert "\n@@ -0,0 +1,1 @@\n+site1.example\n" in kept.view("history.htm").body


def test_three_saves_are_undone_in_one_step_and_done_again(kept):
    before = settings(kept)
    three_saves(kept)
    after = settings(kept)
    result = undo(kept, 1)
    assert (result.page, result.message, settings(kept)) == ("history.htm", told(79), before)
    assert "/usr/sbin/adsl-start" not in result.commands and "/sbin/ipvsadm -C" in result.commands
    assert undo(kept, 4).message == told(79) and settings(kept) == after


def test_what_was_edited_by_hand_is_named_and_overwritten_when_asked_twice(kept):
    save(kept, SERVICES, enable_telnet="unchecked")
    save(kept, "nat_vs.htm", **WEB)
    kept.write(RECORD, kept.read(RECORD) + "x=1\n", 0o600)
    result = undo(kept, 2)
    assert (result.message, result.shown["history_overwrite"]) == (told(78, RECORD), "yes")
    assert not result.changed and undo(kept, 2, overwrite="yes").message == told(79)
    assert "Web=0\n" in kept.read(RECORD) and "x=1" not in kept.read(RECORD)
    assert undo(kept, 99).message == told(77)


def test_a_stale_page_is_refused_once(kept):
    """Saves of other groups do not matter, nor those that were refused or have been seen."""
    save(kept, "wan_dc.htm", wan_ip_type="fixed", dns1_ip_1="9")
    save(kept, SERVICES, enable_dmz="checked")
    stale = {"enable_ftp": "checked", "typed": "mine"}
    assert "Status" not in save(kept, "wan_ppp.htm", seen=1, ppp_ac_name="joe").headers
    result = save(kept, "nat_vs.htm", seen=1, **stale)
    assert result.headers["Status"] == "409 Conflict"
    assert (result.page, result.changed) == ("nat_vs.htm", {})
    assert re.fullmatch(re.escape(told(76)) % ("admin", TIME), result.message)
    assert (result.shown["typed"], result.shown["seen"]) == ("mine", "3")
    assert save(kept, "nat_vs.htm", seen=2, **stale).message == ""


def test_a_full_disk_under_the_history_refuses_the_save(kept):
    before = settings(kept)
    kept.disk = 5000
    result = save(kept, SERVICES, enable_dmz="checked", confirm_within=60, **{"x" * 6000: ""})
    assert result.message == told(64, f"{CHANGES}/")
    assert settings(kept) == before and not kept_changes(kept)


def test_so_many_changes_are_kept_and_of_long_files_fewer(kept):
    for number in range(66):
        ban(kept, number)
    assert kept_changes(kept) == [*(f"{number:06}" for number in range(3, 67)), "newest"]
    kept.write(LIST, "site.example\n" * 115_000)  # 1.5 MB
    for number in range(66, 71):
        ban(kept, number)
    assert kept_changes(kept) == ["000070", "000071", "newest"]


@pytest.mark.parametrize("lost, answered, damaged", [
    ("000001/request", 77, 1), ("000001/1", 77, 1), ("000001/1.of", 79, 0), ("newest", 79, 0)])
def test_a_damaged_change_is_named_and_stops_nothing(kept, lost, answered, damaged):
    """One whose number was not noted before a crash is none."""
    save(kept, SERVICES, enable_dmz="checked")
    kept.write(f"{CHANGES}/{lost}", None)
    assert undo(kept, 1).message == told(answered)
    result = save(kept, SERVICES, enable_ftp="unchecked")
    assert result.message == "" and "SrvFTP=0\n" in kept.read(RECORD)
    listed = kept.view("history.htm").shown["history_list"]
    assert listed.count("<td nowrap>damaged</td>") == damaged
    assert kept_changes(kept)[-2:] == ["000002" if answered == 77 else "000003", "newest"]


def test_what_a_power_cut_has_torn_is_taken_back_and_older_changes_can_be_undone(kept):
    """Also where it has taken whose change it was."""
    save(kept, SERVICES, enable_dmz="checked")
    before = settings(kept)
    opened = kept.at(f"{CHANGES}/open")
    opened.mkdir()
    kept.at(LIST).rename(opened / "1")
    (opened / "1.of").symlink_to(f"0644 0 0 {LIST}")
    (opened / "request").touch()
    kept.write(LIST, "torn")
    assert re.fullmatch(re.escape(told(75)) % TIME, kept.view("nat_vs.htm").message)
    assert settings(kept) == before and undo(kept, 1).message == told(79)
