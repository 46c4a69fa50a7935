"""What stands on a page is text: no value that is stored, logged or typed becomes markup."""

import re
from html.parser import HTMLParser

import pytest

from appliance import PROJECT

TEMPLATES = {path.name: path.read_text() for path in sorted((PROJECT / "www").glob("*.htm"))}
HOSTILE = "\"><script>alert(1)</script>&'"
BARE = " onfocus=alert(1) "  # becomes an attribute where a value stands in a tag without quotes
ECHOING = ("nat_conn.htm", "nat_filter.htm", "nat_sap.htm", "nat_vs.htm", "sp_int.htm", "sp_port.htm")
FORMS = [page for page, text in TEMPLATES.items() if "<form" in text]


class Page(HTMLParser):
    """A page as a browser reads it: its texts, and what of it could run."""

    def __init__(self, body):
        super().__init__()
        self.texts, self.running = set(), []
        self.feed(body)
        self.close()

    def handle_starttag(self, tag, attrs):
        self.texts.update(value for _, value in attrs)
        self.running += [tag] * (tag == "script") + [name for name, _ in attrs if name.startswith("on")]

    def handle_data(self, data):
        self.texts.add(data.strip())


@pytest.mark.parametrize("name", TEMPLATES)
def test_every_marker_names_a_filter(name):
    markers = re.findall("@([^#]*)#", TEMPLATES[name])
    assert [marker for marker in markers if not re.fullmatch(r"\w+\|(html|options|rows)", marker)] == []
    assert TEMPLATES[name].count("@") == len(markers)


def test_what_is_stored_is_shown_as_text(appliance):
    def post(page, todo, **fields):
        return appliance.post({"this_file": page, "todo": todo, "next_file": page, **fields})

    appliance.write("/etc/ppp/modem.ini", f"[{HOSTILE}]\nInitString=AT{HOSTILE}\n")
    appliance.write("/usr/local/squid/logs/access.log", f"12:00 10.0.0.2 {HOSTILE}\n12:01 </td><script> <tr>\n")
    post("nat_vs.htm", "save", vs_ud1_enable="checked", vs_ud1_name=HOSTILE, vs_ud1_portno="81")
    post("wan_ppp.htm", "save", ppp_ac_name=HOSTILE, ppp_ac_pwd=HOSTILE, ppp_idle_time="5", isp_ip_type="dynamic")
    post("sites_ban.htm", "add_url", new_url=HOSTILE)
    post("sites_allow.htm", "add_url", new_url=HOSTILE)
    post("nat_sap.htm", "nat_add_sap", v_nat_sap_name=HOSTILE, v_nat_sapin_pr_list="TCP", v_nat_sapin_port01="81")
    shown = {page: Page(appliance.get(f"next_file={page}").body) for page in FORMS}
    assert {page: each.running for page, each in shown.items() if each.running} == {}
    for page in ("wan_ppp.htm", "sites_ban.htm", "sites_allow.htm", "sp_port.htm", "nat_sap.htm", "filterlog.htm"):
        assert HOSTILE in shown[page].texts, page
    assert {"</td><script>", "<tr>"} <= shown["filterlog.htm"].texts
    assert f"User-defined 1: {HOSTILE[:14]}" in shown["nat_base.htm"].texts


@pytest.mark.parametrize("page", FORMS)
def test_what_was_typed_is_echoed_as_text(appliance, page):
    """A refused request shows its fields again where the page has no value of its own for them."""
    fields = set(re.findall(r"@(\w+)\|", TEMPLATES[page])) - {"message"}
    form = dict.fromkeys(fields, HOSTILE + BARE) | {HOSTILE: "\n"}
    body = appliance.post({"this_file": page, "todo": "save", **form}).body
    shown = Page(body)
    assert shown.running == [] and (HOSTILE + BARE in shown.texts) == (page in ECHOING)
    assert f"<title>{re.search('<title>(.*)</title>', TEMPLATES[page])[1]}</title>" in body
