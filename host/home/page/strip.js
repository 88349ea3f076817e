// The time strip: what each widget has shown and will show, why it was reloaded, downloads, the budget.
import {act, byId, format, instantOf, make, setText, span, wall} from '/tools.js';

const hour = 3_600_000;
const spans = {hour, day: 24 * hour, week: 7 * 24 * hour, month: 30 * 24 * hour};
const rowHeight = 46;
const namespace = 'http://www.w3.org/2000/svg';

const svg = byId('strip');
const cursor = byId('strip-cursor');
const preview = byId('strip-preview');
const zoom = byId('strip-zoom');
let events = [];
let state = null;
let from = 0;
let drawnFor = '';
let placedAt = 0;
let focused = null;
let dragged = null;
let travelling = false;

const length = () => spans[zoom.value];
const width = () => svg.clientWidth || 600;
const xOf = (instant) => ((instant - from) / length()) * width();
const dayOf = (instant) => wall(instant, state.device.timeZone).slice(0, 10);
const midnightOf = (day) => instantOf(`${day}T00:00:00`, state.device.timeZone);
const labelOptions = {weekday: 'short', day: 'numeric', month: 'short', hour: '2-digit', minute: '2-digit', second: '2-digit'};
const label = (instant) => format('en-GB', state.device.timeZone, labelOptions).format(instant);

function shape(name, attributes, title) {
  const made = document.createElementNS(namespace, name);
  for (const [attribute, value] of Object.entries(attributes)) made.setAttribute(attribute, value);
  if (title) {
    const text = document.createElementNS(namespace, 'title');
    text.textContent = title;
    made.append(text);
  }
  return made;
}

/** What happened before `now`. What was later than a clock that was set back has not happened yet. */
export function addEvents(fresh) {
  for (const event of fresh) {
    const at = Date.parse(event.at);
    while (events.length > 0 && events.at(-1).at > at) events.pop();
    events.push({...event, at});
  }
  events = events.slice(-20_000);
  drawnFor = '';
}

export function clearEvents() {
  events = [];
  drawnFor = '';
}

/** The bands of a widget: shown entries, then planned ones, each until the next. */
function bandsOf(widget, now) {
  const shown = events.filter(({kind, shown: date, at}) => kind === widget.kind && date && at <= now);
  const past = shown.map(({at, picture, shown: date}) => ({at, picture, date: Date.parse(date)}));
  const planned = (widget.entries ?? []).map((date) => Date.parse(date)).map((at, index) => ({at, date: at, index, planned: true}));
  const coming = planned.filter(({at}) => at > now);
  // What is shown now stays until the next entry.
  const staying = past.length > 0 ? [{...past.at(-1), at: now, planned: true}] : [];
  const bands = [...past, ...staying, ...coming];
  return bands.map((band, index) => ({...band, until: bands[index + 1]?.at ?? now + length()}));
}

function showPreview(band, widget) {
  const source = band.picture ?? `/pictures/${widget.kind}/${band.index}.png`;
  const what = band.planned ? 'planned from' : 'shown from';
  const image = make('img', '', {src: source, alt: '', width: widget.width / 2, height: widget.height / 2});
  image.onerror = () => image.remove();  // The host keeps the last pictures only.
  preview.replaceChildren(
    image,
    make('p', `${widget.name}: ${what} ${label(band.at)}`));
}

function drawBand(row, band, widget) {
  const start = Math.max(0, xOf(band.at));
  const end = Math.min(width(), xOf(band.until));
  if (end <= start) return;
  const rect = shape('rect', {
    x: start, y: 14, width: Math.max(1, end - start - 1), height: 18, rx: 3,
    class: band.planned ? 'band planned' : 'band', role: 'option', tabindex: -1,
  }, `${label(band.at)}${band.planned ? ' (planned)' : ''}`);
  rect.dataset.key = `${widget.kind} ${band.date} ${band.planned ? 'planned' : 'shown'}`;
  rect.onpointerenter = () => showPreview(band, widget);
  rect.onfocus = () => {
    focused = rect.dataset.key;
    row.querySelector('[tabindex="0"]')?.setAttribute('tabindex', -1);
    rect.setAttribute('tabindex', 0);
    showPreview(band, widget);
  };
  row.append(rect);
}

