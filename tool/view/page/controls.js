// The buttons. Each is a request to the server, which the controller may refuse: its words are shown.

import {$, element} from './panels.js';

const JOG_AGAIN = 150;  // ms: the server lets go when it has heard nothing for 500

export class Controls {
  /** @param where  a function that gives {controllers, robot} @param token  a function @param ask  a dialog */
  constructor(where, token, ask) {
    Object.assign(this, {where, token, ask});
    for (const button of document.querySelectorAll('.stop')) button.addEventListener('click', () => this.stop());
    document.addEventListener('keydown', (event) => {
      if (event.key === 'Escape' && this.may) this.stop();
    });
    for (const button of document.querySelectorAll('[data-command]')) button.addEventListener('click', () => this.press(button.dataset.command));
    $('#mode').addEventListener('change', (event) => this.send('mode', {mode: event.target.value}, `mode ${event.target.value}`));
    $('#speed').addEventListener('input', (event) => ($('#speed-value').textContent = `${event.target.value} %`));
    $('#speed').addEventListener('change', (event) => this.send('speed', {percent: Number(event.target.value)}, `speed ${event.target.value} %`));
    $('#job').addEventListener('focus', () => this.listJobs());
    $('#run').addEventListener('submit', (event) => {
      event.preventDefault();
      this.run();
    });
  }

  /** @param may  whether buttons may be pressed @param one  whether one robot is shown, and not all */
  show(may, one) {
    this.may = may;
    $('#control').hidden = !may || !one;
    $('#halt').hidden = !may || one;
    document.body.classList.toggle('controls-on', may);
  }

  /** What the controller says now, unless somebody is changing it. */
  update(robot, axes) {
    for (const [input, value] of [[$('#mode'), robot.mode], [$('#speed'), String(robot.speed)]])
      if (document.activeElement !== input && input.value !== value) input.value = value;
    if (document.activeElement !== $('#speed')) $('#speed-value').textContent = `${robot.speed} %`;
    const jog = $('#jog');
    if (jog.childElementCount !== axes) jog.replaceChildren(...Array.from({length: axes}, (_, i) => this.jogButtons(i + 1)));
  }

  tell(text, bad = false) {
    for (const told of document.querySelectorAll('.told')) {
      told.textContent = text;
      told.classList.toggle('bad', bad);
    }
  }

  async send(command, values, done) {
    const {controllers, robot} = this.where();
    const headers = {Authorization: 'Bearer ' + this.token(), 'Content-Type': 'application/json'};
    try {
      const answer = await fetch('command', {method: 'POST', headers, body: JSON.stringify({controller: controllers[0], robot, command, ...values}), keepalive: command === 'stop'});
      const told = (answer.headers.get('Content-Type') ?? '').includes('json') ? await answer.json() : {error: (await answer.text()).trim()};
      if (told.error) this.tell(told.error, true);
      else if (done) this.tell(done);
      return told;
    } catch {
      this.tell(command === 'stop' ? 'NOT STOPPED: kyt view does not answer' : 'kyt view does not answer', true);
      return {error: ''};
    }
  }

  async stop() {
    this.tell('stopping …');
    const all = await Promise.all(this.where().controllers.map((controller) => this.send('stop', {controller})));
    const failed = all.some(({error}) => error !== undefined);
    if (!failed) this.tell('stopped');
    if (failed) document.body.animate([{background: '#d3121b'}, {}], 600);
  }

  press(command) {
    if (command === 'clear') this.send('clear', {}, 'cleared');
    else this.send('power', {on: command === 'on'}, `power ${command}`);
  }

  // Held, by pointer or key: it moves as long as that lasts.
  jogButtons(axis) {
    const button = (positive) => {
      const made = element('button', {type: 'button', textContent: positive ? '+' : '−', ariaLabel: `jog axis ${axis} ${positive ? 'plus' : 'minus'}`});
      let held = 0;
      const move = () => this.send('jog', {axis, positive});
      const begin = async () => {
        if (held) return;
        this.tell('');
        made.classList.add('held');
        held = setInterval(move, JOG_AGAIN);
        const told = await move();
        if (told.error) end();
      };
      const end = () => {
        if (!held) return;
        clearInterval(held);
        held = 0;
        made.classList.remove('held');
        this.send('jog_end', {axis});
      };
      made.addEventListener('pointerdown', (event) => {
        if (event.button === 0) begin();
      });
      for (const event of ['pointerup', 'pointercancel', 'pointerleave', 'blur', 'keyup']) made.addEventListener(event, end);
      window.addEventListener('blur', end);
      document.addEventListener('visibilitychange', end);
      made.addEventListener('contextmenu', (event) => event.preventDefault());
      made.addEventListener('keydown', (event) => {
        if (event.key !== ' ' && event.key !== 'Enter') return;
        event.preventDefault();
        begin();
      });
      return made;
    };
    return element('span', {}, button(false), element('b', {textContent: `J${axis}`}), button(true));
  }

  async listJobs() {
    const told = await this.send('jobs', {});
    const select = $('#job');
    if (!told.jobs) return;
    const chosen = select.value;
    select.replaceChildren(...told.jobs.map((name) => element('option', {textContent: name, selected: name === chosen})));
    if (!told.jobs.length) this.tell('the controller has no jobs');
  }

  async run() {
    if (!$('#job').value) await this.listJobs();
    const job = $('#job').value;
    if (job && (await this.ask(`Run job ${job}? The robot will move.`))) this.send('run', {job}, `${job} runs`);
  }
}
