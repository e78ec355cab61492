"""The HTML reports opened in headless Chromium: what a person sees must say what the JSON says,
the 3D view must draw and answer the mouse, text from a file must stay text, and nothing may leave
the page."""
import json
import os
import random
import time

import pytest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

from conftest import EXAMPLES, SOURCE, console_errors, extract_json, make_report, open_page, run_tool

BRACKET = os.path.join(EXAMPLES, "bracket_mm.txt")
BRACKET_SETTINGS = os.path.join(EXAMPLES, "bracket_settings.xml")
PLATE_IN = os.path.join(EXAMPLES, "plate_in.txt")

EVIL = '<script>window.__pwned=1</script>"><img src=x onerror="window.__pwned=2">'


def write(path, text):
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)
    return path


def count_checks(document):
    return sum(len(r.get("checks", [])) for r in document["results"] if r["kind"] != "probe_path")


def rows(driver, table_id):
    return driver.find_elements(By.CSS_SELECTOR, f"#{table_id} > tbody > tr")


@pytest.mark.parametrize("source,units,settings", [
    (BRACKET, "mm", BRACKET_SETTINGS),
    (BRACKET, "mm", None),
    (PLATE_IN, "in", None),
])
def test_tables_and_verdict_match_the_json(browser, workdir, source, units, settings):
    extra = ["--units", units] + (["--settings", settings] if settings else [])
    name = os.path.basename(source) + ("-settings" if settings else "") + ".html"
    page = make_report(workdir, name, source, *extra)
    document = extract_json(source, "--units", units)  # settings change digits, not verdicts
    open_page(browser, page)
    assert console_errors(browser) == []

    features = [r for r in document["results"] if r["kind"] != "probe_path"]
    paths = [r for r in document["results"] if r["kind"] == "probe_path"]
    assert len(rows(browser, "path-table")) == len(paths)
    assert len(rows(browser, "feature-table")) == count_checks(document) or not features
    summary = document["summary"]
    word = browser.find_element(By.ID, "verdict-word").text
    assert word == ("PASS" if summary["passed"] else "FAIL")
    out_rows = [r for r in rows(browser, "feature-table") if r.get_attribute("data-verdict") == "out"]
    assert len(out_rows) == summary["checks_out"]
    if units == "in" and not settings:  # an inch file's values 0.00254 mm apart stay apart
        assert any("25.4178" in r.text for r in rows(browser, "feature-table"))
    checks_text = browser.find_element(By.ID, "verdict-checks").text
    assert f"{summary['checks_in']} in, {summary['checks_out']} out" in checks_text
    points_text = browser.find_element(By.ID, "verdict-points").text
    assert (f"{summary['points_unmeasured']} unmeasured, "
            f"{summary['points_not_toleranced']} not toleranced") in points_text


def test_bracket_fails_on_the_dowel_hole_and_the_filter_shows_only_out_rows(browser, workdir):
    page = make_report(workdir, "bracket-filter.html", BRACKET, "--settings", BRACKET_SETTINGS)
    open_page(browser, page)
    assert browser.find_element(By.ID, "verdict-word").text == "FAIL"
    table_rows = rows(browser, "feature-table")
    dowel = [r for r in table_rows if "DOWEL HOLE" in r.text and "centre offset" in r.text]
    assert dowel and "OUT" in dowel[0].text and "0.0655" in dowel[0].text  # four linear digits
    # The radial offset read against a zone's diameter: the diametral value stands beside it.
    assert "0.0655 (as diameter 0.1309)" in dowel[0].text
    assert "(as diameter 0.1309) against TP 0.0500" in browser.find_element(By.CLASS_NAME, "worst").text
    # A surface's nominal and actual are not the POSN printed: the column titles say so.
    nominal_title = browser.find_element(By.CSS_SELECTOR, "#feature-table th:nth-child(6)")
    assert "CAD origin" in nominal_title.get_attribute("title")
    browser.find_element(By.ID, "only-out").click()
    visible = [r for r in rows(browser, "feature-table") if r.is_displayed()]
    assert visible and all(r.get_attribute("data-verdict") == "out" for r in visible)
    # Sorting keeps every row.
    browser.find_element(By.CSS_SELECTOR, "#feature-table th:nth-child(8)").click()
    assert len(rows(browser, "feature-table")) == len(table_rows)


def test_a_path_opens_to_its_points(browser, workdir):
    page = make_report(workdir, "bracket-paths.html", BRACKET)
    open_page(browser, page)
    document = extract_json(BRACKET)
    first_path = next(r for r in document["results"] if r["kind"] == "probe_path")
    rows(browser, "path-table")[0].click()
    points = browser.find_elements(By.CSS_SELECTOR, "#path-table .point-table tbody tr")
    assert len(points) == len(first_path["points"])
    # Every label, as the page puts it together from the runs the tool sends.
    shown = [p.find_element(By.TAG_NAME, "td").text for p in points]
    assert shown == [p["label"] for p in first_path["points"]]


