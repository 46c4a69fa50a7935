// Lists: boxes to choose from, a search field above a long one, applications, modems.
import { follow, RULES } from "./form.js";
import { all, before, builders, current, labelOf, main, make, named, newest, one, step, take, tellers, textOf, valuesOf } from "./page.js";

const SEARCH_FROM = 8; // entries from which a list gets a search field

// ---- what became of a request ----

const isCut = ({ values }) => Object.keys(values).some((key) => key.endsWith("_left_out") && values[key]);
const stateOf = ({ values, lists }) => JSON.stringify([values, lists]);

export function outcome({ form, was, page, text, said, data }) {
  const { list, good, deletes } = form.dataset;
  if (list === undefined) return null;
  const now = Object.values(page.lists).flat().map(firstWord);
  const left = deletes ? data.getAll(deletes).filter((value) => now.includes(value)) : [];
  if (left.length) return { text: `Still on the list: ${left.join(", ")}. ${text}`, kind: "bad" };
  if (stateOf(was) !== stateOf(page)) return { text: text || said, kind: !text || (good && text.includes(good)) ? "good" : "" };
  if (text) return { text, kind: text.startsWith("Warning") ? "" : "bad" };
  return isCut(page) ? { text: `${said} The list is too long to show it.`, kind: "good" }
    : { text: "Nothing has changed: the list is as it was.", kind: "" };
}

// ---- boxes ----

// An entry counts by its first word, as where it is stored.
const firstWord = (entry) => entry.split(/\s/)[0];

// A list to choose several of gets a box for each.
function checklist(list) {
  const { name, form, dataset: { options } } = list;
  const boxes = make("div", { className: "checks", role: "group", ariaLabel: labelOf(list) });
  const box = (value, more) => make("input", { type: "checkbox", name, value, ...more });
  list.closest(".field").replaceWith(boxes);
  builders.push(({ lists }) => {
    boxes.replaceChildren(...lists[options].map((entry) => make("label", {}, box(firstWord(entry)), ` ${entry}`)));
    boxes.dispatchEvent(new Event("renewed"));
  });
  searchable(boxes, (text) => isCut(newest) && step(`Delete ${text} from the list`, () => {
    boxes.append(box(text, { checked: true, hidden: true }));
    form.requestSubmit(one(".danger", form));
  }));
}

RULES.push(function chosen(field) {
  const boxes = field.closest(".checks");
  return boxes && one("input", boxes) === field && !one(":checked", boxes) ? "Choose from the list." : "";
});

// ---- searching ----

// `beyond` makes a button for what the list does not show.
function searchable(list, beyond = () => "") {
  const field = one("[type=search]", list.closest("fieldset, main"));
  const box = field.closest(".field");
  field.oninput = () => {
    const text = field.value.trim();
    const entries = all("tbody tr, label", list);
    for (const entry of entries) entry.hidden = !entry.textContent.toLowerCase().includes(text.toLowerCase());
    const { length } = entries.filter(({ hidden }) => !hidden);
    box.hidden = entries.length < SEARCH_FROM;
    one("output", box).replaceChildren(text && `${length} found `, (text && !length && beyond(text)) || "");
  };
  list.addEventListener("renewed", field.oninput);
  field.oninput();
}

// ---- modems ----

// Choosing a modem brings the init string that the list knows for it.
function modems(list) {
  let inits = [...textOf(one("#inits")).matchAll(/'(.*)',?$/gm)].map((match) => match[1].replaceAll("\\\\", "\\"));
  builders.push(({ lists }) => (inits = lists.a_init));
  list.addEventListener("change", () => {
    const at = list.selectedIndex - list.length + inits.length;
    if (at >= 0) named("nat_init_string", list.form).value = inits[at];
  });
}

// ---- applications ----

// What a page tells of an application: for each field a list with a value for each of them.
function settingsOf(name, { lists }) {
  const row = lists.nat_sap_list.indexOf(name);
  return Object.fromEntries(all("[data-each]").map(({ id, dataset }) => [id, lists[dataset.each][row]]));
}

// "TCP 554", "UDP 6970 to 7170" or "none".
function rangeOf(get, way) {
  const [protocol, first, last] = ["pr_list", "port01", "port02"].map((name) => get(`v_nat_sap${way}_${name}`));
  const ports = [...new Set([first, last])].filter(Boolean).join(" to ");
  return ["none", "n/a"].includes(protocol) ? protocol : `${protocol} ${ports || "all ports"}`;
}

// What an application opens, in words.
function openingOf(get) {
  const [incoming, outgoing] = [rangeOf(get, "in"), rangeOf(get, "out")];
  const text = [incoming !== "none" && `opens ${incoming} from the internet`,
    outgoing !== "none" && `lets ${outgoing} out to the internet`].filter(Boolean).join(" and ");
  if (!text || /n\/a/.test(text)) return "";
  return get("v_nat_sap_enable") === "checked" ? `This ${text}.` : `Off. Switched on, this ${text}.`;
}

RULES.push(function opening({ name }, form) {
  if (name !== "v_nat_sapin_pr_list" || (one("[type=radio]", form) && !chosenIn(form))) return "";
  const isNothing = ["in", "out"].every((way) => current(`v_nat_sap${way}_pr_list`, form) === "none");
  return isNothing ? "Choose a protocol for at least one direction." : "";
});

const chosenIn = (form) => one("input[type=radio]:checked", form)?.value;

// Choosing an application shows its settings in the fields below.
function applications(list) {
  const { form } = list;
  const rows = make("div", { className: "checks" });
  list.closest(".field").replaceWith(rows);
  tellers.set(form, (page) => settingsOf(chosenIn(form), page));
  const onchange = () => {
    valuesOf(form).forEach((field) => before.delete(field));
    take(form, newest);
    follow(form);
  };
  builders.push((page) => {
    const chosen = chosenIn(form);
    rows.replaceChildren(...page.lists.nat_sap_list.map((value) => {
      const get = (name) => settingsOf(value, page)[name];
      const radio = make("input", { type: "radio", name: list.name, value, checked: value === chosen, onchange });
      return make("label", {}, radio, ` ${value} `, make("small", {}, openingOf(get) || (get("v_nat_sap_enable") === "checked" ? "On." : "Off.")));
    }));
    rows.dispatchEvent(new Event("renewed"));
  });
  searchable(rows);
}

export function prepare() {
  for (const link of all("nav a", main)) if (textOf(link) === textOf(one("h2", main))) link.ariaCurrent = "page";
  all("select[multiple]", main).forEach(checklist);
  all("[data-applications]", main).forEach(applications);
  all("[data-modems]", main).forEach(modems);
  all(".wide", main).forEach((table) => searchable(table));
  for (const text of all("[data-told]", main)) {
    const form = text.closest("form");
    form.addEventListener("followed", () => (text.textContent = openingOf((name) => current(name, form))));
  }
}
