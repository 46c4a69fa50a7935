import shutil
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent / "cgi"))

from appliance import Appliance, make_template  # noqa: E402


@pytest.fixture(scope="session")
def template(tmp_path_factory):
    """What all private roots are copied from."""
    root = tmp_path_factory.mktemp("template") / "root"
    make_template(root)
    return root


@pytest.fixture
def appliance(tmp_path, template):
    """A fresh appliance with its factory settings."""
    root = tmp_path / "root"
    yield Appliance(root, template)
    shutil.rmtree(root)
