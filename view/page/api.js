// Asking the program behind the page.

// What was asked for can't be had; asking again won't help.
export class Refusal extends Error {
  constructor(text, status) {
    super(text);
    this.status = status;
  }
}

const banner = document.getElementById('banner');
let lost = false;

function tellLost(text) {
  lost = true;
  banner.textContent = `${text} Trying again…`;
  banner.className = 'lost';
  banner.hidden = false;
}

function tellFound() {
  if (!lost) return;
  lost = false;
  banner.textContent = 'The server is back.';
  banner.className = 'found';
  setTimeout(() => { banner.hidden = !lost; }, 3000);
}

const pause = (time, signal) => new Promise((resolve, reject) => {
  const timer = setTimeout(resolve, time);
  signal?.addEventListener('abort', () => {
    clearTimeout(timer);
    reject(signal.reason);
  }, {once: true});
});

function urlOf(name, parameters) {
  const words = new URLSearchParams();
  for (const [key, value] of Object.entries(parameters))
    for (const one of Array.isArray(value) ? value : [value])
      if (one !== undefined && one !== null && one !== '') words.append(key, one);
  return `/api/${name}?${words}`;
}

// Asks until there is an answer: a server that goes away comes back.
async function ask(name, parameters, signal, read) {
  for (let time = 500; ; time = Math.min(5000, time * 1.5)) {
    try {
      const response = await fetch(urlOf(name, parameters), {signal});
      if (response.ok) {
        const answer = await read(response);
        tellFound();
        return answer;
      }
      const {error} = await response.json();
      if (response.status !== 503) throw new Refusal(error, response.status);
      tellLost(`The server of the database has gone away: ${error.split('\n')[0]}.`);
    } catch (problem) {
      if (problem instanceof Refusal || signal?.aborted) throw problem;
      tellLost('The program qrd view can’t be reached.');
    }
    await pause(time, signal);
  }
}

export const askJson = (name, parameters, signal) => ask(name, parameters, signal, response => response.json());

export const askBytes = (name, parameters, signal) => ask(name, parameters, signal, response => response.arrayBuffer());

export async function askColumn(parameters, signal) {
  return new Float64Array(await askBytes('column', parameters, signal));
}

// The classes of the samples of a text, and what they are called.
export async function askClasses(parameters, count, signal) {
  const bytes = await askBytes('classes', parameters, signal);
  const labels = JSON.parse(new TextDecoder().decode(new Uint8Array(bytes, 2 * count)));
  return {codes: new Uint16Array(bytes, 0, count), labels};
}

// A description with arrays behind it.
export async function askBundle(parameters, numbersOf, signal) {
  const bytes = await askBytes('objects', parameters, signal);
  const size = new DataView(bytes).getUint32(0, true);
  const told = JSON.parse(new TextDecoder().decode(new Uint8Array(bytes, 4, size)));
  const count = numbersOf(told);
  told.numbers = new Float64Array(bytes, 4 + size, count);
  told.indices = new Uint32Array(bytes, 4 + size + 8 * count);
  return told;
}
