// The arm in 3-D, made of nothing but its Denavit-Hartenberg rows: a housing for each joint, and what joins it to the next.

import * as THREE from './three/build/three.module.js';
import {OrbitControls} from './three/examples/jsm/controls/OrbitControls.js';
import {frames, identity, multiply, ofPose, reach, sliding} from './kinematics.js';

const MOST_PATH = 2500;  // pieces
const css = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
const UP = new THREE.Vector3(0, 1, 0);
const point = (matrix) => new THREE.Vector3(matrix[12], matrix[13], matrix[14]);

/** A round bar between two points, thicker at one end than at the other. */
function bar(from, to, radius, radiusThere, material) {
  const along = to.clone().sub(from);
  const mesh = new THREE.Mesh(new THREE.CylinderBufferGeometry(radiusThere, radius, along.length(), 32), material);
  mesh.position.copy(from).addScaledVector(along, 0.5);
  mesh.quaternion.setFromUnitVectors(UP, along.normalize());
  return mesh;
}

function ball(at, radius, material) {
  const mesh = new THREE.Mesh(new THREE.SphereBufferGeometry(radius, 32, 20), material);
  mesh.position.copy(at);
  return mesh;
}

function label(text, size) {
  const canvas = Object.assign(document.createElement('canvas'), {width: 256, height: 64});
  const pen = canvas.getContext('2d');
  pen.font = '600 34px system-ui, sans-serif';
  pen.textAlign = 'center';
  pen.lineWidth = 7;
  pen.strokeStyle = css('--card');
  pen.strokeText(text, 128, 44);
  pen.fillStyle = css('--text');
  pen.fillText(text, 128, 44);
  const map = new THREE.CanvasTexture(canvas);
  const sprite = new THREE.Sprite(new THREE.SpriteMaterial({map, depthTest: false}));
  sprite.scale.set(size * 4, size, 1);
  return sprite;
}

/** X, Y and Z in red, green and blue. */
function axes(length, name, size) {
  const group = new THREE.Group();
  [[1, 0, 0, 0xe5383b], [0, 1, 0, 0x2aa84f], [0, 0, 1, 0x2f6fed]].forEach(([x, y, z, color]) => {
    const material = new THREE.MeshBasicMaterial({color});
    const end = new THREE.Vector3(x, y, z).multiplyScalar(length);
    group.add(bar(new THREE.Vector3(), end, length * 0.025, length * 0.025, material));
    group.add(bar(end, end.clone().multiplyScalar(1.22), length * 0.07, 0, material));
  });
  const text = label(name, size);
  text.position.set(0, 0, -size * 0.9);
  group.add(text);
  group.matrixAutoUpdate = false;
  return group;
}

export class Scene {
  constructor(element, note) {
    Object.assign(this, {element, note, target: null, shown: null, links: [], pieces: 0});
    try {
      this.renderer = new THREE.WebGLRenderer({antialias: true, alpha: true});
    } catch {
      note.textContent = 'This browser has no WebGL: the arm cannot be drawn.';
      return;
    }
    this.renderer.setPixelRatio(Math.min(window.devicePixelRatio || 1, 2));
    this.renderer.shadowMap.enabled = true;
    this.renderer.shadowMap.type = THREE.PCFSoftShadowMap;
    element.append(this.renderer.domElement);
    this.scene = new THREE.Scene();
    this.camera = new THREE.PerspectiveCamera(32, 1, 10, 60000);
    this.camera.up.set(0, 0, 1);
    this.controls = new OrbitControls(this.camera, this.renderer.domElement);
    this.controls.enableKeys = false;  // would take the arrow keys from the whole page
    this.controls.addEventListener('change', () => this.draw());
    element.addEventListener('keydown', (event) => this.key(event));
    new ResizeObserver(() => this.resize()).observe(element);
  }

