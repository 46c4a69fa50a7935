"""The road of a request: what is decoded, which page answers, and what a bad request gets."""

import html
import re

import pytest

from appliance import MESSAGES, PROJECT, RECORD, WAN, WWW, plain, told

NOTICE = """<!DOCTYPE html>
<HTML lang="en">
<HEAD>
<META charset="utf-8">
<META name="viewport" content="width=device-width, initial-scale=1">
<LINK rel="icon" href="icon.svg">
<LINK rel="stylesheet" href="style.css">
<TITLE>{}</TITLE>
</HEAD>
<BODY>
<MAIN>
<H1>{}</H1>
<H2>{}</H2>
<P><A href="nat.cgi?next_file=nat_base.htm">Internet sharing</A></P>
</MAIN>
</BODY>
</HTML>
"""
FATAL = """<HTML>
<HEAD>
<TITLE>Error!</TITLE>
</HEAD>
<BODY>
<H1>{}</H1>
<H2>{}</H2>
</BODY>
</HTML>
"""

MESSAGE_PAGE = """<html><head><title>Message
</title></head><body background=yellowbg.gif><div align=center><center>
<table border=0 cellspacing=0 bgcolor=#00ffff width=100% cellpadding=0>
<tr><td><h3 align=center>
Failure
</font></h3></td></tr></table><table><tr><td>
{}
</td></tr></table>
<table><tr><td><table border=2 cellspacing=2 bgcolor=#cccccc<tr>
<td align=center bordercolor=#cccccc><a href=
nat_fs.htm
>Back</a></td></tr></table></td></tr></table></center></div></body></html>
"""

PAGES = [path.name for path in WWW.glob("*.htm") if "@message" in path.read_text()]
SCRIPT = "<script>alert('\"')</script>"


def seen(result):
    """Which page has answered, with which message, and what it shows of a field none knows."""
    return f"{result.page.removesuffix('.htm')}[{result.message}][{result.shown['typed']}]"


def unknown(name):
    return told(10, html.escape(name).replace("&#x27;", "&#39;")) + "\n"


def test_without_a_form_the_default_page_answers(appliance):
    for method, query in ("GET", None), ("GET", "next_file&todo&typed=x"), ("POST", None):
        result = appliance.request({"REQUEST_METHOD": method, "QUERY_STRING": query}, b"")
        assert (seen(result), result.stderr, result.commands) == ("nat_conn[][]", "", [])


@pytest.mark.parametrize("form, answer", [
    ("&&", "nat_conn[][]"),
    ("this_file=wan_dc.htm&todo=&next_file=nat_vs.htm", "nat_vs[][]"),
    # pages without a setter accept nothing but "save"
    ("this_file=nat_base.htm&todo=x&typed=a", f"nat_base[{told(5, 'nat_base.htm')}][a]"),
    # a page outside every group saves nothing and goes on
    ("this_file=filterlog.htm&todo=save&next_file=nat_base.htm", "nat_base[][]"),
    ("todo=save&next_file=nat_base.htm", "nat_base[][]"),
    # an upload goes to the modem port page
    ("this_file=odd.htm&todo=upload&typed=a", f"sp_port[{told(22)}][a]"),
    ("this_file=sp_port.htm&todo=upload&typed=%0a", f"sp_port[{told(61, 'typed')}][\n]"),
    # the value that sorts first is the one that counts, and is decoded before
    ("this_file=wan_ppp.htm&&this_file=wan_dc.htm&todo=x&"
     "typed=b%20b&typed=b+a%2B%c3%A4%26&Typed=0&", "wan_dc[][b a+ä&]"),
    ("this_file=wan_dc.htm&=&todo=x&typed=b&t%79ped=a=%", "wan_dc[][a=]"),
    # views and posts of pages that there are none of
    ("next_file=NAT_BASE.HTM&next_file=odd.htm", MESSAGE_PAGE.format(unknown("NAT_BASE.HTM"))),
    (f"next_file={SCRIPT * 2}", MESSAGE_PAGE.format(unknown(SCRIPT * 2)[:127])),
    (f"this_file={SCRIPT}&todo=x", FATAL.format("", unknown(SCRIPT))),
    (f"this_file=wan_dc.htm&todo=save&next_file={SCRIPT}", FATAL.format("", unknown(SCRIPT))),
    ("todo=x", FATAL.format("", unknown(""))),
    ("this_file=odd.htm&todo=save&typed=%0a", FATAL.format("", told(61, "typed") + "\n")),
])
def test_requests_end_on_the_right_page(appliance, form, answer):
    result = appliance.post(form)
    assert (seen(result) if result.page else result.body, result.status) == (answer, 0)


