// The tree of studies, directories and files.
import {askJson} from './api.js';
import {make} from './dom.js';
import {counted} from './format.js';
import {hashOf, readRoute} from './route.js';

const signs = {points: '∴', 'gravity lines': '∿', 'core lines': '┋', grid: '▦'};

export const kindOf = file => file.polygons ? 'polygons' : file.organisation;

export function summary(file) {
  if (file.problem) return file.problem;
  const parts = [`${file.dimension}D ${kindOf(file)}`, counted(file.samples, 'sample')];
  if (file.lines > 0) parts.push(counted(file.lines, 'line'));
  if (file.faults) parts.push('faults');
  return parts.join(' · ');
}

function fileItem(place, file) {
  return make('li', {'data-name': file.name},
    make('a', {href: hashOf(place), title: summary(file)},
      make('span', {class: 'sign', 'aria-hidden': 'true'}, file.problem ? '!' : file.polygons ? '⬠' : signs[file.organisation] ?? '·'),
      make('span', {class: 'name'}, file.name),
      make('small', {}, summary(file))));
}

// A level that is filled when it is opened first.
function branch(name, fill) {
  const list = make('ul');
  const details = make('details', {'data-name': name}, make('summary', {}, name), list);
  let filled = null;
  details.load = () => filled ??= fill(list).catch(problem => {
    filled = null;
    list.replaceChildren(make('li', {class: 'problem'}, problem.message));
  });
  details.addEventListener('toggle', () => { if (details.open) details.load(); });
  return details;
}

async function fillDirectory(list, study, directory) {
  const {files} = await askJson('tree', {study, directory});
  list.replaceChildren(...files.map(file => fileItem({study, directory, file: file.name}, file)));
  if (!files.length) list.append(make('li', {class: 'none'}, 'no files'));
  mark();
}

async function fillStudy(list, study) {
  const {directories} = await askJson('tree', {study});
  list.replaceChildren(...directories.map(name => make('li', {}, branch(name, inner => fillDirectory(inner, study, name)))));
  if (!directories.length) list.append(make('li', {class: 'none'}, 'no directories'));
}

const studies = document.getElementById('studies');

// Shows which file is on the page.
export function mark() {
  const {place} = readRoute();
  for (const link of studies.querySelectorAll('a')) {
    const own = place && link.getAttribute('href') === hashOf(place);
    if (own) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
}

const child = (node, name) => [...node.querySelectorAll('details')].find(one => one.dataset.name === name);

// Opens the branches above a file.
export async function reveal(place) {
  let node = studies;
  for (const name of [place.study, place.directory]) {
    node = child(node, name);
    if (!node) return;
    node.open = true;
    await node.load();
  }
}

let wanted = 0;

// Keeps what has the text in its name, with what is above and below it.
async function filter(text) {
  const mine = ++wanted;
  const lower = text.trim().toLowerCase();
  if (lower) {
    for (const study of studies.children) {
      await study.load();
      await Promise.all([...study.querySelectorAll('details')].map(directory => directory.load()));
      if (mine !== wanted) return;
    }
  }
  const has = element => element.dataset.name.toLowerCase().includes(lower);
  for (const study of studies.children) {
    let inStudy = has(study);
    for (const directory of study.querySelectorAll('details')) {
      let inDirectory = has(directory) || has(study);
      for (const item of directory.querySelectorAll('li[data-name]')) {
        const kept = has(item) || has(directory) || has(study);
        item.hidden = !kept;
        inDirectory ||= kept;
      }
      directory.parentElement.hidden = !inDirectory;
      if (lower) directory.open = inDirectory && !has(study);
      inStudy ||= inDirectory;
    }
    study.hidden = !inStudy;
    if (lower) study.open = inStudy;
  }
}

export async function showTree() {
  const {root, studies: names} = await askJson('tree', {});
  document.getElementById('root').textContent = root;
  studies.replaceChildren(...names.map(name => branch(name, list => fillStudy(list, name))));
  if (names.length === 1) studies.firstElementChild.open = true;
  const input = document.getElementById('filter');
  input.addEventListener('input', () => filter(input.value));
  const {place} = readRoute();
  if (place) await reveal(place);
}

// All files of a study, for choosing some.
export async function filesOf(study, signal) {
  const {directories} = await askJson('tree', {study}, signal);
  const all = [];
  for (const directory of directories) {
    const {files} = await askJson('tree', {study, directory}, signal);
    for (const file of files) if (!file.problem) all.push({study, directory, file: file.name});
  }
  return all;
}
