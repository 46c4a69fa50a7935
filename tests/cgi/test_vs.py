"""The virtual servers of the record, and the address on which their page says they are."""

import pytest

from appliance import RECORD, WAN

REPORT = "/usr/share/quillstead/network/NET_ReadNetworkInfo %s"
# form prefix: keys in the record for switch, host and port, and how a refusal names the server
SERVERS = {
    "vs_web": ("Web", "WebIP", "WebPort", 32, "web"),
    "vs_pop3": ("Pop3", "Pop3IP", "Pop3Port", 32, "pop3"),
    "vs_smtp": ("Smtp", "SmtpIP", "SmtpPort", 32, "smtp"),
    "vs_ftp": ("Ftp", "FtpIP", "FtpCtlPort", 32, "ftp"),
    **{f"vs_ud{n}": (f"VS_UD{n}", f"UD{n}_IP", f"UD{n}_Port", 49, str(n)) for n in range(1, 6)},
}
PORTS = {f"{prefix}_portno" + "_ctrl" * (prefix == "vs_ftp"): server[2]
         for prefix, server in SERVERS.items()}
UNKNOWN = "Unknown - not connected"
LONG = "fifteen letters and more"


@pytest.mark.parametrize("method, sharing, interfaces, asked, address, shown", [
    (1, "yes", ["eth0"], "eth0", "203.0.113.7", "203.0.113.7"),
    (1, "yes", ["eth2", "eth3", "eth4"], "eth3", None, ""),
    (1, "yes", ["eth2", "a;b"], "eth2", "1.2.3.4", "1.2.3.4"),
    (2, "yes", ["eth2"], "ppp0", "198.51.100.4", "198.51.100.4"),
    (3, "yes", ["eth0"], "ppp0", "10.112.112.112", UNKNOWN),
    (3, "yes", ["eth0"], "ppp0", "10.112.112.1", "10.112.112.1"),
    (2, "no", ["eth0"], None, None, UNKNOWN),
])
def test_external_address(saved, method, sharing, interfaces, asked, address, shown):
    saved.change(RECORD, Method=method)
    lines = "".join(f"nat_interface={name}\n" for name in interfaces)
    saved.write(WAN, f"nat_enable={sharing}\n{lines}connect_method=0\n")
    if address:
        saved.answer(f"NET_ReadNetworkInfo {asked}", f"HWADDR=x\nIPADDR={address}\nNETMASK=y\n")
    result = saved.view("nat_vs.htm")
    assert (result.shown["isp_IP_address"], result.message) == (shown, "")
    assert result.commands == [REPORT % asked] * (asked is not None)
    assert not result.changed
