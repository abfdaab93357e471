// From values to colours: the database's scales and palettes, or ramps of even steps for the eye.

export const missingColour = [150, 150, 150];
export const plainColour = [120, 120, 120];

// A colour of the space OKLab (Ottosson 2020) in sRGB, 0 to 1; beyond that it can't be shown.
function linear(lightness, a, b) {
  const l = (lightness + 0.3963377774 * a + 0.2158037573 * b) ** 3;
  const m = (lightness - 0.1055613458 * a - 0.0638541728 * b) ** 3;
  const s = (lightness - 0.0894841775 * a - 1.291485548 * b) ** 3;
  return [
    4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s,
    -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s,
    -0.0041960863 * l - 0.7034186147 * m + 1.707614701 * s,
  ];
}

// By lightness, chroma and hue in degrees; the chroma shrinks until the screen can show it.
export function polar(lightness, chroma, hue) {
  const [x, y] = [Math.cos(hue * Math.PI / 180), Math.sin(hue * Math.PI / 180)];
  const fits = c => linear(lightness, c * x, c * y).every(part => part >= -1e-4 && part <= 1.0001);
  let [inside, outside] = [0, chroma];
  if (fits(chroma)) inside = chroma;
  else for (let i = 0; i < 20; ++i) {
    const middle = (inside + outside) / 2;
    if (fits(middle)) inside = middle;
    else outside = middle;
  }
  return linear(lightness, inside * x, inside * y).map(part => {
    const value = Math.min(1, Math.max(0, part));
    return Math.round(255 * (value <= 0.0031308 ? 12.92 * value : 1.055 * value ** (1 / 2.4) - 0.055));
  });
}

// Lightness grows evenly, from violet over green to yellow, so that equal steps look equal, in grey too.
const ramp = Array.from({length: 256}, (_, i) => {
  const part = i / 255;
  return polar(0.32 + 0.6 * part, 0.14, 300 - 195 * part);
});

// Colours for things that have no order: hues as far from each other as can be.
export const distinctColour = i => polar(i % 2 ? 0.6 : 0.74, 0.15, (25 + i * 137.508) % 360);

const palettesFor = resources => new Map(resources.palettes.map(one => [one.name, one.colours]));

export function colourChoices(resources) {
  return [['', 'Default'],
    ...resources.scales.map(one => [`scale:${one.name}`, `Scale ${one.name}`]),
    ...resources.palettes.filter(one => one.colours.length).map(one => [`palette:${one.name}`, `Palette ${one.name}`])];
}

function extremes(values) {
  let low = Infinity;
  let high = -Infinity;
  for (const value of values) {
    if (value < low) low = value;
    if (value > high) high = value;
  }
  return low <= high ? [low, high] : null;
}

// Where most values lie: a few far out would make all others look alike.
function usualRange(values) {
  const all = extremes(values);
  if (!all) return null;
  const step = Math.max(1, Math.floor(values.length / 50000));
  const some = [];
  for (let i = 0; i < values.length; i += step) if (!Number.isNaN(values[i])) some.push(values[i]);
  const sorted = Float64Array.from(some).sort();
  const at = part => sorted[Math.min(sorted.length - 1, Math.floor(part * sorted.length))];
  const [low, high] = [at(0.02), at(0.98)];
  return low < high ? {low, high, cutLow: low > all[0], cutHigh: high < all[1]} : {low: all[0], high: all[1]};
}

// `colourOf` gives a colour for a value, nothing for one that has none; the legend tells the same.
function even(colours, {low, high, cutLow, cutHigh}) {
  const scale = high > low ? colours.length / (high - low) : 0;
  return {
    colourOf: value => colours[Math.max(0, Math.min(colours.length - 1, Math.floor((value - low) * scale)))],
    legend: {kind: 'ramp', low, high, cutLow, cutHigh, colours},
  };
}

function classes(entries) {
  const byValue = new Map(entries.map(entry => [entry.value, entry.colour]));
  return {colourOf: value => byValue.get(value), legend: {kind: 'classes', entries}};
}

function intervals(parts) {
  return {
    // The last interval has its end, the others all but that; one that begins and ends at a value is that value.
    colourOf: value => parts.find((one, i) => value >= one.from &&
      (value < one.to || (value === one.to && (one.from === one.to || one.closed || i === parts.length - 1))))?.colour,
    legend: {kind: 'classes', entries: parts},
  };
}

// As many colours as there are classes, from all over the palette.
const spread = (colours, wanted) => Array.from({length: wanted}, (_, i) =>
  colours[Math.min(colours.length - 1, Math.floor((i + 0.5) * colours.length / wanted))]);

function ofScale(scale, palettes, values, text) {
  const palette = palettes.get(scale.palette) ?? ramp;
  const colourAt = i => palette[Math.max(0, Math.min(palette.length - 1, i))];
  if (scale.kind === 'manual' && scale.bounds.length > 1)
    return intervals(scale.indices.map((place, i) => ({
      from: scale.bounds[i], to: scale.bounds[i + 1], colour: colourAt(place), label: `${text(scale.bounds[i])} to ${text(scale.bounds[i + 1])}`})));
  if (scale.kind === 'facies' && scale.intervals.length)
    return intervals(scale.intervals.map(([from, to, place]) => {
      const one = scale.facies[place];
      return {from, to, closed: true, colour: one?.colour ?? missingColour, label: one?.label || `${text(from)} to ${text(to)}`};
    }));
  const [low, high] = extremes(values) ?? [0, 1];
  return even(spread(palette, Math.max(1, Math.min(scale.classes, 256))), {low, high});
}

// How a variable is coloured. `choice` is one of colourChoices; `labels` are those of a text, whose values are their places.
export function colouring(choice, variable, values, labels, resources, text) {
  const palettes = palettesFor(resources);
  const [kind, name] = [choice.slice(0, choice.indexOf(':')), choice.slice(choice.indexOf(':') + 1)];
  const palette = kind === 'palette' ? palettes.get(name) : null;
  const own = i => palette?.length ? palette[i % palette.length] : distinctColour(i);
  if (labels) return classes(labels.map((label, value) => ({value, label, colour: own(value)})));
  const scale = kind === 'scale' && resources.scales.find(one => one.name === name);
  if (scale) return ofScale(scale, palettes, values, text);
  if (variable.type === 'selection')
    return classes([{value: 1, label: 'selected', colour: polar(0.68, 0.16, 60)}, {value: 0, label: 'not selected', colour: polar(0.5, 0.05, 260)}]);
  if (variable.bits <= 8) {
    const found = [...new Set(values)].filter(value => !Number.isNaN(value)).sort((a, b) => a - b);
    if (found.length <= 16) return classes(found.map((value, i) => ({value, label: text(value), colour: own(i)})));
  }
  return even(palette?.length ? palette : ramp, usualRange(values) ?? {low: 0, high: 1});
}

// Colours of samples as bytes: red, green, blue, and 0 for what isn't drawn.
export function paint(values, colourOf, hidden) {
  const bytes = new Uint8Array(4 * values.length);
  for (let i = 0; i < values.length; ++i) {
    const value = values[i];
    const colour = (Number.isNaN(value) ? null : colourOf(value)) ?? missingColour;
    bytes[4 * i] = colour[0];
    bytes[4 * i + 1] = colour[1];
    bytes[4 * i + 2] = colour[2];
    bytes[4 * i + 3] = hidden?.(i) ? 0 : 255;
  }
  return bytes;
}
