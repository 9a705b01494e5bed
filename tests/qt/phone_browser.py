#!/usr/bin/python3
# A phone's browser, played by headless Chromium: it opens the invitation's page, types the names and
# numbers, taps every choice of every question, sends the form and finds the participant in the data file.
# Only 127.0.0.1 is ever asked.
#
#   phone_browser.py HARNESS RESOURCES
import os, re, shutil, subprocess, sys, tempfile, time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

harness, resources = sys.argv[1], sys.argv[2]
folder = tempfile.mkdtemp(prefix="seelenorakel-browser-")
app = os.path.join(folder, "Seelenorakel.app")
shutil.copytree(resources, os.path.join(app, "Contents", "Resources"))
program = subprocess.Popen([harness, app], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                           env=dict(os.environ, QT_QPA_PLATFORM="offscreen"))


def until(pattern, limit=30):
    """The first line of the program's output that matches, read as it comes."""
    end = time.time() + limit
    while time.time() < end:
        line = program.stdout.readline().decode("utf-8", "replace")
        if not line:
            break
        found = re.search(pattern, line)
        if found:
            return found
    sys.exit("phone_browser: the program never said " + pattern)


driver = None
try:
    program.stdin.write(b"wait\n")
    program.stdin.flush()
    until("\x01wait")
    program.stdin.write(b"phone\n")
    program.stdin.flush()
    port, code = until(r"Phones join at http://[^:]+:(\d+)/([a-z2-9]{8})/").groups()

    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=412,915",
                     "--user-data-dir=" + os.path.join(folder, "chromium")):
        options.add_argument(argument)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    driver.get(f"http://127.0.0.1:{port}/{code}/")
    for name, value in (("vorname", "Zoë"), ("nachname", "Browser"), ("jahr", "1985"), ("monat", "5"),
                        ("tag", "17"), ("groesse", "165"), ("gewicht", "58")):
        driver.find_element(By.NAME, name).send_keys(value)
    # Every choice tapped in the order shown: the last of each question stays (0 for yes-or-no, 5 else).
    radios = driver.find_elements(By.CSS_SELECTOR, "input[type=radio]")
    for radio in radios:
        driver.execute_script("arguments[0].scrollIntoView({block: 'center'})", radio)
        radio.click()
    driver.find_element(By.CSS_SELECTOR, "button[type=submit]").click()
    WebDriverWait(driver, 20).until(lambda d: "Ihre Antworten sind" in d.page_source)
    page = driver.page_source
    if "Danke, Zoë Browser! Ihre Antworten sind gespeichert." not in page:
        sys.exit("phone_browser: no thanks on the page:\n" + page[:2000])

    attribute = "19850517" + "0" + "55" + "165" + "058" + "555" + "5" * 38 + "000"
    with open(os.path.join(folder, "Seelenorakel-Daten.txt"), "rb") as f:
        data = f.read().decode("utf-8")
    expected = " f0        S:Zoë Browser\r f1        S:" + attribute + "\r"
    if expected not in data:
        sys.exit("phone_browser: the data file lacks the participant:\n" + repr(data))
    print(f"phone_browser: {len(radios)} choices tapped; the participant is in the data file.")
finally:
    if driver:
        driver.quit()
    program.stdin.close()
    program.wait(timeout=20)
    shutil.rmtree(folder, ignore_errors=True)
