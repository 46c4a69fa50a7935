// What forms do: they wait for the values in force, check, tell what changes, ask, send, and say what became of it.
import { again, all, before, builders, changesOf, choice, current, during, fieldsOf, fill, forms, freshen, get, here,
  inForce, isBusy, isChanged, isEdited, isPage, isReady, isSwitch, itemOf, lock, main, make, messageOf, named, newest,
  one, patiently, post, say, setNewest, settings, source, step, take, textOf, valueIn, valueOf, valuesOf, view,
  warningsOf, warns } from "./page.js";

let uses = []; // what else the page brings along

// ---- sending ----

async function submit(event) {
  event.preventDefault();
  const form = event.target;
  const button = event.submitter ?? one("button", form) ?? make("button"); // a choice needs none
  if (isBusy() || !isReady() || one("dialog[open]")) return;
  say("");
  if (isWrong(form, button)) return;
  const was = await during("Looking up what is in force.", button, () => lookUp(form));
  if (!was) return;
  see(was);
  const trouble = troubleOf(form, was);
  if (trouble) return say(trouble, "bad");
  const clashes = "settings" in form.dataset && isPage(was, source) ? take(form, was) : [];
  if (isWrong(form, button)) return;
  const answer = await agree(form, button, clashes).catch((error) => say(error.message, "bad"));
  if (answer) during("Saving. Connecting may take a minute.", button, () => send(form, button, was, answer));
}

// A button that leaves the fields alone needs only what it is meant for.
function isWrong(form, button) {
  fieldsOf(form).forEach(neaten);
  follow(form);
  const wrong = mark(fieldsOf(form).filter(({ type }) => !button.formNoValidate || type === "radio"));
  wrong?.focus();
  return Boolean(wrong);
}

// What is in force is asked for again, so that what others did meanwhile is neither undone nor hidden.
function lookUp(form) {
  return "settings" in form.dataset ? inForce() : "list" in form.dataset ? again() : newest;
}

// A form tells which change it was filled after, so that a later one is not overwritten unseen.
const see = ({ seen }) => all("[name=seen]").forEach((field) => (field.value = seen));

// A page that could not read its settings shows others; what the form holds is none of theirs then.
function troubleOf({ dataset }, page) {
  const text = "settings" in dataset && isPage(page, source) ? messageOf(page) : "";
  return dataset.despite && text.includes(dataset.despite) ? "" : text;
}

// Asks about what the form is about to do; nothing when it is not to be done.
async function agree(form, button, clashes) {
  const label = textOf(button);
  const look = () => lookAhead(form, button);
  const wish = one(".keep", form) ?? "";
  if (button.dataset.confirm) return choice(button.dataset.confirm, [["yes", label]], true, look, [], [], wish);
  if (!("settings" in form.dataset)) return "yes";
  const changes = changesOf(form);
  const warnings = [...warningsOf(form), ...all("[data-told]", form).map(textOf).filter(Boolean), ...await strayOf(form),
    ...clashes.map((name) => `${name}: somebody else has changed this too. Yours replaces it.`)];
  const answers = await uses.find((part) => part.answers)?.answers(form) ?? [["yes", label]];
  return choice(changes.length ? "Save these changes?" : `Nothing was changed. ${label} all the same?`, answers, false, look, changes, warnings, wish);
}

// What the appliance says that it would do.
async function lookAhead(form, button) {
  const data = dataOf(form, button);
  data.set("preview", "yes");
  const page = await post(data, one("[type=file]", form));
  const { preview_files: files, preview_commands: commands } = page.lists;
  return [messageOf(page), make("p", {}, page.values.preview_summary), make("h3", {}, "Files"), make("pre", { tabIndex: 0 }, files.join("")),
    make("h3", {}, "Commands"), make("pre", { tabIndex: 0 }, commands.join("\n"))];
}

function dataOf(form, button) {
  const data = new FormData(form);
  for (const { value, dataset: { parts, join } } of all("[data-parts]", form))
    parts.split(" ").forEach((name, at) => data.set(name, value.split(join)[at] ?? ""));
  if (button.name) data.set(button.name, button.value);
  if ("settings" in form.dataset) data.set("next_file", source);
  return data;
}

