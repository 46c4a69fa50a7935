import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

for folder in ("cgi", "faults"):
    sys.path.insert(0, str(Path(__file__).parent / folder))

from appliance import CHANGES, Appliance, make_template  # noqa: E402


def pytest_make_parametrize_id(val):
    """A case's name holds the beginning of a long text."""
    return ascii(val)[:40] if isinstance(val, (str, bytes)) else None


@pytest.fixture(scope="session")
def template(tmp_path_factory):
    """What all private roots are copied from."""
    root = tmp_path_factory.mktemp("template") / "root"
    make_template(root)
    return root


@pytest.fixture
def appliance(tmp_path, template):
    """A fresh appliance with its factory settings."""
    yield Appliance(tmp_path / "root", template)
    shutil.rmtree(tmp_path / "root")


@pytest.fixture
def saved(appliance):
    """An appliance with a record of its own; its scripts below /etc are stubs."""
    appliance.view("nat_base.htm")
    appliance.stub_scripts()
    return appliance


@pytest.fixture
def kept(saved):
    """One that keeps its changes."""
    saved.at(CHANGES).mkdir(parents=True)
    yield saved
    saved.end_processes()


@pytest.fixture
def hurried(kept):
    """One with seconds of 50 milliseconds."""
    kept.program = os.environ.get("NAT_IMPATIENT") or pytest.skip("this program's are whole ones")
    return kept


@pytest.fixture
def proxy(appliance):
    """A process that the appliance takes for its web proxy."""
    with subprocess.Popen(["squid", "60"], executable="/bin/sleep") as process:
        appliance.write("/usr/local/squid/logs/squid.pid", f"{process.pid}\n")
        appliance.meet(process.pid)
        yield process
        process.kill()