def test_keys_that_no_shipped_page_shows_and_the_end_of_a_name(appliance):
    """A NUL ends a name as it ends any text."""
    for page, key, value in (("nat_base.htm", "can_change_vsip_2", "true"),
                             ("ac_cfg.htm", "can_change_vsip_1", "false")):
        appliance.write(f"/www/{page}", plain(f"@{key}#@message#"))
        assert appliance.get(f"next_file={page}%00odd").shown == {key: value}


@pytest.mark.parametrize("method, enabled, page", [
    (1, "y", "dc_status"), (2, "yes", "ppp_status"), (7, "yes", "sp_status"),
    (0, "yes", "sp_status"), (1, "nothing", "sp_status"),
])
def test_the_status_page_is_that_of_the_method_in_force(appliance, method, enabled, page):
    """From that of another one a save, which is one of the services, does not go on."""
    appliance.write(RECORD, f"Method={method}\n")
    appliance.write(WAN, f"nat_enable={enabled}\n")
    assert appliance.view("nat_status.htm").page == page + ".htm"
    is_off = method == 0 or enabled == "nothing"
    for number, posting in enumerate(["dc_status.htm", "ppp_status.htm", "sp_status.htm"], 1):
        shown = "nat_base[][]" if is_off or number == method else f"{page}[{told(45)}][]"
        assert seen(appliance.save(posting)) == shown
        assert seen(appliance.save(posting, dmz_ip_1="1234")) == f"nat_conn[{told(48)}][]"


@pytest.mark.parametrize("method, length, title, text", [
    ("PUT", "3", "CGI Error!", "Unsupported REQUEST_METHOD"),
    ("POST", "4", "Error!", "Error Reading Data"),
    ("POST", "-1", "Error!", "Could not allocate enough memory."),
])
def test_a_broken_request_gets_the_fatal_page(appliance, method, length, title, text):
    result = appliance.request({"REQUEST_METHOD": method, "CONTENT_LENGTH": length}, b"a=b")
    assert (result.status, result.stderr) == (0, text + "\n")
    assert result.body == FATAL.format(title, text)


def test_without_a_method_there_is_only_a_hint(appliance):
    result = appliance.request({}, b"")
    assert (result.status, result.stdout) == (0, b"")
    assert result.stderr == (
        "Error!\nThe REQUEST_METHOD environment variable\ndoes not exists.\n\n"
        "If you are dubugging, please set your CGI\nenvironment variables.\n\n")


@pytest.mark.parametrize("value", ["%00b", "%7f", "b%2"])
def test_a_control_character_is_refused_before_anything_happens(appliance, value):
    result = appliance.post(f"this_file=nat_conn.htm&todo=save&enable_dmz=checked&ty%3Cped={value}")
    assert (result.page, result.message) == ("nat_conn.htm", told(61, "ty?ped"))
    assert result.did_nothing


def test_a_failing_action_stops_the_run_and_shows_the_posting_page(appliance):
    """The virtual-server script cannot replace a folder."""
    appliance.at("/etc/rc.d/rc.ipvs").mkdir()
    result = appliance.save("nat_conn.htm", typed="a", enable_dmz="checked")
    assert seen(result) == f"nat_conn[{told(12, 'SaVS')}][a]"
    assert "DMZ=1\n" in appliance.read(RECORD)
    assert not any("rc.ipvs" in command for command in result.commands)


def test_the_largest_page(appliance):
    for body, answer in ("x" * 51199, "x" * 51199), ("x" * 51200, FATAL.format(told(2) + "\n", "")):
        appliance.write("/www/nat_vs.htm", body)
        assert appliance.view("nat_vs.htm").body == answer


@pytest.mark.parametrize("messages, told_as", [
    (None, "Unknown error"),
    ("10-%n%s%s%99999d%" + "y" * 300, "%nnat_vs.htm%s%99999d%" + "y" * 105),
])
def test_a_missing_template_is_named(appliance, messages, told_as):
    """A message file that is damaged is only text."""
    appliance.write("/www/nat_vs.htm", None)
    appliance.write("/www/cgi_err", messages)
    assert appliance.view("nat_vs.htm").body == FATAL.format(told_as, "")


def test_every_message_has_its_text():
    numbers = re.findall(r"= (\d+),", (PROJECT / "src/framework/msgfile.h").read_text())
    assert len(numbers) > 40 and {*map(int, numbers)} <= MESSAGES.keys()
    assert max(map(len, MESSAGES.values())) < 127
