// catalogue.js: the list of logs at the left.

import { find, make, records } from "./elements.js";
import { visible } from "./fields.js";

const TITLES = {
  application: "Application", secure: "Secure", messages: "Messages", agent: "Agent", sel: "System Event Log (SEL)",
};
const SHORT = { sel: "SEL" };

export const titleOf = (name) => TITLES[name] ?? name;
export const shortTitleOf = (name) => SHORT[name] ?? titleOf(name);

export class Catalogue {
  #list;
  #entries = new Map(); // by name: the parts of an entry that change

  // onOpen gets the name of the log that the reader chose.
  constructor(onOpen) {
    this.#list = make("ul");
    this.onOpen = onOpen;
    find("catalogue").append(this.#list);
  }

  // Shows the logs, as readCatalogue() tells them. Entries that stay keep the focus.
  show(logs, chosen) {
    const names = logs.map((log) => log.name);
    for (const name of this.#entries.keys()) {
      if (!names.includes(name)) {
        this.#entries.get(name).item.remove();
        this.#entries.delete(name);
      }
    }
    for (const log of logs) this.#update(log, log.name === chosen);
  }

  #update(log, isChosen) {
    if (!this.#entries.has(log.name)) this.#entries.set(log.name, this.#makeEntry(log.name));
    const { button, count, note } = this.#entries.get(log.name);
    const text = (node, words) => node.textContent === words || (node.textContent = words);
    text(count, log.records === null ? "cannot be read" : records(log.records));
    text(note, visible(log.note ?? "")); // the list shows its beginning, the log when it is open all of it
    if (isChosen) button.setAttribute("aria-current", "page");
    else button.removeAttribute("aria-current");
  }

  #makeEntry(name) {
    const count = make("span", { class: "quiet" });
    const note = make("span", { class: "note" });
    const button = make("button", { type: "button", "data-log": name, onclick: () => this.onOpen(name) },
      make("span", { class: "log-title" }, titleOf(name)), count, note);
    const item = make("li", {}, button);
    this.#list.append(item);
    return { item, button, count, note };
  }
}
