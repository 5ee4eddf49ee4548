#!/usr/bin/python3
"""What script/fleet runs: the fleet, one machine of it, and its collector, each in a process of its own.

The fleet starts the others in private machines and speaks with them in lines of JSON: a command goes in, an answer comes
out. A machine and the collector start again whatever of their processes has ended, as systemd would.
"""

import json
import os
import random
import signal
import socket
import subprocess
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
HOST = os.environ.get("KESTRUNE_HOST", f"{ROOT}/build/release/standin/kestrune-host")
SYSTEMD = "/lib/systemd"
USER, PASSWORD = "boss", "mighty"
LOG_SIZE = 2000         # entries that a controller holds
SETTLING = 90           # seconds that the last records may take to the collector
REST = 120              # seconds over which a follower at rest is measured
CPU_GOAL, MEMORY_GOAL = 0.2, 16  # of a follower at rest: seconds an hour, MiB


class Keeper:
    """Processes that are started again a moment after they ended, until the end."""

    def __init__(self):
        self.commands, self.processes, self.ends = {}, {}, {}
        self.kills = 0
        self.lock = threading.Lock()
        threading.Thread(target=self.watch, daemon=True).start()

    def start(self, name, command):
        with self.lock:
            self.commands[name] = command
            self.launch(name)

    def launch(self, name):
        log = open(f"/tmp/{name}.log", "ab")
        self.processes[name] = subprocess.Popen(self.commands[name], stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        log.close()

    def watch(self):
        while True:
            time.sleep(0.2)
            with self.lock:
                for name, process in list(self.processes.items()):
                    if process.poll() is not None:
                        self.launch(name)

    def kill(self, name):
        with self.lock:
            self.processes[name].send_signal(signal.SIGKILL)
            self.kills += 1

    def cost(self, name):
        """CPU seconds that a process has used, and its resident memory in KiB."""
        folder = f"/proc/{self.processes[name].pid}"
        own = sum(int(read(f"{folder}/task/{task}/schedstat").split()[0]) for task in os.listdir(f"{folder}/task"))
        children = sum(int(field) for field in read(f"{folder}/stat").rpartition(")")[2].split()[13:15])
        memory = next(line for line in read(f"{folder}/status").splitlines() if line.startswith("VmRSS")).split()[1]
        return own / 1e9 + children / os.sysconf("SC_CLK_TCK"), int(memory)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def read(path):
    with open(path, encoding="ascii") as file:
        return file.read()


def journal_entries(folder):
    """The entries of followers in the journal of a folder."""
    done = subprocess.run(["journalctl", "--directory", folder, "-o", "json", "SYSLOG_IDENTIFIER=kestrune-sel"],
                          capture_output=True, text=True, check=False)
    return [json.loads(line) for line in done.stdout.splitlines()]


def start_journal(keeper):
    for folder in ("/run/systemd/journal", "/run/systemd/system", "/run/log/journal"):
        os.makedirs(folder, exist_ok=True)
    keeper.start("journald", [f"{SYSTEMD}/systemd-journald"])


def start_controller(keeper, port):
    methods = "none md2 md5 straight\n"
    write("/tmp/sim/lan.conf", f'name "fleet"\nset_working_mc 0x20\nstartlan 1\naddr 127.0.0.1 {port}\npriv_limit admin\n'
          f"allowed_auths_admin {methods}guid a123456789abcdefa123456789abcdef\nendlan\n"
          f'user 2 true "{USER}" "{PASSWORD}" admin 10 {methods}')
    write("/tmp/sim/commands", "mc_setbmc 0x20\nmc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02\n"
          f"sel_enable 0x20 {LOG_SIZE} 0x0a\nmc_enable 0x20\n")
    os.makedirs("/tmp/sim/state", exist_ok=True)
    keeper.start("controller", ["ipmi_sim", "-n", "-c", "/tmp/sim/lan.conf", "-f", "/tmp/sim/commands", "-s",
                                "/tmp/sim/state"])


class Machine:
    """A server of the fleet. Its follower looks every `interval` seconds, with 0 as often as it does by itself. One
    without a collector uploads nothing.
    """

    def __init__(self, port, collector, interval):
        self.port = port
        self.keeper = Keeper()
        start_journal(self.keeper)
        start_controller(self.keeper, port)
        self.tool("raw", "0x0a", "0x49", *(hex(byte) for byte in int(time.time()).to_bytes(4, "little")))
        write("/tmp/password", PASSWORD + "\n")
        os.makedirs("/run/state")
        looks = ["--interval", str(interval)] if interval != 0 else []
        self.keeper.start("follower", [HOST, "--ipmi", f"127.0.0.1:{port}", "--ipmi-user", USER, "--ipmi-password-file",
                                       "/tmp/password", "follow", "sel", "--to", "journal", "--state",
                                       "/run/state/sel", *looks])
        if collector != 0:
            self.keeper.start("uploader", [f"{SYSTEMD}/systemd-journal-upload", f"--url=http://127.0.0.1:{collector}",
                                           "--save-state=/run/state/upload"])

    def tool(self, *arguments):
        for _ in range(50):
            done = subprocess.run(["ipmitool", "-I", "lanplus", "-C", "3", "-H", "127.0.0.1", "-p", str(self.port), "-U",
                                   USER, "-P", PASSWORD, *arguments], capture_output=True, text=True, check=False)
            if done.returncode == 0:
                return done.stdout
            time.sleep(0.1)
        raise RuntimeError(f"ipmitool {arguments}: {done.stderr}")

    def grow(self, seconds, kills):
        """Adds events at random instants, and kills what carries them."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            time.sleep(random.uniform(0, 1))
            for _ in range(random.randint(1, 3)):
                data = [random.choice([1, 0x81]), 0x50 + random.choice([0, 2, 4, 7, 9, 11]), random.randrange(256), 0]
                self.tool("raw", "0x0a", "0x44", "0", "0", "2", "0", "0", "0", "0", "0x20", "0", "4", "1",
                          str(random.randrange(1, 200)), *(str(byte) for byte in data))
            if kills and random.random() < 0.2:
                self.keeper.kill(random.choice(["follower", "uploader"]))
        return self.keeper.kills

    def records(self):
        self.tool("sel", "writeraw", "/tmp/records")
        with open("/tmp/records", "rb") as file:
            data = file.read().hex().upper()
        return [data[place:place + 32] for place in range(0, len(data), 32)]

    def written(self):
        """The raw records in its own journal."""
        return [entry["SEL_RAW"] for entry in journal_entries("/run/log/journal")]

    def rest(self, seconds):
        """What a follower costs that has nothing to do: CPU seconds an hour, MiB."""
        before, _ = self.keeper.cost("follower")
        time.sleep(seconds)
        after, memory = self.keeper.cost("follower")
        return (after - before) * 3600 / seconds, memory / 1024


class Collector:
    """The place where all journals come together."""

    FOLDER = "/var/log/journal/remote"

    def __init__(self, port):
        os.makedirs(self.FOLDER)
        self.keeper = Keeper()
        self.keeper.start("remote", [f"{SYSTEMD}/systemd-journal-remote", f"--listen-http=127.0.0.1:{port}",
                                     f"--output={self.FOLDER}"])

    def kill(self):
        self.keeper.kill("remote")

    def records(self):
        """Machine and raw record of each entry."""
        return [(entry["_MACHINE_ID"], entry["SEL_RAW"]) for entry in journal_entries(self.FOLDER)]


def serve(server):
    """Carries out what the fleet asks of a machine or of the collector."""
    print(json.dumps("ready"), flush=True)
    for line in sys.stdin:
        method, *arguments = json.loads(line)
        print(json.dumps(getattr(server, method)(*arguments)), flush=True)


class Remote:
    """A machine or the collector, as the fleet sees it."""

    def __init__(self, role, name, *arguments):
        machine_id = f"{name:032x}"
        inner = (f"echo {machine_id} >/tmp/machine-id; exec bwrap --dev-bind / / --ro-bind /tmp/machine-id /etc/machine-id "
                 f'--unshare-uts --hostname machine{name} --die-with-parent -- "$@"')
        self.machine_id = machine_id
        self.process = subprocess.Popen(
            [f"{ROOT}/script/machine", "--resmgr", f"{os.path.dirname(HOST)}/libresmgr.so", "--", "bash", "-c", inner,
             "-", "/usr/bin/python3", __file__, role, *(str(each) for each in arguments)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise RuntimeError(f"machine {self.machine_id} has ended")
        return json.loads(line)

    def send(self, *command):
        self.process.stdin.write(json.dumps(command) + "\n")
        self.process.stdin.flush()

    def ask(self, *command):
        self.send(*command)
        return self.answer()


def free_ports(count):
    sockets = []
    for _ in range(count):
        sockets.append(socket.socket(socket.AF_INET, socket.SOCK_DGRAM))
        sockets[-1].bind(("127.0.0.1", 0))
    return [each.getsockname()[1] for each in sockets]


def run_fleet(count, seconds):
    """Returns the number of records that never came to the collector."""
    collector_port, *ports = free_ports(count + 1)
    collector = Remote("collector", 0xC0, collector_port)
    collector.answer()
    machines = [Remote("machine", index + 1, port, collector_port, 1) for index, port in enumerate(ports)]
    for machine in machines:
        machine.answer()

    print(f"{count} machines are up; their controllers' logs grow for {seconds} seconds", flush=True)
    start = time.monotonic()
    for machine in machines:
        machine.send("grow", seconds, True)
    collector_kills = 0
    while time.monotonic() - start < seconds:
        time.sleep(random.uniform(2, 6))
        collector.ask("kill")
        collector_kills += 1
    kills = sum(machine.answer() for machine in machines) + collector_kills
    sent = {(machine.machine_id, record) for machine in machines for record in machine.ask("records")}

    deadline = time.monotonic() + SETTLING
    found = []
    while time.monotonic() < deadline and not sent <= set(found):
        time.sleep(1)
        found = [tuple(entry) for entry in collector.ask("records")]
    duration = time.monotonic() - start
    lost = sent - set(found)

    print(f"{kills} followers, uploaders and collectors killed and started again")
    print(f"{len(sent)} records sent, {len(sent & set(found))} found, {len(found) - len(set(found))} repeated, "
          f"{len(lost)} lost; {len(sent) / duration:.1f} records a second")
    for machine in machines:
        for record in sorted(record for machine_id, record in lost if machine_id == machine.machine_id):
            place = "on its way to the collector" if record in machine.ask("written") else "before its own journal"
            print(f"lost: machine {int(machine.machine_id, 16)}, record {record}, {place}")
    return len(lost)


def measure_rest():
    """Prints two rows for the table of script/bench."""
    [port] = free_ports(1)
    machine = Remote("machine", 1, port, 0, 0)
    machine.answer()
    machine.ask("grow", 10, False)
    time.sleep(10)  # what there is to send is sent
    for value, goal, unit in zip(machine.ask("rest", REST), (CPU_GOAL, MEMORY_GOAL), ("CPU seconds an hour", "MiB")):
        verdict = "met" if value <= goal else "missed"
        print(f"| {'a follower of the SEL to the journal, at rest':50} | {unit:36} | {value:5.2f} | <= {goal} | {verdict:6} |")


def main():
    role, *numbers = sys.argv[1:]
    numbers = [int(number) for number in numbers]
    if role == "machine":
        serve(Machine(*numbers))
    elif role == "collector":
        serve(Collector(*numbers))
    elif role == "rest":
        measure_rest()
    else:
        sys.exit(1 if run_fleet(*numbers) else 0)


if __name__ == "__main__":
    main()
