// What is in force, what stands in the fields, and how to say the difference in words.
import { all, main, nameOf, one, sourceName, textOf } from "./page.js";

let latest = document.cloneNode(true); // the newest page with values in force
export const newest = () => latest;
export const setNewest = (page) => (latest = page);

export const settings = () => all("form[data-settings]", main());

// ---- fields ----

export const isSwitch = (field) => field.getAttribute("role") === "switch";
const isList = (field) => field.tagName === "SELECT" && (field.multiple || field.size > 1);
export const fieldsOf = (root) => all("input[name], select[name]", root).filter((field) => field.type !== "hidden");
// Fields that hold a value; the others choose what is meant.
export const valuesOf = (root) =>
  fieldsOf(root).filter((field) => !["radio", "file"].includes(field.type) && !isList(field) && !field.closest(".checks"));
export const valueOf = (field) => (isSwitch(field) ? (field.checked ? "checked" : "unchecked") : field.value);
export const named = (name, root) => fieldsOf(root).find((field) => field.name === name);
export const valueIn = (page, name) => valueOf(named(name, one("main", page)));

export function fill(field, value) {
  if (isSwitch(field)) field.checked = value === "checked";
  else {
    const isNew = field.tagName === "SELECT" && !all("option", field).some((option) => option.value === value);
    if (isNew) field.prepend(new Option(value, value));
    field.value = value;
  }
}

// Writes as a hand would: the page notices.
export function write(fields, values) {
  fields.forEach((field, index) => (field.value = values[index]));
  fields.at(-1).dispatchEvent(new Event("input", { bubbles: true }));
}

export const before = new WeakMap(); // field: its value in force
export const isChanged = (field) => before.has(field) && valueOf(field) !== before.get(field);
export const isEdited = (form) => !form.dataset.shows && valuesOf(form).some(isChanged);

// The value of a field: as it stands on this page, or else as it is in force.
export function current(name, form) {
  const field = named(name, form) ?? named(name, main()) ?? named(name, one("main", latest));
  return field ? valueOf(field) : "";
}

// ---- taking values ----

// Forms whose values a page tells in a way of its own: a function of the page that gives one of the field's name.
export const tellers = new WeakMap();
export function teller(form, page) {
  if (tellers.has(form)) return tellers.get(form)(page);
  return (name) => {
    const field = named(name, one("main", page));
    return field && valueOf(field);
  };
}

// The parts of an address change together.
function unitsOf(form) {
  const units = new Map();
  for (const field of valuesOf(form)) {
    const whole = field.closest("[data-join]") ?? field;
    units.set(whole, [...(units.get(whole) ?? []), field]);
  }
  return [...units.values()];
}

// Takes the values in force into a form, except where something was typed; returns the names of what
// others have changed at the same place.
export function take(form, page, isPosted = false) {
  const tell = teller(form, page);
  const clashes = new Set();
  for (const unit of unitsOf(form).filter(([field]) => tell(field.name) !== undefined)) {
    const isTyped = !isPosted && unit.some(isChanged);
    const isElsewhere = unit.some((field) => before.get(field) !== tell(field.name));
    unit.forEach((field) => before.set(field, tell(field.name)));
    if (!isTyped) unit.forEach((field) => fill(field, tell(field.name)));
    else if (isElsewhere && unit.some(isChanged)) clashes.add(itemOf(unit[0]));
  }
  return [...clashes];
}

export const builders = []; // what makes parts of this page out of a page that was fetched

// Takes what a page shows and tells anew; what stands beside it is left alone.
export function freshen(page, posted) {
  if (nameOf(page) === nameOf(document)) {
    all("[data-live]", main()).forEach((part) => replace(part, one(`#${part.id}`, page)));
    builders.forEach((build) => build(page));
  }
  if (nameOf(page) !== sourceName()) return;
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
  const option = field.tagName === "SELECT" && all("option", field).find((each) => each.value === value);
  return option ? option.text : value || "empty";
}

// "off", "192.168.1.9, port 80" or, where the parts of something that is off are to be told, "off (192.168.1.9)".
function inFull(item, get, whole) {
  const parts = [];
  let off = false;
  let joined = null;
  for (const field of fieldsOf(item)) {
    const group = field.closest("[data-join]");
    if (isSwitch(field)) off = get(field) !== "checked";
    else if (group && group === joined) parts[parts.length - 1] += group.dataset.join + get(field);
    else if (group || get(field)) parts.push(group ? get(field) : `${field.dataset.word ?? ""} ${wordOf(field, get)}`.trim());
    joined = group;
  }
  const text = parts.map((part) => (/^\.*$/.test(part) ? "no address" : part)).join(", ");
  if (!off) return text || "on";
  return whole && text ? `off (${text})` : "off";
}

export function changesOf(form) {
  const changes = new Map();
  const was = (field) => before.get(field);
  for (const field of valuesOf(form).filter(isChanged)) {
    const item = field.closest("[data-item]");
    if (changes.has(item ?? field) || field.dataset.same) continue;
    const whole = item && inFull(item, was) === inFull(item, valueOf);
    const words = (get) => (item ? inFull(item, get, whole) : wordOf(field, get));
    const text = field.type === "password" ? "changed" : `from ${words(was)} to ${words(valueOf)}`;
    changes.set(item ?? field, `${itemOf(field)}: ${text}`);
  }
  return [...changes.values()];
}

// ---- warnings ----

const conditionsOf = (text) => text.dataset.warn.split(" ").map((condition) => /^(\w+)(!?=)?(.*)$/.exec(condition));
const isNew = (name, form) => Boolean(named(name, form) && isChanged(named(name, form)));

export const warns = (text, form) => conditionsOf(text).every(([, name, sign, value]) =>
  (sign ? (current(name, form) === value) === (sign === "=") : isNew(name, form)));

// A warning is told before a save when something in this form has brought it about.
export const warningsOf = (form) => all("[data-warn]", form)
  .filter((text) => warns(text, form) && conditionsOf(text).some(([, name]) => isNew(name, form))).map(textOf);
