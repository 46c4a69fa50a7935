// Hosts that the appliance knows can be chosen where the address of one is asked for.
import { all, main, make, view } from "./page.js";
import { fieldsOf, labelOf, write } from "./values.js";

let hosts = null; // each { address, name, mac }; an older program knows none

async function fetchHosts() {
  const answer = await fetch(view("hosts")).catch(() => null);
  return answer?.headers.get("Content-Type")?.includes("json") ? answer.json() : [];
}

function offer(place) {
  const fields = place.matches("input") ? [place] : fieldsOf(place);
  const group = place.closest("[role=group]")?.getAttribute("aria-label") ?? labelOf(place);
  const list = make("select", { class: "pick", "aria-label": `${group}: hosts of the LAN` }, new Option("Choose a host", ""),
    ...hosts.map(({ address, name }) => new Option(`${address} ${name}`, address)));
  list.addEventListener("change", () => {
    write(fields, list.value.split(".").slice(-fields.length));
    list.value = "";
  });
  place.after(list);
}

export async function prepare() {
  hosts ??= await fetchHosts();
  if (hosts.length) all("[data-hosts]", main()).forEach(offer);
}
