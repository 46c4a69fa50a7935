// Every page as an administrator meets it: seen, changed, refused, searched, attacked.
import assert from "node:assert/strict";
import { readFileSync, statSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { after, before, describe, test } from "node:test";
import { house } from "./house.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const www = new URL("../../build/www/", import.meta.url);
const PAGES = ["nat_base", "nat_conn", "nat_vs", "nat_sap", "nat_filter", "wan_dc", "wan_ppp", "sp_base", "sp_port", "sp_int",
  "dc_status", "ppp_status", "sp_status", "sites_allow", "sites_ban", "filterlog", "ac_cfg"];
const RECORD = "/etc/ppp/nat_ppp.con";
const FILTER = "/usr/local/squid/etc/filter.conf";
const HOSTILE = "\"><script>window.ran=1</script>&'";
const UNQUOTED = HOSTILE.replaceAll(/["']/g, ""); // for fields that hold no quotes

for (const server of process.env.NAT_SERVER?.split(" ") ?? ["busybox", "lighttpd"]) describe(server, { concurrency: false }, () => {
  let box;
  let page;
  let scripted;
  let isAttack = false; // then a refusal is no fault
  const complaints = [];

  async function open(name, options = {}) {
    await page?.context().close();
    page = await (await box.context(options)).newPage();
    scripted = options.javaScriptEnabled !== false;
    page.setDefaultTimeout(10000);
    page.on("console", (line) => ["error", "warning"].includes(line.type()) && !/^Failed to load/.test(line.text()) && complaints.push(line.text()));
    page.on("response", (each) => each.status() >= 400 && !isAttack && complaints.push(`${each.status()} ${each.url()}`));
    page.on("pageerror", (error) => complaints.push(String(error)));
    await show(name);
    return page;
  }
  async function show(name) {
    const answer = await page.goto(box.view(`${name}.htm`));
    if (scripted) await page.waitForSelector("main[data-ready]");
    return answer;
  }
  const field = (name) => page.locator(`main :is(input, select)[name="${name}"]:not([type=hidden])`);
  const message = () => page.locator(".message").innerText();
  const value = (name) => field(name).evaluate((each) => (each.type === "checkbox" ? each.checked : each.value));

  async function set(name, to) {
    const each = field(name);
    if (typeof to === "boolean") await each.setChecked(to);
    else if (await each.evaluate(({ tagName }) => tagName === "SELECT")) await each.selectOption(to);
    else await each.fill(to);
  }
  async function setAll(values) {
    for (const [name, to] of Object.entries(values)) await set(name, to);
  }
  const address = (names, text) => Object.fromEntries(text.split(".").map((part, index) => [names(index + 1), part]));

  // Presses a button that sends something, and waits for what comes of it.
  async function send(button) {
    const answer = page.waitForResponse((each) => each.request().method() === "POST");
    await button.click();
    await answer;
    await page.waitForLoadState();
    await page.locator("body:not([data-busy])").waitFor();
  }
  const button = (name, form = page) => form.getByRole("button", { name, exact: true });
  const saveOf = (form) => page.locator(`form:has(input[value="${form}.htm"]) .actions button`).first();

  // The same for a button after which the page asks; returns what it asks.
  async function press(each, { agree = true } = {}) {
    await each.click();
    const dialog = page.locator("dialog");
    const asked = (await dialog.locator("h2, li").allInnerTexts()).join("\n");
    if (agree) await send(dialog.locator("button").first());
    else await button("Go back", dialog).click();
    return asked;
  }
  const save = (form, options) => press(saveOf(form), options);

  before(async () => { box = await house(server); });
  after(async () => { await page?.context().close(); await box.close(); });

  test("every page opens, is light, fits a telephone, and reads well in light and dark", async () => {
    const [style, script] = ["style.css", "script.js"].map((name) => statSync(new URL(name, www)).size);
    await open("nat_base", { viewport: { width: 360, height: 740 } });
    for (const name of ["nat_fs", "sp_fs"]) { // where the program's page for an unknown page leads
      await page.goto(`${box.base}/${name}.htm`);
      await page.locator("main a").click();
      await page.waitForSelector("main[data-ready] form");
    }
    for (const colorScheme of ["light", "dark"]) {
      await page.emulateMedia({ colorScheme });
      for (const name of PAGES) {
        const answer = await show(name);
        assert.ok((await answer.body()).length + style + script < 60000, name);
        assert.equal(await page.evaluate(() => document.body.dataset.page), `${name}.htm`);
        assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${name} overflows`);
        await page.locator(".menu summary").click();
        await page.evaluate(axe);
        const { violations, passes } = await page.evaluate((only) => window.axe.run(document, only),
          colorScheme === "dark" ? { runOnly: ["color-contrast"] } : {});
        const serious = violations.filter(({ impact }) => ["serious", "critical"].includes(impact));
        assert.deepEqual(serious.map(({ id, nodes }) => [name, id, nodes[0].html]), []);
        assert.ok(passes.some(({ id }) => id === "color-contrast"), name);
      }
    }
  });

  // Changes as a person makes them; what the page asks before it saves; where they end up; a mistake and its text;
  // and what has to be in the way for the appliance to refuse them.
  const dmz = (text) => address((part) => `dmz_ip_${part}`, text);
  const isp = (text) => address((part) => `nat_isp_ip0${part}`, text);
  const SETTINGS = [
    { name: "nat_conn", changes: { enable_telnet: false, enable_dmz: true, ...dmz("192.168.1.9") },
      asked: ["Telnet: on to off", "DMZ host: off to 192.168.1.9"], stored: [[RECORD, /^DMZ_IP=192\.168\.1\.9$/m], [RECORD, /^SrvTelNet=0$/m]],
      mistakes: [["dmz_ip_4", "999", "Enter a number from 0 to 255."]], gone: RECORD },
    { name: "nat_vs", changes: { vs_web_enable: true, ...address((part) => `vs_web_${part}`, "192.168.1.5"), vs_ud1_name: "Game" },
      asked: ["Web: off to 192.168.1.5, port 80", "Server 1: off (no address, port 0) to off (Game, no address, port 0)"],
      stored: [[RECORD, /^WebIP=192\.168\.1\.5$/m], [RECORD, /^UD1_Name=Game$/m]],
      mistakes: [["vs_web_portno", "65536", "Enter a whole number from 0 to 65535."]], gone: RECORD },
    { name: "nat_filter", changes: { filter_when: "between", filter_daystart: "Tuesday", filter_starttime: "7", remove_js: true },
      asked: ["Filter: never to between the times below", "From: Monday, 08:00 to Tuesday, 7:00", "JavaScript: off to on",
        "Beside a DMZ host the filter may not work: keep only one on."],
      stored: [[FILTER, /^filter_from Tuesday 7 0$/m], [FILTER, /^block_script on$/m]], shown: { filter_starttime: "07" }, said: /web proxy is not running/,
      mistakes: [["finish_min", "60", "Enter a whole number from 0 to 59."]], gone: FILTER },
    { name: "wan_dc", changes: { isp_ip_type: "fixed", ...isp("192.0.2.10"), ...address((part) => `nat_isp_mask0${part}`, "255.255.255.0"), device_name: "my-pc" },
      asked: ["Address: dynamic: by DHCP to fixed", "IP address: no address to 192.0.2.10", "Device name: empty to my-pc"],
      stored: [["/etc/sysconfig/network-scripts/ifcfg-eth0", /^IPADDR=192\.0\.2\.10$/m]],
      mistakes: [["nat_isp_ip03", "", "Enter all four parts of the address."]] },
    { name: "wan_ppp", changes: { ppp_ac_name: "joe \"#1\"@isp", ppp_ac_pwd: "a'b\\c d", ppp_ac_pwd_v: "a'b\\c d", ppp_idle_time: "12" },
      asked: ["User name: empty to joe \"#1\"@isp", "Password: changed", "Idle time, minutes: 5 to 12"],
      stored: [["/etc/ppp/pap-secrets", /joe/]], mistakes: [["ppp_ac_pwd_v", "another", "The two passwords are not the same."],
        ["service_name", "a b", "Enter a name without blanks and double quotes."],
        ["isp_ip_type", "fixed", "Enter all four parts of the address."]] },
    { name: "sp_port", changes: { nat_modem_list: "56k V.92 Fax Voice", nat_serspeed_list: "57600" }, shown: { nat_init_string: "AT&F&C1&D2\\N3%C3" },
      asked: ["Modem: _Standard Modem to 56k V.92 Fax Voice", "Init string: AT&F to AT&F&C1&D2\\N3%C3"],
      stored: [[RECORD, /^Modem=56k V\.92 Fax Voice$/m], ["/etc/diald.conf", /^speed 57600$/m]], gone: RECORD },
    { name: "sp_int", changes: { nat_ac_name: "jane", nat_ac_pwd: "secret", nat_ac_pwd_v: "secret", nat_tel01: "555 0100", nat_idle_time: "9" },
      asked: ["User name: empty to jane", "Telephone number: empty to 555 0100"],
      stored: [[RECORD, /^User=jane$/m], ["/etc/ppp/tel", /555 0100/]], mistakes: [["nat_tel01", "", "Fill this in."],
        ["nat_tel01", "5;5", "Enter a number without any of ; $ & | < > ( ) ' \" \\ `."],
        ["nat_ac_pwd", "@x", "Enter a password that does not begin with @."]], gone: RECORD },
    { name: "nat_base", form: "nat_vs", changes: { vs_ftp_enable: true, ...address((part) => `vs_ftp_${part}`, "192.168.1.6") },
      asked: ["FTP: off to 192.168.1.6, control port 21, data port 20", "Beside a DMZ host, passive FTP transfers may go to that host and fail."],
      stored: [[RECORD, /^FtpIP=192\.168\.1\.6$/m]],
      mistakes: [["vs_ftp_portno_data", "80", "Port 80 is taken by Web"]] },
    { name: "sp_base", form: "sp_int", changes: { nat_isp_ip_radio: "fixed", ...isp("203.0.113.5"), nat_tel02: "555 0101" },
      asked: ["IP address: 10.0.0.1 to 203.0.113.5", "Second number: empty to 555 0101"],
      stored: [[RECORD, /^IP=203\.0\.113\.5$/m]], mistakes: [["nat_isp_ip01", "300", "Enter a number from 0 to 255."]] },
  ];

  test("what is changed is told, stored and shown; mistakes and refusals lose nothing", async () => {
    await open("nat_base");
    for (const { name, form = name, changes, asked, said = /^Saved\.$/, stored, shown = {}, mistakes = [], gone } of SETTINGS) {
      await show(name);
      await setAll(changes);
      const typed = { ...changes, ...shown };
      for (const [wrong, to, text] of mistakes) {
        const right = await value(wrong);
        await set(wrong, to);
        await saveOf(form).click();
        assert.ok((await page.locator(".error").first().innerText()).includes(text), `${name}: ${text}`);
        assert.equal(await page.locator("dialog").count(), 0, name);
        await set(wrong, right);
      }
      if (gone) {
        const content = box.file(gone);
        box.replaceByFolder(gone);
        await save(form);
        assert.match(await message(), /cannot be read/, name);
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

  test("what takes the link down is told, what is not saved is not lost, nothing is sent twice", async () => {
    await open("nat_conn");
    await set("access_method", "WAN Port - PPPoE");
    await set("internet_access", true);
    await save("nat_conn");
    const told = { internet_access: [false, "Switching internet access off takes the connection down."],
      access_method: ["Serial Port", "Another access method takes the connection down and starts it anew."] };
    for (const [key, [to, text]] of Object.entries(told)) {
      await show("nat_conn");
      await set(key, to);
      assert.ok((await save("nat_conn", { agree: false })).includes(text));
      await button("Undo changes").click();
      assert.deepEqual([await value("internet_access"), await value("access_method")], [true, "WAN Port - PPPoE"]);
    }
    await set("enable_ftp", false);
    const leaving = page.waitForEvent("dialog");
    const left = page.goto(box.view("nat_base.htm")).catch(() => "stayed");
    await (await leaving).dismiss();
    assert.equal(await left, "stayed");
    assert.equal(await value("enable_ftp"), false);

    await show("nat_base");
    const host = () => Promise.all([1, 2, 3, 4].map((part) => value(`dmz_ip_${part}`)));
    await field("dmz_ip_1").selectText();
    await page.keyboard.type("10.2.3.44");
    assert.equal((await host()).join("."), "10.2.3.44");
    await field("dmz_ip_1").evaluate((each) => {
      const clipboardData = new DataTransfer();
      clipboardData.setData("text", " 192.168.1.77\n");
      each.dispatchEvent(new ClipboardEvent("paste", { clipboardData, bubbles: true, cancelable: true }));
    });
    assert.equal((await host()).join("."), "192.168.1.77");
    const lost = "Changes in other sections of this page are not saved with it and will be lost.";
    assert.ok((await save("nat_filter", { agree: false })).includes(lost));
    page.once("dialog", (dialog) => dialog.accept());
    await show("nat_conn");
    await set("enable_ftp", false);
    let sent = 0;
    await page.route("**/nat.cgi", async (route) => { sent += 1; await new Promise((go) => setTimeout(go, 300)); await route.continue(); });
    const saved = save("nat_conn");
    await page.waitForSelector("button[aria-busy=true]:disabled");
    await saveOf("nat_conn").evaluate((each) => { each.disabled = false; each.form.requestSubmit(each); });
    assert.equal(await page.locator("dialog").count(), 0);
    await saved;
    assert.equal(sent, 1);
    assert.match(box.file(RECORD), /^SrvFTP=0$/m);
    await page.unroute("**/nat.cgi");

    await page.route("**/*next_file=nat_base.htm", (route) => route.abort());
    await save("nat_conn");
    assert.match(await message(), /could not be fetched/);
  });

  test("the status buttons, and the state in the head of every page", async () => {
    await open("nat_base");
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
      for (const [seconds, isHidden] of [[61, false], [200, true]]) {
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

    await show("nat_conn");
    await set("access_method", "Serial Port");
    await save("nat_conn");
    await show("nat_status");
    await send(button("Dial"));
    await state(/^Connected: Modem, \d/);
    await press(button("Hang up"));
    await state(/^Not connected$/);
  });

  test("lists: sites, log, applications, groups, uploads", async () => {
    await open("sites_ban");
    const sites = field("banned_list").locator("option");
    for (let number = 0; number < 9; number += 1) {
      await set("new_url", `Site${number}.example`);
      await send(button("Add the name"));
      assert.match(await message(), /^Done\.$|web proxy is not running/);
    }
    await set("new_url", "Site3.example");
    await send(button("Add the name"));
    assert.match(await message(), /on the list already/);
    assert.equal(await value("new_url"), "Site3.example");
    await page.getByRole("searchbox").fill("SITE4");
    assert.deepEqual(await sites.allInnerTexts(), ["Site4.example"]);
    await field("banned_list").selectOption("Site4.example");
    await page.getByRole("searchbox").fill("");
    assert.equal(await press(button("Delete the chosen ones")), "Delete the chosen sites from the list?");
    const list = "/usr/local/squid/etc/deny.list";
    assert.ok(!box.file(list).includes("Site4") && box.file(list).includes("Site5"));
    await page.locator("input[name=upload_file]").setInputFiles({ name: "b.html", mimeType: "text/html", buffer: Buffer.from("<a href=\"http://imported.example/x\">") });
    await send(button("Import"));
    assert.match(await message(), /Sites added to the list: 1\./);
    await press(button("Delete all"), { agree: false });
    assert.match(box.file(list), /imported\.example/);
    await press(button("Delete all"));
    assert.equal(box.file(list), "");

    await show("filterlog");
    await press(button("Clear log"));
    assert.equal(box.file("/usr/local/squid/logs/access.log"), "");

    await show("sp_port");
    await page.locator("input[name=load_file]").setInputFiles(new URL("../data/tarnbrook.inf", import.meta.url).pathname);
    await send(button("Import"));
    assert.match(await message(), /was imported/);
    assert.match(await field("nat_modem_list").innerText(), /Tarnbrook/);

    await show("nat_sap");
    const firewall = () => box.file("/etc/rc.d/rc.firewall");
    const add = page.locator("form", { hasText: "Add an application" });
    const chosen = page.locator("form", { hasText: "Change the chosen application" });
    await add.locator("[name=v_nat_sap_name]").fill("Chess");
    await add.locator("[name=v_nat_sapin_port01]").fill("7000");
    await send(button("Add", add));
    assert.match(firewall(), /#@Chess\n ipchains -A input .* 7000:7000\n/);
    await add.locator("[name=v_nat_sap_name]").fill("Chess");
    await send(button("Add", add));
    assert.match(await message(), /already an application of this name/);
    assert.equal(await add.locator("[name=v_nat_sap_name]").inputValue(), "Chess");
    await chosen.getByLabel("Chess").check();
    assert.equal(await chosen.locator("[name=v_nat_sapin_port02]").inputValue(), "7000");
    await chosen.locator("[name=v_nat_sap_enable]").uncheck();
    await send(button("Update", chosen));
    assert.match(firewall(), /#@Chess\n#ipchains/);
    await chosen.getByLabel("Chess").check();
    await press(button("Delete", chosen));
    assert.ok(!firewall().includes("Chess"));

    await show("ac_cfg");
    await set("group_name", "Group 2");
    await send(button("Show"));
    await set("port_start", "21");
    await set("port_finish", "20");
    await button("Add ports").click();
    assert.equal(await page.locator(".error").innerText(), "The last of a range cannot come before the first.");
    await set("port_finish", "25");
    await send(button("Add ports"));
    assert.deepEqual([await value("port_start"), await value("port_finish")], ["", ""]);
    await set("start_ip_4", "40");
    await send(button("Add hosts"));
    assert.match(box.file("/etc/CGI_qs.conf"), /^G2P=.,21-25\nG2A=192\.168\.1\.40$/m);
    assert.deepEqual([await value("group_name"), await field("port_list").innerText()], ["Group 2", "21-25"]);
  });

  test("the overviews without scripts", async () => {
    await open("nat_base", { javaScriptEnabled: false });
    await setAll({ enable_email: false, ...dmz("192.168.1.19") });
    await send(saveOf("nat_conn"));
    assert.deepEqual([await value("enable_email"), await value("dmz_ip_4")], [false, "19"]);
    await setAll({ vs_pop3_enable: true, ...address((part) => `vs_pop3_${part}`, "192.168.1.7") });
    await send(saveOf("nat_vs"));
    await setAll({ filter_when: "always", enable_filter_log: false });
    await send(saveOf("nat_filter"));
    assert.match(await message(), /web filter is now on while the DMZ host is on/);
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
      const [answer] = await Promise.all([page.waitForEvent("response"), page.locator(bait).click()]);
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
    await setAll({ ppp_ac_name: HOSTILE, ppp_ac_pwd: HOSTILE, ppp_ac_pwd_v: HOSTILE, service_name: UNQUOTED });
    await save("wan_ppp");
    await show("sp_port");
    await set("nat_init_string", UNQUOTED);
    await save("sp_port");
    await show("sp_int");
    await setAll({ nat_ac_name: HOSTILE, nat_ac_pwd: HOSTILE, nat_ac_pwd_v: HOSTILE, nat_tel01: "555" });
    const asked = await save("sp_int");
    assert.ok(asked.includes(`to ${HOSTILE}`));
    box.write(RECORD, box.file(RECORD).replace(/^(Phone[12]=).*$/gm, (_, key) => key + HOSTILE));
    for (const name of ["sites_allow", "sites_ban"]) {
      await show(name);
      await set("new_url", HOSTILE);
      await send(button("Add the name"));
    }
    await show("nat_sap");
    const add = page.locator("form", { hasText: "Add an application" });
    await add.locator("[name=v_nat_sap_name]").fill(HOSTILE);
    await send(button("Add", add));
    box.write("/etc/ppp/modem.ini", `[${HOSTILE}]\nInitString=AT${HOSTILE}\n\n`);
    box.write("/usr/local/squid/logs/access.log", `12:00 ${HOSTILE} ${HOSTILE}\n`);
    for (const log of ["ppp0.log", "pppd.log"]) box.write(`/var/log/${log}`, `${HOSTILE}\n`);
    box.write("/etc/CGI_qs.conf", box.file("/etc/CGI_qs.conf").replace("quillstead", HOSTILE));
    const holds = { nat_sap: 1, wan_dc: 1, wan_ppp: 3, sp_base: 5, sp_int: 5, sp_port: 2, sp_status: 2, ppp_status: 1, sites_allow: 1, sites_ban: 1, filterlog: 1 };
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
