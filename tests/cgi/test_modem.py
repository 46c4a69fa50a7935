"""The modem page: the modem list, saving, the defaults, and the import of driver descriptions."""

import re
import resource
from collections import Counter

import pytest

from appliance import PROJECT, RECORD, SANITIZED, USER, Appliance, plain, told

LIST, DIALD, DIALER = "/etc/ppp/modem.ini", "/etc/diald.conf", "/etc/ppp/pppondialer"
NEW_LIST = "[_Standard Modem]\nInitString=AT&F\n\n[Other]\nInitString=AT&FM0\n\n"
DATA = PROJECT / "tests/data"
UPLOAD = "/tmp/driver.inf"
VOICE = "+FCLASS=0#VSP=55"
BEFORE, NEW = "[Old]\nInitString=ATZ\n", "[New]\nInitString=AT\n\n"
SMALL = """[Manufacturer]\n%M% = S\n[Strings]\nM = "Maker"\n{}\n[S]\n%A% = I\n[I]\nAddReg = R
[R]\nHKR, Init, 1,, "AT<cr>"\n{}"""


def post(appliance, todo="save", **fields):
    return appliance.post({"this_file": "sp_port.htm", "todo": todo, **fields})


def upload(appliance, content, modems=BEFORE):
    appliance.write(LIST, modems)
    appliance.write(UPLOAD, content, 0o600)
    return post(appliance, "upload", next_file="sp_port.htm", load_file=UPLOAD)


def sections(text):
    return re.findall(r"\[(.*)\]\nInitString=(.*)\n", text)


def small(strings='A = "New"', more=""):
    return SMALL.format(strings, more)


@pytest.mark.parametrize("text, modems", [
    (None, [("_Standard Modem", "AT&F"), ("Other", "AT&FM0")]),
    ("InitString=x\n[A]\r\nX=1\r\n\r\nInitString=AT\\V1\r\nInitString=ATZ\r\n"
     "[B]\n\n[C]\n[D\nInitString=x\n[E]]\nInitString=AT=1\n[F]\nInitString =x\n",
     [("A", r"AT\\V1"), ("B", "AT&F"), ("C", "AT&F"), ("E]", "AT=1"), ("F", "")]),
    (f"[A]\nInitString={40 * '/'}\n[{'n' * 79}]\r\nInitString={'x' * 80}\n".replace("/", "\\"),
     [("A", 39 * "\\\\"), ("n" * 79, "x" * 71)]),
    ("no section\n[A]", []), ("", []),
])
@pytest.mark.parametrize("lists", ["@show_modemlist#//@a_init#", "//@a_init#@show_modemlist#"])
def test_modem_list(appliance, text, modems, lists):
    appliance.write("/www/sp_port.htm", plain(lists))
    appliance.write(LIST, text)
    result = appliance.view("sp_port.htm")
    shown = {"show_modemlist": "".join(f"<option>{name}\n" for name, _ in modems),
             "a_init": ",\n".join(f"'{init}'" for _, init in modems)}
    assert (result.shown, result.message) == (shown, "" if modems else told(4))
    assert appliance.read(LIST) == (NEW_LIST if text is None else text)


@pytest.mark.parametrize("modem, modems", [
    ("Other", "[Other]\nX=1\nInitString=ATZ\n[B]\n"), ("B", None),
])
def test_save(saved, modem, modems):
    """The user-defined modem's string is whatever was typed last."""
    saved.write(LIST, "[Other]\nX=1\nInitString=AT\n[B]\n")
    saved.change(RECORD, User="joe")
    saved.write(DIALD, "")
    saved.write(DIALER, "")
    result = post(saved, nat_modem_list=modem, nat_init_string="ATZ", nat_dial_type_radio="pulse")
    assert (result.message, result.commands) == ("", [])
    assert (result.changed[USER], result.changed.get(LIST)) == ("joe", modems)
    assert result.changed.keys() - {LIST, USER} == {RECORD, DIALD, DIALER}


