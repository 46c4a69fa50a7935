"""Pages as data: what is told, what never is, and what becomes of posts."""

import json

import pytest

from appliance import CHANGES, PROJECT, RECORD, SETTINGS, WAN, told

DATA = {"HTTP_ACCEPT": "application/json"}
PAGES = sorted(path.stem for path in (PROJECT / "pages").glob("*.htm")
               if path.stem not in ("api", "nat_fs", "sp_fs"))
SECRETS = ["pw'4711\\", "käse&<8"]
BANNED, LOG = "/usr/local/squid/etc/deny.list", "/usr/local/squid/logs/access.log"
PPPD = "/var/log/pppd.log"
NO_TEXT = (b"\xe2\x82\xff\xe2|\xf0\x9f\x98\xf0\x9f\x98\x80|\xed\xa0\x80|\xc0\xaf\xfe|"
           b"\xf4\x90\x80|\xe0\x9f\x80\x80|a\x7f\x1b\"\\/\xc3\xa9|\xe2\x82")
PPPOE, DIRECT, MODEM = "WAN Port - PPPoE", "WAN Port - Direct Connection", "Serial Port"


def data_of(result):
    """The object of an answer, none of which tells a password."""
    assert not [secret for secret in SECRETS if secret in result.body
                or json.dumps(secret)[1:-1] in result.body]
    assert result.headers["Content-type"] == "application/json"
    assert (result.headers["Vary"], result.headers["Cache-Control"]) == ("Accept", "no-store")
    return json.loads(result.body)


def view(appliance, page, more=""):
    return data_of(appliance.get(f"next_file={page}.htm{more}", DATA))


def post(appliance, page, todo="save", **fields):
    file = f"{page}.htm"
    form = {"this_file": file, "todo": todo, "next_file": file, **fields}
    result = appliance.post(form, {**DATA, "REMOTE_USER": "me"})
    return result.headers.get("Status", ""), data_of(result), result


@pytest.fixture
def filled(kept):
    """An appliance on which all is set, with octets that are no text and logs that tell secrets."""
    post(kept, "nat_conn", internet_access="checked", access_method=PPPOE)
    post(kept, "wan_ppp", ppp_ac_name="joe \"1\"", ppp_ac_pwd=SECRETS[0], ppp_idle_time="0")
    post(kept, "sp_int", nat_ac_name="j", nat_ac_pwd=SECRETS[1], nat_tel01="555",
         nat_idle_time="3")
    post(kept, "nat_vs", vs_ud1_name="<b>")
    post(kept, "ac_cfg", "add_port", port_start="20", port_finish="21")
    kept.write(BANNED, "a.com with a comment\n<option>\n")
    kept.write(LOG, b"12:00 10.0.0.9 http://" + NO_TEXT + b"\n12:01 </td> <tr>\n")
    kept.write(PPPD, f"sent {SECRETS[0]}\n\x01\n" + f"{SECRETS[1]} failed\n")
    return kept


@pytest.mark.parametrize("is_data, accepts", [
    (True, ["Application/JSON ; charset=utf-8", "*/*, application/json", "application/*",
            "application/json;q=0.5, text/html;q=0.50", "application/json;q=0.5, */*;q=0.1"]),
    (False, [None, "text/html, application/json", "application/json;q=0", "application/jsonp",
             "application/json;q=0.8, text/*;q=0.801", "*/*;q=0.8",
             "text/html;level=1, application/json;q=0.9"]),
])
def test_who_gets_data(appliance, is_data, accepts):
    for accept in accepts:
        result = appliance.get("next_file=wan_ppp.htm", {"HTTP_ACCEPT": accept})
        assert (result.headers["Content-type"] == "application/json") == is_data, accept


