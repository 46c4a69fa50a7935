// What the pages do by themselves. Without it every page is still a form that works: the overviews are
// filled in by the appliance, and the appliance checks whatever is sent. The markup says what is wanted:
//
//   body   data-uses     further scripts of this page
//   main   data-source   page that holds the values in force (pages that cannot show them themselves)
//          data-origin   what to ask for to get this page again, if it is not its name
//          data-refresh  seconds after which the page is looked at again
//   form   data-plain    is left to the browser
//          data-settings edits what is in force: says what changes, asks before it is sent
//          data-despite  words of messages that do not concern it
//          data-said     what to say after a success
//          data-list     what the page lists shows what became of it
//          data-deletes  field with the entries that shall be gone then
//          data-good     words of a message that is good news
//          data-fills    form that gets the values of the answer, not yet saved
//          data-method   access method whose settings these are
//   item   data-item     name of a setting that is made of several fields, such as a switch and an address
//          data-need     "name=value|value": must be filled while that field has one of the values, else it does not count
//          data-with     the same for what may be left blank
//   field  data-word     what stands before its value in the list of changes
//          data-same     name of the field that it repeats
//          data-from     name of the first field of a range of which it is the last
//          data-kept     key that says whether a password is stored
//          data-options  list with the entries to choose from
//          data-port     the same as data-word; cannot be that of another server that is on
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
//   part   data-text     text with values of the newest answer, "{key}" each, "{key*}" for an address
//          data-of       key whose value becomes data-is, for the style
//          data-items    list of the newest answer that is shown: options, rows of a table or lines
//          data-told     what is said here is told before a save
//          data-unscripted, data-scripted  is there without, or only with scripts
//          data-each     list with the value of the field of its id for every application
//   button data-confirm  question to ask first
//          data-goal     "up" or "down": what the link shall be then
//          data-empties  list that shall be empty then
//          data-silent   says nothing after a success

for (const form of document.querySelectorAll("main form:not([data-plain])")) form.inert = true; // until the values in force are in it

try {
  // What a page brings along: how it prepares its content, what became of a request, what is to be done after one.
  const load = (name) => import(`./${name}.js`);
  const [{ one, textOf }, { begin }, ...uses] = await Promise.all(["page", "form", ...document.body.dataset.uses.split(" ")].map(load));
  document.title = `${textOf(one("h1"))} - ${location.hostname}`; // there may be several appliances
  if (matchMedia("(max-width: 52rem)").matches) one(".menu").open = false;
  await begin(uses);
} catch ({ message }) {
  // As with a server whose settings are older than the pages.
  document.querySelector(".message")?.replaceChildren(`This page is not complete: ${message}. `
    + "Reload it. The web server must hand out all .js files.");
}
