// What every page is made of: finding and making elements, asking the appliance, telling and asking the administrator,
// waiting, the values in force and those in the fields, and how to say the difference in words.

const PATIENCE = 2000; // milliseconds after which a page says what it waits for
const UNKNOWN = "It is not known whether this was stored. Reload the page to see.";

export const all = (selector, root = document) => [...root.querySelectorAll(selector)];
export const one = (selector, root = document) => root.querySelector(selector);
export const main = one("main");
export const here = document.body.dataset.page;
export const source = main.dataset.source ?? here; // the page with the values in force
const origin = main.dataset.origin ?? here;
export const forms = () => all("form:not([data-plain])", main);
export const textOf = (element) => element?.textContent.trim() ?? "";
export const messageOf = (page) => textOf(one(".message", page));
export const isPage = (page, name) => page.body.dataset.page === name;
export const view = (page) => `nat.cgi?next_file=${page}`;

export function make(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}
export const step = (label, onclick) => make("button", { type: "button", className: "second", onclick }, label);

// The parts of an address, or of a time of day, become one field, which knows their names.
function join(page) {
  for (const group of all("[data-join]", page)) {
    const parts = all("input", group);
    const { type = "text", join: sign, digits } = group.dataset;
    const values = parts.map(({ value }) => value.padStart(digits, "0"));
    const [{ name, required }] = parts;
    const field = make("input", { type, name, required, inputMode: "decimal" });
    for (const { name: attribute, value } of group.attributes) field.setAttribute(attribute, value);
    field.removeAttribute("role");
    field.dataset.parts = parts.map((part) => part.name).join(" ");
    if (parts.some(({ value }) => value)) field.value = values.join(sign);
    group.replaceWith(field);
  }
  return page;
}
join(document);

// ---- asking the appliance ----

async function read(answer) {
  const page = join(new DOMParser().parseFromString(await answer.text(), "text/html"));
  if (answer.status === 401) throw new Error("The appliance asks for its password: reload the page.");
  if (!page.body.dataset.page)
    throw new Error(textOf(one("h2", page) ?? page.body).replace(/\s+/g, " "), { cause: answer.status });
  showWaiting(page);
  return page;
}

export const ask = (what) => fetch(view(what), { cache: "no-store" });
export const get = async (page) => read(await ask(page));
export const again = () => get(origin);
export const inForce = () => get(main.dataset.source ?? origin);

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
// `look` promises what the appliance would do, for those who open that part.
export function choice(title, answers, isGrave, look, changes = [], warnings = [], wish = "") {
  const dialog = one("dialog");
  one("h2", dialog).textContent = title;
  const items = (texts) => texts.map((text) => make("li", {}, text));
  all("ul", dialog).forEach((list, at) => list.replaceChildren(...items([changes, warnings][at])));
  one(".buttons", dialog).replaceChildren(...[...answers, ["", "Cancel"]].map(([value, label], at) => make("button",
    { value, className: !value ? "quiet" : isGrave ? "danger" : at ? "second" : "", autofocus: isGrave ? !value : !at }, label)));
  const ahead = one("details", dialog);
  const show = (...parts) => one("div", ahead).replaceChildren(...parts);
  ahead.open = false;
  const toggled = async () => {
    if (!ahead.open) return;
    show("Looking ahead.");
    const parts = await look().catch(({ message }) => [message]);
    if (ahead.ontoggle === toggled) show(...parts); // else another question is asked meanwhile
  };
  ahead.ontoggle = toggled;
  const home = wish.parentElement;
  one("#told", dialog).append(wish);
  dialog.returnValue = "";
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.onclose = () => {
      home?.append(wish);
      resolve(dialog.returnValue);
    };
  });
}

// ---- waiting ----

export const isBusy = () => "busy" in document.body.dataset;
export const isReady = () => "ready" in main.dataset;
export const lock = () => forms().forEach((form) => (form.inert = isBusy() || !isReady() || "locked" in form.dataset));

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
  const at = document.activeElement;
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
    if (document.activeElement === document.body) (at.isConnected ? at : main).focus({ preventScroll: true });
  }
}

// The newest answer tells of a change that waits to be kept.
function showWaiting(page) {
  const bar = one("#keep", page);
  if (bar) one("#keep")?.replaceWith(bar);
  if (bar?.dataset.change) import("./keep.js");
}
showWaiting(document);

// ---- the values in force ----

export let newest = document.cloneNode(true); // the newest page with values in force
export const setNewest = (page) => (newest = page);

export const settings = () => all("form[data-settings]", main);

// ---- fields ----

export const isSwitch = ({ type }) => type === "checkbox";
export const fieldsOf = (root) => all("input[name]:not([type=hidden]), select[name]", root);
// Fields that hold a value; the others choose what is meant.
export const valuesOf = (root) =>
  fieldsOf(root).filter((field) => !field.matches("[type=radio], [type=file], [multiple], [size], .checks *, .keep *"));
