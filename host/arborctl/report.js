'use strict';
// The page is readable without this script, which adds the search and opens the key that a link's fragment names.
(() => {
    const kShownMatches = 1000;
    const kTypingPauseMs = 150;
    const kSelectors = {name: 'b', type: 'i', text: 'span, pre'};   // of the parts of a value
    const kPartsOfKeys = ['all', 'name'];
    const page = document.body;
    const tree = page.querySelector('main');
    const tools = page.querySelector('.tools');
    const input = tools.querySelector('input[type=search]');
    const where = tools.querySelector('select');
    const found = tools.querySelector('.found');
    const texts = {};   // by part: what a search compares, made for the first search in it
    let items = null;   // the list items of all keys and values
    let marked = [];    // those with a class of the last search
    let opened = [];    // the keys that the last search opened

    function textOf(item, part) {
        if (item.classList.contains('k')) return kPartsOfKeys.includes(part) ? item.querySelector('b').textContent : '';
        if (part === 'all') return item.textContent;
        return Array.from(item.querySelectorAll(kSelectors[part]), (element) => element.textContent).join('\n');
    }

    /// Returns the keys and values in whose part of the page `wanted` is.
    function find(part, wanted) {
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

    /// Shows the item and the keys that it is in.
    function reveal(item) {
        mark(item, 'hit');
        let key = item.parentElement.closest('li');
        while (key && !key.classList.contains('way')) {
            mark(key, 'way');
            openKey(key.querySelector('details'));
            key = key.parentElement.closest('li');
        }
    }

    function clear() {
        page.classList.remove('searching');
        for (const item of marked) item.classList.remove('hit', 'way');
        for (const details of opened) details.open = false;
        marked = [];
        opened = [];
        found.textContent = '';
    }

    function search() {
        clear();
        const wanted = input.value.toLowerCase();
        if (wanted === '') return;
        const matches = find(where.value, wanted);
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