def test_data_is_what_the_pages_show(filled):
    described = data_of(filled.get("next_file=api", DATA))["pages"]
    assert sorted(page["page"] for page in described) == [f"{page}.htm" for page in PAGES]
    for keys in described:
        page = keys["page"]
        shown, data = filled.view(page).shown, view(filled, page.removesuffix(".htm"))
        values, lists = data["values"], data["lists"]
        assert list(data)[:6] == ["message", "page", "seen", "values", "secret", "lists"]
        assert data["page"] == page and sorted(lists) == sorted(keys["lists"])
        assert sorted([*values, *lists]) == sorted(keys["readable"] + keys["secret"])
        secret = [key for key in values if values[key] is None]
        assert data["secret"] == secret == keys["secret"]
        for key, text in shown.items():
            if key in lists:
                assert bool(lists[key]) == bool(text), key
            elif key in values and key not in secret:
                assert values[key] == text.rstrip("\n"), key
            else:
                known = "seen", "busy", "change", "saved", "typed", *secret
                assert key in known or not text, key


def test_lists_are_items(filled):
    found = {page: view(filled, page)["lists"] for page in PAGES}
    assert found["sites_ban"] == {"banned_site_list": ["a.com with a comment", "<option>"]}
    assert found["filterlog"]["log_record"] == [
        ["12:00", "10.0.0.9", "http://" + NO_TEXT.decode(errors="replace")],
        ["12:01", "</td>", "<tr>"]]
    lists = found["ac_cfg"]
    assert (lists["port_list"], lists["address_list"]) == (["20-21"], [])
    inits = dict(zip(*(found["sp_port"][key] for key in ("show_modemlist", "a_init")), strict=True))
    assert inits["56k V.92 Fax Voice"] == "AT&F&C1&D2\\N3%C3"
    assert [items[3] for items in found["nat_sap"].values()] == [
        "checked", "TCP", "TCP", "5190", "5190", "5190", "5190", "ICQ"]
    assert found["ppp_status"]["ppp_wan_log"] == ["sent ??????", "\x01", "?????? failed"]
    assert found["dc_status"]["wan_dns"] == ["192.0.2.53", "198.51.100.53"]
    history = found["history"]
    assert history["history_list"][0][2:] == ["me", "ac_cfg.htm", "add_port", "accepted"]
    assert history["history_numbers"] == ["5", "4", "3", "2", "1"]
    assert [item.split("\n")[0] for item in history["history_files"]] == [
        SETTINGS, "/etc/rc.d/rc.ac_ctrl"]


def test_a_getter_that_fails_is_named_and_the_others_tell_what_they_know(appliance):
    appliance.block(BANNED)
    data = view(appliance, "sites_ban")
    assert data["errors"] == {"banned_site_list": told(34)}
    assert data["lists"] == {"banned_site_list": []}
    appliance.write("/etc/rc.d/rc.firewall", "")
    assert "errors" not in view(appliance, "nat_sap")  # no applications are no failure


def test_lists_are_told_whole_where_a_page_has_no_room(appliance):
    modems = "".join(f"[m{n}]\nInitString=AT\n\n" for n in range(4000))
    appliance.write("/etc/ppp/modem.ini", modems)
    assert appliance.view("sp_port.htm").shown["modems_left_out"]
    data = view(appliance, "sp_port")
    assert data["values"]["modems_left_out"] == "" and len(data["lists"]["show_modemlist"]) > 3999


PORT, LINK = "NET_ReadNetworkInfo eth0", "NET_ReadNetworkInfo ppp0"
UP = "HWADDR=00:11:22:33:44:55\nIPADDR=203.0.113.5\n"
ATTEMPT = {"pidof pppoe": "12\n", "pidof pppd": "12\n"}


