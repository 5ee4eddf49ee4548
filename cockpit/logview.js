// logview.js: the log that is open: its pages, one record of it, and how it goes on while the reader looks.

import { alert, clearAlert } from "./alerts.js";
import { shortTitleOf, titleOf } from "./catalogue.js";
import { Detail } from "./detail.js";
import { announce, find, number, records as recordsOf } from "./elements.js";
import { visible } from "./fields.js";
import { readNewest, readRecords } from "./hostcommand.js";
import { Newcomers } from "./newcomers.js";
import { Overview } from "./overview.js";
import { PAGE_SIZE, Paging } from "./paging.js";
import { Table } from "./table.js";

export class LogView {
  #table;
  #paging;
  #detail;
  #overview;
  #newcomers;
  name = null; // of the open log
  #count = 0;
  #isMissing = false; // whether it could not be read when it was opened
  #ending = null; // ends what is read for this log
  #failed = null; // the page that could not be read
  #turns = 0; // of two pages asked for, the one asked for last is shown

  // onFailure gets every error, and onGone is called when the log proves to be another than it was.
  constructor({ onFailure, onGone }) {
    Object.assign(this, { onFailure, onGone });
    this.#table = new Table((record) => {
      this.#table.mark(record);
      this.#detail.show(this.name, record);
    });
    this.#paging = new Paging((page) => this.#turnAsAsked(page));
    this.#detail = new Detail(() => {
      this.#table.focusMarked();
      this.#table.mark(null);
    });
    this.#overview = new Overview({
      onChange: () => this.#turnAsAsked(1),
      onMore: () => this.#showMatches(Math.min(this.#paging.page, this.#paging.pages)),
      onFailure: (error) => this.#fail(error, () => this.#readAgain()),
    });
    this.#newcomers = new Newcomers(() => this.#turnAsAsked(1).then(() => this.#table.focusMarked()));
  }

  // Opens a log of the catalogue at its newest records.
  async open({ name, records, note }) {
    this.close();
    this.name = name;
    this.#count = records ?? 0;
    this.#isMissing = !records && Boolean(note);
    this.#failed = null;
    this.#ending = new AbortController();
    const { signal } = this.#ending;
    this.#newcomers.reset();
    this.#overview.open(name, this.#count, signal);
    find("log").hidden = false;
    find("log-name").textContent = titleOf(name);
    this.#showCount();
    if (this.#isMissing) {
      alert("gone", "warning", records === 0 ? `The log ${titleOf(name)} has no records: ${visible(note)}`
        : `The log ${titleOf(name)} cannot be read: ${visible(note)}`);
    }
    if (this.#count === 0) return this.#showEmpty();
    await this.#turnAsAsked(1);
    if (!signal.aborted) await this.#overview.readUnasked();
  }

  // Ends whatever is still read, and empties the view.
  close() {
    this.#ending?.abort(new DOMException("another log was opened", "AbortError"));
    ++this.#turns; // a page that was asked for does not come any more
    find("table").setAttribute("aria-busy", "false");
    this.#overview.close();
    this.#detail.hide();
    this.#table.mark(null);
    this.#table.clear();
    find("paging").hidden = true;
    for (const topic of ["log", "notes", "gone", "anew"]) clearAlert(topic);
  }

  // Takes in how many records the log has now, and why, where that is none or not known. What was read stays to be seen
  // when it is gone.
  async update(log) {
    const { records, note } = log;
    if (!records && note) {
      if (this.#count > 0) {
        alert("gone", "warning", `The log ${titleOf(this.name)} is no longer available: ${visible(note)}`);
      }
      return;
    }
    clearAlert("gone");
    if (this.#isMissing) return this.open(log);
    if (records === this.#count && this.#failed !== null) return this.#turn(this.#failed); // perhaps it is readable again
    const growth = records === this.#count ? await this.#countOverwriting() : records - this.#count;
    if (growth < 0) await this.#openAnew(log);
    else if (growth > 0) await this.#grow(growth, records);
  }

  async #openAnew(log) {
    const hadFocus = find("log").contains(document.activeElement);
    const work = this.open(log);
    const { signal } = this.#ending;
    const now = document.activeElement;
    if (hadFocus && (now === document.body || now.closest("[hidden]"))) find("log-name").focus();
    await work;
    if (signal.aborted || this.#failed !== null) return;
    alert("anew", "info", `The log ${titleOf(this.name)} became shorter, and is shown anew.`);
  }

  async #grow(growth, records) {
    this.#newcomers.add(growth, records > this.#count);
    this.#count = records;
    this.#showCount();
    announce(`${number(growth)} new ${growth === 1 ? "record" : "records"} in ${titleOf(this.name)}`);
    if (!this.#overview.isFiltered && this.#paging.page > 1) {
      this.#newcomers.skipped += growth;
      this.#newcomers.offer();
    } else if (!this.#overview.isFiltered) {
      await this.#turn(1);
    }
    await this.#overview.grow(growth, records);
  }

  async #countOverwriting() {
    if (this.#count === 0) return 0;
    try {
      return this.#newcomers.countOverwriting(await readNewest(this.name, PAGE_SIZE, this.#ending.signal));
    } catch (error) {
      this.#fail(error);
      return 0;
    }
  }

  get #options() {
    return { utc: this.#overview.utc, caption: `${titleOf(this.name)}, newest first, page ${this.#paging.page}. ` +
      "The arrow keys go from row to row." };
  }

  // Shows a page that the reader asked for, and tells a screen reader what came of it.
  async #turnAsAsked(page) {
    clearAlert("anew");
    const work = this.#turn(page);
    const turn = this.#turns;
    await work;
    if (turn !== this.#turns || this.#failed !== null) return;
    announce(`${titleOf(this.name)}: ${this.#paging.range || "no record matches"}`);
  }

  // Shows a page, from the server, or with a filter from the whole log.
  async #turn(page) {
    const turn = ++this.#turns;
    if (this.#overview.isFiltered) {
      this.#failed = null;
      clearAlert("log");
      find("table").setAttribute("aria-busy", "false"); // a page that was asked for before does not come any more
      this.#newcomers.skipped = 0;
      this.#newcomers.offer();
      return this.#showMatches(page);
    }
    this.#showCount();
    if (page === 1) this.#newcomers.skipped = 0;
    const first = (page - 1) * PAGE_SIZE + 1 + this.#newcomers.skipped;
    const expected = Math.min(PAGE_SIZE, this.#count - first + 1);
    const records = [];
    find("table").setAttribute("aria-busy", "true");
    try {
      const notes = await readRecords(this.name, { lines: [first, first + PAGE_SIZE - 1], signal: this.#ending.signal,
        onRecords: (more) => {
          records.push(...more);
          // Not before, or rows that stay would go for a moment, and the focus with them.
          if (turn === this.#turns && records.length >= expected) this.#showPage(page, first, records);
        } });
      if (turn !== this.#turns) return;
      this.#failed = null;
      clearAlert("log");
      if (records.length < expected) this.#showPage(page, first, records);
      this.#tell(notes);
      if (records.length === 0 && this.#count > 0) this.#miss(page);
    } catch (error) {
      if (turn === this.#turns) this.#failed = page;
      this.#fail(error, () => this.#turn(page));
    } finally {
      if (turn === this.#turns) find("table").setAttribute("aria-busy", "false");
    }
  }

  #tell(notes) {
    if (notes) alert("notes", "info", `kestrune-host notes about the log ${titleOf(this.name)}:`, notes);
    else clearAlert("notes");
  }

  #miss(page) {
    alert("gone", "warning",
      `The log ${titleOf(this.name)} has no such page any more: it is gone, or became shorter.`);
    this.#failed = page;
    this.onGone();
  }

  // Shows records of the log itself as a page, the first of which is at the place `first`, counted from 1.
  #showPage(page, first, records) {
    this.#newcomers.learn(first, records);
    this.#paging.show(page, this.#count - this.#newcomers.skipped);
    this.#table.show(this.name, records, { ...this.#options, empty: "No records.",
      isFresh: (record, index) => this.#newcomers.has(record, index + first - 1) });
    this.#newcomers.offer();
  }

  // Shows what of the whole log the filter lets through, or as much of it as there is.
  #showMatches(page) {
    const { matches, records, isComplete } = this.#overview;
    const places = new Map(records.slice(0, this.#newcomers.reach).map((record, place) => [record, place]));
    const first = (page - 1) * PAGE_SIZE;
    this.#paging.show(page, matches.length);
    this.#table.show(this.name, matches.slice(first, first + PAGE_SIZE), { ...this.#options,
      isFresh: (record) => this.#newcomers.has(record, places.get(record) ?? Infinity),
      empty: isComplete ? "No record matches." : "No record matches so far." });
    this.#showCount(matches.length);
  }

  #showEmpty() {
    this.#paging.show(1, 0);
    this.#table.show(this.name, [], { ...this.#options, empty: this.#isMissing ? "Nothing to show." : "No records." });
  }

  #showCount(matching = null) {
    find("log-count").textContent = matching !== null ? `${number(matching)} of ${recordsOf(this.#count)}`
      : this.#isMissing ? "" : recordsOf(this.#count);
  }

  #readAgain() {
    clearAlert("log");
    return this.#overview.read();
  }

  #fail(error, again = () => this.#turn(this.#paging.page)) {
    if (error.name === "AbortError") return;
    this.onFailure("log", `The log ${shortTitleOf(this.name)} could not be read.`, error, again);
  }
}
