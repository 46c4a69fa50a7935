// The bar of a change that waits to be kept: the seconds that it has left, and its button.
import { during, messageOf, one, post, say } from "./page.js";

const bar = one("#keep");

setInterval(() => {
  const rest = Math.round((bar.dataset.end - Date.now()) / 1000);
  if (!bar.dataset.change || !one("b", bar)) return;
  one("b", bar).textContent = rest;
  if (rest < 1) bar.textContent = "The time is over. Reload the page.";
}, 1000);

bar.addEventListener("submit", (event) => {
  event.preventDefault();
  const { change } = bar.dataset;
  during("", event.submitter, async () => {
    const page = await post(new FormData(bar));
    if (page.accepted) Object.assign(bar.dataset, { kept: change, change: "" });
    say(page.accepted ? "Kept." : messageOf(page), page.accepted ? "good" : "bad");
  });
});
