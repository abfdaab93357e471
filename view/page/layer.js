// A file in a scene: its samples and its objects.
import * as three from '/three.module.js';
import {askBundle, askClasses, askColumn, askJson} from './api.js';
import {colouring, distinctColour, paint, plainColour} from './colours.js';
import {count, counted, number} from './format.js';
import {blocks, dots, free, relief, rods, sheet, surface} from './shapes.js';

// Of more samples some are left out.
export const mostSamples = 1000000;

const faultColour = [200, 60, 50];
const flat = points => {
  const all = new Float32Array(3 * points.length);
  points.forEach((point, i) => all.set(point, 3 * i));
  return all;
};
const ordinal = value => `${value}${value % 10 === 2 && value !== 12 ? 'nd' : value % 10 === 3 && value !== 13 ? 'rd' : 'th'}`;

export class Layer {
  // `unit` is that of the scene's coordinates, `centre` its middle, which graphics cards need to be near.
  constructor(place, file, stage, {unit, centre}) {
    Object.assign(this, {place, file, stage, unit, centre});
    this.group = new three.Group();
    stage.world.add(this.group);
    this.shapes = {};
    this.notes = [];
    this.objects = {};
    this.shown = {samples: true, polygons: true, wireframes: true, faults: true};
    this.choice = {variable: '', colours: '', filter: '', size: 0, mode: '', level: 0, axis: 2, cutoff: null, height: '', opacity: 0.55};
    this.columns = new Map();
    this.bounds = new three.Box3();
  }

  get title() {
    return `${this.place.directory} › ${this.place.file}`;
  }

  dispose() {
    for (const name of Object.keys(this.shapes)) this.replace(name, []);
    this.stage.world.remove(this.group);
  }

  replace(name, shapes) {
    for (const shape of this.shapes[name] ?? []) free(shape);
    this.shapes[name] = shapes;
    for (const shape of shapes) this.group.add(shape);
    this.show();
  }

  show() {
    for (const [name, shapes] of Object.entries(this.shapes)) {
      const kind = name === 'traces' ? 'samples' : name;
      for (const shape of shapes) shape.visible = this.shown[kind] && this.visible !== false;
    }
    this.stage.draw();
  }

  variable(name) {
    return this.file.variables.find(one => one.name === name);
  }

  // The values of a variable as they are drawn: of texts the places of their labels.
  async column(name, signal, unit) {
    const key = `${name}\n${unit ?? ''}`;
    if (!this.columns.has(key)) {
      const asked = {...this.place, variable: name, every: this.every, unit};
      if (this.variable(name)?.type === 'text') {
        const {codes, labels} = await askClasses(asked, this.count, signal);
        this.columns.set(key, {labels, values: Float64Array.from(codes, code => code >= 65534 ? NaN : code)});
      } else {
        this.columns.set(key, {values: await askColumn(asked, signal)});
      }
    }
    return this.columns.get(key);
  }

  // Asks for all that does not depend on the choices.
  async load(signal) {
    const {file} = this;
    if (this.isGrid) this.placeGrid();
    else this.every = Math.max(1, Math.ceil(file.samples / mostSamples));
    this.count = this.isGrid ? this.nodes[0] * this.nodes[1] * this.nodes[2] : Math.ceil(file.samples / this.every);
    if (this.every > 1) this.notes.push(`${this.place.file}: every ${ordinal(this.every)} ${this.isGrid ? 'node along each axis' : `of ${count(file.samples)} samples`} is drawn.`);
    if (!this.isGrid && this.count) await this.loadPlaces(signal);
    for (const kind of file.objects) {
      try {
        await this[`load_${kind}`](signal);
      } catch (problem) {
        // A file that only looks as if it had wireframes refuses.
        if (signal.aborted || kind !== 'wireframes') throw problem;
      }
    }
  }

  get isGrid() {
    return Boolean(this.file.grid);
  }

  // Missing coordinates are nowhere.
  async loadPlaces(signal) {
    const read = names => Promise.all(names.map(name => this.column(name, signal, this.unit)));
    const {file} = this;
    const ends = file.ends.length >= 2 ? file.ends : file.coordinates;
    const [points, begins, lines] = await Promise.all([
      read(ends),
      file.begins.length >= 2 ? read(file.begins) : null,
      file.lines ? askJson('lines', this.place, signal) : null,
    ]);
    this.points = this.positions(points);
    this.begins = begins && this.positions(begins);
    this.lines = lines && {names: lines.names, starts: starts(lines.lengths)};
    for (const name of [...file.ends, ...file.coordinates, ...file.begins]) this.columns.delete(`${name}\n${this.unit}`);
    for (const positions of this.begins ? [this.begins, this.points] : [this.points]) this.extend(positions);
  }

