// What is drawn of a file. Each shape is one draw call, whatever its number of samples, and takes its colours as four bytes
// a sample; the fourth is 0 for what is hidden.
import * as three from '/three.module.js';

const bytes = (array, size) => new three.InstancedBufferAttribute(array, size, true);

// Round dots of a size in pixels, shaded as balls.
export function dots(positions, colours) {
  const geometry = new three.BufferGeometry();
  geometry.setAttribute('position', new three.BufferAttribute(positions, 3));
  geometry.setAttribute('tint', new three.BufferAttribute(colours, 4, true));
  const material = new three.ShaderMaterial({
    uniforms: {size: {value: 6}},
    vertexShader: `
      attribute vec4 tint;
      uniform float size;
      varying vec3 shown;
      void main() {
        shown = tint.rgb;
        gl_Position = tint.a < 0.5 ? vec4(2.0, 2.0, 2.0, 1.0) : projectionMatrix * modelViewMatrix * vec4(position, 1.0);
        gl_PointSize = size;
      }`,
    fragmentShader: `
      varying vec3 shown;
      void main() {
        vec2 at = gl_PointCoord * 2.0 - 1.0;
        float away = dot(at, at);
        if (away > 1.0) discard;
        gl_FragColor = vec4(shown * (0.6 + 0.4 * sqrt(1.0 - away)), 1.0);
      }`,
  });
  const shape = new three.Points(geometry, material);
  shape.frustumCulled = false;
  return shape;
}

// Lines of a width in pixels from `begins` to `ends`, shaded as rods.
export function rods(begins, ends, colours, screen, width) {
  const geometry = new three.InstancedBufferGeometry();
  geometry.setAttribute('position', new three.BufferAttribute(new Float32Array([0, -1, 0, 1, -1, 0, 1, 1, 0, 0, 1, 0]), 3));
  geometry.setIndex([0, 1, 2, 0, 2, 3]);
  geometry.setAttribute('begin', new three.InstancedBufferAttribute(begins, 3));
  geometry.setAttribute('finish', new three.InstancedBufferAttribute(ends, 3));
  geometry.setAttribute('tint', bytes(colours, 4));
  const material = new three.ShaderMaterial({
    side: three.DoubleSide,
    uniforms: {screen: {value: screen}, width: {value: width}},
    vertexShader: `
      attribute vec3 begin;
      attribute vec3 finish;
      attribute vec4 tint;
      uniform vec2 screen;
      uniform float width;
      varying vec3 shown;
      varying float across;
      void main() {
        shown = tint.rgb;
        across = position.y;
        vec4 from = projectionMatrix * modelViewMatrix * vec4(begin, 1.0);
        vec4 to = projectionMatrix * modelViewMatrix * vec4(finish, 1.0);
        vec2 way = (to.xy - from.xy) * screen * 0.5;
        float size = length(way);
        way = size > 1e-3 ? way / size : vec2(1.0, 0.0);
        // One that is seen from its end is a square.
        float more = max(0.0, width - size) * 0.5;
        vec2 shift = vec2(-way.y, way.x) * position.y * width * 0.5 + way * (position.x * 2.0 - 1.0) * more;
        gl_Position = mix(from, to, position.x);
        gl_Position.xy += shift * 2.0 / screen;
        if (tint.a < 0.5) gl_Position = vec4(2.0, 2.0, 2.0, 1.0);
      }`,
    fragmentShader: `
      varying vec3 shown;
      varying float across;
      void main() {
        gl_FragColor = vec4(shown * (0.55 + 0.45 * sqrt(max(0.0, 1.0 - across * across))), 1.0);
      }`,
  });
  const shape = new three.Mesh(geometry, material);
  shape.frustumCulled = false;
  return shape;
}

// Boxes of one form, the three edges of which are `axes`, around `positions`.
export function blocks(positions, axes, colours) {
  const box = new three.BoxBufferGeometry(1, 1, 1);
  const geometry = new three.InstancedBufferGeometry();
  geometry.setIndex(box.index);
  geometry.setAttribute('position', box.attributes.position);
  geometry.setAttribute('normal', box.attributes.normal);
  geometry.setAttribute('centre', new three.InstancedBufferAttribute(positions, 3));
  geometry.setAttribute('tint', bytes(colours, 4));
  const edges = new three.Matrix3().fromArray(axes.flat());
  const material = new three.ShaderMaterial({
    side: three.DoubleSide,
    uniforms: {edges: {value: edges}},
    vertexShader: `
      attribute vec3 centre;
      attribute vec4 tint;
      uniform mat3 edges;
      varying vec3 shown;
      void main() {
        vec3 outward = normalize(normalMatrix * normalize(edges * normal));
        shown = tint.rgb * (0.55 + 0.45 * abs(dot(outward, normalize(vec3(0.25, 0.5, 0.83)))));
        gl_Position = tint.a < 0.5 ? vec4(2.0, 2.0, 2.0, 1.0)
                                   : projectionMatrix * modelViewMatrix * vec4(centre + edges * (position * 0.98), 1.0);
      }`,
    fragmentShader: 'varying vec3 shown; void main() { gl_FragColor = vec4(shown, 1.0); }',
  });
  const shape = new three.Mesh(geometry, material);
  shape.frustumCulled = false;
  return shape;
}

// A plane of cells, `across` in a row; its corners go around from the first cell.
export function sheet(corners, across, down, colours) {
  const geometry = new three.BufferGeometry();
  geometry.setAttribute('position', new three.BufferAttribute(new Float32Array(corners.flat()), 3));
  geometry.setAttribute('uv', new three.BufferAttribute(new Float32Array([0, 0, 1, 0, 1, 1, 0, 1]), 2));
  geometry.setIndex([0, 1, 2, 0, 2, 3]);
  const picture = new three.DataTexture(colours, across, down, three.RGBAFormat);
  picture.magFilter = picture.minFilter = three.NearestFilter;
  picture.needsUpdate = true;
  const material = new three.MeshBasicMaterial({map: picture, side: three.DoubleSide, alphaTest: 0.5});
  const shape = new three.Mesh(geometry, material);
  shape.frustumCulled = false;
  return shape;
}

// Triangles, shaded and see-through.
export function surface(positions, indices, colour, opacity) {
  const geometry = new three.BufferGeometry();
  geometry.setAttribute('position', new three.BufferAttribute(positions, 3));
  geometry.setIndex(new three.BufferAttribute(indices, 1));
  const shape = new three.Mesh(geometry, new three.MeshPhongMaterial({
    color: new three.Color(...colour.map(part => part / 255)), side: three.DoubleSide, flatShading: true, shininess: 12,
    transparent: opacity < 1, opacity, depthWrite: opacity >= 1,
  }));
  shape.frustumCulled = false;
  return shape;
}

// The same with a colour for each corner; triangles with a hidden corner are left out by who gives the indices.
export function relief(positions, indices, colours) {
  const shape = surface(positions, indices, [255, 255, 255], 1);
  shape.geometry.setAttribute('color', new three.BufferAttribute(colours, 4, true));
  shape.material.vertexColors = three.VertexColors;
  return shape;
}

export function free(shape) {
  shape.parent?.remove(shape);
  shape.geometry.dispose();
  shape.material.map?.dispose();
  shape.material.dispose();
}
