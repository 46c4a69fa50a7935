// What the pages do by themselves. Without it every page is still a form that works: the overviews are
// filled in by the appliance, and the appliance checks whatever is sent. The markup says what is wanted:
//
//   body   data-uses     further scripts of this page
//   main   data-source   page that holds the values in force (pages that cannot show them themselves)
//          data-refresh  seconds after which the page is looked at again
//   form   data-settings edits what is in force: says what changes, asks before it is sent
//          data-despite  words of messages that do not concern it
//          data-done     page to ask for as the sign that everything was accepted
//          data-said     what to say after a success
//          data-list     list whose entries show what became of it
//          data-deletes  the chosen entries shall be gone from it then
//          data-good     words of a message that is good news
//          data-fills    form that gets the values of the answer, not yet saved
//          data-shows    chooses what the page shows, which is this; its choice is sent at once and kept in the address
//          data-method   access method whose settings these are
//   item   data-item     name of a setting that is made of several fields, such as a switch and an address
//          data-need     "name=value|value": must be filled while that field has one of the values, else it does not count
//          data-with     the same for what may be left blank
//   field  data-word     what stands before its value in the list of changes
//          data-same     name of the field that it repeats
//          data-from     name of the first field of a range of which it is the last
//          data-port     cannot be that of another server that is on
//          data-typed    empty again after a success
//          data-host     only the host of a pasted address is left of it
//          data-hosts    gets a list of the hosts of the LAN to choose from
//   parts  data-join     become one field; what stands between them there
//          data-type     kind of that field
//          data-digits   how many each part has
//          data-mask     is a netmask
//          data-beside   address and netmask of the network that this gateway must be in
//          data-lan      "in" or "out": where this address should be, seen from the LAN
//   text   data-warn     "name=value name!=value name": shown while all hold (a bare name: was changed), told before a save
//   part   data-live     is taken from the newest answer, by its id
//          data-told     what is said here is told before a save
//          data-unscripted, data-scripted  is there without, or only with scripts
//          data-words    words for the numbers in a list
//   button data-confirm  question to ask first
//          data-goal     "up" or "down": what the link shall be then
//          data-empties  id of the part that shall be empty then
//          data-silent   says nothing after a success

for (const form of document.forms) form.inert = true; // until the values in force are in it

// Says what is missing when a server does not hand out all scripts, as with settings older than the pages.
const tell = ({ message }) => document.querySelector(".message")?.replaceChildren(
  `This page is not complete, so nothing can be changed here: ${message}. `
  + "Reload it. If this comes back, let the web server hand out all files whose names end in .js.");

try {
  // What a page brings along: how it prepares its content, what became of a request, what is to be done after one.
  const load = (name) => import(`./${name}.js`);
  const [{ all, main, one, textOf }, ...uses] = await Promise.all(["page", ...document.body.dataset.uses.split(" ")].map(load));
  document.title = `${textOf(one("h1"))} - ${location.hostname}`; // there may be several appliances

  const narrow = matchMedia("(max-width: 52rem)");
  const fold = () => one(".menu").toggleAttribute("open", !narrow.matches);
  narrow.addEventListener("change", fold);
  fold();

  let begun = null;
  const begin = () => (begun ??= load("form").then((form) => form.begin(uses)).catch(tell));

  // Forms behind "Change" come to life when one of them is asked for.
  const shutters = all("details", main);
  for (const shutter of shutters) shutter.addEventListener("toggle", begin, { once: true });
  if (shutters.length) {
    uses.forEach(({ settled }) => settled?.());
    main.dataset.shut = "";
  } else {
    await begin();
  }
} catch (error) {
  tell(error);
}
