// The controls: the time, the host app, the device.
import {act, byId, format, instantOf, make, moment, setAttribute, setChildren, setText, span, wall, webLocale} from '/tools.js';

const moodLabels = {veryBad: 'Very bad', bad: 'Bad', neutral: 'Neutral', well: 'Well', veryWell: 'Very well'};
const millisecondsPerDay = 24 * 60 * 60 * 1000;

let state = null;
let today = null;
let selectedDay = null;

const moodLabel = (mood) => moodLabels[mood] ?? mood;

// Buttons and forms with `data-action`

/** A field's value; a local time becomes the instant in the device's zone. */
function valueOf({type, value, valueAsNumber}) {
  if (type === 'number') return valueAsNumber;
  return type === 'datetime-local' ? new Date(instantOf(value, state.device.timeZone)).toISOString() : value;
}

document.addEventListener('click', ({target}) => {
  const button = target.closest('button[data-action]');
  if (button) act(button, {...button.dataset});
});
document.addEventListener('submit', (event) => {
  event.preventDefault();
  const fields = [...event.target.elements].filter(({value}) => value);
  const values = Object.fromEntries(fields.map((field) => [field.name, valueOf(field)]));
  act(event.target, {action: event.target.dataset.action, ...values});
});
byId('run').onclick = ({currentTarget}) => act(currentTarget, {action: 'clock', running: !state.running});

// Device

byId('device').onchange = async ({target}) => {
  const done = await act(target, {action: 'device', [target.name]: target.value});
  if (!done) showDevice();
};

const choices = {
  scheme: ['light', 'dark'],
  locale: ['es_MX', 'es_ES', 'en_US', 'pt_BR', 'fr_FR', 'ja_JP', 'th_TH', 'ar_EG'],
  timeZone: [
    'America/Mexico_City', 'America/Bogota', 'America/Buenos_Aires', 'America/New_York', 'America/Sao_Paulo', 'Europe/Madrid',
    'Europe/Paris', 'Asia/Kathmandu', 'Asia/Tokyo', 'Pacific/Auckland', 'Pacific/Apia', 'UTC'],
  os: ['16.0', '16.4', '17.0', '17.4', '18.0'],
};
const choiceLabels = {
  scheme: (scheme) => ({light: 'Light', dark: 'Dark'})[scheme] ?? scheme,
  locale: (locale) => {
    try {
      return new Intl.DisplayNames('en', {type: 'language', languageDisplay: 'standard'}).of(webLocale(locale));
    } catch {
      return locale;
    }
  },
  timeZone: (zone) => zone.replaceAll('_', ' '),
  screen: (name) => name.replace('x', ' × '),
  os: String,
};

/** Lists the current value even if it is not among the choices. */
function showDevice() {
  const listed = {...choices, screen: state.screens};
  for (const select of byId('device').elements) {
    const chosen = state.device[select.name];
    if (chosen === undefined) continue;
    const values = listed[select.name];
    const all = values.includes(chosen) ? values : [chosen, ...values];
    setChildren(select, all, () => all.map((value) => make('option', choiceLabels[select.name](value), {value})));
    select.value = chosen;
  }
}

// Host app

/** The seven days of the mood log, today last. */
function lastDays(today) {
  const last = Date.parse(today);
  return [6, 5, 4, 3, 2, 1, 0].map((days) => new Date(last - days * millisecondsPerDay).toISOString().slice(0, 10));
}

const dayName = (day) =>
  format('en-GB', 'UTC', {weekday: 'long', day: 'numeric', month: 'long'}).format(Date.parse(day));

/** The app's own drawing. */
const faceOf = (mood) => `/${mood in moodLabels ? mood : 'emptyDay'}.svg`;
const face = (mood) => make('img', '', {src: faceOf(mood), alt: ''});

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
  const label = moodLabel(mood);
  const button = make('button', '', {type: 'button', class: 'face', title: label, 'aria-label': label});
  Object.assign(button.dataset, {action: 'mood', mood});
  button.append(face(mood));
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
  const row = document.querySelector('.days');
  setChildren(row, today, () => lastDays(today).map(makeDay));
  for (const radio of row.querySelectorAll('input')) {
    const mood = moodOf(radio.value);
    radio.checked = radio.value === selectedDay;
    setAttribute(radio.nextElementSibling, 'src', faceOf(mood));
    setAttribute(radio, 'aria-label', `${dayName(radio.value)}: ${mood ? moodLabel(mood) : 'no mood'}`);
  }
  const faces = document.querySelector('.faces');
  setChildren(faces, 'moods', () => Object.keys(moodLabels).map(makeMood));
  for (const button of faces.children) {
    button.dataset.day = selectedDay;
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
  const input = byId('instant');
  input.value ||= wall(now, state.device.timeZone).slice(0, 16);
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
  for (const button of document.querySelectorAll('.jumps button')) {
    const instant = state.travel[button.dataset.to];
    button.disabled = !instant;
    setText(button.querySelector('time'), instant ? moment(instant, now, zone) : 'none to come');
    setAttribute(button.querySelector('time'), 'datetime', instant);
    setText(button.querySelector('small'), instant ? `in ${span(Math.max(0, Date.parse(instant) - now))}` : '');
  }
}