@pytest.mark.parametrize("method, idle, answers, state, cause, address", [
    (DIRECT, 5, {PORT: UP + "GATEWAY=203.0.113.1\n"}, "connected", "", "203.0.113.5"),
    (DIRECT, 5, {PORT: UP}, "connected", "There is no gateway, so the internet is out of reach.",
     "203.0.113.5"),
    (DIRECT, 0, {PORT: "HWADDR=1\n"}, "failed", "The WAN port has no address.", ""),
    (DIRECT, 5, {PORT: "HWADDR=1\nIPADDR=0.0.0.0\n"}, "failed",
     "No address from DHCP. Check the cable of the WAN port.", ""),
    (PPPOE, 5, {PPPD: "ok\nPAP Authentication FAILED \n\n"}, "failed",
     "The last attempt failed. The log ends with: PAP Authentication FAILED", ""),
    (PPPOE, 5, {PPPD: "NO CARRIER\n" + "x" * 2000 + "\n"}, "waiting",
     "Waiting for traffic: PPPoE dials when somebody needs it.", ""),
    (PPPOE, 0, {}, "failed", "Not connected.", ""),
    (PPPOE, 0, ATTEMPT, "connecting", "Not connected yet.", ""),
    (PPPOE, 5, {**ATTEMPT, LINK: "IPADDR=192.0.2.9\n"}, "connected", "", "192.0.2.9"),
    (MODEM, 0, {}, "no_method",
     "No connection is set up yet. How does this appliance reach the internet?", ""),
    (MODEM, 5, {**ATTEMPT, "ifconfig ppp0": "inet addr:192.0.2.7  P\n"}, "connected", "",
     "192.0.2.7"),
])
def test_the_state_and_its_cause(saved, method, idle, answers, state, cause, address):
    """Fixed addresses and lines, and no telephone number, go with an idle time of 0 here."""
    label = {DIRECT: "Direct connection", PPPOE: "PPPoE"}.get(method, "Modem" if idle else "")
    post(saved, "wan_dc", isp_ip_type="dynamic" if idle else "fixed")
    post(saved, "wan_ppp", ppp_ac_name="joe", ppp_idle_time=idle)
    post(saved, "nat_conn", internet_access="checked", access_method=method)
    saved.change(RECORD, Phone1="555" if idle else "")
    for call, text in answers.items():
        (saved.write if call == PPPD else saved.answer)(call, text)
    result = saved.get("next_file=nat_status.htm", DATA)
    assert data_of(result).items() >= {
        "state": state, "cause": cause, "address": address, "method": label}.items()
    assert len(result.commands) == len(set(result.commands))  # nothing is asked twice


def test_the_state_is_told_where_it_is_asked_for(filled):
    post(filled, "nat_conn", internet_access="unchecked", access_method=PPPOE)
    assert view(filled, "wan_ppp", "&state=yes").items() >= {
        "state": "off", "cause": "Internet access is switched off. The method is PPPoE.",
        "method": "PPPoE", "address": ""}.items()
    assert "state" not in view(filled, "wan_ppp")


REFUSED, ACCEPTED = "422 Unprocessable Content", "200 OK"


def test_what_becomes_of_posts(filled):
    for page, todo, fields, status, told_text in [
            ("nat_conn", "save", {"enable_telnet": "unchecked"}, ACCEPTED, ""),
            ("wan_ppp", "save", {"ppp_ac_name": "", "ppp_ac_pwd": SECRETS[0]}, REFUSED, told(16)),
            ("wan_ppp", "save", {"ppp_ac_name": "\1", "ppp_ac_pwd": SECRETS[0]}, REFUSED,
             told(61, "ppp_ac_name")),
            ("nat_sap", "nat_del_sap", {"v_nat_sap_name": "Ping"}, REFUSED, told(51)),
            ("ac_cfg", "add_port", {"port_start": "22;"}, REFUSED, told(62, "Port", ";")),
            ("sp_port", "upload", {"load_file": "/tmp/none.inf"}, REFUSED, told(22)),
            ("sites_ban", "add_url", {"new_url": "b.com"}, ACCEPTED, told(46))]:
        before = view(filled, page)["seen"]
        answered, data, result = post(filled, page, todo, **fields)
        assert (answered, data["accepted"]) == (status, status == ACCEPTED), (page, fields)
        assert data["notice" if data["accepted"] else "message"] == told_text.rstrip("\n")
        changed = [path for path in result.changed if not path.startswith(CHANGES)]
        assert data["page"] == f"{page}.htm" and bool(data["change"]) == bool(changed)
        assert data["seen"] == (data["change"] or before)
    refusing = post(filled, "nat_conn", internet_access="checked", vs_ud1_1="1234")[1]
    assert (refusing["accepted"], refusing["page"]) == (False, "nat_vs.htm")
    defaults = post(filled, "sp_port", "port_defaults")[1]["values"]
    assert (defaults["nat_serspeed_list"], defaults["nat_modem_list"]) == (
        "115200", "_Standard Modem")
    status, data, _ = post(filled, "wan_ppp", seen=0, ppp_ac_name="jim")
    assert (status, data["accepted"], data["who"]) == ("409 Conflict", False, "me")
    assert data["message"] == told(76, "me", data["when"])


