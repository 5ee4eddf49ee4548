// download.js: records as a file that the browser saves.

import { make } from "./elements.js";

const quote = (value) => {
  const text = Array.isArray(value) ? value.join(" ") : String(value ?? "");
  return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
};

// The fields of all records, as lines of CSV under a line of their names.
function asCSV(records) {
  const fields = Object.keys(records[0] ?? {});
  const lines = records.map((record) => fields.map((field) => quote(record[field])).join(","));
  return [fields.join(","), ...lines].map((line) => `${line}\r\n`).join("");
}

const asJSON = (records) => `[\n${records.map((record) => JSON.stringify(record)).join(",\n")}\n]\n`;

// Saves records of a log; `form` is csv or json.
export function save(log, records, form) {
  const [text, type] = form === "csv" ? [asCSV(records), "text/csv"] : [asJSON(records), "application/json"];
  const address = URL.createObjectURL(new Blob([text], { type }));
  const day = new Date().toISOString().slice(0, 10);
  make("a", { href: address, download: `${log}-${day}.${form}` }).click();
  setTimeout(() => URL.revokeObjectURL(address), 60e3); // the browser has begun to save it by then
}
