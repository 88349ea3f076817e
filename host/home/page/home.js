// The page of `glancery home`: it follows the host's events and hands every state to its parts.
import {showPhone, tickPhone} from '/phone.js';
import {showPanels, tickPanels} from '/panels.js';
import {addLog, clearLog, showReport, tickReport} from '/report.js';
import {announce, byId, forgetErrors, moment, setText} from '/tools.js';

// The page comes with the state of the moment at which it was asked for.
let state = complete(JSON.parse(byId('first-state').content.textContent));
let receivedAt = 0;
let connected = false;

/** The device's clock. It stands where it stood when the host was last heard of. */
function now() {
  const running = state.running && connected;
  return Date.parse(state.instant) + (running ? performance.now() - receivedAt : 0);
}

/** One part that fails leaves the others alone, and is reported like any error of the page. */
function inEach(parts, ...values) {
  for (const part of parts) {
    try {
      part(...values);
    } catch (error) {
      reportError(error);
    }
  }
}

function tick() {
  inEach([tickPhone, tickPanels, tickReport], state, now());
}

/** A state without one of its sections shows that section empty. */
function complete(given) {
  const sections = {device: {}, choices: {}, app: {}, budget: {}, travel: {}, downloads: {}, extension: {}};
  const complete = {widgets: [], taps: [], instant: new Date().toISOString(), ...given};
  for (const [name, empty] of Object.entries(sections)) complete[name] = {...empty, ...given[name]};
  return complete;
}

const kJump = 5_000;

function receive(given) {
  clearTimeout(beside);
  const expected = now();
  state = complete(given);
  receivedAt = performance.now();
  inEach([showPhone, showPanels, showReport], state, now());
  tick();
  if (Math.abs(now() - expected) > kJump) {
    announce(`The device’s clock is at ${moment(state.instant, 0, state.device.timeZone)}`);
  }
}

function setConnected(is) {
  if (!is && connected) {
    state.instant = new Date(now()).toISOString();
  }
  if (is) forgetErrors();
  connected = is;
  document.body.classList.toggle('is-offline', !is);
  setText(byId('offline'), is
    ? ''
    : 'The host does not answer. This is the last it sent; the page connects again by itself.');
}

function connect() {
  const events = new EventSource('/events');
  events.onopen = () => {
    clearLog();
    setConnected(true);
  };
  events.onerror = () => {
    setConnected(false);
    // The browser tries again by itself, unless the answer was not a stream of events at all.
    if (events.readyState === EventSource.CLOSED) setTimeout(connect, 2_000);
  };
  events.addEventListener('state', (event) => receive(JSON.parse(event.data)));
  events.addEventListener('log', (event) => addLog(JSON.parse(event.data).lines ?? [], state));
}

// The phone shows the first state at once, what stands beside it a moment later.
const kBreath = 30;
inEach([showPhone, tickPhone], state, now());
const beside = setTimeout(() => receive(state), kBreath);
connect();
setInterval(tick, 500);
