// writeform.js: the form that writes a message to the server's system log.

import { find, make } from "./elements.js";
import { visible } from "./fields.js";
import { runHost } from "./hostcommand.js";

const LEVELS = ["Plain", "Note", "Warning", "Critical"];

export class WriteForm {
  #level;
  #text;
  #result;
  #send;
  // onWritten is called when a message was written.
  constructor(onWritten) {
    this.onWritten = onWritten;
    this.#level = make("select", { id: "level" }, ...LEVELS.map((name, value) => make("option", { value }, name)));
    this.#text = make("input", { type: "text", id: "text", required: true, autocomplete: "off", maxlength: "1000" });
    this.#result = make("div", { id: "write-result", role: "status" });
    this.#send = make("button", { type: "submit", class: "button primary" }, "Write");
    const form = make("form", { onsubmit: (event) => this.#submit(event) },
      make("h2", { id: "write-name" }, "Write a message to the system log"),
      make("label", { class: "field" }, make("span", {}, "Level"), this.#level),
      make("label", { class: "field" }, make("span", {}, "Text"), this.#text),
      this.#result,
      make("div", { class: "buttons" }, this.#send,
        make("button", { type: "button", class: "button plain", onclick: () => find("write-dialog").close() },
          "Close")));
    find("write-dialog").append(form);
  }

  open() {
    this.#result.replaceChildren();
    find("write-dialog").showModal();
    this.#text.focus();
  }

  async #submit(event) {
    event.preventDefault();
    this.#send.disabled = true;
    try {
      const { notes } = await runHost(["--no-controller", "write", "--level", this.#level.value, "--", this.#text.value]);
      this.#say("success", `Handed to the system log: ${visible(this.#text.value)}`, notes);
      this.#text.value = "";
      this.onWritten();
    } catch (error) {
      this.#say("danger", error.message, error.output);
    }
    this.#send.disabled = false;
    this.#text.focus();
  }

  #say(kind, words, output) {
    this.#result.replaceChildren(make("div", { class: `alert ${kind}` }, make("p", {}, words),
      ...(output ? [make("pre", {}, output.split("\n").map(visible).join("\n"))] : [])));
  }
}
