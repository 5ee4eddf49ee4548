// filter.js: which records the reader wants to see: by words, by time, and of a SEL the asserted events alone.

import { find, make } from "./elements.js";
import { columnsOf, isSEL, shown, wallOf } from "./fields.js";

const DELAY = 250; // between the last key and the search, in ms

const format = (wall) => new Date(wall).toISOString().slice(0, 19);

export class Filter {
  #search;
  #from;
  #until;
  #asserted;
  #zone;
  #clear;
  #selOnly;
  utc = false;

  // onChange is called when the reader changed what is wanted, onZone when it is the zone alone.
  constructor(onChange, onZone) {
    let timer;
    const later = () => {
      clearTimeout(timer);
      timer = setTimeout(onChange, DELAY);
    };
    this.#search = make("input", { type: "search", id: "search", placeholder: "Words in any column", oninput: later });
    const time = (id, label) => make("input", { type: "datetime-local", step: "1", id, "aria-label": label,
      onchange: onChange });
    this.#from = time("from", "From");
    this.#until = time("until", "Until");
    this.#asserted = make("input", { type: "checkbox", id: "asserted", onchange: onChange });
    this.#zone = make("input", { type: "checkbox", id: "utc", onchange: () => {
      this.utc = this.#zone.checked;
      onZone();
    } });
    this.#clear = make("button", { type: "button", id: "clear-filter", class: "button plain", onclick: () => {
      this.reset();
      onChange();
      this.#search.focus();
    } }, "Clear");
    this.#selOnly = make("span", { class: "choices" },
      make("label", { class: "choice" }, this.#asserted, "Asserted alone"),
      make("label", { class: "choice" }, this.#zone, "Times in UTC"));
    find("filter").append(
      make("label", { class: "field wide" }, make("span", {}, "Search"), this.#search),
      make("label", { class: "field" }, make("span", {}, "From"), this.#from),
      make("label", { class: "field" }, make("span", {}, "Until"), this.#until),
      this.#selOnly, this.#clear);
    find("filter").addEventListener("submit", (event) => event.preventDefault());
  }

  // Wants everything of a log again.
  reset(log) {
    this.#search.value = this.#from.value = this.#until.value = "";
    this.#asserted.checked = false;
    this.#clear.hidden = true;
    if (log !== undefined) this.#selOnly.hidden = !isSEL(log);
  }

  // Wants the records from one wall-clock time until just before another.
  narrow(from, until) {
    this.#from.value = format(from);
    this.#until.value = format(until - 1000);
  }

  // Wants all times again.
  widen() {
    this.#from.value = this.#until.value = "";
  }

  // The wall-clock times that are wanted, both included. One that is not given is not a number.
  get range() {
    return [this.#from, this.#until].map((input) => (input.value === "" ? NaN : Date.parse(`${input.value}Z`)));
  }

  get isOn() {
    return this.#search.value.trim() !== "" || this.#asserted.checked || !this.range.every(Number.isNaN);
  }

  // The records of these that are wanted.
  apply(log, records) {
    this.#clear.hidden = !this.isOn;
    if (!this.isOn) return records;
    const words = this.#search.value.toLowerCase().split(/\s+/).filter(Boolean);
    const [from, until] = this.range;
    const isNarrowed = !this.range.every(Number.isNaN);
    const fields = Object.keys(columnsOf(log));
    return records.filter((record) => {
      if (this.#asserted.checked && record.direction !== "asserted") return false;
      if (isNarrowed) {
        const wall = wallOf(record, this.utc);
        if (Number.isNaN(wall) || wall < from || wall >= until + 1000) return false;
      }
      if (words.length === 0) return true;
      const text = fields.map((field) => shown(record, field, this.utc)).join("\n").toLowerCase();
      return words.every((word) => text.includes(word));
    });
  }
}
