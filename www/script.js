// What the pages do by themselves. Without it every page is still a form that works: the overviews are
// filled in by the appliance, and the appliance checks whatever is sent. The markup says what is wanted:
//
//   main   data-source   page that holds the values in force (pages that cannot show them themselves)
//          data-refresh  seconds after which the parts marked data-live are fetched again
//   form   data-done     page to ask for as the sign that everything was accepted
//          data-said     what to say after a success
//   item   data-item     name of a setting that is made of several fields, such as a switch and an address
//   field  data-word     what stands before its value in the list of changes
//          data-need     "name=value": must be filled while that field has that value
//          data-same     name of the field that it repeats
//          data-from     name of the first field of a range of which it is the last
//          data-typed    empty again after a success
//   text   data-warn     "name=value name!=value name": shown before a save when all hold (a bare name: was changed)
//   button data-confirm  question to ask first

const NOT_CONNECTED = "10.112.112.112"; // the address of a link that is not up
const STATE_SECONDS = 60;
const SEARCH_FROM = 8; // entries from which a list gets a search field

const all = (selector, root = document) => [...root.querySelectorAll(selector)];
const one = (selector, root = document) => root.querySelector(selector);
const main = () => one("main");
const view = (page) => `nat.cgi?next_file=${page}`;

function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === "function") element.addEventListener(name, value);
    else if (value !== false) element.setAttribute(name, value === true ? "" : value);
  }
  element.append(...children);
  return element;
}

async function fetchPage(address, options) {
  const answer = await fetch(address, { cache: "no-store", ...options });
  return new DOMParser().parseFromString(await answer.text(), "text/html");
}

// ---- fields and their values ----

const isSwitch = (field) => field.type === "checkbox" && field.value === "checked";
const fieldsOf = (root) =>
  all("input[name], select[name]", root).filter((field) => !["hidden", "file", "submit"].includes(field.type));
const valueOf = (field) => (isSwitch(field) ? (field.checked ? "checked" : "unchecked") : field.value);

function fill(field, value) {
  if (isSwitch(field)) {
    field.checked = value === "checked";
    return;
  }
  if (field.tagName === "SELECT" && !all("option", field).some((option) => option.value === value))
    field.prepend(make("option", { value }, value));
  field.value = value;
}

const named = (name, root) => fieldsOf(root).find((field) => field.name === name);
const settings = () => all("form", main()).filter((form) => one("input[name=todo][value=save]", form));

let source = null; // the page with the values in force
const before = new WeakMap(); // field: its value in force

// The value of a field: as it stands on this page, or else as it is in force.
function current(name, form) {
  const field = named(name, form) ?? named(name, main()) ?? (source && named(name, one("main", source)));
  return field ? valueOf(field) : "";
}

const isChanged = (field) => before.has(field) && valueOf(field) !== before.get(field);

// ---- changes, in words ----

const labelOf = (field) => field.getAttribute("aria-label") ?? one("span", field.closest(".field")).textContent;

function wordOf(field, get) {
  const value = get(field);
  if (field.tagName !== "SELECT") return isSwitch(field) ? (value === "checked" ? "on" : "off") : value || "empty";
  return all("option", field).find((option) => option.value === value)?.text ?? value;
}

