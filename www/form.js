// What forms do: they wait for the values in force, tell what changes, ask, send, and say what became of it.
import { all, ask, choose, during, forms, get, inForce, isBusy, isReady, lock, main, make, messageOf, nameOf, one,
  patiently, post, say, sourceName, step, textOf, view, wanted } from "./page.js";
import { follow, mark, showMistake, strayOf } from "./rules.js";
import { before, builders, changesOf, fieldsOf, fill, freshen, isChanged, isEdited, newest, setNewest, settings,
  take, teller, valueOf, valuesOf, warningsOf, write } from "./values.js";

let uses = []; // what else the page brings along

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
  if (troubleOf(form, was)) return say(troubleOf(form, was), "bad");
  const clashes = form.matches("[data-settings]") && nameOf(was) === sourceName() ? take(form, was) : [];
  if (isWrong(form, button)) return;
  const answer = await agree(form, button, clashes).catch((error) => say(error.message, "bad"));
  if (!answer) {
    if (form.dataset.shows) back(form);
    return;
  }
  const isTaken = await during("Saving. Connecting may take a minute.", button, () => send(form, button, was));
  if (isTaken) uses.forEach((part) => part.answered?.(form, answer));
}

// A button that leaves the fields alone needs only what it is meant for.
function isWrong(form, button) {
  all("[data-host]", form).forEach(strip);
  follow(form);
  const wrong = mark(form, fieldsOf(form).filter((field) => !button.formNoValidate || field.type === "radio"));
  wrong?.focus();
  return Boolean(wrong);
}

// What is in force is asked for again, so that what others did meanwhile is neither undone nor hidden.
function lookUp(form) {
  if (form.matches("[data-settings]")) return inForce();
  if (!form.dataset.list) return newest();
  return main().dataset.source ? get(nameOf(document)) : inForce();
}

// A page that could not read its settings shows others; what the form holds is none of theirs then.
function troubleOf(form, page) {
  const text = form.matches("[data-settings]") && nameOf(page) === sourceName() ? messageOf(page) : "";
  return form.dataset.despite && text.includes(form.dataset.despite) ? "" : text;
}

// Asks about what the form is about to do; nothing when it is not to be done.
async function agree(form, button, clashes) {
  const label = textOf(button);
  if (button.dataset.confirm) return ask(button.dataset.confirm, {}, [["yes", label]], true);
  if (form.dataset.shows && forms().some(isEdited))
    return ask("Go on without saving?", { warnings: ["What was changed on this page is lost then."] }, [["yes", "Go on"]], true);
  if (!form.matches("[data-settings]")) return "yes";
  const changes = changesOf(form);
  const warnings = [...warningsOf(form), ...all("[data-told]", form).map(textOf).filter(Boolean), ...await strayOf(form),
    ...clashes.map((name) => `${name}: somebody else has changed this too. What stands here replaces it.`)];
  const answers = await uses.find((part) => part.answers)?.answers(form) ?? [["yes", label]];
  return ask(changes.length ? "Save these changes?" : `Nothing was changed. ${label} all the same?`, { changes, warnings }, answers);
}

// Returns whether the appliance took what was sent.
async function send(form, button, was) {
  const data = new FormData(form);
  if (button.name) data.set(button.name, button.value);
  const { done, said = "Saved." } = form.dataset;
  if (done) data.set("next_file", done);
  const page = await post(data);
  const text = messageOf(page);
  const seen = one("[name=seen]", page);
  if (seen && form.elements.seen) form.elements.seen.value = seen.value;
  const isRefused = done && nameOf(page) !== done;
  const result = isRefused ? { text, kind: "bad" } : await outcomeOf({ form, button, was, page, text, said, data });
  const isTaken = result.kind !== "bad";
  if (isTaken) await settle(form, result.page ?? page);
  say(result.text || (isTaken ? messageOf(newest()) : ""), result.kind);
  return isTaken;
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
    if (form.matches("[data-settings]") && nameOf(page) !== sourceName()) freshen(await reload(), form);
    forms().forEach(follow);
  }
  uses.forEach(({ settled }) => settled?.(true));
}

const reload = () => inForce().catch(() => { throw new Error("Saved. What is in force now could not be fetched: reload the page."); });

function fillFrom(page, form) {
  const tell = teller(form, page);
  valuesOf(form).forEach((field) => fill(field, tell(field.name)));
  follow(form);
}

// ---- what forms do ----

