// The scene: files together in space, their colours, and what is known of a sample that is clicked.
import * as three from '/three.module.js';
import {askJson} from './api.js';
import {colourChoices, distinctColour, missingColour, plainColour} from './colours.js';
import {checkbox, choice, make, slider} from './dom.js';
import {count, number, rough, withUnit} from './format.js';
import {Layer} from './layer.js';
import {noteParameters} from './route.js';
import {Stage} from './stage.js';
import {filesOf} from './tree.js';

const css = colour => `rgb(${colour.join(',')})`;

// What a file is coloured by at first: a number that is no length, such as a grade.
function usualVariable(file) {
  const places = new Set([...file.coordinates, ...file.begins, ...file.ends]);
  const own = file.variables.filter(one => !one.implicit && !places.has(one.name));
  const numbers = own.filter(one => one.type === 'number' && one.bits > 1);
  return (numbers.find(one => one.decimals === null && one.bits >= 32) ?? numbers[0] ?? own[0])?.name ?? '';
}

function rampLegend({low, high, cutLow, cutHigh, colours, variable}) {
  const steps = colours.length > 32 ? colours.filter((_, i) => i % 8 === 0).concat([colours[colours.length - 1]]) : colours;
  const band = make('div', {class: 'band'});
  band.style.background = colours.length > 32 ? `linear-gradient(to top, ${steps.map(css).join(',')})`
    : `linear-gradient(to top, ${steps.map((one, i) => `${css(one)} ${100 * i / steps.length}% ${100 * (i + 1) / steps.length}%`).join(',')})`;
  const text = value => variable.bits <= 16 ? number(value, variable) : rough(value);
  const marks = low === high ? [text(low)] : [`${cutHigh ? '≥ ' : ''}${text(high)}`, ...[0.75, 0.5, 0.25].map(part => text(low + part * (high - low))), `${cutLow ? '≤ ' : ''}${text(low)}`];
  return make('div', {class: 'ramp'}, band, make('div', {class: 'marks'}, ...marks.map(mark => make('span', {}, mark))));
}

const swatch = (colour, text) => {
  const spot = make('span', {class: 'spot'});
  spot.style.background = css(colour);
  return make('li', {}, spot, text);
};

function legendOf(layer) {
  const box = make('div', {class: 'legend'});
  const {legend} = layer;
  const most = 24;
  if (legend && layer.shapes.samples?.length) {
    box.append(make('h4', {}, withUnit({name: legend.title, unit: legend.unit})));
    if (legend.kind === 'ramp') box.append(rampLegend(legend));
    else box.append(make('ul', {}, ...legend.entries.slice(0, most).map(one => swatch(one.colour, one.label)),
      legend.entries.length > most && make('li', {}, `and ${legend.entries.length - most} more`)));
    if (legend.missing && !layer.isGrid) box.append(make('ul', {}, swatch(missingColour, 'missing')));
  }
  const objects = layer.legendOfObjects;
  if (objects?.length) box.append(make('h4', {}, layer.place.file), make('ul', {}, ...objects.slice(0, most).map(one => swatch(one.colour, one.label)),
    objects.length > most && make('li', {}, `and ${objects.length - most} more`)));
  return box.childElementCount ? box : null;
}

