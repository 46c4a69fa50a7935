"""Every request that acts, with the appliance that it meets; and a view of every page."""

from dataclasses import dataclass, field

from appliance import CHANGES, IFCFG, RECORD, SETTINGS, USER, WAN, octets
from test_backup import WAITING, send, take
from test_requests import PAGES
from test_sap import rules
from test_sites import ETC
from test_uploads import END, TYPE, upload
from test_uploads import field as part
from test_vs import PORTS, SERVERS
from test_wan import dns

SECRET = "pw4711"  # whoever finds it in a file may read a password
SWITCHES = {"enable_web_access": "SrvWeb", "enable_sp_apps": "SAP", "enable_email": "SrvEMail",
            "enable_ftp": "SrvFTP", "enable_telnet": "SrvTelNet"}
OFF, DIRECT, PPPOE, SERIAL = range(4)
METHODS = ["", "WAN Port - Direct Connection", "WAN Port - PPPoE", "Serial Port"]

FIREWALL, SERVICE, TEL = "/etc/rc.d/rc.firewall", "/etc/rc.d/rc.service", "/etc/ppp/tel"
GAME = "\n#@Game\n ipchains -A output -p tcp 1:2\n\n"
# Every link is up, so that a save runs all that it can run.
PORT = "HWADDR=00:A0:C9:00:00:00\nIPADDR={}\nNETMASK=255.255.255.0\nGATEWAY=192.0.2.1\n".format
LINK = "{} Link\n inet addr:{}  Mask:255.255.255.0\n".format
ANSWERS = {
    "pidof pppd": "321\n", "pidof -x adsl-connect": "322\n", "pidof pppoe": "323\n",
    "lsmod": "ip_masq_ftp 1 1\nip_masq_pptp 1 1\n", "ifconfig eth1": LINK("eth1", "192.168.1.1"),
    "ifconfig eth0": LINK("eth0", "192.0.2.7"), "ifconfig ppp0": LINK("ppp0", "203.0.113.9"),
    "NET_ReadNetworkInfo eth0": PORT("192.0.2.7"), "NET_ReadNetworkInfo ppp0": PORT("203.0.113.9"),
}


@dataclass
class Case:
    """A request, and what is special about the appliance that it meets."""

    name: str
    form: dict | bytes
    method: int = OFF  # the access method in force
    record: dict = field(default_factory=dict)
    missing: tuple = ()
    stores: bool = True
    twice: str = ""  # a file that is replaced twice before the actions run

    @property
    def page(self):
        return self.name.split()[0]

    def prepare(self, appliance, proxy):
        appliance.view("nat_base.htm")
        appliance.stub_scripts()
        appliance.change(RECORD, Method=self.method or SERIAL, User="ann", **self.record)
        appliance.change(WAN, nat_enable="yes" if self.method else "no", connect_method=self.method)
        appliance.change(SETTINGS, wan_hw_addr="112233445566", G1P="A,21,80-90",
                         G1A="192.168.1.3,192.168.1.5-8")
        appliance.write(IFCFG, "DEVICE=eth0\nMACADDR=11:22:33:44:55:66\n")
        appliance.write(FIREWALL, appliance.read(FIREWALL) + GAME, 0o755)
        appliance.write("/usr/local/squid/logs/squid.pid", f"{proxy}\n")
        appliance.meet(proxy)
        for call, text in ANSWERS.items():
            appliance.answer(call, text)
        for name in "ppp1", "ppp0", "pppd":
            appliance.write(f"/var/log/{name}.log", "CONNECT 50666\n")
        for path in self.missing:
            appliance.write(path, None)

    def send(self, appliance):
        if isinstance(self.form, bytes):
            return appliance.post(self.form, {"CONTENT_TYPE": TYPE})
        return appliance.post(self.form) if self.form else appliance.view(f"{self.page}.htm")


class Restore(Case):
    """A restore of an archive that waits: files are replaced, made and removed."""

    def prepare(self, appliance, proxy):
        tel = appliance.read(TEL)
        appliance.write(TEL, None)
        super().prepare(appliance, proxy)
        self.archive = take(appliance)
        self.form |= {"digest": send(appliance, self.archive).shown["backup_digest"]}
        appliance.write("/etc/ppp/tel", tel)
        for path in RECORD, SETTINGS, WAN, IFCFG, FIREWALL:
            appliance.write(path, appliance.read(path) + "# since\n", appliance.mode(path))
        appliance.write(USER, None)

    def send(self, appliance):
        appliance.write(WAITING, self.archive)
        return super().send(appliance)


