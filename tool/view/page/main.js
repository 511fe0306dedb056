// What is shown: all robots, or one; and what is known, which the feed tells.

import {Controls} from './controls.js';
import {Feed} from './feed.js';
import {linkTo, Overview} from './overview.js';
import {$, clock, element, showIo, showJob, showJoints, showMessages, showQuality, showState} from './panels.js';
import {Plot} from './plot.js';
import {Scene} from './scene.js';

const states = new Map();   // by the controller's name
const details = new Map();
let names = [];
let mayControl = false;
let lineLost = '';          // to kyt view
let shown = {};             // {name, robot}; none: all
let feed = null;

// The token comes behind the #, which no browser sends, and stays in this tab.
const given = location.hash.match(/token=([a-z0-9]+)/);
if (given) {
  sessionStorage.setItem('token', given[1]);
  history.replaceState(null, '', location.pathname + '#/');
}
const token = () => sessionStorage.getItem('token') ?? '';

/** Asks in a dialog; for a value, where `wanted` names it. @returns the value or true; false when cancelled */
function ask(text, wanted) {
  const dialog = $('#ask');
  const value = $('#ask-value');
  $('#ask-text').textContent = text;
  value.hidden = !wanted;
  value.value = '';
  dialog.returnValue = '';
  dialog.showModal();
  return new Promise((resolve) => dialog.addEventListener('close', () => resolve(dialog.returnValue === 'yes' && (wanted ? value.value.trim() : true)), {once: true}));
}

async function askForToken() {
  const typed = await ask('The token that kyt view has printed:', true);
  if (typed) sessionStorage.setItem('token', typed);
  begin();
}

const scene = new Scene($('#scene'), $('#scene-note'));
const overview = new Overview($('#overview'));
const controls = new Controls(() => ({controllers: shown.name ? [shown.name] : names, robot: shown.robot}), token, ask);
const plots = {
  joints: new Plot($('#plots'), 'Joints', '°', 2),
  position: new Plot($('#plots'), 'Position', 'mm', 4),
  orientation: new Plot($('#plots'), 'Orientation', '°', 2, true),
  jointSpeeds: new Plot($('#plots'), 'Joint speeds', '°/s', 2),
  toolSpeed: new Plot($('#plots'), 'Tool speed', 'mm/s', 10),
  roundTrip: new Plot($('#plots'), 'Round trip', 'ms', 1),
};

function robotOf(state) {
  return state?.robots?.find((robot) => robot.robot === shown.robot);
}

function record(state, robot, axes) {
  const values = {
    joints: robot.joints.slice(0, axes), position: robot.pose.slice(0, 3), orientation: robot.pose.slice(3, 6),
    jointSpeeds: (robot.joint_speeds ?? []).slice(0, axes), toolSpeed: [robot.tool_speed], roundTrip: [state.line?.p50, state.line?.p99],
  };
  for (const [name, plot] of Object.entries(plots)) plot.history.add(state.time, values[name]);
  const joints = values.joints.map((_, i) => `J${i + 1}`);
  const keys = {joints, position: ['X', 'Y', 'Z'], orientation: ['A', 'B', 'C'], jointSpeeds: joints, toolSpeed: ['tool'], roundTrip: ['median', 'p99']};
  for (const [name, plot] of Object.entries(plots)) plot.setNames(keys[name]);
}

/** What must not be overlooked: a line that is lost, or else an error of the robot. */
function showBanner() {
  const state = states.get(shown.name);
  const lost = lineLost || (state?.lost ? `Line to ${state.name} lost since ${clock(state.lost.since)}: ${state.lost.reason}` : '');
  const robot = robotOf(state);
  const alarm = robot?.servo === 'error' ? state.messages?.find((message) => message.kind === 'error' && (!message.robot || message.robot === robot.robot)) : null;
  const error = robot?.servo !== 'error' ? '' : alarm ? `Error ${alarm.code}: ${alarm.text}` : `Robot ${robot.robot} is in error ${robot.error ?? ''}`;
  const text = lost ? `${lost}. What is shown is old.` : error;
  const banner = $('#banner');
  if (banner.textContent !== text) banner.textContent = text;
  banner.hidden = !text;
  document.body.classList.toggle('lost', Boolean(lost));
}

