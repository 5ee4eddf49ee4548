// wholelog.js: all of one log, for what needs all of it: chart, search and download. It is read in the background, as
// kestrune-host writes it, and then kept up to date with what is new.

import { readNewest, readRecords } from "./hostcommand.js";

export class WholeLog {
  records = []; // newest first
  isComplete = false;
  #log;
  #reading = null;
  #signal;
  #onProgress;

  // onProgress is called as records come in, and at the end. Nothing is read before read() is called.
  constructor(log, signal, onProgress) {
    this.#log = log;
    this.#signal = signal;
    this.#onProgress = onProgress;
  }

  get isReading() {
    return this.#reading !== null;
  }

  // Resolves when all of it is here. A second call waits for the first.
  read() {
    if (this.isComplete) return Promise.resolve();
    this.#reading ??= this.#readAll().finally(() => (this.#reading = null));
    return this.#reading;
  }

  async #readAll() {
    const records = (this.records = []);
    await readRecords(this.#log, { signal: this.#signal, onRecords: (more) => {
      for (const record of more) records.push(record);
      this.#onProgress();
    } });
    this.isComplete = true;
    this.#onProgress();
  }

  // Takes in the `count` newest records of a log that has `length` by now: a full one loses its oldest. One more is
  // read, to see that they follow on what is here; if they do not, or what is here is still coming in, all of it is
  // read again.
  async catchUp(count, length) {
    await this.#reading;
    if (!this.isComplete) return;
    const records = await readNewest(this.#log, count + 1, this.#signal);
    const known = this.records[0];
    const follows = known === undefined ? records.length === count
      : records.length === count + 1 && JSON.stringify(records.pop()) === JSON.stringify(known);
    if (follows) {
      this.records = [...records, ...this.records].slice(0, length);
      this.#onProgress();
    } else {
      this.isComplete = false;
      await this.read();
    }
  }
}