// A mistake goes while it is mended, not when the field is left: then the button that is pressed would move away.
function mend({ target }) {
  const { form } = target;
  if (!form) return;
  follow(form);
  if (!isBusy()) say("");
  const fields = fieldsOf(target.closest("[data-item], .octets, .moment, .checks, tbody") ?? target.parentElement);
  if (fields.some((field) => field.hasAttribute("aria-invalid"))) mark(form, fields);
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

// Of a whole address only the host counts.
function strip(field) {
  field.value = /^(?:[a-z][a-z\d+.-]*:\/\/)?(?:[^@/]*@)?([^/?#:]*)/i.exec(field.value.trim())[1];
}

// An address may be pasted whole; a dot or the third digit goes on to the next number.
function octets(group) {
  const fields = fieldsOf(group);
  group.addEventListener("paste", (event) => {
    const parts = /^(\d{1,3})\.(\d{1,3})\.(\d{1,3})\.(\d{1,3})(?:[/:].*)?$/.exec(event.clipboardData.getData("text").trim());
    if (!parts) return;
    event.preventDefault();
    write(fields, parts.slice(1).map(Number));
    fields.at(-1).focus();
  });
  group.addEventListener("input", ({ target, data }) => {
    const isDone = /^(\d+\.|\d{3})$/.test(target.value);
    target.value = target.value.replace(/\D/g, "");
    if (data && isDone) fields[fields.indexOf(target) + 1]?.select();
  });
  group.addEventListener("change", ({ target }) => (target.value = target.value.replace(/^0+(?=\d)/, ""))); // no octal number
  group.addEventListener("keydown", (event) => {
    const { key, target } = event;
    const at = fields.indexOf(target);
    if (key === "Backspace" && !target.value) fields[at - 1]?.focus();
    if (key !== ".") return;
    event.preventDefault();
    if (target.value && target.selectionStart > 0) fields[at + 1]?.select(); // not from one that was just come to
  });
}

// ---- the content of the page ----

// A switch that had to be a list, because a page without values cannot be filled in, becomes a switch.
function switchFor(list) {
  const label = list.getAttribute("aria-label") ?? false;
  const field = make("input", { type: "checkbox", role: "switch", name: list.name, value: "checked", "aria-label": label });
  field.checked = list.value === "checked";
  before.set(field, list.value ? "" : "unchecked");
  list.replaceWith(make("input", { type: "hidden", name: list.name, value: "unchecked" }), field);
}

// A list without scripts begins with the value in force, or with nothing, before all that can be chosen.
function tidy(list) {
  const [first, ...others] = all("option", list);
  const twin = others.find((option) => option.value === first?.value);
  if (twin && first.selected) twin.selected = true;
  if (twin || first?.value === "") first.remove();
}

// Nothing can be sent before the values in force are in the forms.
async function prepare() {
  const page = main();
  lock();
  builders.length = 0;
  all("select[data-switch]", page).forEach(switchFor);
  all("[data-unscripted]", page).forEach((element) => element.remove());
  all("[data-scripted]", page).forEach((element) => (element.hidden = element.disabled = false));
  all(".octets", page).forEach(octets);
  uses.forEach(({ prepare: begin }) => begin?.(page));
  builders.forEach((build) => build(newest()));
  for (const form of forms()) {
    form.noValidate = true;
    form.addEventListener("submit", submit);
    form.addEventListener("input", mend);
    form.addEventListener("change", mend);
    const isBlank = page.dataset.source && form.matches("[data-settings]");
    for (const field of valuesOf(form)) if (!before.has(field)) before.set(field, isBlank ? "" : valueOf(field));
  }
  settings().forEach(watch);
  await fillIn();
}

async function fillIn() {
  const isOwn = !main().dataset.source && !messageOf(document);
  try {
    if (!isOwn) setNewest(await patiently("Waiting for the values in force.", inForce));
  } catch {
    return say("The values in force could not be fetched, so nothing can be changed. ", "bad", tryAgain());
  }
  for (const form of settings()) {
    const trouble = troubleOf(form, newest());
    form.toggleAttribute("data-locked", Boolean(trouble));
    if (trouble) say(`${trouble} `, "bad", tryAgain());
    else take(form, newest());
  }
  all("select[name]:not([multiple], [size])", main()).forEach(tidy);
  forms().forEach(follow);
  main().dataset.ready = "";
  lock();
  uses.forEach(({ settled }) => settled?.(false));
}

const tryAgain = () => step("Try again", () => {
  say("");
  fillIn();
});

// Takes the whole content, as that of another group; only the message stays where it is.
async function renew(page) {
  const rest = (root) => all(":scope > :not(.message)", root);
  rest(main()).forEach((element) => element.remove());
  one(".message", main()).before(...rest(one("main", page)));
  setNewest(document.cloneNode(true));
  const { name, value } = one("[data-shows] select", main());
  history.replaceState(null, "", `${view(nameOf(document))}&${new URLSearchParams({ [name]: value })}`);
  delete main().dataset.ready;
  await prepare();
}

addEventListener("beforeunload", (event) => {
  if (forms().some(isEdited)) event.preventDefault();
});
addEventListener("change", ({ target }) => {
  if ("host" in target.dataset) strip(target);
  if (target.form?.dataset.shows) target.form.requestSubmit();
});
addEventListener("wheel", ({ target }) => {
  if (target === document.activeElement && target.type === "number") target.blur(); // else it would count
}, { passive: true });

// Begins with the group that the address names, where there are groups.
export async function begin(parts) {
  uses = parts;
  const named = wanted();
  if (named && named !== one("[data-shows]").dataset.shows) await choose(named).then(renew, prepare);
  else await prepare();
}
