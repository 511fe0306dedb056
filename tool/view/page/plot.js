// The last 60 seconds of a few values.

const SECONDS = 60;

/** Samples of all values of a plot, the oldest thrown away. */
export class History {
  samples = [];

  add(time, values) {
    this.samples.push({time, values});
    while (this.samples.length && this.samples[0].time < time - SECONDS - 1) this.samples.shift();
  }
}

const ticks = (low, high, count) => {
  const rough = (high - low) / count;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = [1, 2, 2.5, 5, 10].find((each) => each * power >= rough) * power;
  const all = [];
  for (let at = Math.ceil(low / step) * step; at <= high + step * 1e-6; at += step) all.push(Math.abs(at) < step / 1e6 ? 0 : at);
  return all;
};

export class Plot {
  /** @param smallest  the least range that the axis shows, so that noise does not fill it @param wraps  whether -180 follows 180 */
  constructor(parent, title, unit, smallest, wraps = false) {
    Object.assign(this, {names: [], smallest, wraps, history: new History()});
    this.element = document.createElement('figure');
    const caption = document.createElement('figcaption');
    caption.append(Object.assign(document.createElement('b'), {textContent: title}), ' ', Object.assign(document.createElement('span'), {textContent: unit, className: 'quiet'}));
    this.legend = document.createElement('span');
    this.legend.className = 'legend';
    this.canvas = document.createElement('canvas');
    this.canvas.setAttribute('role', 'img');
    this.canvas.setAttribute('aria-label', `${title}, ${unit}, of the last 60 seconds`);
    this.element.append(caption, this.legend, this.canvas);
    parent.append(this.element);
  }

  setNames(names) {
    if (this.legend.childElementCount === names.length) return;
    this.names = names;
    this.legend.replaceChildren(...names.map((name, i) => {
      const entry = Object.assign(document.createElement('span'), {textContent: name, className: 'key'});
      entry.style.setProperty('--color', `var(--line-${i + 1})`);
      return entry;
    }));
  }

  draw(now) {
    const {clientWidth: width, clientHeight: height} = this.canvas;
    if (!width || !height) return;
    const scale = window.devicePixelRatio || 1;
    if (this.canvas.width !== Math.round(width * scale) || this.canvas.height !== Math.round(height * scale)) {
      this.canvas.width = Math.round(width * scale);
      this.canvas.height = Math.round(height * scale);
    }
    const style = getComputedStyle(this.canvas);
    const color = (name) => style.getPropertyValue(name);
    const pen = this.canvas.getContext('2d');
    pen.setTransform(scale, 0, 0, scale, 0, 0);
    pen.clearRect(0, 0, width, height);
    pen.font = '11px system-ui, sans-serif';

    const left = 38, right = 8, top = 6, bottom = 16;
    let low = Infinity, high = -Infinity;
    for (const {values} of this.history.samples)
      for (const value of values) if (Number.isFinite(value)) [low, high] = [Math.min(low, value), Math.max(high, value)];
    if (low > high) [low, high] = [0, 0];
    const spare = Math.max((high - low) * 0.08, (this.smallest - (high - low)) / 2, 1e-9);
    const floor = low >= 0 && low - spare < 0 && this.smallest < 10 ? 0 : low - spare;
    [low, high] = [floor, high + spare];
    const x = (time) => left + (width - left - right) * (1 - (now - time) / SECONDS);
    const y = (value) => top + (height - top - bottom) * (1 - (value - low) / (high - low));

    pen.lineWidth = 1;
    pen.strokeStyle = color('--grid');
    pen.fillStyle = color('--quiet');
    pen.textBaseline = 'middle';
    pen.textAlign = 'right';
    for (const tick of ticks(low, high, height > 120 ? 4 : 3)) {
      pen.beginPath();
      pen.moveTo(left, Math.round(y(tick)) + 0.5);
      pen.lineTo(width - right, Math.round(y(tick)) + 0.5);
      pen.stroke();
      pen.fillText(String(+tick.toPrecision(6)), left - 5, y(tick));
    }
    pen.textBaseline = 'bottom';
    pen.textAlign = 'center';
    for (const ago of [60, 40, 20, 0]) pen.fillText(ago ? `−${ago} s` : 'now', Math.min(Math.max(x(now - ago), left + 10), width - 14), height);

    pen.lineWidth = 1.6;
    pen.lineJoin = 'round';
    this.names.forEach((_, i) => {
      pen.strokeStyle = color(`--line-${i + 1}`);
      pen.beginPath();
      let before = -Infinity, last = 0;
      for (const {time, values} of this.history.samples) {
        if (time < now - SECONDS || !Number.isFinite(values[i])) continue;
        const leaps = time - before > 1.5 || (this.wraps && Math.abs(values[i] - last) > 180);
        leaps ? pen.moveTo(x(time), y(values[i])) : pen.lineTo(x(time), y(values[i]));
        [before, last] = [time, values[i]];
      }
      pen.stroke();
    });
  }
}
