// What the state of the connection means, and what can be done about it; what changes by itself is looked at again.
import { ask, during, forms, get, here, isBusy, isPage, main, make, messageOf, one, post, say, source, step, textOf,
  view } from "./page.js";
import { isOwn, linkOf, part, showState, watchers } from "./link.js";
import { freshen, newest, valueIn } from "./values.js";

const PATIENCE = 3; // looks at a link that is not up yet
const FAILURE = /fail|error|no (carrier|answer|dial)|busy|time(d )?out|refused|denied/i;
const METHODS = {
  "Direct connection": { choice: "WAN Port - Direct Connection", settings: "wan_dc.htm", page: "dc_status.htm", todo: "dc_connect" },
  PPPoE: { choice: "WAN Port - PPPoE", settings: "wan_ppp.htm", page: "ppp_status.htm", todo: "ppp_connect" },
  Modem: { choice: "Serial Port", settings: "sp_base.htm", page: "sp_status.htm", todo: "nat_dial", label: "Dial now" },
};

// ---- the state in words ----

async function showNow(status, link) {
  const base = isPage(newest(), "nat_base.htm") ? newest() : await get("nat_base.htm").catch(() => null);
  if (!base) return;
  const { text, kind = "", steps = [] } = link.isUp ? upNow(status, link) : await downNow(status, base);
  const now = one("#now");
  now.dataset.kind = kind;
  if (textOf(one("p", now)) !== text) one("p", now).textContent = text;
  one(".buttons", now).replaceChildren(...steps);
  now.hidden = false;
}

const goTo = (label, page) => make("a", { class: "second", href: view(page) }, label);
const settingsOf = (method) => goTo("Open the settings", METHODS[method].settings);
const valueOn = (page, name) => get(page).then((there) => valueIn(there, name), () => "unknown");

function upNow(status, { method, text }) {
  if (!one("[data-state=gateway]", status) || part("gateway", status)) return { text: `${text}.`, kind: "good" };
  return { text: `${text}. There is no gateway, so the internet is out of reach.`, kind: "bad", steps: [settingsOf(method)] };
}

// While internet access is off, the status is that of no method: the settings tell which one is meant.
async function downNow(status, base) {
  const chosen = valueIn(base, "access_method");
  const method = Object.keys(METHODS).find((each) => METHODS[each].choice === chosen);
  const { page, todo, label = "Connect now" } = METHODS[method];
  const [change, connect] = [settingsOf(method), step(label, () => act({ this_file: page, todo }))];
  if (method === "Modem" && !(await valueOn("sp_base.htm", "nat_tel01")))
    return { text: "No connection is set up yet. How does this appliance reach the internet?",
      steps: Object.entries(METHODS).map(([name, { settings }]) => goTo(name, settings)) };
  if (valueIn(base, "internet_access") !== "checked")
    return { text: `Internet access is switched off. The method is ${method}.`, steps: [step("Switch internet access on",
      () => act({ this_file: "nat_conn.htm", todo: "save", next_file: "nat_base.htm", internet_access: "checked" })), change] };
  if (method === "Direct connection") {
    const text = part("dhcp", status) === "yes" ? "No address from DHCP. Check the cable of the WAN port." : "The WAN port has no address.";
    return { text, kind: "bad", steps: [connect, change] };
  }
  const end = await endOfLog(status);
  if (FAILURE.test(end)) return { text: `The last attempt failed. The log ends with: ${end}`, kind: "bad", steps: [change, connect] };
  if (method === "PPPoE" && await valueOn("wan_ppp.htm", "ppp_idle_time") === "0")
    return { text: "Not connected.", kind: "bad", steps: [connect, change] };
  return { text: `Waiting for traffic: ${method === "PPPoE" ? method : "the modem"} dials when somebody needs it.`, kind: "good", steps: [connect] };
}

// Does what a button beside the state offers. A status page acts while it is shown, so that it must be the answer.
const act = (fields) => during("This may take a minute.", null, async () => {
  const page = await post(fields);
  const isRefused = fields.next_file && !isPage(page, fields.next_file);
  say(messageOf(page), isRefused ? "bad" : "");
  if (isRefused) return;
  const later = fields.next_file ? page : await onceUp(page);
  freshen(isPage(page, here) ? later : await get(source));
  forms().forEach((form) => form.dispatchEvent(new Event("input")));
  await showState(true);
});

// ---- what became of a request ----

// A link takes a moment to come up.
async function onceUp(page) {
  let newest = page;
  for (let tries = 0; tries < PATIENCE && !linkOf(newest).isUp; tries += 1) {
    await new Promise((resolve) => setTimeout(resolve, 2000));
    newest = await get(page.body.dataset.page);
  }
  return newest;
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

// ---- logs ----

// The end of a log that does not fit its room comes from the whole log.
async function endOfLog(status) {
  const whole = textOf(one("#cut", status)) && await ask("log&name=pppd").catch(() => null);
  const log = whole?.ok ? await whole.text() : one("#log", status)?.textContent ?? "";
  return log.trimEnd().split("\n").at(-1);
}

// ---- looking again ----

// Looks at the page again, while it is seen and nothing is being done on it.
export function prepare() {
  const seconds = main.dataset.refresh;
  if (!seconds) return;
  const box = make("input", { type: "checkbox", checked: sessionStorage.getItem("refresh") !== "off",
    change: () => sessionStorage.setItem("refresh", box.checked ? "on" : "off") });
  one(".actions", main).append(make("label", { class: "count" }, box, ` Refresh every ${seconds} seconds`));
  setInterval(async () => {
    if (!box.checked || document.hidden || isBusy() || one("dialog")) return;
    const fresh = await get(isOwn() ? "nat_status.htm" : here).catch(() => null);
    if (!fresh || isBusy()) return;
    if (!isPage(fresh, here)) return location.replace(view("nat_status.htm")); // another method is in force
    freshen(fresh);
    showState();
  }, seconds * 1000);
}

if (one("#now")) watchers.push(showNow);
