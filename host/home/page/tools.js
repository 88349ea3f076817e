// Shared by all parts of the page: elements, the device's time, actions.

export const byId = (id) => document.getElementById(id);

/** Changes the element only if the text differs, so that screen readers announce nothing twice. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

export function setAttribute(element, name, value) {
  if (value === null || value === undefined) element.removeAttribute(name);
  else if (element.getAttribute(name) !== String(value)) element.setAttribute(name, value);
}

/** Replaces the children unless they were made for the same key. */
export function setChildren(element, key, makeAll) {
  if (element.dataset.key === String(key)) return;
  element.dataset.key = key;
  element.replaceChildren(...makeAll());
}

/** Creates an element with a text and attributes. */
export function make(tag, text = '', attributes = {}) {
  const element = document.createElement(tag);
  element.textContent = text;
  for (const [name, value] of Object.entries(attributes)) setAttribute(element, name, value);
  return element;
}

/** Announces a change to screen readers. Pieces are texts or elements. */
export function announce(...pieces) {
  byId('announcements').replaceChildren(...pieces);
}

// Time

/** The language tag of a locale: "es-MX" for "es_MX@calendar=...". */
export const webLocale = (locale = 'en') => locale.split('@')[0].replaceAll('_', '-');

const formats = new Map();

/** Zones and languages that the browser does not know are shown as UTC and English. */
export function format(locale, timeZone, options) {
  const key = JSON.stringify([locale, timeZone, options]);
  if (!formats.has(key)) {
    const attempts = [[locale, timeZone], ['en', timeZone], [locale, 'UTC'], ['en', 'UTC']];
    for (const [language, zone] of attempts) {
      try {
        formats.set(key, new Intl.DateTimeFormat(language, {...options, timeZone: zone}));
        break;
      } catch (error) {
        if (!(error instanceof RangeError)) throw error;
      }
    }
  }
  return formats.get(key);
}

/** The local time at an instant: "2026-03-05T14:30:00". */
export function wall(instant, zone) {
  const options = {dateStyle: 'short', timeStyle: 'medium', calendar: 'iso8601'};
  return format('sv', zone, options).format(instant).replace(' ', 'T');
}

/** The instant of a local time; if the clock skips it, the instant an hour later. */
export function instantOf(text, zone) {
  const shown = Date.parse(`${text}Z`);
  const offset = (instant) => Date.parse(`${wall(instant, zone)}Z`) - Math.floor(instant / 1000) * 1000;
  return shown - offset(shown - offset(shown));
}

/** "16:00", with the day unless that is today. */
export function moment(iso, now, zone, seconds = false) {
  const instant = Date.parse(iso);
  const time = wall(instant, zone).slice(11, seconds ? 19 : 16);
  if (wall(instant, zone).slice(0, 10) === wall(now, zone).slice(0, 10)) return time;
  const options = {weekday: 'short', day: 'numeric', month: 'short'};
  return `${format('en-GB', zone, options).format(instant)}, ${time}`;
}

/** A duration, rounded down: "40 s", "1 h 30 min", "3 days". */
export function span(milliseconds) {
  const minutes = Math.floor(Math.abs(milliseconds) / 60_000);
  if (minutes < 1) return `${Math.floor(Math.abs(milliseconds) / 1000)} s`;
  if (minutes < 60) return `${minutes} min`;
  if (minutes < 48 * 60) return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
  return `${Math.floor(minutes / 60 / 24)} days`;
}

// Actions

export function clearErrors() {
  for (const slot of document.querySelectorAll('.error')) setText(slot, '');
}

const tokenIn = (page) => page.querySelector('meta[name=home-token]').content;
let token = tokenIn(document);

async function post(path, action) {
  return fetch(path, {
    method: 'POST',
    headers: {'Content-Type': 'application/json', 'X-Home-Token': token},
    body: JSON.stringify(action),
  });
}

/** A host that was restarted has another token, in its page. */
async function renewToken() {
  const page = await (await fetch('/')).text();
  token = tokenIn(new DOMParser().parseFromString(page, 'text/html'));
}

/** Requests an action of the host and returns its answer. If that fails, shows the error beside the control instead. */
export async function act(control, action, path = '/actions') {
  const group = control.closest('[data-group]');
  const slot = group.querySelector('.error') ?? group.appendChild(make('p', '', {class: 'error', role: 'alert'}));
  try {
    let response = await post(path, action);
    if (response.status === 403) {
      await renewToken();
      response = await post(path, action);
    }
    const answer = await response.json();
    setText(slot, answer.error ?? '');
    return response.ok ? answer : null;
  } catch (error) {
    console.warn(error);
    setText(slot, 'The host does not answer. Is glancery home still running?');
    return null;
  }
}
