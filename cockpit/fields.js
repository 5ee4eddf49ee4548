// fields.js: what the fields of a record are called, how they read, and when a record happened.

const TEXT_COLUMNS = { date: "Date", time: "Time", host: "Host", source: "Source", message: "Message" };
const SEL_COLUMNS = {
  date: "Date", time: "Time", severity: "Severity", sensor: "Sensor", description: "Description",
  direction: "Direction", source: "Origin",
};
// The rest of what a SEL record has, for the panel with all of one record.
const OTHER_LABELS = {
  recordId: "Record ID", timestamp: "Time stamp", preinit: "Seconds after the controller's start",
  generator: "Generator", sensorType: "Sensor type", sensorTypeName: "Kind of sensor", sensorNumber: "Sensor number",
  eventType: "Event type", event: "Event", data: "Event data", raw: "Raw bytes",
};
const HEXADECIMAL = { generator: 4, sensorType: 2, sensorNumber: 2, eventType: 2, recordId: 4 };

// From the worst to the least; an event that came to its end is "information".
export const SEVERITIES = ["non-recoverable", "critical", "non-critical", "failure", "information"];

export const isSEL = (log) => log === "sel";
export const columnsOf = (log) => (isSEL(log) ? SEL_COLUMNS : TEXT_COLUMNS);
export const labelOf = (log, field) => columnsOf(log)[field] ?? OTHER_LABELS[field] ?? field;

// Text as a reader may trust it: control characters, those that turn the direction of writing, and those that are not
// seen though words are searched and compared with them, are named instead of obeyed. The joiners of U+200C and U+200D
// are not, which some languages need.
const UNSEEN = new RegExp("[\\u0000-\\u001f\\u007f-\\u009f\\u00ad\\u061c\\u200b\\u200e\\u200f\\u2028-\\u202e" +
  "\\u2060-\\u206f\\ufeff\\ufff9-\\ufffb]", "g");

export function visible(text) {
  return text.replace(UNSEEN,
    (character) => `‹U+${character.codePointAt(0).toString(16).toUpperCase().padStart(4, "0")}›`);
}

const hex = (value, digits) => `0x${value.toString(16).toUpperCase().padStart(digits, "0")}`;

// When the record happened on the wall clock, as the milliseconds that it would be in UTC, so that nothing depends on
// a zone twice: that of the reader or UTC for an event of the controller, that of the server, in which they are
// written, for lines of text. NaN when it does not say.
export function wallOf(record, utc) {
  const { timestamp } = record;
  if (!timestamp) return NaN;
  if (!timestamp.endsWith("Z")) return Date.parse(`${timestamp.slice(0, 19)}Z`);
  const instant = new Date(timestamp);
  return instant.getTime() - (utc ? 0 : instant.getTimezoneOffset() * 60e3);
}

export const wallDate = (wall) => new Date(wall).toISOString().slice(0, 10);
export const wallTime = (wall) => new Date(wall).toISOString().slice(11, 19);

// What stands in a column of the table, and in a search.
export function shown(record, field, utc) {
  if (record.timestamp?.endsWith("Z") && field === "date") return wallDate(wallOf(record, utc));
  if (record.timestamp?.endsWith("Z") && field === "time") return wallTime(wallOf(record, utc));
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
