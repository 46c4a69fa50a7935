"""Every request that acts, with the appliance that it meets; and a view of every page."""

import sys
from dataclasses import dataclass, field

from appliance import CHANGES, IFCFG, PROJECT, RECORD, SETTINGS, USER, WAN
from test_backup import WAITING, send, take
from test_requests import PAGES
from test_uploads import TYPE

sys.path.append(str(PROJECT / "bench"))

from cases import DIRECT, OFF, OTHERS, SAVES, SECRET, SERIAL  # noqa: E402

FIREWALL, TEL = "/etc/rc.d/rc.firewall", "/etc/ppp/tel"
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
        return appliance.post(self.form) if self.form else appliance.view(self.name.split()[0])


class Restore(Case):
    """A restore of an archive that waits: files are replaced, made and removed."""

    def prepare(self, appliance, proxy):
        tel = appliance.read(TEL)
        appliance.write(TEL, None)
        super().prepare(appliance, proxy)
        self.archive = take(appliance)
        self.form |= {"digest": send(appliance, self.archive).shown["backup_digest"]}
        appliance.write(TEL, tel)
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
        Case("", SAVES["sharing on, PPPoE"][1]).send(appliance)


ZEROS = dict.fromkeys("SrvWeb SAP SrvEMail SrvFTP SrvTelNet".split(), 0)
SPECIAL = {  # what some requests meet, or do
    "sharing on, PPPoE": {"record": ZEROS},
    "the whole overview": {"record": ZEROS},
    "modem port and account": {"missing": ["/usr/lib/diald/standard.filter"]},
    "site added": {"missing": ["/usr/local/squid/etc/deny.list"]},
    **dict.fromkeys(("modem, hang up", "modem, log refreshed", "modem defaults", "modem install",
                     "group selected"), {"stores": False}),
}
CASES = [Case(title, form, method, **SPECIAL.get(title, {}))
         for title, (method, form) in (SAVES | OTHERS).items()]
CASES += [
    Restore("restore", {"this_file": "backup.htm", "todo": "apply"}, DIRECT),
    *(Case(f"{page} view", {}, DIRECT, stores=False) for page in sorted(PAGES)),
    Case("nat_base.htm view, the first one", {}, missing=[RECORD]),
    Case("sp_port.htm view, the first one", {}, missing=["/etc/ppp/modem.ini"]),
]
# Of these the change waits to be kept, where changes are kept; otherwise they are refused.
UNKEPT = [Case("sharing on, to be kept", SAVES["sharing on, PPPoE"][1] | {"confirm_within": "600"},
               record=ZEROS)]
UNDONE = [Undo("undo", {"this_file": "history.htm", "todo": "undo", "change": "1"}, record=ZEROS)]
