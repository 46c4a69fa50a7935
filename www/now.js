// What the state of the connection means, and what can be done about it; what changes by itself is looked at again.
import { isUp, linkOf, showState, watchers } from "./link.js";
import { all, freshen, get, here, isBusy, isPage, main, one, textOf, view } from "./page.js";

const PATIENCE = 3; // looks at a link that is not up yet
const KINDS = { connected: "good", waiting: "good", out: "bad", failed: "bad" };
const now = one("#now");

// ---- the state in words ----

function showNow(page) {
  const { state, cause, method } = page;
  const name = isUp(page) && cause ? "out" : state;
  const text = isUp(page) ? `${linkOf(page)}. ${cause}`.trim() : cause;
  const line = one("p", now);
  if (line.textContent !== text) line.textContent = text; // else it would be read aloud again
  for (const each of all("[data-now]", now)) each.hidden = !each.dataset.now.split(" ").includes(name);
  const way = all("a", now).find((each) => textOf(each) === method);
  if (way) {
    one("#settings").href = way.href;
    for (const field of ["this_file", "todo"]) one("#connect").elements[field].value = way.dataset[field];
  }
  now.dataset.kind = KINDS[name] ?? "";
  now.hidden = false;
}

// ---- what became of a request ----

// A link takes a moment to come up.
async function onceUp(page) {
  let latest = page;
  for (let tries = 0; tries < PATIENCE && !isUp(latest); tries += 1) {
    await new Promise((resolve) => setTimeout(resolve, 2000));
    latest = await get(page.page);
  }
  return latest;
}

export async function outcome({ button, page, text, said }) {
  const { goal, empties, silent } = button.dataset;
  const later = goal === "up" ? await onceUp(page) : page;
  if (goal === "up") return { page: later, text: text || (isUp(later) ? `${linkOf(later)}.` : "Still not connected."), kind: isUp(later) ? "good" : "" };
  if (goal) return { text: text || (isUp(page) ? "Still connected." : "Disconnected."), kind: isUp(page) ? "bad" : "good" };
  if (silent === "") return { text, kind: "" };
  if (!empties) return null;
  const isEmpty = !page.lists[empties].length;
  return { text: text || (isEmpty ? said : "It could not be cleared."), kind: isEmpty ? "good" : "bad" };
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
    const fresh = await get(now ? "nat_status.htm" : here).catch(() => null);
    if (!fresh || isBusy()) return;
    if (!isPage(fresh, here)) return location.replace(view("nat_status.htm")); // another method is in force
    freshen(fresh);
    showState(fresh);
  }, main.dataset.refresh * 1000);
}

if (now) watchers.push(showNow);
