"""The pages of allowed and of banned sites: what they show, add, delete and import."""

import signal

import pytest

from appliance import FILTER, told
from test_uploads import END, TYPE, field, upload

ETC = "/usr/local/squid/etc/"
PAGES = [  # list, key of its path, marker and field of the selected, unreadable, not deleted
    ("sites_allow.htm", ETC + "access.list", "access_file", "allowed", 33, 27),
    ("sites_ban.htm", ETC + "deny.list", "deny_file", "banned", 34, 28)]
OLD = "# of ours\na.com\n \nB.com x\nb.com\n\r\nA.COM  \n\nlast"
LONG = "x" * 127


@pytest.fixture(params=PAGES)
def page(request, appliance):
    name, path, *rest = request.param
    appliance.write(path, OLD)
    return name, appliance, path, *rest


@pytest.mark.parametrize("todo, fields, after, message", [
    ("del_selected", "list=A.com&list=LAST&list=# of ours", "# of ours\nB.com x\nb.com\n\n", 46),
    ("del_all", "", "", 46), ("add_url", "new_url=B.COM&ip_1=1", OLD + "\nB.COM\n", 46),
    ("add_url", "new_url=B.com", OLD, 29), ("add_url", "new_url=last", OLD, 29),
    ("add_url", "new_url=&ip_1=&ip_2=x&ip_3=3 &ip_4=4", OLD + "\n.x.3 .4\n", 46),
    ("add_url", "ip_1=1&ip_2=2&ip_3=3", OLD, 19),
    ("import_file", "", OLD, 29), ("other", "new_url=new.com", OLD, None),
])
def test_buttons(page, todo, fields, after, message):
    name, appliance, path, _, kind, *_ = page
    fields = fields.replace("list=", f"{kind}_list=")
    result = appliance.post(f"this_file={name}&todo={todo}&{kind}_list&{fields}")
    assert result.changed == ({path: after} if after != OLD else {}) and not result.removed
    assert result.message == told(message)


def test_a_missing_list(page):
    name, appliance, path, key, _, unreadable, undeleted = page
    appliance.write(FILTER, f"#{key} x\n{key}\t /tmp/my list \n")  # in force from the next request
    assert appliance.view(name).message == told(unreadable)
    for todo, message in ("del_selected", undeleted), ("del_all", 46):
        assert appliance.post(f"this_file={name}&todo={todo}").message == told(message)
    result = appliance.post(f"this_file={name}&todo=add_url&new_url=first.com")
    assert result.changed == {"/tmp/my list": "first.com\n"}


@pytest.mark.parametrize("text, entries, left_out", [
    (OLD, ["a.com", " ", "B.com x", "b.com", "\r", "A.COM  ", "last"], ""),
    (f"a\n{LONG[1:]}\nb\n{LONG}\nc\n", ["a", LONG[1:], "b"], "The first 3 of 5 sites."),
    ("0123456789a\n" * 10_001, ["0123456789a"] * 1024, "The first 1024 of more than 10000 sites."),
])
def test_options(page, text, entries, left_out):
    name, appliance, path, _, kind, *_ = page
    appliance.write(path, text)
    shown = appliance.view(name).shown
    assert shown[f"{kind}_site_list"] == "".join(f"<option>{entry}\n" for entry in entries)
    assert shown["sites_left_out"] == left_out


@pytest.mark.parametrize("text, added", [
    (b"HTTP://Site1/path?q http://a b", ["Site1", "a"]),
    (b"http:///http://?http://\r\nx http://", []),
    (b"hhttp://a httphttp://b http:/http://c https://d http://http://e/", ["a", "b", "c", "http:"]),
    (b"http://new http://a.com/ http://A.com http://new", ["new", "A.com"]),
    (b'http://a.b:80\nhttp://[::1]?http://u@h "http://q">Q', ["a.b:80", "[::1]", "u@h", 'q">Q']),
    (b"http://#c http://#c http://t\tu http://v\xffb http://c", ["#c", "#c", "t\tu", "v"]),
    (b"http://a\0http://b http://\0c http://d\0", ["a", "d"]),
])
def test_import(page, proxy, text, added):
    name, appliance, path, *_ = page
    old = "# x\na.com b\nlast"
    appliance.write(path, old)
    form = field("this_file", name) + field("todo", "import_file") + upload("upload_file", "x", "?")
    result = appliance.post((form + END).encode().replace(b"?", text), env={"CONTENT_TYPE": TYPE})
    assert result.changed == ({path: "\n".join([old, *added, ""])} if added else {})
    assert result.message == told(40, len(added))
    assert proxy.wait(10) == -signal.SIGHUP
    assert not list(appliance.at("/tmp").iterdir())
