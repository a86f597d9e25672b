// What the page can do beyond pictures and commands: sliders, settings, copying, search.
'use strict';

/** An element with properties and children. */
function make(tag, properties, ...children) {
    const element = Object.assign(document.createElement(tag), properties);
    element.append(...children);
    return element;
}

/** Lays the picture before the effect over the one after it, up to the slider. */
function addSlider(stage, before, name) {
    const after = stage.querySelector('img');
    const slider = make('input', {type: 'range', className: 'slider', min: 0, max: 100, value: 50});
    slider.setAttribute('aria-label', name + ': line between before and after');
    const place = () => {
        stage.style.setProperty('--at', slider.value + '%');
        slider.setAttribute('aria-valuetext', slider.value + ' percent before');
    };
    slider.addEventListener('input', place);
    place();
    stage.append(
        make('img', {className: 'before', loading: 'lazy', decoding: 'async', alt: '', width: after.width,
                     height: after.height, src: before}),
        make('div', {className: 'divider'}),
        make('span', {className: 'side first', ariaHidden: 'true', textContent: 'Before'}),
        make('span', {className: 'side second', ariaHidden: 'true', textContent: 'After'}), slider);
    return slider;
}

/** Shows one setting at a time. */
function addSettings(effect, views, sliders) {
    const group = make('fieldset', {className: 'settings'},
                       make('legend', {textContent: 'Settings of ' + effect.id}));
    const show = (shown) => {
        const at = sliders.find((slider, index) => !views[index].hidden).value;
        views.forEach((view, index) => { view.hidden = index !== shown; });
        sliders[shown].value = at;
        sliders[shown].dispatchEvent(new Event('input'));
    };
    views.forEach((view, index) => {
        const button = make('input', {type: 'radio', name: 'setting-' + effect.id, checked: index === 0});
        button.addEventListener('change', () => show(index));
        group.append(make('label', {}, button, make('span', {textContent: view.dataset.label})));
    });
    show(0);
    return group;
}

/** Copies a text, also where the browser keeps its clipboard from pages in files. */
async function copy(code) {
    try {
        await navigator.clipboard.writeText(code.textContent);
        return true;
    } catch {
        getSelection().selectAllChildren(code);
        return document.execCommand('copy');
    }
}

function addCopy(command, name) {
    const code = command.querySelector('code');
    const button = make('button', {type: 'button', className: 'copy', textContent: 'Copy'});
    button.setAttribute('aria-label', 'Copy the command: ' + name);
    button.addEventListener('click', async () => {
        const done = await copy(code);
        button.textContent = done ? 'Copied' : 'Select it';
        said.textContent = done ? 'The command is copied' : 'The command cannot be copied';
        setTimeout(() => { button.textContent = 'Copy'; }, 2000);
    });
    command.append(button);
}

function enliven(effect) {
    const views = [...effect.querySelectorAll('.view')];
    const nameOf = (view) => [effect.id, view.dataset.label].filter(Boolean).join(', ');
    for (const view of views)
        addCopy(view.querySelector('.command'), nameOf(view));
    if (!effect.dataset.before)
        return;
    const sliders = views.map(
        (view) => addSlider(view.querySelector('.stage'), effect.dataset.before, nameOf(view)));
    const title = effect.querySelector('h3');
    const head = make('div', {className: 'head'});
    title.replaceWith(head);
    head.append(title);
    if (views.length > 1)
        head.append(addSettings(effect, views, sliders));
    effect.classList.add('live');
}

/** Search and family. */
function addFilter() {
    const find = document.getElementById('find'), pick = document.getElementById('pick');
    const families = [...document.querySelectorAll('.family')];
    const textOf = (effect) =>
        [effect.id, effect.querySelector('.help').textContent, effect.dataset.search].join(' ').toLowerCase();
    const effects = families.flatMap(
        (family) => [...family.querySelectorAll('.effect')].map((effect) => ({family, effect, text: textOf(effect)})));
    const filter = () => {
        const words = find.value.toLowerCase().split(/\s+/);
        let count = 0;
        for (const one of effects) {
            const shown = (!pick.value || one.family.id === pick.value) && words.every((word) => one.text.includes(word));
            one.effect.hidden = !shown;
            count += shown;
        }
        for (const family of families) {
            const shown = family.querySelectorAll('.effect:not([hidden])').length;
            family.hidden = shown === 0;
            family.querySelector('.number').textContent = shown;
        }
        document.querySelector('.sources').hidden = find.value.trim() !== '' || pick.value !== '';
        document.getElementById('nothing').hidden = count > 0;
        const all = count === effects.length;
        document.getElementById('count').textContent = all ? count + ' effects' : count + ' of ' + effects.length + ' effects';
    };
    find.addEventListener('input', filter);
    pick.addEventListener('change', filter);
    document.getElementById('reset').addEventListener('click', () => {
        find.value = pick.value = '';
        filter();
        find.focus();
    });
    filter();
}

const said = make('p', {className: 'said'});
said.setAttribute('role', 'status');
document.body.append(said);
document.querySelectorAll('.effect').forEach(enliven);
addFilter();
