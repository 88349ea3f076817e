// The report: a card for each widget, the taps, the log.
import {act, announce, byId, make, moment, setAttribute, setChildren, setText, span, wall, webLocale} from '/tools.js';

const mostLines = 1_000;
const cards = new Map();
let problem = null;

byId('budget').onchange = async ({target}) => {
  const done = await act(target, {action: 'budget', on: target.checked});
  if (!done) target.checked = !target.checked;
};

function cardOf(kind) {
  if (!cards.has(kind)) {
    const card = byId('card-template').content.firstElementChild.cloneNode(true);
    card.dataset.kind = kind;
    card.querySelector('[data-action=reload]').dataset.kind = kind;
    setText(card.querySelector('code'), kind);
    cards.set(kind, card);
    byId('cards').append(card);
  }
  return cards.get(kind);
}

/** Shows a value and a note in a softer colour. */
function setPart(card, name, value, note) {
  const part = card.querySelector(`[data-part=${name}]`);
  setChildren(part, [value, note], () => [make('span', value), ...(note ? [make('small', note)] : [])]);
}

function showCard(widget, lang) {
  const card = cardOf(widget.kind);
  const title = card.querySelector('h3');
  setText(title, widget.name ?? widget.kind);
  setAttribute(title, 'lang', lang);
  const reload = card.querySelector('[data-action=reload]');
  setAttribute(reload, 'aria-label', `Reload ${widget.name ?? widget.kind}`);
  setAttribute(reload, 'title', 'Reload');
  setText(card.querySelector('[data-part=problem]'), widget.problem ?? '');
}

function tickCard(widget, {device}, now) {
  const card = cardOf(widget.kind);
  const zone = device.timeZone;
  const at = (iso, seconds) => (iso ? moment(iso, now, zone, seconds) : 'none');
  const {entry, entryIndex = 0, entryCount = 0} = widget;
  const age = entry && now - Date.parse(entry);
  const place = `${entryIndex + 1} of ${entryCount}`;
  setPart(card, 'entry', at(entry), entry && `${place}, ${age < 0 ? `in ${span(age)}` : `${span(age)} old`}`);
  setPart(card, 'nextEntry', at(widget.nextEntry));
  setPart(card, 'nextReload', at(widget.nextReload), widget.nextReloadReason);
  setPart(card, 'fetched', at(widget.fetched, true), widget.fetchReason);
  setText(card.querySelector('[data-part=budget]'), Number.isFinite(widget.budgetLeft) ? `${widget.budgetLeft} left` : '');
}

function showExtension({extension, downloads, budget, bundle}) {
  setText(byId('bundle'), bundle.changed ? `Changed in the bundle: ${bundle.changed}` : '');
  setText(byId('bundle-problem'), bundle.problem ?? '');
  const launches = extension.launches ?? 0;
  const times = launches === 1 ? 'once' : `${launches} times`;
  setText(byId('extension'), `The extension ${extension.running ? 'runs' : 'does not run'}, started ${times}.`);
  setText(byId('extension-problem'), extension.problem ?? '');
  if (extension.problem && extension.problem !== problem) announce(extension.problem);
  problem = extension.problem;
  const pending = downloads.pending ?? 0;
  const waiting = downloads.waitingFor ? `: ${downloads.waitingFor}` : '';
  setText(byId('downloads'), pending ? `${pending} download${pending === 1 ? '' : 's'} waiting${waiting}` : '');
  byId('budget').checked = budget.on ?? false;
  setText(byId('budget-label'), `Budget of ${budget.perDay ?? 'some'} reloads a day`);
}

function showTaps({taps, widgets, device}, now, lang) {
  byId('no-taps').hidden = taps.length > 0;
  const names = new Map(widgets.map(({kind, name}) => [kind, name]));
  const rows = taps.map(({at, kind, link}) => {
    const row = make('li');
    row.append(
      make('time', moment(at, now, device.timeZone, true), {datetime: at}),
      make('span', names.get(kind) ?? kind, {lang}),
      link ? make('code', link) : make('em', 'no link'));
    return row;
  });
  setChildren(byId('taps'), rows.map((row) => row.textContent).join('\n'), () => rows);
}

export function showReport(state, now) {
  const lang = webLocale(state.device.locale);
  const kinds = new Set(state.widgets.map(({kind}) => kind));
  for (const [kind, card] of cards) {
    if (kinds.has(kind)) continue;
    card.remove();
    cards.delete(kind);
  }
  for (const widget of state.widgets) showCard(widget, lang);
  showExtension(state);
  showTaps(state, now, lang);
}

export function tickReport(state, now) {
  for (const widget of state.widgets) tickCard(widget, state, now);
}

// The log

const log = byId('log');

export function clearLog() {
  log.replaceChildren();
}

/** Scrolls to the end, unless the reader has scrolled up. */
export function addLog(lines, state) {
  const follows = log.scrollHeight - log.scrollTop - log.clientHeight < 24;
  const zone = state?.device.timeZone ?? 'UTC';
  log.append(...lines.map(({at, text, source}) => {
    const line = make('p');
    line.append(make('time', wall(Date.parse(at), zone).slice(11), {datetime: at}));
    if (source === 'host') line.append(make('b', 'host'));
    line.append(text);
    return line;
  }));
  while (log.childElementCount > mostLines) log.firstElementChild.remove();
  if (follows) log.scrollTop = log.scrollHeight;
}
