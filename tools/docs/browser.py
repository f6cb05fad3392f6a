#!/usr/bin/python3
"""browser.py [--pictures DIRECTORY] SITE [PAGE...]: uses the site in a browser as a reader does, from the file system,
and fails where something is not found. With --pictures it takes pictures of the pages instead, light and dark, as a
desktop and as a telephone shows them. (Debian's Python: it has the driver.)"""
import argparse
import sys
from pathlib import Path

from selenium import webdriver
from selenium.common.exceptions import TimeoutException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

SIZES = {"desktop": (1280, 900), "telephone": (390, 844)}
# What somebody types, and what must come first.
SEARCHES = [("CVector", "CVector"), ("vector", "CVector"), ("map", "CMap"), ("string", "CString"),
            ("sha256", "CSha256"), ("ALREADY_EXISTS", "QV_RES_ALREADY_EXISTS"), ("QvFailed", "QvFailed"), ("time zone", "CTimeZone"),
            ("RESERVECAPACITY", "ReserveCapacity"), ("framework/basic/list.h", "framework/basic/list.h"),
            ("return_if", "QV_RETURN_IF_FAILED"), ("CMarshalReader", "CMarshalReader"),
            ("plugin", "Plug-ins that unload")]


def start():
    options = Options()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                     "--force-color-profile=srgb", "--host-resolver-rules=MAP * ~NOTFOUND"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


class Reader:
    def __init__(self, site, driver):
        self.site, self.driver, self.failures = site, driver, []

    def expect(self, holds, text):
        if not holds:
            self.failures.append(text)

    def open(self, page):
        name, _, place = page.partition("#")
        self.driver.get((self.site / name).as_uri() + (f"#{place}" if place else ""))

    def use(self, size, colours):
        width, height = SIZES[size]
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": size == "telephone"})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": colours}]})

    def wait(self, what):
        try:
            return WebDriverWait(self.driver, 20, poll_frequency=0.05).until(lambda _: what())
        except TimeoutException:
            return None

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def page(self):
        return self.driver.current_url.rpartition("/")[2]

    def script(self, text):
        return self.driver.execute_script("return " + text)

    def type(self, words):
        field = self.all("#search-field")[0]
        field.clear()
        field.send_keys(words)
        self.wait(lambda: self.all("#search-results .result, #search-results .result-none"))


def search(reader):
    reader.use("desktop", "light")
    reader.open("index.html")
    reader.driver.find_element(By.TAG_NAME, "body").send_keys("/")
    reader.expect(reader.script("document.activeElement.id") == "search-field", "the key / does not lead to the search")
    for words, wanted in SEARCHES:
        reader.type(words)
        found = [item.text for item in reader.all("#search-results .result-name")]
        reader.expect(found[:1] == [wanted], f"searching '{words}' gives {found[:3]} and not {wanted} first")
    reader.type("eACTION_ENCRYPT")
    found = [item.text for item in reader.all("#search-results .result-name")]
    reader.expect(found.count("eACTION_ENCRYPT") == 1, "a search shows what classes inherit beside where it comes from")
    reader.type("no such name anywhere")
    reader.expect(reader.all("#search-results .result-none"), "a search without a result does not say so")
    reader.type("CList")
    reader.all("#search-field")[0].send_keys(Keys.ENTER)
    reader.wait(lambda: reader.page() == "classCList.html")
    reader.expect(reader.page() == "classCList.html", f"the search for CList leads to {reader.page()}")
    reader.expect("CList" in reader.all("div.title")[0].text, "the page of CList has another title")


def follow(reader):
    """From the start into the reference and back, as one who has no idea of the addresses."""
    reader.open("index.html")
    for words in ("Reference", "Containers, texts, time"):
        next(item for item in reader.all("#site-nav summary") if item.text == words).click()
    next(item for item in reader.all("#site-nav a") if item.text == "CString").click()
    reader.expect(reader.page() == "classCString.html", "the list of pages does not lead to CString")
    marked = [item.text for item in reader.all("#site-nav a[aria-current]")]
    reader.expect(marked == ["CString"], f"in the list of pages {marked} is marked on the page of CString")
    reader.all("#site-name")[0].click()
    reader.expect(reader.page() == "index.html", "the name in the head does not lead to the start")
    guide = [item for item in reader.all("#site-nav summary") if item.text == "Guide"]
    if guide:
        guide[0].click()
        links = guide[0].find_elements(By.XPATH, "../ul/li/a")
        addresses = [link.get_attribute("href").rpartition("/")[2] for link in links]
        for address in addresses:
            reader.open(address)
            reader.expect(reader.all("div.title")[0].text.strip(), f"{address} has no title")


def colours(reader):
    def background():
        return reader.script("getComputedStyle(document.body).backgroundColor")

    reader.use("desktop", "dark")
    reader.open("classCList.html")
    dark = background()
    reader.use("desktop", "light")
    light = background()
    reader.expect(dark != light, "the page looks the same to who prefers light and who prefers dark")
    reader.all("#theme-button")[0].click()
    reader.expect(background() == dark, "the button does not make a light page dark")
    reader.open("index.html")
    reader.expect(background() == dark, "the next page has forgotten the chosen colours")
    reader.all("#theme-button")[0].click()
    reader.expect(background() == light, "the button does not make a dark page light")


def telephone(reader):
    reader.use("telephone", "light")
    for path in sorted(reader.site.glob("*.html")):
        if path.name.endswith("_source.html"):
            continue
        reader.open(path.name)
        width = reader.script("document.documentElement.scrollWidth")
        reader.expect(width <= SIZES["telephone"][0], f"{path.name} is {width} pixels wide on a telephone")
    reader.open("index.html")
    nav = reader.all("#site-nav")[0]
    reader.expect(not nav.is_displayed(), "the list of pages covers a telephone's screen")
    reader.all("#menu-button")[0].click()
    reader.expect(reader.wait(nav.is_displayed), "the button of the menu does not show the list of pages")


def take_pictures(reader, directory, names):
    directory.mkdir(parents=True, exist_ok=True)
    for size in SIZES:
        for theme in ("light", "dark"):
            reader.use(size, theme)
            for page in names:
                reader.open(page)
                reader.wait(lambda: reader.script("document.readyState") == "complete")
                name = page.partition(".html")[0] + page.partition("#")[2]
                (directory / f"{name}-{size}-{theme}.png").write_bytes(reader.driver.get_screenshot_as_png())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--pictures", type=Path)
    parser.add_argument("site", type=Path)
    parser.add_argument("pages", nargs="*")
    arguments = parser.parse_args()
    driver = start()
    try:
        reader = Reader(arguments.site.resolve(), driver)
        if arguments.pictures:
            take_pictures(reader, arguments.pictures, arguments.pages)
        else:
            for task in (search, follow, colours, telephone):
                task(reader)
            reader.failures += [f"the browser says: {entry['message']}" for entry in driver.get_log("browser")]
    finally:
        driver.quit()
    for line in reader.failures:
        print(line)
    sys.exit(1 if reader.failures else 0)


if __name__ == "__main__":
    main()
