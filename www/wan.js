// The settings of a connection: addresses that go together, and taking the connection into use.
import { during, get, isPage, messageOf, post, say, step, view } from "./page.js";
import { bitsOf, RULES } from "./rules.js";
import { named, valueIn } from "./values.js";

RULES.push(function mask({ value, dataset }) {
  const isMask = /^1+0+$/.test((bitsOf(value) >>> 0).toString(2));
  return "mask" in dataset && value && !isMask ? "A netmask is ones and then zeros, such as 255.255.255.0." : "";
}, function gateway({ value, dataset }, form) {
  const [own, mask] = dataset.beside?.split(" ").map((name) => named(name, form).value) ?? [];
  if (!value || !own || !mask) return "";
  if (own === value) return "The gateway cannot be this appliance itself.";
  return (bitsOf(own) ^ bitsOf(value)) & bitsOf(mask) ? "The gateway must be in the network of the IP address." : "";
});

async function isUsed(choice) {
  const base = await get("nat_base.htm");
  return valueIn(base, "internet_access") === "checked" && valueIn(base, "access_method") === choice;
}

const use = (choice) => during("Connecting. This may take a minute.", null, async () => {
  const page = await post({ this_file: "nat_conn.htm", todo: "save", next_file: "nat_base.htm",
    internet_access: "checked", access_method: choice });
  if (!isPage(page, "nat_base.htm")) throw new Error(messageOf(page));
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
  if (answer === "keep") say("Saved.", "good", step("Use this connection now", () => use(method)));
}
