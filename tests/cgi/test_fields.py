"""What the pages store of what is typed, and what they refuse or have nothing to do for."""

import pytest

from appliance import FILTER, RECORD, SETTINGS, octets, told
from test_vs import LONG, SERVERS

# What every form brings along besides, and is not stored either.
ALSO = dict(
    vs_ud3_name="kept", vs_https_enable="checked", remove_java="checked", nat_ac_name="ann",
    nat_idle_time="7", nat_serspeed_list="9600", isp_ip_type="dynamic", device_name="mine",
    ppp_ac_name="joe", ppp_idle_time="5")
NAME = ("Invalid character or characters in Device Name.\n\n"
        "The following characters are not allowed:\n\\/[]<>,:;|=+*?'`\"()&")
CHECK = "Check value in set_filter_info return error:{}"
MAC = {"todo": "change_wan_mac"}
CANCEL = {"todo": "cancel"}, ""
# Forms, and the message that each gets.
FORMS = {
    "nat_conn.htm": [
        *(({"enable_ac": "checked", "dmz_ip_1": "192", "dmz_ip_3": octet}, told(48))
          for octet in ("1234", "$a", "1 2", "#")),
        ({"todo": "apply", "dmz_ip_1": "1234"}, "")],
    "nat_vs.htm": [
        *(({f"{prefix}_{number % 4 + 1}": "1000"}, told(message, name))
          for number, (prefix, (*_, message, name)) in enumerate(SERVERS.items())),
        ({"vs_web_3": "`x"}, told(32, "web")), CANCEL],
    "sp_int.htm": [
        ({"nat_ac_name": ""}, told(16)), ({"nat_tel01": ""}, told(17)),
        ({"nat_idle_time": ""}, told(15)),
        ({"nat_isp_ip03": "1234"}, told(19)), CANCEL],
    "nat_filter.htm": [
        ({"filter_starttime": "24", "finish_min": "60"}, CHECK.format(4)),
        ({"start_min": "60"}, CHECK.format(5)), ({"filter_finishtime": "-1"}, CHECK.format(6)),
        ({"finish_min": "4294967356x"}, CHECK.format(7)), ({"todo": "clear"}, "")],
    "sp_port.htm": [({"nat_init_string": "AT'\\r"}, told(62, "Init string", "'"))],
    "wan_dc.htm": [
        *(({"device_name": f"my{character}pc"}, NAME)
          for character in " \"&'()*+,/:;<=>?[\\]`|"),
        ({"nat_isp_ip01": "1234"}, told(19)), ({"nat_isp_gw02": "#"}, told(19)),
        *((dict(MAC, wan_mac_address=address), told(63))
          for address in ("00A0C911223", "00A0C911223G", "00A0C9112233;x y")), (MAC, ""), CANCEL],
    "wan_ppp.htm": [
        ({"ppp_ac_name": ""}, told(16)), ({"ppp_idle_time": ""}, told(15)),
        ({"isp_ip_type": ""}, told(5, "wan_ppp.htm")), ({"nat_isp_ip03": "1 2"}, told(19)), CANCEL],
}
ON, TAKEN = {"internet_access": "checked"}, {"vs_web_portno": "80", "vs_pop3_portno": "80"}


@pytest.mark.parametrize("page, before, form, message", [
    *((page, {}, *each) for page, forms in FORMS.items() for each in forms),
    ("nat_conn.htm", {SETTINGS: {"bootproto": "dhcp"}}, ON, told(39)),
    ("nat_conn.htm", {SETTINGS: {"dns_server1": ""}}, ON, told(44)),
    # The check goes by what is switched on so far, the storing by what the form switches on.
    ("nat_vs.htm", {RECORD: {"Web": 1, "Pop3": 1}}, dict(TAKEN, vs_web_enable="no"), told(50)),
    ("nat_vs.htm", {}, dict(TAKEN, vs_web_enable="checked", vs_pop3_enable="checked"), told(50)),
    ("nat_vs.htm", {RECORD: {"Ftp": 1, "VS_UD2": 1}},
     dict(vs_ftp_portno_data="", vs_ud2_portno="x"), told(50)),
    ("nat_filter.htm", {FILTER: "filter_state 3\n"}, {}, CHECK.format(1)),
    ("nat_filter.htm", {FILTER: "custom_content_state 3\n"}, {}, CHECK.format(14)),
])
def test_nothing_happens(saved, page, before, form, message):
    saved.change(SETTINGS, wan_hw_addr="112233445566")
    for path, values in before.items():
        if path == FILTER:
            saved.write(path, values)
        else:
            saved.change(path, **values)
    form = {**ALSO, **form}
    result = saved.save(page, **{"next_file": page, **form})
    assert (result.page, result.message, result.did_nothing) == (page, message, True)
    if message and page[:3] != "wan":  # these two show what is stored
        shown = {key: result.shown[key] for key in form if key in result.shown}
        assert shown.items() <= form.items()


