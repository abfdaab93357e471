// The samples of a file as a table; only the rows in sight are asked for.
import {askJson} from './api.js';
import {make} from './dom.js';
import {count, number} from './format.js';
import {noteParameters} from './route.js';

const rowHeight = 26;
const mostColumns = 60;
// Browsers know no element of any height: in longer tables a pixel of the scroll bar stands for several.
const mostHeight = 8e6;

export async function showTable(body, {place, file, parameters, signal}) {
  if (!file.samples) {
    body.append(make('p', {}, 'The file has no samples.'));
    return;
  }
  const variables = file.variables.slice(0, mostColumns);
  const wanted = variables.map(variable => variable.name);
  let first = Math.min(file.samples, Math.max(1, Number(parameters.get('row')) || 1));
  let shown = 0;

  const rows = make('tbody');
  const grid = make('table', {'aria-rowcount': file.samples + 1, 'aria-colcount': variables.length + 1},
    make('thead', {}, make('tr', {'aria-rowindex': 1},
      make('th', {scope: 'col', class: 'number'}, 'Sample'),
      ...variables.map(variable => make('th', {scope: 'col', class: variable.type !== 'text' && 'number'},
        variable.name, variable.unit && make('small', {}, variable.unit))))), rows);
  const sheet = make('div', {class: 'sheet'}, grid);
  const filler = make('div', {class: 'filler'});
  const scroller = make('div', {class: 'scroller', tabindex: 0, 'aria-label': 'Samples'}, filler, sheet);
  const go = make('input', {type: 'number', min: 1, max: file.samples, value: first, onchange: () => move(Number(go.value), true)});
  const told = make('output');
  body.append(
    make('p', {class: 'tools'}, make('label', {class: 'field'}, make('span', {}, 'Go to sample'), go), told,
      file.variables.length > mostColumns && make('span', {class: 'note'}, `${mostColumns} of ${file.variables.length} variables are shown.`)),
    scroller);

  const visible = () => Math.max(1, Math.floor((scroller.clientHeight - grid.tHead.offsetHeight) / rowHeight));
  const last = () => Math.max(1, file.samples - visible() + 1);
  const height = Math.min(mostHeight, file.samples * rowHeight + 60);
  filler.style.height = `${height}px`;
  const path = () => Math.max(1, height - scroller.clientHeight);

  let own = -1;
  function move(row, byHand) {
    first = Math.min(last(), Math.max(1, Math.round(row)));
    if (byHand) {
      own = Math.round((first - 1) / Math.max(1, last() - 1) * path());
      scroller.scrollTop = own;
    }
    refresh();
  }

  let asking = null;
  let queued = false;
  async function refresh() {
    // One request at a time: what is scrolled past isn't asked for.
    if (asking) {
      queued = true;
      return;
    }
    const from = first;
    const to = Math.min(file.samples, from + visible());
    asking = askJson('rows', {...place, first: from, last: to, variable: wanted}, signal);
    try {
      const {columns} = await asking;
      rows.replaceChildren(...Array.from({length: to - from + 1}, (_, i) => make('tr', {'aria-rowindex': from + i + 1},
        make('th', {scope: 'row', class: 'number'}, count(from + i)),
        ...variables.map((variable, j) => {
          const value = columns[j][i];
          if (value === null) return make('td', {class: 'missing', title: 'missing'}, '–');
          return variable.type === 'text' ? make('td', {}, value) : make('td', {class: 'number'}, number(value, variable));
        }))));
      shown = from;
      told.textContent = `${count(from)} to ${count(Math.min(file.samples, from + visible() - 1))} of ${count(file.samples)}`;
      go.value = from;
      noteParameters({row: from > 1 ? from : ''});
      scroller.dataset.first = from;
    } catch (problem) {
      if (!signal.aborted) told.textContent = problem.message;
    }
    asking = null;
    if (queued && !signal.aborted) {
      queued = false;
      if (first !== shown) refresh();
    }
  }

  scroller.addEventListener('scroll', () => {
    if (Math.abs(scroller.scrollTop - own) < 1) return;
    own = -1;
    move(1 + scroller.scrollTop / path() * (last() - 1), false);
  });
  scroller.addEventListener('wheel', event => {
    if (event.shiftKey || event.ctrlKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) return;
    event.preventDefault();
    const step = event.deltaMode === 0 ? event.deltaY / rowHeight : event.deltaY;
    move(first + (Math.abs(step) < 1 ? Math.sign(step) : step), true);
  }, {passive: false});
  scroller.addEventListener('keydown', event => {
    const steps = {ArrowDown: 1, ArrowUp: -1, PageDown: visible(), PageUp: -visible(), Home: -file.samples, End: file.samples};
    if (!(event.key in steps) || event.target !== scroller) return;
    event.preventDefault();
    move(first + steps[event.key], true);
  });
  const resized = new ResizeObserver(() => move(first, true));
  resized.observe(scroller);
  signal.addEventListener('abort', () => resized.disconnect());
  move(first, true);
  await asking;
}
