// Where a scene is drawn: camera, light, what the mouse and the keys do, north arrow and scale bar.
//
// The camera has no perspective, so that lengths can be measured everywhere. Z is up.
import * as three from '/three.module.js';
import {make} from './dom.js';
import {tickText} from './format.js';

const radians = Math.PI / 180;
export const looks = {
  spatial: {azimuth: 30, elevation: 28},
  plan: {azimuth: 0, elevation: 90},
  north: {azimuth: 0, elevation: 0},
  east: {azimuth: 90, elevation: 0},
};

export class Stage {
  constructor(place, {onclick, onmove}) {
    this.canvas = make('canvas', {tabindex: 0, 'aria-label': 'Scene: drag to turn, shift and drag to shift, wheel to zoom'});
    this.arrows = make('canvas', {class: 'arrows', width: 176, height: 176, 'aria-hidden': 'true'});
    this.bar = make('div', {class: 'scale'}, make('span'));
    this.marker = make('div', {class: 'marker', hidden: true});
    this.box = make('div', {class: 'stage'}, this.canvas, this.arrows, this.bar, this.marker);
    place.append(this.box);
    this.unit = '';
    this.onclick = onclick;
    this.onmove = onmove;
    this.view = {...looks.spatial, target: new three.Vector3(), span: 100};
    this.exaggeration = 1;
    this.slab = 0;
    this.radius = 100;
    this.bounds = new three.Box3();
    this.marked = null;

    const context = this.canvas.getContext('webgl2', {antialias: true, preserveDrawingBuffer: true});
    if (!context) throw new Error('This browser has no WebGL 2, which the scene needs.');
    this.renderer = new three.WebGLRenderer({canvas: this.canvas, context});
    this.renderer.setPixelRatio(Math.min(2, window.devicePixelRatio));
    this.scene = new three.Scene();
    // Everything in world coordinates hangs here; its scale is the vertical exaggeration.
    this.world = new three.Group();
    this.scene.add(this.world, new three.HemisphereLight(0xffffff, 0x8a8a8a, 0.75));
    this.sun = new three.DirectionalLight(0xffffff, 0.5);
    this.camera = new three.OrthographicCamera(-1, 1, 1, -1, 0, 1);
    this.scene.add(this.sun);
    this.listen();
    this.resized = new ResizeObserver(() => this.resize());
    this.resized.observe(this.box);
    this.dark = window.matchMedia('(prefers-color-scheme: dark)');
    this.darkened = () => this.draw();
    this.dark.addEventListener('change', this.darkened);
  }

  dispose() {
    this.resized.disconnect();
    this.dark.removeEventListener('change', this.darkened);
    this.renderer.dispose();
    // Browsers have few contexts, and keep one until the garbage is collected.
    this.renderer.forceContextLoss();
  }

  listen() {
    const {canvas} = this;
    let drag = null;
    canvas.addEventListener('contextmenu', event => event.preventDefault());
    canvas.addEventListener('pointerdown', event => {
      canvas.setPointerCapture(event.pointerId);
      drag = {x: event.clientX, y: event.clientY, moved: 0, pans: event.button !== 0 || event.shiftKey};
    });
    canvas.addEventListener('pointermove', event => {
      if (!drag) return;
      const [dx, dy] = [event.clientX - drag.x, event.clientY - drag.y];
      drag.moved += Math.abs(dx) + Math.abs(dy);
      if (drag.moved < 4) return;
      [drag.x, drag.y] = [event.clientX, event.clientY];
      if (drag.pans) this.pan(-dx, dy);
      else this.turn(dx * 0.4, dy * 0.4);
    });
    canvas.addEventListener('pointerup', event => {
      if (drag && drag.moved < 4) this.onclick(event.offsetX, event.offsetY);
      drag = null;
    });
    canvas.addEventListener('wheel', event => {
      event.preventDefault();
      this.zoom(1.0015 ** Math.max(-300, Math.min(300, event.deltaY)), event.offsetX, event.offsetY);
    }, {passive: false});
    canvas.addEventListener('keydown', event => {
      if (event.ctrlKey || event.metaKey || event.altKey) return;
      const acts = {
        ArrowLeft: shift => shift ? this.pan(-40, 0) : this.turn(8, 0),
        ArrowRight: shift => shift ? this.pan(40, 0) : this.turn(-8, 0),
        ArrowUp: shift => shift ? this.pan(0, 40) : this.turn(0, 8),
        ArrowDown: shift => shift ? this.pan(0, -40) : this.turn(0, -8),
        '+': () => this.zoom(1 / 1.2), '-': () => this.zoom(1.2),
        3: () => this.look('spatial'), p: () => this.look('plan'), n: () => this.look('north'), e: () => this.look('east'),
        f: () => this.fit(),
      };
      if (!acts[event.key]) return;
      event.preventDefault();
      acts[event.key](event.shiftKey);
    });
  }

