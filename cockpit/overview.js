// overview.js: what needs all of the open log: the filter, the chart and the downloads. The log is read for them in the
// background, unasked where it is not long.

import { Chart } from "./chart.js";
import { save } from "./download.js";
import { find, number, records as recordsOf } from "./elements.js";
import { Filter } from "./filter.js";
import { WholeLog } from "./wholelog.js";

const UNASKED = 20000; // logs of up to so many records are read whole, after the first page, for the chart
const REDRAW = 300; // at least so many ms between two looks at a log that is coming in

export class Overview {
  #filter;
  #chart;
  #name = null;
  #count = 0; // how many records the log has
  #whole = null;
  #signal = null;
  #redraw = null;

  // onChange is called when the reader wants other records, or the same in another zone, onMore when more of a filtered
  // log is there; onFailure gets every error.
  constructor({ onChange, onMore, onFailure }) {
    Object.assign(this, { onChange, onMore, onFailure });
    const changed = () => this.#changed();
    this.#filter = new Filter(changed, changed);
    this.#chart = new Chart({
      onNarrow: (from, until) => {
        this.#filter.narrow(from, until);
        changed();
      },
      onWiden: () => {
        this.#filter.widen();
        changed();
      },
      onRead: () => this.read(),
    });
    for (const form of ["csv", "json"]) find(`download-${form}`).addEventListener("click", () => this.#download(form));
  }

  // A log is open; `signal` ends what is read of it. The filter stays when it is the same log as before.
  open(name, count, signal) {
    if (name !== this.#name) this.#filter.reset(name);
    this.#name = name;
    this.#count = count;
    this.#signal = signal;
    this.#whole = new WholeLog(name, signal, () => this.#cameIn());
    if (count === 0) return;
    if (this.#isWanted) this.#chart.reserve();
    else this.#chart.offer(count);
  }

  close() {
    clearTimeout(this.#redraw);
    this.#redraw = null;
    this.#chart.clear();
    find("progress").hidden = true;
  }

  // Whether fewer records are wanted than there are.
  get isFiltered() {
    return this.#filter.isOn;
  }

  get utc() {
    return this.#filter.utc;
  }

  // All records that are here by now, newest first.
  get records() {
    return this.#whole.records;
  }

  get isComplete() {
    return this.#whole.isComplete;
  }

  // Those of them that are wanted.
  get matches() {
    return this.#filter.apply(this.#name, this.#whole.records);
  }

  get #isWanted() {
    return this.#count <= UNASKED || this.#filter.isOn;
  }

  // Reads all of the log if that is not too long to be done unasked.
  async readUnasked() {
    if (this.#isWanted) await this.read();
  }

  async read() {
    const signal = this.#signal;
    if (this.#whole.isComplete || this.#whole.isReading) return;
    this.#showProgress();
    await this.#whole.read().catch((error) => {
      if (signal.aborted) return;
      this.close();
      this.#chart.offer(this.#count); // that of a part would be taken for that of all
      this.onFailure(error);
    });
    if (!signal.aborted) find("progress").hidden = true;
  }

  // The log has `count` records by now, `growth` of them new. What is here follows; a log that was empty is read.
  async grow(growth, count) {
    const wasEmpty = this.#count === 0;
    this.#count = count;
    if (wasEmpty) await this.readUnasked();
    else if (this.#whole.isReading || this.#whole.isComplete) {
      await this.#whole.catchUp(growth, count).catch((error) => this.onFailure(error));
    }
  }

  #changed() {
    this.#draw();
    this.onChange();
    if (this.#filter.isOn) this.read();
  }

  #draw() {
    const matches = this.matches; // this also shows or hides what clears the filter
    if (this.#whole.records.length === 0) return;
    this.#chart.show(this.#name, matches, { utc: this.#filter.utc, range: this.#filter.range });
  }

  // More of the log is there.
  #cameIn() {
    if (this.#redraw !== null) return;
    this.#redraw = setTimeout(() => {
      this.#redraw = null;
      this.#showProgress();
      this.#draw();
      if (this.#filter.isOn) this.onMore();
    }, REDRAW);
  }

  #showProgress() {
    find("progress").hidden = this.#whole.isComplete;
    find("progress").textContent = `Reading ${recordsOf(this.#count)}, ${number(this.#whole.records.length)} so far…`;
  }

  async #download(form) {
    const signal = this.#signal;
    const button = find(`download-${form}`);
    button.setAttribute("aria-busy", "true");
    try {
      this.#showProgress();
      await this.#whole.read();
      save(this.#name, this.matches, form);
    } catch (error) {
      if (!signal.aborted) this.onFailure(error);
    } finally {
      button.removeAttribute("aria-busy");
      find("progress").hidden = true;
    }
  }
}
