"""The broker of examples/range: what each account may do there, and a board that follows it in a real browser.
Usage: example_test.py BX-RANGE; further arguments go to unittest."""
import contextlib
import getpass
import json
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

from selenium.common.exceptions import TimeoutException
from selenium.webdriver.support.wait import WebDriverWait

HERE = pathlib.Path(__file__).resolve().parent
sys.path.append(str(HERE.with_name("page")))
import browser as chromium

BX_RANGE = pathlib.Path(sys.argv.pop(1)).resolve()
TARGET = json.loads((HERE / "../../examples/ring-25m-precision-pistol.json").read_text())
LAST = {"gate-a": ("archive", "bx/v1/hall/a/1/archived"), "gate-b": ("archive", "bx/v1/hall/b/4/archived"),
        "archive": ("gate-a", "bx/v1/hall/a/1/records"), "board": ("gate-a", "bx/v1/hall/a/1/score")}


class Example(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name, "range")
        with socket.create_server(("localhost", 0)) as free:
            self.port = str(free.getsockname()[1])
        subprocess.run([HERE / "../../examples/range/set-up", self.folder, "localhost", self.port], check=True)
        # Copied to another machine; started by root it would become another user, who may not read what is here.
        self.broker_folder = (self.folder / "broker").rename(self.folder.with_name("copy"))
        with open(self.broker_folder / "mosquitto.conf", "a") as conf:
            conf.write(f"user {getpass.getuser()}\n")
        self.broker = self.start_broker()

    def start(self, awaited, *command, folder=None):
        process = subprocess.Popen(command, cwd=folder, stdout=-1, stderr=subprocess.STDOUT, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        process.found = self.find(process, awaited)
        return process

    def find(self, process, pattern):
        return next(filter(None, (re.search(pattern, line) for line in process.stdout)))[0]

    def start_broker(self):
        return self.start("running$", "mosquitto", "-c", "mosquitto.conf", folder=self.broker_folder)

    def client(self, program, *arguments, account=None):
        secret = [] if account is None else ["-u", account, "-P", (self.folder / account / "password").read_text().strip()]
        return ["stdbuf", "-oL", program, "-h", "localhost", "-p", self.port, "--cafile", self.folder / "board/ca.crt",
                *secret, *arguments]

    def publish(self, account, topic, text, *options):
        subprocess.run(self.client("mosquitto_pub", "-q", "1", "-t", topic, "-m", text, *options, account=account), check=True)

    def test_an_account_writes_and_reads_what_is_its_own(self):
        rows = [re.split(r" +\| ", line) for line in (HERE / "accounts.txt").read_text().splitlines()]
        readers = {account: self.start("^Subscribed", *self.client("mosquitto_sub", "-d", "-F", "%t=%p", "-t", "#", account=account))
                   for account in LAST}
        for number, (writer, topic, *_) in enumerate(rows):
            self.publish(writer, topic, str(number))
        came = {}
        for reader, (writer, topic) in LAST.items():
            self.publish(writer, topic, "last")
            came[reader] = set(iter(lambda: self.find(readers[reader], r"^bx/.*=.*$"), topic + "=last"))
        for number, (writer, topic, reader, what) in enumerate(rows):
            with self.subTest(writer=writer, topic=topic, reader=reader):
                self.assertEqual(f"{topic}={number}" in came[reader], what == "arrives")

    def test_nobody_reads_without_a_password(self):
        for account in ([], ["-u", "board"], ["-u", "board", "-P", "wrong"], ["-u", "nobody", "-P", "x"]):
            with self.subTest(account):
                done = subprocess.run(self.client("mosquitto_sub", "-t", "#", *account), capture_output=True, text=True, timeout=60)
                self.assertIn("not authorised", done.stderr)

    def tell(self, lane, state="", total=None, hits=0, clears=False):
        """Of a machine when the lane is one."""
        gate, topic = f"gate-{lane[0]}", f"bx/v1/hall/{lane}"
        since = {"since": "2026-11-21T16:20:33Z"}
        self.publish(gate, f"{topic}/status", "" if clears else json.dumps({"state": state, **since}), "-r")
        hit = {"x": 1, "y": 30, "value": 9, "tenths": 98}
        sums = {"total": total, "tenths": total}
        score = {**since, "target": TARGET, "shots": hits, **sums, "series": {"number": 1, **sums, "shots": [hit] * hits}, "last": hit}
        if total is not None or clears:
            self.publish(gate, f"{topic}/score", "" if clears else json.dumps(score), "-r")

    def awaits(self, script, expected):
        value = lambda: self.browser.execute_script(f"return {script}")
        with contextlib.suppress(TimeoutException):
            WebDriverWait(self.browser, 60).until(lambda _: value() == expected)
        self.assertEqual(value(), expected)

    def test_a_board_follows_all_lanes(self):
        config, names = self.folder / "board/board.json", self.folder / "board/names.json"
        board = self.start("http.*", BX_RANGE, "board", config)
        self.browser = chromium.start(self.folder / "profile")
        self.addCleanup(self.browser.quit)
        self.tell("a/10", "training", 90, 1)
        self.tell("a/2", "ready", 80, 3)
        self.tell("b/4", "free")
        self.browser.get(board.found)
        lanes = "[...document.querySelectorAll('#lanes li')].map((tile) => tile.innerText.replace(/\\s+/g, ' '))"
        a2, a10, b4 = "2 João da Silva Ready 9.8 Series 1: 80 80 8.0 3 shots since 2026-11-21 16:20 UTC", \
            "10 Training 9.8 Series 1: 90 90 9.0 1 shot since 2026-11-21 16:20 UTC", "4 Ümit Öz No device since 2026-11-21 16:20 UTC"
        self.awaits(lanes, [a2, a10, b4])
        self.browser.execute_script("document.querySelector('[data-order=total]').click()")
        self.awaits(lanes, [a10, a2, b4])
        names.write_text('{"a/10": "<b>Bold</b>"')
        self.find(board, "names.json: .*not JSON.*stay")
        names.write_text('{"a/10": "<b>Bold</b>"}')
        a10, b4 = a10.replace("10 Tr", "10 <b>Bold</b> Tr"), b4.replace("Ümit Öz ", "")
        self.tell("a/2", clears=True)
        self.awaits(lanes, [a10, b4])
        self.browser.execute_script("document.querySelector('[data-lane=\"a/10\"] a').click()")
        self.tell("a/10", "training", 100, 2)
        self.awaits("[byId('lane-name').innerText, byId('table').children.length, byId('shot-heading').textContent]",
                    ["a/10 <b>Bold</b>", 2, "Shot 2 of 2"])
        self.tell("a", "lost")
        self.awaits("byId('lane-state').textContent", "Lost")
        self.browser.back()
        self.broker.kill()
        self.awaits("byId('trouble').textContent", "No connection to the broker: what is shown may be old")
        self.broker = self.start_broker()
        self.tell("b/4", "training")
        self.awaits(f"[{lanes}, byId('trouble').hidden]", [[b4.replace("No device", "Training")], True])
        board.kill()
        self.awaits("byId('trouble').textContent", "The board does not answer: what is shown may be old")
        self.start("http.*", BX_RANGE, "board", config, board.found.split("/")[2])
        self.awaits(f"[{lanes}.length, byId('trouble').hidden]", [1, True])


if __name__ == "__main__":
    unittest.main()
