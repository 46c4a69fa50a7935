"""Every page that is measured, every request that acts, and the commands of the appliance that they meet."""

from urllib.parse import urlencode

PAGES = """nat_base nat_vs nat_conn nat_filter nat_sap sp_base sp_port sp_int sp_status sites_allow sites_ban wan_dc
    dc_status wan_ppp ppp_status filterlog ac_cfg""".split()

# The appliance's commands, by what they answer. No process has that number, so no signal meets anybody. The shell
# is one of them: the scripts that requests run do nothing, either.
COMMANDS = {
    "99999999\n": "/sbin/pidof",
    "eth0 Link\n inet addr:192.0.2.7  Mask:255.255.255.0\n": "/sbin/ifconfig",
    "ip_masq_ftp 1 1\n": "/sbin/lsmod",
    "HWADDR=00:A0:C9:00:00:00\nIPADDR=192.0.2.7\nNETMASK=255.255.255.0\nGATEWAY=192.0.2.1\n":
        "/usr/share/quillstead/network/NET_ReadNetworkInfo",
    "": """/bin/sh /bin/ping /etc/ppp/dial /sbin/depmod /sbin/ifdown /sbin/ifup /sbin/insmod /sbin/ipchains
        /sbin/ipvsadm /sbin/modprobe /sbin/rmmod /sbin/route /usr/local/squid/bin/squid /usr/sbin/adsl-connect /usr/sbin/adsl-start
        /usr/sbin/adsl-stop /usr/sbin/chat /usr/sbin/diald /usr/sbin/pppd /usr/sbin/pppoe
        /usr/share/quillstead/network/NET_SetDHCPServer /usr/share/quillstead/network/NET_SetDNS
        /usr/share/quillstead/network/NET_SetNetatalk /usr/share/quillstead/network/NET_SetTCPIP
        /usr/share/quillstead/public/PUB_SetModule""",
}

OFF, DIRECT, PPPOE, SERIAL = range(4)
METHODS = ["Serial Port", "WAN Port - Direct Connection", "WAN Port - PPPoE", "Serial Port"]

FORM = "application/x-www-form-urlencoded"
PARTS = "multipart/form-data; boundary=XyZ"


def octets(prefix, address):
    return {f"{prefix}{number}": octet for number, octet in enumerate(address.split("."), 1)}


def post(page, todo, *forms):
    """The fields of a form."""
    fields = {"this_file": f"{page}.htm", "todo": todo, "next_file": f"{page}.htm"}
    return {key: value for form in (fields, *forms) for key, value in form.items()}


def post_file(page, todo, field, content):
    """A form with a file, as it is sent."""
    parts = {"this_file": f"{page}.htm", "todo": todo, f'{field}"; filename="a.txt': content}
    body = "".join(f'--XyZ\r\nContent-Disposition: form-data; name="{name}"\r\n\r\n{text}\r\n'
                   for name, text in parts.items())
    return f"{body}--XyZ--\r\n".encode()


def encoded(form):
    """A form as it is sent, and its type."""
    return (form, PARTS) if isinstance(form, bytes) else (urlencode(form, doseq=True).encode(), FORM)


def services(method, **changed):
    switches = dict.fromkeys("web_access sp_apps email ftp telnet".split(), "checked") | {"ac": "unchecked"}
    return {"internet_access": "checked" if method else "unchecked", "access_method": METHODS[method],
            **{f"enable_{name}": on for name, on in switches.items()}, "enable_dmz": "unchecked", **changed}


SERVER = {"vs_web_enable": "checked", **octets("vs_web_", "192.168.1.8"), "vs_web_portno": "8080"}
FILTER = {"filter_when": "between", "sitelist_type": "allowed", "enable_filter_log": "checked",
          "filter_daystart": "Monday", "filter_starttime": "8", "start_min": "30", "filter_dayfinish": "Friday",
          "filter_finishtime": "17", "finish_min": "45",
          **dict.fromkeys(("remove_java", "remove_js", "remove_ax", "remove_cookies"), "checked")}
