"""The shipped pages: what stands on them is text, no markup, and no more than a page can hold."""

import html
import re
from html.parser import HTMLParser

import pytest

from appliance import RECORD, WAN, WWW

TEMPLATES = {path.name: path.read_text() for path in sorted(WWW.glob("*.htm"))}
HOSTILE = "\"><script>alert(1)</script>&'"
BARE = " onfocus=alert(1) "  # becomes an attribute where a value stands in a tag without quotes
FORMS = [page for page, text in TEMPLATES.items() if "<form" in text and "@message" in text]
LOG, MODEMS = "/usr/local/squid/logs/access.log", "/etc/ppp/modem.ini"
FIREWALL, PPPD_LOG = "/etc/rc.d/rc.firewall", "/var/log/pppd.log"


class Page(HTMLParser):
    """A page as a browser reads it: its texts, and what of it could run."""

    def __init__(self, body):
        super().__init__()
        self.texts, self.running = set(), []
        self.feed(body)
        self.close()

    def handle_starttag(self, tag, attrs):
        self.texts.update(value for _, value in attrs)
        names = tag, *(name for name, _ in attrs)
        self.running += [name for name in names if re.match("script|on", name)]

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


def test_every_marker_names_a_filter_and_nothing_runs_in_a_page():
    for page, text in TEMPLATES.items():
        assert text.count("@") == len(re.findall(r"@\w+\|(?:html|options|rows)#", text)), page
        assert "default-src 'none'; script-src 'self'; style-src 'self'" in text, page
        assert not re.search(r'<script(?! type="module" src=)|<style| (?:on\w+|style)=', text), page


def test_what_is_stored_and_what_was_typed_is_shown_as_text(shipped):
    """A refused request shows its fields again where the page has no value of its own for them."""
    shipped.write(MODEMS, f"[{HOSTILE}]\nInitString=AT{HOSTILE}\n")
    shipped.write(LOG, f"12:00 10.0.0.2 {HOSTILE}\n")
    shipped.write(RECORD, f"UD1_Name={HOSTILE[:14]}\n")
    shipped.write(WAN, f"pppoe_username={HOSTILE}\n")
    shipped.write(FIREWALL, f"#@{HOSTILE}\n x\n\n")
    for name in "access", "deny":
        shipped.write(f"/usr/local/squid/etc/{name}.list", f"{HOSTILE}\n")
    stored, echoed = set(), set()
    for page in FORMS:
        if HOSTILE in read_as_shipped(page, shipped.view(page).body):
            stored.add(page.removesuffix(".htm"))
        fields = set(re.findall(r"@(\w+)\|", TEMPLATES[page])) - {"message"}
        form = dict.fromkeys(fields, HOSTILE + BARE) | {HOSTILE: "\n"}
        body = shipped.post({"this_file": page, "todo": "save", **form}).body
        if HOSTILE + BARE in read_as_shipped(page, body):
            echoed.add(page.removesuffix(".htm"))
    assert stored >= set("wan_ppp sites_ban sites_allow sp_port nat_sap filterlog".split())
    assert echoed >= set("nat_conn nat_filter nat_vs sp_int sp_port".split())


LINE = "p{:06}" + '"' * 400 + "\n"


@pytest.mark.parametrize("page, marker, what, path, record, shown", [
    # in each list of the page what stands of a record there, and between two of them
    ("filterlog.htm", "log_record", "records", LOG, 't{:06} """&&& <<<>>>\n',
     {'<tr>\n<td nowrap>t{:06}</td>\n<td nowrap>"""&&&</td>\n<td nowrap><<<>>></td>\n</tr>\n': ""}),
    ("sp_port.htm", "show_modemlist", "modems", MODEMS, "[m{0:06}<&>]\nInitString=AT{0:06}&\\\"\n",
     {"<option>m{:06}<&>\n": "", "'AT{:06}&\\\\\"'": ",\n"}),
    ("nat_sap.htm", "nat_sap_list", "applications", FIREWALL,
     "#@n{0:06}\"&'\n ipchains -A input -p tcp 1{0:05}:2{0:05}\n\n",
     {"<option> n{:06}\"&'": "\n", '"1{:05}"': ",", '"2{:05}"': ","}),
    ("sp_status.htm", "nat_log_text", "characters", PPPD_LOG, LINE, {LINE: ""}),
    ("ppp_status.htm", "ppp_wan_log", "characters", PPPD_LOG, LINE, {LINE: ""}),
])
def test_a_page_shows_what_it_can_hold(shipped, page, marker, what, path, record, shown):
    """Whole records, from the first on, as many in each of its lists, and it tells of the rest."""
    size = len(record.format(0)) if what == "characters" else 1
    template = TEMPLATES[page]
    left_out = re.search(r'id="cut" data-text="{(\w+)}">@\1\|html#</p>', template)[1]
    for total in 10_001, 10_000, 10:
        shipped.write(path, "".join(map(record.format, range(total))))
        body = shipped.view(page).body
        assert body.endswith("</html>\n") and len(body.encode()) < 51200
        is_counted = total <= 10_000 or what != "records"
        number = total * size if is_counted else "more than 10000"
        told = f"(?:The first (\\d+) of {number} {what}\\.)?"
        cut = re.search(f'id="cut" data-text="{{{left_out}}}">{told}</p>', body)[1]
        count = int(cut) // size if cut else total
        texts = html.unescape(body)
        for piece, between in shown.items():
            assert between.join(map(piece.format, range(count))) in texts
            assert (piece.partition("}")[0] + "}").format(count) not in texts
        # the longest short value in each place behind the list, and the next record, do not fit
        left = template.partition(f"@{marker}|")[2].count("@") * 6 * 127 + 7 * len(record) + 60
        assert count == total or len(body.encode()) > 51199 - left
    assert count == total
