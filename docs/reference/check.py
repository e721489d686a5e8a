#!/usr/bin/python3
"""Opens every page in a headless Chromium, on a desktop and on a phone, and leaves screenshots.

    docs/reference/check.py DIRECTORY PICTURES

Fails, with a line for each finding, when a page logs an error, lacks an image or is wider than the screen, or when the
colour switch or the search does nothing. Links are Doxygen's, which fails on a reference that it cannot resolve.
"""
import base64
import pathlib
import shutil
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

SCREENS = {"desktop": (1280, 900, False), "phone": (390, 844, True)}

# Elements beyond the right edge of the window, unless an element around them scrolls or clips.
TOO_WIDE = """
const page = document.getElementById('doc-content');
const wide = [...page.querySelectorAll('*')].filter(element => {
    const box = element.getBoundingClientRect();
    if (box.width === 0 || box.height === 0 || box.right <= window.innerWidth + 1) return false;
    for (let around = element; around !== page; around = around.parentElement) {
        const cuts = getComputedStyle(around).overflowX !== 'visible';
        if (cuts && around.getBoundingClientRect().right <= window.innerWidth + 1) return false;
    }
    return true;
}).map(element => element.outerHTML.slice(0, 80));
if (document.documentElement.scrollWidth > window.innerWidth) wide.push('the document');
return wide.slice(0, 3);
"""
MISSING_IMAGES = """
return [...document.images].filter(image => image.getAttribute('src') && image.naturalWidth === 0)
    .map(image => image.src);
"""


class Browser:
    def __init__(self, profile):
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        for option in ("headless", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run", "disable-sync",
                       "disable-background-networking", "disable-component-update", "hide-scrollbars",
                       "allow-file-access-from-files", f"user-data-dir={profile}"):
            options.add_argument("--" + option)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        self.run = self.driver.execute_script

    def set_screen(self, screen, height=None):
        width, usual, mobile = SCREENS[screen]
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height or usual, "deviceScaleFactor": 1, "mobile": mobile})

    def show(self, url):
        self.driver.get(url)
        self.wait_until("return document.readyState === 'complete' && !!document.querySelector('#nav-tree-contents li')"
                        "&& [...document.images].every(image => !image.getAttribute('src') || image.complete)")

    def wait_until(self, script):
        WebDriverWait(self.driver, 20).until(lambda _: self.run(script))

    def log(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def take_picture(self, screen, path):
        """Of the whole page: the window grows to it, because the text scrolls inside the window."""
        height = self.run("const page = document.getElementById('doc-content');"
                          "return page.scrollHeight + window.innerHeight - page.clientHeight;")
        self.set_screen(screen, min(max(height, SCREENS[screen][1]), 9000))
        drawn = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"format": "png"})
        path.write_bytes(base64.b64decode(drawn["data"]))
        self.set_screen(screen)


def look(browser, pages, pictures, findings):
    for screen in SCREENS:
        browser.set_screen(screen)
        for page in pages:
            browser.show(page.as_uri())
            found = [f"logs: {line}" for line in browser.log()]
            found += [f"lacks the image {source}" for source in browser.run(MISSING_IMAGES)]
            found += [f"is too wide: {element}" for element in browser.run(TOO_WIDE)]
            findings += [f"{page.name} ({screen}): {line}" for line in found]
            browser.take_picture(screen, pictures / f"{page.stem}-{screen}.png")


def try_switch(browser, findings):
    is_dark = "return document.documentElement.classList.contains('dark-mode')"
    before = browser.run(is_dark)
    browser.run("document.querySelector('doxygen-awesome-dark-mode-toggle').click()")
    if browser.run(is_dark) == before:
        findings.append("index.html: the switch between light and dark does nothing")


def try_search(browser, findings):
    browser.run("const field = document.getElementById('MSearchField'); field.focus(); field.value = 'runEventLoop';"
                "searchBox.OnSearchFieldChange({keyCode: 65});")
    found = ("const results = document.getElementById('MSearchResults');"
             "return (results.contentDocument?.body ?? results).innerText.includes('runEventLoop');")
    try:
        browser.wait_until(found)
    except Exception:
        findings.append("index.html: the search does not find runEventLoop")


def main():
    directory, pictures = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    pictures.mkdir(parents=True, exist_ok=True)
    pages = sorted(directory.glob("*.html"))
    findings = []
    with tempfile.TemporaryDirectory() as profile:
        browser = Browser(profile)
        try:
            look(browser, pages, pictures, findings)
            browser.set_screen("desktop")
            browser.show((directory / "index.html").as_uri())
            try_switch(browser, findings)
            try_search(browser, findings)
        finally:
            browser.driver.quit()
    for finding in findings:
        print(finding)
    print(f"{len(pages)} pages opened on {len(SCREENS)} screens: {len(findings)} findings")
    sys.exit(1 if findings or not pages else 0)


if __name__ == "__main__":
    main()
