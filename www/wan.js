// The settings of a connection: addresses that go together, and taking the connection into use.
import { all, during, get, messageOf, nameOf, post, say, step, view } from "./page.js";
import { ADDRESS_RULES, isWhole, numberOf } from "./rules.js";
import { fieldsOf, valueIn, valueOf } from "./values.js";

const beginning = (name, form) => all(".octets", form).map((group) => fieldsOf(group)).find(([first]) => first.name.startsWith(name)).map(valueOf);

ADDRESS_RULES.push(function mask(group, parts) {
  const isMask = /^1+0+$/.test(numberOf(parts).toString(2));
  return group.matches("[data-mask]") && !isMask ? "A netmask is ones and then zeros, such as 255.255.255.0." : "";
}, function gateway(group, parts, form) {
  if (!group.dataset.beside) return "";
  const [own, mask] = group.dataset.beside.split(" ").map((name) => beginning(name, form));
  if (![own, mask].every(isWhole)) return "";
  if (numberOf(own) === numberOf(parts)) return "The gateway cannot be this appliance itself.";
  const isInside = parts.every((part, at) => (part & mask[at]) === (own[at] & mask[at]));
  return isInside ? "" : "The gateway must be in the network of the IP address.";
});

async function isUsed(choice) {
  const base = await get("nat_base.htm");
  return valueIn(base, "internet_access") === "checked" && valueIn(base, "access_method") === choice;
}

const use = (choice) => during("Connecting. This may take a minute.", null, async () => {
  const page = await post({ this_file: "nat_conn.htm", todo: "save", next_file: "nat_base.htm",
    internet_access: "checked", access_method: choice });
  if (nameOf(page) !== "nat_base.htm") throw new Error(messageOf(page));
  sessionStorage.removeItem("link");
  location.assign(view("nat_status.htm"));
});

// A connection that is not in use can be taken into use along with its settings, or afterwards.
export async function answers({ dataset: { method } }) {
  if (!method || await isUsed(method)) return null;
  return [["use", "Save and use this connection now"], ["keep", "Save only"]];
}

export function answered({ dataset: { method } }, answer) {
  if (answer === "use") use(method);
  if (answer === "keep") say("Saved. ", "good", step("Use this connection now", () => use(method)));
}
