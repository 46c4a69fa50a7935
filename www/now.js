// What the state of the connection means, and what can be done about it; what changes by itself is looked at again.
import { isOwn, linkOf, part, showState, watchers } from "./link.js";
import { all, ask, freshen, get, here, isBusy, isPage, main, newest, one, textOf, valueIn, view } from "./page.js";

const PATIENCE = 3; // looks at a link that is not up yet
const FAILURE = /fail|error|no (carrier|answer|dial)|busy|timed? ?out|refused|denied/i;
const now = one("#now");

// ---- the state in words ----

async function showNow(status, link) {
  const base = isPage(newest, "nat_base.htm") ? newest : await get("nat_base.htm").catch(() => null);
  if (!base) return;
  const way = all("[data-method]", now).find(({ dataset }) => dataset.method === valueIn(base, "access_method"));
  const [name, word] = await caseOf(status, base, link, textOf(way));
  for (const each of all("[data-now]", now)) each.hidden = !each.dataset.now.split(" ").includes(name);
  for (const each of all("p:not([hidden]) b", now)) if (each.textContent !== word) each.textContent = word;
  one("#settings").href = way.href;
  for (const field of ["this_file", "todo"]) one("#connect").elements[field].value = way.dataset[field];
  now.dataset.kind = one("p:not([hidden])", now).dataset.kind ?? "";
  now.hidden = false;
}

const valueOn = (page, name) => get(page).then((there) => valueIn(there, name), () => "unknown");

// While internet access is off, the status is that of no method: the settings tell which one is meant.
async function caseOf(status, base, { isUp, text }, method) {
  if (isUp) return [one("[data-state=gateway]", status) && !part("gateway", status) ? "out" : "up", text];
  if (method === "Modem" && !(await valueOn("sp_base.htm", "nat_tel01"))) return ["new"];
  if (valueIn(base, "internet_access") !== "checked") return ["off", method];
  if (method === "Direct connection") return [part("dhcp", status) === "yes" ? "dhcp" : "bare"];
  const end = await endOfLog(status);
  if (FAILURE.test(end)) return ["failed", end];
  if (method === "PPPoE" && await valueOn("wan_ppp.htm", "ppp_idle_time") === "0") return ["down"];
  return ["waiting", method];
}

// ---- what became of a request ----

// A link takes a moment to come up.
async function onceUp(page) {
  let latest = page;
  for (let tries = 0; tries < PATIENCE && !linkOf(latest).isUp; tries += 1) {
    await new Promise((resolve) => setTimeout(resolve, 2000));
    latest = await get(page.body.dataset.page);
  }
  return latest;
}

export async function outcome({ button, page, text, said }) {
  const { goal, empties, silent } = button.dataset;
  const later = goal === "up" ? await onceUp(page) : page;
  const { isUp, text: state } = linkOf(later);
  if (goal === "up") return { page: later, text: text || (isUp ? `${state}.` : "Still not connected."), kind: isUp ? "good" : "" };
  if (goal) return { text: text || (isUp ? "Still connected." : "Disconnected."), kind: isUp ? "bad" : "good" };
  if (silent === "") return { text, kind: "" };
  if (!empties) return null;
  const isEmpty = !textOf(one(`#${empties}`, page));
  return { text: text || (isEmpty ? said : "It could not be cleared."), kind: isEmpty ? "good" : "bad" };
}

// The end of a log that does not fit its room comes from the whole log.
async function endOfLog(status) {
  const whole = textOf(one("#cut", status)) && await ask("log&name=pppd").catch(() => null);
  const log = whole?.ok ? await whole.text() : textOf(one("#log", status));
  return log.trimEnd().split("\n").at(-1);
}

// ---- looking again ----

// Looks at the page again, while it is seen and nothing is being done on it.
export function prepare() {
  const box = one("#refresh");
  if (!box) return;
  box.checked = sessionStorage.getItem("refresh") !== "false";
  box.onchange = () => sessionStorage.setItem("refresh", box.checked);
  setInterval(async () => {
    if (!box.checked || document.hidden || isBusy() || one("dialog[open]")) return;
    const fresh = await get(isOwn() ? "nat_status.htm" : here).catch(() => null);
    if (!fresh || isBusy()) return;
    if (!isPage(fresh, here)) return location.replace(view("nat_status.htm")); // another method is in force
    freshen(fresh);
    showState();
  }, main.dataset.refresh * 1000);
}

if (now) watchers.push(showNow);
