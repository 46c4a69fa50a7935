"""The request guard: what acts must have been sent from the appliance's own pages."""

import pytest

from test_requests import NOTICE

LIST = "/usr/local/squid/etc/deny.list"
ACT = "this_file=sites_ban.htm&todo=del_all"
HOST, BROWSER = "HTTP_HOST", {"HTTP_USER_AGENT": "Mozilla/5.0 (X11)"}
ORIGIN, SITE, REFERER = "HTTP_ORIGIN", "HTTP_SEC_FETCH_SITE", "HTTP_REFERER"
FORBIDDEN = "Status: 403 Forbidden\nContent-type: text/html\n\n" + NOTICE.format(
    "Forbidden", "Forbidden",
    "This request was not sent from one of the appliance&#39;s own pages, so nothing was changed.")

SAME = [
    ("HTTP://Box", "bOX"), ("http://box", "box:80"), ("https://box:443", "box"),
    ("http://box:8080", "box:8080"), ("http://[fe80::A]", "[fe80::a]:80"),
    ("http://[::1]:81", "[::1]:81")]
OTHER = [
    ("null", "null"), ("", ""), ("http://:80", ":80"), ("http://box", None), ("https://b", "b:80"),
    *((url, "box") for url in ("box", "ftp://box", "http://box.evil", "http://evil.box",
                               "http://box:8080", "http://box:80@evil")),
    ("http://[::1]", "[::2]"), *((f"http://{host}", host) for host in ("[::1", "[::1]]", "box:x"))]
BOTH = ("get", "post")
OWN = {HOST: "box", ORIGIN: "http://box"}


@pytest.fixture
def listed(appliance):
    appliance.write(LIST, "a.com\n")
    return appliance


@pytest.mark.parametrize("let_through, methods, env", [
    *((True, BOTH, {name: url, HOST: host}) for name in (ORIGIN, REFERER) for url, host in SAME),
    *((False, BOTH, {ORIGIN: url, HOST: host}) for url, host in OTHER),
    *((False, BOTH, {REFERER: url + "/box", HOST: host}) for url, host in OTHER),
    *((True, BOTH, {**more, SITE: site}) for site in ("same-origin", "none") for more in ({}, OWN)),
    *((False, BOTH, {**OWN, SITE: site}) for site in ("same-site", "cross-site", "", "none, none")),
    (False, BOTH, {HOST: "box", ORIGIN: "null", SITE: "same-origin", REFERER: "http://box/"}),
    # over TLS a page without it is another site
    *((url[4] in "sS", BOTH, {"HTTPS": "ON", HOST: "box", name: url}) for name in (ORIGIN, REFERER)
      for url in ("http://box:80", "https://box", "HTTPS://box:443")),
    (True, BOTH, {"HTTPS": "off", **OWN}),
    # a link needs a referer, a program needs nothing
    *((method == "post", [method], env) for method in BOTH for env in ({}, {REFERER: ""})),
    *((True, BOTH, {"HTTP_USER_AGENT": agent}) for agent in ("curl/8 Mozilla/5.0", None)),
    (False, ["post"], {"HTTP_USER_AGENT": None, ORIGIN: "http://evil", HOST: "box"}),
])
def test_who_may_act(listed, let_through, methods, env):
    """A form that is refused is not even read: here it never comes."""
    for method in methods:
        listed.write(LIST, "a.com\n")
        unread = {} if let_through else {"CONTENT_LENGTH": "99"}
        result = getattr(listed, method)(ACT, env={**BROWSER, **unread, **env})
        if let_through:
            assert (result.changed.get(LIST), result.page) == ("", "sites_ban.htm")
        else:
            assert (result.stdout.decode(), result.status) == (FORBIDDEN, 0)
            assert result.did_nothing


def test_a_view_is_for_everybody(listed):
    foreign = {**BROWSER, HOST: "box", ORIGIN: "http://evil", SITE: "cross-site"}
    assert listed.get("next_file=sites_ban.htm", env=foreign).page == "sites_ban.htm"
