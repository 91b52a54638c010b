'use strict';
// The page is readable without this script, which adds the search and opens the key that a link's fragment names.
(() => {
    const kShownMatches = 1000;
    const kTypingPauseMs = 150;
    const kSelectors = {name: 'b', type: 'i', text: 'span, pre'};   // the elements of each part of a value
    const kPartsThatKeysHave = ['all', 'name'];
    const page = document.body;
    const tree = page.querySelector('main');
    const tools = page.querySelector('.tools');
    const input = tools.querySelector('input[type=search]');
    const where = tools.querySelector('select');
    const found = tools.querySelector('.found');
    const texts = {};   // for each part, the text of each item in lower case; filled by the first search in that part
    let items = null;   // the list items of all keys and values
    let marked = [];    // the items that got a class in the last search
    let opened = [];    // the keys that the last search opened

    function textOf(item, part) {
        if (item.classList.contains('k')) return kPartsThatKeysHave.includes(part) ? item.querySelector('b').textContent : '';
        if (part === 'all') return item.textContent;
        return Array.from(item.querySelectorAll(kSelectors[part]), (element) => element.textContent).join('\n');
    }

    /// Returns the list items of the keys and values with `wanted` in the given part: name, type, text or all of them.
    function findMatches(part, wanted) {
        items ??= Array.from(tree.querySelectorAll('li'));
        texts[part] ??= items.map((item) => textOf(item, part).toLowerCase());
        return items.filter((item, index) => texts[part][index].includes(wanted));
    }

    function mark(item, name) {
        item.classList.add(name);
        marked.push(item);
    }

    function openKey(details) {
        if (details.open) return;
        details.open = true;
        opened.push(details);
    }

    /// Marks the item as found and its ancestors as shown, and opens the ancestors.
    function reveal(item) {
        mark(item, 'hit');
        let key = item.parentElement.closest('li');
        while (key && !key.classList.contains('ancestor')) {
            mark(key, 'ancestor');
            openKey(key.querySelector('details'));
            key = key.parentElement.closest('li');
        }
    }

    function clear() {
        page.classList.remove('searching');
        for (const item of marked) item.classList.remove('hit', 'ancestor');
        for (const details of opened) details.open = false;
        marked = [];
        opened = [];
        found.textContent = '';
    }

    function search() {
        clear();
        const wanted = input.value.toLowerCase();
        if (wanted === '') return;
        const matches = findMatches(where.value, wanted);
        matches.slice(0, kShownMatches).forEach(reveal);
        page.classList.add('searching');
        const shown = matches.length > kShownMatches ? `, the first ${kShownMatches} shown` : '';
        found.textContent = `${matches.length} found${shown}`;
    }

    function showTarget() {
        const target = document.getElementById(decodeURIComponent(location.hash.slice(1)));
        if (!target || !tree.contains(target)) return;
        if (target.offsetParent === null && page.classList.contains('searching')) {
            input.value = '';
            clear();
        }
        for (let details = target; details; details = details.parentElement.closest('details')) details.open = true;
        const summary = target.querySelector('summary');
        summary.focus({preventScroll: true});
        summary.scrollIntoView({block: 'center'});
    }

    let pause = 0;
    input.addEventListener('input', () => {
        clearTimeout(pause);
        pause = setTimeout(search, kTypingPauseMs);
    });
    where.addEventListener('change', search);
    tools.querySelector('.open').addEventListener('click', () => {
        for (const details of tree.querySelectorAll('.k > details')) details.open = true;
    });
    tools.querySelector('.close').addEventListener('click', () => {
        for (const details of tree.querySelectorAll('.k > details')) details.open = false;
    });
    addEventListener('keydown', (event) => {
        if (event.key === '/' && event.target !== input) {
            event.preventDefault();
            input.focus();
        } else if (event.key === 'Escape' && event.target === input) {
            input.value = '';
            clear();
        }
    });
    addEventListener('hashchange', showTarget);
    addEventListener('load', () => requestAnimationFrame(showTarget));   // the browser's own scrolling ends the focus
    tools.hidden = false;
})();
