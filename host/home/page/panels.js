// The controls: the time, the host app, the device.
import {act, byId, format, instantOf, make, moment, setAttribute, setChildren, setText, span, wall, webLocale} from '/tools.js';

const moodLabels = {veryBad: 'Very bad', bad: 'Bad', neutral: 'Neutral', well: 'Well', veryWell: 'Very well'};
const millisecondsPerDay = 24 * 60 * 60 * 1000;

let state = null;
let today = null;
let selectedDay = null;

const moodLabel = (mood) => moodLabels[mood] ?? mood;
const isoOf = (text) => new Date(instantOf(text, state.device.timeZone)).toISOString();

function onSubmit(id, action) {
  byId(id).addEventListener('submit', (event) => {
    event.preventDefault();
    act(event.target, action(event.target.elements));
  });
}

function onClick(id, action) {
  byId(id).addEventListener('click', (event) => act(event.currentTarget, action()));
}

onSubmit('sign-in', ({uid}) => ({action: 'sign-in', uid: uid.value}));
onSubmit('instant', (fields) => ({action: 'travel', to: isoOf(fields.wall.value)}));
onSubmit('streak', (fields) => ({
  action: 'streak',
  count: fields.count.valueAsNumber,
  ...(fields.wall.value && {lastActive: isoOf(fields.wall.value)}),
}));
onClick('sign-out', () => ({action: 'sign-out'}));
onClick('back', () => ({action: 'travel', to: 'now'}));
onClick('run', () => ({action: 'clock', running: !state.running}));
for (const button of document.querySelectorAll('[data-travel]')) {
  button.onclick = () => act(button, {action: 'travel', to: button.dataset.travel});
}
byId('device').addEventListener('submit', (event) => event.preventDefault());
byId('device').addEventListener('change', async ({target}) => {
  const done = await act(target, {action: 'device', [target.name]: target.value});
  if (!done) showDevice();
});

// Device

const choiceLabels = {
  locale: (locale) => {
    try {
      return new Intl.DisplayNames('en', {type: 'language', languageDisplay: 'standard'}).of(webLocale(locale));
    } catch {
      return locale;
    }
  },
  timeZone: (zone) => zone.replaceAll('_', ' '),
  screen: (name) => name.replace('x', ' × '),
};

/** Lists the current value even if it is not among the choices. */
function showChoice(name, values = []) {
  const chosen = state.device[name];
  if (chosen === undefined) return;
  const select = byId('device').elements[name];
  const listed = values.includes(chosen) ? values : [chosen, ...values];
  const label = choiceLabels[name] ?? String;
  setChildren(select, listed, () => listed.map((value) => make('option', label(value), {value})));
  select.value = chosen;
}

function showDevice() {
  const {device, choices} = state;
  byId('device').elements.scheme.value = device.scheme;
  showChoice('locale', choices.locales);
  showChoice('timeZone', choices.timeZones);
  showChoice('screen', choices.screens?.map(({name}) => name));
  showChoice('os', choices.systems);
}

// Host app

/** The seven days of the mood log, today last. */
function lastDays(today) {
  const last = Date.parse(today);
  return [6, 5, 4, 3, 2, 1, 0].map((days) => new Date(last - days * millisecondsPerDay).toISOString().slice(0, 10));
}

const dayName = (day) =>
  format('en-GB', 'UTC', {weekday: 'long', day: 'numeric', month: 'long'}).format(Date.parse(day));

const faceOf = (mood) => `#face-${mood in moodLabels ? mood : 'none'}`;

function face(mood) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  const use = document.createElementNS(svg.namespaceURI, 'use');
  use.setAttribute('href', faceOf(mood));
  svg.setAttribute('aria-hidden', 'true');
  svg.append(use);
  return svg;
}

function makeDay(day) {
  const label = make('label', '', {class: 'day'});
  const radio = make('input', '', {type: 'radio', name: 'day', value: day});
  radio.onchange = () => {
    selectedDay = day;
    showMoods();
  };
  const name = format('en', 'UTC', {weekday: 'short'}).format(Date.parse(day));
  label.append(radio, face(null), make('span', day === today ? 'Today' : name));
  return label;
}

function makeMood(mood) {
  const button = make('button', '', {type: 'button', class: 'face', title: moodLabel(mood), 'aria-label': moodLabel(mood)});
  button.dataset.mood = mood;
  button.append(face(mood));
  button.onclick = () => act(button, {action: 'mood', mood, day: selectedDay});
  return button;
}

