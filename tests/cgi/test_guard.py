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
BOTH, NONE = ("get", "post"), ()
OWN = {HOST: "box", ORIGIN: "http://box"}


@pytest.mark.parametrize("let_through, env", [
    *((BOTH, {name: url, HOST: host}) for name in (ORIGIN, REFERER) for url, host in SAME),
    *((NONE, {name: url + path, HOST: host}) for name, path in ((ORIGIN, ""), (REFERER, "/box"))
      for url, host in OTHER),
    *((BOTH, {**more, SITE: site}) for site in ("same-origin", "none") for more in ({}, OWN)),
    *((NONE, {**OWN, SITE: site}) for site in ("same-site", "cross-site", "", "none, none")),
    (NONE, {HOST: "box", ORIGIN: "null", SITE: "same-origin", REFERER: "http://box/"}),
    # over TLS a page without it is another site
    *((BOTH if url[4] in "sS" else NONE, {"HTTPS": "ON", HOST: "box", name: url})
      for name in (ORIGIN, REFERER) for url in ("http://box:80", "https://box", "HTTPS://box:443")),
    (BOTH, {"HTTPS": "off", **OWN}),
    # a link needs a referer, a program needs nothing
    (["post"], {}), (["post"], {REFERER: ""}),
    *((BOTH, {"HTTP_USER_AGENT": agent}) for agent in ("curl/8 Mozilla/5.0", None)),
    (NONE, {"HTTP_USER_AGENT": None, ORIGIN: "http://evil", HOST: "box"}),
])
def test_who_may_act(appliance, let_through, env):
    """A form that is refused is not even read: here it never comes. A view is for everybody."""
    env = {**BROWSER, **env}
    for method in BOTH:
        appliance.write(LIST, "a.com\n")
        if method in let_through:
            result = getattr(appliance, method)(ACT, env=env)
            assert (result.changed.get(LIST), result.page) == ("", "sites_ban.htm")
        else:
            result = getattr(appliance, method)(ACT, env={**env, "CONTENT_LENGTH": "99"})
            assert (result.stdout.decode(), result.status) == (FORBIDDEN, 0)
            assert result.did_nothing
    assert appliance.get("next_file=sites_ban.htm", env=env).page == "sites_ban.htm"