@pytest.mark.parametrize("page, before, form, after", [
    ("nat_conn.htm", {"DMZ": 1, "DMZ_IP": "10.9.9.9"},
     {"enable_email": "x", "enable_ftp": "unchecked", "enable_dmz": "on",
      **octets("dmz_ip_", "x.168.1.9")},
     {"SrvEMail": "1", "SrvFTP": "0", "DMZ": "0", "DMZ_IP": ""}),
    ("nat_vs.htm", {"Web": 1, "WebIP": "192.168.1.9", "FtpIP": "192.168.1.9", "UD1_Name": "n",
                    "UD1_IP": "10.0.0.1", "UD2_Name": "game", "UD5_IP": "10.0.0.9"},
     {
         # Web, POP3, SMTP and FTP are on for "checked" only, the others off for "unchecked" only.
         "vs_web_enable": "on", "vs_https_enable": "on", "vs_ud2_enable": "",
         # Octets that begin with no digit are left out, the first one clears the host.
         **octets("vs_web_", "abc.168.1.9"), **octets("vs_pop3_", "10..1a.x"), "vs_ftp_4": "9",
         **octets("vs_ud1_", "100.100.100.100"),
         # A port is whatever number begins the text, in 32 bits.
         "vs_web_portno": " 8080x", "vs_pop3_portno": "", "vs_smtp_portno": "-1",
         "vs_ftp_portno_data": "4294967297",
         # Names stand as typed, in fourteen characters.
         "vs_ud1_name": LONG, "vs_ud2_name": "", "vs_ud5_name": "a=b; #'$x"},
     dict(Web="0", Https="1", VS_UD2="1", WebIP="", Pop3IP="10.1a.", FtpIP="",
          UD1_IP="100.100.100.100", WebPort="8080", Pop3Port="0", SmtpPort="4294967295",
          FtpDataPort="1", UD1_Name=LONG[:14], UD2_Name="", UD5_Name="a=b; #'$x")),
    # A port is free to servers that are switched off, and HTTPS takes none.
    ("nat_vs.htm", {"Web": 1, "WebPort": 8, "Https": 1},
     dict(TAKEN, vs_ud1_enable="checked", vs_ud1_portno="443"),
     dict(WebPort="80", Pop3Port="80", VS_UD1="1", UD1_Port="443")),
    ("sp_int.htm", {}, dict(
        nat_isp_ip_radio="fixed", **octets("nat_isp_ip0", "999.x.2x3."), nat_idle_time="7x",
        nat_tel03="3" * 60, nat_serspeed_list="57600x", nat_dial_type_radio="perm",
        nat_init_string="i" * 90),
     dict(DynamicIP="0", IP="999.2x3.", Idle="7", Phone3="3" * 59, BaudRate="57600", DialType="2",
          InitStr="i" * 79)),
])
def test_what_is_stored(saved, page, before, form, after):
    """And nothing else. The script of the virtual servers is made anew for them and for the DMZ."""
    saved.change(RECORD, **{"SrvEMail": 0, **before})
    record = saved.record()
    result = saved.save(page, **form)
    assert saved.keys(RECORD) == {**record, "DNS": "192.0.2.53", **after}
    assert (result.page, result.message) == ("nat_base.htm", "")
    assert ("/sbin/ipvsadm -C" in result.commands) == ("DMZ" in after or page == "nat_vs.htm")
    assert page == "sp_int.htm" or saved.save(page, **form).did_nothing  # the same again


def test_a_form_without_fields_changes_nothing(saved):
    for page in "nat_conn.htm", "sp_int.htm", "wan_dc.htm", "wan_ppp.htm":
        assert saved.save(page).did_nothing