  // Directions of the picture: to the right, up, and away from who looks.
  axes() {
    const [a, e] = [this.view.azimuth * radians, this.view.elevation * radians];
    return {
      right: new three.Vector3(Math.cos(a), -Math.sin(a), 0),
      up: new three.Vector3(Math.sin(a) * Math.sin(e), Math.cos(a) * Math.sin(e), Math.cos(e)),
      ahead: new three.Vector3(Math.sin(a) * Math.cos(e), Math.cos(a) * Math.cos(e), -Math.sin(e)),
    };
  }

  get perPixel() {
    return this.view.span / Math.max(1, this.canvas.clientHeight);
  }

  pan(right, up) {
    const axes = this.axes();
    this.view.target.addScaledVector(axes.right, right * this.perPixel).addScaledVector(axes.up, up * this.perPixel);
    this.changed();
  }

  turn(azimuth, elevation) {
    this.view.azimuth = (this.view.azimuth + azimuth + 720) % 360;
    this.view.elevation = Math.max(-90, Math.min(90, this.view.elevation + elevation));
    this.changed();
  }

  // What is under the mouse stays there.
  zoom(factor, x = this.canvas.clientWidth / 2, y = this.canvas.clientHeight / 2) {
    const [right, up] = [x - this.canvas.clientWidth / 2, this.canvas.clientHeight / 2 - y];
    this.view.span = Math.min(this.radius * 100, Math.max(this.radius * 1e-5, this.view.span * factor));
    this.pan(right * (1 / factor - 1), up * (1 / factor - 1));
  }

  look(name) {
    Object.assign(this.view, looks[name]);
    this.fit();
  }

  exaggerate(factor) {
    this.view.target.z *= factor / this.exaggeration;
    this.exaggeration = factor;
    this.measure();
    this.changed();
  }

  setBounds(bounds) {
    this.bounds = bounds;
    this.measure();
  }

  measure() {
    const box = this.scaledBounds();
    this.radius = Math.max(1e-6, box.getSize(new three.Vector3()).length() / 2);
    this.marked && this.mark(this.marked);
  }

  scaledBounds() {
    const box = this.bounds.isEmpty() ? new three.Box3(new three.Vector3(-1, -1, -1), new three.Vector3(1, 1, 1)) : this.bounds.clone();
    box.min.z *= this.exaggeration;
    box.max.z *= this.exaggeration;
    return box;
  }

  // Shows all that is in the bounds.
  fit() {
    const box = this.scaledBounds();
    const {right, up} = this.axes();
    const size = box.getSize(new three.Vector3());
    const extent = way => Math.abs(way.x) * size.x + Math.abs(way.y) * size.y + Math.abs(way.z) * size.z;
    const shape = Math.max(0.1, this.canvas.clientWidth / Math.max(1, this.canvas.clientHeight));
    box.getCenter(this.view.target);
    this.view.span = Math.max(extent(up), extent(right) / shape, this.radius * 1e-3) * 1.15;
    this.changed();
  }

  changed() {
    this.draw();
    this.onmove();
  }

  resize() {
    const {clientWidth, clientHeight} = this.box;
    if (!clientWidth || !clientHeight) return;
    this.renderer.setSize(clientWidth, clientHeight, false);
    this.draw();
  }

  // Marks a point of the world, or none.
  mark(point) {
    this.marked = point;
    this.draw();
  }

  // Where a point of the world is in the picture.
  project(point) {
    const at = new three.Vector3(point.x, point.y, point.z * this.exaggeration).project(this.camera);
    return {x: (at.x + 1) / 2 * this.canvas.clientWidth, y: (1 - at.y) / 2 * this.canvas.clientHeight, z: at.z};
  }

