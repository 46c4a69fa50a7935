// The bar of a change that waits to be kept: the seconds that it has left, and its button.
import { during, messageOf, one, post, say, textOf } from "./page.js";

let seen, end; // the bar of which answer, and when its time is over

setInterval(() => {
  const left = one("#keep b");
  if (!textOf(left)) return;
  if (left !== seen) end = Date.now() + 1000 * (textOf(left) - 1);
  seen = left;
  const rest = Math.round((end - Date.now()) / 1000);
  left.textContent = rest;
  if (rest < 1) one("#keep").textContent = "The time is over. Reload the page.";
}, 1000);

addEventListener("submit", (event) => {
  const { target } = event;
  if (target.id !== "keep") return;
  event.preventDefault();
  during("", event.submitter, async () => {
    const text = messageOf(await post(new FormData(target)));
    say(text || "Kept.", text ? "bad" : "good");
  });
});
