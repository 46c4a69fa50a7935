"""Whether the programs that read the connections' files get back what was typed."""

import html
import os
import re
import shlex
import shutil
import subprocess

import pytest

from appliance import become_root

PPPOE, IFCFG = "/etc/ppp/pppoe.conf", "/etc/sysconfig/network-scripts/ifcfg-eth0"
SECRETS, OPTIONS = ("/etc/ppp/pap-secrets", "/etc/ppp/chap-secrets"), "/etc/ppp/options.ttyS0"
PPPD = "/usr/sbin/pppd"

SHELLS = [["bash"], ["dash"], ["busybox", "ash"]]
AWKWARD = ["joe#1@isp", "#", "joe smith", " joe ", "it's", "$HOME", "$(id)", "`id`", "back\\slash", "end\\",
           "\\$x\\\\y", "a;b|c&d", "<in >out", "*", "~root", "!x{1,2}[3]?", "=", "jürgen@日本", "-S x", "\"",
           "say \"hi\"", "\"'\\`$#"]


def save(appliance, page, **fields):
    result = appliance.post({"this_file": page, "todo": "save", **fields})
    assert 'role="alert"></p>' in result.body
    return result


def save_pppoe(appliance, name, password, service=""):
    return save(appliance, "wan_ppp.htm", ppp_ac_name=name, ppp_ac_pwd=password, ppp_idle_time="5",
                isp_ip_type="dynamic", service_name=service)


def save_isp(appliance, name, password):
    return save(appliance, "sp_int.htm", nat_ac_name=name, nat_ac_pwd=password, nat_idle_time="5")


ACCOUNTS = pytest.mark.parametrize("save_account, tag", [(save_pppoe, "PPPoE"), (save_isp, "Serial")])


def sourced(appliance, shell, path, variables):
    """The variables' values after the shell has read the file."""
    script = '. "$1"; printf "%s\\0" ' + " ".join(f'"${{{name}-unset}}"' for name in variables)
    command = [*shell, "-c", script, "reader", str(appliance.at(path))]
    finished = subprocess.run(command, env={"PATH": os.environ["PATH"]}, capture_output=True, text=True, timeout=10)
    assert (finished.returncode, finished.stderr) == (0, "")
    return dict(zip(variables, finished.stdout.split("\0")))


def account_line(appliance, path, tag):
    """The line of an account in a secrets file."""
    return re.search(f"^#{tag}\n(.*)\n", appliance.read(path), re.MULTILINE)[1]


def pppd_words(line):
    """A line's words as pppd(8) says: blanks part them, # begins a comment, " and \\ take meanings away."""
    reader = shlex.shlex(line, posix=True, punctuation_chars=False)
    reader.whitespace_split, reader.quotes, reader.escapedquotes = True, '"', '"'
    return list(reader)


@pytest.mark.parametrize("text", AWKWARD)
def test_pppoe_settings_in_a_shell(appliance, text):
    service = text.replace('"', "").strip()
    result = save_pppoe(appliance, text, "secret", service)
    expected = {"USER": text, "PPPOE_EXTRA": f"-S {service}" if service else "", "DEMAND": "300",
                "PPPOE_TIMEOUT": "300", "ETH": "eth0", "CLAMPMSS": "1412"}
    for shell in SHELLS:
        assert sourced(appliance, shell, PPPOE, expected) == expected
    assert f'name="service_name" value="{service}"' in html.unescape(result.body)


@pytest.mark.parametrize("name", ["my-pc", "pc#1", "#", "$HOME-${x}", "~", "a!b{1}^%@.é", ""])
def test_interface_file_in_a_shell(appliance, name):
    save(appliance, "wan_dc.htm", isp_ip_type="dynamic", device_name=name)
    expected = {"DEVICE": "eth0", "ONBOOT": "no", "BOOTPROTO": "dhcp", "DHCP_HOSTNAME": name or "unset"}
    for shell in SHELLS:
        assert sourced(appliance, shell, IFCFG, expected) == expected


@ACCOUNTS
@pytest.mark.parametrize("text", AWKWARD)
def test_secrets_as_words(appliance, text, save_account, tag):
    for name, password in ("old", "old"), (text, "plain"), ("plain", text):
        save_account(appliance, name, password)
        for path in SECRETS:
            assert pppd_words(account_line(appliance, path, tag)) == [name, "ppp0", password]
            assert appliance.read(path).count("ppp0") == 1


# Lets pppd start where the kernel has no PPP driver, and look for secrets in a file of the test's.
STAND_IN = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
int open(const char* path, int flags, int mode) {
    int (*next)(const char*, int, int) = (int (*)(const char*, int, int))dlsym(RTLD_NEXT, "open");
    return next(strcmp(path, "/dev/ppp") ? path : "/dev/null", flags, mode);
}
FILE* fopen(const char* path, const char* mode) {
    FILE* (*next)(const char*, const char*) = (FILE* (*)(const char*, const char*))dlsym(RTLD_NEXT, "fopen");
    return next(strstr(path, "-secrets") ? getenv("SECRETS") : path, mode);
}
"""


@pytest.fixture(scope="module")
def pppd(tmp_path_factory):
    """Calls pppd on a terminal, with a secrets file; it stops before it would use the line."""
    if not os.access(PPPD, os.R_OK):
        pytest.skip("pppd is not installed (package ppp)")
    folder = tmp_path_factory.mktemp("pppd")
    program, library = folder / "pppd", folder / "stand_in.so"
    shutil.copyfile(PPPD, program)  # the copy is not set-user-ID
    program.chmod(0o755)
    build = ["g++", "-x", "c", "-shared", "-fPIC", "-o", library, "-", "-ldl"]
    subprocess.run(build, input=STAND_IN, text=True, check=True)

    def call(secrets, *options):
        environment = {"PATH": "/usr/bin:/bin", "LD_PRELOAD": str(library), "SECRETS": str(secrets)}
        ends = os.openpty()
        try:
            return subprocess.run([program, *options, "dryrun"], stdin=ends[1], stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, encoding="latin-1", env=environment,
                                  preexec_fn=become_root, timeout=10)
        finally:
            for end in ends:
                os.close(end)

    return call


@ACCOUNTS
@pytest.mark.parametrize("text", AWKWARD)
def test_secrets_in_pppd(appliance, tmp_path, pppd, text, save_account, tag):
    """pppd finds the account. It shows no password, but reads the words of its options by the same rules."""

    def finds(name):
        finished = pppd(appliance.at(path), f"require-{protocol}", "remotename", name, "name", "ppp0")
        return "None of the available passwords would let it use an IP address" in finished.stdout

    def understood(*options):
        finished = pppd("/dev/null", "noauth", *options)
        assert finished.returncode == 0
        return re.findall(r"^((?:user|ipparam|idle|name|remotename|noipdefault)\b.*)\t\t# \(from ", finished.stdout,
                          re.MULTILINE)

    save_account(appliance, text, text)
    options = tmp_path / "options"
    for path, protocol in zip(SECRETS, ("pap", "chap")):
        assert finds(text) and (text == "*" or not finds("other"))
        name, _, password = account_line(appliance, path, tag).split("\t")
        options.write_text(f"user {name}\nipparam {password}\n")
        expected = understood("user", text, "ipparam", text)
        assert len(expected) == 2 and understood("file", str(options)) == expected
    if tag == "Serial":
        expected = understood("idle", "300", "name", text, "remotename", "ppp0", "noipdefault")
        assert len(expected) == 4 and understood("file", str(appliance.at(OPTIONS))) == expected
