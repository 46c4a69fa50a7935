"""Passwords: no page sends one back; an empty field means the stored one where the form says so."""

import pytest

from appliance import RECORD, WAN, told

PAGES = [
    ("wan_ppp", "ppp_ac_pwd", WAN, "pppoe_password", {"ppp_ac_name": "j", "ppp_idle_time": "5"}),
    ("sp_int", "nat_ac_pwd", RECORD, "Password",
     {"nat_ac_name": "j", "nat_tel01": "5", "nat_idle_time": "5"})]


@pytest.mark.parametrize("page, field, path, key, account", PAGES)
def test_an_empty_password(appliance, page, field, path, key, account):
    form = "&".join(f"{name}={value}" for name, value in account.items())
    for typed, stored in [
            (f"{field}=&keep_secrets=yes", "geheim"), ("keep_secrets=yes", "geheim"),
            (f"{field}=x&keep_secrets=yes", "x"), (f"{field}=&keep_secrets=Yes", ""),
            (f"{field}=&keep_secrets=yes&keep_secrets=no", ""), (f"{field}=", "")]:
        appliance.save(f"{page}.htm", **account, **{field: "geheim"})
        result = appliance.post(f"this_file={page}.htm&todo=save&{form}&{typed}")
        assert (result.message, appliance.keys(path)[key]) == ("", stored), typed
        assert result.shown[f"{field}_kept"] == ("unchanged" if stored else "")


@pytest.mark.parametrize("page, field, path, key, account", PAGES)
def test_no_page_shows_a_password(appliance, page, field, path, key, account):
    """Neither the stored one nor, after a refusal, what was typed, even if a template asks."""
    for name in page, "sp_base":
        appliance.write(f"/www/{name}.htm", f"@{field}#@{field}_v#@message#")
    typed = {field: "geheim", f"{field}_v": "geheim"}
    appliance.save(f"{page}.htm", **account, **typed)
    refused = appliance.save(f"{page}.htm", **dict.fromkeys(account, ""), **typed)
    assert refused.body == told(16) + "\n"
    assert appliance.view(f"{page}.htm").body == appliance.view("sp_base.htm").body == ""
