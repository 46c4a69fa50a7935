"""The shipped pages: what stands on them is text, no markup, and no more than a page can hold."""

import html
import re
from html.parser import HTMLParser

import pytest

from appliance import WWW

TEMPLATES = {path.name: path.read_text() for path in sorted(WWW.glob("*.htm"))}
HOSTILE = "\"><script>alert(1)</script>&'"
BARE = " onfocus=alert(1) "  # becomes an attribute where a value stands in a tag without quotes
FORMS = [page for page, text in TEMPLATES.items() if "<form" in text and "@message" in text]
LOG, MODEMS = "/usr/local/squid/logs/access.log", "/etc/ppp/modem.ini"


class Page(HTMLParser):
    """A page as a browser reads it: its texts, and what of it could run."""

    def __init__(self, body):
        super().__init__()
        self.texts, self.running = set(), []
        self.feed(body)
        self.close()

    def handle_starttag(self, tag, attrs):
        self.texts.update(value for _, value in attrs)
        self.running += [tag] * (tag == "script")
        self.running += [name for name, _ in attrs if name.startswith("on")]

    def handle_data(self, data):
        self.texts.add(data.strip())


@pytest.fixture
def shipped(appliance):
    """An appliance with the pages as they are shipped."""
    for name, text in TEMPLATES.items():
        appliance.write(f"/www/{name}", text)
    return appliance


def read_as_shipped(page, body):
    """The page as a browser reads it. Nothing runs but what its template brings."""
    read = Page(body)
    assert read.running == Page(TEMPLATES[page]).running, page
    assert re.search("<title>.*</title>", TEMPLATES[page])[0] in body
    return read.texts


@pytest.mark.parametrize("name", TEMPLATES)
def test_every_marker_names_a_filter(name):
    markers = re.findall("@([^#]*)#", TEMPLATES[name])
    assert [each for each in markers if not re.fullmatch(r"\w+\|(html|options|rows)", each)] == []
    assert TEMPLATES[name].count("@") == len(markers)


@pytest.mark.parametrize("name", TEMPLATES)
def test_pages_bring_no_script_or_style_of_their_own(name):
    text = TEMPLATES[name]
    assert "default-src 'none'; script-src 'self'; style-src 'self'" in text
    assert re.findall(r"<script(?! type=\"module\" src=)|<style| (?:on\w+|style)=", text) == []
    assert re.findall(r"(?:src|href)=\"\w*:", text) == []


@pytest.mark.parametrize("name", TEMPLATES)
def test_the_menu_marks_the_page_that_is_shown(name):
    page = name.removesuffix(".htm")
    entry = "nat_status" if page.endswith("_status") else page
    marked = re.findall(r'next_file=(\w+).htm" aria-current="page"', TEMPLATES[name])
    assert marked == ([] if page in ("nat_fs", "sp_fs", "preview", "api") else [entry])


def test_what_is_stored_is_shown_as_text(shipped):
    def post(page, todo, **fields):
        return shipped.post({"this_file": page, "todo": todo, "next_file": page, **fields})

    shipped.write(MODEMS, f"[{HOSTILE}]\nInitString=AT{HOSTILE}\n")
    shipped.write(LOG, f"12:00 10.0.0.2 {HOSTILE}\n12:01 </td><script> <tr>\n")
    post("nat_vs.htm", "save", vs_ud1_enable="checked", vs_ud1_name=HOSTILE, vs_ud1_portno="81")
    post("wan_ppp.htm", "save", ppp_ac_name=HOSTILE, ppp_ac_pwd=HOSTILE, ppp_idle_time="5",
         isp_ip_type="dynamic")
    post("sites_ban.htm", "add_url", new_url=HOSTILE)
    post("sites_allow.htm", "add_url", new_url=HOSTILE)
    post("nat_sap.htm", "nat_add_sap", v_nat_sap_name=HOSTILE, v_nat_sapin_pr_list="TCP",
         v_nat_sapin_port01="81")
    shown = {page: read_as_shipped(page, shipped.view(page).body) for page in FORMS}
    for page in "wan_ppp sites_ban sites_allow sp_port nat_sap filterlog".split():
        assert HOSTILE in shown[page + ".htm"], page
    assert {"</td><script>", "<tr>"} <= shown["filterlog.htm"]
    assert any(HOSTILE[:14] in str(text) for text in shown["nat_base.htm"])


