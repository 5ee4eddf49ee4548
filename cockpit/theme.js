// theme.js: light or dark, as the reader chose in Cockpit's menu, or else as the system says. It is loaded first, so
// that a dark page does not flash white.

const CHOICE = "shell:style"; // where Cockpit keeps it: "light", "dark", or "auto"
const system = window.matchMedia("(prefers-color-scheme: dark)");

function apply(choice) {
  const dark = choice === "dark" || (choice !== "light" && system.matches);
  document.documentElement.classList.toggle("dark", dark);
}

const stored = () => window.localStorage.getItem(CHOICE) ?? "auto";

window.addEventListener("storage", (event) => event.key === CHOICE && apply(stored()));
// Within one window there is no storage event; Cockpit sends this one instead.
window.addEventListener("cockpit-style", (event) => apply(event.detail?.style ?? stored()));
system.addEventListener("change", () => apply(stored()));
apply(stored());
