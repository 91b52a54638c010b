#!/usr/bin/env python3
"""Tries the pages of "arborctl report" in headless Chromium, through the HTTP protocol of WebDriver.

usage: report_test.py    Needs arborctl, chromium and chromedriver on the PATH; "./dev test report" installs the last two.
"""
import contextlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

PROJECT = pathlib.Path(__file__).resolve().parents[2]
ELEMENT = 'element-6066-11e4-a52e-4f735466cecf'   # the protocol's name of a reference to an element
OPEN_LIMIT_S = 20                                 # for the page of 10 MB, on a busy machine
SEARCH_LIMIT_S = 10
faults = []


def expect(label, wanted, found):
    if wanted != found:
        faults.append(f'{label}: expected {wanted!r}, found {found!r}')


class Browser:
    """One browser window. Elements are referred to by CSS selectors."""

    def __init__(self, driver, scripts=True):
        options = {'args': ['--headless=new', '--disable-gpu', '--window-size=1000,800']}
        if os.getuid() == 0:
            options['args'].append('--no-sandbox')
        if not scripts:
            options['prefs'] = {'profile.managed_default_content_settings.javascript': 2}
        self.driver = driver
        capabilities = {'alwaysMatch': {'browserName': 'chrome', 'goog:chromeOptions': options}}
        self.session = self.request('POST', '/session', {'capabilities': capabilities})['sessionId']

    def request(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.driver + path, data, {'Content-Type': 'application/json'}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return json.load(answer)['value']
        except urllib.error.HTTPError as error:
            raise RuntimeError(f'{method} {path}: {error.read().decode()[:500]}') from error

    def call(self, path, **body):
        return self.request('POST', f'/session/{self.session}{path}', body)

    def close(self):
        self.request('DELETE', f'/session/{self.session}')

    def open(self, page, fragment=''):
        self.call('/url', url='about:blank')   # else a change of the fragment alone loads nothing
        self.call('/url', url=page.as_uri() + (fragment and '#' + urllib.parse.quote(fragment)))

    def run(self, script, *arguments):
        return self.call('/execute/sync', script='return ' + script, args=list(arguments))

    def element(self, selector):
        return self.call('/element', using='css selector', value=selector)[ELEMENT]

    def click(self, selector):
        self.call(f'/element/{self.element(selector)}/click')

    def type(self, text, where='all'):
        """Types into the search and waits for the result."""
        field = self.element('input[type=search]')
        self.call(f'/element/{field}/clear')
        self.click(f'option[value={where}]')
        self.call(f'/element/{field}/value', text=text)
        return self.wait("document.querySelector('.found').textContent")

    def wait(self, script):
        end = time.monotonic() + SEARCH_LIMIT_S
        while time.monotonic() < end:
            if value := self.run(script):
                return value
            time.sleep(0.05)
        return None

    def visible(self, selector):
        """The texts of the elements that can be seen, after scrolling."""
        return self.run("Array.from(document.querySelectorAll(arguments[0])).filter((e) => e.checkVisibility())"
                        ".map((e) => e.textContent)", selector)

    def is_in_view(self, identity):
        return self.run("(() => { const box = document.getElementById(arguments[0]).firstElementChild"
                        ".getBoundingClientRect(); return box.top >= 0 && box.bottom <= innerHeight; })()", identity)


@contextlib.contextmanager
def chromedriver():
    process = subprocess.Popen(['chromedriver', '--port=0'], stdout=subprocess.PIPE, text=True)
    try:
        for line in process.stdout:
            if started := re.search(r'started successfully on port (\d+)', line):
                yield f'http://127.0.0.1:{started[1]}'
                return
        raise RuntimeError('chromedriver does not start')
    finally:
        process.terminate()
        process.wait()


def tool(*arguments):
    return subprocess.run(['arborctl', *map(str, arguments)], check=True, capture_output=True).stdout


def write_page(folder, name, document, *options):
    page = folder / name
    page.write_bytes(tool(document, 'report', *options))
    return page


def try_search_and_links(browser, page):
    """The page of examples/settings.xml, whose keys are closed at first."""
    browser.open(page)
    expect('keys at first', ['Network', 'Interface', 'Storage', 'Users', 'Devices', 'Upkeep'], browser.visible('summary b'))
    expect('found by name', '1 found', browser.type('wlan', 'name'))
    expect('names found', ['Network', 'Interfaces', 'wlan0'], browser.visible('summary b')[:3])
    expect('values of a key that is found', True, 'Title' not in browser.visible('li > b'))
    expect('found anywhere', '1 found', browser.type('WLAN'))
    expect('found by type', '5 found', browser.type('tPROPID', 'type'))
    expect('one type', {'tPROPID'}, set(browser.visible('i')))
    expect('found by text, in any case', '1 found', browser.type('PROXY.EXAMPLE', 'text'))
    expect('one text', ['"proxy.example.net"'], browser.visible('li > span'))
    expect('not found', '0 found', browser.type('no such thing'))
    expect('nothing is shown', [], browser.visible('li'))
    browser.call(f'/element/{browser.element("input[type=search]")}/value', text='\ue00c')   # Escape
    expect('keys after the search', 6, len(browser.visible('summary b')))

    browser.click('.open')
    browser.click('a[href="#Network/Interfaces/eth0/IPv4"]')
    expect('address of a link', '#Network/Interfaces/eth0/IPv4', browser.run('location.hash'))
    browser.open(page, 'Network/Interfaces/eth0/IPv4')
    expect('keys of a fragment', True, browser.wait("document.getElementById('Network/Interfaces/eth0/IPv4').open"))
    expect('the focus of a fragment', True, browser.wait("document.activeElement.tagName === 'SUMMARY'"))
    expect('a fragment in view', True, browser.is_in_view('Network/Interfaces/eth0/IPv4'))
    expect('requests', [], browser.run("performance.getEntriesByType('resource')"))


def try_markup(browser, folder):
    """Names and texts that are markup or scripts are shown as they are."""
    texts = ['<script>window.broken = 1</script>', '</script><script>window.broken = 2</script>', '&lt;i&gt; &amp; &#65;',
             '<img src=x onerror="window.broken = 3">', '"><b onmouseover=\'window.broken = 4\'>x</b>',
             "' autofocus onfocus='window.broken = 5", '<!--', ']]>', '</title></style></pre></main>', 'javascript:broken = 6',
             '<style>body { display: none }</style>', '<base href="http://example.org/">', '</details></ul>',
             '<svg onload="window.broken = 7">' + 'x' * 200 + '</pre><script>window.broken = 8</script>']
    document = {'keys': [], 'values': []}
    for text in texts:
        name = text.replace('/', '%x2F').replace('\\', '%x5C')
        document['values'].append({'name': name, 'type': 'tSTRING', 'value': text})
        document['keys'].append({'name': name.replace('%x2F', '|'), 'values': document['values'][-1:]})
    (folder / 'markup.json').write_text(json.dumps(document))
    tool('--create', folder / 'markup.xml', 'import', folder / 'markup.json')
    names = [value['name'] for value in document['values']]
    keys = [key['name'] for key in document['keys']]
    other = folder / 'empty.xml'
    other.write_text('<arbor></arbor>')
    for options in [], ['--against', other]:
        label = f'markup {" ".join(map(str, options))}'
        browser.open(write_page(folder, 'markup.html', folder / 'markup.xml', *options))
        expect(f'{label}: scripts ran', None, browser.run('window.broken ?? null'))
        elements = "document.querySelectorAll('img, svg, base, main script, main style').length"
        expect(f'{label}: elements', 0, browser.run(elements))
        shown = browser.run("Array.from(document.querySelectorAll('.k > details > summary b'), (e) => e.textContent)")
        expect(f'{label}: keys', keys, shown)
        shown = browser.run("Array.from(document.querySelectorAll('main > ul > li:not(.k)'), (e) => [e.querySelector('b')"
                            ".textContent, (e.querySelector('pre') ?? e.querySelector('span')).textContent])")
        values = [[name, text if len(text) > 160 else f'"{text}"'] for name, text in zip(names, texts)]
        expect(f'{label}: values', values, shown)
        for key in keys:
            link = 'a[href="#' + urllib.parse.quote(key) + '"]'
            browser.run('document.querySelector(arguments[0])?.click()', link)
            target = 'document.querySelector(arguments[0]).closest("details").matches(":target")'
            expect(f'{label}: link to {key}', True, browser.run(target, link))
        expect(f'{label}: scripts ran later', None, browser.run('window.broken ?? null'))


def try_differences(browser, folder):
    before, after = folder / 'before.xml', folder / 'after.xml'
    shutil.copy(PROJECT / 'examples/settings.xml', before)
    tool(before, 'set', 'Layout', 'tVERSION', '4')   # once saved, its wide texts are texts
    shutil.copy(before, after)
    tool(after, 'set', 'Network/Proxy/Port', 'tDWORD', '9')
    tool(after, 'rm', 'Network/Online')
    tool(after, 'set', 'Network/More/New', 'tSTRING', 'text')
    browser.open(write_page(folder, 'differences.html', before, '--against', after))
    expect('only before', ['Online tBOOL 1', 'tDWORD 8080'], browser.visible('main del'))
    expect('only after', ['tDWORD 9', 'More ', 'New tSTRING "text"'], browser.visible('main ins'))
    browser.click('.only')
    expect('only differences', ['Network', 'Online', 'Proxy', 'Port', 'More', 'New'], browser.visible('main b'))


def try_large(browser, folder):
    document = folder / 'large.xml'
    subprocess.run([sys.executable, PROJECT / 'bench/gen.py', 'typical', '10MB', document], check=True)
    page = write_page(folder, 'large.html', document)
    lines = tool(document, 'tree', '--flat').decode().splitlines()
    start = time.monotonic()
    browser.open(page)
    opened = time.monotonic() - start
    start = time.monotonic()
    found = browser.type('tQWORD', 'type')
    searched = time.monotonic() - start
    print(f'a document of 10 MB: opens in {opened:.1f} s, a search takes {searched:.1f} s')
    expect('the large page opens in time', True, opened < OPEN_LIMIT_S)
    expect('a search is in time', True, searched < SEARCH_LIMIT_S)
    count = sum(' tQWORD ' in line for line in lines)
    expect('found in the large page', f'{count} found, the first 1000 shown', found)
    path = lines[-1].split()[0]
    browser.open(page, path)
    expect('a fragment of the large page', True, browser.wait("document.activeElement.tagName === 'SUMMARY'"))
    expect('it is in view', True, browser.is_in_view(path))


def try_without_scripts(browser, page):
    browser.open(page, 'Network/Interfaces/eth0')
    expect('the search is hidden', [], browser.visible('.tools'))
    expect('a text without scripts', True, '"workbench-17"' in browser.visible('li > span'))
    expect('the key of a fragment', True, 'Interfaces' in browser.visible('summary b'))
    browser.click('[id="Users"] > summary')
    expect('a key that was opened', True, browser.run("document.getElementById('Users').open"))


def main():
    if len(sys.argv) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    with tempfile.TemporaryDirectory() as name, chromedriver() as driver:
        folder = pathlib.Path(name)
        page = write_page(folder, 'settings.html', PROJECT / 'examples/settings.xml')
        for scripts, attempt, subject in [(True, try_search_and_links, page), (True, try_markup, folder),
                                          (True, try_differences, folder), (True, try_large, folder),
                                          (False, try_without_scripts, page)]:
            browser = Browser(driver, scripts)
            try:
                attempt(browser, subject)
            except RuntimeError as error:   # an element is missing
                faults.append(f'{attempt.__name__}: {error}')
            finally:
                browser.close()
    print('\n'.join(faults) or 'the pages are as they should be')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
