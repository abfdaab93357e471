// Histogram and cumulative curve of a variable.
import {askJson} from './api.js';
import {checkbox, choice, make} from './dom.js';
import {count, number, rough, tickText, ticks, withUnit} from './format.js';
import {noteParameters} from './route.js';

const width = 760;
const height = 340;
const edge = {left: 64, right: 56, top: 14, bottom: 46};
const fine = 960;  // bins that are asked for; so many together are drawn as one
const together = 16;

const inner = {x: edge.left, y: edge.top, width: width - edge.left - edge.right, height: height - edge.top - edge.bottom};

function powers(low, high) {
  const all = [];
  for (let power = Math.ceil(Math.log10(low) - 1e-9); 10 ** power <= high * (1 + 1e-9); ++power) all.push(10 ** power);
  return all.length > 1 ? all : [low, high];
}

function picture(told, variable) {
  const {from, to, log, counts} = told.histogram;
  const drawn = [];
  for (let i = 0; i < counts.length; i += together) drawn.push(counts.slice(i, i + together).reduce((a, b) => a + b, 0));
  const most = Math.max(...drawn);
  const valueAt = part => log ? from * (to / from) ** part : from + (to - from) * part;
  const xOf = value => inner.x + inner.width * (to === from ? 0.5 : log ? Math.log(value / from) / Math.log(to / from) : (value - from) / (to - from));
  const yOf = part => inner.y + inner.height * (1 - part);
  const chart = make('svg', {class: 'chart', viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': `Histogram of ${variable.name}`});
  const below = log ? powers(from, to) : ticks(from, to, 7);
  const beside = ticks(0, most, 5);
  for (const size of beside) {
    const y = yOf(size / most);
    chart.append(make('line', {class: 'rule', x1: inner.x, x2: inner.x + inner.width, y1: y, y2: y}),
      make('text', {x: inner.x - 8, y: y + 4, 'text-anchor': 'end'}, count(size)));
  }
  const step = inner.width / drawn.length;
  drawn.forEach((size, i) => {
    if (!size) return;
    const tall = Math.max(1, size / most * inner.height);
    chart.append(make('rect', {class: 'bar', x: inner.x + i * step + 0.5, width: Math.max(0.5, step - 1), y: inner.y + inner.height - tall, height: tall},
      make('title', {}, `${number(valueAt(i / drawn.length), {...variable, bits: 32})} to ${number(valueAt((i + 1) / drawn.length), {...variable, bits: 32})}: ${count(size)}`)));
  });
  const all = counts.reduce((a, b) => a + b, 0);
  let sum = 0;
  let curve = `M${inner.x},${yOf(0)}`;
  counts.forEach((size, i) => {
    sum += size;
    curve += `L${(inner.x + inner.width * (i + 1) / counts.length).toFixed(1)},${yOf(sum / all).toFixed(1)}`;
  });
  chart.append(make('path', {class: 'curve', d: curve}));
  for (const part of [0, 0.25, 0.5, 0.75, 1])
    chart.append(make('text', {class: 'share', x: inner.x + inner.width + 8, y: yOf(part) + 4}, `${part * 100} %`));
  for (const value of below)
    chart.append(make('line', {class: 'axis', x1: xOf(value), x2: xOf(value), y1: yOf(0), y2: yOf(0) + 5}),
      make('text', {x: xOf(value), y: yOf(0) + 19, 'text-anchor': 'middle'}, log ? String(Number(value.toPrecision(4))) : tickText(value, below)));
  chart.append(make('line', {class: 'axis', x1: inner.x, x2: inner.x + inner.width, y1: yOf(0), y2: yOf(0)}),
    make('text', {class: 'title', x: inner.x + inner.width / 2, y: height - 6, 'text-anchor': 'middle'}, withUnit(variable)));
  return make('figure', {}, chart, make('figcaption', {},
    make('span', {class: 'key bar'}), 'samples', make('span', {class: 'key curve'}), 'share at most as large'));
}

function textBars(told) {
  const most = told.texts[0]?.[1] ?? 1;
  return make('table', {class: 'texts'}, make('tbody', {}, ...told.texts.map(([text, size]) => make('tr', {},
    make('th', {scope: 'row'}, text), make('td', {class: 'number'}, count(size)),
    make('td', {}, make('meter', {min: 0, max: most, value: size, 'aria-hidden': 'true'}))))));
}

function figures(told, variable) {
  const entries = [['Values', count(told.count - told.missing)], ['Missing', count(told.missing)]];
  if (variable.type === 'text') {
    entries.push(['Different', `${told['all distinct'] ? '' : 'over '}${count(told.distinct)}`]);
  } else if (told.count > told.missing) {
    const unit = variable.unit ? ` ${variable.unit}` : '';
    entries.push(['Minimum', number(told.minimum, variable) + unit], ['Mean', rough(told.mean) + unit],
      ['Maximum', number(told.maximum, variable) + unit], ['Standard deviation', rough(told.deviation) + unit]);
  }
  return make('dl', {}, ...entries.flatMap(([key, value]) => [make('dt', {}, key), make('dd', {}, value)]));
}

export async function showDistribution(body, {place, file, parameters, signal}) {
  const usual = file.variables.find(variable => !variable.implicit && variable.type === 'number' &&
    ![...file.coordinates, ...file.begins, ...file.ends].includes(variable.name)) ?? file.variables[0];
  if (!usual) {
    body.append(make('p', {}, 'The file has no variables.'));
    return;
  }
  const named = name => file.variables.find(variable => variable.name === name);
  let variable = named(parameters.get('variable')) ?? usual;
  let log = parameters.get('scale') === 'log';
  let selection = parameters.get('selection') ?? '';
  const content = make('div', {class: 'content'});
  const logBox = checkbox('Logarithmic', log, value => { log = value; refresh(); });
  body.append(make('p', {class: 'tools'},
    choice('Variable', file.variables.map(one => [one.name, withUnit(one)]), variable.name, name => { variable = named(name); refresh(); }),
    choice('Samples', [['', 'all'], ...file.variables.filter(one => one.type === 'selection').map(one => [one.name, `only ${one.name}`])],
      selection, name => { selection = name; refresh(); }), logBox), content);

  async function refresh() {
    noteParameters({variable: variable.name, scale: log ? 'log' : '', selection});
    logBox.hidden = variable.type === 'text';
    const asked = variable;
    try {
      const told = await askJson('statistics',
        {...place, variable: variable.name, selection, bins: fine, scale: log && variable.type !== 'text' ? 'log' : ''}, signal);
      if (asked !== variable) return;
      const parts = [figures(told, variable)];
      if (told.comment?.trim()) parts.unshift(make('p', {class: 'comment'}, told.comment.trim()));
      if (variable.type === 'text') parts.push(textBars(told));
      else if (told.histogram) parts.push(picture(told, variable));
      else if (told.count > told.missing) parts.push(make('p', {}, 'No value is above 0: there is no logarithm.'));
      if (told.histogram?.log && told.positive < told.count - told.missing)
        parts.push(make('p', {class: 'note'}, `${count(told.count - told.missing - told.positive)} values are not above 0 and left out.`));
      content.replaceChildren(...parts);
    } catch (problem) {
      if (!signal.aborted) content.replaceChildren(make('p', {class: 'problem', role: 'alert'}, problem.message));
    }
  }
  await refresh();
}
