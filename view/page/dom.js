// Making elements.

// make('p', {class: 'x', onclick: act}, 'text', child): what begins with "on" is a listener.
export function make(name, attributes = {}, ...children) {
  const space = ['svg', 'g', 'path', 'rect', 'line', 'text', 'title'].includes(name) && attributes.svg !== false;
  const element = space ? document.createElementNS('http://www.w3.org/2000/svg', name) : document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false || key === 'svg') continue;
    if (key.startsWith('on')) element.addEventListener(key.slice(2), value);
    else element.setAttribute(key, value === true ? '' : value);
  }
  element.append(...children.filter(child => child !== null && child !== undefined && child !== false));
  return element;
}

// A labelled choice; `options` are texts or [value, text].
export function choice(label, options, value, change) {
  const select = make('select', {onchange: () => change(select.value)});
  for (const one of options) {
    const [key, text] = Array.isArray(one) ? one : [one, one];
    select.append(make('option', {value: key, selected: key === value}, text));
  }
  return make('label', {class: 'field'}, make('span', {}, label), select);
}

export function slider(label, {min, max, step, value}, change) {
  const input = make('input', {type: 'range', min, max, step, value, oninput: () => change(Number(input.value))});
  return make('label', {class: 'field'}, make('span', {}, label), input);
}

export function checkbox(label, checked, change) {
  const input = make('input', {type: 'checkbox', checked, onchange: () => change(input.checked)});
  return make('label', {class: 'check'}, input, label);
}