  /** What the arm is made of; everything is made anew. */
  setDetails({links, tool, user}, theme) {
    const made = JSON.stringify([links, tool, user, theme]);
    if (!this.renderer || made === this.made) return;
    const sameArm = JSON.stringify(links) === JSON.stringify(this.links);
    this.made = made;
    this.links = links;
    this.tool = tool?.pose?.length === 6 ? ofPose(tool.pose) : identity();
    this.slides = null;
    this.size = reach(links);
    this.scene.remove(...this.scene.children);
    this.light();
    this.floor();
    if (!sameArm || !this.path) this.startPath();
    this.path.material.color.set(css('--accent'));
    this.scene.add(this.path);
    this.build(user, tool);
    this.shown = null;
    if (!sameArm) this.look('iso');
    if (!links.length) this.note.textContent = 'The controller tells no geometry: only the path is drawn.';
    this.move();
  }

  light() {
    const size = this.size;
    const dark = getComputedStyle(document.documentElement).colorScheme === 'dark' || matchMedia('(prefers-color-scheme: dark)').matches;
    this.scene.add(new THREE.HemisphereLight(0xffffff, dark ? 0x4a5562 : 0xa3adb8, dark ? 0.62 : 0.72));
    const sun = new THREE.DirectionalLight(0xffffff, dark ? 0.5 : 0.46);
    sun.position.set(size * 0.7, -size * 1.1, size * 2);
    sun.castShadow = true;
    sun.shadow.mapSize.set(1024, 1024);
    sun.shadow.radius = 3;
    sun.shadow.bias = -0.0008;
    Object.assign(sun.shadow.camera, {left: -size * 1.2, right: size * 1.2, top: size * 1.2, bottom: -size * 1.2, near: size * 0.2, far: size * 5});
    const fill = new THREE.DirectionalLight(0xdfe9ff, 0.18);
    fill.position.set(-size, size, size * 0.6);
    this.scene.add(sun, fill);
  }

  floor() {
    const cell = this.size > 900 ? 250 : 100;
    const cells = 2 * Math.ceil((this.size * 1.15) / cell);
    const grid = new THREE.GridHelper(cells * cell, cells, new THREE.Color(css('--quiet')), new THREE.Color(css('--floor')));
    grid.rotation.x = Math.PI / 2;
    grid.position.z = -1;
    const shade = new THREE.Mesh(new THREE.PlaneBufferGeometry(cells * cell, cells * cell), new THREE.ShadowMaterial({opacity: 0.22}));
    shade.receiveShadow = true;
    this.scene.add(grid, shade);
  }

