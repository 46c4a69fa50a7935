// Every page as an administrator meets it: seen, changed, refused, searched, attacked.
import assert from "node:assert/strict";
import { readdirSync, statSync } from "node:fs";
import { test } from "node:test";
import { agree, ask, button, enter, field, file, hold, message, mistakes, page, readsWell,
  ready, save, saveOf, send, show, TELEPHONE, told, turnTo, value, view, visit, write,
  yes } from "./house.mjs";

const www = new URL("../../build/www/", import.meta.url);
const served = (kind) => readdirSync(www).filter((name) => kind.test(name));
const RECORD = "/etc/ppp/nat_ppp.con";
const BANNED = "/usr/local/squid/etc/deny.list";
const HOSTILE = "\"><script>window.ran=1</script>&'";
const VALUES = "**/*next_file=nat_base.htm*";

test("every page opens, is light, fits a telephone, and reads well, light and dark", async () => {
  const sizes = served(/\.(js|css)$/).map((name) => statSync(new URL(name, www)).size);
  assert.ok(sizes.reduce((sum, size) => sum + size) < 41200);
  await visit("nat_base", TELEPHONE);
  for (const name of served(/(?<!_fs)\.htm$/)) {
    await page.goto(view(name.replace(/^api.htm/, "api")));
    await ready();
    assert.equal(await page.evaluate(() => document.body.dataset.page), name);
    const weight = await page.evaluate(() => performance.getEntries()
      .filter((each) => each.entryType === "navigation" || /\.(js|css)$/.test(each.name))
      .reduce((sum, { decodedBodySize }) => sum + decodedBodySize, 0));
    assert.ok(weight > 20000 && weight < 61440, `${name}: ${weight}`);
    await page.locator(".menu summary").click();
    await page.emulateMedia({ colorScheme: "dark" });
    await readsWell(name, { runOnly: ["color-contrast"] });
    await page.emulateMedia({ colorScheme: "light" });
    await readsWell(name);
  }
});

test("mistakes and questions read well, narrow, in forced colours and on paper", async () => {
  for (const options of [{ viewport: { width: 320, height: 700 } }, { forcedColors: "active" }]) {
    await visit("nat_base", options);
    for (const change of await page.locator("main summary").all()) await change.click();
    await enter({ vs_web_enable: true, filter_when: "between", enable_telnet: false });
    assert.match(await mistakes(saveOf("nat_vs")), /^Enter four numbers from 0 to 255/);
    await readsWell("mistakes");
    await ask(saveOf("nat_conn"));
    const dialog = page.getByRole("dialog", { name: "Save these changes?" });
    assert.equal(await dialog.getAttribute("aria-describedby"), "told");
    await told("Telnet: from on to off");
    await readsWell("a question");
    await button("Cancel").click();
    await page.emulateMedia({ media: "print" });
    assert.equal(await page.locator(":is(.menu, .actions, #state):visible").count(), 0);
    const telnet = field("enable_telnet");
    assert.equal(await telnet.evaluate((each) => getComputedStyle(each).appearance), "auto");
  }
});