async function send(form, button, was, answer) {
  const data = dataOf(form, button);
  if (answer === "use") data.delete("confirm_within"); // what is not in use cuts nobody off; the next request might
  const { said = "Saved." } = form.dataset;
  const page = await post(data, one("[type=file]", form));
  see(page);
  const text = messageOf(page);
  const { accepted, change } = page;
  const { kind, page: later = page, text: words } = !accepted ? { text, kind: "bad" }
    : await outcomeOf({ form, button, was, page, text, said, data });
  const isTaken = kind !== "bad";
  if (isTaken) await settle(form, later);
  const link = change && make("a", { href: view(`history.htm&change=${change}`) }, "Look at it or undo it");
  say(words || (isTaken ? messageOf(newest) : ""), kind, ...(link ? [link] : []));
  if (isTaken) setTimeout(() => uses.forEach((part) => part.answered?.(form, answer))); // when the form is free again
}

// What became of a request that was not refused; the scripts of the page know best.
async function outcomeOf(request) {
  for (const { outcome } of uses) {
    const result = await outcome?.(request);
    if (result) return result;
  }
  const { text, said } = request;
  return { text: text || said, kind: text ? "" : said && "good" };
}

// Takes what is in force after a request: its answer tells it, or else it is asked for.
async function settle(form, page) {
  all("[data-typed]", form).forEach((field) => before.set(field, (field.value = "")));
  if (form.dataset.fills) valuesOf(document.getElementById(form.dataset.fills)).forEach((field) => fill(field, valueIn(page.values, field)));
  else {
    freshen(page, form);
    if (!isPage(page, source)) freshen(await reload(), form);
  }
  forms().forEach(follow);
  uses.forEach(({ settled }) => settled?.(page));
}

const reload = () => inForce().catch(() => { throw new Error("Saved. Reload the page."); });

// ---- what forms do ----

// A mistake goes while it is mended, not when the field is left: then the button that is pressed would move away.
function mend({ target, target: { form } }) {
  if (!form) return;
  follow(form);
  if (!isBusy()) say("");
  const fields = fieldsOf(target.closest("[data-item], .moment, .checks, tbody") ?? target.parentElement);
  if (fields.some((field) => field.matches("[aria-invalid=true]"))) mark(fields);
}

// How much is not saved yet stands beside the button that saves it.
function watch(form) {
  const [count, undo] = all(".count, [data-undo]", form);
  undo.onclick = () => back(form);
  form.addEventListener("followed", () => {
    const { length } = changesOf(form);
    undo.hidden = !length;
    count.textContent = length ? `${length} ${length === 1 ? "change" : "changes"} not saved` : "";
  });
}

function back(form) {
  for (const field of valuesOf(form).filter(isChanged)) {
    fill(field, before.get(field));
    showMistake(field, "");
  }
  follow(form);
}

