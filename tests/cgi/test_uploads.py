"""Forms with files: how they are decoded, and that nothing of them stays behind."""

import pytest

from test_requests import FATAL, short  # noqa: F401 (a fixture)

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


def send(appliance, body, content_type=TYPE):
    return appliance.post(body, env={"CONTENT_TYPE": content_type})


def left_behind(appliance):
    return [path.name for path in appliance.at("/tmp").iterdir()]


@pytest.mark.parametrize("body, shown", [
    (VIEW + field("typed", "a+b%41&c=d") + END, "a+b%41&c=d"),
    (VIEW + field("typed", "") + END, ""),
    (VIEW + field("typed", "b") + field("typed", "a") + END, "a"),
    ("preamble\r\n" + VIEW + field("typed", "--XyZ is no end") + END + "epilogue", "--XyZ is no end"),
    (VIEW + part(["content-DISPOSITION:form-data ; NAME=typed", "X: y"], "a") + END, "a"),
    (VIEW + part(['Content-Disposition: form-data; x=";name=no"; name="ty\\"ped"'], "a") + END, ""),
    (VIEW + upload("typed", "", "") + END, ""),
])
def test_fields(short, body, shown):
    assert send(short, body).body == f"wan_dc[][{shown}]\n"


@pytest.mark.parametrize("content_type", ['Multipart/Form-Data; charset=x; boundary="XyZ"', "multipart/form-data;boundary=XyZ;x"])
def test_content_types(short, content_type):
    assert send(short, VIEW + field("typed", "a") + END, content_type).body == "wan_dc[][a]\n"


@pytest.mark.parametrize("file_name", ["m.inf", "C:\\dir\\m.inf", "../../etc/passwd", "a\\\"; name=\\\"todo", "/etc/x", "%00", "`x`"])
@pytest.mark.parametrize("content", ["", "x", "\0\r\n--Xy\n" * 1000])
def test_a_file_lies_in_a_new_file_and_is_gone_in_the_end(short, file_name, content):
    result = send(short, VIEW + upload("typed", file_name, content) + END)
    path = result.body.removeprefix("wan_dc[][/tmp/upload.").removesuffix("]\n")
    assert len(path) == 6 and path.isalnum()
    assert (left_behind(short), result.changed) == ([], {})


@pytest.mark.parametrize("body, content_type", [
    (VIEW + END, "multipart/form-data"), (VIEW + END, 'multipart/form-data; boundary="XyZ'),
    (VIEW + END, "multipart/form-data; boundary=" + "x" * 71), ("", TYPE), (VIEW, TYPE), (VIEW + "--XyZ", TYPE),
    (VIEW + upload("typed", "m.inf", "x" * 100)[:-1], TYPE), ("--XyZ\r\nno header line", TYPE),
    (VIEW + "--XyZ\r\n\r\nno headers\r\n" + END, TYPE), (VIEW + part(["Content-Type: text/plain"], "x") + END, TYPE),
    (VIEW + part(['Content-Disposition: form-data; name="x'], "x") + END, TYPE),
    (VIEW + part(["Content-Disposition: attachment; name=x"], "x") + END, TYPE),
    (VIEW + "--XyZjunk\r\n" + field("a", "b") + END, TYPE),
    (VIEW + upload("typed", "m.inf", "x") * 17 + END, TYPE),
])
def test_a_malformed_form_is_fatal_and_leaves_nothing(short, body, content_type):
    result = send(short, body, content_type)
    assert result.body == FATAL.format("Error!", "Error Reading Data")
    assert left_behind(short) == []


def test_a_form_cut_off_on_its_way_is_fatal(short):
    body = (VIEW + upload("typed", "m.inf", "x" * 5000) + END).encode()
    env = {"REQUEST_METHOD": "POST", "CONTENT_TYPE": TYPE, "CONTENT_LENGTH": str(len(body))}
    assert short.request(env, body[:3000]).body == FATAL.format("Error!", "Error Reading Data")
    assert left_behind(short) == []


def test_a_line_break_in_a_field_is_refused_like_any_control_character(short):
    result = send(short, VIEW + field("typed", "a\r\nb") + upload("load_file", "m.inf", "x\n") + END)
    assert result.body == "wan_dc[control typed\n][a\r\nb]\n"
