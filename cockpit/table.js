// table.js: the records of one page, as a table. A record is opened by the button in its first cell, or by a click
// anywhere on its row. The rows are one stop of the tab key, and the arrow keys go from row to row.

import { find, make } from "./elements.js";
import { columnsOf, isSEL, shown } from "./fields.js";

const LONG = ["message", "description"]; // fields that may have many lines
const ROW_HEIGHT = 33; // px: of a row with one line, by eventlogs.css; no row is lower

export class Table {
  #caption;
  #body = null;
  #pattern; // a row without a record, to be copied
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
    const isNew = this.#body === null || log !== this.#log;
    // Asked for before anything here is changed, or the browser would lay out the page for it once more.
    const room = window.innerHeight - find("fresh").getBoundingClientRect().bottom;
    if (isNew) this.#makeTable(log);
    const focused = document.activeElement;
    const focusedRow = [...this.#body.rows].indexOf(focused?.closest?.("tr"));
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
    if (isNew) this.#putOff(rows, room);
    this.#putIn(rows.length > 0 || !empty ? rows : [this.#makeEmpty(empty)]);
    this.#caption.textContent = caption;
    if (focusedRow >= 0 && document.activeElement !== focused) {
      const target = focused.isConnected ? focused
        : rows[Math.min(focusedRow, rows.length - 1)]?.querySelector("button");
      target?.focus({ preventScroll: true });
    }
    this.#markOpen();
    this.#stopAt(rows.find((row) => row.contains(document.activeElement)) ?? rows[0]);
  }

  // Takes the records from view. They are taken out when the next come: that takes a while, and whoever clears a table
  // is about to ask for others.
  clear() {
    this.#body = null;
    find("table").hidden = true;
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
    const columns = Object.entries(columnsOf(log));
    this.#pattern = make("tr", { role: "row" }, ...columns.map(([field], index) =>
      make("td", { role: "cell", class: `is-${field}${LONG.includes(field) ? " long" : ""}` },
        ...(index === 0 ? [make("button", { type: "button", class: "link", tabindex: -1 })] : []))));
    this.#body = make("tbody", { role: "rowgroup", onclick: (event) => this.#choose(event),
      onkeydown: (event) => this.#move(event), onfocusin: (event) => this.#stopAt(event.target.closest("tr")) });
    find("table").hidden = false;
    find("table").replaceChildren(make("table", { role: "table", class: isSEL(log) ? "records sel" : "records" },
      this.#caption,
      make("thead", { role: "rowgroup" }, make("tr", { role: "row" }, ...columns.map(([field, label]) =>
        make("th", { scope: "col", role: "columnheader", class: `is-${field}` }, label)))),
      this.#body));
  }

  #makeRow(record, key) {
    const row = this.#pattern.cloneNode(true);
    let cell = row.firstChild;
    for (const field of Object.keys(columnsOf(this.#log))) {
      const text = shown(record, field, this.#utc);
      if (cell === row.firstChild) cell.firstChild.textContent = text || "(no date)";
      else cell.textContent = text;
      if (field === "severity" && text) cell.classList.add("severity", text);
      cell = cell.nextSibling;
    }
    return Object.assign(row, { key, record });
  }

  // Puts these rows in. Those that stay are not touched where they keep their order: text in them may be selected.
  #putIn(rows) {
    const staying = new Set(rows);
    for (const row of [...this.#body.rows]) if (!staying.has(row)) row.remove();
    let next = this.#body.firstChild;
    for (const row of rows) {
      if (row === next) next = next.nextSibling;
      else this.#body.insertBefore(row, next);
    }
  }

  // Has those rows of a new table that have no room in the window, which has `room` pixels for it, shown a frame later,
  // so that the others are seen sooner.
  #putOff(rows, room) {
    const below = rows.slice(Math.ceil(Math.max(0, room) / ROW_HEIGHT));
    for (const row of below) row.hidden = true;
    requestAnimationFrame(() => setTimeout(() => below.forEach((row) => (row.hidden = false))));
  }

  #choose(event) {
    const record = event.target.closest("tr")?.record; // none where a selection reaches over rows
    const byKey = event.detail === 0;
    if (record && (byKey || window.getSelection().isCollapsed)) this.onOpen(record); // else text is selected to copy
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

  // Has the tab key come to this row, and to no other.
  #stopAt(row) {
    for (const button of this.#body.querySelectorAll("button[tabindex='0']")) button.tabIndex = -1;
    if (row) row.querySelector("button").tabIndex = 0;
  }

  #move(event) {
    const step = { ArrowDown: "nextElementSibling", ArrowUp: "previousElementSibling" }[event.key];
    const next = step && event.target.closest("tr")?.[step]?.querySelector("button");
    if (!next) return;
    event.preventDefault();
    next.focus();
  }
}
