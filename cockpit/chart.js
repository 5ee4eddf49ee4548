// chart.js: how many records there were when, as bars; those of a SEL are stacked by severity. A click on a bar, or
// Enter on it, narrows the table to its time. The bars are one stop of the tab key, and the arrow keys go from bar to
// bar.

import { find, make, makeSVG, number, records as recordsOf } from "./elements.js";
import { SEVERITIES, isSEL, wallDate, wallOf, wallTime } from "./fields.js";

const HOUR = 3600e3;
const DAY = 24 * HOUR;
const HEIGHT = 132;
const EDGE = { top: 8, right: 8, bottom: 22, left: 44 };
// By the longest range that they are for: what a bar stands for.
const STEPS = [
  { range: 6 * HOUR, name: "10 minutes", length: HOUR / 6 },
  { range: 3 * DAY, name: "hour", length: HOUR },
  { range: 130 * DAY, name: "day", length: DAY },
  { range: 900 * DAY, name: "week", length: 7 * DAY },
  { range: Infinity, name: "month" },
];
const MONDAY = 4 * DAY; // the first one after the epoch

// Where the bar begins in which a wall-clock time lies, and where the one after a bar does.
function startOf(step, wall) {
  if (step.name === "month") return Date.UTC(new Date(wall).getUTCFullYear(), new Date(wall).getUTCMonth());
  const offset = step.name === "week" ? MONDAY : 0;
  return Math.floor((wall - offset) / step.length) * step.length + offset;
}
const endOf = (step, start) => (step.name === "month" ? startOf(step, start + 32 * DAY) : start + step.length);

// The bars of records: from, until, total, and how many of each severity. They cover `range`, a pair of times of which
// one that is not a number is that of the records themselves.
function count(records, utc, range) {
  const walls = records.map((record) => wallOf(record, utc));
  let [first, last] = [Infinity, -Infinity];
  for (const wall of walls) {
    if (wall < first) first = wall;
    if (wall > last) last = wall;
  }
  if (!Number.isNaN(range[0])) first = range[0];
  if (!Number.isNaN(range[1])) last = range[1];
  const step = STEPS.find(({ range }) => !(last - first > range));
  const bars = new Map();
  walls.forEach((wall, index) => {
    if (Number.isNaN(wall)) return;
    const from = startOf(step, wall);
    if (!bars.has(from)) bars.set(from, { from, until: endOf(step, from), total: 0, by: {} });
    const bar = bars.get(from);
    const severity = SEVERITIES.includes(records[index].severity) ? records[index].severity : "unknown";
    bar.total += 1;
    bar.by[severity] = (bar.by[severity] ?? 0) + 1;
  });
  return { step, bars: [...bars.values()].sort((a, b) => a.from - b.from),
    from: startOf(step, first), until: endOf(step, startOf(step, last)) };
}

// The least of 1, 2 and 5 times a power of ten that is not below a count.
function roundUp(value) {
  const power = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].map((factor) => factor * power).find((round) => round >= value);
}

export class Chart {
  #area;
  #head;
  #drawn = null; // what was drawn last, to draw it again when the window changes
  #focus = null; // the start of the bar that the tab key goes to