// Changes on a page, what is said beside fields that are wrong, and what is asked before a save.
const SETTINGS = [
  { name: "nat_conn", changes: { enable_telnet: false, enable_dmz: true, dmz_ip_1: "192.168.1.9" },
    wrong: { dmz_ip_1: "1.1.999.1" },
    said: "Enter four numbers from 0 to 255, such as 192.168.1.9.",
    asked: ["Telnet: from on to off", "DMZ host: from off to 192.168.1.9"] },
  { name: "nat_vs", changes: { vs_web_enable: true, vs_web_1: "192.168.1.5", vs_ud1_name: "Game",
    vs_ftp_enable: true, vs_ftp_1: "192.168.1.6" },
    wrong: { vs_smtp_portno: "65536", vs_ftp_portno_data: "80" },
    said: "Enter a whole number from 0 to 65535.\nPort 80 is taken by Web.",
    asked: ["Web: from off to 192.168.1.5, port 80",
      "FTP: from off to 192.168.1.6, control port 21, data port 20",
      "Server 1: from off (no address, port 0) to off (Game, no address, port 0)",
      "While there is a DMZ host, passive FTP transfers may go to it and fail."] },
  { name: "nat_filter", changes: { filter_when: "between", filter_starttime: "07:00" },
    wrong: { filter_starttime: "" }, said: "Fill this in.",
    asked: ["Filter: from never to between two times of the week",
      "From: from Monday, 08:00 to Monday, 07:00",
      "The filter may not work while there is a DMZ host: use only one of them."] },
  { name: "wan_ppp", changes: { ppp_ac_name: "joe \"#1\"@isp", ppp_ac_pwd: "a'b\\c d",
    ppp_ac_pwd_v: "a'b\\c d", service_name: "" },
    wrong: { ppp_ac_pwd: "@x", service_name: "a b" },
    said: "Enter a password that does not begin with @.\nThe passwords differ.\n"
      + "Enter a name without blanks and double quotes.",
    asked: ["User name: from empty to joe \"#1\"@isp", "Password: changed"],
    shown: { ppp_ac_pwd: "", ppp_ac_pwd_v: "" } },
  { name: "wan_ppp", changes: { ppp_idle_time: "13" }, asked: ["Idle time, minutes: from 5 to 13"],
    stored: /^pppoe_password=a'b\\c d$/m },
  { name: "wan_ppp", changes: { keep_secrets: true }, shown: { keep_secrets: false },
    asked: ["Remove the stored password: from off to on"], stored: /^pppoe_password=$/m },
];

test("what is changed is told, stored and shown, and mistakes are told beside it", async () => {
  await visit("nat_base");
  for (const { name, changes, wrong, said, asked, shown, stored } of SETTINGS) {
    await show(name);
    if (wrong) {
      assert.equal(await mistakes(saveOf(name), { ...changes, ...wrong }), said);
      await button("Undo").click();
    }
    assert.deepEqual((await save(name, changes)).split("\n"), ["Save these changes?", ...asked]);
    await show(name);
    for (const [key, to] of Object.entries({ ...changes, ...shown }))
      assert.equal(await value(key), to, key);
    if (stored) assert.match(file("/etc/ppp/CGI_nat.conf"), stored);
  }
});

test("a save is looked at first, undone, done again, and taken as a backup", async () => {
  await visit("nat_conn", TELEPHONE);
  const before = file(RECORD);
  await ask(saveOf("nat_conn"), { enable_telnet: false });
  const ahead = page.locator("dialog details");
  await ahead.locator("summary").click();
  await ahead.getByText("Commands").waitFor();
  assert.match(await ahead.innerText(), /\/nat_ppp\.con\n[^]*SrvTelNet: 1 \u2192 0/);
  await readsWell("what will happen");
  assert.equal(file(RECORD), before);
  await send(yes());
  const after = file(RECORD);
  await page.getByRole("link", { name: "Look at it or undo it" }).click();
  assert.match(await page.locator("pre").first().innerText(), /SrvTelNet: 1 \u2192 0/);
  await readsWell("what has happened");
  for (const content of [before, after]) {
    await show("history");
    await send(page.locator(".danger"));
    assert.deepEqual([await message(), file(RECORD) === content], ["Undone.", true]);
  }
  await show("backup");
  const download = page.waitForEvent("download");
  await button("Download the backup").click();
  const archive = await (await download).path();
  write(RECORD, before);
  await page.locator("input[type=file]").setInputFiles(archive);
  await send(button("Look at it"));
  await told(RECORD);
  await readsWell("what would be restored");
  await send(button("Restore these files"));
  await told("Restored.");
  assert.equal(file(RECORD), after);
});

test("nothing is sent before the values and the scripts are there", async () => {
  await visit("sp_base");
  let posts = 0;
  page.on("request", (each) => (posts += each.method() === "POST"));
  const press = () => saveOf("nat_conn").evaluate((each) => each.form.requestSubmit(each));
  await page.route(VALUES, (route) => route.abort(), { times: 1 });
  await page.goto(view("nat_conn.htm"));
  await told(/could not be fetched, so nothing can be changed/);
  await readsWell("a form without values");
  await press();
  const held = hold(VALUES);
  await button("Try again").click();
  await told("Waiting for the values in force.");
  await press();
  assert.deepEqual([posts, await page.locator("form[inert]").count()], [0, 1]);
  (await held).continue();
  await ready();
  await page.route("**/page.js", (route) => route.abort());
  await page.reload();
  await told(/^This page is not complete: .*\.js/); // one that needs it may be missed first
  assert.equal(await page.locator("form[inert]").count(), 1);
});

test("of an answer that is lost, strange or late the page says what is known", async () => {
  await visit("nat_conn");
  await enter({ enable_ftp: false });
  const unread = { page: "nat_base.htm", message: "It cannot be read.", values: {}, lists: {} };
  await page.route(VALUES, (route) => route.fulfill({ json: unread }), { times: 1 });
  await saveOf("nat_conn").click();
  await told("It cannot be read.");
  for (const [answer, text] of [
    [null, /did not answer\. It is not known whether this was stored/],
    [{ body: "<h2>A page of a proxy</h2>" }, /"200 .*It is not known whether this was stored/],
    [{ status: 401, body: "who?" }, /asks for its password/],
    [{ status: 503, json: { message: "Somebody else saves." } }, "Somebody else saves."],
  ]) {
    const respond = (route) => (answer ? route.fulfill(answer) : route.abort());
    await page.route("**/nat.cgi", respond, { times: 1 });
    await ask(saveOf("nat_conn"));
    await yes().click();
    await told(text);
    assert.equal(await value("enable_ftp"), false);
  }
  const json = { busy: { user: "anna", command: "adsl-start", seconds: 12 } };
  await page.route("**/*=progress", (route) => route.fulfill({ json }));
  const held = hold("**/nat.cgi");
  await button("Try again").click();
  await told("Saving. Connecting may take a minute.");
  await told("anna is making a change: adsl-start, 12 s.");
  await told("Connecting: adsl-start, 12 s");
  (await held).continue();
  await told("Saved.");
  await page.unroute("**/*=progress");
  assert.match(file(RECORD), /^SrvFTP=0$/m);
  await page.locator("#busy:empty").waitFor({ state: "attached" });
});

test("what others change meanwhile is neither undone nor hidden, and leaving asks", async () => {
  await visit("nat_base");
  const mine = page;
  await enter({ enable_email: false, enable_dmz: true, dmz_ip_1: "192.168.1.40", vs_web_1: "1" });
  await visit("nat_conn");
  await save("nat_conn", { enable_sp_apps: false, enable_dmz: true, dmz_ip_1: "192.168.1.41" });
  turnTo(mine);
  assert.equal(await save("nat_conn"), "Save these changes?\nE-mail: from on to off\n"
    + "DMZ host: from 192.168.1.41 to 192.168.1.40\n"
    + "DMZ host: somebody else has changed this too. Yours replaces it.");
  assert.match(file(RECORD), /^SAP=0$[^]*^SrvEMail=0$[^]*^DMZ_IP=192\.168\.1\.40$/m);
  assert.equal(await value("enable_sp_apps"), false);
  assert.match(await page.locator("#conn-facts").innerText(), /DMZ host\s+192\.168\.1\.40/);
  page.once("dialog", (question) => question.dismiss());
  await page.getByRole("link", { name: "Services and DMZ" }).click();
  assert.equal(await value("vs_web_1"), "1");
});

test("addresses are typed, pasted, chosen and checked", async () => {
  await visit("sp_base");
  const json = [{ address: "192.168.1.23", name: "anna", mac: "00:11:22:33:44:55" }];
  await page.route("**/*next_file=hosts", (route) => route.fulfill({ json }));
  await show("nat_conn");
  assert.equal(await field("dmz_ip_1").evaluate(({ list }) => list.innerHTML),
    "<option value=\"192.168.1.23\">192.168.1.23 anna</option>");
  assert.match(await ask(saveOf("nat_conn"), { enable_dmz: true, dmz_ip_1: "8.168.1.23" }),
    /this address is outside the network of the LAN/);
  await page.keyboard.press("Escape");
  await button("Undo").click();
  await show("wan_dc");
  const [ip, mask, gateway] = ["nat_isp_ip01", "nat_isp_mask01", "nat_isp_gw01"];
  await enter({ isp_ip_type: "fixed", [ip]: " 192,168,001,077", [mask]: "255.0.255.0" });
  assert.equal(await mistakes(saveOf("wan_dc"), { [gateway]: "192.168.1.77/24" }),
    "Ones, then zeros, such as 255.255.255.0.\nThe gateway cannot be this appliance.");
  assert.deepEqual([await value(ip), await value(gateway)], ["192.168.1.77", "192.168.1.77"]);
  await enter({ [ip]: "0.168.1.5", [mask]: "255.255.255.0", [gateway]: "192.168.1.7" });
  assert.equal(await mistakes(saveOf("wan_dc")),
    "No host can have this address.\nThe gateway must be in the network of the IP address.");
  assert.match(await save("wan_dc", { [ip]: "192.168.1.5" }),
    /^IP address: this address is in the network of the LAN/m);
});

test("from a typed account to a working link, its state, and why there is none", async () => {
  await visit("nat_base");
  await told(/^No connection is set up yet\./);
  await page.locator("#now").getByText("PPPoE").click();
  await ready();
  await ask(saveOf("wan_ppp"), { ppp_ac_name: "joe", ppp_ac_pwd: "x", ppp_ac_pwd_v: "x" });
  await button("Save and use this connection now").click();
  await told("Waiting for traffic: PPPoE dials when somebody needs it.");
  await button("Connect now").click();
  await told(/^Connected: PPPoE, \d[\d.]+\.$/);
  await show("sp_int");
  await ask(saveOf("sp_int"), { nat_ac_name: "joe", nat_tel01: "555" });
  await button("Save only").click();
  await button("Use this connection now").click();
  await send(button("Dial"));
  await told(/^Connected: Modem, \d[\d.]+\.$/);
  let looks = 0;
  page.on("request", () => (looks += 1));
  await page.clock.install(); // what comes by itself comes when the test says so
  for (const name of ["nat_sap", "sp_status"]) {
    await show(name);
    for (const isHidden of [true, false]) {
      await page.evaluate((to) => Object.defineProperty(document, "hidden", to),
        { value: isHidden, configurable: true });
      looks = 0;
      await page.clock.runFor(61000);
      assert.equal(looks === 0, isHidden, name);
    }
  }
  write("/var/log/pppd.log", "what is new");
  await page.clock.runFor(31000);
  await told("what is new");
  await agree(button("Clear the log"));
  assert.equal(await page.locator("#log").textContent(), "");
  await agree(button("Hang up"));
  await page.clock.runFor(31000);
  await told(/^Not connected$/);
  await page.getByText("Find out why").click();
  await told(/^Go to: /);
});

test("lists: what is added, deleted and imported, and whether it was", async () => {
  const names = Array.from({ length: 1500 }, (_, number) => `site${number}.example\n`);
  write(BANNED, `${names.slice(0, 9).join("")}has space.example\n`);
  await visit("sites_ban");
  const sites = page.locator(".checks label:visible");
  const [chosen, add] = [button("Delete the chosen sites"), button("Add the name")];
  assert.equal(await mistakes(chosen), "Choose from the list.");
  await page.getByRole("searchbox").fill("SPACE");
  assert.equal(await sites.innerText(), " has space.example");
  await sites.locator("input").check();
  assert.equal(await agree(chosen), "Delete the chosen sites from the list?");
  await send(add, { new_url: "https://joe@www.pasted.example:8080/path?x" });
  assert.equal(await value("new_url"), "");
  assert.match(await mistakes(add, { new_url: "a b" }), /^Enter a host name without blanks/);
  await ask(button("Delete all"));
  assert.equal(await page.locator("dialog :focus").innerText(), "Cancel");
  assert.equal(file(BANNED), `${names.slice(0, 9).join("")}www.pasted.example\n`);
  write(BANNED, names.join(""));
  await show("sites_ban");
  await told(/^The first [\d,]+ of 1500 sites/);
  await page.getByRole("searchbox").fill("site1499.example");
  await agree(button("Delete site1499.example from the list"));
  assert.equal(file(BANNED), names.slice(0, -1).join(""));
  await show("sp_port");
  await field("load_file").setInputFiles("../data/tarnbrook.inf");
  await send(button("Import"));
  await page.locator("[data-kind=good]", { hasText: "was imported" }).waitFor();
  await enter({ nat_modem_list: "56k V.92 Fax Voice" });
  assert.equal(await value("nat_init_string"), "AT&F&C1&D2\\N3%C3");
});

test("a special application opens what it says, and nothing else", async () => {
  await visit("nat_sap");
  const mine = page;
  const port = "v_nat_sapin_port01";
  const choose = (name) => page.locator("#change").getByLabel(name).check();
  assert.equal(await mistakes(button("Update")), "Choose from the list.");
  await choose(/ICQ/);
  assert.equal(await mistakes(button("Add"), { v_nat_sap_name: "Chess" }),
    "Choose a protocol for at least one direction.");
  assert.equal(await mistakes(button("Add"), { v_nat_sapin_pr_list: "UDP" }), "Fill this in.");
  await enter({ [port]: "7000" }, page.locator("#add"));
  await told("This opens UDP 7000 from the internet.");
  await send(button("Add"));
  assert.match(file("/etc/rc.d/rc.firewall"), /#@Chess\n ipchains -A input .* 7000:7000\n/);
  await send(button("Add"), { v_nat_sap_name: "Chess", v_nat_sap_enable: false, [port]: "1" });
  assert.equal(await value("v_nat_sap_enable", page.locator("#add")), false); // it was refused
  await choose(/Chess/);
  await visit("nat_sap");
  await choose(/Chess/);
  await agree(button("Update"), { [port]: "7005", v_nat_sapin_port02: "7009" });
  turnTo(mine);
  assert.match(await agree(button("Update"), { v_nat_sap_enable: false }),
    /\nOn: from on to off\nOff\. Switched on, this opens UDP 7005 to 7009 from the internet\.$/);
  assert.match(file("/etc/rc.d/rc.firewall"), /#@Chess\n#ipchains -A input .* 7005:7009/);
});

test("access control edits the group that it shows", async () => {
  await visit("ac_cfg");
  await page.getByRole("link", { name: "Group 2" }).click();
  await page.waitForURL(/group_name=Group%202/);
  await ready();
  const addPort = button("Add to Group 2").first();
  assert.equal(await mistakes(addPort, { port_start: "21", port_finish: "20" }),
    "The last of a range cannot come before the first.");
  await send(addPort, { port_finish: "25" });
  await send(addPort, { port_start: "0" });
  assert.equal(await message(), "Nothing has changed: the list is as it was.");
  await enter({ start_ip_4: "40" });
  await page.locator("#host button").focus();
  await page.keyboard.press("Enter");
  await told("Added.");
  await page.locator("#host button:focus").waitFor();
  assert.match(await agree(button("Change Group 2"), { block_allow: "Allow" }),
    /lose all ports that are not on the list/);
  assert.match(file("/etc/CGI_qs.conf"), /^G0P=B,\n[^]*^G2P=A,21-25\nG2A=192\.168\.1\.40$/m);
});

test("the overviews are complete without scripts", async () => {
  await visit("nat_base", { javaScriptEnabled: false });
  await enter({ dmz_ip_1: "192", dmz_ip_2: "168", dmz_ip_3: "1", dmz_ip_4: "19" });
  await send(saveOf("nat_conn"), { enable_email: false });
  assert.deepEqual([await message(), await value("dmz_ip_4")], ["Saved.", "19"]);
  write("/etc/CGI_qs.conf", file("/etc/CGI_qs.conf").replace(/^dns_server.*\n/gm, ""));
  await send(saveOf("nat_conn"), { internet_access: true, enable_email: true, dmz_ip_4: "29" });
  assert.match(await message(), /needs a DNS server/);
  assert.deepEqual([await value("enable_email"), await value("dmz_ip_4")], ["checked", "29"]);
  await show("sp_base");
  await send(saveOf("sp_port"), { nat_dial_type_radio: "pulse" });
  assert.deepEqual([await message(), await value("nat_dial_type_radio")], ["Saved.", "pulse"]);
});

test("a save takes itself back unless it is kept", async () => {
  const saveForNow = async (values) => {
    await ask(saveOf("nat_conn"), values);
    await page.locator("dialog .keep input").check();
    await send(yes());
    await told(/^Change \d+ takes itself back in 1[12]\d s\./);
  };
  await visit("nat_conn");
  assert.equal(await page.locator(".keep:visible, #keep:visible").count(), 0);
  await saveForNow({ enable_ftp: false });
  await readsWell("a change that waits");
  await save("nat_conn", { enable_ftp: true });
  assert.match(await message(), /waits to be kept, 1\d\d s more/);
  assert.equal(await value("enable_ftp"), true);
  await told(/ 11[0-8] s\./);
  await send(button("Keep it"));
  assert.deepEqual([await message(), await page.locator("#keep").isHidden()], ["Kept.", true]);
  await saveForNow();
  await page.evaluate(() => { const { now } = Date; Date.now = () => now() + 121000; });
  await told("The time is over. Reload the page.");
});

test("what is stored is shown as typed and runs nothing", async () => {
  await visit("sp_int");
  assert.match(await save("sp_int", { nat_ac_name: HOSTILE, nat_tel01: "555" }),
    /User name: from empty to "><script>/);
  await show("nat_sap");
  const more = { v_nat_sapin_pr_list: "TCP", v_nat_sapin_port01: "7" };
  await send(button("Add"), { v_nat_sap_name: HOSTILE, ...more });
  write(BANNED, HOSTILE);
  write("/etc/ppp/modem.ini", `[${HOSTILE}]\n`);
  write("/var/log/ppp0.log", HOSTILE);
  for (const name of ["nat_sap", "sp_int", "sp_port", "sp_status", "sites_ban"]) {
    await show(name);
    const inputs = await page.locator("input").evaluateAll((all) => all.map((each) => each.value));
    assert.ok([await page.locator("main").textContent(), ...inputs].join().includes(HOSTILE), name);
    assert.equal(await page.evaluate(() => window.ran), undefined);
  }
});

test("another site can change nothing", async () => {
  await visit("nat_base");
  const body = `<a href="${view("nat_base.htm")}&todo=save">Win</a>
    <form method=post action="${view("")}"><button name=todo value=save>Win</button></form>`;
  await page.route("http://a.test/", (route) => route.fulfill({ body, contentType: "text/html" }));
  for (const bait of ["a", "button"]) {
    await page.goto("http://a.test/");
    const answer = page.waitForResponse(/nat\.cgi/);
    await page.click(bait);
    assert.equal((await answer).status(), 403);
  }
});
