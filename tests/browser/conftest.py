"""Fixtures of the browser tests: the built tool, a headless Chromium, and result files written
here from the record formats."""
import json
import os
import subprocess
import tempfile

import pytest
from selenium import webdriver

TOOL = os.environ.get("CNCPROBE_TOOL", "build/release/tools/cncprobe")
SOURCE = os.environ.get("CNCPROBE_SOURCE_DIR", os.path.join(os.path.dirname(__file__), "..", ".."))
EXAMPLES = os.path.join(SOURCE, "examples")


def run_tool(*args, check=True):
    done = subprocess.run([TOOL, *args], capture_output=True, text=True)
    if check and done.returncode not in (0, 1):
        raise AssertionError(f"cncprobe {' '.join(args)}: exit {done.returncode}: {done.stderr}")
    return done


def extract_json(path, *extra):
    return json.loads(run_tool("extract", path, "--format", "json", *extra).stdout)


@pytest.fixture(scope="session")
def workdir():
    with tempfile.TemporaryDirectory(prefix="cncprobe-browser-") as d:
        yield d


def make_report(workdir, name, *args):
    out = os.path.join(workdir, name)
    done = run_tool("report", *args, "-o", out)
    assert done.stdout.strip() == out, done.stderr
    return out


@pytest.fixture(scope="session")
def browser(workdir):
    options = webdriver.ChromeOptions()
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--use-gl=swiftshader", "--enable-unsafe-swiftshader", "--window-size=1280,1000",
                 "--user-data-dir=" + os.path.join(workdir, "chromium-profile")):
        options.add_argument(flag)
    options.binary_location = "/usr/bin/chromium"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    options.add_experimental_option("perfLoggingPrefs", {"enableNetwork": True})
    from selenium.webdriver.chrome.service import Service
    service = Service(executable_path="/usr/bin/chromedriver")
    driver = webdriver.Chrome(options=options, service=service)
    driver.set_page_load_timeout(120)
    yield driver
    driver.quit()


def open_page(driver, path, timeout=60):
    """Opens a report and waits until its script has drawn everything; returns the log."""
    driver.get_log("browser")  # forget what an earlier page logged
    driver.get_log("performance")
    driver.get("file://" + os.path.abspath(path))
    from selenium.webdriver.support.ui import WebDriverWait
    WebDriverWait(driver, timeout).until(
        lambda d: d.execute_script("return document.body.dataset.ready === 'true'"))


def console_errors(driver):
    return [e for e in driver.get_log("browser") if e["level"] == "SEVERE"]
