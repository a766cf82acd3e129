"""Pages of reports in a real browser. Usage: page_test.py BX, the tool; further arguments go to unittest."""
import contextlib
import itertools
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

from selenium.webdriver import ActionChains
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.wait import WebDriverWait

import large
from browser import OPTIONS, start

BX = pathlib.Path(sys.argv.pop(1)).resolve()
HERE = pathlib.Path(__file__).parent
FOLDER = tempfile.TemporaryDirectory()


def report(session, suffix="html"):
    path = pathlib.Path(FOLDER.name, f"{session}.{suffix}")
    if not path.exists():
        subprocess.run([BX, "--quiet", "report", HERE / f"{session}.jsonl", "--output", path], check=True)
    return path


@contextlib.contextmanager
def started(program, *arguments):
    with subprocess.Popen([BX.with_name(program), *arguments], stdout=-1, stderr=-1, text=True) as process:
        yield process
        process.terminate()


def setUpModule():
    global browser
    browser = start(f"{FOLDER.name}/profile")
    unittest.addModuleCleanup(browser.quit)


def script(text):
    return browser.execute_script(f"return {text}")


def one(css):
    return browser.find_element("css selector", css)


class Page(unittest.TestCase):
    def open(self, session, address=""):
        browser.get("about:blank")
        browser.get(report(session).as_uri() + address)

    def assertChosen(self, address, heading):
        self.assertEqual((script("location.hash"), one("#shot-heading").text), (address, heading.upper()))

    def tearDown(self):
        self.assertEqual(browser.get_log("browser"), [])

    def test_draws_what_the_session_holds(self):
        pages = {}
        for place, piece in re.findall(r"^(\w.*?) \| (.*)$", (HERE / "drawn.txt").read_text(), re.MULTILINE):
            if place not in pages:
                session, address = place.split(" ")
                command = ["chromium", *OPTIONS, f"--user-data-dir={FOLDER.name}/dump", "--dump-dom"]
                command.append(report(session).as_uri() + address)
                pages[place] = subprocess.run(command, capture_output=True, check=True, text=True).stdout
            with self.subTest(place):
                self.assertTrue(piece in pages[place], piece)  # a page is too long to be told

    def test_shows_the_values_of_the_figures(self):
        self.open("aimed")
        script("dispatchEvent(new Event('beforeprint'))")
        shown = [[cell.text for cell in row.find_elements("tag name", "td")[:5]]
                 for row in browser.find_elements("css selector", "#table tr")]
        text = lambda value: "–" if value is None else f"{value:.1f}".replace("-", "−")
        figures = json.loads(report("aimed", "json").read_text())["shots"]
        self.assertEqual(shown, [[str(shot["number"]), text(shot["tenths"]), "✕" * shot["inner"], text(shot["x"]),
                                  text(shot["y"])] for shot in figures])

    def test_takes_text_as_text_and_needs_nothing_from_outside(self):
        self.open("aimed")
        name = "<b>\"A\" & 'B'</b></script><script>alert(1)"
        self.assertEqual((one("h1").text, script("document.title")), (name, name + ", 2026-11-22T09:30:00Z"))
        self.assertEqual(script("document.querySelectorAll('b, i').length"), 0)
        self.assertIn("default-src 'none'; script-src 'sha256-", one("meta[http-equiv]").get_attribute("content"))
        self.assertEqual(script("performance.getEntriesByType('resource').filter((e) => !/^data:/.test(e.name)).length"), 0)

    def test_guesses_no_seconds_without_times(self):
        for address in ("#shot=1", "#target=2"):
            self.open("downloaded", address)
            self.assertNotRegex(one("body").text, r"\d\s?s\b")

    def test_follows_a_training_to_what_its_report_shows(self):
        path = pathlib.Path(FOLDER.name, "followed.jsonl")
        with started("bx-sim", "--rate", "300") as device:
            with started("bx", "--skip-startup", "train", device.stdout.readline().strip(), "--live", "--output", path,
                         "--target", HERE / "../../examples/ring-25m-precision-pistol.json") as training:
                browser.get(next(filter(None, (re.search(r"http\S+", line) for line in training.stderr)))[0])
                WebDriverWait(browser, 60).until(lambda _: script("shotCount()") > 3)
                training.terminate()
                WebDriverWait(browser, 60).until(lambda _: one("#state").text == "Training is over")
        live = script("[session, byId('page').innerText]")
        self.open(path.with_suffix(""))
        self.assertEqual(live, script("[session, byId('page').innerText]"))

    def test_is_chosen_by_keys_and_by_links(self):
        self.open("aimed", "#shot=1")
        keys = ActionChains(browser)
        keys.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT).perform()
        self.assertChosen("#shot=3", "Shot 3 of 5")
        self.assertEqual(one("#said").get_attribute("textContent"), "Shot 3: 10.9, 0.0\u00a0mm from the centre, the very centre")
        one("[data-series='0']").send_keys(Keys.ENTER)
        self.assertChosen("#shot=1&series=1", "Shot 1 of 5")
        keys.send_keys(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT).perform()
        self.assertChosen("#shot=2&series=1", "Shot 2 of 5")  # the last of the series
        browser.back()
        self.assertChosen("#shot=3", "Shot 3 of 5")
        one("#table [data-shot='4']").click()
        self.assertChosen("#shot=4", "Shot 4 of 5")

    def test_is_chosen_and_moved_by_the_pointer(self):
        self.open("aimed", "#shot=1")
        view = lambda: script("byId('hits').getAttribute('viewBox')")
        one("[data-view=whole]").click()
        self.assertEqual(view(), "-275 -275 550 550")
        scale = one("#target").size["width"] / 550
        at = lambda x, y: ActionChains(browser).move_to_element_with_offset(one("#target"), x * scale, -y * scale)
        at(-27.8, 0).click().perform()
        self.assertChosen("#shot=2", "Shot 2 of 5")
        at(100, 100).click_and_hold().move_by_offset(round(-50 * scale), 0).release().perform()
        self.assertAlmostEqual(float(view().split()[0]), -225, delta=1)
        one("[data-zoom='0.7']").click()
        self.assertEqual(view().split()[2], "385")
        one("[data-layer=aims]").click()
        pixels = "byId('aims').getContext('2d').getImageData(0, 0, byId('aims').width, byId('aims').width).data"
        self.assertTrue(script(f"{pixels}.some((value, i) => i % 4 === 3 && value > 0)"))

    def test_shows_thousands_of_shots(self):
        session = pathlib.Path(FOLDER.name, "large.jsonl")
        with session.open("w") as file:
            large.write(5000, 40, file)
        subprocess.run([BX, "--quiet", "report", session, "--output", session.with_suffix(".html")], check=True)
        self.assertLess(session.with_suffix(".html").stat().st_size, 10e6)
        browser.get(session.with_suffix(".html").as_uri())
        alpha = script("[...byId('dots').getContext('2d').getImageData(0, byId('dots').width / 2, byId('dots').width, 1).data]")[3::4]
        self.assertEqual((alpha[len(alpha) // 2], alpha[0]), (255, 0))
        ActionChains(browser).click(one("#hits")).perform()
        self.assertRegex(script("location.hash"), r"#shot=\d+$")
        script("choose({series: 0, shot: null})")
        self.assertEqual((script("byId('dots').hidden"), script("byId('hits').querySelectorAll('circle').length")), (True, 2))

    def test_prints_all_shots(self):
        self.open("aimed", "#shot=1")
        script("void addEventListener('beforeprint', () => { window.printed = byId('table').children.length; })")
        browser.print_page()
        self.assertEqual((script("window.printed"), script("byId('table').children.length")), (5, 2))

    def test_can_be_read_in_light_and_in_dark(self):
        for scheme in ("light", "dark"):
            emulated = {"features": [{"name": "prefers-color-scheme", "value": scheme}]}
            browser.execute_cdp_cmd("Emulation.setEmulatedMedia", emulated)
            self.open("aimed", "#shot=1")
            for least, colours, grounds in ((4.5, "ink quiet accent", "ground card faint"), (4.5, "on-accent", "accent"),
                                            (3, "before second moments after group aim", "hit-ink paper")):
                for pair in itertools.product(colours.split(), grounds.split()):
                    with self.subTest(scheme=scheme, pair=pair):
                        self.assertGreaterEqual(contrast(*pair), least)


def contrast(*names):
    def luminance(name):
        colour = script(f"getComputedStyle(document.documentElement).getPropertyValue('--{name}') || '#fbf5e6'")  # paper
        parts = [int(digits, 16) / 255 for digits in re.findall("..", colour.strip(" #"))]
        linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2] + 0.05
    low, high = sorted(map(luminance, names))
    return high / low


if __name__ == "__main__":
    unittest.main()
