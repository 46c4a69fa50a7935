"""The pages of allowed and of banned sites: what they show, add, delete and import."""

import signal

import pytest

from appliance import FILTER, told
from test_uploads import END, TYPE, field, upload

ETC = "/usr/local/squid/etc/"
# page: list, key of its path, marker and field of the selected, messages: unreadable, not deleted
PAGES = {
    "sites_allow.htm": (ETC + "access.list", "access_file", "allowed", 33, 27),
    "sites_ban.htm": (ETC + "deny.list", "deny_file", "banned", 34, 28),
}
OLD = "# of ours\na.com\n \nB.com x\nb.com\n\r\nA.COM  \n\nlast"
LONG = "x" * 127


@pytest.fixture(params=PAGES)
def page(request, appliance):
    path, *_ = PAGES[request.param]
    appliance.write(path, OLD)
    return request.param, appliance, *PAGES[request.param]


@pytest.mark.parametrize("todo, fields, after, message", [
    ("del_selected", "list=A.com&list=LAST&list=# of ours", "# of ours\nB.com x\nb.com\n\n", 46),
    ("del_all", "", "", 46), ("add_url", "new_url=B.COM&ip_1=1", OLD + "\nB.COM\n", 46),
    ("add_url", "new_url=B.com", OLD, 29), ("add_url", "new_url=last", OLD, 29),
    ("add_url", "new_url=&ip_1=&ip_2=x&ip_3=3 &ip_4=4", OLD + "\n.x.3 .4\n", 46),
    ("add_url", "ip_1=1&ip_2=2&ip_3=3", OLD, 19),
    ("import_file", "upload_file=/etc/ppp/user", OLD, 29), ("import_file", "", OLD, 29),
    ("save", "new_url=new.com", OLD, None), ("other", "new_url=new.com", OLD, None),
])
def test_buttons(page, todo, fields, after, message):
    name, appliance, path, _, kind, *_ = page
    appliance.write("/etc/ppp/user", "http://new.com")
    fields = fields.replace("list=", f"{kind}_list=")
    result = appliance.post(f"this_file={name}&todo={todo}&{kind}_list&{fields}")
    assert result.changed == ({path: after} if after != OLD else {}) and not result.removed
    assert result.message == told(message)


def test_a_missing_list(page):
    name, appliance, path, key, _, unreadable, undeleted = page
    appliance.write(FILTER, f"#{key} x\n{key}\t /tmp/my list \n")  # in force from the next request
    deletions = (f"this_file={name}&todo={todo}" for todo in ("del_selected", "del_all"))
    results = [appliance.view(name), *map(appliance.post, deletions)]
    assert [result.message for result in results] == [told(unreadable), told(undeleted), told(46)]
    result = appliance.post({"this_file": name, "todo": "add_url", "new_url": "first.com"})
    assert result.changed == {"/tmp/my list": "first.com\n"}


@pytest.mark.parametrize("text, shown", [
    (OLD, ["a.com", " ", "B.com x", "b.com", "\r", "A.COM  ", "last"]),
    (f"a\n{LONG[1:]}\nb\n{LONG}\nc\n", ["a", LONG[1:], "b"]), ("#\n\n", []),
    ("0123456789a\n" * 1100, ["0123456789a"] * 1024),
])
def test_options(page, text, shown):
    name, appliance, path, _, kind, *_ = page
    appliance.write(path, text)
    options = "".join(f"<option>{entry}\n" for entry in shown)
    assert appliance.view(name).shown[f"{kind}_site_list"] == options


def import_text(page, text):
    name, appliance, *_ = page
    body = field("this_file", name) + field("todo", "import_file")
    body += upload("upload_file", "x", "TEXT") + END
    return appliance.post(body.encode().replace(b"TEXT", text), env={"CONTENT_TYPE": TYPE})


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
    _, appliance, path, *_ = page
    old = "# x\na.com b\nlast"
    appliance.write(path, old)
    result = import_text(page, text)
    assert result.changed == ({path: "\n".join([old, *added, ""])} if added else {})
    assert result.message == told(40, len(added))
    assert proxy.wait(10) == -signal.SIGHUP
    assert not list(appliance.at("/tmp").iterdir())


def test_a_full_disk_leaves_the_list_as_it_was(page):
    name, appliance, path, *_ = page
    appliance.write(path, "0123456789\n" * 363 + "1234")  # three more octets fit
    appliance.disk = 4000
    for result in (import_text(page, b"http://a http://b http://c"),
                   appliance.post({"this_file": name, "todo": "add_url", "new_url": "new.com"})):
        assert (result.changed, result.message) == ({}, told(29))
