import { house } from "./house.mjs";
const jobs = {
  a: ["direct, fixed", async (p) => { await p.go("nat_base"); await p.click("#now a:text('Direct connection')"); await p.choose("isp_ip_type", "fixed"); for (const [b, t] of [["nat_isp_ip0", "203.0.113.10"], ["nat_isp_mask0", "255.255.255.0"], ["nat_isp_gw0", "203.0.113.1"]]) await p.octets(b, t); await p.click("#wan_dc .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see("#now", /Connected: Direct connection, 203/); }],
  b: ["PPPoE", async (p) => { await p.go("nat_base"); await p.click(".menu a:text-is('PPPoE')"); await p.type("ppp_ac_name", "joe"); await p.type("ppp_ac_pwd", "x"); await p.type("ppp_ac_pwd_v", "x"); await p.click("#wan_ppp .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see("#now", /Waiting for traffic: PPPoE dials/); await p.click("#now button:text('Connect now')"); await p.see("#now", /Connected: PPPoE/); }],
  c: ["modem", async (p) => { await p.go("nat_base"); await p.click(".menu a:text-is('Modem')"); await p.file("load_file", "/work/wt/interface/tests/data/tarnbrook.inf"); await p.click("#import button"); await p.see(".message[data-kind=good]", /imported/); await p.choose("nat_modem_list", { index: 7 }); await p.click("#sp_port .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see(".message[data-kind=good]", /Saved/); await p.click(".menu a:text-is('Provider')"); await p.type("nat_ac_name", "joe"); await p.type("nat_tel01", "5550100"); await p.click("#sp_int .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see("#now", /Waiting for traffic: the modem dials/); await p.click("#now button:text('Dial now')"); await p.see("#now", /Connected: Modem/); }],
  d: ["services, DMZ", async (p) => { await p.go("nat_conn"); await p.toggle("enable_telnet"); await p.toggle("enable_dmz"); await p.octets("dmz_ip_", "192.168.1.9"); await p.click("#nat_conn .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see(".message", /Saved/); }],
  e: ["publish a server", async (p) => { await p.go("nat_vs"); await p.toggle("vs_web_enable"); await p.octets("vs_web_", "192.168.1.5"); await p.click("#nat_vs .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see(".message", /Saved/); }],
  f: ["special application", async (p) => { await p.go("nat_sap"); await p.type("#add [name=v_nat_sap_name]", "Chess"); await p.choose("#add [name=v_nat_sapin_pr_list]", "UDP"); await p.type("#add [name=v_nat_sapin_port01]", "7000"); await p.see("#add [data-told]", /opens UDP 7000/); await p.click("#add button:text('Add')"); await p.see(".message[data-kind=good]", /Added/); }],
  g: ["filter by time", async (p) => { await p.go("nat_filter"); await p.choose("filter_when", "between"); await p.type("filter_starttime", "7"); await p.toggle("remove_js"); await p.click("#nat_filter .actions button >> nth=0"); await p.click("dialog button >> nth=0"); await p.see(".message", /Saved|stored/); }],
  h: ["import, log", async (p) => { await p.go("sites_ban"); await p.file("upload_file", "/tmp/bookmarks.html"); await p.click("#import button"); await p.see(".message", /Sites added to the list: 2|stored/); await p.click(".menu a:text-is('Filter log')"); await p.see("h1", /Filter log/); }],
  i: ["block a group", async (p) => { await p.go("ac_cfg"); await p.choose("group_name", "Group 1"); await p.see("main", /Ports of Group 1/); await p.choose("block_allow", "Block"); await p.click("#mode .buttons button >> nth=0"); await p.click("dialog button >> nth=0").catch(() => {}); await p.type("port_start", "80"); await p.click("#port button"); await p.see(".message", /Added/); await p.type("start_ip_4", "40"); await p.click("#host button"); await p.see(".message", /Added/); }],
  j: ["why down", async (p, box) => { await p.go("nat_status"); await p.click("#link .danger").catch(() => {}); await p.click("dialog button >> nth=0").catch(() => {}); p.reset(); box.write("/var/log/pppd.log", "line\n".repeat(400) + "PAP authentication failed\n"); await p.go("nat_base"); await p.see("#now", /The last attempt failed|Connected|switched off|No connection|Waiting/); console.log("      j says:", await p.text("#now p")); await p.click("#now a:text('Open the settings')").catch(() => {}); }],
};
import { writeFileSync } from "node:fs";
writeFileSync("/tmp/bookmarks.html", '<a href="http://one.example/x"><a href="http://two.example"><a href="https://three.example">');
const { default: _ } = { default: 0 };
const server = process.argv[2];
for (const width of [1280, 360]) {
const box = await house(server);
  const page = await (await box.context({ viewport: { width, height: 800 } })).newPage();
  page.setDefaultTimeout(9000);
  page.on("pageerror", (e) => console.log("ERR", e.message));
  for (const [letter, [title, job]] of Object.entries(jobs)) {
    let clicks = 0; const pages = new Set();
    page.on("dialog", (d) => d.accept().catch(() => {}));
    const loc = (n) => page.locator(/^[a-z_0-9]+$/.test(n) ? `main [name="${n}"]:not([type=hidden])` : n).first();
    const p = {
      go: async (n) => { await page.goto(box.view(`${n}.htm`)); await page.waitForSelector("main:is([data-ready],[data-shut])"); await page.waitForTimeout(400); pages.add(n); },
      click: async (s) => { const menu = /^\.menu/.test(s); if (menu && width < 832) { clicks++; await page.locator(".menu summary").click(); } const before = page.url(); clicks++; await page.locator(s).click(); await page.waitForTimeout(500); await page.waitForSelector("main:is([data-ready],[data-shut]), dialog[open]"); if (page.url() !== before) pages.add(page.url()); },
      choose: async (n, v) => { await page.waitForSelector("main:is([data-ready],[data-shut])"); clicks++; await loc(n).selectOption(v); await page.waitForTimeout(300); },
      toggle: async (n) => { clicks++; await loc(n).click(); },
      type: async (n, t) => { await page.waitForSelector("body:not([data-busy]) main:is([data-ready],[data-shut])"); await loc(n).fill(t); },
      octets: async (b, t) => { for (const [i, x] of t.split(".").entries()) await loc(b + (i + 1)).fill(x); },
      file: async (n, f) => { clicks++; await page.locator(`input[name=${n}]`).setInputFiles(f); },
      see: async (s, re) => { const end = Date.now() + 15000; for (;;) { const t = await page.locator(s).first().innerText({ timeout: 900 }).catch(() => ""); if (re.test(t)) return; if (Date.now() > end) throw new Error(`${s} ${re}: ${t}`); await page.waitForTimeout(150); } },
      reset: () => { clicks = 0; pages.clear(); }, text: async (s) => page.locator(s).innerText(),
    };
    try { await job(p, box); console.log(server, width, letter, title, "clicks", clicks, "pages", pages.size); } catch (e) { console.log(server, width, letter, title, "FAILED", String(e).split("\n")[0], await page.locator(".message").innerText().catch(() => "")); }
  }
  await page.context().close();
  await box.close();
}