/** The key of a mood is the day in the device's calendar and digits. */
function moodOf(day) {
  const options = {year: 'numeric', month: '2-digit', day: '2-digit'};
  const parts = format(webLocale(state.device.locale), 'UTC', options).formatToParts(Date.parse(day));
  const key = ['year', 'month', 'day'].map((type) => parts.find((part) => part.type === type)?.value).join('-');
  return state.app.moods?.[key] ?? state.app.moods?.[day];
}

function showMoods() {
  const selected = moodOf(selectedDay);
  const names = state.app.moodNames ?? Object.keys(moodLabels);
  const row = document.querySelector('.days');
  setChildren(row, today, () => lastDays(today).map(makeDay));
  for (const radio of row.querySelectorAll('input')) {
    const mood = moodOf(radio.value);
    radio.checked = radio.value === selectedDay;
    setAttribute(radio.parentElement.querySelector('use'), 'href', faceOf(mood));
    setAttribute(radio, 'aria-label', `${dayName(radio.value)}: ${mood ? moodLabel(mood) : 'no mood'}`);
  }
  const faces = document.querySelector('.faces');
  setChildren(faces, names, () => names.map(makeMood));
  for (const button of faces.children) {
    setAttribute(button, 'aria-pressed', selected === button.dataset.mood);
  }
  const day = selectedDay === today ? 'Today' : dayName(selectedDay);
  setText(byId('mood-of'), `${day}: ${selected ? moodLabel(selected) : 'choose a mood'}`);
}

function showApp(now) {
  const {app, device} = state;
  const [shown, other] = app.uid ? ['signed-in', 'sign-in'] : ['sign-in', 'signed-in'];
  const holdsFocus = byId(other).contains(document.activeElement);
  byId(shown).hidden = false;
  byId(other).hidden = true;
  if (holdsFocus) byId(shown).querySelector('button, input').focus();
  setText(byId('uid'), app.uid ?? '');
  const {count, lastActive} = app.streak ?? {};
  const last = lastActive ? `last active ${moment(lastActive, now, device.timeZone)}` : 'never active';
  setText(byId('streak-stored'), app.streak ? `${count ?? 'no'} ${count === 1 ? 'day' : 'days'}, ${last}` : 'none stored');
}

/** Keeps the selected day, unless that was today and a new day has begun. */
function followDay(now) {
  const day = wall(now, state.device.timeZone).slice(0, 10);
  if (day === today) return false;
  if (selectedDay === today || !lastDays(day).includes(selectedDay)) selectedDay = day;
  today = day;
  return true;
}

export function showPanels(given, now) {
  state = given;
  followDay(now);
  showDevice();
  showApp(now);
  showMoods();
  const run = byId('run');
  setText(run.querySelector('span'), state.running ? 'Pause' : 'Run');
  setAttribute(run.querySelector('use'), 'href', state.running ? '#sign-pause' : '#sign-play');
  const input = byId('instant').elements.wall;
  if (!input.value) input.value = wall(now, state.device.timeZone).slice(0, 16);
}

export function tickPanels(given, now) {
  if (followDay(now)) showMoods();
  const zone = state.device.timeZone;
  const shown = wall(now, zone);
  setText(byId('clock'), shown.slice(11));
  setAttribute(byId('clock'), 'datetime', new Date(Math.floor(now / 1000) * 1000).toISOString());
  const options = {weekday: 'long', day: 'numeric', month: 'long', year: 'numeric'};
  const frozen = state.running ? '' : ' · frozen clock';
  setText(byId('clock-date'), `${format('en-GB', zone, options).format(now)}${frozen}`);
  const {nextEntry, nextReload, nextMidnight} = state.travel;
  const instants = {'next-entry': nextEntry, 'next-reload': nextReload, 'next-midnight': nextMidnight};
  for (const button of document.querySelectorAll('[data-travel]')) {
    const instant = instants[button.dataset.travel];
    button.disabled = !instant;
    setText(button.querySelector('time'), instant ? moment(instant, now, zone) : 'none to come');
    setAttribute(button.querySelector('time'), 'datetime', instant);
    setText(button.querySelector('small'), instant ? `in ${span(Math.max(0, Date.parse(instant) - now))}` : '');
  }
}
