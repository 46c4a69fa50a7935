// What may be sent. The markup holds the rules that a browser knows by itself, this file the others, as validity of the
// same fields; so there is one answer to what is wrong with a field.
import { all, get, make, one } from "./page.js";
import { current, fieldsOf, isChanged, isSwitch, itemOf, named, warns } from "./values.js";

const isAddress = (text) => /^(\d{1,3}\.){3}\d{1,3}$/.test(text) && text.split(".").every((part) => part < 256);

// An address as the 32 bits that it stands for.
export const bitsOf = (address) => address.split(".").reduce((bits, part) => (bits << 8) | part, 0);

// Each gives a text when it is broken.
export const RULES = [
  function address({ value, required, dataset }) {
    if (dataset.join !== "." || (!value && !required)) return "";
    if (!isAddress(value)) return "Enter an address such as 192.168.1.9: four numbers from 0 to 255.";
    const first = value.split(".")[0];
    return "mask" in dataset || (first > 0 && first < 224 && first !== "127") ? "" : "No host can have this address.";
  },
  function repeated({ value, dataset }, form) {
    return dataset.same && value !== named(dataset.same, form).value ? "The two passwords are not the same." : "";
  },
  function range({ value, dataset }, form) {
    const isBefore = dataset.from && value && Number(value) < Number(named(dataset.from, form).value);
    return isBefore ? "The last of a range cannot come before the first." : "";
  },
  // Two virtual servers that are on cannot have one port.
  function port(field, form) {
    if (!field.value || !field.matches("[data-port]:required")) return "";
    if (/^0+$/.test(field.value)) return "Enter a whole number from 1 to 65535.";
    const taken = all("[data-port]:required", form).find((other) => Number(other.value) === Number(field.value));
    return taken === field ? "" : `Port ${field.value} is taken by ${itemOf(taken)}. Give each server a port of its own.`;
  },
];

function counts({ dataset }, form) {
  const [name, values] = (dataset.need ?? dataset.with).split("=");
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
    if (isOn) all("[data-parts], [data-port]", item).forEach((field) => (field.required = isOn.checked));
  }
  for (const field of fieldsOf(form))
    field.setCustomValidity(RULES.map((rule) => rule(field, form)).find(Boolean) ?? "");
  for (const text of all("[data-warn]", form)) text.hidden = !warns(text, form);
  form.dispatchEvent(new Event("followed"));
}

// What is wrong with a field, in words; nothing when it is right or does not count.
function mistakeOf(field) {
  const { validity, min, max, type } = field;
  if (validity.valid || field.closest("[data-need][inert], [data-with][inert]")) return "";
  if (validity.customError) return field.validationMessage;
  if (validity.patternMismatch) return `Enter ${field.title}.`;
  if (type === "number" && !validity.valueMissing)
    return `Enter a whole number${max ? ` from ${min} to ${max}` : `, ${min} or more`}.`;
  return { file: "Choose a file.", radio: "Choose one of these." }[type] ?? "Fill this in.";
}

export function showMistake(field, text) {
  const id = `error-${field.form.id}-${field.name}`;
  one(`#${id}`)?.remove();
  const helps = (field.getAttribute("aria-describedby") ?? "").replace(id, "").trim();
  field.setAttribute("aria-describedby", text ? `${helps} ${id}` : helps);
  field.setAttribute("aria-invalid", Boolean(text));
  if (!text) return;
  const place = field.closest("td, .field, .checks, .wide");
  place[place.tagName === "TD" ? "append" : "after"](make("p", { class: "error", id }, text));
}

// Marks what is wrong, of several fields of a name the first; returns the first field that is.
export function mark(fields) {
  const wrong = fields.filter((field, at) => {
    if (fields.findIndex(({ name }) => name === field.name) < at) return false;
    const text = mistakeOf(field);
    showMistake(field, text);
    return text;
  });
  return wrong[0];
}

// Addresses that are on the wrong side of the appliance. Its network in the LAN is asked for only when one was changed.
export async function strayOf(form) {
  const fields = all("[data-lan]:valid", form).filter((field) => field.value && isChanged(field));
  const page = fields.length && await get("ac_cfg.htm").catch(() => null);
  if (!page) return [];
  const lan = [1, 2, 3].map((number) => `${one(`[name=vs_web_${number}]`, page).value}.`).join("");
  return fields.filter(({ value, dataset }) => value.startsWith(lan) !== (dataset.lan === "in")).map((field) =>
    `${itemOf(field)}: this address is ${field.dataset.lan === "in" ? "outside" : "in"} the network of the LAN, ${lan.slice(0, -1)}.`);
}