DMZ = {"enable_dmz": "checked", **octets("dmz_ip_", "192.168.1.9")}
ADDRESS = octets("nat_isp_ip0", "192.0.2.8")
DNS = octets("dns1_ip_", "192.0.2.54") | octets("dns2_ip_", "192.0.2.55") | octets("dns3_ip_", "192.0.2.56")
PORT = {"isp_ip_type": "fixed", "device_name": "my-pc", "wan_mac_address": "00A0C9112233", **ADDRESS,
        **octets("nat_isp_mask0", "255.255.0.0"), **octets("nat_isp_gw0", "192.0.2.254")}
SECRET = "pw4711"  # whoever finds it in a file may read a password
PPPOE_ACCOUNT = {"isp_ip_type": "fixed", "ppp_ac_name": "joe@isp", "ppp_ac_pwd": SECRET, "ppp_ac_pwd_v": SECRET,
                 "ppp_idle_time": "7", "service_name": "ISP1", **ADDRESS}
MODEM = {"nat_serspeed_list": "57600", "nat_modem_list": "Other", "nat_init_string": "ATZ",
         "nat_dial_type_radio": "pulse"}
ACCOUNT = {"nat_isp_ip_radio": "fixed", "nat_ac_name": "joe@isp", "nat_ac_pwd": SECRET, "nat_ac_pwd_v": SECRET,
           "nat_idle_time": "7", "nat_tel01": "555", "nat_tel02": "666", "nat_tel03": "777", **ADDRESS}
APPLICATION = {"v_nat_sap_name": "New", "v_nat_sap_enable": "checked", "v_nat_sapin_pr_list": "TCP",
               "v_nat_sapin_port01": "80", "v_nat_sapin_port02": "90", "v_nat_sapout_pr_list": "UDP",
               "v_nat_sapout_port01": "70", "v_nat_sapout_port02": "79"}
RULES = {key: value for key, value in APPLICATION.items() if key != "v_nat_sap_name"}
GROUP = {"group_name": "Group 1", "block_allow": "Block"}
PORTS = {"port_start": "25", "port_finish": "30", "port_list": "21"}
HOSTS = {"start_ip_4": "9", "finish_ip_4": "12", "address_list": "192.168.1.3", "vs_web_1": "192", "vs_web_2": "168",
         "vs_web_3": "1"}
INF = """[Manufacturer]
%M% = S
[Strings]
M = "Maker"
A = "New"
B = "Newer"
[S]
%A% = I
%B% = I
[I]
AddReg = R
[R]
HKR, Init, 1,, "AT<cr>"
"""

SAVES = {  # what is measured, by its title: the access method in force, and what is posted
    "services, one switch": (DIRECT, post("nat_conn", "save", services(DIRECT, enable_ftp="unchecked"))),
    "sharing on, direct": (OFF, post("nat_conn", "save", services(DIRECT))),
    "sharing on, PPPoE": (OFF, post("nat_conn", "save", services(PPPOE))),
    "sharing on, serial": (OFF, post("nat_conn", "save", services(SERIAL))),
    "sharing off": (DIRECT, post("nat_conn", "save", services(OFF))),
    "access control on": (DIRECT, post("nat_conn", "save", services(DIRECT, enable_ac="checked"))),
    "DMZ on": (DIRECT, post("nat_conn", "save", services(DIRECT, **DMZ))),
    "virtual server on": (DIRECT, post("nat_vs", "save", SERVER)),
    "filter, one switch": (DIRECT, post("nat_filter", "save", {"remove_java": "checked"})),
    "filter, all fields": (DIRECT, post("nat_filter", "save", FILTER)),
    "the whole overview": (PPPOE, post("nat_conn", "save",
                                       services(PPPOE, enable_ac="checked", **DMZ), SERVER, FILTER)),
    "direct connection": (OFF, post("wan_dc", "save", PORT, DNS)),
    "PPPoE account": (OFF, post("wan_ppp", "save", PPPOE_ACCOUNT, DNS)),
    "modem port": (OFF, post("sp_port", "save", MODEM)),
    "ISP account": (OFF, post("sp_int", "save", ACCOUNT, DNS)),
    "site added": (OFF, post("sites_ban", "add_url", {"new_url": "new.example"})),
    "site deleted": (OFF, post("sites_ban", "del_selected", {"banned_list": "ads.example.com"})),
    "sites imported": (OFF, post_file("sites_ban", "import_file", "upload_file", "http://one/ http://two/")),
    "application added": (DIRECT, post("nat_sap", "nat_add_sap", APPLICATION)),
    "group, a port added": (DIRECT, post("ac_cfg", "add_port", GROUP, PORTS)),
}

