// Every page as an administrator meets it: seen, changed, refused, searched, attacked.
import assert from "node:assert/strict";
import { readdirSync, readFileSync, statSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { after, before, describe, test } from "node:test";
import { house } from "./house.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const www = new URL("../../build/www/", import.meta.url);
const PAGES = ["nat_base", "nat_conn", "nat_vs", "nat_sap", "nat_filter", "wan_dc", "wan_ppp", "sp_base", "sp_port", "sp_int",
  "dc_status", "ppp_status", "sp_status", "sites_allow", "sites_ban", "filterlog", "ac_cfg", "history", "preview",
  "diagnose", "backup"];
const RECORD = "/etc/ppp/nat_ppp.con";
const FILTER = "/usr/local/squid/etc/filter.conf";
const HOSTILE = "\"><script>window.ran=1</script>&'";
const UNQUOTED = HOSTILE.replaceAll(/["']/g, ""); // for fields that hold no quotes

for (const server of process.env.NAT_SERVER?.split(" ") ?? ["busybox", "lighttpd"]) describe(server, { concurrency: false }, () => {
  let box;
  let page;
  let scripted = true;
  let isAttack = false; // then a refusal is no fault
  const complaints = [];

  async function open(name, options = {}) {
    await page?.context().close();
    page = await (await box.context(options)).newPage();
    scripted = options.javaScriptEnabled !== false;
    page.setDefaultTimeout(10000);
    page.on("console", (line) => ["error", "warning"].includes(line.type()) && !/^Failed to load/.test(line.text()) && complaints.push(line.text()));
    page.on("response", (each) => each.status() >= 400 && each.status() !== 422 && !isAttack && complaints.push(`${each.status()} ${each.url()}`));
    page.on("pageerror", (error) => complaints.push(String(error)));
    await show(name);
    return page;
  }
  async function show(name) {
    const answer = await page.goto(box.view(`${name}.htm`));
    if (scripted) await page.waitForSelector("main[data-ready]");
    return answer;
  }
  const field = (name) => page.locator(`:is(input, select)[name="${name}"]:not([type=hidden])`);
  const message = async () => (await page.locator(".message:visible").allInnerTexts()).join();
  const value = (name) => field(name).evaluate((each) => (each.type === "checkbox" ? each.checked : each.value));

  // Opens what stands behind "Change".
  async function reveal(each) {
    const change = page.locator("details:not([open])", { has: each }).locator("summary");
    if (await change.count()) await change.click();
    if (scripted) await page.waitForSelector("main[data-ready]");
  }
  async function set(name, to) {
    const each = field(name);
    await reveal(each);
    if (typeof to === "boolean") await each.setChecked(to);
    else if (await each.evaluate(({ tagName }) => tagName === "SELECT")) await each.selectOption(to);
    else await each.fill(to);
  }
  async function setAll(values) {
    for (const [name, to] of Object.entries(values)) await set(name, to);
  }
  // An address is one field, without scripts four.
  const address = (begin, text) => Object.fromEntries(scripted ? [[`${begin}1`, text]]
    : text.split(".").map((part, index) => [`${begin}${index + 1}`, part]));

  // Presses a button that sends something, and waits for what comes of it.
  async function send(button) {
    await reveal(button);
    const answer = page.waitForResponse((each) => each.request().method() === "POST");
    await button.click();
    await answer;
    await page.waitForLoadState();
    if (scripted) await page.locator("body:not([data-busy]):has(main[data-ready])").waitFor();
  }
  const button = (name, form = page) => form.getByRole("button", { name, exact: true });
  const saveOf = (form) => page.locator(`#${form} .actions button`).first();

  // The same for a button after which the page asks; returns what it asks.
  const agreeing = () => page.locator("dialog button").nth(-2);
  async function ask(each) {
    await reveal(each);
    await each.click();
    await page.locator("dialog").waitFor();
    return (await page.locator("dialog :is(h2, li)").allInnerTexts()).join("\n");
  }
  async function press(each, { agree = true } = {}) {
    const asked = await ask(each);
    if (agree) await send(agreeing());
    else await button("Cancel").click();
    return asked;
  }
  const save = (form, options) => press(saveOf(form), options);

  before(async () => { box = await house(server); });
  after(async () => { await page?.context().close(); await box.close(); });

  test("every page opens, is light, fits a telephone, and reads well in light and dark", async () => {
    const size = (name) => statSync(new URL(name, www)).size;
    const served = readdirSync(www).filter((name) => /\.(js|css)$/.test(name));
    assert.ok(served.reduce((sum, name) => sum + size(name), 0) < 41200);
    await open("nat_base", { viewport: { width: 360, height: 740 } });
    let loaded = new Set();
    page.on("request", (each) => /\w+\.js$/.test(each.url()) && loaded.add(/\w+\.js$/.exec(each.url())[0]));
    for (const name of ["nat_fs", "sp_fs"]) { // where the program's page for an unknown page leads
      await page.goto(`${box.base}/${name}.htm`);
      await page.locator("main a").click();
      await page.waitForSelector("main[data-ready]");
    }
    for (const colorScheme of ["light", "dark"]) {
      await page.emulateMedia({ colorScheme });
      for (const name of PAGES) {
        loaded = new Set(["style.css"]);
        const answer = await show(name);
        const weight = [...loaded].reduce((sum, file) => sum + size(file), (await answer.body()).length);
        assert.ok(weight < 61440, `${name}: ${weight}`);
        assert.equal(await page.evaluate(() => document.body.dataset.page), `${name}.htm`);
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${name} overflows`);
        await page.locator(".menu summary").click();
        const passes = await judge(name, colorScheme === "dark" ? { runOnly: ["color-contrast"] } : {});
        assert.ok(passes.some(({ id }) => id === "color-contrast"), name);
      }
    }
  });

  async function judge(name, options = {}) {
    await page.evaluate(axe);
    const { violations, passes } = await page.evaluate((only) => window.axe.run(document, only), options);
    assert.deepEqual(violations.map(({ id, nodes }) => [name, id, nodes[0].html]), []);
    return passes;
  }

  test("mistakes, questions and troubles read well, too, on the narrowest screen, in forced colours and on paper", async () => {
    for (const options of [{ viewport: { width: 320, height: 700 } }, { forcedColors: "active" }]) {
      await open("nat_base", options);
      for (const change of await page.locator("main summary").all()) await change.click();
      await setAll({ vs_web_enable: true, enable_dmz: true, filter_when: "between" });
      await saveOf("nat_vs").click();
      assert.equal(await page.locator("#nat_vs .error").innerText(), "Enter four numbers from 0 to 255, such as 192.168.1.9.");
      await judge("mistakes");
      assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      const { width } = await field("vs_web_enable").boundingBox();
      assert.ok(width > 10);
      await set("enable_telnet", false);
      await setAll(dmz("192.168.1.9"));
      await ask(saveOf("nat_conn"));
      const dialog = page.getByRole("dialog", { name: "Save these changes?" });
      assert.match(await dialog.evaluate((each) => document.getElementById(each.getAttribute("aria-describedby")).innerText), /Telnet: from on to off/);
      await judge("a question");
      await button("Cancel").click();
      await page.emulateMedia({ media: "print" });
      for (const unprinted of [".menu", "#nat_conn .actions", "#state"]) assert.ok(await page.locator(unprinted).isHidden());
      assert.equal(await field("enable_telnet").evaluate((each) => getComputedStyle(each).appearance), "auto");
    }
    await page.route("**/*next_file=nat_base.htm*", (route) => route.abort());
    page.once("dialog", (each) => each.accept());
    await page.goto(box.view("nat_conn.htm"));
    await button("Try again").waitFor();
    await judge("a form without values");
  });

  // Changes as a person makes them; what the page asks before it saves; where they end up; a mistake and its text;
  // and what has to be in the way for the appliance to refuse them.
  const dmz = (text) => address("dmz_ip_", text);
  const isp = (text) => address("nat_isp_ip0", text);
  const SETTINGS = [
    { name: "nat_conn", changes: { enable_telnet: false, enable_dmz: true, ...dmz("192.168.1.9") },
      asked: ["Telnet: from on to off", "DMZ host: from off to 192.168.1.9"], stored: [[RECORD, /^DMZ_IP=192\.168\.1\.9$/m], [RECORD, /^SrvTelNet=0$/m]],
      mistakes: [["dmz_ip_1", "192.168.1.999", "Enter four numbers from 0 to 255"]], gone: RECORD },
    { name: "nat_vs", changes: { vs_web_enable: true, ...address("vs_web_", "192.168.1.5"), vs_ud1_name: "Game" },
      asked: ["Web: from off to 192.168.1.5, port 80", "Server 1: from off (no address, port 0) to off (Game, no address, port 0)"],
      stored: [[RECORD, /^WebIP=192\.168\.1\.5$/m], [RECORD, /^UD1_Name=Game$/m]],
      mistakes: [["vs_web_portno", "65536", "Enter a whole number from 0 to 65535."]], gone: RECORD },
    { name: "nat_filter", changes: { filter_when: "between", filter_daystart: "Tuesday", filter_starttime: "07:00", remove_js: true },
      asked: ["Filter: from never to between two times of the week", "From: from Monday, 08:00 to Tuesday, 07:00", "JavaScript: from off to on",
        "The filter may not work while there is a DMZ host: use only one of them."],
      stored: [[FILTER, /^filter_from Tuesday 7 0$/m], [FILTER, /^block_script on$/m]], said: /web proxy is not running/,
      gone: FILTER },
    { name: "wan_dc", changes: { isp_ip_type: "fixed", ...isp("192.0.2.10"), ...address("nat_isp_mask0", "255.255.255.0"),
      ...address("nat_isp_gw0", "192.0.2.1"), device_name: "my-pc" },
      asked: ["Address: from dynamic (by DHCP) to fixed", "IP address: from no address to 192.0.2.10", "Device name: from empty to my-pc"],
      stored: [["/etc/sysconfig/network-scripts/ifcfg-eth0", /^IPADDR=192\.0\.2\.10$/m]],
      mistakes: [["nat_isp_ip01", "192.0.2", "Enter four numbers"]] },
    { name: "wan_ppp", changes: { ppp_ac_name: "joe \"#1\"@isp", ppp_ac_pwd: "a'b\\c d", ppp_ac_pwd_v: "a'b\\c d", ppp_idle_time: "12" }, shown: { ppp_ac_pwd: "", ppp_ac_pwd_v: "" },
      asked: ["User name: from empty to joe \"#1\"@isp", "Password: changed", "Idle time, minutes: from 5 to 12"],
      stored: [["/etc/ppp/pap-secrets", /joe/]], mistakes: [["ppp_ac_pwd_v", "another", "The passwords differ."],
        ["service_name", "a b", "Enter a name without blanks and double quotes."],
        ["isp_ip_type", "fixed", "Enter four numbers"]] },
    { name: "sp_port", changes: { nat_modem_list: "56k V.92 Fax Voice", nat_serspeed_list: "57600" }, shown: { nat_init_string: "AT&F&C1&D2\\N3%C3" },
      asked: ["Model: from _Standard Modem to 56k V.92 Fax Voice", "Init string: from AT&F to AT&F&C1&D2\\N3%C3"],
      stored: [[RECORD, /^Modem=56k V\.92 Fax Voice$/m], ["/etc/diald.conf", /^speed 57600$/m]], gone: RECORD },
    { name: "sp_int", changes: { nat_ac_name: "jane", nat_ac_pwd: "secret", nat_ac_pwd_v: "secret", nat_tel01: "555 0100", nat_idle_time: "9" }, shown: { nat_ac_pwd: "", nat_ac_pwd_v: "" },
      asked: ["User name: from empty to jane", "Telephone number: from empty to 555 0100"],
      stored: [[RECORD, /^User=jane$/m], ["/etc/ppp/tel", /555 0100/]], mistakes: [["nat_tel01", "", "Fill this in."],
        ["nat_tel01", "5;5", "Enter a number without any of ; $ & | < > ( ) ' \" \\ `."],
        ["nat_ac_pwd", "@x", "Enter a password that does not begin with @."]], gone: RECORD },
    { name: "nat_base", form: "nat_vs", changes: { vs_ftp_enable: true, ...address("vs_ftp_", "192.168.1.6") },
      asked: ["FTP: from off to 192.168.1.6, control port 21, data port 20", "While there is a DMZ host, passive FTP transfers may go to it and fail."],
      stored: [[RECORD, /^FtpIP=192\.168\.1\.6$/m]],
      mistakes: [["vs_ftp_portno_data", "80", "Port 80 is taken by Web"]] },
    { name: "sp_base", form: "sp_int", changes: { nat_isp_ip_radio: "fixed", ...isp("203.0.113.5"), nat_tel02: "555 0101" },
      asked: ["IP address: from 10.0.0.1 to 203.0.113.5", "Second number: from empty to 555 0101"],
      stored: [[RECORD, /^IP=203\.0\.113\.5$/m]], mistakes: [["nat_isp_ip01", "300.0.0.1", "Enter four numbers"]] },
  ];

  test("what exactly a save will do is told before it, and nothing is done", async () => {
    await open("nat_conn", { viewport: { width: 360, height: 740 } });
    const before = box.file(RECORD);
    await set("enable_telnet", !(await value("enable_telnet")));
    await ask(saveOf("nat_conn"));
    const ahead = page.locator("dialog details");
    await ahead.locator("summary").click();
    await ahead.getByText("Commands").waitFor();
    assert.match(await ahead.innerText(), /\/nat_ppp\.con\n[^]*SrvTelNet: 1 \u2192 0/);
    await judge("what will happen");
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
    await button("Cancel").click();
    assert.equal(box.file(RECORD), before);
    await saveOf("nat_conn").click();
    await page.locator("dialog details:not([open])").waitFor();
    await button("Cancel").click();
    await open("nat_base", { javaScriptEnabled: false });
    await set("enable_telnet", !(await value("enable_telnet")));
    await send(button("Preview", page.locator("#nat_conn")));
    assert.match(await page.locator("#preview").innerText(), /SrvTelNet: /);
    assert.equal(box.file(RECORD), before);
  });

  test("a save is looked at in the history, undone there, and done again", async () => {
    await open("nat_conn", { viewport: { width: 360, height: 740 } });
    const before = box.file(RECORD);
    await set("enable_telnet", !(await value("enable_telnet")));
    await save("nat_conn");
    const after = box.file(RECORD);
    await page.getByRole("link", { name: "Look at it or undo it" }).click();
    assert.match(await page.locator("pre").first().innerText(), /SrvTelNet: 1 \u2192 0/);
    for (const content of [before, after, before]) {
      await show("history");
      await send(page.locator(".danger"));
      assert.deepEqual([(await message()).trim(), box.file(RECORD) === content], ["Undone.", true]);
    }
  });

  test("what is changed is told, stored and shown; mistakes and refusals lose nothing", async () => {
    await open("nat_base");
    for (const { name, form = name, changes, asked, said = /^Saved\./, stored, shown = {}, mistakes = [], gone } of SETTINGS) {
      await show(name);
      await setAll(changes);
      const typed = { ...changes, ...shown };
      for (const [wrong, to, text] of mistakes) {
        const right = await value(wrong);
        await set(wrong, to);
        await saveOf(form).click();
        assert.ok((await page.locator(".error").first().innerText()).includes(text), `${name}: ${text}`);
        assert.equal(await page.locator("dialog[open]").count(), 0, name);
        await set(wrong, right);
      }
      if (gone) {
        const content = box.file(gone);
        box.replaceByFolder(gone);
        await saveOf(form).click();
        await page.getByText(/cannot be read/).waitFor();
        for (const [key, to] of Object.entries(changes)) assert.equal(await value(key), to, `${name}: ${key} after a refusal`);
        box.write(gone, content);
      }
      const lines = (await save(form)).split("\n");
      for (const line of asked) assert.ok(lines.includes(line), `${name}: ${line} in ${lines}`);
      assert.match(await message(), said, name);
      for (const [path, pattern] of stored) assert.match(box.file(path), pattern, name);
      await show(name);
      for (const [key, to] of Object.entries(typed)) assert.equal(await value(key), to, `${name}: ${key} after a save`);
      assert.equal(await message(), "");
    }
  });

  test("a stored password is not shown, stays, and can be removed", async () => {
    await open("wan_ppp");
    const kept = () => field("ppp_ac_pwd").getAttribute("placeholder");
    assert.deepEqual([await value("ppp_ac_pwd"), await kept()], ["", "unchanged"]);
    await set("ppp_idle_time", "13");
    await save("wan_ppp");
    assert.match(box.file("/etc/ppp/CGI_nat.conf"), /^pppoe_password=a'b\\c d$/m);
    await page.getByLabel("Remove the stored password").check();
    assert.match(await save("wan_ppp"), /Remove the stored password: from off to on/);
    assert.match(box.file("/etc/ppp/CGI_nat.conf"), /^pppoe_password=$/m);
    assert.equal(await kept(), "");
    assert.ok(await page.getByLabel("Remove the stored password").isHidden());
  });

  test("nothing is sent before the values are there, and nothing is called stored that may not be", async () => {
    await open("nat_conn");
    const record = box.file(RECORD);
    let posts = 0;
    page.on("request", (each) => { posts += each.method() === "POST"; });
    await page.route("**/*next_file=nat_base.htm*", (route) => route.abort());
    await page.reload();
    await button("Try again").waitFor();
    assert.match(await message(), /could not be fetched, so nothing can be changed/);
    const press_save = () => saveOf("nat_conn").evaluate((each) => each.form.requestSubmit(each));
    await press_save();
    let go;
    await page.unroute("**/*next_file=nat_base.htm*");
    await page.route("**/*next_file=nat_base.htm*", async (route) => { await new Promise((resolve) => { go = resolve; }); route.continue(); });
    await button("Try again").click();
    await page.getByText("Waiting for the values in force.").waitFor();
    await press_save();
    assert.deepEqual([posts, await page.locator("form[inert]").count(), box.file(RECORD)], [0, 1, record]);
    go();
    await page.waitForSelector("main[data-ready]");
    await page.unroute("**/*next_file=nat_base.htm*");

    const answers = [
      [(route) => route.abort(), /did not answer\. It is not known whether this was stored/],
      [(route) => route.fulfill({ status: 504, body: "late" }), /"504 .*It is not known whether this was stored/],
      [(route) => route.fulfill({ status: 401, body: "who?" }), /asks for its password/],
      [(route) => route.fulfill({ status: 403, json: { message: "Not sent from here." } }), /^Not sent from here\.$/],
      [(route) => route.fulfill({ body: "<h2>A page of a proxy</h2>" }), /"200 .*It is not known whether this was stored/]];
    isAttack = true;
    await set("enable_ftp", false);
    for (const [answer, text] of answers) {
      await page.route("**/nat.cgi", answer);
      await ask(saveOf("nat_conn"));
      await agreeing().click();
      await page.getByText(text).waitFor();
      assert.equal(await value("enable_ftp"), false);
      await page.unroute("**/nat.cgi");
    }
    isAttack = false;
    await page.route("**/nat.cgi", (route) => route.fulfill({ status: 503, json: { message: "Another change is being made." } }));
    isAttack = true;
    await ask(saveOf("nat_conn"));
    await agreeing().click();
    await page.getByText("Another change is being made.").waitFor();
    isAttack = false;
    await page.unroute("**/nat.cgi");
    await page.route("**/nat.cgi", async (route) => { await new Promise((resolve) => { go = resolve; }); route.continue(); });
    const busy = { user: "anna", address: "192.168.1.7", command: "adsl-start", seconds: 12 };
    await page.route("**/*=progress", (route) => route.fulfill({ json: { busy } }));
    posts = 0;
    await button("Try again").click();
    await page.waitForSelector("form[inert]");
    await press_save();
    await page.getByText("Saving. Connecting may take a minute.").waitFor();
    assert.equal(await page.locator("#busy").innerText(), "anna is making a change: adsl-start, 12 s.");
    await page.unroute("**/*=progress");
    go();
    await page.getByText("Saved.").waitFor();
    await box.until(async () => await page.locator("#busy").textContent() === "");
    assert.deepEqual([posts, await message(), /^SrvFTP=0$/m.test(box.file(RECORD))], [1, "Saved. Look at it or undo it", true]);
    await set("enable_ftp", true);
    await page.route("**/*=progress", (route) => route.fulfill({ json: { busy } }));
    await ask(saveOf("nat_conn"));
    await agreeing().click();
    await button("Connecting: adsl-start, 12 s").waitFor();
    await page.unroute("**/*=progress");
    go();
    await page.getByText("Saved.").waitFor();
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "Save");
    await page.route("**/page.js", (route) => route.abort());
    await page.reload();
    // One that needs it may be the first that is missed.
    await page.getByText(/^This page is not complete: .*\.js/).waitFor();
    assert.equal(await page.locator("form[inert]").count(), 1);
  });

  test("the list of changes is the truth, and no change is lost", async () => {
    await open("nat_base");
    const mine = page;
    await setAll({ enable_email: false, ...dmz("192.168.1.40"), vs_ud5_name: "Kept" });
    page = await (await box.context()).newPage();
    await show("nat_conn");
    await setAll({ enable_sp_apps: false, ...dmz("192.168.1.41") });
    await save("nat_conn");
    await page.context().close();
    page = mine;
    const asked = await save("nat_conn");
    assert.match(asked, /^Save these changes\?\nE-mail: from on to off\nDMZ host: from .*192\.168\.1\.41.* to .*192\.168\.1\.40\)?\n/);
    assert.match(asked, /DMZ host: somebody else has changed this too/);
    assert.match(box.file(RECORD), /^SAP=0$[^]*^SrvEMail=0$[^]*^DMZ_IP=192\.168\.1\.40$/m);
    assert.deepEqual([await value("vs_ud5_name"), await value("enable_sp_apps")], ["Kept", false]);
    assert.match(await page.locator("#conn-facts").innerText(), /DNS server\s+192/);
    const leaving = page.waitForEvent("dialog");
    const left = page.goto(box.view("nat_sap.htm")).catch(() => "stayed");
    await (await leaving).dismiss();
    assert.equal(await left, "stayed");
    page.once("dialog", (dialog) => dialog.accept());
    await show("nat_sap");
    await page.getByLabel(/^\s*ICQ/).check();
    await page.locator("#change [name=v_nat_sapin_port01]").fill("5191");
    page.once("dialog", (dialog) => dialog.accept());
    await show("nat_conn");
    await setAll({ access_method: "WAN Port - PPPoE", internet_access: true });
    await save("nat_conn");
    for (const [key, to, text] of [["internet_access", false, "Switching internet access off takes the connection down."],
      ["access_method", "Serial Port", "Changing the access method takes the connection down and starts the new one."]]) {
      await set(key, to);
      assert.ok(await page.locator("main").getByText(text).isVisible());
      assert.ok((await save("nat_conn", { agree: false })).includes(text));
      await button("Undo").click();
      assert.equal(await page.locator("main").getByText(text).isVisible(), false);
    }
  });

  test("addresses are typed, pasted, chosen and checked", async () => {
    await open("wan_dc");
    await page.route("**/*next_file=hosts", (route) => route.fulfill({ contentType: "application/json",
      body: JSON.stringify([{ address: "192.168.1.23", name: "anna", mac: "00:11:22:33:44:55" }]) }));
    await set("isp_ip_type", "fixed");
    const errors = async () => { await saveOf("wan_dc").click(); return page.locator(".error").allInnerTexts(); };
    for (const [typed, shown] of [["10.2.3.44", "10.2.3.44"], [" 192,168,001,077", "192.168.1.77"], ["203.0.113.5/24", "203.0.113.5"]]) {
      await set("nat_isp_ip01", typed);
      await page.keyboard.press("Tab");
      assert.equal(await value("nat_isp_ip01"), shown);
    }
    await setAll({ nat_isp_mask01: "255.0.255.0", nat_isp_gw01: "203.0.113.5:80" });
    assert.deepEqual(await errors(), ["Ones, then zeros, such as 255.255.255.0.", "The gateway cannot be this appliance."]);
    await setAll({ nat_isp_mask01: "255.255.255.0", nat_isp_gw01: "203.0.114.5" });
    assert.deepEqual(await errors(), ["The gateway must be in the network of the IP address."]);
    await setAll({ nat_isp_ip01: "192.168.1.5", nat_isp_gw01: "192.168.1.7" });
    assert.match(await save("wan_dc", { agree: false }), /IP address: this address is in the network of the LAN, 192\.168\.1\./);
    await set("nat_isp_ip01", "0.168.1.5");
    assert.equal((await errors())[0], "No host can have this address.");
    await set("wan_mac_address", "00:A0:C9:11:22:33");
    await press(button("Use this address"));
    assert.match(box.file("/etc/CGI_qs.conf"), /^wan_hw_addr=00A0C9112233$/m);
    page.once("dialog", (dialog) => dialog.accept());
    await show("nat_conn");
    await set("enable_dmz", true);
    assert.deepEqual(await field("dmz_ip_1").evaluate(({ list }) => [...list.options].map((each) => [each.value, each.label])),
      [["192.168.1.23", "192.168.1.23 anna"]]);
    await setAll(dmz("8.168.1.23"));
    assert.match(await save("nat_conn", { agree: false }), /DMZ host: this address is outside the network of the LAN/);
    await button("Undo").click();
  });

  test("from a typed account to a working link", async () => {
    await open("nat_base");
    const now = page.locator("#now");
    await setAll({ access_method: "WAN Port - PPPoE", internet_access: false });
    await save("nat_conn");
    await now.getByText("Internet access is switched off.").waitFor();
    await show("wan_ppp");
    await setAll({ ppp_ac_name: "joe", ppp_ac_pwd: "x", ppp_ac_pwd_v: "x" });
    await saveOf("wan_ppp").click();
    await button("Save and use this connection now").click();
    await page.waitForURL(/nat_status/);
    await now.getByText("Waiting for traffic: PPPoE dials when somebody needs it.").waitFor();
    await button("Connect now").click();
    await now.getByText(/^Connected: PPPoE, \d[\d.]+\.$/).waitFor();
    box.write("/var/log/pppd.log", `${"a line of a long log\n".repeat(600)}PAP authentication failed\n`);
    await page.reload();
    assert.match(await page.locator("#cut").innerText(), /^The first [\d,]+ of [\d,]+ characters/);
    assert.ok(await page.getByRole("link", { name: "Download the whole pppd log" }).isVisible());
    await show("wan_dc");
    await set("isp_ip_type", "dynamic");
    await save("wan_dc");
    await button("Use this connection now").click();
    await now.locator("p:visible", { hasText: /Connected: Direct connection|No address from DHCP/ }).waitFor();
  });

  test("the status buttons, and the state in the head of every page", async () => {
    await open("nat_base");
    await setAll({ access_method: "WAN Port - PPPoE", internet_access: true });
    await save("nat_conn");
    const state = (pattern) => box.until(async () => pattern.test(await page.locator("#state").innerText()));
    await page.clock.install(); // what comes by itself comes when the test says so
    await show("nat_status");
    assert.equal(await press(button("Connect")), "Connect now? A connection that is up is taken down first.");
    await box.until(async () => { await page.clock.runFor(31000); return /Connected: PPPoE, \d/.test(await page.locator("#state").innerText()); });
    assert.match(await page.locator("#facts").innerText(), /Link\s+on/);
    box.write("/var/log/pppd.log", "what is new\n");
    await page.clock.runFor(31000);
    await box.until(async () => (await page.locator("#log").textContent()) === "what is new\n");
    for (const name of ["nat_status", "nat_sap"]) {
      await show(name);
      await state(/^Connected: PPPoE/);
      await page.evaluate(() => {
        const { fetch } = window;
        window.fetch = (...what) => { window.asked += 1; return fetch(...what); };
      });
      for (const [seconds, isHidden] of [[200, true], [61, false]]) {
        await page.evaluate((to) => { window.asked = 0; Object.defineProperty(document, "hidden", { value: to, configurable: true }); }, isHidden);
        await page.clock.runFor(seconds * 1000);
        assert.equal(await page.evaluate(() => window.asked === 0), isHidden, name);
      }
    }

    await open("nat_status");
    await press(button("Clear the log"));
    await box.until(async () => (await page.locator("#log").textContent()) === "");
    await press(button("Disconnect"));
    await state(/^Not connected$/);

    await page.getByText("Find out why").click();
    await page.waitForSelector("tbody tr");
    const shown = await page.evaluate(() => [...document.querySelectorAll("tbody tr")]
      .map((row) => [...row.cells].filter((cell) => cell.checkVisibility()).map((cell) => cell.textContent)));
    assert.deepEqual([shown.length, shown[9].length, shown[0][3], shown[9][3]], [10, 4, "yes", "not asked"]);
    assert.match(await page.locator("section a:visible").first().innerText(), /^Go to: /);

    await show("nat_conn");
    await set("access_method", "Serial Port");
    await save("nat_conn");
    await show("nat_status");
    await send(button("Dial"));
    await state(/^Connected: Modem, \d/);
    await press(button("Hang up"));
    await state(/^Not connected$/);
  });

  test("lists: what is added, deleted and imported, and whether it was", async () => {
    await open("sites_ban");
    const list = "/usr/local/squid/etc/deny.list";
    box.write(list, Array.from({ length: 9 }, (_, number) => `site${number}.example\n`).join("") + "has space.example\n");
    const sites = page.locator(".checks label:visible");
    for (const [typed, said, stored] of [["Site4.example", /^Added\.|not running/, "Site4.example\n"],
      ["https://joe@www.pasted.example:8080/path?x", /^Added\.|not running/, "www.pasted.example\n"]]) {
      await set("new_url", typed);
      await send(button("Add the name"));
      assert.match(await message(), said);
      assert.ok(box.file(list).includes(stored));
      assert.equal(await field("new_url").evaluate((each) => each.value), "");
    }
    await set("new_url", "site3.example");
    await send(button("Add the name"));
    assert.match(await message(), /on the list already/);
    assert.equal(await value("new_url"), "site3.example");
    await set("new_url", "has blank");
    assert.equal(await message(), "");
    await button("Add the name").click();
    assert.match(await page.locator(".error").innerText(), /a host name without blanks/);
    await button("Delete the chosen sites").click();
    assert.equal(await page.locator("#delete .error").innerText(), "Choose from the list.");
    await page.getByRole("searchbox").fill("SPACE");
    assert.deepEqual((await sites.allInnerTexts()).map((text) => text.trim()), ["has space.example"]);
    await sites.locator("input").check();
    assert.equal(await press(button("Delete the chosen sites")), "Delete the chosen sites from the list?");
    assert.ok(!box.file(list).includes("space") && box.file(list).includes("site5"));
    await page.locator("input[name=upload_file]").setInputFiles({ name: "b.html", mimeType: "text/html", buffer: Buffer.from("<a href=\"http://imported.example/x\">") });
    await send(button("Import"));
    assert.match(await message(), /Sites added to the list: 1\.|not running/);
    await press(button("Delete all"), { agree: false });
    assert.match(box.file(list), /imported\.example/);
    box.write(list, Array.from({ length: 1500 }, (_, number) => `site${number}.example\n`).join(""));
    await show("sites_ban");
    assert.match(await page.locator("#cut").innerText(), /^The first [\d,]+ of 1,?499 sites|^The first [\d,]+ of 1,?500 sites/);
    await page.getByRole("searchbox").fill("site1499.example");
    await press(button("Delete site1499.example from the list"));
    assert.ok(!box.file(list).includes("site1499.example"));
    await press(button("Delete all"));
    assert.equal(box.file(list), "");

    await show("filterlog");
    await press(button("Clear log"));
    assert.equal(await message(), "The log is empty now.");
    await show("sp_port");
    await page.locator("input[name=load_file]").setInputFiles(new URL("../data/tarnbrook.inf", import.meta.url).pathname);
    await send(button("Import"));
    assert.match(await message(), /was imported/);
    assert.equal(await page.locator(".message").getAttribute("data-kind"), "good");
    assert.match(await field("nat_modem_list").innerText(), /Tarnbrook/);
  });

  test("a special application opens what it says, and nothing else", async () => {
    await open("nat_sap");
    const firewall = () => box.file("/etc/rc.d/rc.firewall");
    const [add, chosen] = [page.locator("#add"), page.locator("#change")];
    const opens = (form) => form.locator("[data-told]").innerText();
    const errors = (form) => form.locator(".error").allInnerTexts();
    await button("Update", chosen).click();
    await button("Delete", chosen).click();
    assert.deepEqual(await errors(chosen), ["Choose from the list."]);
    await add.locator("[name=v_nat_sap_name]").fill("Chess");
    await button("Add", add).click();
    assert.deepEqual(await errors(add), ["Choose a protocol for at least one direction."]);
    await add.locator("[name=v_nat_sapin_pr_list]").selectOption("UDP");
    assert.equal(await opens(add), "This opens UDP all ports from the internet.");
    await button("Add", add).click();
    assert.deepEqual(await errors(add), ["Fill this in."]);
    await add.locator("[name=v_nat_sapin_port01]").fill("7000");
    assert.equal(await opens(add), "This opens UDP 7000 from the internet.");
    await send(button("Add", add));
    assert.match(firewall(), /#@Chess\n ipchains -A input .* 7000:7000\n/);
    await add.locator("[name=v_nat_sap_name]").fill("Chess");
    await add.locator("[name=v_nat_sapin_port01]").fill("7001");
    await add.locator("[name=v_nat_sap_enable]").uncheck();
    await send(button("Add", add));
    assert.match(await message(), /already an application of this name/);
    assert.equal(await add.locator("[name=v_nat_sap_enable]").isChecked(), false);
    await chosen.getByLabel(/^\s*Chess/).check();
    const other = await page.context().newPage();
    await other.goto(box.view("nat_sap.htm"));
    await other.waitForSelector("main[data-ready]");
    await other.getByLabel(/^\s*Chess/).check();
    await other.locator("#change [name=v_nat_sapin_port01]").fill("7005");
    await other.locator("#change [name=v_nat_sapin_port02]").fill("7009");
    await other.getByRole("button", { name: "Update" }).click();
    await other.locator("dialog button").first().click();
    await other.getByText("Saved.").waitFor();
    await other.close();
    await chosen.locator("[name=v_nat_sap_enable]").uncheck();
    assert.equal(await press(button("Update", chosen)),
      "Save these changes?\nOn: from on to off\nOff. Switched on, this opens UDP 7005 to 7009 from the internet.");
    assert.match(firewall(), /#@Chess\n#ipchains -A input .* 7005:7009/);
    await press(button("Delete", chosen));
    assert.ok(!firewall().includes("Chess"));
    await chosen.getByLabel(/^\s*Ping/).check();
    await press(button("Delete", chosen));
    assert.match(await message(), /reserved/);
  });

  test("access control edits the group that it shows", async () => {
    await open("ac_cfg");
    await page.getByRole("link", { name: "Group 2" }).click();
    await button("Delete from Group 2").first().waitFor();
    assert.match(page.url(), /group_name=Group%202/);
    await page.reload();
    await page.getByRole("heading", { name: "Ports of Group 2", exact: true }).waitFor();
    await page.locator("main[data-ready]").waitFor();
    await set("port_start", "21");
    await set("port_finish", "20");
    await button("Add to Group 2").first().click();
    assert.equal(await page.locator(".error").innerText(), "The last of a range cannot come before the first.");
    await set("port_finish", "25");
    await send(button("Add to Group 2").first());
    await set("port_start", "0");
    await send(button("Add to Group 2").first());
    assert.equal(await message(), "Nothing has changed: the list is as it was.");
    await set("start_ip_4", "40");
    await button("Add to Group 2").last().focus();
    const answer = page.waitForResponse((each) => each.request().method() === "POST");
    await page.keyboard.press("Enter");
    await answer;
    await page.getByText("Added.").waitFor();
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "Add to Group 2");
    await set("block_allow", "Block");
    await set("block_allow", "Allow");
    assert.match(await press(button("Change Group 2")), /Hosts of Group 2 lose all ports that are not on the list at once\./);
    assert.match(box.file("/etc/CGI_qs.conf"), /^G0P=B,\n[^]*^G2P=A,21-25\nG2A=192\.168\.1\.40$/m);
    await set("block_allow", "Block");
    const asked = page.waitForEvent("dialog").then((dialog) => dialog.dismiss());
    await page.getByRole("link", { name: "Group 1" }).click({ noWaitAfter: true });
    await asked;
    assert.equal(await value("block_allow"), "Block");
  });

  for (const javaScriptEnabled of [true, false]) test(`a backup is taken and restored on a telephone, scripts: ${javaScriptEnabled}`, async () => {
    await open("backup", { javaScriptEnabled, viewport: { width: 360, height: 740 } });
    const download = page.waitForEvent("download");
    await button("Download the backup").click();
    assert.match((await download).suggestedFilename(), /^quillstead-[\w-]+-\d{4}-\d\d-\d\d\.tar$/);
    const tel = box.file("/etc/ppp/tel");
    box.write("/etc/ppp/tel", "changed");
    await page.locator("input[type=file]").setInputFiles(await (await download).path());
    await send(button("Look at it"));
    assert.match(await page.locator("tr", { hasText: "is replaced" }).innerText(), /\/etc\/ppp\/tel/);
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
    await send(button("Restore these files"));
    assert.match(await message(), /^.?\s*Restored\./);
    assert.equal(box.file("/etc/ppp/tel"), tel);
    assert.ok(await button("Restore these files").isHidden());
  });

  test("the overviews without scripts", async () => {
    await open("nat_base", { javaScriptEnabled: false });
    await setAll({ enable_email: false, ...dmz("192.168.1.19") });
    await send(saveOf("nat_conn"));
    assert.deepEqual([await message(), await value("enable_email"), await value("dmz_ip_4")], ["Saved.", false, "19"]);
    await setAll({ vs_pop3_enable: true, ...address("vs_pop3_", "192.168.1.7") });
    await send(saveOf("nat_vs"));
    await setAll({ filter_when: "always", enable_filter_log: false });
    await send(saveOf("nat_filter"));
    assert.match(await message(), /^Warning: the web filter is now on while the DMZ host is on/);
    assert.match(box.file(RECORD), /^SrvEMail=0$[^]*^Pop3IP=192\.168\.1\.7$[^]*^DMZ_IP=192\.168\.1\.19$/m);
    assert.match(box.file(FILTER), /^filter_state 0$[^]*^enable_log off$/m);

    const content = box.file("/etc/CGI_qs.conf");
    box.write("/etc/CGI_qs.conf", content.replace(/^dns_server.*\n/gm, ""));
    await setAll({ enable_email: true, ...dmz("192.168.1.29") });
    await send(saveOf("nat_conn"));
    assert.match(await message(), /needs a DNS server/);
    assert.deepEqual([await value("enable_email"), await value("dmz_ip_4")], ["checked", "29"]);
    box.write("/etc/CGI_qs.conf", content);

    await show("sp_base");
    await setAll({ nat_ac_name: "without", nat_idle_time: "33" });
    await send(saveOf("sp_int"));
    assert.deepEqual([await value("nat_ac_name"), await value("nat_idle_time")], ["without", "33"]);
    await set("nat_dial_type_radio", "pulse");
    await send(saveOf("sp_port"));
    assert.match(box.file(RECORD), /^User=without$/m);
    assert.equal(await value("nat_dial_type_radio"), "pulse");
  });

  test("a save takes itself back unless it is kept, with scripts and without", async () => {
    await open("nat_conn");
    await set("enable_telnet", true);
    await set("enable_ftp", false);
    assert.equal(await page.locator(".keep:visible, #keep:visible").count(), 0);
    const wish = page.locator("dialog .keep input");
    await ask(saveOf("nat_conn"));
    assert.equal(await wish.isChecked(), false); // the test is where the appliance is
    await wish.check();
    await send(agreeing());
    const waits = /^Change \d+ takes itself back in 1(20|1[1-9]) s\./;
    assert.match(await page.locator("#keep").innerText(), waits);
    await judge("a change that waits");
    isAttack = true;
    await set("enable_ftp", true);
    await save("nat_conn");
    assert.match(await message(), /^Not stored: change \d+ of 127\.0\.0\.1|admin waits to be kept, 1\d\d s more/);
    isAttack = false;
    await box.until(async () => / 11[0-8] s\./.test(await page.locator("#keep").innerText()));
    await send(button("Keep it"));
    assert.deepEqual([await message(), await page.locator("#keep:visible").count()], ["Kept.", 0]);
    await save("nat_conn");
    await box.until(async () => / 11\d s\./.test(await page.locator("#keep").innerText()));
    await page.evaluate(() => { const { now } = Date; Date.now = () => now() + 121000; });
    await page.getByText("The time is over. Reload the page.").waitFor();

    await open("nat_base", { javaScriptEnabled: false });
    await page.locator("#keep button").click();
    assert.deepEqual([await message(), await page.locator("#keep:visible").count()], ["Kept.", 0]);
    await set("enable_ftp", false);
    await page.locator("#nat_conn [name=confirm_within]").check();
    await send(saveOf("nat_conn"));
    assert.match(await page.locator("#keep").innerText(), waits);
    await send(button("Keep it"));
    assert.equal(await message(), "Kept.");
  });

  test("another site can change nothing", async () => {
    await open("nat_base");
    const before = box.file(RECORD);
    const act = { this_file: "nat_conn.htm", todo: "save", access_method: "WAN Port - Direct Connection" };
    const inputs = Object.entries(act).map(([name, to]) => `<input name="${name}" value="${to}">`).join("");
    const link = `${box.base}/nat.cgi?${new URLSearchParams(act)}`;
    const stranger = createServer((_, answer) => answer.setHeader("Content-Type", "text/html")
      .end(`<form method="post" action="${box.base}/nat.cgi">${inputs}<button>Win</button></form><a href="${link}">Win</a>`));
    await new Promise((listening) => stranger.listen(0, "127.0.0.1", listening));
    isAttack = true;
    for (const bait of ["button", "a"]) {
      await page.goto(`http://127.0.0.1:${stranger.address().port}/`);
      const [answer] = await Promise.all([page.waitForResponse(/nat\.cgi/), page.locator(bait).click()]);
      assert.equal(answer.status(), 403, bait);
    }
    isAttack = false;
    stranger.close();
    assert.equal(box.file(RECORD), before);
  });

  test("what is stored is shown as typed and runs nothing", async () => {
    await open("nat_vs");
    await set("vs_ud2_name", HOSTILE.slice(0, 14));
    await save("nat_vs");
    await show("wan_ppp");
    await setAll({ ppp_ac_name: HOSTILE, ppp_ac_pwd: "pw", ppp_ac_pwd_v: "pw", service_name: UNQUOTED });
    await save("wan_ppp");
    await show("sp_port");
    await set("nat_init_string", UNQUOTED);
    await save("sp_port");
    await show("sp_int");
    await setAll({ nat_ac_name: HOSTILE, nat_ac_pwd: "pw", nat_ac_pwd_v: "pw", nat_tel01: "555" });
    const asked = await save("sp_int");
    assert.ok(asked.includes(`to ${HOSTILE}`));
    box.write(RECORD, box.file(RECORD).replace(/^(Phone[12]=).*$/gm, (_, key) => key + HOSTILE));
    for (const name of ["sites_allow", "sites_ban"]) {
      box.write(`/usr/local/squid/etc/${name === "sites_ban" ? "deny" : "access"}.list`, `${HOSTILE}\n`);
    }
    await show("nat_sap");
    const add = page.locator("#add");
    await add.locator("[name=v_nat_sap_name]").fill(HOSTILE);
    await add.locator("[name=v_nat_sapin_pr_list]").selectOption("TCP");
    await add.locator("[name=v_nat_sapin_port01]").fill("7000");
    await send(button("Add", add));
    box.write("/etc/ppp/modem.ini", `[${HOSTILE}]\nInitString=AT${HOSTILE}\n\n`);
    box.write("/usr/local/squid/logs/access.log", `12:00 ${HOSTILE} ${HOSTILE}\n`);
    for (const log of ["ppp0.log", "pppd.log"]) box.write(`/var/log/${log}`, `${HOSTILE}\n`);
    box.write("/etc/CGI_qs.conf", box.file("/etc/CGI_qs.conf").replace("quillstead", HOSTILE));
    const holds = { nat_sap: 1, wan_dc: 1, wan_ppp: 1, sp_base: 3, sp_int: 3, sp_port: 2, sp_status: 2, ppp_status: 1, sites_allow: 1, sites_ban: 1, filterlog: 1 };
    for (const name of PAGES) {
      await show(name);
      const found = await page.evaluate((text) => {
        const values = [...document.querySelectorAll("input")].map((each) => each.value);
        const texts = document.querySelector("main").textContent.split(text).length - 1;
        return { texts: texts + values.filter((each) => each.includes(text)).length, ran: window.ran };
      }, HOSTILE);
      assert.equal(found.ran, undefined, name);
      assert.ok(found.texts >= (holds[name] ?? 0), `${name}: ${found.texts}`);
    }
    for (const [name, key, text] of [["nat_vs", "vs_ud2_name", HOSTILE.slice(0, 14)], ["wan_ppp", "service_name", UNQUOTED], ["sp_port", "nat_init_string", UNQUOTED]]) {
      await show(name);
      assert.equal(await value(key), text);
    }
  });

  test("the browser had nothing to complain about", () => assert.deepEqual(complaints, []));
});
