"""Writes docs/report_bracket.png: the bracket example's report as a browser shows it.
   /usr/bin/python3 tests/browser/screenshot.py build/release/tools/cncprobe"""
import os
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
tool = sys.argv[1] if len(sys.argv) > 1 else os.path.join(root, "build/release/tools/cncprobe")
with tempfile.TemporaryDirectory() as d:
    page = os.path.join(d, "bracket_mm.html")
    subprocess.run([os.path.abspath(tool), "report", "examples/bracket_mm.txt", "--settings",
                    "examples/bracket_settings.xml", "-o", page], check=True, cwd=root)
    options = webdriver.ChromeOptions()
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--use-gl=swiftshader",
                 "--enable-unsafe-swiftshader", "--hide-scrollbars", "--window-size=1200,2000",
                 "--user-data-dir=" + os.path.join(d, "profile")):
        options.add_argument(flag)
    driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    driver.get("file://" + page)
    time.sleep(2)
    for _ in range(2):  # the charts settle to the new width, then the page to its height
        height = driver.execute_script("return document.documentElement.scrollHeight")
        driver.set_window_size(1200, height + 40)
        time.sleep(1)
    driver.save_screenshot(os.path.join(root, "docs/report_bracket.png"))
    driver.quit()
