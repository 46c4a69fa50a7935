"""The unit tests, all in one program, in a private root."""

import os
import re


def test_units(appliance):
    result = appliance.request({"GTEST_FILTER": os.environ.get("GTEST_FILTER")}, b"")
    report = result.stdout.decode()
    assert result.status == 0 and re.search(r"\[  PASSED  ] [1-9]", report), report