/** The bands of a row are one stop of the Tab key, at first the entry shown now; arrows go to the others. */
function drawBands(widget, now) {
  const group = shape('g', {role: 'listbox', 'aria-orientation': 'horizontal', 'aria-label': `Entries of ${widget.name}`});
  for (const band of bandsOf(widget, now)) drawBand(group, band, widget);
  const stop = group.querySelector('.planned') ?? group.lastElementChild;
  stop?.setAttribute('tabindex', 0);
  group.onkeydown = (event) => {
    const {previousElementSibling, nextElementSibling} = event.target;
    const {firstElementChild, lastElementChild} = group;
    const keys = {ArrowLeft: previousElementSibling, ArrowRight: nextElementSibling, Home: firstElementChild, End: lastElementChild};
    if (!(event.key in keys)) return;
    event.preventDefault();
    keys[event.key]?.focus();
  };
  return group;
}

/** A triangle below the bands, for a reload. */
const mark = (x, classes, title) => shape('path', {d: `M${x} 33l4 7h-8z`, class: classes}, title);

function drawRow(widget, index, now) {
  const row = shape('g', {transform: `translate(0 ${20 + index * rowHeight})`});
  const name = shape('text', {x: 4, y: 10, class: 'row-name'});
  name.textContent = widget.name;
  row.append(name, drawBands(widget, now));
  const reloads = events.filter(({kind, cause, at}) => kind === widget.kind && cause && at <= now);
  const line = reloads.map(({at, budgetLeft}) => `${xOf(at)},${32 - (18 * budgetLeft) / (state.budget.perDay || 50)}`);
  if (state.budget.on && line.length > 1) row.append(shape('polyline', {points: line.join(' '), class: 'budget'}));
  for (const {at, cause, why} of reloads) {
    const x = xOf(at);
    if (x < 0 || x > width()) continue;
    const what = cause === 'first' ? 'first request' : cause;
    row.append(mark(x, `mark cause-${cause.replace(' ', '-')}`, `${label(at)}: ${what}, ${why}`));
  }
  if (widget.nextReload) {
    const x = xOf(Math.max(now, Date.parse(widget.nextReload)));
    row.append(mark(x, 'mark planned', `${label(Date.parse(widget.nextReload))}: planned, ${widget.nextReloadReason}`));
  }
  return row;
}

/** Midnights, and days on which the clock changes; a date where there is room for it. */
function drawDays(height) {
  const group = shape('g', {});
  const options = zoom.value === 'month' ? {day: 'numeric'} : {weekday: 'short', day: 'numeric', month: 'short'};
  let free = Number.NEGATIVE_INFINITY;
  for (let day = dayOf(from); midnightOf(day) <= from + length();) {
    const start = midnightOf(day);
    const next = dayOf(start + 36 * hour);
    const changes = midnightOf(next) - start !== 24 * hour;
    const x = xOf(start);
    group.append(shape('line', {x1: x, x2: x, y1: 0, y2: height, class: changes ? 'midnight changes' : 'midnight'}));
    if (x >= free || changes) {
      const text = shape('text', {x: x + 4, y: 12, class: 'day'});
      text.textContent = format('en-GB', state.device.timeZone, options).format(start) + (changes ? ' · clocks change' : '');
      group.append(text);
      free = x + 10 + 6 * text.textContent.length;
    }
    day = next;
  }
  return group;
}