// What may be pasted: of a URL only the host counts, of an address not its network or port, and no number is octal.
function neaten(field) {
  const { value, dataset } = field;
  if ("host" in dataset) field.value = /^(?:[a-z][a-z\d+.-]*:\/\/)?(?:[^@/]*@)?([^/?#:]*)/i.exec(value.trim())[1];
  if (dataset.join === ".") field.value = value.trim().replaceAll(",", ".").replace(/[/:].*/, "").replace(/\b0+(?=\d)/g, "");
}

// ---- rules ----

// The markup holds the rules that a browser knows by itself, here are the others, as validity of the same fields; so
// there is one answer to what is wrong with a field.

const isAddress = (text) => /^(\d{1,3}\.){3}\d{1,3}$/.test(text) && text.split(".").every((part) => part < 256);

// An address as the 32 bits that it stands for.
const bitsOf = (address) => address.split(".").reduce((bits, part) => (bits << 8) | part, 0);

// Each gives a text when it is broken.
export const RULES = [
  function address({ value, required, dataset }) {
    if (dataset.join !== "." || (!value && !required)) return "";
    if (!isAddress(value)) return "Enter four numbers from 0 to 255, such as 192.168.1.9.";
    const first = value.split(".")[0];
    return "mask" in dataset || (first > 0 && first < 224 && first !== "127") ? "" : "No host can have this address.";
  },
  function mask({ value, dataset }) {
    const isMask = /^1+0+$/.test((bitsOf(value) >>> 0).toString(2));
    return "mask" in dataset && value && !isMask ? "Ones, then zeros, such as 255.255.255.0." : "";
  },
  function gateway({ value, dataset }, form) {
    const [own, mask] = dataset.beside?.split(" ").map((name) => named(name, form).value) ?? [];
    if (!value || !own || !mask) return "";
    if (own === value) return "The gateway cannot be this appliance.";
    return (bitsOf(own) ^ bitsOf(value)) & bitsOf(mask) ? "The gateway must be in the network of the IP address." : "";
  },
  function repeated({ value, dataset }, form) {
    return dataset.same && value !== named(dataset.same, form).value ? "The passwords differ." : "";
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
    return taken === field ? "" : `Port ${field.value} is taken by ${itemOf(taken)}.`;
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
  if (validity.valid || field.closest(":is([data-need], [data-with])[inert]")) return "";
  if (validity.customError) return field.validationMessage;
  if (validity.patternMismatch) return `Enter ${field.title}.`;
  if (type === "number" && !validity.valueMissing)
    return `Enter a whole number from ${min} to ${max}.`;
  return type === "file" ? "Choose a file." : "Fill this in.";
}

function showMistake(field, text) {
  const id = `error-${field.form.id}-${field.name}`;
  one(`#${id}`)?.remove();
  const helps = (field.getAttribute("aria-describedby") ?? "").replace(id, "").trim();
  field.setAttribute("aria-describedby", text ? `${helps} ${id}` : helps);
  field.setAttribute("aria-invalid", Boolean(text));
  if (!text) return;
  const place = field.closest("td, .field, .checks, .wide");
  place[place.tagName === "TD" ? "append" : "after"](make("p", { className: "error", id }, text));
}

// Marks what is wrong, of several fields of a name the first; returns the first field that is.
function mark(fields) {
  const wrong = fields.filter((field, at) => {
    if (fields.findIndex(({ name }) => name === field.name) < at) return false;
    const text = mistakeOf(field);
    showMistake(field, text);
    return text;
  });
  return wrong[0];
}

// Addresses that are on the wrong side of the appliance. Its network in the LAN is asked for only when one was changed.
async function strayOf(form) {
  const fields = all("[data-lan]:valid", form).filter((field) => field.value && isChanged(field));
  const page = fields.length && await get("ac_cfg.htm").catch(() => null);
  if (!page) return [];
  const lan = ["vs_web_1", "vs_web_2", "vs_web_3"].map((name) => page.values[name]).join(".");
  return fields.filter(({ value, dataset }) => value.startsWith(`${lan}.`) !== (dataset.lan === "in")).map((field) =>
    `${itemOf(field)}: this address is ${field.dataset.lan === "in" ? "outside" : "in"} the network of the LAN, ${lan}.`);
}

// ---- the content of the page ----

// A switch that had to be a list, because a page without values cannot be filled in, becomes a switch.
function switchFor(list) {
  const { name, value } = list;
  const field = make("input", { type: "checkbox", role: "switch", name, value: "checked", ariaLabel: list.getAttribute("aria-label") });
  fill(field, value);
  list.replaceWith(make("input", { type: "hidden", name, value: "unchecked" }), field);
}

// What a list shows in force without scripts stands before all that can be chosen; here it is one of them.
function tidy(option) {
  const list = option.parentElement;
  const { value } = list;
  option.remove();
  if (value) fill(list, value);
}

// Nothing can be sent before the values in force are in the forms.
export async function begin(parts) {
  uses = parts;
  all("select[data-switch]", main).forEach(switchFor);
  all("[data-unscripted]", main).forEach((element) => element.remove());
  all("[data-scripted]", main).forEach((element) => (element.hidden = element.disabled = false));
  uses.forEach(({ prepare }) => prepare?.());
  for (const form of forms()) {
    form.noValidate = true;
    form.addEventListener("submit", submit);
    form.addEventListener("input", mend);
    form.addEventListener("change", mend);
    for (const field of valuesOf(form)) before.set(field, valueOf(field));
  }
  settings().forEach(watch);
  await fillIn();
}

async function fillIn() {
  try {
    setNewest(await patiently("Waiting for the values in force.", inForce));
  } catch {
    return say("The values could not be fetched, so nothing can be changed.", "bad", tryAgain());
  }
  freshen(newest);
  for (const form of settings()) {
    const trouble = troubleOf(form, newest);
    form.toggleAttribute("data-locked", trouble);
    if (trouble) say(trouble, "bad", tryAgain());
    else take(form, newest);
  }
  all("option[selected]", main).forEach(tidy);
  forms().forEach(follow);
  main.dataset.ready = "";
  lock();
  uses.forEach(({ settled }) => settled?.(newest));
}

const tryAgain = () => step("Try again", () => {
  say("");
  fillIn();
});

addEventListener("beforeunload", (event) => {
  if (forms().some(isEdited)) event.preventDefault();
});
addEventListener("change", ({ target }) => neaten(target), true);
addEventListener("wheel", ({ target }) => {
  if (target === document.activeElement && target.type === "number") target.blur(); // else it would count
}, { passive: true });
