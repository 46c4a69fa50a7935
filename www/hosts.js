// Hosts that the appliance knows are offered where the address of one is asked for, or the last number of it.
import { all, ask, main, make } from "./page.js";

export async function prepare() {
  const answer = await ask("hosts").catch(() => null);
  if (!answer?.headers.get("Content-Type")?.includes("json")) return; // an older program knows none
  const hosts = await answer.json();
  for (const [id, valueOf] of Object.entries({ hosts: (address) => address, numbers: (address) => address.split(".")[3] })) {
    document.getElementById(id)?.remove();
    document.body.append(make("datalist", { id }, ...hosts.map(({ address, name }) =>
      make("option", { value: valueOf(address) }, `${address} ${name}`))));
  }
  for (const field of all("[data-hosts]", main)) field.setAttribute("list", field.type === "number" ? "numbers" : "hosts");
}
