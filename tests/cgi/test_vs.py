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


def wan(interfaces="nat_interface=eth0", sharing="yes"):
    return f"nat_enable={sharing}\n{interfaces}\nconnect_method=0\n"


@pytest.mark.parametrize("method, wan_settings, asked, report, shown", [
    (1, wan(), "eth0", "HWADDR=x\nIPADDR=203.0.113.7\nNETMASK=y\n", "203.0.113.7"),
    (1, wan("nat_interface=eth2\nnat_interface=eth3\nnat_interface=eth4"), "eth3", "", ""),
    (1, wan("nat_interface=eth2\nnat_interface="), "eth2", "IPADDR=1.2.3.4\n", "1.2.3.4"),
    (1, wan("nat_interface=eth2\nnat_interface=a;b"), "eth2", "IPADDR=1.2.3.4\n", "1.2.3.4"),
    (2, wan("nat_interface=eth2"), "ppp0", "IPADDR=198.51.100.4\n", "198.51.100.4"),
    (3, wan(), "ppp0", "IPADDR=10.112.112.112\n", UNKNOWN),
    (3, wan(), "ppp0", "IPADDR=10.112.112.1\n", "10.112.112.1"),
    (2, wan(sharing="no"), None, "", UNKNOWN),
])
def test_external_address(saved, method, wan_settings, asked, report, shown):
    saved.change(RECORD, Method=method)
    saved.write(WAN, wan_settings)
    saved.answer(f"NET_ReadNetworkInfo {asked}", report)
    result = saved.view("nat_vs.htm")
    assert (result.shown["isp_IP_address"], result.message) == (shown, "")
    assert result.commands == [REPORT % asked] * (asked is not None)
    assert not result.changed
