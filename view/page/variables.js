// All variables of a file, each with its figures and a small histogram.
import {askJson} from './api.js';
import {make} from './dom.js';
import {count, number, rough} from './format.js';
import {hashOf} from './route.js';

const width = 120;
const height = 28;

function bars(counts, titles) {
  const most = Math.max(...counts);
  const step = width / counts.length;
  return make('svg', {class: 'bars', viewBox: `0 0 ${width} ${height}`, width, height, role: 'img', 'aria-label': 'histogram'},
    ...counts.map((size, i) => size > 0 && make('rect',
      {x: i * step, width: Math.max(0.5, step - (step > 3 ? 1 : 0)), y: height - Math.max(1, size / most * height), height: Math.max(1, size / most * height)},
      titles ? make('title', {}, `${titles[i]}: ${count(size)}`) : null)));
}

const typeText = variable => ({
  text: `text of ${variable.characters}`,
  selection: 'selection',
  number: `${variable.bits} bits`,
})[variable.type];

function fill(row, variable, told) {
  const cells = row.querySelectorAll('td');
  const there = told.count - told.missing;
  cells[2].textContent = count(there);
  cells[3].textContent = told.missing ? count(told.missing) : '–';
  if (variable.type === 'text') {
    cells[5].textContent = `${told['all distinct'] ? '' : 'over '}${count(told.distinct)} different`;
    if (told.texts.length) cells[7].append(bars(told.texts.slice(0, 24).map(one => one[1]), told.texts.map(one => one[0])));
  } else if (there > 0) {
    cells[4].textContent = number(told.minimum, variable);
    cells[5].textContent = rough(told.mean);
    cells[6].textContent = number(told.maximum, variable);
    cells[7].append(bars(told.histogram.counts));
  } else {
    cells[5].textContent = 'all missing';
  }
  row.dataset.filled = 'yes';
}

export function showVariables(body, {place, file, signal}) {
  const rows = make('tbody');
  const variables = new Map();
  for (const variable of file.variables) {
    const row = make('tr', {'data-variable': variable.name},
      make('th', {scope: 'row'}, make('a', {href: hashOf(place, {tab: 'distribution', variable: variable.name})}, variable.name)),
      make('td', {class: 'kind'}, typeText(variable) + (variable.implicit ? ', computed' : '')),
      make('td', {class: 'unit'}, variable.unit),
      ...Array.from({length: 5}, () => make('td', {class: 'number'})),
      make('td'));
    variables.set(row, variable);
    rows.append(row);
  }
  const heads = ['Variable', 'Kind', 'Unit', 'Values', 'Missing', 'Minimum', 'Mean', 'Maximum', 'Distribution'];
  const numeric = name => ['Values', 'Missing', 'Minimum', 'Mean', 'Maximum'].includes(name);
  body.append(make('div', {class: 'wide'}, make('table', {},
    make('thead', {}, make('tr', {}, ...heads.map(name => make('th', {scope: 'col', class: numeric(name) && 'number'}, name)))), rows)));

  // Each variable is read when its row comes into sight, one after the other.
  let queue = Promise.resolve();
  const watcher = new IntersectionObserver(entries => {
    for (const {isIntersecting, target} of entries) {
      if (!isIntersecting) continue;
      watcher.unobserve(target);
      const variable = variables.get(target);
      queue = queue.then(async () => {
        if (signal.aborted) return;
        try {
          fill(target, variable, await askJson('statistics', {...place, variable: variable.name, bins: 40}, signal));
        } catch (problem) {
          if (!signal.aborted) target.lastElementChild.append(make('span', {class: 'problem'}, problem.message));
        }
      });
    }
  });
  for (const row of variables.keys()) watcher.observe(row);
  signal.addEventListener('abort', () => watcher.disconnect());
}
