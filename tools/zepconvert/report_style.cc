// SPDX-License-Identifier: MIT
#include "tools/zepconvert/report_style.h"

namespace zepconvert {

// The colours of the plot can be told apart by people with colour blindness.
const char kReportStyle[] = R"(
:root {
  color-scheme: light dark;
  --text: #1a1a1a; --page: #fff; --line: #c8c8c8; --quiet: #555; --bad: #a00000; --link: #0550a0;
  --even: #f4f4f4; --check: #ddd;
  --kind-0: #4d4d4d; --kind-1: #0072b2; --kind-2: #cc79a7; --kind-3: #e69f00; --kind-4: #a6a6a6;
  --kind-5: #009e73; --kind-6: #d55e00;
}
@media (prefers-color-scheme: dark) {
  :root {
    --text: #e8e8e8; --page: #161616; --line: #484848; --quiet: #b0b0b0; --bad: #ff8f80;
    --link: #8cc4ff; --even: #202020; --check: #333;
    --kind-0: #8c8c8c; --kind-1: #56b4e9; --kind-4: #d0d0d0;
  }
}
* { box-sizing: border-box; }
body {
  font-family: sans-serif; line-height: 1.4; color: var(--text); background: var(--page);
  margin: 1.5em auto; max-width: 84em; padding: 0 1em; overflow-wrap: anywhere;
}
a { color: var(--link); }
.bad { color: var(--bad); }
dl.facts { display: grid; grid-template-columns: max-content 1fr; gap: 0.2em 1em; }
.facts dt { color: var(--quiet); }
.facts dd { margin: 0; max-height: 9em; overflow: auto; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; overflow-wrap: normal; }
th, td { padding: 0.25em 0.6em; text-align: right; border-bottom: 1px solid var(--line); }
th { font-weight: normal; }
thead th, tfoot th, tfoot td { font-weight: bold; }
td { white-space: nowrap; font-variant-numeric: tabular-nums; }
.sortable th:first-child, .bad td { text-align: left; white-space: normal; }
.sortable tbody th { min-width: 8em; overflow-wrap: anywhere; }
.sortable :is(td, th):is(:nth-child(2), :nth-child(3), :nth-child(9)) { text-align: left; }
.sortable td:nth-child(9) { white-space: normal; min-width: 11em; }
tfoot small { font-weight: normal; display: block; }
tbody tr:nth-child(even) { background: var(--even); }
th button {
  font: inherit; color: inherit; background: none; border: 0; padding: 0; cursor: pointer;
  text-align: inherit;
}
th button::after { content: " \2195"; opacity: 0.4; }
th[aria-sort=ascending] button::after { content: " \2191"; opacity: 1; }
th[aria-sort=descending] button::after { content: " \2193"; opacity: 1; }
.legend { list-style: none; padding: 0; display: flex; flex-wrap: wrap; gap: 0.2em 1.2em; }
.legend i { display: inline-block; width: 0.9em; height: 0.9em; margin-right: 0.4em; }
.plot { display: grid; grid-template-columns: fit-content(min(16em, 40%)) 1fr; gap: 0.2em 0.8em; }
.plot dt { text-align: right; align-self: center; }
.plot dd { margin: 0; display: flex; align-items: center; gap: 0.5em; }
.plot b { font-weight: normal; }
.bar { display: flex; flex: 1; height: 1.1em; }
.bar i { border-right: 1px solid var(--page); min-width: 1px; }
.kind-0 { background: var(--kind-0); }
.kind-1 { background: var(--kind-1); }
.kind-2 { background: var(--kind-2); }
.kind-3 { background: var(--kind-3); }
.kind-4 { background: var(--kind-4); }
.kind-5 { background: var(--kind-5); }
.kind-6 { background: var(--kind-6); }
section { border-top: 1px solid var(--line); margin-top: 2em; }
h4 { margin: 1em 0 0.4em; font-weight: normal; }
.view {
  --at: 50%; --zoom: 1; --x: 0px; --y: 0px; --gain: 8; display: grid; gap: 0.8em;
  grid-template-columns: repeat(auto-fit, minmax(min(100%, 18em), 1fr));
}
figure { margin: 0; min-width: 0; max-width: 60em; }
.frame {
  position: relative; overflow: hidden; width: 100%; max-height: 85vh;
  background: repeating-conic-gradient(var(--check) 0 25%, transparent 0 50%) 0 0 / 16px 16px;
}
.frame img {
  display: block; width: 100%; height: 100%; object-fit: contain; transform-origin: 0 0;
  transform: translate(var(--x), var(--y)) scale(var(--zoom));
}
.exact img { image-rendering: pixelated; }
.errors .frame { background: #000; }
.errors img { filter: brightness(var(--gain)); }
.over { position: absolute; inset: 0; clip-path: inset(0 0 0 var(--at)); background: inherit; }
.edge {
  position: absolute; top: 0; bottom: 0; left: var(--at); width: 3px; margin-left: -1px;
  background: #fff; outline: 1px solid #000; pointer-events: none;
}
.stage { cursor: grab; touch-action: pan-y; }
.zoomed .stage { touch-action: none; }
.stage.near { cursor: ew-resize; }
.stage:focus-visible { outline: 3px solid var(--link); }
.tools { display: flex; flex-wrap: wrap; align-items: center; gap: 0.4em 0.8em; padding: 0.3em 0; }
.tools label { display: flex; flex: 1 1 10em; align-items: center; gap: 0.5em; }
.tools input { flex: 1; min-width: 5em; }
.tools button { min-width: 2.2em; font: inherit; }
)";

const char kReportScript[] = R"(
'use strict';
const make = (tag, properties, ...children) => {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
};

// Rows without a value come last.
const compare = (a, b) => {
  if (!a || !b) return (a ? 0 : 1) - (b ? 0 : 1);
  const x = Number(a), y = Number(b);
  if (Number.isNaN(x) || Number.isNaN(y)) return a.localeCompare(b);
  return x < y ? -1 : x > y ? 1 : 0;
};
const sortBy = (table, heads, column) => {
  const falls = heads[column].getAttribute('aria-sort') === 'ascending';
  heads.forEach(head => head.setAttribute('aria-sort', 'none'));
  heads[column].setAttribute('aria-sort', falls ? 'descending' : 'ascending');
  const body = table.tBodies[0];
  const value = row => row.cells[column]?.dataset.value;
  const rows = [...body.rows];
  rows.sort((a, b) => {
    const order = compare(value(a), value(b));
    return falls && value(a) && value(b) ? -order : order;
  });
  body.append(...rows);
};
for (const table of document.querySelectorAll('table.sortable')) {
  const heads = [...table.tHead.rows[0].cells];
  heads.forEach((head, column) => {
    const button = make('button', {type: 'button'}, head.textContent);
    button.addEventListener('click', () => sortBy(table, heads, column));
    head.setAttribute('aria-sort', 'none');
    head.replaceChildren(button);
  });
}

const most = 32;  // times

// Zoom and place of all pictures of a view.
class Lens {
  constructor(view, frame) {
    Object.assign(this, {view, frame, zoom: 1, x: 0, y: 0});
  }
  // Keeps the point (x, y) of the frame in its place.
  zoomTo(zoom, x = this.frame.clientWidth / 2, y = this.frame.clientHeight / 2) {
    zoom = Math.min(Math.max(zoom, 1), most);
    const ratio = zoom / this.zoom;
    this.zoom = zoom;
    this.moveTo(x - (x - this.x) * ratio, y - (y - this.y) * ratio);
  }
  // The picture fills the frame.
  moveTo(x, y) {
    const limit = (place, length) => Math.max(Math.min(place, 0), length * (1 - this.zoom));
    this.x = limit(x, this.frame.clientWidth);
    this.y = limit(y, this.frame.clientHeight);
    this.view.classList.toggle('zoomed', this.zoom > 1);
    this.view.style.setProperty('--zoom', this.zoom);
    this.view.style.setProperty('--x', this.x + 'px');
    this.view.style.setProperty('--y', this.y + 'px');
  }
}

const range = (label, least, largest, step, value) => {
  const input = make('input', {type: 'range', min: least, max: largest, step, value});
  input.setAttribute('aria-label', label);
  return input;
};

// Original on the left of the edge, result on its right.
const addSlider = (view, original, result) => {
  const frame = original.querySelector('.frame');
  const over = make('div', {className: 'over'}, result.querySelector('img'));
  frame.append(over, make('div', {className: 'edge'}));
  result.remove();
  original.querySelector('figcaption').textContent =
      'original on the left, result on the right of the line';
  const slider = range('place of the line between original and result', 0, 100, 1, 50);
  slider.className = 'slider';
  slider.addEventListener('input', () => view.style.setProperty('--at', slider.value + '%'));
  original.append(make('div', {className: 'tools'},
                       make('label', {}, 'original', slider, 'result')));
  return slider;
};

const addZoom = (figure, lens) => {
  const button = (text, label, act) => {
    const made = make('button', {type: 'button', title: label}, text);
    made.setAttribute('aria-label', label);
    made.addEventListener('click', act);
    return made;
  };
  figure.append(make('div', {className: 'tools zoom'},
                     button('\u2212', 'zoom out', () => lens.zoomTo(lens.zoom / 1.5)),
                     button('+', 'zoom in', () => lens.zoomTo(lens.zoom * 1.5)),
                     button('all', 'show all', () => lens.zoomTo(1)),
                     make('small', {}, 'click into the picture, then wheel or + and \u2212 to ' +
                                       'zoom, drag or arrows to move')));
};

const addKeys = (frame, lens) => {
  const steps = {ArrowLeft: [1, 0], ArrowRight: [-1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1]};
  frame.addEventListener('keydown', event => {
    const step = steps[event.key];
    if (step && lens.zoom > 1) {
      lens.moveTo(lens.x + step[0] * 40, lens.y + step[1] * 40);
    } else if (event.key === '+' || event.key === '=') {
      lens.zoomTo(lens.zoom * 1.5);
    } else if (event.key === '-') {
      lens.zoomTo(lens.zoom / 1.5);
    } else if (event.key === '0') {
      lens.zoomTo(1);
    } else {
      return;
    }
    event.preventDefault();
  });
};

// Drags near the line move the line, others the picture.
const addPointer = (frame, lens, slider) => {
  const left = event => event.clientX - frame.getBoundingClientRect().left;
  const isNear = event => slider &&
      Math.abs(left(event) - slider.value / 100 * frame.clientWidth) < 12;
  let last = null;
  frame.addEventListener('pointerdown', event => {
    last = {x: event.clientX, y: event.clientY, movesLine: isNear(event)};
    frame.setPointerCapture(event.pointerId);
  });
  frame.addEventListener('pointermove', event => {
    frame.classList.toggle('near', last ? last.movesLine : isNear(event));
    if (!last) return;
    if (last.movesLine) {
      slider.value = left(event) / frame.clientWidth * 100;
      slider.dispatchEvent(new Event('input'));
    } else {
      lens.moveTo(lens.x + event.clientX - last.x, lens.y + event.clientY - last.y);
    }
    Object.assign(last, {x: event.clientX, y: event.clientY});
  });
  for (const end of ['pointerup', 'pointercancel']) {
    frame.addEventListener(end, () => { last = null; });
  }
  frame.addEventListener('dragstart', event => event.preventDefault());
  // The wheel scrolls the page until the picture is clicked.
  frame.addEventListener('wheel', event => {
    if (document.activeElement !== frame && !event.ctrlKey) return;
    event.preventDefault();
    const box = frame.getBoundingClientRect();
    lens.zoomTo(lens.zoom * (event.deltaY < 0 ? 1.25 : 0.8), event.clientX - box.left,
                event.clientY - box.top);
  }, {passive: false});
};

const addGain = (view, errors) => {
  const gain = range('gain of the errors', 0, 6, 1, 3);
  gain.className = 'gain';
  const caption = errors.querySelector('figcaption');
  gain.addEventListener('input', () => {
    const times = 2 ** gain.value;
    view.style.setProperty('--gain', times);
    caption.textContent = 'errors, times ' + times;
  });
  errors.append(make('div', {className: 'tools'}, make('label', {}, '1', gain, '64')));
};

for (const view of document.querySelectorAll('.view')) {
  const [original, result, errors] =
      ['original', 'result', 'errors'].map(name => view.querySelector('figure.' + name));
  const frame = original.querySelector('.frame');
  const slider = result ? addSlider(view, original, result) : null;
  const lens = new Lens(view, frame);
  addZoom(original, lens);
  for (const each of view.querySelectorAll('.frame')) {
    each.classList.add('stage');
    each.tabIndex = 0;
    each.setAttribute('role', 'group');
    each.setAttribute('aria-label', 'picture: plus, minus and arrow keys zoom and move');
    addKeys(each, lens);
    addPointer(each, lens, each === frame ? slider : null);
  }
  if (errors) addGain(view, errors);
}
)";

}  // namespace zepconvert
