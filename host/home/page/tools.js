// What every part of the page uses: elements, the device's time, actions.

export const byId = (id) => document.getElementById(id);

/** Touches the document only if the text is another: what is the same is not announced again. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

export function setAttribute(element, name, value) {
  if (value === null || value === undefined) element.removeAttribute(name);
  else if (element.getAttribute(name) !== String(value)) element.setAttribute(name, value);
}

/** `<span class=... lang=...>text</span>` and the like. */
export function make(tag, text = '', attributes = {}) {
  const element = document.createElement(tag);
  element.textContent = text;
  for (const [name, value] of Object.entries(attributes)) setAttribute(element, name, value);
  return element;
}

/** For those who do not see the page: what just changed, in a few words. Pieces may be elements. */
export function announce(...pieces) {
  byId('announcements').replaceChildren(...pieces);
}

// Time

/** "es_MX@calendar=..." as the web names it: "es-MX". */
export const webLocale = (locale = 'en') => locale.split('@')[0].replaceAll('_', '-');

const formats = new Map();

/** A browser may know fewer zones and languages than the device: those read as UTC and English. */
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

/** What a clock on the wall shows then: "2026-03-05T14:30:00". */
export function wall(instant, zone) {
  const options = {dateStyle: 'short', timeStyle: 'medium', calendar: 'iso8601'};
  return format('sv', zone, options).format(instant).replace(' ', 'T');
}

/** The instant at which the wall shows that; a time that is skipped there stands for the one an hour on. */
export function instantOf(text, zone) {
  const shown = Date.parse(`${text}Z`);
  const offset = (instant) => Date.parse(`${wall(instant, zone)}Z`) - Math.floor(instant / 1000) * 1000;
  return shown - offset(shown - offset(shown));
}

/** "16:00", or with the day if it is another than today's; seconds where they matter. */
export function moment(iso, now, zone, seconds = false) {
  const instant = Date.parse(iso);
  const time = wall(instant, zone).slice(11, seconds ? 19 : 16);
  if (wall(instant, zone).slice(0, 10) === wall(now, zone).slice(0, 10)) return time;
  const options = {weekday: 'short', day: 'numeric', month: 'short'};
  return `${format('en-GB', zone, options).format(instant)}, ${time}`;
}

/** "1 h 30 min", "3 days": as coarse as its length. */
export function span(milliseconds) {
  const minutes = Math.floor(Math.abs(milliseconds) / 60_000);
  if (minutes < 1) return `${Math.floor(Math.abs(milliseconds) / 1000)} s`;
  if (minutes < 60) return `${minutes} min`;
  if (minutes < 48 * 60) return `${Math.floor(minutes / 60)} h ${minutes % 60} min`;
  return `${Math.floor(minutes / 60 / 24)} days`;
}

// Actions

export function forgetErrors() {
  for (const slot of document.querySelectorAll('.error')) setText(slot, '');
}

const tokenIn = (page) => page.querySelector('meta[name=home-token]').content;
let token = tokenIn(document);

async function post(action) {
  return fetch('/actions', {
    method: 'POST',
    headers: {'Content-Type': 'application/json', 'X-Home-Token': token},
    body: JSON.stringify(action),
  });
}

/** A host that was started again has another token, which it gives to whoever may read its page. */
async function renewToken() {
  const page = await (await fetch('/')).text();
  token = tokenIn(new DOMParser().parseFromString(page, 'text/html'));
}

/**
 * Asks the host for something. What goes wrong is said beside the control that asked; the answer is
 * null then.
 */
export async function act(control, action) {
  const slot = control.closest('[data-group]').querySelector('.error');
  try {
    let response = await post(action);
    if (response.status === 403) {
      await renewToken();
      response = await post(action);
    }
    const answer = await response.json();
    setText(slot, response.ok ? '' : answer.error);
    return response.ok ? answer : null;
  } catch (error) {
    console.warn(error);
    setText(slot, 'The host does not answer. Is glancery home still running?');
    return null;
  }
}
