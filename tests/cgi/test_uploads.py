"""Forms with files: how they are decoded, and that nothing of them stays behind."""

import re

import pytest

from appliance import told
from test_requests import FATAL, seen

TYPE = "multipart/form-data; boundary=XyZ"


def part(headers, content):
    return "--XyZ\r\n" + "".join(f"{line}\r\n" for line in headers) + f"\r\n{content}\r\n"


def field(name, value):
    return part([f'Content-Disposition: form-data; name="{name}"'], value)


def upload(name, file_name, content):
    return part([f'Content-Disposition: form-data; name="{name}"; filename="{file_name}"',
                 "Content-Type: application/octet-stream"], content)


VIEW = field("this_file", "wan_dc.htm") + field("todo", "x")
END = "--XyZ--\r\n"


@pytest.mark.parametrize("content_type, fields, shown", [
    (TYPE, field("typed", "b") + field("typed", "a+b%41&c=d"), "[][a+b%41&c=d]"),
    ('Multipart/Form-Data; charset=x; boundary="XyZ"', field("typed", "--XyZ is no end"),
     "[][--XyZ is no end]"),
    ("multipart/form-data;boundary=XyZ;x",
     part(["content-DISPOSITION:form-data ; NAME=typed", "X: y"], "a"), "[][a]"),
    (TYPE, part(['Content-Disposition: form-data; x=";name=no"; name="ty\\"ped"'], "a"), "[][]"),
    (TYPE, part(['Content-Disposition: form-data; x="\\"; name=n; y="; name=typed'], "a"), "[][a]"),
    (TYPE, upload("typed", "", ""), "[][]"),
    # a file lies in a new file
    (TYPE, upload("typed", "../../etc/passwd", ""), "[][/tmp/upload.?]"),
    (TYPE, upload("typed", 'a\\"; name=\\"todo', "\0\r\n--Xy\n" * 1000), "[][/tmp/upload.?]"),
    (TYPE, field("typed", "a\r\nb") + upload("x", "y", "z"), f"[{told(61, 'typed')}][a\r\nb]"),
])
def test_fields(appliance, content_type, fields, shown):
    body = f"preamble\r\n{VIEW}{fields}{END}epilogue"
    result = appliance.post(body, {"CONTENT_TYPE": content_type})
    assert re.sub(r"upload\.\w{6}\b", "upload.?", seen(result)) == "wan_dc" + shown
    assert not (result.changed or [*appliance.at("/tmp").iterdir()])


@pytest.mark.parametrize("body, content_type", [
    *((VIEW + END, f"multipart/form-data{boundary}") for boundary in (
        "", '; boundary="XyZ', "; boundary=" + "x" * 71)),
    *((body, TYPE) for body in (
        "", VIEW, VIEW + upload("typed", "m.inf", "x" * 100)[:-1], "--XyZ\r\nno header line",
        VIEW + "--XyZ\r\n\r\nno headers\r\n" + END,
        VIEW + part(['Content-Disposition: form-data; name="x'], "x") + END,
        VIEW + part(["Content-Disposition: attachment; name=x"], "x") + END,
        VIEW + "--XyZjunk\r\n" + field("a", "b") + END,
        VIEW + upload("typed", "m.inf", "x") * 17 + END)),
])
def test_a_malformed_form_is_fatal_and_leaves_nothing(appliance, body, content_type):
    result = appliance.post(body, {"CONTENT_TYPE": content_type})
    assert result.body == FATAL.format("Error!", "Error Reading Data")
    assert not [*appliance.at("/tmp").iterdir()]