  // onNarrow gets the beginning and the end of a bar, onWiden is called to see all of it again, onRead to read a log
  // that is too long to be read unasked.
  constructor({ onNarrow, onWiden, onRead }) {
    Object.assign(this, { onNarrow, onWiden, onRead });
    this.#area = make("div", { class: "chart-area" });
    this.#head = make("div", { class: "chart-head" });
    find("chart").append(this.#head, this.#area);
    new ResizeObserver(() => this.#drawn && this.show(...this.#drawn)).observe(find("chart"));
  }

  // Offers to read a log that is too long to be read unasked.
  offer(count) {
    this.#drawn = null;
    this.#area.replaceChildren();
    this.#head.replaceChildren(make("button", { type: "button", class: "button link", id: "read-all",
      onclick: this.onRead }, `Read all ${recordsOf(count)} for a chart`));
  }

  // Keeps the room free for the chart that comes, so that nothing moves when it does.
  reserve() {
    this.#area.style.minHeight = `${HEIGHT}px`;
  }

  clear() {
    this.#drawn = null;
    this.#head.replaceChildren();
    this.#area.replaceChildren();
    this.#area.style.minHeight = "";
  }

  // Shows records of a log over a range of wall-clock times, in which what the reader did not name is not a number.
  show(log, records, { utc, range }) {
    this.#drawn = [log, records, { utc, range }];
    const { step, bars, from, until } = count(records, utc, range);
    const focused = find("chart").contains(document.activeElement) ? document.activeElement : null;
    const timeless = records.length - bars.reduce((sum, bar) => sum + bar.total, 0);
    this.#showHead(log, step, bars, timeless, !range.every(Number.isNaN));
    if (bars.length === 0) {
      this.#area.replaceChildren();
      this.#area.style.minHeight = "";
    } else {
      if (!bars.some((bar) => bar.from === this.#focus)) this.#focus = bars.at(-1).from;
      this.#area.replaceChildren(this.#draw(log, step, bars, from, until));
    }
    if (focused?.isConnected) focused.focus(); // it was taken out for a moment
    else if (focused) this.#area.querySelector("[tabindex='0']")?.focus();
  }

  #showHead(log, step, bars, timeless, isNarrowed) {
    const severities = [...SEVERITIES, "unknown"].filter((severity) => bars.some((bar) => bar.by[severity]));
    const widen = this.#head.querySelector("#widen") ?? make("button", { type: "button", class: "button link",
      id: "widen", onclick: () => this.onWiden() }, "Show the whole range");
    const legend = isSEL(log) ? severities.map((severity) =>
      make("span", { class: `legend ${severity}` }, severity)) : [];
    this.#head.replaceChildren(
      make("span", { class: "chart-title" }, bars.length ? `Records per ${step.name}`
        : timeless ? "No record tells its time" : "No record matches"),
      ...legend,
      ...(bars.length && timeless ? [make("span", { class: "quiet" }, `${recordsOf(timeless)} without a time`)] : []),
      make("span", { class: "spring" }), ...(isNarrowed ? [widen] : []));
  }

  #draw(log, step, bars, from, until) {
    const width = Math.max(280, find("chart").clientWidth);
    const top = roundUp(Math.max(...bars.map((bar) => bar.total)));
    const x = (wall) => EDGE.left + ((width - EDGE.left - EDGE.right) * (wall - from)) / (until - from);
    const y = (total) => HEIGHT - EDGE.bottom - ((HEIGHT - EDGE.top - EDGE.bottom) * total) / top;
    const svg = makeSVG("svg", { width, height: HEIGHT, viewBox: `0 0 ${width} ${HEIGHT}`, role: "group",
      "aria-label": `Records per ${step.name}, ${bars.length} bars. Arrow keys go from bar to bar.` });
    for (const total of top % 2 === 0 ? [0, top / 2, top] : [0, top]) {
      svg.append(makeSVG("line", { class: "rule", x1: EDGE.left, x2: width - EDGE.right, y1: y(total), y2: y(total) }),
        makeSVG("text", { class: "tick", x: EDGE.left - 6, y: y(total) + 4, "text-anchor": "end" }, number(total)));
    }
    for (const [wall, words] of this.#ticks(step, from, until, width)) {
      svg.append(makeSVG("text", { class: "tick", x: x(wall), y: HEIGHT - 6 }, words));
    }
    for (const bar of bars) svg.append(this.#drawBar(log, step, bar, x, y));
    svg.addEventListener("keydown", (event) => this.#move(event));
    return svg;
  }

  #drawBar(log, step, bar, x, y) {
    const [left, right] = [x(bar.from), x(bar.until)];
    const gap = right - left > 4 ? 1 : 0;
    const told = isSEL(log)
      ? `: ${Object.entries(bar.by).map(([severity, total]) => `${number(total)} ${severity}`).join(", ")}` : "";
    const label = `${wallDate(bar.from)}${step.length < DAY ? ` ${wallTime(bar.from).slice(0, 5)}` : ""}, ` +
      `${recordsOf(bar.total)}${told}`;
    const group = makeSVG("g", { class: "bar", role: "button", tabindex: bar.from === this.#focus ? 0 : -1,
      "aria-label": label, "data-from": bar.from }, makeSVG("title", {}, label));
    const box = (className, low, high) => makeSVG("rect", { class: className, x: left + gap, y: y(high),
      width: Math.max(1.5, right - left - 2 * gap), height: y(low) - y(high) });
    let low = 0;
    for (const severity of [...SEVERITIES, "unknown"].reverse()) {
      const total = bar.by[severity];
      if (!total) continue;
      group.append(box(isSEL(log) ? `part ${severity}` : "part", low, low + total));
      low += total;
    }
    const hit = box("hit", 0, bar.total);
    hit.setAttribute("y", EDGE.top);
    hit.setAttribute("height", HEIGHT - EDGE.bottom - EDGE.top);
    group.append(hit);
    group.addEventListener("click", () => this.onNarrow(bar.from, bar.until));
    return group;
  }

  // Times to name below the bars, where a bar begins and with room for the words.
  #ticks(step, from, until, width) {
    const most = Math.max(1, Math.floor((width - EDGE.left) / 110));
    const starts = [];
    for (let wall = from; wall < until; wall = endOf(step, wall)) starts.push(wall);
    const every = Math.ceil(starts.length / most);
    return starts.filter((_, index) => index % every === 0 && (index + every / 2 < starts.length || index === 0))
      .map((wall) => [wall, step.length < DAY ? `${wallDate(wall).slice(5)} ${wallTime(wall).slice(0, 5)}`
        : step.name === "month" ? wallDate(wall).slice(0, 7) : wallDate(wall)]);
  }

  #move(event) {
    const bars = [...this.#area.querySelectorAll(".bar")];
    const place = bars.indexOf(event.target.closest(".bar"));
    if (place < 0) return;
    const next = { ArrowLeft: place - 1, ArrowRight: place + 1, Home: 0, End: bars.length - 1 }[event.key];
    if (event.key === "Enter" || event.key === " ") bars[place].dispatchEvent(new MouseEvent("click"));
    else if (bars[next]) {
      bars[place].setAttribute("tabindex", -1);
      bars[next].setAttribute("tabindex", 0);
      this.#focus = Number(bars[next].dataset.from);
      bars[next].focus();
    } else if (next === undefined) return;
    event.preventDefault();
  }
}
