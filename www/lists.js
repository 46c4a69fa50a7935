// Lists: boxes to choose from, a search field above a long one, applications, modems.
import { all, main, make, one, step, textOf } from "./page.js";
import { follow, RULES } from "./rules.js";
import { before, builders, current, fill, labelOf, named, newest, take, tellers, valuesOf, write } from "./values.js";

const SEARCH_FROM = 8; // entries from which a list gets a search field
const PROTOCOLS = ["TCP", "UDP", "TCP/UDP", "none", "n/a"]; // as the lists of applications count them

// ---- what became of a request ----

// The entries of a list as a page shows them, before its value where it has one.
function entriesOf(name, page) {
  if (name === "applications") return applicationsIn(page).map((application) => Object.values(application).join(" "));
  const list = all("select", one("main", page)).find((each) => each.name === name);
  const texts = all("option", list).map(({ text }) => text.trim());
  return list.multiple ? texts : [list.value, ...texts];
}
const isCut = (page) => Boolean(textOf(one("#cut", page)));

export function outcome({ form, was, page, text, said, data }) {
  const { list, good } = form.dataset;
  if (!list) return null;
  const now = entriesOf(list, page);
  const left = data.getAll(list).filter((value) => form.matches("[data-deletes]") && now.some((entry) => firstWord(entry) === value));
  if (left.length) return { text: `Still on the list: ${left.join(", ")}. ${text}`, kind: "bad" };
  if (entriesOf(list, was).join("\n") !== now.join("\n")) return { text: text || said, kind: !text || (good && text.includes(good)) ? "good" : "" };
  if (text) return { text, kind: text.startsWith("Warning") ? "" : "bad" };
  return isCut(page) ? { text: `${said} The list is too long to show it.`, kind: "good" }
    : { text: "Nothing has changed: the list is as it was.", kind: "" };
}

// ---- boxes ----

// An entry counts by its first word, as where it is stored.
const firstWord = (entry) => entry.split(/\s/)[0];

// A list to choose several of gets a box for each.
function checklist(list) {
  const { name } = list;
  const boxes = make("div", { class: "checks", role: "group", "aria-label": labelOf(list) });
  list.closest(".field").replaceWith(boxes);
  builders.push((page) => {
    boxes.replaceChildren(...entriesOf(name, page).map((entry) => make("label", {},
      make("input", { type: "checkbox", name, value: firstWord(entry) }), ` ${entry}`)));
    boxes.dispatchEvent(new Event("renewed"));
  });
  searchable(boxes, (text) => isCut(newest()) && step(`Delete ${text} from the list`, () => {
    boxes.append(make("input", { type: "checkbox", name, value: text, checked: true, hidden: true }));
    boxes.closest("form").requestSubmit(one(".danger", boxes.closest("form")));
  }));
}

RULES.push(function chosen(field) {
  const boxes = field.closest(".checks");
  return boxes && one("input", boxes) === field && !one(":checked", boxes) ? "Choose at least one." : "";
});

// ---- searching ----

// A search field above a long list or table; `beyond` makes a button for what it does not show.
function searchable(list, beyond = () => null) {
  const entries = () => all("tbody tr, label", list);
  const count = make("output", { class: "count" });
  const unlisted = make("span");
  const find = () => {
    const text = field.value.trim().toLowerCase();
    const found = entries().filter((entry) => entry.textContent.toLowerCase().includes(text));
    entries().forEach((entry) => (entry.hidden = !found.includes(entry)));
    box.hidden = entries().length < SEARCH_FROM;
    count.textContent = text && `${found.length} found`;
    unlisted.replaceChildren((text && !found.length && beyond(field.value.trim())) || "");
  };
  const field = make("input", { type: "search", input: find });
  const box = make("div", { class: "field" }, make("label", {}, make("span", {}, "Search "), field), count, unlisted);
  list.closest(".wide, .checks").before(box);
  list.addEventListener("renewed", find);
  find();
}

// ---- modems ----

// Choosing a modem brings the init string that the list knows for it.
function modems(list) {
  list.addEventListener("change", () => {
    const inits = [...textOf(one("#inits")).matchAll(/'(.*)',?$/gm)].map((match) => match[1].replaceAll("\\\\", "\\"));
    const names = all("option", list).slice(-inits.length).map((option) => option.value);
    const init = inits[names.indexOf(list.value)];
    if (init !== undefined) write([named("nat_init_string", list.form)], [init]);
  });
}