function drawDownloads(now, y) {
  const group = shape('g', {});
  let start = null;
  for (const {at, downloads} of [...events.filter(({downloads, at}) => downloads !== undefined && at <= now), {at: now, downloads: 0}]) {
    if (downloads > 0) start ??= at;
    if (downloads > 0 || start === null) continue;
    const x = xOf(start);
    group.append(shape('rect', {x, y, width: Math.max(3, xOf(at) - x), height: 6, rx: 3, class: 'download'}, `download, ${label(start)}, ${span(at - start)}`));
    start = null;
  }
  return group;
}

function fillTable(now) {
  const rows = events.filter(({at}) => at >= from && at <= Math.min(now, from + length())).slice(-300).map((event) => {
    const name = state.widgets.find(({kind}) => kind === event.kind)?.name ?? 'Phone';
    const what = event.cause ? `reloaded: ${event.why}` : event.shown ? 'shows another entry' : `${event.downloads} downloads pending`;
    const row = make('tr');
    row.append(make('td', label(event.at)), make('td', name), make('td', what));
    return row;
  });
  byId('strip-rows').replaceChildren(...rows);
}

function draw(now) {
  const widgets = state.widgets.filter(({count}) => count !== 0);
  const height = 20 + widgets.length * rowHeight + 12;
  svg.setAttribute('viewBox', `0 0 ${width()} ${height}`);
  svg.style.height = `${height}px`;
  const hadFocus = svg.contains(document.activeElement);
  svg.replaceChildren(drawDays(height), drawDownloads(now, height - 8), ...widgets.map((widget, index) => drawRow(widget, index, now)));
  if (hadFocus) svg.querySelector(`[data-key="${focused}"]`)?.focus({preventScroll: true});
  if (byId('strip-table').open) fillTable(now);
}

function placeCursor(now) {
  placedAt = now;
  cursor.style.left = `${(100 * (now - from)) / length()}%`;
  cursor.setAttribute('aria-valuenow', Math.round((1000 * (now - from)) / length()));
  cursor.setAttribute('aria-valuetext', label(now));
  setText(byId('strip-time'), label(now));
}

/** Draws again if something has changed, or the time has moved by a pixel. */
export function tickStrip(given, now) {
  state = given;
  if (state.widgets.length === 0 || dragged !== null) return;
  if (!(now >= from + 0.08 * length() && now <= from + 0.92 * length())) from = now - 0.6 * length();
  const pixel = Math.floor((now - from) / (length() / width()));
  const key = `${from} ${pixel} ${zoom.value} ${width()} ${events.length}`;
  if (key !== drawnFor) {
    draw(now);
    drawnFor = key;
  }
  placeCursor(now);
}

export function showStrip(given, now) {
  drawnFor = '';
  tickStrip(given, now);
}

/** One action at a time; the last wanted instant wins. */
async function travel(instant) {
  dragged = instant;
  placeCursor(instant);
  if (travelling) return;
  travelling = true;
  for (let sent = null; dragged !== null && sent !== dragged;) {
    sent = dragged;
    await act(cursor, {action: 'travel', to: new Date(sent).toISOString()});
  }
  travelling = false;
  if (!cursor.dataset.held) dragged = null;
}

const instantAt = (event) => from + ((event.clientX - svg.getBoundingClientRect().left) / width()) * length();
cursor.onpointerdown = (event) => {
  cursor.dataset.held = 'true';
  cursor.setPointerCapture(event.pointerId);
};
cursor.onpointermove = (event) => {
  if (cursor.dataset.held) travel(Math.min(Math.max(instantAt(event), from), from + length()));
};
cursor.onpointerup = cursor.onpointercancel = () => {
  delete cursor.dataset.held;
  if (!travelling) dragged = null;
};
const steps = {ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10};
cursor.onkeydown = (event) => {
  if (!(event.key in steps)) return;
  event.preventDefault();
  travel(placedAt + (steps[event.key] * length()) / 96);
};
zoom.onchange = () => {
  from = Number.NEGATIVE_INFINITY;
  if (state) showStrip(state, placedAt);
};
byId('strip-table').ontoggle = () => (drawnFor = '');