  // Of 2D files z is set when all files of the scene are known.
  positions(columns) {
    this.centre.value ??= columns.map(({values}) => values.find(value => !Number.isNaN(value)) ?? 0);
    const all = new Float32Array(3 * this.count);
    columns.slice(0, 3).forEach(({values}, axis) => {
      const middle = this.centre.value[axis] ?? 0;
      for (let i = 0; i < this.count; ++i) all[3 * i + axis] = values[i] - middle;
    });
    return all;
  }

  at(point) {
    this.centre.value ??= [...point];
    return point.map((value, axis) => value - (this.centre.value[axis] ?? 0));
  }

  extend(positions) {
    const point = new three.Vector3();
    for (let i = 0; i < positions.length; i += 3) {
      point.set(positions[i], positions[i + 1], positions[i + 2]);
      if (point.x === point.x && point.y === point.y && point.z === point.z) this.bounds.expandByPoint(point);
    }
  }

  // Everything of a file without z is put to this height.
  setGround(z) {
    if (this.file.dimension === 3 || this.choice.height) return;
    this.group.position.z = z;
  }

  placeGrid() {
    const {origin, axes, nodes} = this.file.grid;
    const dimensions = nodes.filter(size => size > 1).length || 1;
    const all = nodes[0] * nodes[1] * nodes[2];
    this.every = 1;
    while (nodes.reduce((product, size) => product * Math.ceil(size / this.every), 1) > mostSamples && this.every < all) this.every += 1;
    this.nodes = nodes.map(size => Math.ceil(size / this.every));
    this.origin = this.at(origin.slice(0, this.file.dimension === 3 ? 3 : 2).concat(this.file.dimension === 3 ? [] : [this.centre.value?.[2] ?? 0]));
    this.ways = axes.map(way => way.map(part => part * this.every));
    // An axis with one node has no neighbour: its cell is as long as the others are.
    const length = way => Math.hypot(...way);
    const usual = Math.max(...this.ways.map(length)) || 1;
    const lone = this.ways.map(way => length(way) === 0);
    this.cells = this.ways.map((way, axis) => lone[axis] ? [0, 1, 2].map(i => i === axis ? usual : 0) : way);
    this.dimensions = dimensions;
    for (const corner of [0, 1, 2, 3, 4, 5, 6, 7])
      this.bounds.expandByPoint(new three.Vector3(...this.nodeAt(...this.nodes.map((size, axis) => corner >> axis & 1 ? size - 0.5 : -0.5),
        this.file.dimension === 3)));
  }

  // Places of nodes are counted from 0; halves are the edges of cells.
  nodeAt(i, j, k, thick = true) {
    const z = thick ? k : 0;
    return [0, 1, 2].map(axis => this.origin[axis] + i * this.cells[0][axis] + j * this.cells[1][axis] + z * this.cells[2][axis]);
  }

  nodeIndex(i, j, k) {
    return (i * this.nodes[1] + j) * this.nodes[2] + k;
  }

  // Which sample of the file the drawn one is, from 1.
  sampleOf(index) {
    if (!this.isGrid) return index * this.every + 1;
    const [, ny, nz] = this.nodes;
    const [i, j, k] = [Math.floor(index / nz / ny), Math.floor(index / nz) % ny, index % nz].map(place => place * this.every);
    return (i * this.file.grid.nodes[1] + j) * this.file.grid.nodes[2] + k + 1;
  }

  indexOf(sample) {
    if (!this.isGrid) return (sample - 1) % this.every ? -1 : (sample - 1) / this.every;
    const [, ny, nz] = this.file.grid.nodes;
    const places = [Math.floor((sample - 1) / nz / ny), Math.floor((sample - 1) / nz) % ny, (sample - 1) % nz];
    return places.some(place => place % this.every) ? -1 : this.nodeIndex(...places.map(place => place / this.every));
  }