// ---- applications ----

// The applications as a page lists them: a name, and the value of each field.
function applicationsIn(page) {
  const column = (id) => textOf(one(`#${id}`, page)).split(",").map((cell) => cell.replaceAll('"', ""));
  const [on, inpr, in1, in2, outpr, out1, out2] =
    ["a_sap_enable", "a_inpr", "a_port1in", "a_port2in", "a_outpr", "a_port1out", "a_port2out"].map(column);
  return all("select[data-applications] option", page).map((option, row) => ({
    name: option.text.trim(), v_nat_sap_enable: on[row] === "1" ? "checked" : "unchecked",
    v_nat_sapin_pr_list: PROTOCOLS[inpr[row]], v_nat_sapin_port01: in1[row], v_nat_sapin_port02: in2[row],
    v_nat_sapout_pr_list: PROTOCOLS[outpr[row]], v_nat_sapout_port01: out1[row], v_nat_sapout_port02: out2[row],
  }));
}

// "TCP 554", "UDP 6970 to 7170" or "none".
function rangeOf(get, way) {
  const [protocol, first, last] = ["pr_list", "port01", "port02"].map((name) => get(`v_nat_sap${way}_${name}`));
  const ports = [...new Set([first, last])].filter(Boolean).join(" to ");
  return ["none", "n/a"].includes(protocol) ? protocol : `${protocol} ${ports || "all ports"}`;
}

// What an application opens, in words.
function openingOf(form) {
  const get = (name) => current(name, form);
  const [incoming, outgoing] = [rangeOf(get, "in"), rangeOf(get, "out")];
  if (incoming === "n/a" || outgoing === "n/a") return "";
  const text = [incoming === "none" ? "" : `opens ${incoming} from the internet`,
    outgoing === "none" ? "" : `lets ${outgoing} out to the internet`].filter(Boolean).join(" and ");
  if (!text) return "";
  return get("v_nat_sap_enable") === "checked" ? `This ${text}.` : `Off. Switched on, this ${text}.`;
}

RULES.push(function opening(field, form) {
  if (field.name !== "v_nat_sapin_pr_list" || (one("[type=radio]", form) && !chosenIn(form))) return "";
  const isNothing = ["in", "out"].every((way) => current(`v_nat_sap${way}_pr_list`, form) === "none");
  return isNothing ? "Choose a protocol for at least one direction." : "";
});

const chosenIn = (form) => one("input[type=radio]:checked", form)?.value;

// The list of applications becomes a table; choosing one shows its settings in the fields below.
function applications(list) {
  const { form } = list;
  const rows = make("tbody");
  const heads = ["Application", "State", "From the internet", "To the internet"];
  const table = make("table", {}, make("thead", {}, make("tr", {}, ...heads.map((head) => make("th", { scope: "col" }, head)))), rows);
  list.closest(".field").replaceWith(make("div", { class: "wide" }, table));
  tellers.set(form, (page) => {
    const chosen = applicationsIn(page).find(({ name }) => name === chosenIn(form));
    return (name) => chosen?.[name];
  });
  const show = () => {
    valuesOf(form).forEach((field) => before.delete(field));
    take(form, newest());
    follow(form);
  };
  builders.push((page) => {
    const chosen = chosenIn(form);
    rows.replaceChildren(...applicationsIn(page).map((application) => {
      const get = (name) => application[name];
      const choice = make("input", { type: "radio", name: list.name, value: get("name"), required: true, change: show });
      choice.checked = get("name") === chosen;
      const cells = [get("v_nat_sap_enable") === "checked" ? "on" : "off", rangeOf(get, "in"), rangeOf(get, "out")];
      return make("tr", {}, make("th", { scope: "row" }, make("label", {}, choice, ` ${get("name")}`)),
        ...cells.map((cell) => make("td", {}, cell)));
    }));
    table.dispatchEvent(new Event("renewed"));
  });
}

export function prepare(page) {
  all("select[multiple]", page).forEach(checklist);
  all("select[data-applications]", page).forEach(applications);
  all("select[data-modems]", page).forEach(modems);
  all("table[data-search]", page).forEach((table) => searchable(table));
  for (const text of all("[data-told]", page)) {
    const form = text.closest("form");
    form.addEventListener("followed", () => (text.textContent = openingOf(form)));
  }
}