// "off", "192.168.1.9, port 80" or, where the parts of something that is off are to be told, "off (192.168.1.9)".
function describe(item, get, whole) {
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

function changesOf(form) {
  const changes = [];
  const seen = new Set();
  for (const field of fieldsOf(form).filter(isChanged)) {
    const item = field.closest("[data-item]");
    if (seen.has(item ?? field)) continue;
    seen.add(item ?? field);
    if (field.type === "password") {
      if (!field.dataset.same) changes.push([labelOf(field), "changed"]);
      continue;
    }
    const was = (each) => before.get(each);
    if (!item) {
      changes.push([labelOf(field), wordOf(field, was), wordOf(field, valueOf)]);
      continue;
    }
    const same = describe(item, was) === describe(item, valueOf);
    changes.push([item.dataset.item, describe(item, was, same), describe(item, valueOf, same)]);
  }
  return changes;
}

const inWords = ([label, was, now]) => `${label}: ${was}${now === undefined ? "" : ` to ${now}`}`;

function warningsOf(form) {
  const holds = (condition) => {
    const [, name, sign, value] = /^(\w+)(!?=)?(.*)$/.exec(condition);
    if (!sign) return Boolean(named(name, form) && isChanged(named(name, form)));
    return (current(name, form) === value) === (sign === "=");
  };
  return all("[data-warn]", form).filter((text) => {
    const conditions = text.dataset.warn.split(" ");
    const fields = conditions.map((each) => named(/^\w+/.exec(each)[0], form));
    return conditions.every(holds) && fields.some((field) => field && isChanged(field));
  });
}

// ---- mistakes ----

// A field is needed while another one has a certain value, or what it belongs to is switched on.
function isNeeded(element, form) {
  const [name, value] = (element.dataset.need ?? "").split("=");
  if (name) return current(name, form) === value;
  const item = element.matches("[data-port], .octets") && element.closest("[data-item]");
  const isOn = item && fieldsOf(item).find(isSwitch);
  return Boolean(isOn?.checked);
}

// What is wrong with a field, in words; nothing when it is right.
function mistakeOf(field, form) {
  const group = field.closest(".octets");
  const { min, max } = field;
  const range = max ? `a whole number from ${min} to ${max}` : `a whole number, ${min} or more`;
  if (field.validity.badInput || field.validity.stepMismatch) return `Enter ${range}.`;
  if (group) {
    const octets = fieldsOf(group);
    const filled = octets.filter((octet) => octet.value);
    if (!field.value && (filled.length || field.required || isNeeded(group, form)))
      return "Enter all four parts of the address.";
  }
  if (field.validity.valueMissing || (!field.value && isNeeded(field, form))) return "Fill this in.";
  if (field.validity.rangeUnderflow || field.validity.rangeOverflow) return `Enter ${range}.`;
  if (field.validity.patternMismatch) return `Enter ${group ? "a number from 0 to 255" : field.title}.`;
  if (field.dataset.same && field.value !== named(field.dataset.same, form).value)
    return "The two passwords are not the same.";
  if (field.dataset.from && field.value && Number(field.value) < Number(named(field.dataset.from, form).value))
    return "The last of a range cannot come before the first.";
  return field.hasAttribute("data-port") ? clashOf(field, form) : "";
}

// Two virtual servers that are on cannot have one port.
function clashOf(field, form) {
  if (!isNeeded(field, form)) return "";
  if (Number(field.value) === 0) return "Enter a whole number from 1 to 65535.";
  const others = all("[data-port]", form).filter((other) => isNeeded(other, form));
  const taken = others.slice(0, others.indexOf(field)).find((other) => Number(other.value) === Number(field.value));
  const name = taken?.closest("[data-item]").dataset.item;
  return taken ? `Port ${field.value} is taken by ${name}. Give each server a port of its own.` : "";
}

function showMistake(field, text, isTold = true) {
  const id = `error-${field.name}`;
  one(`#${id}`)?.remove();
  field.removeAttribute("aria-invalid");
  field.removeAttribute("aria-describedby");
  if (!text) return;
  field.setAttribute("aria-invalid", "true");
  if (!isTold) return;
  field.setAttribute("aria-describedby", id);
  const place = field.closest("td, .field");
  place[place.tagName === "TD" ? "append" : "after"](make("p", { class: "error", id }, text));
}

// Marks what is wrong, an address only once; returns the first field that is.
function mark(form, fields) {
  let first = null;
  let told = null;
  for (const field of fields) {
    const text = mistakeOf(field, form);
    const group = field.closest(".octets");
    showMistake(field, text, !group || group !== told);
    if (text) told = group;
    if (text) first ??= field;
  }
  return first;
}

// A mistake goes while it is mended, not when the field is left: then the button that is pressed would move away.
function mend({ target }) {
  const fields = fieldsOf(target.closest("[data-item], .octets") ?? target.parentElement);
  if (fields.some((field) => field.hasAttribute("aria-invalid"))) mark(target.form, fields);
}

// ---- telling and asking ----

function say(text, kind = "") {
  const line = one(".message", main());
  line.dataset.kind = kind;
  line.textContent = text;
  if (text) line.scrollIntoView({ block: "nearest" });
}

// What destroys something is not a mere press of the Enter key away.
function ask(title, lists, yes, isGrave = false) {
  const dialog = make("dialog", { "aria-labelledby": "question" }, make("h2", { id: "question" }, title));
  for (const [kind, texts] of Object.entries(lists))
    if (texts.length) dialog.append(make("ul", { class: kind }, ...texts.map((text) => make("li", {}, text))));
  const answer = (value, label, look, isFirst) =>
    make("button", { type: "button", class: look, autofocus: isFirst, click: () => dialog.close(value) }, label);
  dialog.append(make("div", { class: "buttons" },
    answer("yes", yes, isGrave ? "danger" : "", !isGrave), answer("", "Go back", "quiet", isGrave)));
  document.body.append(dialog);
  dialog.showModal();
  return new Promise((resolve) => {
    dialog.addEventListener("close", () => {
      dialog.remove();
      resolve(dialog.returnValue === "yes");
    });
  });
}

async function agree(form, button) {
  const lost = settings().some((other) => other !== form && changesOf(other).length)
    ? ["Changes in other sections of this page are not saved with it and will be lost."]
    : [];
  if (button.dataset.confirm) return ask(button.dataset.confirm, { warnings: lost }, button.textContent, true);
  if (!settings().includes(form))
    return !lost.length || ask("Go on without saving?", { warnings: lost }, button.textContent);
  const changes = changesOf(form).map(inWords);
  const warnings = warningsOf(form).map((text) => text.textContent).concat(lost);
  if (!changes.length) return ask("Nothing was changed. Save all the same?", { warnings }, "Save");
  return ask("Save these changes?", { changes, warnings }, "Save");
}

// ---- sending ----

const isBusy = () => "busy" in document.body.dataset;

async function submit(event) {
  event.preventDefault();
  const form = event.target;
  const button = event.submitter ?? one("button", form);
  const wrong = button.formNoValidate ? null : mark(form, fieldsOf(form));
  wrong?.focus();
  if (wrong || isBusy() || !(await agree(form, button))) return;
  document.body.dataset.busy = "";
  button.setAttribute("aria-busy", "true");
  button.disabled = true;
  try {
    await send(form, button);
  } catch {
    say("The appliance did not answer. It may be starting its network anew: wait a moment, then try again.", "bad");
  } finally {
    delete document.body.dataset.busy;
    button.removeAttribute("aria-busy");
    button.disabled = false;
  }
}

async function send(form, button) {
  const data = new FormData(form);
  if (button.name) data.set(button.name, button.value);
  const { done } = form.dataset;
  if (done) data.set("next_file", done);
  const isUpload = form.enctype === "multipart/form-data";
  const page = await fetchPage(form.getAttribute("action"), {
    method: "POST",
    body: isUpload ? data : new URLSearchParams(data),
  });
  const message = (one(".message", page) ?? page.body).textContent.trim();
  if (!page.body.dataset.page || (done && page.body.dataset.page !== done)) {
    say(message, "bad"); // refused: what was typed stays
    return;
  }
  const at = all("form").indexOf(form);
  await renew(done ? await fetchPage(view(document.body.dataset.page)) : page);
  all("form").forEach((each, index) => {
    if (!message || index !== at) all("[data-typed]", each).forEach((field) => (field.value = ""));
  });
  const told = message || one(".message", main()).textContent.trim(); // the new content may have something to tell, too
  const success = form.dataset.said ?? (data.get("todo") === "save" ? "Saved." : "Done.");
  say(told || success, told ? "" : "good");
  showState();
}

// Takes the content of a page that was fetched.
async function renew(page) {
  main().replaceWith(one("main", page));
  await prepare();
}

// ---- making the page ready ----

// A switch that had to be a list, because a page without values cannot be filled in, becomes a switch.
function switchFor(list) {
  const label = list.getAttribute("aria-label") ?? false;
  const field = make("input", { type: "checkbox", name: list.name, value: "checked", "aria-label": label, "data-blank": !list.value });
  field.checked = list.value === "checked";
  list.replaceWith(make("input", { type: "hidden", name: list.name, value: "unchecked" }), field);
}

// A list without scripts begins with the value in force, or with nothing, before all that can be chosen.
function tidy(list) {
  const [first, ...others] = all("option", list);
  const twin = others.find((option) => option.value === first?.value);
  if (twin && first.selected) twin.selected = true;
  if (twin || first?.value === "") first.remove();
}

async function takeValues() {
  const name = main().dataset.source;
  source = name ? await fetchPage(view(name)).catch(() => null) : null;
  const values = source && one("main", source);
  for (const form of settings()) {
    for (const field of fieldsOf(form)) {
      const shown = values && named(field.name, values);
      if (shown) {
        const isBlank = isSwitch(field) ? field.hasAttribute("data-blank") : !field.value;
        const typed = valueOf(field);
        fill(field, valueOf(shown));
        before.set(field, valueOf(field));
        if (!isBlank) fill(field, typed);
      } else {
        before.set(field, valueOf(field));
      }
    }
  }
  if (name && !values) say("The values in force could not be fetched. Reload the page before you change anything.", "bad");
}

// How much is not saved yet stands beside the button that saves it.
function watch(form) {
  const bar = one(".actions", form);
  const count = make("output", { class: "count" });
  const undo = make("button", { type: "button", class: "quiet", click: () => back(form) }, "Undo changes");
  const tell = () => {
    const changes = changesOf(form);
    count.textContent = changes.length === 1 ? "1 change not saved" : `${changes.length} changes not saved`;
    count.hidden = undo.hidden = !changes.length;
  };
  bar.append(count, undo);
  form.addEventListener("input", tell);
  form.addEventListener("change", tell);
  tell();
}

function back(form) {
  for (const field of fieldsOf(form).filter(isChanged)) {
    fill(field, before.get(field));
    showMistake(field, "");
  }
  form.dispatchEvent(new Event("change", { bubbles: true }));
}

// An address may be pasted whole, and a dot goes to the next part.
function octets(group) {
  const fields = fieldsOf(group);
  group.addEventListener("paste", (event) => {
    const parts = event.clipboardData.getData("text").trim().split(".");
    if (parts.length !== fields.length) return;
    event.preventDefault();
    fields.forEach((field, index) => (field.value = parts[index].slice(0, 3)));
    fields.at(-1).focus();
    fields.at(-1).dispatchEvent(new Event("input", { bubbles: true }));
  });
  group.addEventListener("keydown", (event) => {
    const at = fields.indexOf(event.target);
    if (event.key === "." && event.target.value) fields[at + 1]?.select();
    if (event.key === "Backspace" && !event.target.value && at > 0) fields[at - 1].focus();
    if (event.key === ".") event.preventDefault();
  });
}

// A search field above a long list or table.
function searchable(list) {
  const isTable = list.tagName === "TABLE";
  const entries = () => all(isTable ? "tbody tr" : "option", list);
  const full = isTable ? null : entries();
  if (entries().length < SEARCH_FROM) return;
  const count = make("output", { class: "count" });
  const find = () => {
    const text = field.value.trim().toLowerCase();
    const matches = (entry) => entry.textContent.toLowerCase().includes(text);
    if (isTable) entries().forEach((row) => (row.hidden = !matches(row)));
    else list.replaceChildren(...full.filter((option) => option.selected || matches(option)));
    count.textContent = `${(isTable ? entries() : full).filter(matches).length} found`;
    count.hidden = !text;
  };
  const field = make("input", { type: "search", input: find });
  (isTable ? list.parentElement : list.closest(".field")).before(
    make("div", { class: "field" }, make("label", {}, make("span", {}, "Search "), field), count));
  list.addEventListener("renewed", find);
}

// Fetches the live parts of the page again, while it is seen and nothing is being done on it.
let refreshing = 0;
function refreshEvery(seconds) {
  const box = make("input", { type: "checkbox" });
  box.checked = sessionStorage.getItem("refresh") !== "off";
  box.addEventListener("change", () => sessionStorage.setItem("refresh", box.checked ? "on" : "off"));
  one(".actions", main()).append(
    make("label", { class: "count" }, box, ` Refresh every ${seconds} seconds`));
  clearInterval(refreshing);
  refreshing = setInterval(async () => {
    if (!box.checked || document.hidden || isBusy() || one("dialog[open]")) return;
    const page = await fetchPage(view(document.body.dataset.page)).catch(() => null);
    if (!page || isBusy()) return;
    for (const part of all("[data-live]", main())) {
      const fresh = one(`#${part.id}`, page);
      if (!fresh || fresh.innerHTML === part.innerHTML) continue;
      part.replaceChildren(...fresh.childNodes);
      part.closest("table")?.dispatchEvent(new Event("renewed"));
    }
    showState();
  }, seconds * 1000);
}

// The state of the connection, in the head of every page.
async function showState() {
  const part = (name, root) => one(`[data-state=${name}]`, root)?.textContent.trim() ?? "";
  const own = one("[data-state=method]", main());
  const page = own ? document : await fetchPage(view("nat_status.htm")).catch(() => document.createElement("p"));
  const method = part("method", page);
  const address = part("address", page);
  const isUp = /^\d/.test(address) && address !== NOT_CONNECTED;
  const state = one("#state");
  state.dataset.up = method ? String(isUp) : "";
  state.textContent = !method ? "Connection: unknown" : isUp ? `Connected: ${method}, ${address}` : "Not connected";
}

// ---- pages with a need of their own ----

const listed = (id) => one(`#${id}`)?.textContent.trim() ?? "";

// Choosing a modem brings the init string that the list knows for it.
function modems(list) {
  const inits = [...listed("inits").matchAll(/'(.*)',?$/gm)].map((match) => match[1].replaceAll("\\\\", "\\"));
  const names = all("option", list).slice(-inits.length).map((option) => option.value);
  list.addEventListener("change", () => {
    const init = inits[names.indexOf(list.value)];
    if (init === undefined) return;
    const field = named("nat_init_string", list.form);
    field.value = init;
    field.dispatchEvent(new Event("input", { bubbles: true }));
  });
}

// The list of applications becomes a table; choosing one shows its settings in the fields below.
function applications(list) {
  const form = list.form;
  const column = (id) => listed(id).split(",").map((cell) => cell.replaceAll('"', ""));
  const columns = ["a_sap_enable", "a_inpr", "a_port1in", "a_port2in", "a_outpr", "a_port1out", "a_port2out"].map(column);
  const protocols = all("select[name=v_nat_sapin_pr_list] option", form).map((option) => option.text);
  const range = (protocol, first, last) => `${protocol} ${[...new Set([first, last])].filter(Boolean).join(" to ")}`;
  const rows = all("option", list).map(({ text: name }, row) => {
    const [on, inpr, in1, in2, outpr, out1, out2] = columns.map((cells) => cells[row]);
    const [incoming, outgoing] = [protocols[inpr], protocols[outpr]];
    const values = { v_nat_sapin_pr_list: incoming, v_nat_sapin_port01: in1, v_nat_sapin_port02: in2,
      v_nat_sapout_pr_list: outgoing, v_nat_sapout_port01: out1, v_nat_sapout_port02: out2 };
    const show = () => {
      named("v_nat_sap_enable", form).checked = on === "1";
      for (const [field, value] of Object.entries(values)) fill(named(field, form), value);
    };
    const choice = make("input", { type: "radio", name: list.name, value: name, required: true, change: show });
    return make("tr", {}, make("th", { scope: "row" }, make("label", {}, choice, ` ${name}`)),
      ...[on === "1" ? "on" : "off", range(incoming, in1, in2), range(outgoing, out1, out2)].map((text) => make("td", {}, text)));
  });
  const heads = ["Application", "State", "From the internet", "To the internet"];
  list.closest(".field").replaceWith(make("div", { class: "wide field-table" }, make("table", {},
    make("thead", {}, make("tr", {}, ...heads.map((head) => make("th", { scope: "col" }, head)))),
    make("tbody", {}, ...rows))));
}

// ---- start ----

async function prepare() {
  const page = main();
  all("select[data-switch]", page).forEach(switchFor);
  await takeValues();
  all("select:not([multiple], [size])", page).forEach(tidy);
  all(".octets", page).forEach(octets);
  all("form", page).forEach((form) => {
    form.noValidate = true;
    form.addEventListener("submit", submit);
    form.addEventListener("input", mend);
  });
  settings().forEach(watch);
  all("[data-modems]", page).forEach(modems);
  all("[data-applications]", page).forEach(applications);
  all("[data-search]", page).forEach(searchable);
  all("[data-unscripted]", page).forEach((element) => element.remove());
  if (page.dataset.refresh) refreshEvery(page.dataset.refresh);
  page.dataset.ready = "";
}

addEventListener("beforeunload", (event) => {
  if (main() && settings().some((form) => changesOf(form).length)) event.preventDefault();
});

const narrow = matchMedia("(max-width: 52rem)");
const fold = () => one(".menu").toggleAttribute("open", !narrow.matches);
narrow.addEventListener("change", fold);
fold();
showState();
await prepare();
setInterval(() => document.hidden || showState(), STATE_SECONDS * 1000);