export const valueOf = (field) => (isSwitch(field) ? (field.checked ? "checked" : "unchecked") : field.value);
export const named = (name, root) => fieldsOf(root).find((field) => field.name === name);
export const valueIn = (page, name) => valueOf(named(name, one("main", page)));

export function fill(field, value) {
  if (isSwitch(field)) field.checked = value === "checked";
  else {
    if (field.options && ![...field.options].some((option) => option.value === value)) field.prepend(new Option(value, value));
    field.value = value;
  }
}

export const before = new WeakMap(); // field: its value in force
export const isChanged = (field) => before.has(field) && valueOf(field) !== before.get(field);
export const isEdited = (form) => valuesOf(form).some(isChanged);

// The value of a field: as it stands on this page, or else as it is in force.
export function current(name, form) {
  const field = named(name, form) ?? named(name, main) ?? named(name, one("main", newest));
  return field ? valueOf(field) : "";
}

// ---- taking values ----

// Forms whose values a page tells in a way of its own: a function of the page that makes an element with their fields.
export const tellers = new WeakMap();

// Takes the values in force into a form, except where something was typed; returns the names of what
// others have changed at the same place.
export function take(form, page, isPosted) {
  const clashes = new Set();
  const there = tellers.get(form)?.(page) ?? one("main", page);
  for (const field of valuesOf(form)) {
    const twin = named(field.name, there);
    if (!twin) continue;
    const value = valueOf(twin);
    if (isPosted || !isChanged(field)) fill(field, value);
    else if (![before.get(field), valueOf(field)].includes(value)) clashes.add(itemOf(field));
    before.set(field, value);
    if (field.placeholder !== twin.placeholder) field.placeholder = twin.placeholder;
  }
  return [...clashes];
}

export const builders = []; // what makes parts of this page out of a page that was fetched

// Takes what a page shows and tells anew; what stands beside it is left alone.
export function freshen(page, posted) {
  if (isPage(page, here)) {
    all("[data-live]", main).forEach((part) => replace(part, one(`#${part.id}`, page)));
    builders.forEach((build) => build(page));
  }
  if (!isPage(page, source)) return;
  newest = page;
  settings().forEach((form) => take(form, page, form === posted));
}

function replace(part, fresh) {
  if (!fresh || fresh.innerHTML === part.innerHTML) return;
  const { value } = part;
  part.replaceChildren(...document.importNode(fresh, true).childNodes);
  if (value !== undefined) fill(part, value);
  part.closest(".wide")?.dispatchEvent(new Event("renewed"));
}

// ---- words ----

export const labelOf = (field) => field.getAttribute("aria-label") ?? textOf(one("span", field.closest(".field")));
export const itemOf = (field) => field.closest("[data-item]")?.dataset.item ?? labelOf(field);

function wordOf(field, get) {
  const value = get(field);
  if (isSwitch(field)) return value === "checked" ? "on" : "off";
  const option = [...field.options ?? []].find((each) => each.value === value);
  return option?.text ?? (value || (field.dataset.parts ? "no address" : ""));
}

// "off", "192.168.1.9, port 80" or, where the parts of something that is off are to be told, "off (192.168.1.9)".
function inFull(item, get, isWhole) {
  const fields = fieldsOf(item);
  const isOff = fields.some((field) => isSwitch(field) && get(field) !== "checked");
  const text = fields.filter((field) => !isSwitch(field) && wordOf(field, get))
    .map((field) => `${field.dataset.word ?? field.dataset.port ?? ""} ${wordOf(field, get)}`.trim()).join(", ");
  if (!isOff) return text || "on";
  return isWhole && text ? `off (${text})` : "off";
}

export function changesOf(form) {
  const changes = new Map();
  const was = (field) => before.get(field);
  for (const field of valuesOf(form).filter(isChanged)) {
    const item = field.closest("[data-item]");
    if (changes.has(item ?? field) || field.dataset.same) continue;
    const isWhole = item && inFull(item, was) === inFull(item, valueOf);
    const words = (get) => (item ? inFull(item, get, isWhole) : wordOf(field, get) || "empty");
    const text = field.type === "password" ? "changed" : `from ${words(was)} to ${words(valueOf)}`;
    changes.set(item ?? field, `${itemOf(field)}: ${text}`);
  }
  return [...changes.values()];
}

// ---- warnings ----

const conditionsOf = (text) => text.dataset.warn.split(" ").map((condition) => /^(\w+)(!?=)?(.*)$/.exec(condition));
const isNew = (name, form) => named(name, form) && isChanged(named(name, form));

export const warns = (text, form) => conditionsOf(text).every(([, name, sign, value]) =>
  (sign ? (current(name, form) === value) === (sign === "=") : isNew(name, form)));

// A warning is told before a save when something in this form has brought it about.
export const warningsOf = (form) => all("[data-warn]", form)
  .filter((text) => warns(text, form) && conditionsOf(text).some(([, name]) => isNew(name, form))).map(textOf);
