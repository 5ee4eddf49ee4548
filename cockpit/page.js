// page.js: the page "Event logs". It keeps the catalogue up to date while it is in view, and opens the logs that the
// reader chooses; which one is open stands in the address.

import { alert, clearAlert } from "./alerts.js";
import { Catalogue } from "./catalogue.js";
import { find } from "./elements.js";
import { readCatalogue } from "./hostcommand.js";
import { LogView } from "./logview.js";
import { WriteForm } from "./writeform.js";

const cockpit = window.cockpit;
const PAUSE = 3000; // ms between two looks at the catalogue...
const SHARE = 10; // ...or so many times as long as reading it takes, where that is longer

let logs = [];
let timer = null;
let isLooking = false;
let isLost = false;

// Says in the alert `topic` what could not be done, and why.
function fail(topic, what, error, again) {
  if (error.isLost) {
    isLost = true;
    alert("connection", "danger", error.message, "", ["Reload the page", () => window.location.reload()]);
    return;
  }
  alert(topic, "danger", `${what} ${error.message}`, error.output ?? "", again && ["Try again", again]);
}

const view = new LogView({ onFailure: fail, onGone: () => look() });
const catalogue = new Catalogue((name) => {
  open(logs.find((log) => log.name === name));
  cockpit.location.go([name]);
});
const form = new WriteForm(() => look());

const inView = () => !document.hidden && !cockpit.hidden;

// Reads the catalogue, and has the open log follow; later again.
async function look() {
  if (isLooking || isLost) return;
  isLooking = true;
  clearTimeout(timer);
  const begun = performance.now();
  let pause = PAUSE;
  try {
    logs = await readCatalogue();
    pause = Math.max(PAUSE, SHARE * (performance.now() - begun));
    clearAlert("catalogue");
    catalogue.show(logs, view.name);
    const open = logs.find((log) => log.name === view.name);
    if (open) await view.update(open);
    else if (view.name === null) openChosen();
  } catch (error) {
    fail("catalogue", "The list of logs could not be read.", error, look);
  }
  isLooking = false;
  if (inView() && !isLost) timer = setTimeout(look, pause);
}

function open(log) {
  view.open(log);
  catalogue.show(logs, log.name);
}

// Opens the log that the address names, or else the first one that has records, unless it is open.
function openChosen() {
  const [wanted] = cockpit.location.path;
  const log = logs.find(({ name }) => name === wanted) ?? logs.find(({ records }) => records > 0) ?? logs[0];
  if (log && log.name !== view.name) open(log);
}

// When the page comes back into view it looks at once.
function showed() {
  clearTimeout(timer);
  if (inView()) look();
}

cockpit.addEventListener("locationchanged", openChosen);
cockpit.addEventListener("visibilitychange", showed);
document.addEventListener("visibilitychange", showed);
find("write").addEventListener("click", () => form.open());

const administrator = cockpit.permission({ admin: true });
administrator.addEventListener("changed", () => {
  if (administrator.allowed === false) {
    alert("access", "info", "You read without administrative access: logs that only root may read are missing or " +
      "empty. Turn on administrative access in Cockpit to see them.");
  } else {
    clearAlert("access");
  }
});

look();
