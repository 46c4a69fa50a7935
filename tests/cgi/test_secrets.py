"""Passwords: no page sends one back; an empty field means the stored one where the form says so."""

import pytest

from appliance import RECORD, WAN, told


@pytest.mark.parametrize("page, field, path, key, account", [
    ("wan_ppp", "ppp_ac_pwd", WAN, "pppoe_password", {"ppp_ac_name": "j", "ppp_idle_time": "5"}),
    ("sp_int", "nat_ac_pwd", RECORD, "Password",
     {"nat_ac_name": "j", "nat_tel01": "5", "nat_idle_time": "5"}),
])
def test_a_password_is_kept_but_never_shown(appliance, page, field, path, key, account):
    """Neither the stored one nor, after a refusal, what was typed, even if a template asks."""
    typed = {field: "geheim", f"{field}_v": "geheim"}
    form = "&".join(f"{name}={value}" for name, value in account.items())
    for password, stored in [
            (f"{field}=&keep_secrets=yes", "geheim"), ("keep_secrets=yes", "geheim"),
            (f"{field}=x&keep_secrets=yes", "x"), (f"{field}=&keep_secrets=Yes", ""),
            (f"{field}=&keep_secrets=yes&keep_secrets=no", ""), (f"{field}=", "")]:
        appliance.save(f"{page}.htm", **account, **typed)
        result = appliance.post(f"this_file={page}.htm&todo=save&{form}&{password}")
        assert (result.message, appliance.keys(path)[key]) == ("", stored), password
        assert result.shown[f"{field}_kept"] == ("unchanged" if stored else "")
    for name in page, "sp_base":
        appliance.write(f"/www/{name}.htm", f"@{field}#@{field}_v#@message#")
    appliance.save(f"{page}.htm", **account, **typed)
    refused = appliance.save(f"{page}.htm", **dict.fromkeys(account, ""), **typed)
    assert refused.body == told(16) + "\n"
    assert appliance.view(f"{page}.htm").body == appliance.view("sp_base.htm").body == ""
