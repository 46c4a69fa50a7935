"""Passwords: no page sends one back; an empty field means the stored one where the form says so."""

import pytest

from appliance import RECORD, WAN, WWW, told

PAGES = {
    "wan_ppp.htm": ("ppp_ac_pwd", WAN, "pppoe_password",
                    dict(ppp_ac_name="j", ppp_idle_time="5", isp_ip_type="dynamic")),
    "sp_int.htm": ("nat_ac_pwd", RECORD, "Password",
                   dict(nat_ac_name="j", nat_tel01="5", nat_idle_time="5")),
}


@pytest.mark.parametrize("page", PAGES)
def test_an_empty_password(appliance, page):
    field, path, key, form = PAGES[page]
    account = "".join(f"&{name}={value}" for name, value in form.items())
    for sent, password, stored in [
            ("&keep_secrets=yes", f"&{field}=", "secret"), ("&keep_secrets=yes", "", "secret"),
            ("&keep_secrets=yes", f"&{field}=new", "new"), ("", f"&{field}=", ""),
            ("&keep_secrets=yes&keep_secrets=no", f"&{field}=", ""),
            ("&keep_secrets=Yes", f"&{field}=", "")]:
        appliance.save(page, **form, **{field: "secret"})
        result = appliance.post(f"this_file={page}&todo=save{account}{password}{sent}")
        assert (result.message, appliance.keys(path)[key]) == ("", stored), (sent, password)
        assert result.shown[f"{field}_kept"] == ("unchanged" if stored else "")


@pytest.mark.parametrize("page", PAGES)
def test_no_page_shows_a_password(appliance, page):
    """Neither the stored one nor, after a refusal, what was typed, even if a template asks."""
    field, _, _, form = PAGES[page]
    for name in (page, "sp_base.htm"):
        appliance.write(f"/www/{name}", (WWW / name).read_text() + f"@{field}#@{field}_v#\n")
    appliance.save(page, **form, **{field: "geheim", f"{field}_v": "geheim"})
    idle = next(key for key in form if "idle" in key)
    refused = appliance.save(page, **{**form, idle: "", field: "getippt", f"{field}_v": "getippt"})
    assert told(15) in refused.body
    for body in refused.body, appliance.view(page).body, appliance.view("sp_base.htm").body:
        assert body and "geheim" not in body and "getippt" not in body
