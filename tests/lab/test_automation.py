"""The commands of docs/automation.md, run as they stand there, and what describes the interface."""

import json
import re
import subprocess

from appliance import PROGRAM, PROJECT
from test_practice import practice  # noqa: F401

TEXT = (PROJECT / "docs/automation.md").read_text()
STEPS = re.findall(r"((?:^    .*\n)+)\n```json\n([^`]*)```", TEXT, re.MULTILINE)
STATUS = ["422", "409"]  # in their order, of the commands that print it


def tells(found, wanted):
    """Whether an answer has all that a document shows of it."""
    if isinstance(wanted, dict):
        return isinstance(found, dict) and all(key in found and tells(found[key], value) for key,
                                               value in wanted.items())
    return wanted == "…" or found == wanted


def test_the_commands_of_the_document_answer_as_it_says(practice):  # noqa: F811
    (practice.root / "var/lib/quillstead-admin/changes").mkdir(parents=True, exist_ok=True)
    assert len(STEPS) == len(re.findall("curl -s", TEXT)) == 8
    codes = []
    for command, answer in STEPS:
        env = {"appliance": practice.address.removesuffix("/nat.cgi"), "login": "admin:password",
               "PATH": "/usr/bin:/bin"}
        run = subprocess.run(["bash", "-euc", command], env=env, capture_output=True, text=True,
                             timeout=60)
        assert run.returncode == 0
        found, wanted = json.loads(run.stdout), json.loads(answer)
        assert tells(found, wanted), (command, run.stdout)
        codes += run.stderr.split()
    assert codes == STATUS


def test_the_description_is_of_this_program_and_valid(tmp_path):
    version = re.search(r"project\(\w+ VERSION ([\d.]+)",
                        (PROJECT / "CMakeLists.txt").read_text())[1]
    made = tmp_path / "openapi.json"
    subprocess.run([PROJECT / "tools/openapi", version, PROGRAM, made], check=True)
    assert made.read_bytes() == (PROJECT / "build/release/openapi.json").read_bytes()
    validator = "node_modules/@seriousme/openapi-schema-validator/bin/validate-api-cli.js"
    run = subprocess.run(["node", validator, made], cwd=PROJECT / "tests/browser",
                         capture_output=True, text=True)
    assert (run.returncode, json.loads(run.stdout)) == (0, {"valid": True}), run.stderr
    schemas = json.loads(made.read_text())["components"]["schemas"]
    assert "ppp_ac_pwd" in schemas["wan_ppp_form"]["properties"]
    values = schemas["wan_ppp_view"]["properties"]["values"]["properties"]
    assert values["ppp_ac_pwd"] == {"type": "null"}
