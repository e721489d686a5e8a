#!/usr/bin/python3
"""Looks at every page in a headless Chromium, on a desk and on a phone, by day and by night, and leaves pictures of it all.

    docs/reference/check.py DIRECTORY PICTURES

Fails, with a line for each finding, when a page reports an error, lacks a picture, is wider than the screen, leads to a page
or a place that does not exist, or when the switch of colours or the search does nothing. Nothing outside the directory is
asked for: of a link to elsewhere only the form is looked at.
"""
import base64
import collections
import pathlib
import shutil
import sys
import tempfile
import urllib.parse

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

SCREENS = {"desk": (1280, 900, False), "phone": (390, 844, True)}
COLOURS = ("light", "dark")

# What sticks out on the right of the window, unless something around it scrolls or cuts it off by itself.
STICKS_OUT = """
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
MISSING_PICTURES = """
return [...document.images].filter(image => image.getAttribute('src') && !(image.complete && image.naturalWidth > 0))
    .map(image => image.src);
"""
PLACES = "return [...document.querySelectorAll('[id],[name]')].flatMap(place => [place.id, place.getAttribute('name')]);"
LINKS = "return [...document.querySelectorAll('a[href]')].map(link => [link.getAttribute('href'), link.href]);"


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

    def set_colours(self, colours):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": colours}]})

    def show(self, url):
        self.driver.get(url)
        self.wait_until("return document.readyState === 'complete' && !!document.querySelector('#nav-tree-contents li')")

    def wait_until(self, script):
        WebDriverWait(self.driver, 20).until(lambda _: self.run(script))

    def said(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def take_picture(self, screen, path):
        """Of the whole page, however long: its text scrolls inside the window, so the window grows to it."""
        height = self.run("const page = document.getElementById('doc-content');"
                          "return page.scrollHeight + window.innerHeight - page.clientHeight;")
        self.set_screen(screen, min(max(height, SCREENS[screen][1]), 9000))
        drawn = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"format": "png"})
        path.write_bytes(base64.b64decode(drawn["data"]))
        self.set_screen(screen)


def look(browser, pages, pictures, findings):
    """Every page on every screen. Returns each page's places and links."""
    places, links = {}, {}
    for screen in SCREENS:
        browser.set_screen(screen)
        for page in pages:
            browser.show(page.as_uri())
            places[page.name] = set(browser.run(PLACES))
            links[page.name] = browser.run(LINKS)
            for colours in COLOURS:
                browser.set_colours(colours)
                found = [f"says: {line}" for line in browser.said()]
                found += [f"lacks the picture {source}" for source in browser.run(MISSING_PICTURES)]
                found += [f"sticks out: {element}" for element in browser.run(STICKS_OUT)]
                findings += [f"{page.name} ({screen}, {colours}): {line}" for line in found]
                browser.take_picture(screen, pictures / f"{page.stem}-{screen}-{colours}.png")
    return places, links


def follow(directory, places, links, findings):
    """Every link of every page. Returns how many led to another place of these pages, and how many elsewhere."""
    count = collections.Counter()
    for page, targets in links.items():
        for written, target in targets:
            url = urllib.parse.urlsplit(target)
            if url.scheme == "javascript":
                continue
            if url.scheme != "file":
                count["elsewhere"] += 1
                if url.scheme not in ("http", "https", "mailto") or not (url.netloc or url.path):
                    findings.append(f"{page}: '{written}' is no address")
                continue
            count["inside"] += 1
            file = pathlib.Path(urllib.parse.unquote(url.path))
            if file.parent != directory or not file.is_file():
                findings.append(f"{page}: '{written}' leads nowhere")
            elif url.fragment and urllib.parse.unquote(url.fragment) not in places.get(file.name, ()):
                findings.append(f"{page}: '{written}' leads to no place of that page")
    return count


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
            places, links = look(browser, pages, pictures, findings)
            count = follow(directory, places, links, findings)
            browser.set_screen("desk")
            browser.show((directory / "index.html").as_uri())
            try_switch(browser, findings)
            try_search(browser, findings)
        finally:
            browser.driver.quit()
    for finding in findings:
        print(finding)
    print(f"{len(pages)} pages seen {len(SCREENS) * len(COLOURS)} times each, {count['inside']} links followed, "
          f"{count['elsewhere']} lead elsewhere: {len(findings)} findings")
    sys.exit(1 if findings or not pages else 0)


if __name__ == "__main__":
    main()
