// The page of `glancery home`: receives the host's events and passes each state to the parts of the page.
import {picturesDecoded, showPhone, tickPhone} from '/phone.js';
import {showPanels, tickPanels} from '/panels.js';
import {addLog, clearLog, showReport, tickReport} from '/report.js';
import {announce, byId, clearErrors, moment, setText} from '/tools.js';

// The page contains the state at the time of its request.
let state = complete(JSON.parse(byId('first-state').content.textContent));
let receivedAt = 0;
let connected = false;

/** The device's time. It is frozen while the host is not connected. */
function now() {
  const running = state.running && connected;
  return Date.parse(state.instant) + (running ? performance.now() - receivedAt : 0);
}

/** Calls every part, even if one of them throws, which is reported like any error of the page. */
function callEach(parts, ...values) {
  for (const part of parts) {
    try {
      part(...values);
    } catch (error) {
      reportError(error);
    }
  }
}

function tick() {
  callEach([tickPhone, tickPanels, tickReport, strip.tickStrip], state, now());
}

/** Adds the sections that the state lacks, empty. */
function complete(given) {
  const lists = {screens: [], widgets: [], taps: []};
  const sections = {device: {}, app: {}, budget: {}, travel: {}, downloads: {}, extension: {}, bundle: {}};
  return {...lists, ...sections, instant: new Date().toISOString(), ...given};
}

function receive(given) {
  const expected = now();
  state = complete(given);
  receivedAt = performance.now();
  callEach([showPhone, showPanels, showReport, strip.showStrip, gallery.showGallery], state, now());
  tick();
  if (Math.abs(now() - expected) > 5_000) {
    announce(`The device’s clock is at ${moment(state.instant, 0, state.device.timeZone)}`);
  }
}

function setConnected(is) {
  if (!is && connected) {
    state.instant = new Date(now()).toISOString();
  }
  if (is) clearErrors();
  connected = is;
  document.body.classList.toggle('is-offline', !is);
  setText(byId('offline'), is
    ? ''
    : 'The host does not answer. The page shows its last state and reconnects automatically.');
}

function connect() {
  const events = new EventSource('/events');
  events.onopen = () => {
    clearLog();
    strip.clearEvents();
    setConnected(true);
  };
  events.onerror = () => {
    setConnected(false);
    // The browser reconnects automatically unless the response was not an event stream.
    if (events.readyState === EventSource.CLOSED) setTimeout(connect, 2_000);
  };
  events.addEventListener('state', (event) => receive(JSON.parse(event.data)));
  events.addEventListener('events', (event) => strip.addEvents(JSON.parse(event.data)));
  events.addEventListener('log', (event) => addLog(JSON.parse(event.data).lines ?? [], state));
}

byId('faults').addEventListener('toggle', () => import('/faults.js'), {once: true});

// The pictures are shown first: texts and panels take longer.
callEach([showPhone], state);
await Promise.race([picturesDecoded(), new Promise((resolve) => setTimeout(resolve, 300))]);
const [strip, gallery] = await Promise.all([import('/strip.js'), import('/gallery.js')]);
receive(state);
connect();
setInterval(tick, 500);