  // From world to pixels and depth, as a matrix for many points: x, y, z of the result are rows of 4.
  projection() {
    this.place();
    const matrix = new three.Matrix4().multiplyMatrices(this.camera.projectionMatrix, this.camera.matrixWorldInverse)
      .scale(new three.Vector3(1, 1, this.exaggeration)).elements;
    const [w, h] = [this.canvas.clientWidth / 2, this.canvas.clientHeight / 2];
    const row = (i, scale, shift) => [matrix[i] * scale, matrix[i + 4] * scale, matrix[i + 8] * scale, matrix[i + 12] * scale + shift];
    return [row(0, w, w), row(1, -h, h), row(2, 1, 0)];
  }

  place() {
    const {camera, view} = this;
    const {up, ahead} = this.axes();
    const shape = this.canvas.clientWidth / Math.max(1, this.canvas.clientHeight);
    camera.top = view.span / 2;
    camera.bottom = -camera.top;
    camera.right = camera.top * shape;
    camera.left = -camera.right;
    const far = this.radius * 4 + view.target.distanceTo(this.scaledBounds().getCenter(new three.Vector3()));
    camera.position.copy(view.target).addScaledVector(ahead, -far);
    // Only what is so near to the middle, if a section is wanted.
    camera.near = this.slab ? far - this.slab / 2 : 0;
    camera.far = this.slab ? far + this.slab / 2 : 2 * far;
    camera.up.copy(up);
    camera.lookAt(view.target);
    camera.updateProjectionMatrix();
    camera.updateMatrixWorld();
    this.world.scale.set(1, 1, this.exaggeration);
    this.sun.position.copy(view.target).addScaledVector(ahead, -far).addScaledVector(up, far * 0.5);
    this.sun.target = this.world;
  }

  draw() {
    if (this.drawing) return;
    this.drawing = requestAnimationFrame(() => {
      this.drawing = 0;
      this.place();
      const style = getComputedStyle(this.box);
      this.renderer.setClearColor(new three.Color(style.backgroundColor), 1);
      this.screen ??= new three.Vector2();
      this.renderer.getDrawingBufferSize(this.screen);
      this.renderer.render(this.scene, this.camera);
      this.drawArrows(style.color);
      this.drawBar();
      this.marker.hidden = !this.marked;
      if (this.marked) {
        const at = this.project(this.marked);
        this.marker.style.transform = `translate(${at.x}px, ${at.y}px)`;
      }
      this.ondrawn?.();
    });
  }

  drawArrows(colour) {
    const paper = this.arrows.getContext('2d');
    const size = this.arrows.width;
    const {right, up} = this.axes();
    paper.clearRect(0, 0, size, size);
    paper.lineWidth = 4;
    paper.lineCap = 'round';
    paper.font = '600 26px system-ui, sans-serif';
    paper.textAlign = 'center';
    paper.textBaseline = 'middle';
    const middle = size / 2;
    for (const [name, way] of [['E', new three.Vector3(1, 0, 0)], ['Z', new three.Vector3(0, 0, 1)], ['N', new three.Vector3(0, 1, 0)]]) {
      const [x, y] = [way.dot(right), -way.dot(up)];
      const length = Math.hypot(x, y);
      if (length < 0.05) continue;
      paper.strokeStyle = paper.fillStyle = name === 'N' ? '#d1493f' : colour;
      paper.globalAlpha = name === 'N' ? 1 : 0.65;
      const [tipX, tipY] = [middle + x * 54, middle + y * 54];
      paper.beginPath();
      paper.moveTo(middle, middle);
      paper.lineTo(tipX, tipY);
      paper.stroke();
      const [ux, uy] = [x / length, y / length];
      paper.beginPath();
      paper.moveTo(tipX + ux * 10, tipY + uy * 10);
      paper.lineTo(tipX - ux * 8 - uy * 8, tipY - uy * 8 + ux * 8);
      paper.lineTo(tipX - ux * 8 + uy * 8, tipY - uy * 8 - ux * 8);
      paper.fill();
      paper.fillText(name, tipX + ux * 24, tipY + uy * 24);
    }
    paper.globalAlpha = 1;
  }

  drawBar() {
    const most = this.perPixel * 180;
    const power = 10 ** Math.floor(Math.log10(most));
    const length = power * [5, 2, 1].find(factor => factor * power <= most);
    this.bar.firstChild.textContent = `${tickText(length, [0, length])} ${this.unit}`;
    this.bar.style.width = `${length / this.perPixel}px`;
  }
}
