// The practice appliance behind a real web server, and an administrator with a browser before it.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { readFileSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { after, afterEach, beforeEach } from "node:test";
import { setTimeout } from "node:timers/promises";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const project = fileURLToPath(new URL("../..", import.meta.url));
const server = process.env.NAT_SERVER ?? "busybox";
const folder = `${project}build/browser/${server}`;
const root = `${folder}/root`;
const axe = readFileSync(fileURLToPath(import.meta.resolve("axe-core/axe.min.js")), "utf8");
const browser = await chromium.launch({ executablePath: "/usr/bin/chromium" });
after(() => browser.close());

export let page; // what the administrator looks at
let isScripted;
let complaints; // of the browser
let started; // processes of the appliance
let base; // its address

export const file = (path) => readFileSync(root + path, "utf8");
export const write = (path, text) => writeFileSync(root + path, text);
export const view = (name) => `${base}/nat.cgi?next_file=${name}`;

async function freePort() {
  const taken = createServer().listen(0, "127.0.0.1");
  await once(taken, "listening");
  const { port } = taken.address();
  await once(taken.close(), "close");
  return port;
}

// Starts a server, and waits until it answers at the port.
async function start(port, command, ...words) {
  const child = spawn(command, words, { stdio: ["ignore", "ignore", "inherit"] });
  started.push(child);
  const knock = () => fetch(`http://127.0.0.1:${port}/`, { redirect: "manual" });
  for (let tries = 0; !(await knock().then(() => true, () => false)); tries += 1) {
    assert.ok(tries < 400 && child.exitCode === null, `${command} does not answer`);
    await setTimeout(50);
  }
}

// Each test has an appliance of its own, with factory settings.
beforeEach(async () => {
  [complaints, started] = [[], []];
  const port = await freePort();
  const program = process.env.NAT_PROGRAM ?? `${project}build/nat.cgi`;
  await start(port, `${project}lab/appliance.sh`, "--port", port, "--reset", root, program,
    `${project}build/www`);
  base = `http://127.0.0.1:${port}`;
  if (server === "busybox") return;
  const [https, http] = [await freePort(), await freePort()];
  await start(http, `${project}tests/deploy/lighttpd.sh`, root, folder, "127.0.0.1", "127.0.0.0/8",
    https, http);
  base = `https://127.0.0.1:${https}`;
});

afterEach(async () => {
  for (const context of browser.contexts()) await context.close();
  for (const child of started.reverse())
    if (child.kill()) await once(child, "exit");
  // What a test does to the line is no fault; that something is missing, or breaks, is one.
  const isFault = /^(error|warning): (?!Failed to load)|status of (404|500)/;
  assert.deepEqual(complaints.filter((line) => isFault.test(line)), []);
});

export const TELEPHONE = { viewport: { width: 360, height: 740 } };
const httpCredentials = { username: "admin", password: "secret" };

// Opens a page in a window of its own, in front of the others.
export async function visit(name, options = {}) {
  isScripted = options.javaScriptEnabled !== false;
  page = await browser.newPage({ ignoreHTTPSErrors: true, httpCredentials, ...options });
  page.on("pageerror", (error) => complaints.push(`error: ${error}`));
  page.on("console", (line) => complaints.push(`${line.type()}: ${line.text()}`));
  await show(name);
}

export const turnTo = (other) => (page = other);
export const ready = () => page.waitForSelector(isScripted ? "main[data-ready]" : "main");

export async function show(name) {
  await page.goto(view(`${name}.htm`));
  await ready();
}

export const told = (text) => page.getByText(text).filter({ visible: true }).first().waitFor();
export const message = async () => (await page.locator(".message:visible").innerText()).trim();
export const field = (name, form = page) =>
  form.locator(`:is(input, select)[name="${name}"]:not([type=hidden])`);
export const value = (name, form) =>
  field(name, form).evaluate((each) => (each.type === "checkbox" ? each.checked : each.value));
export const button = (name) => page.getByRole("button", { name, exact: true });
export const yes = () => page.locator("dialog button").nth(-2); // before "Cancel"
export const saveOf = (form) => page.locator(`#${form} .actions button`).first();

// Nothing keeps anybody out, and nothing has to be scrolled sideways for.
export async function readsWell(name, options = {}) {
  await page.evaluate(axe);
  const { violations, passes } = await page.evaluate((only) => window.axe.run(only), options);
  assert.deepEqual(violations.map(({ id, nodes }) => [name, id, nodes[0].html]), []);
  assert.ok(passes.some(({ id }) => id === "color-contrast"), name);
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), name);
}

export async function enter(values, form = page) {
  for (const [name, to] of Object.entries(values)) {
    const each = field(name, form);
    const change = each.locator("xpath=ancestor::details[not(@open)]/summary");
    if (await change.count()) await change.click(); // the field stands behind "Change"
    if (typeof to === "boolean") await each.setChecked(to);
    else await (await each.locator("option").count() ? each.selectOption(to) : each.fill(to));
  }
}

// Each of these fills in the form of a button, and presses it.
async function press(each, values = {}) {
  await enter(values, each.locator("xpath=ancestor::form"));
  await each.click();
}

// One that sends something; waits for what comes of it.
export async function send(each, values) {
  const answer = page.waitForResponse((response) => response.request().method() === "POST");
  await press(each, values);
  await answer;
  await page.waitForLoadState();
  if (isScripted) await page.locator("body:not([data-busy]):has(main[data-ready])").waitFor();
}

// One after which the page asks; returns what it asks.
export async function ask(each, values) {
  await press(each, values);
  await page.locator("dialog").waitFor();
  return (await page.locator("dialog :is(h2, li)").allInnerTexts()).join("\n");
}

export async function agree(each, values) {
  const asked = await ask(each, values);
  await send(yes());
  return asked;
}
export const save = (form, values) => agree(saveOf(form), values);

// One that is refused because of what was entered; returns what is said beside the fields.
export async function mistakes(each, values) {
  await press(each, values);
  assert.equal(await page.locator("dialog[open]").count(), 0);
  return (await page.locator(".error").allInnerTexts()).join("\n");
}

// Promises the next such request, which waits until it is told to continue.
export const hold = (requests) =>
  new Promise((resolve) => page.route(requests, resolve, { times: 1 }));
