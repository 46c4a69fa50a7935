// The state of the connection, in the head of every page.
import { get, one, textOf } from "./page.js";
import { newest } from "./values.js";

const NOT_CONNECTED = "10.112.112.112"; // the address of a link that is not up
const STATE_SECONDS = 60;

export const watchers = []; // what else is to be told of the state: functions of the status page and the link
export const part = (name, page) => textOf(one(`[data-state=${name}]`, page));
export const isOwn = () => Boolean(part("method", document));

export function linkOf(page) {
  const [method, address] = [part("method", page), part("address", page)];
  const isUp = /^[1-9]/.test(address) && address !== NOT_CONNECTED;
  return { method, isUp, text: isUp ? `Connected: ${method}, ${address}` : "Not connected" };
}

// What was asked for a short while ago is not asked for again, unless something may have changed it.
export async function showState(isNew) {
  const known = JSON.parse(sessionStorage.getItem("link") ?? "{}");
  const isKnown = !isNew && !watchers.length && Date.now() - known.time < STATE_SECONDS * 1000;
  const status = isOwn() ? newest() : !isKnown && await get("nat_status.htm").catch(() => null);
  const link = status ? linkOf(status) : isKnown ? known : { text: "Connection: unknown" };
  if (status) sessionStorage.setItem("link", JSON.stringify({ ...link, time: Date.now() }));
  one("#state").dataset.up = link.isUp ?? "";
  one("#state").textContent = link.text;
  if (status) for (const watch of watchers) await watch(status, link);
}

export const settled = showState;
setInterval(() => document.hidden || showState(true), STATE_SECONDS * 1000);
