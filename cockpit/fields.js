// fields.js: what the fields of a record are called, how they read, and when a record happened.

const TEXT_COLUMNS = { date: "Date", time: "Time", host: "Host", source: "Source", message: "Message" };
const SEL_COLUMNS = {
  date: "Date", time: "Time", severity: "Severity", sensor: "Sensor", description: "Description",
  direction: "Direction", source: "Origin",
};
// The rest of what a SEL record has, for the panel with all of one record.
const OTHER_LABELS = {
  recordId: "Record ID", timestamp: "Time in UTC", preinit: "Seconds after the controller's start",
  generator: "Generator", sensorType: "Sensor type", sensorTypeName: "Kind of sensor", sensorNumber: "Sensor number",
  eventType: "Event type", event: "Event", data: "Event data", raw: "Raw bytes",
};
const HEXADECIMAL = { generator: 4, sensorType: 2, sensorNumber: 2, eventType: 2, recordId: 4 };
const MONTHS = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"];
const DAY = 86400e3;

// From the worst to the least; an event that came to its end is "information".
export const SEVERITIES = ["non-recoverable", "critical", "non-critical", "failure", "information"];

export const isSEL = (log) => log === "sel";
export const columnsOf = (log) => (isSEL(log) ? SEL_COLUMNS : TEXT_COLUMNS);
export const labelOf = (log, field) => columnsOf(log)[field] ?? OTHER_LABELS[field] ?? field;

// Text as a reader may trust it: control characters and those that turn the direction of writing are named instead of
// obeyed.
export function visible(text) {
  return text.replace(/[\u0000-\u001f\u007f-\u009f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]/g,
    (character) => `‹U+${character.codePointAt(0).toString(16).toUpperCase().padStart(4, "0")}›`);
}

const hex = (value, digits) => `0x${value.toString(16).toUpperCase().padStart(digits, "0")}`;

// A wall-clock time is kept as the milliseconds that it would be in UTC, so that nothing depends on a zone twice.
const INFERRED = Symbol("wall-clock time with an inferred year");

// When the record happened on the wall clock: for records with a time stamp the reader's clock or that of UTC, else the
// server's. NaN when it does not say.
export function wallOf(record, utc) {
  if (!record.timestamp) return record[INFERRED] ?? NaN;
  const instant = new Date(record.timestamp);
  return instant.getTime() - (utc ? 0 : instant.getTimezoneOffset() * 60e3);
}

// Gives records that name a day without a year the latest year that fits. They come newest first, so a day that is later
// than the one before it lies a year earlier.
export class YearFinder {
  #latest = Date.now() + DAY;

  add(record) {
    const month = MONTHS.indexOf((record.date ?? "").slice(0, 3));
    const [hour, minute, second] = (record.time ?? "").split(":").map(Number);
    const day = Number((record.date ?? "").slice(4));
    if (month < 0 || !day || !Number.isFinite(hour + minute + second)) return;
    let year = new Date(this.#latest).getUTCFullYear();
    const at = () => Date.UTC(year, month, day, hour, minute, second);
    // A day of tolerance: lines of one log may stand a little out of order.
    const fits = () => at() <= this.#latest + DAY && new Date(at()).getUTCMonth() === month;
    for (let tries = 0; tries < 9 && !fits(); ++tries) --year; // February 29 may be eight years away
    if (!fits()) return;
    record[INFERRED] = at();
    this.#latest = at();
  }
}

export const wallDate = (wall) => new Date(wall).toISOString().slice(0, 10);
export const wallTime = (wall) => new Date(wall).toISOString().slice(11, 19);

// What stands in a column of the table, and in a search.
export function shown(record, field, utc) {
  if (record.timestamp && field === "date") return wallDate(wallOf(record, utc));
  if (record.timestamp && field === "time") return wallTime(wallOf(record, utc));
  return visible(String(record[field] ?? ""));
}

// Every field of a record, as pairs of label and text.
export function allFields(log, record) {
  return Object.entries(record).filter(([, value]) => value !== null && value !== "").map(([field, value]) => {
    let text = String(value);
    if (field === "raw") text = value.replace(/(..)(?=.)/g, "$1 ");
    else if (field === "data") text = value.map((byte) => hex(byte, 2)).join(" ");
    else if (HEXADECIMAL[field]) text = `${hex(value, HEXADECIMAL[field])} (${value})`;
    return { field, label: labelOf(log, field), text: visible(text) };
  });
}