  // Each joint's parts hang on its frame, and are built where the joint is at 0.
  build(user, tool) {
    const body = new THREE.MeshStandardMaterial({color: 0xf4f6f9, roughness: 0.5, metalness: 0.05});
    const dark = new THREE.MeshStandardMaterial({color: 0x75818f, roughness: 0.55, metalness: 0.15});
    const steel = new THREE.MeshStandardMaterial({color: 0x9aa5b1, roughness: 0.35, metalness: 0.4});
    const thickness = (i) => this.size * 0.056 * (1 - 0.72 * Math.min(1, i / Math.max(5, this.links.length)));
    this.parts = this.links.map(() => new THREE.Group());
    const still = this.links.map(() => 0);
    const zero = frames(this.links, still, []);
    this.base = new THREE.Group();
    if (this.links.length) {
      const foot = thickness(0);
      this.base.add(bar(new THREE.Vector3(), new THREE.Vector3(0, 0, foot * 0.35), foot * 2.1, foot * 2.1, dark));
      this.base.add(bar(new THREE.Vector3(0, 0, foot * 0.35), new THREE.Vector3(0, 0, foot * 1.1), foot * 1.75, foot * 1.25, dark));
    }
    this.links.forEach((link, i) => {
      // In the frame that turns with the joint: the axis is Z, the link goes d along it and then a along X.
      const group = this.parts[i];
      const r = thickness(i);
      const next = thickness(i + 1);
      const color = new THREE.Color(css(`--line-${i + 1}`));
      const accent = new THREE.MeshStandardMaterial({color, emissive: color, emissiveIntensity: 0.45, roughness: 0.5});
      const start = new THREE.Vector3();
      const elbow = new THREE.Vector3(0, 0, link.d);
      const end = new THREE.Vector3(link.a, 0, link.d);
      const first = i === 0;
      const half = r * (first ? 0.3 : 1.3);
      const at = first ? new THREE.Vector3(0, 0, r * 1.35) : start;
      const longAxis = Math.abs(link.d) > r * 3;
      const wide = longAxis && !first ? r * 1.02 : r * 1.18;
      const axis = new THREE.Vector3(0, 0, half);
      const shift = new THREE.Vector3(0, 0, longAxis && !first ? Math.sign(link.d) * r * 2.2 : 0);
      const low = at.clone().sub(axis).add(shift);
      const high = at.clone().add(axis).add(shift);
      if (i === this.links.length - 1) {
        group.add(bar(elbow.clone().setZ(link.d - Math.sign(link.d || 1) * r * 0.5), elbow, r * 1.25, r * 1.25, steel));
      } else {
        group.add(bar(low, high, wide, wide, dark));
      }
      for (const side of longAxis || first ? [0.5] : [0.12, 0.88]) {
        const middle = low.clone().lerp(high, side);
        const width = new THREE.Vector3(0, 0, r * 0.13);
        group.add(bar(middle.clone().sub(width), middle.clone().add(width), wide * 1.03, wide * 1.03, accent));
      }
      if (elbow.distanceTo(start) > 1) group.add(bar(start, elbow, r, link.a ? r * 0.95 : next, body));
      if (end.distanceTo(elbow) > 1) group.add(bar(elbow, end, r * 0.95, next, body), ball(elbow, r * 0.97, body));
      if (i < this.links.length - 1) group.add(ball(end, next * 1.02, body));
    });
    this.zero = zero;
    this.flange = new THREE.Group();
    const tip = this.links.length ? point(this.tool) : new THREE.Vector3();
    const last = thickness(this.links.length);
    if (tip.length() > 1) this.flange.add(bar(new THREE.Vector3(), tip, last * 0.75, last * 0.2, steel));
    const length = this.size * 0.085;
    const letters = this.size * 0.034;
    this.baseAxes = axes(length * 2, 'base', letters);
    this.toolAxes = axes(length, tool?.number ? `tool ${tool.number}` : 'tool', letters);
    this.scene.add(this.base, this.flange, this.baseAxes, this.toolAxes, ...this.parts);
    for (const group of [this.flange, ...this.parts]) group.matrixAutoUpdate = false;
    if (user?.pose?.length === 6) {
      const frame = axes(length, `user ${user.number}`, letters);
      frame.matrix.fromArray(ofPose(user.pose));
      this.scene.add(frame);
    }
    for (const group of [this.base, this.flange, ...this.parts])
      group.traverse((mesh) => Object.assign(mesh, {castShadow: mesh.isMesh, receiveShadow: mesh.isMesh}));
  }

  startPath() {
    this.path = new THREE.InstancedMesh(new THREE.CylinderBufferGeometry(1, 1, 1, 6, 1, true), new THREE.MeshBasicMaterial({color: css('--accent')}), MOST_PATH);
    this.path.frustumCulled = false;
    this.clearPath();
  }

  clearPath() {
    this.pieces = 0;
    this.pathEnd = null;
    if (this.path) this.path.count = 0;
    this.draw();
  }

  extendPath(pose) {
    const at = new THREE.Vector3(pose[0], pose[1], pose[2]);
    if (this.pathEnd === null) this.pathEnd = at;
    const along = at.clone().sub(this.pathEnd);
    const length = along.length();
    if (length < this.size * 0.002) return;
    const thick = this.size * 0.0024;
    const turn = new THREE.Quaternion().setFromUnitVectors(UP, along.clone().normalize());
    const middle = this.pathEnd.clone().addScaledVector(along, 0.5);
    this.path.setMatrixAt(this.pieces++ % MOST_PATH, new THREE.Matrix4().compose(middle, turn, new THREE.Vector3(thick, length, thick)));
    this.path.count = Math.min(this.pieces, MOST_PATH);
    this.path.instanceMatrix.needsUpdate = true;
    this.pathEnd = at;
  }

