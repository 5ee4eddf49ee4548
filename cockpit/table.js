// table.js: the records of one page, as a table. A record is opened by the button in its first cell, or by a click
// anywhere on its row; the arrow keys go from row to row.

import { find, make } from "./elements.js";
import { columnsOf, shown } from "./fields.js";

const LONG = ["message", "description"]; // fields that may have many lines

export class Table {
  #caption;
  #body = null;
  #log = null;
  #utc = false;
  #open = null; // the key of the record in the panel

  // onOpen gets the record that the reader chose.
  constructor(onOpen) {
    this.onOpen = onOpen;
  }

  // Shows records of a log; isFresh tells of a record and its place among these whether it came in while the reader
  // looks. Rows that stay are kept, and so is the focus; when its row is gone, it goes to the nearest.
  show(log, records, { utc = false, isFresh = () => false, caption = "", empty = "" }) {
    if (this.#body === null || log !== this.#log) this.#makeTable(log);
    const focused = document.activeElement;
    const place = [...this.#body.rows].indexOf(focused?.closest?.("tr"));
    const kept = new Map();
    if (utc === this.#utc) for (const row of this.#body.rows) kept.set(row.key, row);
    this.#utc = utc;
    const rows = records.map((record, index) => {
      const key = JSON.stringify(record);
      const row = kept.get(key) ?? this.#makeRow(record, key);
      kept.delete(key); // a record that is there twice has two rows
      this.#markFresh(row, isFresh(record, index));
      return row;
    });
    this.#body.replaceChildren(...(rows.length > 0 || !empty ? rows : [this.#makeEmpty(empty)]));
    this.#caption.textContent = caption;
    if (place >= 0) {
      const target = focused.isConnected ? focused : rows[Math.min(place, rows.length - 1)]?.querySelector("button");
      target?.focus({ preventScroll: true });
    }
    this.#markOpen();
  }

  clear() {
    this.#body = null;
    find("table").replaceChildren();
  }

  // Marks the record that the panel shows; null for none.
  mark(record) {
    this.#open = record && JSON.stringify(record);
    this.#markOpen();
  }

  // Puts the focus back on the row of the record that was marked, or on the first.
  focusMarked() {
    const rows = [...(this.#body?.rows ?? [])];
    (rows.find((row) => row.key === this.#open) ?? rows[0])?.querySelector("button")?.focus();
  }

  #markOpen() {
    for (const row of this.#body?.rows ?? []) row.classList.toggle("open", row.key === this.#open);
  }

  // The roles are those that a table has anyway, but for its being laid out row by row.
  #makeTable(log) {
    this.#log = log;
    this.#caption = make("caption", { class: "unseen" });
    const headings = Object.entries(columnsOf(log)).map(([field, label]) =>
      make("th", { scope: "col", role: "columnheader", class: `is-${field}` }, label));
    this.#body = make("tbody", { role: "rowgroup", onkeydown: (event) => this.#move(event) });
    find("table").replaceChildren(make("table", { role: "table", class: log === "sel" ? "records sel" : "records" },
      this.#caption,
      make("thead", { role: "rowgroup" }, make("tr", { role: "row" }, ...headings)),
      this.#body));
  }

  #makeRow(record, key) {
    const cells = Object.keys(columnsOf(this.#log)).map((field, index) => {
      const text = shown(record, field, this.#utc);
      const content = index === 0 ? make("button", { type: "button", class: "link" }, text || "(no date)")
        : field === "severity" && text ? make("span", { class: `severity ${text}` }, text)
          : LONG.includes(field) ? make("div", { class: "long" }, text) : text;
      return make("td", { role: "cell", class: `is-${field}` }, content);
    });
    const row = make("tr", { role: "row", onclick: () => {
      if (window.getSelection().isCollapsed) this.onOpen(record); // else the reader selects text to copy
    } }, ...cells);
    row.key = key;
    return row;
  }

  #makeEmpty(words) {
    const columns = Object.keys(columnsOf(this.#log)).length;
    return make("tr", { role: "row", class: "empty" }, make("td", { role: "cell", colspan: columns }, words));
  }

  #markFresh(row, isFresh) {
    if (row.classList.contains("fresh") === isFresh) return;
    row.classList.toggle("fresh", isFresh);
    if (isFresh) row.cells[0].append(make("span", { class: "badge" }, "new"));
    else row.cells[0].querySelector(".badge")?.remove();
  }

  #move(event) {
    const step = { ArrowDown: "nextElementSibling", ArrowUp: "previousElementSibling" }[event.key];
    const next = step && event.target.closest("tr")?.[step]?.querySelector("button");
    if (!next) return;
    event.preventDefault();
    next.focus();
  }
}
