// Numbers as texts.

const grouped = new Intl.NumberFormat('en', {maximumFractionDigits: 0, useGrouping: true});
export const count = value => grouped.format(value);

const plain = text => text.includes('.') && !text.includes('e') ? text.replace(/\.?0+$/, '') : text;

// A value with the digits that its variable can hold: whole numbers up to 16 bits, lengths to the millimetre, 7 digits of 32
// bits and 10 of more.
export function number(value, variable) {
  if (value === null || value === undefined || Number.isNaN(value)) return '';
  if (variable.bits <= 16) return String(Math.round(value));
  if (typeof variable.decimals === 'number' && Math.abs(value) < 1e12) return value.toFixed(variable.decimals);
  const digits = variable.bits <= 32 ? 7 : 10;
  if (value !== 0 && (Math.abs(value) < 1e-5 || Math.abs(value) >= 1e12)) return value.toExponential(4);
  return plain(value.toPrecision(digits).includes('e') ? String(value) : value.toPrecision(digits));
}

// One that was computed, such as a mean, in four digits more or less.
export function rough(value) {
  if (value === null || value === undefined || !Number.isFinite(value)) return '';
  if (value !== 0 && (Math.abs(value) < 1e-4 || Math.abs(value) >= 1e7)) return value.toExponential(3);
  const digits = Math.max(0, 4 - Math.max(1, Math.ceil(Math.log10(Math.abs(value) + 1e-300))));
  return plain(value.toFixed(Math.min(8, digits)));
}

// Round numbers between two: 1, 2 or 5 times a power of ten apart, about so many.
export function ticks(low, high, wanted) {
  const raw = (high - low) / Math.max(1, wanted);
  if (!(raw > 0)) return [low];
  const power = 10 ** Math.floor(Math.log10(raw));
  const step = power * [1, 2, 5, 10].find(factor => factor * power >= raw);
  const all = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high + step * 1e-9; ++i) all.push(i * step + 0);
  return all;
}

// The tick as short as its distance to the others allows.
export function tickText(value, all) {
  const step = all.length > 1 ? Math.abs(all[1] - all[0]) : Math.abs(value) || 1;
  if (Math.abs(value) >= 1e7 || step < 1e-6) return value.toExponential(2);
  return value.toFixed(Math.max(0, Math.min(8, -Math.floor(Math.log10(step) + 1e-9))));
}

export const withUnit = variable => variable.unit ? `${variable.name} (${variable.unit})` : variable.name;

// "5 samples", "1 line".
export const counted = (size, word) => `${count(size)} ${word}${size === 1 ? '' : 's'}`;
