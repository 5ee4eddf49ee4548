// hostcommand.js: runs kestrune-host on the server, and puts into words why that failed.

import { isSEL } from "./fields.js";

const cockpit = window.cockpit;

const LOST = "The connection to the server is lost. Reload the page to connect again.";
// By the word for the problem that Cockpit gives. Whatever is not here is told by kestrune-host itself.
const PROBLEMS = {
  "not-found": "kestrune-host is not installed on this server. Install the package kestrune-host.",
  "access-denied": "You have no right to run kestrune-host on this server.",
  "not-authorized": "You have no right to run kestrune-host on this server.",
  "authentication-failed": "You are not logged in any more. Reload the page to log in again.",
  "no-session": "The session on the server has ended. Reload the page to log in again.",
  disconnected: LOST,
  terminated: LOST,
  timeout: "The server did not answer in time.",
  "unknown-host": "Cockpit does not know this server's key.",
  "no-host": "The server cannot be reached.",
  "no-cockpit": "Cockpit is not installed on this server.",
};

// Why kestrune-host did not do what it was asked to: `message` in words, `output` what it wrote to standard error,
// `isLost` when there is no server any more to ask again, `hasRun` when it was kestrune-host that failed.
export class HostFailure extends Error {
  constructor(error) {
    const known = PROBLEMS[error.problem];
    const ended = error.exit_signal ? `was ended by signal ${error.exit_signal}`
      : `failed (exit status ${error.exit_status})`;
    super(known ?? (error.problem ? `kestrune-host could not be run: ${error.problem}.` : `kestrune-host ${ended}.`));
    this.output = known ? "" : (error.message ?? "").trim();
    this.isLost = known === LOST;
    this.hasRun = !error.problem;
  }
}

// Runs kestrune-host with these arguments, never through a shell. Resolves to what it printed and to what it noted on
// standard error. With onOutput, text arrives there as it comes, and `output` is empty. An aborted run is ended, and
// rejects with the signal's reason. Throws HostFailure.
export function runHost(words, { signal, onOutput } = {}) {
  return new Promise((resolve, reject) => {
    signal?.throwIfAborted();
    const process = cockpit.spawn(["kestrune-host", ...words],
      { superuser: "try", err: "message", environ: ["LC_ALL=C.UTF-8"] });
    const abort = () => process.close("cancelled");
    signal?.addEventListener("abort", abort);
    if (onOutput) process.stream((text) => signal?.aborted || onOutput(text));
    process
      .then((output, notes) => resolve({ output, notes: (notes ?? "").trim() }),
        (error) => reject(signal?.aborted ? signal.reason : new HostFailure(error)))
      .finally(() => signal?.removeEventListener("abort", abort));
  });
}

const CATALOGUE = ["logs", "--all", "--format", "json"];
const WITHOUT = ["--no-controller"];

// Every log that there is, also those that the module does not offer: name, records and, where one is missing or empty,
// why. A controller that fails takes no other log with it: of its own log, `records` is null then.
export async function readCatalogue() {
  try {
    return JSON.parse((await runHost(CATALOGUE)).output);
  } catch (failure) {
    if (!failure.hasRun) throw failure;
    const rest = await runHost([...WITHOUT, ...CATALOGUE]).catch(() => {
      throw failure; // so it is not the controller
    });
    return JSON.parse(rest.output).map((log) => (isSEL(log.name)
      ? { ...log, records: null, note: failure.output || failure.message } : log));
  }
}

// How a log is asked for: of an event all that kestrune-host knows, of a line of text also its year. Lines of text need
// no controller, and do not wait for one.
const showing = (log) => (isSEL(log) ? ["show", log]
  : [...WITHOUT, "show", log, "--columns", "timestamp,date,time,host,source,message"]);

// Records of a log, newest first, which onRecords gets as they come in: all, or `lines`, two numbers counted from the
// newest, which is 1. Resolves to what kestrune-host noted when it has ended, which on the way through Cockpit takes
// tens of milliseconds more than the records.
export async function readRecords(log, { lines, signal, onRecords }) {
  let rest = "";
  const range = lines ? ["--lines", lines.join("-")] : [];
  const { notes } = await runHost([...showing(log), "--format", "jsonl", ...range], { signal,
    onOutput: (text) => {
      const whole = (rest + text).split("\n");
      rest = whole.pop();
      onRecords(whole.map((line) => JSON.parse(line)));
    } });
  return notes;
}

// The `count` newest records of a log.
export async function readNewest(log, count, signal) {
  const records = [];
  await readRecords(log, { lines: [1, count], signal, onRecords: (more) => records.push(...more) });
  return records;
}
