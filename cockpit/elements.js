// elements.js: elements made in one call. Text always becomes text nodes: nothing here takes HTML.

// An element `name` with attributes and children, strings or elements. An attribute "onclick" is a listener; false and
// null leave an attribute out.
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith("on")) element.addEventListener(key.slice(2), value);
    else if (value === true) element.setAttribute(key, "");
    else if (value !== false && value !== null && value !== undefined) element.setAttribute(key, value);
  }
  element.append(...children);
  return element;
}

// An SVG element; its children are elements or strings.
export function makeSVG(name, attributes = {}, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

export const find = (id) => document.getElementById(id);

const thousands = new Intl.NumberFormat("en");
export const number = (value) => thousands.format(value);

// "1 record", "2,000 records".
export const records = (count) => `${number(count)} ${count === 1 ? "record" : "records"}`;

// Tells a screen reader what came in without the reader's doing.
export function announce(words) {
  find("announcements").textContent = words;
}