  // Draws the samples as they are chosen; the legend is left in `legend`.
  async refresh(resources, signal) {
    const {choice} = this;
    const variable = this.variable(choice.variable);
    const told = variable ? await this.column(choice.variable, signal) : {values: new Float64Array(this.count)};
    const filter = choice.filter ? (await this.column(choice.filter, signal)).values : null;
    const heights = choice.height ? (await this.column(choice.height, signal, this.unit)).values : null;
    // Columns that are no longer drawn make room.
    for (const key of [...this.columns.keys()])
      if (![choice.variable, choice.filter, choice.height].includes(key.split('\n')[0])) this.columns.delete(key);
    const {colourOf, legend} = variable ? colouring(choice.colours, variable, told.values, told.labels, resources, value => number(value, variable))
      : {colourOf: () => this.plain, legend: null};
    this.values = told.values;
    this.labels = told.labels;
    this.colourOf = colourOf;
    this.hidden = filter ? i => filter[i] !== 1 : null;
    this.heights = heights;
    this.legend = legend && {...legend, title: variable.name, unit: variable.unit, variable, missing: told.values.some(Number.isNaN)};
    this.drawSamples();
  }

  drawSamples() {
    if (!this.count || this.file.objects.some(kind => kind !== 'faults' && this.objects[kind])) return;
    if (this.isGrid) {
      this.drawGrid();
      return;
    }
    const colours = paint(this.values, this.colourOf, this.hidden);
    for (let i = 0; i < this.count; ++i)
      if (Number.isNaN(this.points[3 * i]) || Number.isNaN(this.points[3 * i + 1]) || Number.isNaN(this.points[3 * i + 2])) colours[4 * i + 3] = 0;
    const size = (this.choice.size || 7) * this.stage.renderer.getPixelRatio();
    if (this.begins) {
      this.replace('samples', [rods(this.begins, this.points, colours, this.screen(), size)]);
      return;
    }
    const shape = dots(this.points, colours);
    shape.material.uniforms.size.value = size;
    this.replace('samples', [shape]);
    if (this.lines && this.every === 1 && !this.shapes.traces) this.drawTraces();
  }

  screen() {
    return this.stage.screen ??= new three.Vector2(1, 1);
  }

  setSize(size) {
    this.choice.size = size;
    const pixels = size * this.stage.renderer.getPixelRatio();
    for (const shape of this.shapes.samples ?? []) {
      const uniform = shape.material.uniforms?.[this.begins ? 'width' : 'size'];
      if (uniform) uniform.value = pixels;
    }
    this.stage.draw();
  }

  drawTraces() {
    const begins = [];
    const ends = [];
    for (let line = 0; line + 1 < this.lines.starts.length; ++line)
      for (let i = this.lines.starts[line]; i + 1 < this.lines.starts[line + 1]; ++i) {
        begins.push(i);
        ends.push(i + 1);
      }
    const pick = indices => {
      const all = new Float32Array(3 * indices.length);
      indices.forEach((index, i) => all.set(this.points.subarray(3 * index, 3 * index + 3), 3 * i));
      return all;
    };
    this.replace('traces', [this.strokes(pick(begins), pick(ends), () => plainColour, 1.5)]);
  }

  strokes(begins, ends, colourOf, width) {
    const size = begins.length / 3;
    const colours = new Uint8Array(4 * size);
    for (let i = 0; i < size; ++i) colours.set([...colourOf(i), 255], 4 * i);
    return rods(begins, ends, colours, this.screen(), width * this.stage.renderer.getPixelRatio());
  }

  drawGrid() {
    const {choice, nodes} = this;
    if (choice.mode === 'blocks') this.drawBlocks();
    else if (this.heights && nodes[2] === 1) this.drawRelief();
    else this.drawSlice(nodes[2] === 1 ? 2 : choice.axis);
  }

