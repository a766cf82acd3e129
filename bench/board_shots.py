"""Times what a board shows: board_shots.py FOLDER, that of bx-range and bx-sim."""
import contextlib
import json
import pathlib
import re
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.append(str(HERE.parent / "tests/page"))
import browser as chromium

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
EXAMPLES = HERE.parent / "examples"
LANES = 200
SHOTS = 40
HIT = {"x": 12.5, "y": -30, "value": 8, "tenths": 86, "inner": False}
# The clock of each number of shots on the tile of lane a/1.
WATCH = """window.seen = {}; const since = tiles.get('a/1').parts.since;
  new MutationObserver(() => { seen[parseInt(since.textContent)] ??= (performance.timeOrigin + performance.now()) / 1000; })
    .observe(since, {childList: true})"""


def started(awaited, *command):
    process = subprocess.Popen(command, stdout=-1, stderr=subprocess.STDOUT, text=True)
    stack.callback(process.wait)
    stack.callback(process.terminate)
    found = next(filter(None, (re.search(awaited, line) for line in process.stdout)))[0]
    threading.Thread(target=process.stdout.read, daemon=True).start()
    return found


def publish(topic, message):
    subprocess.run(["mosquitto_pub", "-p", str(port), "-q", "1", "-r", "-t", topic, "-m", json.dumps(message)], check=True)


def retain_lanes():
    target = json.loads((EXAMPLES / "ring-25m-precision-pistol.json").read_text())
    since = {"since": "2026-11-22T08:00:00Z"}
    series = {"number": 3, "total": 80, "tenths": 860, "shots": [HIT] * 10}
    for lane in range(LANES):
        publish(f"bx/v1/hall/z/{lane}/status", {"state": "training", **since})
        publish(f"bx/v1/hall/z/{lane}/score", {**since, "session": 1, "target": target, "shots": 30, "total": 240, "tenths": 2580,
                                               "innerTens": 0, "series": series, "last": {"number": 30, "at": "", **HIT}})


def start_gate():
    """Gives the file of what its device says."""
    said = folder / "said.txt"
    line = started("/dev/.*", PROGRAMS / "bx-sim", "--rate", "250", "--transcript", said)
    documents = {"device": "device-settings", "session": "session-settings", "target": "ring-25m-precision-pistol"}
    lane = {"name": "1", "port": line, **{key: str(EXAMPLES / f"{name}.json") for key, name in documents.items()}}
    config = folder / "gate.json"
    config.write_text(json.dumps({**board, "machine": "a", "spool": "spool", "lanes": [lane]}))
    gate = subprocess.Popen([PROGRAMS / "bx-range", "--quiet", "gate", config])
    stack.callback(gate.wait)
    stack.callback(gate.terminate)
    return said


def times_of_shots(said):
    times = []
    with said.open() as lines:
        while len(times) < SHOTS:
            if line := lines.readline():
                times += [time.time()] if line.startswith("< CA6A") else []
            else:
                time.sleep(0.001)
    return times


def opened():
    begun = time.time()
    page.get(url)
    page.execute_async_script(f"const done = arguments[0], look = () => (lanes.size >= {LANES} ? done() : setTimeout(look, 5)); look()")
    return time.time() - begun


with contextlib.ExitStack() as stack:
    folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    (folder / "broker").write_text(f"listener {port} 127.0.0.1\nallow_anonymous true\nlog_dest stderr\n")
    started("running$", "mosquitto", "-c", folder / "broker")
    retain_lanes()
    board = {"broker": {"host": "127.0.0.1", "port": port}, "range": "hall"}
    (folder / "board.json").write_text(json.dumps(board))
    url = started("http.*", PROGRAMS / "bx-range", "board", folder / "board.json")
    page = chromium.start(folder / "profile")
    stack.callback(page.quit)
    late = [opened() for _ in range(5)]
    print(f"{LANES} lanes shown after the page was asked for: {statistics.median(late):.2f} s (slowest {max(late):.2f} s)")
    said = start_gate()
    while not said.exists() or not page.execute_script("return tiles.has('a/1')"):
        time.sleep(0.05)
    page.execute_script(WATCH)
    fired = times_of_shots(said)
    time.sleep(2)
    shown = {int(count): at for count, at in page.execute_script("return seen").items()}
    took = [shown[number] - at for number, at in enumerate(fired, 1) if number in shown]
    print(f"{len(took)} shots on the board after the device sent them: {statistics.median(took):.3f} s (slowest {max(took):.3f} s)")