class Undo(Case):
    """An undo of the change before it."""

    def prepare(self, appliance, proxy):
        super().prepare(appliance, proxy)
        appliance.at(CHANGES).mkdir(parents=True)
        act("nat_conn", "save", services(PPPOE, "checked")).send(appliance)


def act(page, todo, form=(), title="", **prepared):
    file = f"{page}.htm"
    form = {"this_file": file, "todo": todo, "next_file": file, **dict(form)}
    return Case(f"{page} {title or todo}", form, **prepared)


def act_all(page, words, form=(), **prepared):
    return [act(page, todo, form, **prepared) for todo in words.split()]


def send_file(page, todo, key, text):
    fields = part("this_file", f"{page}.htm") + part("todo", todo)
    return Case(f"{page} {todo}", (fields + upload(key, "a.txt", text) + END).encode())


def services(method, switches="unchecked"):
    return {"internet_access": "checked" if method else "unchecked", "enable_ac": "checked",
            "access_method": METHODS[method or SERIAL], **dict.fromkeys(SWITCHES, switches),
            "enable_dmz": "checked", **octets("dmz_ip_", "192.168.1.9")}


SERVERS_FORM = {"vs_https_enable": "checked", "vs_ftp_portno_data": "2020"}
for number, (prefix, port) in enumerate(zip(SERVERS, PORTS)):
    SERVERS_FORM |= {f"{prefix}_enable": "checked", f"{prefix}_name": f"game {number}",
                     port: str(8000 + number), **octets(f"{prefix}_", f"192.168.1.{number}")}
FILTER_FORM = dict(
    filter_when="between", sitelist_type="banned", enable_filter_log="checked",
    filter_daystart="Monday", filter_starttime="8", start_min="30", filter_dayfinish="Friday",
    filter_finishtime="17", finish_min="45", remove_java="checked", remove_js="checked",
    remove_ax="checked", remove_cookies="checked")
ADDRESS = octets("nat_isp_ip0", "192.0.2.8")
DNS_FORM = dns("192.0.2.54", "192.0.2.55", "192.0.2.56")
DIRECT_FORM = dict(
    isp_ip_type="fixed", device_name="my-pc", wan_mac_address="00A0C9112233", **ADDRESS,
    **octets("nat_isp_mask0", "255.255.0.0"), **octets("nat_isp_gw0", "192.0.2.254"))
PPPOE_FORM = dict(
    isp_ip_type="fixed", ppp_ac_name="joe@isp", ppp_ac_pwd=SECRET, ppp_ac_pwd_v=SECRET,
    ppp_idle_time="7", service_name="ISP1", **ADDRESS, **DNS_FORM)
MODEM_FORM = dict(nat_serspeed_list="57600", nat_modem_list="Other", nat_init_string="ATZ",
                  nat_dial_type_radio="pulse")
ACCOUNT_FORM = dict(
    nat_isp_ip_radio="fixed", nat_ac_name="joe@isp", nat_ac_pwd=SECRET, nat_ac_pwd_v=SECRET,
    nat_idle_time="7", nat_tel01="555", nat_tel02="666", nat_tel03="777", **ADDRESS, **DNS_FORM)
NEW, OLD, VPN = (rules(name, "TCP", "80", "90", "UDP", "70", "79") | {"v_nat_sap_enable": "checked"}
                 for name in ("New", "Game", "VPN (IPSEC)"))
GROUP = dict(
    group_name="Group 1", block_allow="Block", port_start="25", port_finish="30", port_list="21",
    address_list="192.168.1.3", start_ip_4="9", finish_ip_4="12", vs_web_1="192", vs_web_2="168",
    vs_web_3="1")
INF = ('[Manufacturer]\n%M% = S\n[Strings]\nM = "Maker"\nA = "New"\nB = "Newer"\n[S]\n%A% = I\n'
       '%B% = I\n[I]\nAddReg = R\n[R]\nHKR, Init, 1,, "AT<cr>"\n')