  drawSlice(axis) {
    const [a, b] = [0, 1, 2].filter(one => one !== axis);
    const level = Math.max(0, Math.min(this.nodes[axis] - 1, this.choice.level));
    const [across, down] = [this.nodes[a], this.nodes[b]];
    const place = (x, y) => {
      const at = [0, 0, 0];
      [at[a], at[b], at[axis]] = [x, y, level];
      return at;
    };
    this.slice = {axis, a, b, level};
    const colours = new Uint8Array(4 * across * down);
    for (let y = 0; y < down; ++y)
      for (let x = 0; x < across; ++x) {
        const index = this.nodeIndex(...place(x, y));
        const value = this.values[index];
        const colour = Number.isNaN(value) ? null : this.colourOf(value);
        if (colour && !this.hidden?.(index)) colours.set([colour[0], colour[1], colour[2], 255], 4 * (y * across + x));
      }
    const corner = (x, y) => this.nodeAt(...place(x, y), this.file.dimension === 3);
    this.replace('samples', [sheet([corner(-0.5, -0.5), corner(across - 0.5, -0.5), corner(across - 0.5, down - 0.5), corner(-0.5, down - 0.5)], across, down, colours)]);
  }

  // Blocks that others hide on all sides are not drawn.
  drawBlocks() {
    const [nx, ny, nz] = this.nodes;
    const {cutoff} = this.choice;
    const kept = new Uint8Array(this.count);
    for (let i = 0; i < this.count; ++i) kept[i] = !Number.isNaN(this.values[i]) && (cutoff === null || this.values[i] >= cutoff) && !this.hidden?.(i) ? 1 : 0;
    const drawn = [];
    for (let i = 0; i < nx; ++i)
      for (let j = 0; j < ny; ++j)
        for (let k = 0; k < nz; ++k) {
          const index = this.nodeIndex(i, j, k);
          if (!kept[index]) continue;
          const inside = i > 0 && j > 0 && k > 0 && i < nx - 1 && j < ny - 1 && k < nz - 1 && kept[index - 1] && kept[index + 1] &&
            kept[index - nz] && kept[index + nz] && kept[index - ny * nz] && kept[index + ny * nz];
          if (!inside) drawn.push(index);
        }
    this.drawn = drawn;
    const positions = new Float32Array(3 * drawn.length);
    drawn.forEach((index, i) => positions.set(this.nodeAt(...this.nodePlace(index)), 3 * i));
    const values = Float64Array.from(drawn, index => this.values[index]);
    this.replace('samples', [blocks(positions, this.cells, paint(values, this.colourOf))]);
  }

  nodePlace(index) {
    const [, ny, nz] = this.nodes;
    return [Math.floor(index / nz / ny), Math.floor(index / nz) % ny, index % nz];
  }

  drawRelief() {
    const [nx, ny] = this.nodes;
    const positions = new Float32Array(3 * this.count);
    const indices = [];
    const there = index => !Number.isNaN(this.heights[index]) && !this.hidden?.(index);
    const middle = this.centre.value?.[2] ?? 0;
    for (let i = 0; i < nx; ++i)
      for (let j = 0; j < ny; ++j) {
        const index = i * ny + j;
        const [x, y] = this.nodeAt(i, j, 0, false);
        positions.set([x, y, there(index) ? this.heights[index] - middle : 0], 3 * index);
        if (!i || !j) continue;
        const corners = [index, index - ny, index - ny - 1, index - 1];
        if (corners.every(there)) indices.push(corners[0], corners[1], corners[2], corners[0], corners[2], corners[3]);
        if (there(index)) this.bounds.expandByPoint(new three.Vector3(...positions.subarray(3 * index, 3 * index + 3)));
      }
    this.reliefPositions = positions;
    this.group.position.z = 0;
    this.replace('samples', [relief(positions, new Uint32Array(indices), paint(this.values, this.colourOf))]);
  }

  async load_polygons(signal) {
    const told = await askBundle({...this.place, kind: 'polygons', unit: this.unit}, all => 2 * all.contours.reduce((sum, one) => sum + one.vertices, 0), signal);
    const begins = [];
    const ends = [];
    const owner = [];
    const fills = [];
    const names = [...new Set(told.contours.map(one => one.polygon))];
    let next = 0;
    for (const contour of told.contours) {
      const xy = told.numbers.subarray(next, next += 2 * contour.vertices);
      const levels = this.file.dimension === 3 ? [...new Set(contour.z)].filter(z => Math.abs(z) < 1e300) : [this.centre.value?.[2] ?? 0];
      const colour = names.indexOf(contour.polygon);
      for (const z of levels.length ? levels : [0]) {
        const ring = Array.from({length: contour.vertices}, (_, i) => this.at([xy[2 * i], xy[2 * i + 1], z]));
        ring.forEach((point, i) => {
          begins.push(point);
          ends.push(ring[(i + 1) % ring.length]);
          owner.push(colour);
        });
        const faces = ring.length <= 20000 ? three.ShapeUtils.triangulateShape(ring.map(([x, y]) => new three.Vector2(x, y)), []) : [];
        if (faces.length) fills.push(surface(flat(ring), new Uint32Array(faces.flat()), distinctColour(colour), 0.14));
      }
    }
    this.extend(flat(begins));
    this.objects.polygons = counted(names.length, 'polygon');
    this.replace('polygons', [...fills, this.strokes(flat(begins), flat(ends), i => distinctColour(owner[i]), 3)]);
    this.legendOfObjects = names.map((label, i) => ({label, colour: distinctColour(i)}));
  }

