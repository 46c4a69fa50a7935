// Hosts that the appliance knows are offered where the address of one is asked for, or the last number of it.
import { all, ask, main, make } from "./page.js";

export async function prepare() {
  const hosts = await ask("hosts").then((answer) => answer.json()).catch(() => []);
  const offer = (id, partOf) => document.body.append(make("datalist", { id },
    ...hosts.map(({ address, name }) => make("option", { value: partOf(address) }, `${address} ${name}`))));
  offer("hosts", (address) => address);
  offer("numbers", (address) => address.split(".")[3]);
  for (const field of all("[data-hosts]", main)) field.setAttribute("list", field.type === "number" ? "numbers" : "hosts");
}
