// Taking a connection into use.
import { during, get, messageOf, post, say, step, view } from "./page.js";

async function isUsed(method) {
  const { values } = await get("nat_base.htm");
  return values.internet_access === "checked" && values.access_method === method;
}

const use = (method, within = "") => during("Connecting. This may take a minute.", null, async () => {
  const page = await post({ this_file: "nat_conn.htm", todo: "save", next_file: "nat_base.htm",
    internet_access: "checked", access_method: method, confirm_within: within });
  if (!page.accepted) throw new Error(messageOf(page));
  location.assign(view("nat_status.htm"));
});

// A connection that is not in use can be taken into use along with its settings, or afterwards.
export async function answers({ dataset: { method } }) {
  if (!method || await isUsed(method)) return null;
  return [["use", "Save and use this connection now"], ["keep", "Save only"]];
}

export function answered(form, answer) {
  const { method } = form.dataset;
  if (answer === "use") use(method, new FormData(form).get("confirm_within") ?? "");
  if (answer === "keep") say("Saved.", "good", step("Use this connection now", () => use(method)));
}
