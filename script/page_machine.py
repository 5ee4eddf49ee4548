#!/usr/bin/python3
"""Serves the page "Event logs" in a private machine, into which script/page puts it; also for the page's test.

Cockpit gets the page from the tree and, under the name kestrune-host, the built one with options that have it show the
sample controller: either its records as a file, or simulated behind IPMI. Ends when cockpit-ws ends.
"""
import argparse
import json
import os
import pathlib
import socket
import struct
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLE = ROOT / "standin" / "sample"
IPMI_PORT = 9623


def write(path, text, mode=0o644):
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    path.chmod(mode)


def spaced(numbers):
    return " ".join(map(str, numbers))


def sensor_record(sensor):
    """A full sensor data record: the sensor's number, name and conversion factors."""
    name = sensor["name"].encode("latin-1")[:16]
    factor, offset = int(sensor.get("M", 1)), int(sensor.get("B", 0))
    exponents = (int(sensor.get("rExp", 0)) & 15) << 4 | int(sensor.get("bExp", 0)) & 15
    kind = bytes([7, 1, 0x67, 0x68, 1, 1]) + bytes(6)  # entity, capabilities, type, event masks
    reading = bytes([0x80 if sensor.get("signed") else 0, 0, 0, 0, factor & 255, factor >> 2 & 0xC0,
                     offset & 255, offset >> 2 & 0xC0, 0, exponents])
    body = kind + reading + bytes(39 - len(kind) - len(reading)) + bytes([0xC0 | len(name)]) + name
    return bytes([0, 0, 0x51, 1, len(body) + 3, 0x20, 0, sensor["number"]]) + body


def sample_records():
    content = (SAMPLE / "sel.raw").read_bytes()
    return [content[at:at + 16] for at in range(0, len(content), 16)]


def adding(record):
    """The commands of ipmitool that add a record. The controller dates it, so its clock is set first."""
    return f"raw 0x0a 0x49 {spaced(record[3:7])}\nraw 0x0a 0x44 {spaced(record)}\n"


def simulate_controller():
    """Starts ipmi_sim with the sample's sensors and records. Answers the process, and the options to reach it."""
    methods = "none md2 md5 straight"
    write("/tmp/sim/lan.conf", f"""name "sample"
set_working_mc 0x20
startlan 1
addr 127.0.0.1 {IPMI_PORT}
priv_limit admin
allowed_auths_user {methods}
allowed_auths_admin {methods}
guid a123456789abcdefa123456789abcdef
endlan
user 2 true "reader" "secret" user 10 {methods}
user 3 true "boss" "mighty" admin 10 {methods}
""")
    commands = ["mc_setbmc 0x20", "mc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02",
                "sel_enable 0x20 1000 0x0a", "mc_enable 0x20"]
    for sensor in json.loads((SAMPLE / "sensors.json").read_text())["sensors"]:
        commands.append(f"main_sdr_add 0x20 {spaced(sensor_record(sensor))}")
    write("/tmp/sim/commands", "\n".join(commands) + "\n")
    os.makedirs("/tmp/sim/state", exist_ok=True)
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    process = subprocess.Popen(["ipmi_sim", "-n", "-c", "/tmp/sim/lan.conf", "-f", "/tmp/sim/commands",
                                "-s", "/tmp/sim/state"], **quiet)
    tool = ["ipmitool", "-I", "lanplus", "-C", "3", "-H", "127.0.0.1", "-p", str(IPMI_PORT), "-U", "boss",
            "-P", "mighty"]
    now = spaced(struct.pack("<I", int(time.time())))
    write("/tmp/sim/records", "".join(map(adding, sample_records())) + f"raw 0x0a 0x49 {now}\n")
    for _ in range(50):
        if subprocess.run([*tool, "exec", "/tmp/sim/records"], **quiet, check=False).returncode == 0:
            break
        time.sleep(0.1)
    else:
        raise SystemExit(f"ipmi_sim does not take the sample's records; is UDP port {IPMI_PORT} taken?")
    write("/tmp/sim/password", "secret\n", 0o600)
    return process, ["--ipmi", f"127.0.0.1:{IPMI_PORT}", "--ipmi-user", "reader", "--ipmi-timeout", "2",
                     "--ipmi-password-file", "/tmp/sim/password"]


def install_command(host, options):
    """Has `kestrune-host` be the built one, `host`, with options that name a controller, unless the page wants none."""
    words = " ".join(f"'{word}'" for word in options)
    write("/tmp/bin/kestrune-host", f"""#!/bin/sh
PATH=/usr/sbin:/usr/bin:/sbin:/bin
[ "$1" = --no-controller ] || set -- {words} "$@"
exec '{host}' "$@"
""", 0o755)


def serve(port):
    """Starts cockpit-ws on a loopback port, with the page and no log-in. No other kestrune-host is found."""
    os.makedirs("/tmp/share/cockpit", exist_ok=True)
    if not os.path.islink("/tmp/share/cockpit/kestrune"):
        os.symlink(ROOT / "cockpit", "/tmp/share/cockpit/kestrune")
    return subprocess.Popen(["/usr/lib/cockpit/cockpit-ws", "--local-session", "/usr/bin/cockpit-bridge", "--address",
                             "127.0.0.1", "--port", str(port)], stderr=subprocess.DEVNULL,
                            env=dict(os.environ, XDG_DATA_HOME="/tmp/share", PATH="/tmp/bin", HOME="/tmp"))


def answers(port):
    with socket.socket() as tried:
        return tried.connect_ex(("127.0.0.1", port)) == 0


def address(port):
    return f"http://127.0.0.1:{port}/cockpit/@localhost/kestrune/index.html"


def free_port():
    with socket.socket() as tried:
        tried.bind(("127.0.0.1", 0))
        return tried.getsockname()[1]


def start_browser():
    """A browser without a window, for those who test or measure the page."""
    from selenium import webdriver  # to serve the page it is not needed
    from selenium.webdriver.chrome.service import Service
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--hide-scrollbars",
                     "--user-data-dir=/tmp/browser", "--lang=en-GB"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    browser.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": "/tmp/downloads"})
    browser.execute_cdp_cmd("Browser.grantPermissions",
                            {"permissions": ["clipboardReadWrite", "clipboardSanitizedWrite"]})
    return browser


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--host", required=True, help="the built kestrune-host")
    parser.add_argument("--ipmi-sim", action="store_true")
    arguments = parser.parse_args()
    if answers(arguments.port):
        print(f"script/page: port {arguments.port} is taken; --port names another", file=sys.stderr)
        return 1
    options = ["--sel", "/tmp/sel.raw", "--sensors", str(SAMPLE / "sensors.json")]
    if arguments.ipmi_sim:
        options = simulate_controller()[1]
    install_command(arguments.host, options)
    server = serve(arguments.port)
    try:
        while server.poll() is None and not answers(arguments.port):
            time.sleep(0.05)
        if server.poll() is not None:
            print(f"script/page: cockpit-ws ended with status {server.returncode}", file=sys.stderr)
            return 1
        print(f"\nThe page: {address(arguments.port)}\nCtrl-C ends it.", flush=True)
        return server.wait()
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    raise SystemExit(main())
