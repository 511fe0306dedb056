// A tile for each robot of each controller.

import {frames, identity, ofPose, reach, sliding} from './kinematics.js';
import {$, element, toneOf} from './panels.js';

export const linkTo = (name, robot) => `#/${encodeURIComponent(name)}/${robot}`;

/** The arm as a few strokes, seen from aside. */
function sketch(canvas, links, joints, slides) {
  const {clientWidth: width, clientHeight: height} = canvas;
  const scale = window.devicePixelRatio || 1;
  Object.assign(canvas, {width: width * scale, height: height * scale});
  const pen = canvas.getContext('2d');
  pen.scale(scale, scale);
  const size = reach(links);
  const zoom = Math.min(height / (size * 0.8), width / (size * 1.3));
  const style = getComputedStyle(canvas);
  const at = (x, y, z) => [width * 0.42 + (x * 0.86 - y * 0.5) * zoom, height * 0.86 - (z - (x + y) * 0.16) * zoom];
  pen.strokeStyle = style.getPropertyValue('--grid');
  for (let i = -3; i <= 3; ++i) {
    const step = (size / 6) * i;
    for (const [from, to] of [[[step, -size / 2, 0], [step, size / 2, 0]], [[-size / 2, step, 0], [size / 2, step, 0]]]) {
      pen.beginPath();
      pen.moveTo(...at(...from));
      pen.lineTo(...at(...to));
      pen.stroke();
    }
  }
  const all = frames(links, joints, slides);
  const places = [[0, 0, 0]];
  all.slice(1).forEach((frame, i) => {
    const z = all[i];
    const d = links[i].d + (slides[i] ? joints[i] : 0);
    places.push([z[12] + z[8] * d, z[13] + z[9] * d, z[14] + z[10] * d], [frame[12], frame[13], frame[14]]);
  });
  pen.lineCap = pen.lineJoin = 'round';
  for (let i = 1; i < places.length; ++i) {
    pen.strokeStyle = style.getPropertyValue('--text');
    pen.lineWidth = Math.max(3, 9 - i * 0.5);
    pen.beginPath();
    pen.moveTo(...at(...places[i - 1]));
    pen.lineTo(...at(...places[i]));
    pen.stroke();
  }
  all.slice(0, -1).forEach((frame, i) => {
    pen.fillStyle = style.getPropertyValue(`--line-${i + 1}`);
    pen.beginPath();
    pen.arc(...at(frame[12], frame[13], frame[14]), 4, 0, 7);
    pen.fill();
  });
}

export class Overview {
  slides = new Map();

  constructor(parent) {
    this.parent = parent;
  }

  tile(key, name, number) {
    let tile = this.parent.querySelector(`[data-key="${CSS.escape(key)}"]`);
    if (tile) return tile;
    tile = element('a', {className: 'tile', href: linkTo(name, number || 1)},
      element('div', {className: 'line'}, element('strong'), element('span', {className: 'quiet servo'})),
      element('div', {className: 'place quiet', textContent: name}), element('canvas', {}), element('div', {className: 'line quiet'}, element('span', {className: 'doing'}), element('span', {className: 'speed'})), element('div', {className: 'why'}));
    tile.dataset.key = key;
    this.parent.append(tile);
    return tile;
  }

  show(names, states, details) {
    const wanted = new Set();
    for (const name of names) {
      const state = states.get(name);
      const robots = state?.robots?.length ? state.robots : [null];
      for (const robot of robots) {
        const key = `${name}/${robot?.robot ?? ''}`;
        wanted.add(key);
        const tile = this.tile(key, name, robot?.robot);
        tile.classList.toggle('lost', Boolean(state?.lost));
        tile.dataset.tone = robot ? toneOf(robot) : '';
        $('strong', tile).textContent = robot ? `${state.controller} · robot ${robot.robot}` : name;
        $('.servo', tile).textContent = robot ? `servo ${robot.servo}` : '';
        $('.doing', tile).textContent = robot ? `${robot.mode} · ${robot.running}${robot.job ? ` · ${robot.job.name}` : ''}` : '';
        $('.speed', tile).textContent = robot ? `${robot.speed} %` : '';
        const alarm = robot?.servo === 'error' ? (state.messages ?? []).find((message) => message.kind === 'error' && (!message.robot || message.robot === robot.robot)) : null;
        $('.why', tile).textContent = state?.lost ? `line lost: ${state.lost.reason}` : alarm ? alarm.text : robot?.servo === 'error' ? `error ${robot.error ?? ''}` : state ? '' : 'connecting …';
        const its = details.get(name)?.robots.find((each) => each.robot === robot?.robot);
        if (!robot || !its?.links.length) continue;
        const tool = its.tool?.pose?.length === 6 ? ofPose(its.tool.pose) : identity();
        if (!this.slides.has(key) || this.slides.get(key).off > 5) this.slides.set(key, sliding(its.links, robot.joints, tool, robot.pose));
        sketch($('canvas', tile), its.links, robot.joints, this.slides.get(key).slides);
      }
    }
    for (const tile of [...this.parent.children]) if (!wanted.has(tile.dataset.key)) tile.remove();
  }
}
