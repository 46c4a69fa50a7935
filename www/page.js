// What every page is made of: finding and making elements, asking the appliance, telling and asking the administrator.

const PATIENCE = 2000; // milliseconds after which a page says what it waits for
const UNKNOWN = "It is not known whether this was stored. Reload the page to see.";

export const all = (selector, root = document) => [...root.querySelectorAll(selector)];
export const one = (selector, root = document) => root.querySelector(selector);
export const main = one("main");
export const here = document.body.dataset.page;
export const source = main.dataset.source ?? here; // the page with the values in force
export const forms = () => all("form", main);
export const textOf = (element) => element?.textContent.trim() ?? "";
export const messageOf = (page) => textOf(one(".message", page));
export const isPage = (page, name) => page.body.dataset.page === name;
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

// The parts of an address, or of a time of day, become one field, which knows their names.
function join(page) {
  for (const group of all("[data-join]", page)) {
    const parts = all("input", group);
    const { type = "text", join: sign, digits } = group.dataset;
    const values = parts.map(({ value }) => value.padStart(digits, "0"));
    const field = make("input", { type, name: parts[0].name, inputmode: "decimal", required: parts[0].required,
      value: parts.some(({ value }) => value) && values.join(sign), "data-parts": parts.map(({ name }) => name).join(" ") });
    for (const { name, value } of group.attributes) if (name !== "role") field.setAttribute(name, value);
    group.replaceWith(field);
  }
  return page;
}
join(document);

// ---- asking the appliance ----

async function read(answer) {
  const page = join(new DOMParser().parseFromString(await answer.text(), "text/html"));
  if (answer.status === 401) throw new Error("The appliance asks for its password again. Reload the page.");
  if (!page.body.dataset.page)
    throw new Error(textOf(one("h2", page) ?? page.body).replace(/\s+/g, " "), { cause: answer.status });
  return page;
}

export const ask = (what) => fetch(view(what), { cache: "no-store" });
export const get = async (page) => read(await ask(page));

export async function post(data, isUpload) {
  const answer = await fetch("nat.cgi", { method: "POST", body: isUpload ? data : new URLSearchParams(data) })
    .catch(() => { throw new Error(`The appliance did not answer. ${UNKNOWN}`); });
  const { status, statusText } = answer;
  if (status >= 500 && status !== 503) throw new Error(`The server answered "${status} ${statusText}". ${UNKNOWN}`);
  return read(answer);
}

// ---- telling and asking ----

export function say(text, kind = "", ...buttons) {
  const line = one(".message", main);
  line.dataset.kind = kind;
  line.replaceChildren(text, ...buttons.flatMap((button) => [" ", button]));
}

// Returns the value of the answer that was chosen, or nothing. What destroys is not a mere press of the Enter key away.
export function choice(title, lists, answers, isGrave) {
  const told = make("div", { id: "told" });
  for (const [kind, texts] of Object.entries(lists))
    if (texts.length) told.append(make("ul", { class: kind }, ...texts.map((text) => make("li", {}, text))));
  const button = ([value, label], index) => make("button", {
    type: "button", class: !value ? "quiet" : isGrave ? "danger" : index ? "second" : "",
    autofocus: isGrave ? !value : !index, click: () => dialog.close(value),
  }, label);
  const dialog = make("dialog", { "aria-labelledby": "question", "aria-describedby": "told" },
    make("h2", { id: "question" }, title), told,
    make("div", { class: "buttons" }, ...[...answers, ["", "Cancel"]].map(button)));
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
export const isReady = () => "ready" in main.dataset;
export const lock = () => forms().forEach((form) => (form.inert = isBusy() || !isReady() || "locked" in form.dataset));

// Returns what puts the keyboard back to where it is now, in a list that was made anew, too.
function hand() {
  const at = document.activeElement;
  const id = at.form?.id;
  const isTwin = ({ name, type, value }) => name === at.name && type === at.type && (type !== "radio" || value === at.value);
  return () => {
    if (document.activeElement !== document.body) return;
    const target = at.isConnected ? at : id && all("button, input, select", document.getElementById(id)).find(isTwin);
    (target ?? main).focus({ preventScroll: true });
  };
}

// Says what is waited for when it takes long.
export async function patiently(text, work) {
  const slow = setTimeout(say, PATIENCE, text);
  try {
    return await work();
  } finally {
    clearTimeout(slow);
    if (messageOf(document) === text) say("");
  }
}

// While this is done, nothing else is. What the appliance was too busy for can be tried again.
export async function during(text, button, work) {
  const back = hand();
  const label = textOf(button);
  document.body.dataset.busy = "";
  button?.setAttribute("aria-busy", "true");
  lock();
  try {
    return await patiently(text, work);
  } catch ({ message, cause }) {
    say(message, "bad", ...(cause === 503 ? [step("Try again", () => during(text, button, work))] : []));
  } finally {
    delete document.body.dataset.busy;
    button?.removeAttribute("aria-busy");
    button?.replaceChildren(label);
    lock();
    back();
  }
}
