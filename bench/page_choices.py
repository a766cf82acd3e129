"""Times what a person does on a page that is there: page_choices.py PAGE"""
import pathlib
import statistics
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tests/page"))
import browser as chromium

CHOICES = {
    "nothing": "",
    "a shot": "choose({shot: Math.floor(Math.random() * 5000)})",
    "a series": "choose({series: Math.floor(Math.random() * seriesCount()), shot: null})",
    "all series": "choose({series: null})",
    "whole face or group": "showView(view.kind === 'whole' ? 'group' : 'whole')",
    "group figures": "toggle('figures')",
    "map of all aims": "toggle('aims')",
    "closer or farther": "zoom(Math.random() < 0.5 ? 0.7 : 1.43, view)",
}
ROUNDS = 20
TIMED = """const done = arguments[0], begun = performance.now(); %s;
  requestAnimationFrame(() => setTimeout(() => done(performance.now() - begun), 0))"""

with tempfile.TemporaryDirectory() as profile:
    browser = chromium.start(profile)
    browser.get(pathlib.Path(sys.argv[1]).resolve().as_uri())
    times = {name: [] for name in CHOICES}
    for _ in range(ROUNDS):
        for name, choice in CHOICES.items():
            times[name].append(browser.execute_async_script(TIMED % choice))
    for name, taken in times.items():
        print(f"{name:20} {statistics.median(taken):5.0f} {max(taken):5.0f}")
    browser.quit()
