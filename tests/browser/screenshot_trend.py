"""Writes docs/trend_drift.png: the trend report of twenty generated runs of the bracket program
whose main bore wears from run 11 on, control limits from the first ten, as a browser shows its
top (the drifting list and the first charts).
   /usr/bin/python3 tests/browser/screenshot_trend.py build/release/tools/cncprobe [OUT.png]"""
import os
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path.insert(0, os.path.join(root, "tests", "support"))
import drift_runs  # noqa: E402

tool = sys.argv[1] if len(sys.argv) > 1 else os.path.join(root, "build/release/tools/cncprobe")
target = sys.argv[2] if len(sys.argv) > 2 else os.path.join(root, "docs/trend_drift.png")
with tempfile.TemporaryDirectory() as d:
    # A seed whose runs show the wear plainly: with ten baseline runs, chance alone fires rules
    # on several other series of most seeds (see docs/trend.md).
    runs = [str(p) for p in drift_runs.write_runs(d, 20, seed=9)]
    page = os.path.join(d, "trend.html")
    subprocess.run([os.path.abspath(tool), "report", *runs, "--baseline", "10", "--settings",
                    os.path.join(root, "examples/bracket_settings.xml"), "-o", page], check=True, cwd=d,
                   capture_output=True)
    options = webdriver.ChromeOptions()
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                 "--window-size=1200,2200", "--user-data-dir=" + os.path.join(d, "profile")):
        options.add_argument(flag)
    driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    driver.get("file://" + page)
    time.sleep(2)
    # The drifting list, then the table and the first charts of the feature quantities.
    driver.execute_script("document.getElementById('runs').style.display = 'none'")
    time.sleep(1)
    driver.save_screenshot(target)
    driver.quit()
