// What forms do: they wait for the values in force, tell what changes, ask, send, and say what became of it.
import { all, choice, during, forms, get, here, isBusy, isPage, isReady, lock, main, make, messageOf, one, patiently, post,
  say, source, step, textOf, view } from "./page.js";
import { follow, mark, showMistake, strayOf } from "./rules.js";
import { before, builders, changesOf, fieldsOf, fill, freshen, isChanged, isEdited, named, newest, setNewest, settings,
  take, valueOf, valuesOf, warningsOf } from "./values.js";

let uses = []; // what else the page brings along

// The page with the values in force. Where a page shows one of several groups, it is asked for that group.
const chooser = () => one("[data-shows]", main);
const shown = () => one("select", chooser());
const choose = (value) => post({ this_file: here, todo: "select", [shown().name]: value });
export const inForce = () => (chooser() ? choose(chooser().dataset.shows) : get(source));

// ---- sending ----

async function submit(event) {
  event.preventDefault();
  const form = event.target;
  const button = event.submitter ?? one("button", form) ?? make("button"); // a choice needs none
  if (isBusy() || !isReady() || one("dialog")) return;
  say("");
  if (isWrong(form, button)) return;
  const was = await during("Looking up what is in force.", button, () => lookUp(form));
  if (!was) return;
  const trouble = troubleOf(form, was);
  if (trouble) return say(trouble, "bad");
  const clashes = form.matches("[data-settings]") && isPage(was, source) ? take(form, was) : [];
  if (isWrong(form, button)) return;
  const answer = await agree(form, button, clashes).catch((error) => say(error.message, "bad"));
  if (answer) during("Saving. Connecting may take a minute.", button, () => send(form, button, was, answer));
  else if (form.dataset.shows) back(form);
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
  if (form.matches("[data-settings]")) return inForce();
  if (!form.dataset.list) return newest();
  return main.dataset.source ? get(here) : inForce();
}

// A page that could not read its settings shows others; what the form holds is none of theirs then.
function troubleOf({ dataset }, page) {
  const text = "settings" in dataset && isPage(page, source) ? messageOf(page) : "";
  return dataset.despite && text.includes(dataset.despite) ? "" : text;
}

// Asks about what the form is about to do; nothing when it is not to be done.
async function agree(form, button, clashes) {
  const label = textOf(button);
  if (button.dataset.confirm) return choice(button.dataset.confirm, {}, [["yes", label]], true);
  if (form.dataset.shows && forms().some(isEdited))
    return choice("Go on without saving?", { warnings: ["What was changed on this page is lost then."] }, [["yes", "Go on"]], true);
  if (!form.matches("[data-settings]")) return "yes";
  const changes = changesOf(form);
  const warnings = [...warningsOf(form), ...all("[data-told]", form).map(textOf).filter(Boolean), ...await strayOf(form),
    ...clashes.map((name) => `${name}: somebody else has changed this too. What stands here replaces it.`)];
  const answers = await uses.find((part) => part.answers)?.answers(form) ?? [["yes", label]];
  return choice(changes.length ? "Save these changes?" : `Nothing was changed. ${label} all the same?`, { changes, warnings }, answers);
}

async function send(form, button, was, answer) {
  const data = new FormData(form);
  for (const { value, dataset: { parts, join } } of all("[data-parts]", form))
    parts.split(" ").forEach((name, at) => data.set(name, value.split(join)[at] ?? ""));
  if (button.name) data.set(button.name, button.value);
  const { done, said = "Saved." } = form.dataset;
  if (done) data.set("next_file", done);
  const page = await post(data, one("[type=file]", form));
  const text = messageOf(page);
  const isRefused = done && !isPage(page, done);
  const { kind, page: later = page, text: words } = isRefused ? { text, kind: "bad" }
    : await outcomeOf({ form, button, was, page, text, said, data });
  const isTaken = kind !== "bad";
  if (isTaken) await settle(form, later);
  say(words || (isTaken ? messageOf(newest()) : ""), kind);
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
  if (form.dataset.shows) await renew(page);
  else if (form.dataset.fills) fillFrom(page, document.getElementById(form.dataset.fills));
  else {
    freshen(page, form);
    if (form.matches("[data-settings]") && !isPage(page, source)) freshen(await reload(), form);
    forms().forEach(follow);
  }
  uses.forEach(({ settled }) => settled?.(true));
}