def test_a_list_that_cannot_be_written(saved):
    saved.write("/www/Ini18042.tmp/x", "")  # in the way of the temporary file
    result = upload(saved, small())
    assert (result.message, result.changed, result.removed) == (told(22), {}, {UPLOAD})
    for message in told(20), told(14, LIST):
        result = post(saved, nat_modem_list="Other", nat_init_string="ATZ")
        assert (result.message, result.did_nothing) == (message, True)
        assert result.shown["nat_init_string"] == "ATZ"
        saved.write(LIST, None)
        saved.at(LIST).symlink_to("/missing/modem.ini")


def test_buttons(saved):
    result = post(saved, "port_defaults", nat_modem_list="X", nat_init_string="Y",
                  nat_dial_type_radio="perm")
    expected = dict(nat_modem_list="_Standard Modem", nat_serspeed_list="115200",
                    nat_init_string="AT&F", nat_dial_type_radio="tone")
    assert expected.items() <= result.shown.items()
    assert (result.message, result.did_nothing) == ("", True)
    assert result.stdout.count(b"Content-type") == 1
    ended = post(saved, "instatll")
    assert re.findall("<H[1-6]>(.*)</H[1-6]>", ended.body) == ["Action", "Do_Install"]
    assert not ended.changed


def test_chip_makers_description(saved):
    result = upload(saved, (DATA / "tarnbrook.inf").read_bytes())
    modems = sections(result.changed[LIST])
    common, k56, v92 = (
        "AT &F &C1 &D2 V1 S0=0", "AT&FE0V1&D2&C1\\N3%C3", "AT&FE0V1&D2&C1\\N5%C1+PIG=0;+PMH=0")
    assert Counter(init for _, init in modems) == {
        "ATZ": 1, common: 6, f"{common}+FCLASS=0": 2, common + VOICE: 6,
        k56: 6, f"{k56}+FCLASS=0": 1, k56 + VOICE: 6, v92: 3, f"{v92}+FCLASS=0": 1, v92 + VOICE: 3}
    assert dict(modems)["Tarnbrook 56K External Fax"] == k56 + VOICE  # the later of that name
    assert (result.message, result.removed) == (told(21, "34"), {UPLOAD})
    assert f"<option>{modems[-1][0]}\n" in result.shown["show_modemlist"]


def test_wide_characters(appliance):
    """An import needs no record."""
    appliance.block(RECORD)
    result = upload(appliance, (DATA / "elmsworth.inf").read_bytes())
    assert sections(result.changed[LIST])[1:] == [
        ("Elmsworth ED33 [serial]", "ATE0V1"), ("Elmsworth ED56", "ATE0V1&C1&D2")]
    assert result.message == told(21, "2")


@pytest.mark.parametrize("before, after", [
    (f"{NEW}[Old]\n", f"{NEW}\n[Old]\n"),
    ("[New]\r\nX=1\r\n\r\n\nInitString=1\r\nInitString=2\n[Old]\nInitString=3",
     "[New]\r\nX=1\r\n\nInitString=AT\n\nInitString=2\n[Old]\nInitString=3"),
    ("[New]\nX\n\n[Old]\n[New]\nInitString=1", f"[New]\nX\n\nInitString=AT\n\n[Old]\n{NEW}"),
    (f"[new]\n[New] \n{'x' * 82}[New]\n[Old]", f"[new]\n[New] \n{'x' * 82}[New]\n[Old]\n{NEW}"),
    (f"[New]\nInitString={'x' * 82}\n[Old]\n", f"{NEW}[Old]\n"),
])
def test_merge(saved, before, after):
    result = upload(saved, small(), before)
    assert (result.changed, result.message) == ({LIST: after}, told(21, "1"))


LAYERS = """HKR, Init, 1,, "S0=1<cr>"\nHKR, Init, 2,, "ATE0<cr>"\n  HKR,Init,3,,"aTV1"
HKR, Init, 4,, "A<cr>"\nHKR, Init, 9,, "ATS2=3<cr>\n;HKR, Init, 8,, "ATX"\nHKR, Init, 0,, "ATX"
HKR, Init, 12,, "ATX"\nHKR, Init, 2, "ATX"\nHKR, Init, 2,, ATX\nHKR,init,2,,"ATX"
[R]\t\nHKR, Init, 5,, "ATX\""""
LIMITS = 'A = "New"\n' + "k" * 90 + ' = "New"\nMA = "Not"\n'