  async load_wireframes(signal) {
    const told = await askBundle({...this.place, kind: 'wireframes', unit: this.unit}, all => 3 * all.pieces.reduce((sum, one) => sum + one.vertices, 0), signal);
    const shapes = [];
    let vertex = 0;
    let corner = 0;
    for (const piece of told.pieces) {
      const positions = new Float32Array(3 * piece.vertices);
      for (let i = 0; i < piece.vertices; ++i)
        positions.set(this.at([...told.numbers.subarray(vertex + 3 * i, vertex + 3 * i + 3)]), 3 * i);
      vertex += 3 * piece.vertices;
      const indices = told.indices.slice(corner, corner += 3 * piece.triangles);
      this.extend(positions);
      shapes.push(surface(positions, indices, piece.colour, this.choice.opacity));
    }
    const names = new Map(told.pieces.map(piece => [piece.name, piece.colour]));
    this.objects.wireframes = counted(names.size, 'wireframe');
    this.legendOfObjects = [...names].map(([label, colour]) => ({label, colour}));
    this.replace('wireframes', shapes);
  }

  setOpacity(opacity) {
    this.choice.opacity = opacity;
    for (const shape of this.shapes.wireframes ?? [])
      Object.assign(shape.material, {opacity, transparent: opacity < 1, depthWrite: opacity >= 1, needsUpdate: true});
    this.stage.draw();
  }

  async load_faults(signal) {
    const told = await askBundle({...this.place, kind: 'faults', unit: this.unit}, all => (all.dimension === 2 ? 6 : 9) * all.faults.reduce((sum, one) => sum + one.segments, 0), signal);
    const middle = this.centre.value?.[2] ?? 0;
    const points = [];
    for (let i = 0; i < told.numbers.length; i += 3)
      points.push(this.at([told.numbers[i], told.numbers[i + 1], told.dimension === 3 ? told.numbers[i + 2] : middle]));
    this.extend(flat(points));
    this.objects.faults = counted(told.faults.length, 'fault');
    if (told.dimension === 2) {
      const half = parity => flat(points.filter((_, i) => i % 2 === parity));
      this.replace('faults', [this.strokes(half(0), half(1), () => faultColour, 3)]);
    } else {
      this.replace('faults', [surface(flat(points), Uint32Array.from(points.keys()), faultColour, 0.6)]);
    }
  }

  // The drawn sample next to a place of the picture and nearest to who looks, with its distance in depth; nothing if there
  // is none.
  pick(x, y) {
    if (!this.shapes.samples?.length || !this.shapes.samples[0].visible) return null;
    const rows = this.stage.projection();
    const lift = this.group.position.z;
    const project = (px, py, pz, row) => row[0] * px + row[1] * py + row[2] * (pz + lift) + row[3];
    if (this.isGrid && this.choice.mode !== 'blocks' && !(this.heights && this.nodes[2] === 1)) return this.pickSlice(x, y, rows, lift);
    const near = Math.max(6, (this.choice.size || 7) / 2 + 2);
    let best = null;
    const offer = (index, distance, depth) => {
      if (distance <= near && depth >= -1 && depth <= 1 && (!best || depth < best.depth - 1e-4 || (Math.abs(depth - best.depth) <= 1e-4 && distance < best.distance)))
        best = {index, distance, depth};
    };
    const points = this.isGrid ? null : this.points;
    const size = this.isGrid ? (this.choice.mode === 'blocks' ? this.drawn.length : this.count) : this.count;
    for (let n = 0; n < size; ++n) {
      const index = this.isGrid && this.choice.mode === 'blocks' ? this.drawn[n] : n;
      if (this.hidden?.(index)) continue;
      const at = points ? points.subarray(3 * index, 3 * index + 3)
        : this.choice.mode === 'blocks' ? this.nodeAt(...this.nodePlace(index)) : this.reliefPositions.subarray(3 * index, 3 * index + 3);
      const px = project(at[0], at[1], at[2], rows[0]);
      const py = project(at[0], at[1], at[2], rows[1]);
      let distance = Math.hypot(px - x, py - y);
      if (this.begins) {
        const bx = project(this.begins[3 * index], this.begins[3 * index + 1], this.begins[3 * index + 2], rows[0]);
        const by = project(this.begins[3 * index], this.begins[3 * index + 1], this.begins[3 * index + 2], rows[1]);
        const [wx, wy] = [px - bx, py - by];
        const part = Math.max(0, Math.min(1, ((x - bx) * wx + (y - by) * wy) / (wx * wx + wy * wy || 1)));
        distance = Math.hypot(bx + part * wx - x, by + part * wy - y);
      }
      if (distance <= near) offer(index, distance, project(at[0], at[1], at[2], rows[2]));
    }
    return best;
  }

