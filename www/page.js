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
export const messageOf = ({ message, notice, errors = {} }) => message || notice || Object.values(errors)[0] || "";
export const isPage = ({ page }, name) => page === name;
export const view = (page) => `nat.cgi?next_file=${page}`;

export function make(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}
export const step = (label, onclick) => make("button", { type: "button", className: "second", onclick }, label);

// The parts of an address, or of a time of day, become one field, which knows their names.
for (const group of all("[data-join]")) {
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

// ---- asking the appliance ----

// A page as the appliance tells it: its values and lists by their keys, and what became of a request. What is no such
// answer comes from a server on the way, or is why there is no page.
async function read(answer, doubt = "") {
  const { status, statusText } = answer;
  const data = await answer.json().catch(() => ({}));
  if (data.page) {
    showWaiting(data);
    return data;
  }
  if (status === 401) throw new Error("The appliance asks for its password: reload the page.");
  throw new Error(data.message ?? data.error ?? `The server answered "${status} ${statusText}". ${doubt}`.trim(), { cause: status });
}

const headers = { Accept: "application/json" };
export const ask = (what) => fetch(view(what), { cache: "no-store", headers });
export const get = async (page) => read(await ask(page));
export const again = () => get(origin);
export const inForce = () => get(`${main.dataset.source ?? origin}&state=yes`);

export async function post(data, isUpload) {
  const body = isUpload ? data : new URLSearchParams(data);
  body.set("state", "yes");
  const answer = await fetch("nat.cgi", { method: "POST", headers, body })
    .catch(() => { throw new Error(`The appliance did not answer. ${UNKNOWN}`); });
  return read(answer, UNKNOWN);
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
    if (textOf(one(".message", main)) === text) say("");
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

// Every answer tells of a change that waits to be kept.
const bar = one("#keep");
function showWaiting({ waiting = "", waiting_left: left = "" }) {
  if (!bar?.elements.change || waiting === bar.dataset.kept) return; // a late answer knows less
  bar.dataset.change = bar.elements.change.value = one("i", bar).textContent = waiting;
  one("b", bar).textContent = left;
  bar.dataset.end = Date.now() + 1000 * left;
  if (waiting) import("./keep.js");
}
if (bar) showWaiting({ waiting: bar.dataset.change, waiting_left: textOf(one("b", bar)) });

// ---- the values in force ----

export let newest = { values: {}, lists: {} }; // the newest page with values in force
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

// The value of a field; that of one that was joined, of its parts; nothing where it has none. A secret is never told.
export function valueIn(values, { name, dataset: { parts = name, join: sign, digits } }) {
  const all = parts.split(" ").map((part) => values[part]);
  if (all[0] === undefined) return undefined;
  return all.some(Boolean) ? all.map((value) => value.padStart(digits, "0")).join(sign) : "";
}

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
  const field = named(name, form) ?? named(name, main);
  return field ? valueOf(field) : newest.values[name] ?? "";
}

// ---- taking values ----

// Forms whose values a page tells in a way of its own: a function of the page that gives them by their fields' names.
export const tellers = new WeakMap();

// Takes the values in force into a form, except where something was typed; returns the names of what
// others have changed at the same place.
export function take(form, page, isPosted) {
  const clashes = new Set();
  const values = tellers.get(form)?.(page) ?? page.values;
  for (const field of valuesOf(form)) {
    const value = valueIn(values, field) ?? (isPosted ? before.get(field) : undefined);
    if (value === undefined) continue;
    if (isPosted || !isChanged(field)) fill(field, value);
    else if (![before.get(field), valueOf(field)].includes(value)) clashes.add(itemOf(field));
    before.set(field, value);
    if (field.dataset.kept) field.placeholder = values[field.dataset.kept];
  }
  return [...clashes];
}

export const builders = []; // what makes parts of this page out of a page that was fetched

// "{key}" stands for a value, "{key*}" for an address, whose parts are four values.
const textWith = (values, text) => text.replace(/{(\w+)(\*?)}/g, (_, key, isHost) =>
  isHost ? [1, 2, 3, 4].map((n) => values[key + n]).join(".") : values[key]);

// Takes what a page shows and tells anew; what stands beside it is left alone.
export function freshen(page, posted) {
  if (isPage(page, here)) {
    const { values, lists } = page;
    for (const { dataset } of all("[data-of]", main)) dataset.is = values[dataset.of];
    for (const part of all("[data-text]", main)) put(part, textWith(values, part.dataset.text));
    for (const part of all("[data-items]", main)) replace(part, lists[part.dataset.items]);
    builders.forEach((build) => build(page));
  }
  if (!isPage(page, source)) return;
  newest = page;
  settings().forEach((form) => take(form, page, form === posted));
}

function put(part, text) {
  if (part.textContent !== text) part.textContent = text;
}

// A list of options, the rows of a table, or lines of text.
function replace(part, items) {
  const { value, tagName } = part;
  if (tagName === "SELECT") {
    part.replaceChildren(...items.map((item) => new Option(item)));
    fill(part, value);
  } else if (tagName === "TBODY") part.replaceChildren(...items.map((row) => make("tr", {}, ...row.map((cell) => make("td", {}, cell)))));
  else put(part, items.map((line) => `${line}\n`).join(""));
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
