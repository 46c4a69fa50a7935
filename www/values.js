// What is in force, what stands in the fields, and how to say the difference in words.
import { all, here, isPage, main, one, source, textOf } from "./page.js";

let latest = document.cloneNode(true); // the newest page with values in force
export const newest = () => latest;
export const setNewest = (page) => (latest = page);

export const settings = () => all("form[data-settings]", main);

// ---- fields ----

export const isSwitch = ({ type }) => type === "checkbox";
export const fieldsOf = (root) => all("input[name]:not([type=hidden]), select[name]", root);
// Fields that hold a value; the others choose what is meant.
export const valuesOf = (root) =>
  fieldsOf(root).filter((field) => !field.matches("[type=radio], [type=file], [multiple], [size], .checks *"));
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
export const isEdited = (form) => !form.dataset.shows && valuesOf(form).some(isChanged);

// The value of a field: as it stands on this page, or else as it is in force.
export function current(name, form) {
  const field = named(name, form) ?? named(name, main) ?? named(name, one("main", latest));
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
  latest = page;
  settings().forEach((form) => take(form, page, form === posted));
}

function replace(part, fresh) {
  if (!fresh || fresh.innerHTML === part.innerHTML) return;
  const { value } = part;
  part.replaceChildren(...document.importNode(fresh, true).childNodes);
  if (value !== undefined) fill(part, value);
  part.closest("table")?.dispatchEvent(new Event("renewed"));
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
    .map((field) => `${field.dataset.word ?? ""} ${wordOf(field, get)}`.trim()).join(", ");
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