def test_what_was_typed_is_echoed_as_text(shipped):
    """A refused request shows its fields again where the page has no value of its own for them."""
    echoing = set()
    for page in FORMS:
        fields = set(re.findall(r"@(\w+)\|", TEMPLATES[page])) - {"message"}
        form = dict.fromkeys(fields, HOSTILE + BARE) | {HOSTILE: "\n"}
        body = shipped.post({"this_file": page, "todo": "save", **form}).body
        if HOSTILE + BARE in read_as_shipped(page, body):
            echoing.add(page)
    assert {"nat_conn.htm", "nat_filter.htm", "nat_vs.htm", "sp_int.htm", "sp_port.htm"} <= echoing


@pytest.mark.parametrize("page, path, record, shown, left_out", [
    # the beginnings of the records on the page, then all of them
    ("sites_ban.htm", "/usr/local/squid/etc/deny.list", "s{:06}\"&'<>&&&&&&\n",
     [r"<option>s(\d+)", "s(\\d{6})\"&'<>&&&&&&\n"], "sites_left_out sites"),
    ("filterlog.htm", LOG, "t{:06} \"\"\"&&& <<<>>>\n",
     [r"<tr>\n<td nowrap>t(\d+)",
      "t(\\d{6})</td>\n<td nowrap>\"\"\"&&&</td>\n<td nowrap><<<>>></td>\n</tr>\n"],
     "log_left_out records"),
    ("sp_port.htm", MODEMS, "[m{0:06}<&>]\nInitString=AT{0:06}&\\\"\n",
     [r"<option>m(\d+)", r"<option>m(\d{6})<&>\n", r"'AT(\d+)", r"""'AT(\d{6})&\\\\"'"""],
     "modems_left_out modems"),
    ("nat_sap.htm", "/etc/rc.d/rc.firewall",
     "#@n{0:06}\"&'\n ipchains -A input -p tcp 1{0:05}:2{0:05}\n\n",
     [r"<option> n(\d+)", r"<option> n(\d{6})\"&'", r'"1(\d{5})"', r'"2(\d{5})"'],
     "applications_left_out applications"),
    *((page, "/var/log/pppd.log", "p{:06}" + '"' * 400 + "\n", [r"p(\d{6})", 'p(\\d{6})"{400}\n'],
       f"{key} characters") for page, key in (
        ("sp_status.htm", "nat_log_left_out"), ("ppp_status.htm", "ppp_log_left_out"))),
])
def test_a_page_shows_so_many_records_as_it_can_hold(shipped, page, path, record, shown, left_out):
    """Whole ones, from the first on, as many in each of its lists, and it tells of the rest."""
    key, what = left_out.split()
    size = len(record.format(0)) if what == "characters" else 1
    lists = r"@(?:\w+_site_list|log_record|show_modemlist|nat_sap_list|nat_log_text|ppp_wan_log)\|"
    values_behind = re.split(lists, TEMPLATES[page])[1].count("@")
    assert f'id="cut" data-text="{{{key}}}">@{key}|html#</p>' in TEMPLATES[page]
    for total in 100_000, 10:
        shipped.write(path, "".join(map(record.format, range(total))))
        body = shipped.view(page).body
        assert body.endswith("</html>\n") and len(body.encode()) < 51200
        texts = html.unescape(body)
        numbers = [[int(number) for number in re.findall(pattern, texts)] for pattern in shown]
        count = len(numbers[0])
        assert numbers == [list(range(count))] * len(shown)
        told = f"The first {count * size} of {total * size} {what}." if count < total else ""
        assert f'id="cut" data-text="{{{key}}}">{told}</p>' in body
        # the longest short value in each place behind the list, and the next record, do not fit
        left = values_behind * 6 * 127 + 7 * len(record) + 60
        assert count == total or len(body.encode()) > 51199 - left
    assert count == total
