"""The pages and a real squid: it reads its settings again after a save, and ends with the connection."""

import os
import shutil
import socket
import subprocess
import time

import pytest

from test_filter import PID, save
from test_services import WAN, replaced
from appliance import message_of

SQUID = shutil.which("squid", path=os.environ["PATH"] + ":/usr/sbin")


def wait_for(happened, what, seconds=30):
    end = time.monotonic() + seconds
    while not happened():
        assert time.monotonic() < end, f"waited in vain: {what}"
        time.sleep(0.05)


@pytest.fixture
def squid(appliance, tmp_path):
    """The running proxy and its log. It lives outside the private root; its pid file lies inside."""
    if not SQUID:
        pytest.skip("squid is not installed")
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]
    conf, log = tmp_path / "squid.conf", tmp_path / "squid.log"
    conf.write_text(
        f"http_port 127.0.0.1:{port}\npid_filename {appliance.at(PID)}\nvisible_hostname practice\n"
        "cache_log /dev/null\naccess_log none\npinger_enable off\nshutdown_lifetime 0 seconds\n")
    with log.open("wb") as out, subprocess.Popen([SQUID, "-N", "-d", "1", "-f", conf], stdout=out, stderr=out) as process:
        try:
            wait_for(lambda: "Accepting HTTP" in log.read_text() or process.poll() is not None, "a start")
            assert process.poll() is None, log.read_text()
            yield process, log
        finally:
            process.kill()


def test_a_real_squid_follows(appliance, squid):
    process, log = squid
    assert appliance.read(PID).strip() == str(process.pid) and "Reconfiguring" not in log.read_text()
    assert message_of(save(appliance, {"remove_js": "checked"}).body) == ""
    wait_for(lambda: log.read_text().count("Reconfiguring") == 1, "new settings")
    wait_for(lambda: log.read_text().count("Accepting HTTP") == 2, "the end of it")
    assert message_of(save(appliance, {"remove_js": "checked"}).body) == ""  # nothing new
    appliance.write(WAN, replaced(appliance, WAN, nat_enable="yes"))
    assert message_of(save(appliance, {"internet_access": "unchecked"}, "nat_conn.htm").body) == ""
    assert process.wait(30) == 0 and log.read_text().count("Reconfiguring") == 1