def canvas_colours(driver):
    """The number of distinct colours on the 3D canvas (a blank canvas has one)."""
    return driver.execute_script("""
        const c = document.getElementById('view-canvas');
        const copy = document.createElement('canvas');
        copy.width = c.width; copy.height = c.height;
        const g = copy.getContext('2d');
        g.drawImage(c, 0, 0);
        const px = g.getImageData(0, 0, copy.width, copy.height).data;
        const seen = new Set();
        for (let i = 0; i < px.length; i += 4 * 7) seen.add((px[i] << 16) | (px[i + 1] << 8) | px[i + 2]);
        return seen.size;""")


def test_the_3d_view_draws_and_a_point_under_the_mouse_shows_its_label(browser, workdir):
    page = make_report(workdir, "bracket-view.html", BRACKET, "--settings", BRACKET_SETTINGS)
    open_page(browser, page)
    assert canvas_colours(browser) > 5
    canvas = browser.find_element(By.ID, "view-canvas")
    browser.execute_script("arguments[0].scrollIntoView({block: 'center'})", canvas)
    size = canvas.size
    for k in (0, 2):
        at = browser.execute_script("return window.cncprobeView.project(arguments[0])", k)
        label = browser.execute_script("return window.cncprobeView.labelOf(arguments[0])", k)
        ActionChains(browser).move_to_element_with_offset(
            canvas, int(at["x"] - size["width"] / 2), int(at["y"] - size["height"] / 2)).perform()
        time.sleep(0.3)
        tip = browser.find_element(By.ID, "tip")
        assert tip.is_displayed() and label in tip.text
        ActionChains(browser).click().perform()
        assert label in browser.find_element(By.ID, "picked").text


def test_text_from_a_file_stays_text(browser, workdir):
    source = write(os.path.join(workdir, "evil.txt"), f"""*** RESULTSFILEVERSION 2.0.11 ***
*** CADFILENAME {EVIL} ***
RESULTSFILE {EVIL}
START 'EVIL'
TOOLPATHID 1
G331 N10 A0 B0 C0 X0 Y0 Z0
G330 N11 A0 B0 C0 X0 Y0 Z0 I0 R0
G800 N12 X10.000 Y10.000 Z0.000 I0 J0 K1 O0 U0.050 L-0.050
G801 N13 X10.000 Y10.000 Z-0.004 R2.500
TOOLPATHID 3
G331 N40 A0 B0 C0 X0 Y0 Z0
G330 N41 A0 B0 C0 X0 Y0 Z0 I0 R0
--------------------------------
FEATURE NO 2 FEATURE NAME {EVIL}
--------------------------------
SIZE D 8.000 ACTUAL 8.003 TOL 0.015 DEV 0.003
POSN X 140.000 ACTUAL 140.002 TOL TP 0.050 DEV 0.002
POSN Y 85.000 ACTUAL 85.001 TOL TP 0.050 DEV 0.001
END 'EVIL'
""")
    page = make_report(workdir, "evil <b>x.html", source)
    with open(page, encoding="utf-8") as f:
        html = f.read()
    assert "<img src=x" not in html and "<script>window" not in html
    open_page(browser, page)
    assert console_errors(browser) == []
    assert browser.execute_script("return window.__pwned === undefined")
    assert browser.find_elements(By.CSS_SELECTOR, "main img[src='x']") == []
    assert browser.find_element(By.ID, "fact-cad").text == EVIL
    assert browser.find_element(By.ID, "fact-results-file").text == EVIL
    assert any(EVIL in r.text for r in rows(browser, "feature-table"))


def test_no_request_leaves_the_page(browser, workdir):
    page = make_report(workdir, "bracket-network.html", BRACKET, "--settings", BRACKET_SETTINGS)
    open_page(browser, page)
    html = open(page, encoding="utf-8").read()
    assert "default-src 'none'" in html
    requests = []
    for entry in browser.get_log("performance"):
        message = json.loads(entry["message"])["message"]
        if message["method"] == "Network.requestWillBeSent":
            requests.append(message["params"]["request"]["url"])
    # The page itself, and pictures the page makes from its own data, only.
    outside = [u for u in requests if not u.startswith(("file://", "data:", "blob:"))]
    assert outside == []
    assert len([u for u in requests if u.startswith("file://")]) <= 1


def test_narrow_screen_has_no_sideways_scrolling_of_the_page(browser, workdir):
    page = make_report(workdir, "bracket-narrow.html", BRACKET)
    try:
        browser.set_window_size(400, 900)
        open_page(browser, page)
        assert browser.execute_script(
            "return document.documentElement.scrollWidth <= window.innerWidth + 1")
    finally:
        browser.set_window_size(1280, 1000)