function showWhere() {
  const links = [];
  if (shown.name) {
    const state = states.get(shown.name);
    links.push(element('b', {textContent: state?.controller ? `${state.controller} at ${shown.name}` : shown.name}));
    for (const robot of state?.robots ?? []) {
      const link = element('a', {href: linkTo(shown.name, robot.robot), textContent: `Robot ${robot.robot}`});
      if (robot.robot === shown.robot) link.setAttribute('aria-current', 'page');
      links.push(link);
    }
  }
  const key = links.map((link) => link.outerHTML).join('');
  if ($('#where').dataset.key === key) return;
  $('#where').dataset.key = key;
  $('#where').replaceChildren(...links);
}

function show() {
  showBanner();
  showWhere();
  $('#unlock').hidden = !mayControl || Boolean(token());
  const touches = mayControl && Boolean(token());
  controls.show(touches, Boolean(shown.name));
  if (!shown.name) {
    showQuality(null);
    return overview.show(names, states, details);
  }
  const state = states.get(shown.name);
  const robot = robotOf(state);
  showQuality(state?.lost ? null : state?.line);
  if (!robot) return;
  const its = details.get(shown.name)?.robots.find((each) => each.robot === shown.robot);
  const axes = its?.links.length || robot.joints.length;
  if (its) scene.setDetails(its, document.documentElement.dataset.theme);
  scene.setState(robot.joints, robot.pose);
  showState(robot);
  showJoints(robot, axes, scene.slides);
  showMessages(state.messages ?? [], state.robots);
  showJob(its?.job, robot.job);
  controls.update(robot, axes);
  showIo(state, touches ? (port, on) => controls.send('output', {port, on}, `output ${port} ${on ? 'on' : 'off'}`) : null);
  if (!state.lost) record(state, robot, axes);
}

function heard(name, value) {
  if (name === 'hello') {
    mayControl = value.control;
    names = value.controllers;
    if (names.length === 1 && !location.hash.match(/^#\/./) && !visited) location.replace(linkTo(names[0], 1));
    visited = true;
    return show();
  }
  (name === 'state' ? states : details).set(value.name, value);
  show();
}
let visited = false;

function changed(reason) {
  if (reason === 'token') {
    sessionStorage.removeItem('token');
    return void askForToken();
  }
  lineLost = reason;
  show();
}

/** Listens to what the page is about; one that nobody sees listens to nothing, and keeps no line busy. */
function begin() {
  feed?.close();
  feed = document.hidden ? null : new Feed(shown.name ? `?controller=${encodeURIComponent(shown.name)}` : '', token, heard, changed);
}

function route() {
  const [, name, robot] = location.hash.match(/^#\/(.+)\/(\d+)$/) ?? [];
  const next = name ? {name: decodeURIComponent(name), robot: Number(robot)} : {};
  if (next.name !== shown.name || next.robot !== shown.robot) {
    scene.clearPath();
    for (const plot of Object.values(plots)) plot.history.samples.length = 0;
  }
  shown = next;
  $('#overview').hidden = Boolean(name);
  $('#live').hidden = !name;
  document.title = name ? `robot ${robot} · kyt` : 'kyt';
  begin();
  show();
}

function drawPlots() {
  const state = states.get(shown.name);
  if (shown.name && state) for (const plot of Object.values(plots)) plot.draw(state.time);
}

const theme = localStorage.getItem('theme');
if (theme) document.documentElement.dataset.theme = theme;
$('#theme').addEventListener('click', () => {
  const dark = (document.documentElement.dataset.theme ?? (matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light')) === 'dark';
  document.documentElement.dataset.theme = dark ? 'light' : 'dark';
  localStorage.setItem('theme', document.documentElement.dataset.theme);
  show();
});
$('#unlock').addEventListener('click', askForToken);
for (const button of document.querySelectorAll('[data-view]')) button.addEventListener('click', () => scene.look(button.dataset.view));
window.addEventListener('hashchange', route);
document.addEventListener('visibilitychange', begin);
setInterval(drawPlots, 200);
route();
