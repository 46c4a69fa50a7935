// What every page is made of: finding and making elements, asking the appliance, telling and asking the administrator.

const PATIENCE = 2000; // milliseconds after which a page says what it waits for
const UNKNOWN = "It is not known whether this was stored. Reload the page to see.";

export const all = (selector, root = document) => [...root.querySelectorAll(selector)];
export const one = (selector, root = document) => root.querySelector(selector);
export const main = () => one("main");
export const forms = () => all("form", main());
export const nameOf = (page) => page.body.dataset.page;
export const textOf = (element) => element?.textContent.trim() ?? "";
export const messageOf = (page) => textOf(one(".message", page));
export const view = (page) => `nat.cgi?next_file=${page}`;

export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") element.addEventListener(name, value);
    else if (value !== false) element.setAttribute(name, value === true ? "" : value);
  }
  element.append(...children);
  return element;
}
export const step = (label, work) => make("button", { type: "button", class: "second", click: work }, label);

// ---- asking the appliance ----

async function read(answer) {
  const page = new DOMParser().parseFromString(await answer.text(), "text/html");
  if (answer.status === 401) throw new Error("The appliance asks for its password again. Reload the page.");
  if (!nameOf(page)) throw new Error(textOf(page.body).replace(/\s+/g, " "));
  return page;
}

export const get = async (page) => read(await fetch(view(page), { cache: "no-store" }));

export async function post(data) {
  const isUpload = data instanceof FormData && [...data.values()].some((value) => value instanceof File);
  const answer = await fetch("nat.cgi", { method: "POST", body: isUpload ? data : new URLSearchParams(data) })
    .catch(() => { throw new Error(`The appliance did not answer. ${UNKNOWN}`); });
  if (answer.status >= 500) throw new Error(`The server answered "${answer.status} ${answer.statusText}". ${UNKNOWN}`);
  return read(answer);
}

// The page with the values in force. Where a page shows one of several groups, it is asked for that group.
const chooser = () => one("[data-shows]", main());
const shown = () => one("select", chooser());
export const choose = (value) => post({ this_file: nameOf(document), todo: "select", [shown().name]: value });
export const sourceName = () => main().dataset.source ?? nameOf(document);
export const inForce = () => (chooser() ? choose(chooser().dataset.shows) : get(sourceName()));
export const wanted = () => chooser() && new URLSearchParams(location.search).get(shown().name);

// ---- telling and asking ----

export function say(text, kind = "", ...buttons) {
  const line = one(".message", main());
  line.dataset.kind = kind;
  line.replaceChildren(text, ...buttons);
}

// Returns the value of the answer that was chosen, or nothing. What destroys is not a mere press of the Enter key away.
export function ask(title, lists, answers, isGrave = false) {
  const told = make("div", { id: "told" });
  for (const [kind, texts] of Object.entries(lists))
    if (texts.length) told.append(make("ul", { class: kind }, ...texts.map((text) => make("li", {}, text))));
  const dialog = make("dialog", { "aria-labelledby": "question", "aria-describedby": "told" },
    make("h2", { id: "question" }, title), told);
  const button = ([value, label], index) => make("button", {
    type: "button", class: !value ? "quiet" : isGrave ? "danger" : index ? "second" : "",
    autofocus: isGrave ? !value : !index, click: () => dialog.close(value),
  }, label);
  dialog.append(make("div", { class: "buttons" }, ...[...answers, ["", "Cancel"]].map(button)));
  document.body.append(dialog);
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue);
    });
  });
}

// ---- waiting ----

export const isBusy = () => "busy" in document.body.dataset;
export const isReady = () => "ready" in main().dataset;
export const lock = () => forms().forEach((form) => (form.inert = isBusy() || !isReady() || "locked" in form.dataset));

// Returns what puts the keyboard back to where it is now, in a list that was made anew, too.
function hand() {
  const at = document.activeElement;
  const id = at.form?.id;
  const isTwin = (each) => ["name", "type", "textContent"].every((key) => each[key] === at[key]) &&
    (each.type !== "radio" || each.value === at.value);
  return () => {
    if (document.activeElement !== document.body) return;
    const target = at.isConnected ? at : id && all("button, input, select", document.getElementById(id)).find(isTwin);
    (target ?? main()).focus({ preventScroll: true });
  };
}

// Says what is waited for when it takes long, and what went wrong.
export async function patiently(text, work) {
  const slow = setTimeout(() => say(text), PATIENCE);
  try {
    return await work();
  } finally {
    clearTimeout(slow);
    if (textOf(one(".message", main())) === text) say("");
  }
}

// While this is done, nothing else is.
export async function during(text, button, work) {
  const back = hand();
  document.body.dataset.busy = "";
  button?.setAttribute("aria-busy", "true");
  lock();
  try {
    return await patiently(text, work);
  } catch (error) {
    say(error.message, "bad");
  } finally {
    delete document.body.dataset.busy;
    button?.removeAttribute("aria-busy");
    lock();
    back();
  }
}