def variant(text, run):
    """A later run of the bracket program: the same records with the actuals moved a little."""
    rng = random.Random(run)
    out = []
    for line in text.splitlines():
        if line.startswith("G801"):
            parts = line.split()
            parts = [p[0] + f"{float(p[1:]) + rng.uniform(-0.01, 0.01):.3f}" if p[0] in "XYZ" else p
                     for p in parts]
            line = " ".join(parts)
        elif " ACTUAL " in line and "NaN" not in line:
            words = line.split()
            i = words.index("ACTUAL") + 1
            words[i] = f"{float(words[i]) + rng.uniform(-0.005, 0.005):.3f}"
            line = " ".join(words)
        out.append(line)
    return "\n".join(out) + "\n"


def test_trend_report_of_three_runs(browser, workdir):
    text = open(BRACKET, encoding="utf-8").read()
    runs = [write(os.path.join(workdir, f"bracket_run{k}.txt"), variant(text, k)) for k in range(3)]
    page = make_report(workdir, "trend.html", *runs, "--settings", BRACKET_SETTINGS)
    open_page(browser, page)
    assert console_errors(browser) == []
    assert len(rows(browser, "run-table")) == 3
    document = extract_json(runs[0])
    features = rows(browser, "trend-features-table")
    if "summary" in document:
        # Each centre and corner offset also gives its X and Y deviations as series.
        offsets = sum(1 for r in document["results"] for c in r.get("checks", [])
                      if c["quantity"] in ("centre_offset", "corner_offset"))
        assert len(features) == count_checks(document) + 2 * offsets
    charts = browser.find_elements(By.CSS_SELECTOR, "#trend-features canvas")
    assert len(charts) == len(features) > 0
    points = sum(len(r["points"]) for r in document["results"] if r["kind"] == "probe_path")
    assert len(rows(browser, "trend-points-table")) == points
    first = features[0].find_elements(By.TAG_NAME, "td")
    assert first[2].text == "3"  # n: every run had the value


def test_a_100k_point_page_is_interactive_within_seconds(browser, workdir):
    rng = random.Random(7)
    lines = ["*** RESULTSFILEVERSION 2.0.11 ***", "RESULTSFILE BIG.TXT", "START 'BIG'"]
    n = 0
    for path in range(10):
        lines += [f"TOOLPATHID {path + 1}", "G331 N1 A0 B0 C0 X0 Y0 Z0", "G330 N2 A0 B0 C0 X0 Y0 Z0 I0 R0"]
        for k in range(10000):
            x, y = (k % 100) * 2.0, (k // 100) * 2.0 + path * 200
            d = rng.gauss(0, 0.02)
            lines.append(f"G800 N{3 + 2 * k} X{x:.3f} Y{y:.3f} Z0.000 I0 J0 K1 O0 U0.050 L-0.050")
            lines.append(f"G801 N{4 + 2 * k} X{x:.3f} Y{y:.3f} Z{d:.4f} R2.500")
            n += 1
    lines.append("END 'BIG'")
    source = write(os.path.join(workdir, "big.txt"), "\n".join(lines) + "\n")
    page = make_report(workdir, "big.html", source)
    start = time.monotonic()
    open_page(browser, page, timeout=60)
    elapsed = time.monotonic() - start
    print(f"\n100,000-point page ready in {elapsed:.1f} s")
    assert console_errors(browser) == []
    assert browser.execute_script("return window.cncprobeView.count") == n
    for k in (0, 1, 9999, 10000, 54321, n - 1):
        label = browser.execute_script("return window.cncprobeView.labelOf(arguments[0])", k)
        assert label == f"Path {k // 10000 + 1}: Inspection Point {k % 10000 + 1}"
    assert canvas_colours(browser) > 5
    assert elapsed < 20


def test_trend_report_of_a_wearing_tool_marks_the_drift(browser, workdir):
    import sys
    sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
    import drift_runs

    directory = os.path.join(workdir, "drift")
    os.makedirs(directory, exist_ok=True)
    runs = [str(p) for p in drift_runs.write_runs(directory, 20)]
    page = make_report(workdir, "drift.html", *runs, "--baseline", "10")
    open_page(browser, page)
    assert console_errors(browser) == []
    # The section comes first after the title, and the worn bore's diameter leads it.
    sections = [s.get_attribute("id") for s in browser.find_elements(By.CSS_SELECTOR, "#report > section")]
    assert sections[:3] == ["summary", "drifting", "runs"]
    first = browser.find_element(By.CSS_SELECTOR, "#drift-list > li").text
    assert first.startswith("circle 3 component 1 feature 1 \u2013 diameter")
    assert "rule" in first and "runs 1" in first
    # Its chart marks violations on judged runs only, each with its rule numbers.
    box = browser.find_element(By.CSS_SELECTOR, "#drift-charts .trend-chart")
    marks = json.loads(box.get_attribute("data-marks"))
    assert marks and all(m["run"] >= 10 and m["rules"] for m in marks)
    assert any("1" in m["rules"] for m in marks)
    # Capability from ten baseline runs is marked preliminary.
    cells = rows(browser, "trend-features-table")[0].find_elements(By.TAG_NAME, "td")
    assert cells[9].text.endswith("*") and "preliminary" in cells[9].get_attribute("title")
