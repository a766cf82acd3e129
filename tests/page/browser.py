"""Chromium without a window."""
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-sync",
           "--disable-background-networking", "--disable-component-update", "--window-size=1300,1100"]


def start(profile):
    options = webdriver.ChromeOptions()
    for option in [*OPTIONS, f"--user-data-dir={profile}"]:
        options.add_argument(option)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
