// logview.js: the log that is open: its table, its chart, what is filtered, and how it goes on while the reader looks.

import { alert, clearAlert } from "./alerts.js";
import { shortTitleOf, titleOf } from "./catalogue.js";
import { Chart } from "./chart.js";
import { Detail } from "./detail.js";
import { save } from "./download.js";
import { announce, find, make, number, records as recordsOf } from "./elements.js";
import { visible } from "./fields.js";
import { Filter } from "./filter.js";
import { readNewest, readRecords } from "./hostcommand.js";
import { PAGE_SIZE, Paging } from "./paging.js";
import { Table } from "./table.js";
import { WholeLog } from "./wholelog.js";

const UNASKED = 20000; // logs of up to so many records are read whole, after the first page, for the chart
const REDRAW = 300; // at least so many ms between two looks at a log that is coming in

export class LogView {
  #table;
  #paging;
  #detail;
  #filter;
  #chart;
  name = null; // of the open log
  #count = 0;
  #fresh = 0; // how many records came in since it was opened
  #skipped = 0; // those of them that the pages leave out, so that no page moves under the reader's eyes
  #seen = new Set(); // the newest page when it was opened: a new line may stand below one of the same second
  #whole = null;
  #ending = null; // ends what is read for this log
  #newest = null; // the newest record, as JSON, when it was looked for last
  #failed = null; // the page that could not be read
  #turns = 0; // of two pages asked for, the one asked for last is shown
  #redraw = null;

