"""Whether the programs that read the connections' files get back what was typed."""

import os
import shlex
import subprocess

import pytest

from appliance import CHAP, IFCFG, PAP, PPPOE

OPTIONS = "/etc/ppp/options.ttyS0"

SHELLS = [["bash"], ["dash"], ["busybox", "ash"]]
AWKWARD = [
    "joe#1@isp", "#", " joe smith ", "it's", "$HOME", "$(id)", "`id`", "end\\", "\\$x\\\\y",
    "a;b|c&d", "<in >out", "*", "~root", "!x{1,2}[3]?", "=", "jürgen@日本", "say \"hi\""]


def save(appliance, page, **fields):
    assert appliance.post({"this_file": page, "todo": "save", **fields}).message == ""


def assert_sourced(appliance, path, variables):
    """Every shell that has read the file knows the variables by these values."""
    script = '. "$1"; printf "%s\\0" ' + " ".join(f'"${{{name}-unset}}"' for name in variables)
    for shell in SHELLS:
        command = [*shell, "-c", script, "reader", str(appliance.at(path))]
        env = {"PATH": os.environ["PATH"]}
        finished = subprocess.run(command, env=env, capture_output=True, text=True, check=True)
        assert finished.stdout.split("\0")[:-1] == list(variables.values())
        assert finished.stderr == ""


def pppd_words(line):
    """As pppd has them: blanks part them, # begins a comment, " ' and \\ take meanings away."""
    reader = shlex.shlex(line, posix=True, punctuation_chars=False)
    reader.whitespace_split, reader.escapedquotes = True, "\"'"
    return list(reader)


@pytest.mark.parametrize("name", ["#", "$HOME-${x}", "~", "a!b{1}^%@.é", ""])
def test_interface_file_in_a_shell(appliance, name):
    save(appliance, "wan_dc.htm", isp_ip_type="dynamic", device_name=name)
    assert_sourced(appliance, IFCFG, {
        "DEVICE": "eth0", "ONBOOT": "no", "BOOTPROTO": "dhcp", "DHCP_HOSTNAME": name or "unset"})


@pytest.mark.parametrize("text", AWKWARD)
@pytest.mark.parametrize("tag", ["PPPoE", "Serial"])
def test_accounts(appliance, text, tag):
    service = text.replace('"', "").replace(" ", "")
    for name, password in ("plain", text), (text, "plain"):
        if tag == "PPPoE":
            save(appliance, "wan_ppp.htm", ppp_ac_name=name, ppp_ac_pwd=password, ppp_idle_time="5",
                 isp_ip_type="dynamic", service_name=service)
        else:
            save(appliance, "sp_int.htm", nat_ac_name=name, nat_ac_pwd=password, nat_idle_time="5")
        for path in PAP, CHAP:
            _, marker, line = appliance.read(path).splitlines()
            assert (marker, pppd_words(line)) == (f"#{tag}", [name, "ppp0", password])
    if tag == "PPPoE":
        assert_sourced(appliance, PPPOE, {
            "USER": text, "PPPOE_EXTRA": f"-S {service}", "DEMAND": "300", "PPPOE_TIMEOUT": "300",
            "ETH": "eth0", "CLAMPMSS": "1412"})
        assert appliance.view("wan_ppp.htm").shown["service_name"] == service
    else:
        assert [pppd_words(line) for line in appliance.read(OPTIONS).splitlines()] == [
            ["idle", "300"], ["name", text], ["remotename", "ppp0"], ["noipdefault"]]
