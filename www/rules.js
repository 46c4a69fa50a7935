// What may be sent. The markup holds the rules that a browser knows by itself, this file the others, as validity of the
// same fields; so there is one answer to what is wrong with a field.
import { all, get, make, one } from "./page.js";
import { current, fieldsOf, isChanged, isSwitch, itemOf, named, valueOf, warns } from "./values.js";

const octetsOf = (group) => (group ? fieldsOf(group).map(valueOf) : []);
export const numberOf = (parts) => parts.reduce((sum, part) => sum * 256 + Number(part), 0);
export const isWhole = (parts) => parts.length === 4 && parts.every((part) => part !== "");

// Rules for a whole address: each gives a text when it is broken.
export const ADDRESS_RULES = [
  function host(group, [first]) {
    return group.matches("[data-mask]") || (first >= 1 && first <= 223 && first !== "127") ? "" : "No host can have this address.";
  },
];

// Rules for a field.
export const RULES = [
  function address(field, form) {
    const group = field.closest(".octets");
    const parts = octetsOf(group);
    if (!group || (!field.value && !field.required && !parts.some(Boolean))) return "";
    if (!field.value) return "Enter all four numbers of the address.";
    if (!/^\d+$/.test(field.value) || field.value > 255) return "Enter a number from 0 to 255.";
    const isLast = isWhole(parts) && fieldsOf(group).at(-1) === field;
    return isLast ? ADDRESS_RULES.map((rule) => rule(group, parts, form)).find(Boolean) : "";
  },
  function repeated(field, form) {
    const { same } = field.dataset;
    return same && field.value !== named(same, form).value ? "The two passwords are not the same." : "";
  },
  function range(field, form) {
    const { from } = field.dataset;
    const isBehind = from && field.value && Number(field.value) < Number(named(from, form).value);
    return isBehind ? "The last of a range cannot come before the first." : "";
  },
  // Two virtual servers that are on cannot have one port.
  function port(field, form) {
    if (!field.value || !field.matches("[data-port]:required")) return "";
    if (/^0+$/.test(field.value)) return "Enter a whole number from 1 to 65535.";
    const taken = all("[data-port]:required", form).find((other) => Number(other.value) === Number(field.value));
    return taken === field ? "" : `Port ${field.value} is taken by ${itemOf(taken)}. Give each server a port of its own.`;
  },
];

function counts(part, form) {
  const [name, values] = (part.dataset.need ?? part.dataset.with).split("=");
  return values.split("|").includes(current(name, form));
}

// What follows from a change: what is needed now, what is wrong, and what there is to say about it.
export function follow(form) {
  for (const part of all("[data-need], [data-with]", form)) {
    part.inert = !counts(part, form);
    if (part.dataset.need) fieldsOf(part).forEach((field) => (field.required = !part.inert));
  }
  for (const item of all("[data-item]", form)) {
    const isOn = fieldsOf(item).find(isSwitch);
    if (isOn) all(".octets input, [data-port]", item).forEach((field) => (field.required = isOn.checked));
  }
  for (const field of fieldsOf(form))
    field.setCustomValidity(RULES.map((rule) => rule(field, form)).find(Boolean) ?? "");
  for (const text of all("[data-warn]", form)) text.hidden = !warns(text, form);
  form.dispatchEvent(new Event("followed"));
}

// What is wrong with a field, in words; nothing when it is right or does not count.
function mistakeOf(field) {
  const { validity, min, max } = field;
  if (validity.valid || field.closest("[data-need][inert], [data-with][inert]")) return "";
  if (validity.badInput || validity.stepMismatch || validity.rangeUnderflow || validity.rangeOverflow)
    return `Enter a whole number${max ? ` from ${min} to ${max}` : `, ${min} or more`}.`;
  if (validity.customError) return field.validationMessage;
  if (validity.patternMismatch) return `Enter ${field.title}.`;
  return { file: "Choose a file.", radio: "Choose one of these." }[field.type] ?? "Fill this in.";
}

export function showMistake(field, text, isTold = true) {
  const id = `error-${field.form.id}-${field.name}`;
  one(`#${id}`)?.remove();
  const helps = (field.getAttribute("aria-describedby") ?? "").split(" ").filter((each) => each && each !== id);
  if (text && isTold) helps.push(id);
  const attributes = { "aria-invalid": text && "true", "aria-describedby": helps.join(" ") };
  for (const [name, value] of Object.entries(attributes))
    if (value) field.setAttribute(name, value);
    else field.removeAttribute(name);
  if (!text || !isTold) return;
  const place = field.closest("td, .field, .checks, .wide");
  place[place.tagName === "TD" ? "append" : "after"](make("p", { class: "error", id }, text));
}

// Marks what is wrong, once where several fields are wrong together; returns the first field that is.
export function mark(form, fields) {
  let first = null;
  let told = null;
  const isFirst = (field, at) => fields.findIndex(({ name }) => name === field.name) === at; // of several to choose from
  for (const field of fields.filter(isFirst)) {
    const text = mistakeOf(field);
    const group = field.closest(".octets") ?? field;
    showMistake(field, text, group !== told);
    if (!text) continue;
    told = group;
    first ??= field;
  }
  return first;
}

// Addresses that are on the wrong side of the appliance. Its network in the LAN is asked for only when one was changed.
export async function strayOf(form) {
  const groups = all("[data-lan]", form)
    .filter((group) => !group.closest("[inert]") && fieldsOf(group).some(isChanged) && isWhole(octetsOf(group)));
  const page = groups.length && await get("ac_cfg.htm").catch(() => null);
  if (!page) return [];
  const lan = [1, 2, 3].map((number) => one(`[name=vs_web_${number}]`, page).value).join(".");
  const isIn = (group) => octetsOf(group).slice(0, 3).join(".") === lan;
  return groups.filter((group) => isIn(group) !== (group.dataset.lan === "in")).map((group) =>
    `${itemOf(group)}: this address is ${group.dataset.lan === "in" ? "outside" : "in"} the network of the LAN, ${lan}.`);
}
