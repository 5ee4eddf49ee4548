// alerts.js: what went wrong, in words, above the page. There is one alert for each topic, and it goes when what it
// tells of is over.

import { find, make } from "./elements.js";
import { visible } from "./fields.js";

const shownAlerts = new Map(); // by topic: the element, and all that it says

// Says something about a topic: `kind` is danger, warning or info; `output` is what kestrune-host wrote to standard
// error; `action` is [label, function] of a button. Saying the same again changes nothing, so that a screen reader
// says it once.
export function alert(topic, kind, words, output = "", action = null) {
  const all = [kind, words, output, action?.[0]].join("\n");
  if (shownAlerts.get(topic)?.all === all) return;
  clearAlert(topic);
  const role = kind === "danger" ? "alert" : "status";
  const element = make("div", { class: `alert ${kind}`, role, "data-topic": topic }, make("p", {}, words),
    ...(output ? [make("pre", { "aria-label": "kestrune-host said" },
      output.split("\n").map(visible).join("\n"))] : []),
    ...(action ? [make("button", { type: "button", class: "button link", onclick: action[1] }, action[0])] : []));
  shownAlerts.set(topic, { all, element });
  find("alerts").append(element);
}

export function clearAlert(topic) {
  shownAlerts.get(topic)?.element.remove();
  shownAlerts.delete(topic);
}