def test_a_failed_action_and_requests_that_are_none(saved):
    saved.block("/etc/diald.conf")
    status, data, _ = post(saved, "sp_int", nat_ac_name="j", nat_tel01="5", nat_idle_time="3")
    assert status == "500 Internal Server Error" and data["accepted"] is False
    assert (data["page"], data["message"]) == ("sp_int.htm", told(12, "SaDiald"))
    foreign = {**DATA, "HTTP_HOST": "box", "HTTP_ORIGIN": "http://evil"}
    result = saved.post("{}", {**foreign, **OF_JSON})
    assert (result.headers["Status"], result.did_nothing) == ("403 Forbidden", True)
    assert list(data_of(result)) == ["message"]
    result = saved.request({**foreign, "REQUEST_METHOD": "OPTIONS"}, b"")
    assert result.headers["Status"] == "501 Not Implemented"
    assert "Access-Control" not in str(result.headers)
    for query in "next_file=%3Cb%3E", "next_file=log&name=x":
        result = saved.get(query, DATA)
        assert result.headers["Status"] == "404 Not Found"
        assert "&lt;" not in data_of(result)["message"]
    status, data, _ = post(saved, "<b>", "nat_add_sap")
    assert (status, data) == ("404 Not Found", {"error": told(10, "<b>.htm")})
    cut = saved.post(b"x", {**DATA, "CONTENT_LENGTH": "9"})
    assert cut.headers["Status"] == "400 Bad Request"
    assert data_of(cut) == {"error": "Error Reading Data"}


WELL = '{"this_file":"wan_ppp.htm","todo":"save","next_file":"wan_ppp.htm",'
OF_JSON = {"CONTENT_TYPE": "application/json; charset=utf-8"}


@pytest.mark.parametrize("wrong, bodies", [
    ("Every member of the object must be a text.",
     [f'{WELL}"a":{value}}}' for value in ("1", "{}", '["a"]')]),
    ("A text of the object is not well formed.", [
        *(f'{WELL}"a":"{text}"}}' for text in (
            "\\ud800", "\\udc00", "\\ud800\\u0041", "\\x", "\\u12", "\\u+123", "\t", "\\")),
        WELL.encode() + b'"a":"\xe2\x82"}', WELL + '"a\\u0000":""}']),
    ("The body is not one JSON object.",
     ["", "[]", '{"a"}', '{"a":"b",}', '{"a":"b"}{}', '{"a":"b"', '{a:"b"}']),
    ("A name stands in the object twice.", [WELL + '"todo":"save"}']),
    ("The object has too many members.",
     ["{" + ",".join(f'"{n}":""' for n in range(1001)) + "}"]),
])
def test_a_body_that_is_no_flat_object_of_texts_is_refused(saved, wrong, bodies):
    for body in bodies:
        result = saved.post(body, {**DATA, **OF_JSON})
        assert (result.headers["Status"], result.did_nothing) == ("400 Bad Request", True), body
        assert data_of(result) == {"message": wrong}
    assert wrong in saved.post(bodies[0], OF_JSON).body


def test_an_object_is_a_form(saved):
    name = ' "\\/é€😀& +%41='
    for text in json.dumps(name), json.dumps(name, ensure_ascii=False).replace("/", "\\/"):
        body = f' {WELL}\r\n\t"ppp_ac_name" : {text} , "ppp_idle_time":"7"}} '
        result = saved.post(body, {**DATA, "CONTENT_TYPE": "Application/JSON"})
        assert data_of(result)["values"]["ppp_ac_name"] == name
        saved.write(WAN, saved.read(WAN).replace("😀", ""))
    result = saved.post(WELL + '"ppp_ac_name":"a\\u0000b"}', {**DATA, **OF_JSON})
    assert data_of(result)["message"] == told(61, "ppp_ac_name")