const reload = () => inForce().catch(() => { throw new Error("Saved. What is in force now could not be fetched: reload the page."); });

function fillFrom(page, form) {
  valuesOf(form).forEach((field) => fill(field, valueOf(named(field.name, page))));
  follow(form);
}

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
  const count = make("output", { class: "count" });
  const undo = make("button", { type: "button", class: "quiet", click: () => back(form) }, "Undo");
  one(".actions, .buttons", form).append(count, undo);
  form.addEventListener("followed", () => {
    const { length } = changesOf(form);
    count.textContent = length === 1 ? "1 change not saved" : `${length} changes not saved`;
    count.hidden = undo.hidden = !length;
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

// ---- the content of the page ----

// A switch that had to be a list, because a page without values cannot be filled in, becomes a switch.
function switchFor(list) {
  const { name, value } = list;
  const label = list.getAttribute("aria-label") ?? false;
  const field = make("input", { type: "checkbox", role: "switch", name, value: "checked", "aria-label": label });
  fill(field, value);
  before.set(field, value ? "" : "unchecked");
  list.replaceWith(make("input", { type: "hidden", name, value: "unchecked" }), field);
}

// A list without scripts begins with the value in force, or with nothing, before all that can be chosen.
function tidy(list) {
  const [first, ...others] = list.options;
  const twin = others.find(({ value }) => value === first?.value);
  if (twin && first.selected) twin.selected = true;
  if (twin || first?.value === "") first.remove();
}

// Nothing can be sent before the values in force are in the forms.
async function prepare() {
  lock();
  builders.length = 0;
  all("select[data-switch]", main).forEach(switchFor);
  all("[data-unscripted]", main).forEach((element) => element.remove());
  all("[data-scripted]", main).forEach((element) => (element.hidden = element.disabled = false));
  uses.forEach((part) => part.prepare?.());
  builders.forEach((build) => build(newest()));
  for (const form of forms()) {
    form.noValidate = true;
    form.addEventListener("submit", submit);
    form.addEventListener("input", mend);
    form.addEventListener("change", mend);
    const isBlank = main.dataset.source && form.matches("[data-settings]");
    for (const field of valuesOf(form)) if (!before.has(field)) before.set(field, isBlank ? "" : valueOf(field));
  }
  settings().forEach(watch);
  await fillIn();
}

async function fillIn() {
  const isOwn = !main.dataset.source && !messageOf(document);
  try {
    if (!isOwn) setNewest(await patiently("Waiting for the values in force.", inForce));
  } catch {
    return say("The values in force could not be fetched, so nothing can be changed.", "bad", tryAgain());
  }
  for (const form of settings()) {
    const trouble = troubleOf(form, newest());
    form.toggleAttribute("data-locked", trouble);
    if (trouble) say(trouble, "bad", tryAgain());
    else take(form, newest());
  }
  all("select[name]:not([multiple], [size])", main).forEach(tidy);
  forms().forEach(follow);
  main.dataset.ready = "";
  lock();
  uses.forEach(({ settled }) => settled?.());
}

const tryAgain = () => step("Try again", () => {
  say("");
  fillIn();
});

// Takes the whole content, as that of another group; only the message stays where it is.
async function renew(page) {
  const rest = (root) => all(":scope > :not(.message)", root);
  rest(main).forEach((element) => element.remove());
  one(".message", main).before(...rest(one("main", page)));
  setNewest(document.cloneNode(true));
  const { name, value } = shown();
  history.replaceState(null, "", `${view(here)}&${new URLSearchParams({ [name]: value })}`);
  delete main.dataset.ready;
  await prepare();
}

addEventListener("beforeunload", (event) => {
  if (forms().some(isEdited)) event.preventDefault();
});
addEventListener("change", ({ target }) => {
  neaten(target);
  if (target.form?.dataset.shows) target.form.requestSubmit();
}, true);
addEventListener("wheel", ({ target }) => {
  if (target === document.activeElement && target.type === "number") target.blur(); // else it would count
}, { passive: true });

// Begins with the group that the address names, where there are groups.
export async function begin(parts) {
  uses = parts;
  const group = chooser() && new URLSearchParams(location.search).get(shown().name);
  if (group && group !== chooser().dataset.shows) await choose(group).then(renew, prepare);
  else await prepare();
}