  /** Where it is. What is drawn follows within two pictures or three, so that it moves evenly. */
  setState(joints, pose) {
    if (!this.made || (this.shown && `${joints},${pose}` === `${this.target?.joints},${this.target?.pose}`)) return;
    this.extendPath(pose);
    if (this.links.length) {
      if (!this.slides || joints.some((joint, i) => Math.abs(joint - (this.checked?.[i] ?? NaN)) > 20)) {
        const found = sliding(this.links, joints, this.tool, pose);
        this.slides = found.slides;
        this.checked = [...joints];
        this.note.textContent = found.off < 5 ? '' : `The geometry that the controller tells does not lead to its pose: ${found.off.toFixed(0)} mm off.`;
      }
    }
    this.target = {joints, pose};
    this.move();
  }

  move() {
    if (!this.target || this.moving) return;
    this.moving = true;
    requestAnimationFrame(() => {
      this.moving = false;
      const {joints, pose} = this.target;
      this.shown = this.shown?.length === joints.length ? this.shown.map((value, i) => value + (joints[i] - value) * 0.55) : [...joints];
      const far = Math.max(...this.shown.map((value, i) => Math.abs(value - joints[i])));
      if (far < 0.01) this.shown = [...joints];
      this.place(this.shown, pose);
      this.draw();
      if (far >= 0.01) this.move();
    });
  }

  place(joints, pose) {
    if (!this.links.length) return this.toolAxes.matrix.fromArray(ofPose(pose));
    const all = frames(this.links, joints, this.slides ?? []);
    this.links.forEach((link, i) => {
      // The frame of the joint, turned by it: the next one without what the link adds.
      const back = frames([{...link, theta: 0}], [0], []).pop();
      const inverse = new THREE.Matrix4().getInverse(new THREE.Matrix4().fromArray(back)).toArray();
      this.parts[i].matrix.fromArray(multiply(all[i + 1], inverse));
    });
    const flange = all[this.links.length];
    this.flange.matrix.fromArray(flange);
    this.toolAxes.matrix.fromArray(multiply(flange, this.tool));
  }

  look(view) {
    if (!this.renderer) return;
    if (view === 'clear') return this.clearPath();
    const direction = {iso: [1, -1.25, 0.62], front: [1, 0, 0.08], side: [0, -1, 0.08], top: [0.001, 0, 1]}[view];
    const height = this.size * 0.33;
    this.controls.target.set(this.size * 0.12, 0, height);
    const narrow = Math.max(1, 1.05 / (this.camera.aspect || 1));
    this.camera.position.set(...direction).normalize().multiplyScalar(this.size * 1.85 * narrow).add(this.controls.target);
    this.controls.update();
    this.draw();
  }

  key(event) {
    const offset = this.camera.position.clone().sub(this.controls.target);
    const turn = {ArrowLeft: -0.1, ArrowRight: 0.1}[event.key];
    if (turn) offset.applyAxisAngle(new THREE.Vector3(0, 0, 1), turn);
    else if (event.key === '+' || event.key === '-') offset.multiplyScalar(event.key === '+' ? 0.9 : 1.1);
    else if (event.key === 'ArrowUp' || event.key === 'ArrowDown') offset.z += (event.key === 'ArrowUp' ? 0.08 : -0.08) * offset.length();
    else return;
    event.preventDefault();
    this.camera.position.copy(this.controls.target).add(offset);
    this.controls.update();
    this.draw();
  }

  resize() {
    const {clientWidth: width, clientHeight: height} = this.element;
    if (!width || !height) return;
    const first = this.camera.aspect === 1;
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.renderer.setSize(width, height);
    if (first && this.made) this.look('iso');
    this.draw();
  }

  // A PC without a graphics card takes long for a picture: the page gets as much time between two of them.
  draw() {
    if (!this.renderer || this.drawing) return;
    this.drawing = true;
    setTimeout(() => {
      const asked = performance.now();
      requestAnimationFrame(() => {
        const late = performance.now() - asked;
        this.pause = late > 60 ? Math.min(2 * late, 1000) : 0;
        this.drawing = false;
        this.renderer.render(this.scene, this.camera);
      });
    }, this.pause ?? 0);
  }
}