  // onFailure gets every error, and onGone is called when the log proves to be another than it was.
  constructor({ onFailure, onGone }) {
    Object.assign(this, { onFailure, onGone });
    this.#table = new Table((record) => this.#openRecord(record));
    this.#paging = new Paging((page) => this.#turn(page));
    this.#detail = new Detail(() => this.#closeRecord());
    this.#filter = new Filter(() => this.#filtered(), () => this.#filtered());
    this.#chart = new Chart({
      onNarrow: (from, until) => {
        this.#filter.narrow(from, until);
        this.#filtered();
      },
      onWiden: () => {
        this.#filter.widen();
        this.#filtered();
      },
      onRead: () => this.#readWhole(),
    });
    for (const form of ["csv", "json"]) find(`download-${form}`).addEventListener("click", () => this.#download(form));
  }

  // Opens a log of the catalogue at its newest records.
  async open({ name, records, note }) {
    this.close();
    this.name = name;
    this.#count = records;
    this.#fresh = this.#skipped = 0;
    this.#failed = this.#newest = null;
    this.#ending = new AbortController();
    const { signal } = this.#ending;
    this.#whole = new WholeLog(name, signal, () => this.#cameIn());
    this.#filter.reset(name);
    find("log").hidden = false;
    find("log-name").textContent = titleOf(name);
    this.#showCount();
    if (records === 0 && note) alert("gone", "warning", `The log ${titleOf(name)} has no records: ${visible(note)}`);
    if (records === 0) return this.#showEmpty();
    if (records <= UNASKED) this.#chart.reserve();
    else this.#chart.offer(records);
    await this.#turn(1);
    if (!signal.aborted && records <= UNASKED) await this.#readWhole();
  }

  // Ends whatever is still read, and empties the view.
  close() {
    this.#ending?.abort(new DOMException("another log was opened", "AbortError"));
    clearTimeout(this.#redraw);
    this.#redraw = null;
    this.#detail.hide();
    this.#table.mark(null);
    this.#table.clear();
    this.#chart.clear();
    find("fresh").replaceChildren();
    find("progress").hidden = true;
    for (const topic of ["log", "notes", "gone"]) clearAlert(topic);
  }

  #showEmpty() {
    this.#paging.show(1, 0);
    this.#table.show(this.name, [], { ...this.#options, empty: "No records." });
  }

  // Takes in how many records the log has now, and why, where that is none. What was read stays to be seen when it is
  // gone.
  async update({ records, note }) {
    if (records === 0 && note) {
      if (this.#count > 0) alert("gone", "warning", `The log ${titleOf(this.name)} is gone: ${visible(note)}`);
      return;
    }
    clearAlert("gone");
    if (records === this.#count && this.#failed !== null) {
      await this.#turn(this.#failed); // perhaps it can be read again
      return;
    }
    const growth = records === this.#count ? await this.#countOverwriting() : records - this.#count;
    if (growth === 0) return;
    if (growth < 0) {
      await this.open({ name: this.name, records, note });
      alert("log", "info", `The log ${titleOf(this.name)} became shorter, and is shown anew.`);
      return;
    }
    if (records > this.#count) this.#newest = null; // to be looked for anew
    this.#count = records;
    this.#fresh += growth;
    this.#showCount();
    announce(`${number(growth)} new ${growth === 1 ? "record" : "records"} in ${titleOf(this.name)}`);
    if (!this.#filter.isOn && this.#paging.page > 1) {
      this.#skipped += growth;
      this.#showFresh();
    } else if (!this.#filter.isOn) {
      await this.#turn(1);
    }
    const work = this.#whole.isReading || this.#whole.isComplete ? this.#whole.catchUp(growth, records) : null;
    await work?.catch((error) => this.#fail(error));
  }

  // How many new records there are in a log that is as long as it was: a full one loses its oldest for each of them.
  async #countOverwriting() {
    try {
      const records = await readNewest(this.name, PAGE_SIZE, this.#ending.signal);
      const keys = records.map((record) => JSON.stringify(record));
      const place = this.#newest === null ? 0 : keys.indexOf(this.#newest);
      this.#newest = keys[0] ?? null;
      return place < 0 ? keys.length : place;
    } catch (error) {
      this.#fail(error);
      return 0;
    }
  }

  get #options() {
    return { utc: this.#filter.utc, caption: `${titleOf(this.name)}, newest first, page ${this.#paging.page}` };
  }

  // Shows a page, from the server, or with a filter from the whole log.
  async #turn(page) {
    const turn = ++this.#turns;
    if (this.#filter.isOn) {
      this.#showMatches(page);
      return;
    }
    if (page === 1) this.#skipped = 0;
    const first = (page - 1) * PAGE_SIZE + 1 + this.#skipped;
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
      clearAlert("log");
      if (records.length < expected) this.#showPage(page, first, records);
      if (notes) alert("notes", "info", `kestrune-host notes about the log ${titleOf(this.name)}:`, notes);
      else clearAlert("notes");
      this.#failed = null;
      if (records.length === 0 && this.#count > 0) {
        alert("gone", "warning",
          `The log ${titleOf(this.name)} has no such page any more: it is gone, or became shorter.`);
        this.#failed = page;
        this.onGone();
      }
    } catch (error) {
      if (turn === this.#turns) this.#failed = page;
      this.#fail(error, page);
    } finally {
      if (turn === this.#turns) find("table").setAttribute("aria-busy", "false");
    }
  }

  // Shows records of the log itself as a page, the first of which is at the place `first`, counted from 1.
  #showPage(page, first, records) {
    const keys = records.map((record) => JSON.stringify(record));
    if (first === 1) this.#newest = keys[0] ?? null;
    if (first === 1 && this.#fresh === 0) this.#seen = new Set(keys);
    this.#paging.show(page, this.#count - this.#skipped);
    this.#table.show(this.name, records, { ...this.#options, empty: "No records.",
      isFresh: (record, index) => this.#isFresh(record, index + first - 1) });
    this.#showFresh();
  }

  // Whether a record, at a place in the log, came in since it was opened.
  #isFresh(record, place) {
    return this.#fresh > 0 && place < this.#fresh + PAGE_SIZE && !this.#seen.has(JSON.stringify(record));
  }

  // Shows what of the whole log the filter lets through, or as much of it as there is.
  #showMatches(page) {
    const matches = this.#filter.apply(this.name, this.#whole.records);
    const newest = this.#whole.records.slice(0, this.#fresh + PAGE_SIZE);
    const places = new Map(newest.map((record, place) => [record, place]));
    const first = (page - 1) * PAGE_SIZE;
    this.#paging.show(page, matches.length);
    this.#table.show(this.name, matches.slice(first, first + PAGE_SIZE), { ...this.#options,
      isFresh: (record) => this.#isFresh(record, places.get(record) ?? Infinity),
      empty: this.#whole.isComplete ? "No record matches." : "No record matches so far." });
    this.#showCount(matches.length);
  }

  // The reader wants to see other records, or the same in another zone.
  #filtered() {
    const matches = this.#filter.apply(this.name, this.#whole.records); // shows or hides what clears the filter
    this.#drawChart(matches);
    if (!this.#filter.isOn) this.#showCount();
    this.#turn(1);
    if (this.#filter.isOn && !this.#whole.isComplete) this.#readWhole();
  }

  #drawChart(matches) {
    if (this.#whole.records.length === 0) return;
    this.#chart.show(this.name, matches, { utc: this.#filter.utc, range: this.#filter.range });
  }

  async #readWhole() {
    const { signal } = this.#ending;
    if (this.#whole.isComplete || this.#whole.isReading) return;
    this.#showProgress();
    await this.#whole.read().catch((error) => signal.aborted || this.#fail(error));
    if (!signal.aborted) find("progress").hidden = true;
  }

  // More of the whole log is there.
  #cameIn() {
    if (this.#redraw !== null) return;
    this.#redraw = setTimeout(() => {
      this.#redraw = null;
      this.#showProgress();
      this.#drawChart(this.#filter.apply(this.name, this.#whole.records));
      if (this.#filter.isOn) this.#showMatches(Math.min(this.#paging.page, this.#paging.pages));
    }, REDRAW);
  }

  #showProgress() {
    find("progress").hidden = this.#whole.isComplete;
    find("progress").textContent = `Reading ${recordsOf(this.#count)}, ${number(this.#whole.records.length)} so far…`;
  }

  #showCount(matching = null) {
    find("log-count").textContent = matching === null ? recordsOf(this.#count)
      : `${number(matching)} of ${recordsOf(this.#count)}`;
  }

  // Offers the new records that no page shows.
  #showFresh() {
    if (this.#skipped === 0) return find("fresh").replaceChildren();
    find("fresh").replaceChildren(make("button", { type: "button", class: "button secondary", id: "show-fresh",
      onclick: () => this.#turn(1).then(() => this.#table.focusMarked()) },
    `Show ${number(this.#skipped)} new ${this.#skipped === 1 ? "record" : "records"}`));
  }

  #openRecord(record) {
    this.#table.mark(record);
    this.#detail.show(this.name, record);
  }

  #closeRecord() {
    this.#table.focusMarked();
    this.#table.mark(null);
  }

  async #download(form) {
    const { signal } = this.#ending;
    const button = find(`download-${form}`);
    button.setAttribute("aria-busy", "true");
    try {
      this.#showProgress();
      await this.#whole.read();
      save(this.name, this.#filter.apply(this.name, this.#whole.records), form);
    } catch (error) {
      if (!signal.aborted) this.#fail(error);
    } finally {
      button.removeAttribute("aria-busy");
      find("progress").hidden = true;
    }
  }

  #fail(error, page = this.#paging.page) {
    if (error.name === "AbortError") return;
    this.onFailure("log", `The log ${shortTitleOf(this.name)} could not be read.`, error, () => this.#turn(page));
  }
}
