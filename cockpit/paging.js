// paging.js: which page of the table is shown, and the buttons that change it.

import { find, make, number } from "./elements.js";

export const PAGE_SIZE = 50;

export class Paging {
  #input;
  #total;
  #range;
  page = 1;
  pages = 1;
  #buttons = {};

  // onTurn gets the number of the page that the reader wants.
  constructor(onTurn) {
    this.onTurn = onTurn;
    const button = (name, label, target) => (this.#buttons[name] = make("button", {
      type: "button", class: "button plain", "aria-label": label,
      onclick: () => this.#buttons[name].ariaDisabled !== "true" && onTurn(target()),
    }, { first: "«", previous: "‹", next: "›", last: "»" }[name]));
    this.#input = make("input", { type: "text", inputmode: "numeric", size: "4", "aria-label": "Page",
      onchange: () => this.#typed() });
    this.#total = make("span", { class: "quiet" });
    this.#range = make("span", { class: "range quiet" });
    find("paging").append(this.#range, make("span", { class: "spring" }),
      button("first", "Newest page", () => 1), button("previous", "Newer page", () => this.page - 1),
      this.#input, this.#total,
      button("next", "Older page", () => this.page + 1), button("last", "Oldest page", () => this.pages));
  }

  // Which records are shown, in words; empty where there are none.
  get range() {
    return this.#range.textContent;
  }

  // Shows that page `page` of `count` records is there. The buttons that lead nowhere stay focusable, so that the
  // focus is not lost at the ends.
  show(page, count) {
    this.pages = Math.max(1, Math.ceil(count / PAGE_SIZE));
    this.page = page;
    const [first, last] = [(page - 1) * PAGE_SIZE + 1, Math.min(page * PAGE_SIZE, count)];
    this.#range.textContent = count === 0 ? "" : `${number(first)}–${number(last)} of ${number(count)}`;
    this.#input.value = page;
    this.#total.textContent = `of ${number(this.pages)}`;
    for (const name of ["first", "previous"]) this.#buttons[name].ariaDisabled = String(page <= 1);
    for (const name of ["next", "last"]) this.#buttons[name].ariaDisabled = String(page >= this.pages);
    find("paging").hidden = count <= PAGE_SIZE;
  }

  #typed() {
    const wanted = Number(this.#input.value.replace(/\D/g, ""));
    this.onTurn(Math.min(Math.max(1, wanted), this.pages));
  }
}
