// newcomers.js: which records came in while the reader looks at a log, and how many of them the pages leave out, so that
// no page moves under the reader's eyes.

import { find, make, number } from "./elements.js";
import { PAGE_SIZE } from "./paging.js";

export const keyOf = (record) => JSON.stringify(record);

export class Newcomers {
  skipped = 0; // how many of them the pages leave out
  #count = 0; // how many came in since the log was opened
  #seen = new Set(); // the newest page when it was opened: a new line may stand below one of the same second
  #newest = null; // the newest record when it was looked for last

  // onShow is called when the reader wants to see those that the pages leave out.
  constructor(onShow) {
    this.onShow = onShow;
  }

  // A log is opened: nothing of it is new.
  reset() {
    this.skipped = this.#count = 0;
    this.#seen = new Set();
    this.#newest = null;
    this.offer();
  }

  // So many came in. Where the log is longer by them, its newest record is not known any more.
  add(growth, isLonger) {
    this.#count += growth;
    if (isLonger) this.#newest = null;
  }

  // Takes in a page of the log; `first` is the place of its first record, counted from 1.
  learn(first, records) {
    if (first !== 1) return;
    const keys = records.map(keyOf);
    this.#newest = keys[0] ?? null;
    if (this.#count === 0) this.#seen = new Set(keys);
  }

  // How many of the newest page, `records`, are new in a log that is as long as it was: a full one loses its oldest for
  // each of them.
  countOverwriting(records) {
    const keys = records.map(keyOf);
    const place = this.#newest === null ? 0 : keys.indexOf(this.#newest);
    this.#newest = keys[0] ?? null;
    return place < 0 ? keys.length : place;
  }

  // The places at which a new record can stand are those below this one.
  get reach() {
    return this.#count + PAGE_SIZE;
  }

  // Whether a record, at a place in the log counted from 0, came in since it was opened.
  has(record, place) {
    return this.#count > 0 && place < this.reach && !this.#seen.has(keyOf(record));
  }

  // Offers those that no page shows.
  offer() {
    find("fresh").replaceChildren(...(this.skipped === 0 ? [] : [make("button", { type: "button",
      class: "button secondary", id: "show-fresh", onclick: () => this.onShow() },
    `Show ${number(this.skipped)} new ${this.skipped === 1 ? "record" : "records"}`)]));
  }
}