  // Where the line of sight meets the plane of cells.
  pickSlice(x, y, rows, lift) {
    const {a, b, axis, level} = this.slice;
    const base = [0, 0, 0];
    base[axis] = level;
    const origin = this.nodeAt(...base, this.file.dimension === 3);
    origin[2] += lift;
    const seen = (row, point, shift) => row[0] * point[0] + row[1] * point[1] + row[2] * point[2] + (shift ? row[3] : 0);
    const [ua, ub] = [this.cells[a], this.cells[b]];
    const [m00, m01, m10, m11] = [seen(rows[0], ua), seen(rows[0], ub), seen(rows[1], ua), seen(rows[1], ub)];
    const whole = m00 * m11 - m01 * m10;
    if (Math.abs(whole) < 1e-9) return null;
    const [dx, dy] = [x - seen(rows[0], origin, true), y - seen(rows[1], origin, true)];
    const at = [0, 0, 0];
    at[a] = Math.round((dx * m11 - dy * m01) / whole);
    at[b] = Math.round((dy * m00 - dx * m10) / whole);
    at[axis] = level;
    if (at.some((place, i) => place < 0 || place >= this.nodes[i])) return null;
    const index = this.nodeIndex(...at);
    if (Number.isNaN(this.values[index]) || this.hidden?.(index)) return null;
    return {index, distance: 0, depth: seen(rows[2], this.nodeAt(...at, this.file.dimension === 3).map((v, i) => i === 2 ? v + lift : v), true)};
  }

  // Where a drawn sample is, for the mark.
  placeOf(index) {
    let at;
    if (!this.isGrid) {
      at = [...this.points.subarray(3 * index, 3 * index + 3)];
      if (this.begins) at = at.map((value, axis) => (value + this.begins[3 * index + axis]) / 2);
    } else if (this.heights && this.nodes[2] === 1) {
      at = [...this.reliefPositions.subarray(3 * index, 3 * index + 3)];
    } else {
      at = this.nodeAt(...this.nodePlace(index), this.file.dimension === 3);
    }
    return {x: at[0], y: at[1], z: at[2] + this.group.position.z};
  }

  // The line of a sample and how far along it the sample begins and ends.
  lineOf(index) {
    if (!this.lines || this.every > 1) return null;
    const {names, starts: from} = this.lines;
    let line = 0;
    let beyond = names.length;
    while (beyond - line > 1) {
      const middle = (line + beyond) >> 1;
      if (from[middle] <= index) line = middle;
      else beyond = middle;
    }
    const length = (p, i, q, j) => Math.hypot(p[3 * i] - q[3 * j], p[3 * i + 1] - q[3 * j + 1], p[3 * i + 2] - q[3 * j + 2]);
    let depth = 0;
    for (let i = from[line]; i < index; ++i)
      depth += this.begins ? length(this.begins, i, this.points, i) : length(this.points, i, this.points, i + 1);
    return {name: names[line], from: depth, to: this.begins ? depth + length(this.begins, index, this.points, index) : depth};
  }
}

function starts(lengths) {
  const all = [0];
  for (const size of lengths) all.push(all[all.length - 1] + size);
  return all;
}