ZEROS = dict.fromkeys(SWITCHES.values(), 0)

CASES = [
    act("nat_conn", "save", services(PPPOE, "checked"), "on, PPPoE", record=ZEROS),
    act("nat_conn", "save", services(DIRECT), "on, direct"),
    act("nat_conn", "save", services(SERIAL), "on, serial"),
    act("nat_conn", "save", services(OFF), "off", method=DIRECT),
    act("nat_conn", "save", services(PPPOE), "save", method=PPPOE),
    act("nat_conn", "save", services(PPPOE, "checked") | SERVERS_FORM | FILTER_FORM,
        "whole overview", method=PPPOE, record=ZEROS, twice=RECORD),
    act("nat_vs", "save", SERVERS_FORM, method=DIRECT),
    act("nat_filter", "save", FILTER_FORM, method=DIRECT),
    act("dc_status", "save", services(DIRECT) | FILTER_FORM, method=DIRECT, twice=SERVICE),
    act("dc_status", "dc_connect", method=DIRECT),
    *act_all("ppp_status", "ppp_connect ppp_disconnect ppp_clearlog", method=PPPOE),
    *act_all("sp_status", "nat_dial nat_clearlog", method=SERIAL),
    *act_all("sp_status", "nat_hangup nat_refreshlog", method=SERIAL, stores=False),
    act("wan_dc", "save", DIRECT_FORM | DNS_FORM, twice=SETTINGS),
    act("wan_dc", "save", DIRECT_FORM | {"isp_ip_type": "dynamic"}, "save, dynamic"),
    *act_all("wan_dc", "change_wan_mac default_wan_mac", DIRECT_FORM),
    act("wan_ppp", "save", PPPOE_FORM),
    act("sp_port", "save", MODEM_FORM),
    act("sp_int", "save", ACCOUNT_FORM),
    act("sp_int", "save", ACCOUNT_FORM | MODEM_FORM, "save, both pages",
        missing=["/usr/lib/diald/standard.filter"], twice=RECORD),
    *act_all("sp_port", "port_defaults instatll", stores=False),
    send_file("sp_port", "upload", "load_file", INF),
    act("nat_sap", "nat_add_sap", NEW, method=DIRECT),
    *act_all("nat_sap", "nat_del_sap nat_update_sap", OLD, method=DIRECT),
    act("nat_sap", "nat_update_sap", VPN, "nat_update_sap, a module", method=DIRECT),
    act("ac_cfg", "select", GROUP, method=DIRECT, stores=False),
    *act_all("ac_cfg", "change_access add_port del_port add_ip del_ip", GROUP, method=DIRECT),
    act("filterlog", "clear_log", {"clear": "Clear Log"}),
    Restore("backup apply", {"this_file": "backup.htm", "todo": "apply"}, method=DIRECT),
]
for page, name, selected, first in (("sites_allow", "access", "allowed_list", "www.example.org"),
                                    ("sites_ban", "deny", "banned_list", "ads.example.com")):
    CASES += [
        act(page, "add_url", {"new_url": "new.example"}),
        act(page, "add_url", {"new_url": "new.example"}, "add_url, the first one",
            missing=[f"{ETC}{name}.list"]),
        act(page, "del_selected", {selected: first}),
        act(page, "del_all"),
        send_file(page, "import_file", "upload_file", "http://one/ http://two/ http://three/"),
    ]
# Of these the change waits to be kept, where changes are kept; otherwise they are refused.
UNKEPT = [act("nat_conn", "save", services(PPPOE, "checked") | {"confirm_within": "600"},
               "on, PPPoE, to be kept", record=ZEROS)]
UNDONE = [Undo("history undo", {"this_file": "history.htm", "todo": "undo", "change": "1"},
               record=ZEROS)]
CASES += [
    *(Case(f"{page.removesuffix('.htm')} view", {}, method=DIRECT, stores=False)
      for page in sorted(PAGES)),
    Case("nat_base view, the first one", {}, missing=[RECORD]),
    Case("sp_port view, the first one", {}, missing=["/etc/ppp/modem.ini"]),
]
