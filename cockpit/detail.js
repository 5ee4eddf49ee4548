// detail.js: the panel with every field of one record.

import { announce, find, make } from "./elements.js";
import { allFields, isSEL, wallDate, wallOf, wallTime } from "./fields.js";

// Copies text. Where the browser gives pages no clipboard, over plain HTTP, a selection serves.
async function copy(text) {
  if (navigator.clipboard) return navigator.clipboard.writeText(text);
  const box = make("textarea", { class: "unseen", readonly: true });
  box.value = text;
  find("detail").append(box);
  box.select();
  const done = document.execCommand("copy");
  box.remove();
  if (!done) throw new Error("the browser refused");
}

export class Detail {
  record = null;

  // onClose is called when the reader closes the panel.
  constructor(onClose) {
    this.onClose = onClose;
    find("detail").addEventListener("keydown", (event) => event.key === "Escape" && this.close());
  }

  show(log, record) {
    this.record = record;
    const fields = allFields(log, record);
    if (record.timestamp && isSEL(log)) {
      const wall = wallOf(record, false);
      fields.unshift({ field: "local", label: "Time here", text: `${wallDate(wall)} ${wallTime(wall)}` });
    }
    const title = make("h3", { id: "detail-name", tabindex: "-1" }, "Record");
    const list = make("dl", {}, ...fields.map(({ field, label, text }) =>
      make("div", { "data-field": field, class: ["raw", "data"].includes(field) ? "bytes" : "" }, make("dt", {}, label),
        make("dd", {}, make("bdi", {}, text)))));
    const lines = fields.map(({ label, text }) => `${label}: ${text}`).join("\n");
    const raw = fields.find(({ field }) => field === "raw");
    find("detail").replaceChildren(
      make("div", { class: "detail-head" }, title,
        make("button", { type: "button", class: "button plain", "aria-label": "Close the record", id: "close-detail",
          onclick: () => this.close() }, "✕")),
      list,
      make("div", { class: "buttons" }, this.#copyButton("Copy record", lines),
        ...(raw ? [this.#copyButton("Copy raw bytes", raw.text)] : [])));
    find("detail").hidden = false;
    title.focus();
  }

  close() {
    this.hide();
    this.onClose();
  }

  hide() {
    this.record = null;
    find("detail").hidden = true;
    find("detail").replaceChildren();
  }

  #copyButton(label, text) {
    const button = make("button", { type: "button", class: "button secondary", onclick: async () => {
      const words = await copy(text).then(() => "Copied", (error) => `Not copied: ${error.message}`);
      button.textContent = words;
      announce(words);
      setTimeout(() => (button.textContent = label), 2000);
    } }, label);
    return button;
  }
}