export async function showScene(body, {place, file, parameters, signal}) {
  const area = make('div', {class: 'area'});
  const panel = make('aside', {class: 'panel', 'aria-label': 'What is shown, and how'});
  const legends = make('div', {class: 'legends', 'aria-label': 'Legend'});
  const notes = make('p', {class: 'notes', role: 'status'}, 'Reading…');
  const facts = make('aside', {class: 'sample', 'aria-label': 'Sample', hidden: true});
  const side = make('div', {class: 'side'}, facts, panel);
  body.append(area, side);

  let layers = [];
  let noting = 0;
  const stage = new Stage(area, {onclick: pick, onmove: noteCamera});
  signal.addEventListener('abort', () => {
    clearTimeout(noting);
    layers.forEach(layer => layer.dispose());
    stage.dispose();
  });
  stage.box.append(legends, notes);
  stage.unit = file.unit;
  const ground = {unit: file.unit, centre: {value: null}};
  const resources = await askJson('resources', {study: place.study}, signal);

  function noteCamera() {
    clearTimeout(noting);
    noting = setTimeout(() => {
      const {azimuth, elevation, target, span} = stage.view;
      noteParameters({camera: [azimuth, elevation, target.x, target.y, target.z, span].map(value => Number(value.toPrecision(6))).join(',')});
    }, 300);
  }

  function measure() {
    const bounds = new three.Box3();
    const spatial = layers.filter(layer => layer.file.dimension === 3 || layer.choice.height);
    const lowest = Math.min(...spatial.map(layer => layer.bounds.min.z).filter(Number.isFinite));
    for (const layer of layers) {
      layer.setGround(Number.isFinite(lowest) ? lowest : 0);
      if (!layer.bounds.isEmpty()) bounds.union(layer.bounds.clone().translate(new three.Vector3(0, 0, layer.group.position.z)));
    }
    stage.setBounds(bounds);
  }

  function tellNotes() {
    const all = layers.flatMap(layer => layer.notes);
    if (layers.every(layer => layer.bounds.isEmpty())) all.push('There is nothing to draw: no sample has a place.');
    notes.textContent = all.join(' ');
    legends.replaceChildren(...layers.filter(layer => layer.visible !== false).map(legendOf).filter(Boolean));
  }

  async function redraw(layer) {
    try {
      await layer.refresh(resources, signal);
      measure();
      tellNotes();
      noteChoices();
    } catch (problem) {
      if (!signal.aborted) notes.textContent = problem.message;
    }
  }

  const noted = ['variable', 'colours', 'filter', 'mode', 'level', 'axis', 'cutoff', 'height'];
  function noteChoices() {
    const first = layers[0].choice;
    const usual = {axis: 2, variable: usualVariable(file)};
    noteParameters({
      ...Object.fromEntries(noted.map(key => [key, first[key] === (usual[key] ?? null) ? '' : String(first[key] ?? '')])),
      variable: first.variable,
      with: layers.slice(1).map(layer => [layer.place.directory, layer.place.file].map(encodeURIComponent).join('/')).join(' '),
    });
  }

  // Everything that can be chosen for one file.
  function controls(layer) {
    const {file: of, choice: chosen} = layer;
    const change = (key, value) => {
      chosen[key] = value;
      return redraw(layer);
    };
    const box = make('fieldset', {}, make('legend', {}, checkbox(layer.title, layer.visible !== false, visible => {
      layer.visible = visible;
      layer.show();
      tellNotes();
    })));
    const kinds = Object.keys(layer.objects);
    for (const kind of kinds)
      if (kinds.length > 1 || of.samples) box.append(checkbox(layer.objects[kind], layer.shown[kind], shown => {
        layer.shown[kind] = shown;
        layer.show();
      }));
    if (layer.objects.wireframes) box.append(slider('Opacity', {min: 0.05, max: 1, step: 0.05, value: chosen.opacity}, value => layer.setOpacity(value)));
    if (of.samples && !layer.objects.polygons && !layer.objects.wireframes) {
      const variables = of.variables.map(one => [one.name, withUnit(one)]);
      box.append(choice('Colour by', [['', 'nothing'], ...variables], chosen.variable, name => {
        chosen.cutoff = null;
        change('variable', name).then(rebuild);
      }), choice('Colours', colourChoices(resources), chosen.colours, name => change('colours', name)));
      const selections = of.variables.filter(one => one.type === 'selection');
      if (selections.length) box.append(choice('Samples', [['', 'all'], ...selections.map(one => [one.name, `only ${one.name}`])], chosen.filter, name => change('filter', name)));
      if (layer.isGrid) gridControls(layer, box, change);
      else box.append(slider('Size', {min: 1, max: 24, step: 1, value: chosen.size || 7}, size => layer.setSize(size)));
    }
    if (layer !== layers[0]) box.append(make('button', {type: 'button', onclick: () => {
      layer.dispose();
      layers = layers.filter(one => one !== layer);
      rebuild();
      measure();
      tellNotes();
      noteChoices();
    }}, 'Take away'));
    return box;
  }

  function gridControls(layer, box, change) {
    const {choice: chosen, nodes} = layer;
    const numeric = layer.file.variables.filter(one => one.type !== 'text');
    if (nodes[2] === 1) {
      box.append(choice('Relief', [['', 'flat'], ...numeric.filter(one => one.decimals !== null && !one.implicit).map(one => [one.name, `height is ${one.name}`])],
        chosen.height, name => change('height', name).then(() => stage.fit())));
      return;
    }
    box.append(choice('Show', [['', 'a slice'], ['blocks', 'blocks above a cut-off']], chosen.mode, mode => change('mode', mode).then(rebuild)));
    if (chosen.mode === 'blocks') {
      const there = layer.values.filter(value => !Number.isNaN(value));
      const [low, high] = there.reduce(([a, b], value) => [Math.min(a, value), Math.max(b, value)], [Infinity, -Infinity]);
      if (low < high) {
        const told = make('output', {}, rough(chosen.cutoff ?? low));
        box.append(slider('Cut-off', {min: low, max: high, step: (high - low) / 200, value: chosen.cutoff ?? low}, value => {
          told.textContent = rough(value);
          chosen.cutoff = value;
          layer.drawSamples();
          noteChoices();
        }), told);
      }
      return;
    }
    const told = make('output', {}, `${chosen.level * layer.every + 1} of ${layer.file.grid.nodes[chosen.axis]}`);
    box.append(choice('Across', [['0', 'X'], ['1', 'Y'], ['2', 'Z (levels)']].filter(([axis]) => nodes[axis] > 1), String(chosen.axis), axis => {
      chosen.level = Math.floor(nodes[Number(axis)] / 2);
      change('axis', Number(axis)).then(rebuild);
    }), slider('Level', {min: 0, max: nodes[chosen.axis] - 1, step: 1, value: chosen.level}, level => {
      chosen.level = level;
      told.textContent = `${level * layer.every + 1} of ${layer.file.grid.nodes[chosen.axis]}`;
      layer.drawSamples();
      noteChoices();
    }), told);
  }

  const adder = make('div');
  function rebuild() {
    const views = [['spatial', '3D', '3'], ['plan', 'Plan', 'P'], ['north', 'To north', 'N'], ['east', 'To east', 'E']];
    panel.replaceChildren(
      make('div', {class: 'views', role: 'group', 'aria-label': 'View'}, ...views.map(([name, title, key]) =>
        make('button', {type: 'button', title: `Key ${key}`, onclick: () => stage.look(name)}, title)),
      make('button', {type: 'button', title: 'Key F', onclick: () => stage.fit()}, 'Fit')),
      slider(`Vertical exaggeration`, {min: 1, max: 20, step: 0.5, value: stage.exaggeration}, factor => {
        stage.exaggerate(factor);
        noteParameters({exaggeration: factor === 1 ? '' : String(factor)});
      }),
      slider('Section: only the middle', {min: 0, max: 1, step: 0.02, value: 0}, part => {
        stage.slab = part === 0 ? 0 : stage.radius * 2 * (1.02 - part) ** 2;
        stage.draw();
      }),
      ...layers.map(controls), adder);
  }

  async function add(layerPlace, layerFile, chosen = {}) {
    const layer = new Layer(layerPlace, layerFile, stage, ground);
    layers.push(layer);
    // What is added to a file is there to be seen beside it; a scene full of colours tells nothing.
    const usual = layers.length === 1 || layerFile.grid ? usualVariable(layerFile) : '';
    layer.plain = layers.length === 1 ? plainColour : distinctColour(layers.length);
    layer.choice.variable = usual;
    try {
      await layer.load(signal);
      layer.choice.level = layer.isGrid ? Math.floor(layer.nodes[2] / 2) : 0;
      for (const [key, value] of Object.entries(chosen))
        layer.choice[key] = ['level', 'axis', 'cutoff'].includes(key) ? Number(value) : value;
      if (layer.choice.variable && !layer.variable(layer.choice.variable)) layer.choice.variable = usual;
      if (layerFile.samples) await layer.refresh(resources, signal);
    } catch (problem) {
      layer.dispose();
      layers = layers.filter(one => one !== layer);
      throw problem;
    }
    measure();
    tellNotes();
    rebuild();
  }

  async function addOther(other) {
    try {
      await add(other, await askJson('file', {...other, unit: file.unit}, signal));
      noteChoices();
      stage.fit();
    } catch (problem) {
      if (!signal.aborted) notes.textContent = problem.message;
    }
  }

  async function pick(x, y) {
    const found = layers.map(layer => ({layer, hit: layer.pick(x, y)})).filter(({hit}) => hit).sort((a, b) => a.hit.depth - b.hit.depth)[0];
    if (found) await showSample(found.layer, found.hit.index);
    else forgetSample();
  }

  function forgetSample() {
    facts.hidden = true;
    stage.mark(null);
    noteParameters({sample: ''});
  }

  async function showSample(layer, index) {
    const sample = layer.sampleOf(index);
    stage.mark(layer.placeOf(index));
    if (layer === layers[0]) noteParameters({sample});
    const line = layer.lineOf(index);
    const variables = layer.file.variables.slice(0, 200);
    let columns;
    try {
      ({columns} = await askJson('rows', {...layer.place, first: sample, last: sample, variable: variables.map(one => one.name)}, signal));
    } catch (problem) {
      if (!signal.aborted) notes.textContent = problem.message;
      return;
    }
    const where = [];
    if (line) {
      const unit = file.unit ? ` ${file.unit}` : '';
      where.push(['Line', line.name], ['Depth', line.from === line.to ? `${rough(line.from)}${unit}` : `${rough(line.from)} to ${rough(line.to)}${unit}`]);
    }
    facts.replaceChildren(
      make('button', {type: 'button', class: 'close', 'aria-label': 'Close', onclick: forgetSample}, '×'),
      make('h3', {}, `${layer.place.file}: sample ${count(sample)}`),
      make('dl', {}, ...where.flatMap(([key, value]) => [make('dt', {}, key), make('dd', {}, value)])),
      make('table', {}, make('tbody', {}, ...variables.map((variable, i) => make('tr', {class: variable.name === layer.choice.variable && 'chosen'},
        make('th', {scope: 'row'}, variable.name),
        columns[i][0] === null ? make('td', {class: 'missing'}, 'missing')
          : make('td', {}, variable.type === 'text' ? columns[i][0] : `${number(columns[i][0], variable)} ${variable.unit}`.trim()))))));
    facts.hidden = false;
  }

  await add(place, file, Object.fromEntries(noted.filter(key => parameters.has(key)).map(key => [key, parameters.get(key)])));
  for (const other of (parameters.get('with') ?? '').split(' ').filter(Boolean)) {
    const [directory, name] = other.split('/').map(decodeURIComponent);
    await addOther({study: place.study, directory, file: name});
  }
  stage.resize();
  stage.exaggerate(Math.min(20, Math.max(1, Number(parameters.get('exaggeration')) || 1)));
  rebuild();
  const camera = (parameters.get('camera') ?? '').split(',').map(Number);
  const flatScene = layers.every(layer => layer.file.dimension === 2 && !layer.choice.height);
  if (camera.length === 6 && camera.every(Number.isFinite)) {
    const [azimuth, elevation, x, y, z, span] = camera;
    Object.assign(stage.view, {azimuth, elevation, span, target: new three.Vector3(x, y, z)});
    stage.draw();
  } else {
    stage.look(flatScene ? 'plan' : 'spatial');
  }
  const sample = Number(parameters.get('sample'));
  if (Number.isInteger(sample) && sample >= 1 && sample <= file.samples) {
    const index = layers[0].indexOf(sample);
    if (index >= 0 && layers[0].shapes.samples?.length) showSample(layers[0], index);
  }
  await new Promise(resolve => {
    stage.ondrawn = resolve;
    stage.draw();
  });
  performance.measure('scene', 'shown');

  // What else could be added is looked up when the scene stands.
  filesOf(place.study, signal).then(all => {
    const others = all.filter(one => one.directory !== place.directory || one.file !== place.file);
    if (others.length) adder.append(choice('Add a file', [['', '…'], ...others.map((one, i) => [String(i), `${one.directory} › ${one.file}`])], '', key => {
      adder.querySelector('select').value = '';
      if (key !== '') addOther(others[Number(key)]);
    }));
  }).catch(() => {});
}
