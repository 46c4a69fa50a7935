// The state of the connection, and what is being changed, in the head of every page.
import { ask, get, isBusy, newest, one, textOf } from "./page.js";

const NOT_CONNECTED = "10.112.112.112"; // the address of a link that is not up
const MINUTE = 60000;

export const watchers = []; // what else is to be told of the state: functions of the status page and the link
export const part = (name, page) => textOf(one(`[data-state=${name}]`, page));
export const isOwn = () => part("method", document);

export function linkOf(page) {
  const [method, address] = [part("method", page), part("address", page)];
  const isUp = /^[1-9]/.test(address) && address !== NOT_CONNECTED;
  return { method, isUp, text: isUp ? `Connected: ${method}, ${address}` : "Not connected" };
}

// What was asked for a short while ago is not asked for again, unless something may have changed it.
export async function showState(isNew) {
  const known = JSON.parse(sessionStorage.getItem("link") ?? "{}");
  const isKnown = !isNew && !watchers.length && Date.now() - known.time < MINUTE;
  const status = isOwn() ? newest : !isKnown && await get("nat_status.htm").catch(() => null);
  const link = status ? linkOf(status) : isKnown ? known : { text: "Connection: unknown" };
  if (status) sessionStorage.setItem("link", JSON.stringify({ ...link, time: Date.now() }));
  one("#state").dataset.up = link.isUp ?? "";
  one("#state").textContent = link.text;
  if (status) for (const watch of watchers) await watch(status, link);
}

export const settled = showState;

// ---- what is being changed ----

const verbOf = (command) => (/stop|down|kill/.test(command) ? "Disconnecting" : /start|dial|up$/.test(command) ? "Connecting" : "Working");

// Says in every tab what the appliance is busy with, and beside the button that started it.
async function showBusy() {
  const { busy } = await ask("progress").then((answer) => answer.json()).catch(() => ({}));
  const line = one("#busy");
  const isOver = line.textContent && !busy;
  const doing = busy && `${busy.command ?? "files are written"}, ${busy.seconds} s`;
  line.textContent = busy ? `${busy.user || busy.address || "Somebody"} is making a change: ${doing}.` : "";
  if (busy?.command) one("button[aria-busy]")?.replaceChildren(`${verbOf(busy.command)}: ${doing}`);
  if (isOver) showState(true);
}

setInterval(() => document.hidden || showState(true) && showBusy(), MINUTE);
setInterval(() => document.hidden || (isBusy() || one("#busy").textContent) && showBusy(), 2000);
