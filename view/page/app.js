// The page: what its address names is shown.
import {askJson} from './api.js';
import {make} from './dom.js';
import {counted} from './format.js';
import {hashOf, readRoute} from './route.js';
import {mark, reveal, showTree} from './tree.js';
import {showDistribution} from './distribution.js';
import {showTable} from './table.js';
import {showVariables} from './variables.js';

const tabs = {
  variables: ['Variables', showVariables],
  table: ['Table', showTable],
  distribution: ['Distribution', showDistribution],
  // What draws the scene is large, and loaded when it is needed.
  scene: ['Scene', async (...words) => (await import('./scene.js')).showScene(...words)],
};

const main = document.getElementById('main');
let ending = new AbortController();

function heading(place, file, tab, parameters) {
  const kind = file.objects.includes('polygons') ? 'polygons' : file.objects.includes('wireframes') ? 'wireframes' : file.organisation;
  const facts = [`${file.dimension}D ${kind}`, counted(file.samples, 'sample')];
  if (file.lines > 0) facts.push(counted(file.lines, 'line'));
  if (file.grid) facts.push(`${file.grid.nodes.slice(0, file.dimension).join(' × ')} nodes`);
  if (file.linked) facts.push(`linked with ${file.linked}`);
  if (file.unit) facts.push(`coordinates in ${file.unit}`);
  const kept = {variable: parameters.get('variable')};
  return make('header', {},
    make('p', {class: 'path'}, `${place.study} › ${place.directory} ›`),
    make('h2', {}, place.file),
    make('p', {class: 'facts'}, facts.join(' · ')),
    file.comment.trim() && make('p', {class: 'comment'}, file.comment.trim()),
    make('nav', {class: 'tabs', 'aria-label': 'Views of the file'},
      ...Object.entries(tabs).map(([name, [title]]) =>
        make('a', {href: hashOf(place, {tab: name, ...kept}), 'aria-current': name === tab && 'page'}, title))));
}

// What somebody has measured comes before where it lies, and what the server computes comes last.
function sortVariables(file) {
  const places = new Set([...file.coordinates, ...file.begins, ...file.ends]);
  const rank = variable => variable.implicit ? 2 : places.has(variable.name) ? 1 : 0;
  file.variables.sort((a, b) => rank(a) - rank(b));
}

async function show() {
  ending.abort();
  ending = new AbortController();
  const {signal} = ending;
  const {place, tab, parameters} = readRoute();
  mark();
  delete document.body.dataset.ready;
  if (!place) {
    document.title = 'qrd view';
    main.replaceChildren(make('p', {class: 'welcome'}, 'Choose a file.'));
    return;
  }
  document.title = `${place.file} · qrd view`;
  performance.mark('shown');
  let body = null;
  try {
    reveal(place).then(mark);
    const file = await askJson('file', place, signal);
    if (signal.aborted) return;
    sortVariables(file);
    const name = tabs[tab] ? tab : 'variables';
    body = make('section', {class: name});
    main.replaceChildren(heading(place, file, name, parameters), body);
    await tabs[name][1](body, {place, file, parameters, signal});
    if (!signal.aborted) document.body.dataset.ready = name;
  } catch (problem) {
    if (signal.aborted) return;
    const told = make('p', {class: 'problem', role: 'alert'}, problem.message);
    if (body) body.append(told);
    else main.replaceChildren(told);
  }
}

window.addEventListener('hashchange', show);
document.getElementById('skip').addEventListener('click', event => {
  event.preventDefault();
  main.focus();
});
await showTree().catch(problem => {
  document.getElementById('studies').replaceChildren(make('p', {class: 'problem', role: 'alert'}, problem.message));
});
show();
// What draws a scene is there before one is asked for.
setTimeout(() => import('./scene.js').catch(() => {}), 500);
