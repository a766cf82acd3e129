"""What a full range costs: range_load.py FOLDER [SECONDS], the folder of bx-range and bx-sim. Two gates with 100
lanes each, which stream 100 records a second, on a broker with its defaults. Shares are of one processor."""
import contextlib
import json
import os
import pathlib
import re
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
SECONDS = int(sys.argv[2]) if len(sys.argv) > 2 else 60
TARGET = pathlib.Path(__file__).resolve().parent.parent / "examples/ring-25m-precision-pistol.json"
GATES, LANES, RATE = ("a", "b"), 100, 100


def started(*command):
    process = subprocess.Popen([str(word) for word in command], stdout=subprocess.DEVNULL, stderr=log)
    stack.callback(process.wait)
    stack.callback(process.kill)
    return process


def start_gate(gate):
    link = folder / f"{gate}-%d"
    started(PROGRAMS / "bx-sim", "--lanes", LANES, "--rate", RATE, "--link", link)
    lanes = [{"name": str(n), "port": str(link) % n, "target": str(TARGET)} for n in range(LANES)]
    (folder / f"{gate}.json").write_text(json.dumps({**common, "machine": gate, "spool": gate, "lanes": lanes}))
    await_that(lambda: os.path.exists(lanes[-1]["port"]))
    return started(PROGRAMS / "bx-range", "gate", "--skip-startup", folder / f"{gate}.json")


def await_that(condition):
    end = time.monotonic() + 60
    while not condition():
        if time.monotonic() > end:
            log.seek(0)
            raise SystemExit("bench-range: not within 60 s; the programs say:\n" + log.read())
        time.sleep(0.05)


def seconds_of(process, thread=None):
    """Of processor time; of one of its threads, by its number."""
    path = f"/proc/{process.pid}/" + (f"task/{thread}/" if thread else "") + "stat"
    fields = pathlib.Path(path).read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def lines_archived():
    with contextlib.closing(sqlite3.connect(folder / "range.db")) as database:
        return database.execute("SELECT total(lines), count(ended) FROM sessions").fetchone()


with contextlib.ExitStack() as stack:
    folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
    log = stack.enter_context(open(folder / "log", "w+"))
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    common = {"broker": {"host": "127.0.0.1", "port": port}, "range": "load"}
    (folder / "archive.json").write_text(json.dumps(common))
    broker = started("mosquitto", "-p", port)
    archive = started(PROGRAMS / "bx-range", "archive", folder / "archive.json", folder / "range.db")
    gates = [start_gate(gate) for gate in GATES]
    await_that(lambda: len(list(folder.glob("[ab]/*.jsonl"))) == len(GATES) * LANES)

    # A gate's network is its first thread's.
    parts = {"broker": (broker,), "archive": (archive,)}
    for gate, process in zip(GATES, gates):
        parts |= {f"network of gate {gate}": (process, process.pid), f"all of gate {gate}": (process,)}
    begin, lines = time.monotonic(), lines_archived()[0]
    before = {name: seconds_of(*part) for name, part in parts.items()}
    time.sleep(SECONDS)
    spent = {name: seconds_of(*part) - before[name] for name, part in parts.items()}
    span = time.monotonic() - begin
    rate = (lines_archived()[0] - lines) / span

    end = time.monotonic()
    for process in gates:
        process.send_signal(signal.SIGINT)
    await_that(lambda: lines_archived()[1] == len(GATES) * LANES or None not in [process.poll() for process in gates])
    after = time.monotonic() - end
    for process in gates:
        process.wait()
    log.seek(0)
    told = re.findall(r"sessions?, (\d+) records?, .*; (\d+) sessions? not archived yet", log.read())
    print(f"{rate:.0f} records archived a second; {lines_archived()[1]} sessions whole {after:.2f} s after the end")
    print(f"records taken {sum(int(records) for records, _ in told)}, in the archive "
          f"{lines_archived()[0] - len(GATES) * LANES:.0f}; sessions left {sum(int(left) for _, left in told)}")
    for name, seconds in spent.items():
        print(f"{name:20} {100 * seconds / span:5.1f}%")