OTHERS = {  # what else acts
    "services off, PPPoE": (PPPOE, post("nat_conn", "save", services(PPPOE, **dict.fromkeys(
        ("enable_web_access", "enable_sp_apps", "enable_email", "enable_ftp", "enable_telnet"), "unchecked")))),
    "saved on a status page": (DIRECT, post("dc_status", "save", services(DIRECT, enable_ac="checked"), FILTER)),
    "direct, connect": (DIRECT, post("dc_status", "dc_connect")),
    "PPPoE, connect": (PPPOE, post("ppp_status", "ppp_connect")),
    "PPPoE, disconnect": (PPPOE, post("ppp_status", "ppp_disconnect")),
    "PPPoE, log cleared": (PPPOE, post("ppp_status", "ppp_clearlog")),
    "modem, dial": (SERIAL, post("sp_status", "nat_dial")),
    "modem, hang up": (SERIAL, post("sp_status", "nat_hangup")),
    "modem, log cleared": (SERIAL, post("sp_status", "nat_clearlog")),
    "modem, log refreshed": (SERIAL, post("sp_status", "nat_refreshlog")),
    "direct connection, dynamic": (OFF, post("wan_dc", "save", PORT, {"isp_ip_type": "dynamic"})),
    "hardware address changed": (OFF, post("wan_dc", "change_wan_mac", PORT)),
    "hardware address, default": (OFF, post("wan_dc", "default_wan_mac", PORT)),
    "modem port and account": (OFF, post("sp_int", "save", ACCOUNT, DNS, MODEM)),
    "modem defaults": (OFF, post("sp_port", "port_defaults")),
    "modem install": (OFF, post("sp_port", "instatll")),
    "modems imported": (OFF, post_file("sp_port", "upload", "load_file", INF)),
    "application deleted": (DIRECT, post("nat_sap", "nat_del_sap", RULES, {"v_nat_sap_name": "Game"})),
    "application updated": (DIRECT, post("nat_sap", "nat_update_sap", RULES, {"v_nat_sap_name": "Game"})),
    "application with a module": (DIRECT, post("nat_sap", "nat_update_sap", RULES, {"v_nat_sap_name": "VPN (IPSEC)"})),
    "group selected": (DIRECT, post("ac_cfg", "select", GROUP)),
    "group, blocked": (DIRECT, post("ac_cfg", "change_access", GROUP)),
    "group, a port deleted": (DIRECT, post("ac_cfg", "del_port", GROUP, PORTS)),
    "group, hosts added": (DIRECT, post("ac_cfg", "add_ip", GROUP, HOSTS)),
    "group, a host deleted": (DIRECT, post("ac_cfg", "del_ip", GROUP, HOSTS)),
    "allowed site added": (OFF, post("sites_allow", "add_url", {"new_url": "new.example"})),
    "sites deleted": (OFF, post("sites_ban", "del_all")),
    "filter log cleared": (OFF, post("filterlog", "clear_log", {"clear": "Clear Log"})),
}
