// The state of the connection, and what is being changed, in the head of every page.
import { ask, get, isBusy, one } from "./page.js";

const MINUTE = 60000;

export const watchers = []; // what else is to be told of the state: functions of the answer that tells it
export const isUp = ({ state }) => state === "connected";
export const linkOf = (page) => (isUp(page) ? `Connected: ${page.method}, ${page.address}` : "Not connected");

// Not every answer tells the state.
export function showState(page) {
  if (!page.state) return;
  one("#state").dataset.up = isUp(page);
  one("#state").textContent = linkOf(page);
  watchers.forEach((watch) => watch(page));
}

export const settled = showState;

const lookAgain = () => get("nat_status.htm").then(showState, () => (one("#state").textContent = "Connection: unknown"));

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
  if (isOver) lookAgain();
}

setInterval(() => document.hidden || lookAgain() && showBusy(), MINUTE);
setInterval(() => document.hidden || (isBusy() || one("#busy").textContent) && showBusy(), 2000);