@pytest.mark.parametrize("content, init", [
    (small(more=LAYERS), "S0=1E0V1AS2=3"),
    *((small(more=more), init) for more, init in (
        (f'HKR, Init, 1,, "{"A" * 90}"', "A" * 79),
        (f'HKR, Init, 1,, "B"\nHKR, Init, 2,, "AT{"A" * 90}"', "B" + "A" * 77),
        (f';{"x" * 274}HKR, Init, 2,, "ATX"\n', "ATX"))),  # the rest of a long line is one
    # names of 29 characters, ten of them; keys of 83, none that begins like the maker's
    *((small(LIMITS).replace(old, new) + "\n[" + "r" * 29 + ']\nHKR, Init, 1,, "AT"\n', "AT")
      for old, new in (
          ("AddReg = R", "AddReg = " + "r" * 40), ("AddReg = R", "AddReg = " + "Q," * 9 + "R,Q"),
          ("%A% = I", f"%{'k' * 83}% = I"), ("%A% = I", "%A% = I\n%MA% = I"))),
])
def test_init_strings(saved, content, init):
    assert sections(upload(saved, content).changed[LIST])[1:] == [("New", init)]


@pytest.mark.parametrize("old, new", [
    (small(), ""), ("A = ", "B = "), ("= S", "= "), ("%M% = S", "%M%"), ("[R]", "[Q]"),
    ("AddReg = R", "AddReg = " + "Q," * 10 + "R"), ("AddReg", "DelReg"),
])
def test_useless_descriptions(saved, old, new):
    result = upload(saved, small().replace(old, new))
    assert (result.message, result.changed, result.removed) == (told(22), {}, {UPLOAD})


def test_a_link_is_no_upload(saved):
    saved.write("/tmp/real.inf", small())
    saved.at(UPLOAD).symlink_to("/tmp/real.inf")
    result = post(saved, "upload", load_file=UPLOAD)
    assert (result.message, result.did_nothing) == (told(22), True)


def test_ten_thousand_models(saved):
    """Half of them share a long install section, all have a long registry section."""
    numbers = range(10_000)
    rows = "".join(f"%K{n}% = I{n if n % 2 else ''}, X\n" for n in numbers)
    installs = "".join(f"[I{n}]\nAddReg=R\n" for n in numbers)
    installs += "[I]\n" + "X=1\n" * 10_000 + "AddReg=R\n"
    names = "".join(f'K{n} = "Modem {n}"\n' for n in numbers)
    lines = "HKR,,X,,y\n" * 10_000 + 'HKR, Init, 1,, "AT<cr>"\n'
    content = f"[Manufacturer]\n%M%=S\n[S]\n{rows}{installs}[R]\n{lines}[Strings]\n{names}"
    modems = "".join(f"[Modem {n}]\nInitString=X\n" for n in numbers)
    result = upload(saved, content, modems)
    assert result.message == told(21, "10000")
    assert result.changed[LIST] == modems.replace("=X\n", "=AT\n\n")


@pytest.mark.skipif(SANITIZED, reason="sanitizers have memory of their own")
@pytest.mark.parametrize("line", ['="x\n', "[]\n"])
def test_a_long_description_takes_ten_times_its_size(saved, monkeypatch, line):
    lines = line * (2**20 // len(line))
    limit = 10 * len(lines) + 2**21  # the program itself
    monkeypatch.setattr(saved, "enter", lambda: (
        Appliance.enter(saved), resource.setrlimit(resource.RLIMIT_AS, (limit, limit))))
    content = small().replace("[S]", lines + "[S]") if "=" in line else small() + "[S]\n" + lines
    assert upload(saved, content).message == told(21, "1")
