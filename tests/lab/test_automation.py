"""The commands of docs/automation.md, run as they stand there, and what describes the interface."""

import json
import re
import subprocess

from appliance import PROJECT

TEXT = (PROJECT / "docs/automation.md").read_text()
STEPS = re.findall(r"((?:^    .*\n)+)\n```json\n([^`]*)```", TEXT, re.MULTILINE)


def tells(found, wanted):
    """Whether an answer has all that a document shows of it."""
    if isinstance(wanted, dict):
        return all(key in found and tells(found[key], wanted[key]) for key in wanted)
    return wanted == "…" or found == wanted


def test_the_commands_of_the_document_answer_as_it_says(practice):
    env = {"appliance": practice.url.removesuffix("/nat.cgi"), "login": "admin:password",
           "PATH": "/usr/bin:/bin"}
    codes = []
    for command, answer in STEPS:
        run = subprocess.run(["bash", "-euc", command], env=env, capture_output=True, text=True,
                             timeout=60, check=True)
        assert tells(json.loads(run.stdout), json.loads(answer)), (command, run.stdout)
        codes += run.stderr.split()
    assert len(STEPS) == TEXT.count("curl -s") and codes == ["422", "409"]


def test_the_description_of_the_interface_is_valid():
    validator = "node_modules/@seriousme/openapi-schema-validator/bin/validate-api-cli.js"
    run = subprocess.run(["node", validator, PROJECT / "build/release/openapi.json"],
                         cwd=PROJECT / "tests/browser", capture_output=True, text=True)
    assert (run.returncode, json.loads(run.stdout)) == (0, {"valid": True}), run.stderr
