"""The recipe for a page, followed to the letter in a copy of the project."""

import re
import subprocess

import appliance as harness
from appliance import PROJECT, RECORD

FILE = r"`([\w/.]+)`[^`]*?\n```(html|cpp|diff)\n(.*?)```\n"


def follow(recipe, folder):
    """Makes the files that the recipe shows, and the insertions of its differences."""
    for path, kind, text in re.findall(FILE, re.sub("(?m)^   ", "", recipe), re.DOTALL):
        file = folder / path
        if kind != "diff":
            file.write_text(text)
            continue
        for context, line in re.findall(r"(?m)^ (.*\n)\+(.*\n)", text):
            before = file.read_text()
            assert before.count(context) == 1, (path, context)
            file.write_text(before.replace(context, context + line))


def test_the_recipe_makes_a_page_that_saves(tmp_path, monkeypatch):
    copy, build = tmp_path / "copy", tmp_path / "build"
    names = subprocess.check_output(["git", "ls-files", "-z"], cwd=PROJECT)
    copy.mkdir()
    subprocess.run(["xargs", "-0", "cp", "--parents", "-t", copy], input=names, cwd=PROJECT,
                   check=True)
    follow((copy / "docs/adding-a-page.md").read_text(), copy)
    options = ["-DCMAKE_CXX_FLAGS=-O0", "-DCMAKE_EXE_LINKER_FLAGS=-static"]
    for command in (["-G", "Ninja", "-B", build, *options], ["--build", build, "-j2"]):
        subprocess.run(["cmake", *command], cwd=copy, check=True)

    monkeypatch.setitem(harness.SHARED, harness.INSTALLED, build / "nat.cgi")
    monkeypatch.setattr(harness, "WWW", build / "www")
    harness.make_template(tmp_path / "template")
    appliance = harness.Appliance(tmp_path / "root", tmp_path / "template")
    data = appliance.get("next_file=nat_time.htm", {"HTTP_ACCEPT": "application/json"}).body
    assert '"values":{"idle":"2","retry":"3"}' in data
    result = appliance.save("nat_time.htm", next_file="nat_time.htm", idle="7", retry="9")
    assert (result.page, result.message) == ("nat_time.htm", "")
    assert (result.shown["idle"], result.shown["retry"]) == ("7", "9")
    assert appliance.keys(RECORD).items() >= {"Idle": "7", "Retry": "9"}.items()
    assert "first-packet-timeout 420" in appliance.read("/etc/diald.conf")
