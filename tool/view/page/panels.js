// What stands in words and numbers.

export const $ = (selector, parent = document) => parent.querySelector(selector);

export function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

const fixed = (value, digits) => (Number.isFinite(value) ? value.toFixed(digits).replace('-', '−').replace(/^−(0\.?0*)$/, '$1') : '–');
export const clock = (seconds) => new Date(seconds * 1000).toLocaleTimeString([], {hour12: false});

/** Changes only what is different, so that nothing flickers and readers hear no more than is new. */
function set(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

const servoTones = {running: 'good', ready: 'warn', stop: '', error: 'bad'};
const runningTones = {running: 'good', paused: 'warn', stopped: ''};
export const toneOf = (robot) => (robot.servo === 'error' ? 'bad' : robot.running === 'running' ? 'good' : robot.servo === 'running' ? 'good' : '');

export function showState(robot) {
  const entries = {
    Servo: [robot.error ? `error ${robot.error}` : robot.servo, servoTones[robot.servo]],
    Motion: [robot.running, runningTones[robot.running]],
    Mode: [robot.mode, ''],
    Speed: [`${robot.speed} %`, ''],
    Tool: [robot.tool_speed === undefined ? '–' : `${fixed(robot.tool_speed, 0)} mm/s`, ''],
    Queue: [robot.queue === undefined ? '–' : String(robot.queue), ''],
  };
  const list = $('#state');
  if (!list.childElementCount)
    list.append(...Object.keys(entries).map((name) => element('div', {}, element('dt', {textContent: name}), element('dd', {id: `state-${name.toLowerCase()}`}))));
  for (const [name, [text, tone]] of Object.entries(entries)) {
    const value = $(`#state-${name.toLowerCase()}`);
    set(value, text);
    value.dataset.tone = tone ?? '';
  }
}

export function showJoints(robot, count, slides) {
  const body = $('#joints tbody');
  if (body.childElementCount !== count)
    body.replaceChildren(...Array.from({length: count}, (_, i) => {
      const row = element('tr', {}, element('td', {className: 'name', textContent: `J${i + 1}`}), element('td', {className: 'value'}), element('td', {className: 'rate'}), element('td', {className: 'bar'}));
      row.style.setProperty('--color', `var(--line-${i + 1})`);
      row.lastChild.innerHTML = '<svg viewBox="-180 -4 360 8" preserveAspectRatio="none" aria-hidden="true"><rect x="-180" y="-4" width="360" height="8"/><line x1="0" x2="0" y1="0" y2="0"/><path d="M0-4V4"/></svg>';
      return row;
    }));
  for (let i = 0; i < count; ++i) {
    const [, value, rate, bar] = body.rows[i].cells;
    value.dataset.joint = robot.joints[i];
    set(value, fixed(robot.joints[i], 3) + (slides?.[i] ? ' mm' : '°'));
    set(rate, robot.joint_speeds ? fixed(robot.joint_speeds[i], 1) + (slides?.[i] ? ' mm/s' : ' °/s') : '');
    $('line', bar).setAttribute('x2', Math.max(-180, Math.min(180, robot.joints[i])));
  }
  const pose = $('#pose');
  const names = ['X mm', 'Y mm', 'Z mm', 'A °', 'B °', 'C °'];
  if (!pose.childElementCount) pose.append(...names.map((name) => element('div', {}, element('dt', {textContent: name}), element('dd'))));
  names.forEach((_, i) => set(pose.children[i].lastChild, fixed(robot.pose[i], 2)));
}

/** @param active  whether a robot, by its number, is in the error state */
export function showMessages(messages, robots) {
  const list = $('#messages');
  const inError = (message) => message.kind === 'error' && robots.some((robot) => robot.servo === 'error' && (message.robot === 0 || message.robot === robot.robot));
  const key = JSON.stringify([messages.map((message) => [message.number, inError(message)]), robots.map((robot) => robot.error)]);
  if (list.dataset.key === key) return;
  list.dataset.key = key;
  const items = messages.map((message) =>
    element('li', {className: inError(message) ? 'active' : message.kind}, element('time', {textContent: clock(message.time)}), element('span', {textContent: message.code}), element('span', {textContent: message.text + (message.robot && robots.length > 1 ? ` (robot ${message.robot})` : '')})));
  for (const robot of robots)
    if (robot.error && !messages.some(inError)) items.push(element('li', {className: 'active'}, element('time', {textContent: 'earlier'}), element('span', {textContent: robot.error}), element('span', {textContent: `robot ${robot.robot} is in error`})));
  list.replaceChildren(...(items.length ? items : [element('li', {className: 'none', textContent: 'none'})]));
}

const lineNames = {1: 'moveJ', 2: 'moveL', 3: 'moveC', 4: 'moveCA', 5: 'iMove', 6: 'moveS', 7: 'wait', 9: 'if', 12: 'end if', 13: 'while', 14: 'end while', 16: 'output', 50: 'label', 51: 'jump', 85: 'until', 86: 'end until'};

// What is said of a line, in fewer words than the controller's.
const lineKeys = {
  names: {ParaV: 'speed', velocity: 'speed', paraTime: '', ParaGroupNum: '', ParaGroupValue: '='},
  left: new Set(['type', 'ParaACC', 'ParaDEC', 'portId']),
};

/** The values in a line that say something, where it is JSON; otherwise the controller's own words. */
function lineText({type, text}) {
  const name = lineNames[type] ?? `type ${type}`;
  let content;
  try {
    content = JSON.parse(text);
  } catch {
    return text;
  }
  const values = [];
  const places = [];
  const visit = (value, key) => {
    if (Array.isArray(value) && value.every(Number.isFinite)) {
      // Seven values tell about a position, seven are the position, and external axes follow.
      const shown = value.length >= 14 ? value.slice(7, 13) : value;
      if (shown.some((each) => each !== 0)) places.push(`[${shown.map((each) => +each.toFixed(2)).join(', ')}]`);
    } else if (value !== null && typeof value === 'object') {
      if (Number.isFinite(value.data) && 'value' in value) visit(value.value ? value.varname : value.data, key);
      else for (const [inner, each] of Object.entries(value)) visit(each, inner);
    } else if (!lineKeys.left.has(key) && (value || key === 'ParaGroupValue') && values.length < 5) {
      values.push(`${lineKeys.names[key] ?? key} ${value}`.trim());
    }
  };
  visit(content, '');
  return [name, ...places, ...values].join(' ');
}

export function showJob(job, open) {
  const list = $('#lines');
  set($('#job-title'), job ? `Job ${job.name}` : 'Job');
  const key = JSON.stringify(job ?? null);
  if (list.dataset.key !== key) {
    list.dataset.key = key;
    list.replaceChildren(...(job?.lines.length ? job.lines.map((line, i) => element('li', {}, element('i', {textContent: i + 1}), lineText(line))) : [element('li', {className: 'none', textContent: job ? 'no lines' : 'none is open'})]));
  }
  const current = open && job && open.name === job.name ? list.children[open.line - 1] : null;
  const marked = $('[aria-current]', list);
  if (marked === current) return;
  marked?.removeAttribute('aria-current');
  current?.setAttribute('aria-current', 'step');
  if (current) list.scrollTop = current.offsetTop - list.offsetTop - list.clientHeight / 2;
}

/** @param set  is called with the port and the level when somebody clicks an output; null: nobody may */
export function showIo(state, change) {
  const io = $('#io');
  const shape = JSON.stringify([state.inputs?.length, state.outputs?.length, state.analog_inputs?.length, Boolean(change)]);
  const digital = [['inputs', 'Digital inputs', false], ['outputs', 'Digital outputs', Boolean(change)]];
  const analog = [['analog_inputs', 'Analog inputs'], ['analog_outputs', 'Analog outputs']];
  if (io.dataset.shape !== shape) {
    io.dataset.shape = shape;
    io.replaceChildren(
      ...digital.map(([key, title, buttons]) => element('div', {}, element('h3', {textContent: title}), element('div', {className: 'leds', id: `io-${key}`}, ...(state[key] ?? []).map((_, i) => {
        const led = element(buttons ? 'button' : 'span', {textContent: i + 1});
        if (buttons) Object.assign(led, {type: 'button', onclick: () => change(i + 1, !led.classList.contains('on'))});
        return led;
      })))),
      ...analog.map(([key, title]) => element('div', {}, element('h3', {textContent: title}), element('div', {className: 'analog', id: `io-${key}`}, ...(state[key] ?? []).map((_, i) => element('span', {}, element('i', {textContent: i + 1}), element('b')))))));
  }
  const forced = new Set((state.forced ?? []).map((each) => each.port));
  for (const [key, title] of digital)
    (state[key] ?? []).forEach((level, i) => {
      const led = $(`#io-${key}`).children[i];
      led.classList.toggle('on', level === 1);
      led.classList.toggle('forced', key === 'inputs' && forced.has(i + 1));
      led.title = `${title.slice(8, -1)} ${i + 1} is ${level === 1 ? 'on' : 'off'}${key === 'inputs' && forced.has(i + 1) ? ', forced' : ''}`;
      if (led.tagName === 'BUTTON') led.setAttribute('aria-pressed', level === 1);
    });
  for (const [key] of analog) (state[key] ?? []).forEach((value, i) => set($('b', $(`#io-${key}`).children[i]), fixed(value, 2)));
}

export function showQuality(line) {
  set($('#quality'), line ? `round trip ${fixed(line.p50, 1)} ms · p95 ${fixed(line.p95, 1)} · p99 ${fixed(line.p99, 1)} · ${fixed(line.rate ?? 0, 0)} Hz${line.lost ? ` · lost ${line.lost}×` : ''}` : '');
}
