// The phone: its screen, the widgets on it, and what a tap does.
import {act, announce, byId, format, make, setAttribute, setText, wall, webLocale} from '/tools.js';

const appNames = {
  en: {calendar: 'Calendar', clock: 'Clock', notes: 'Notes'},
  es: {calendar: 'Calendario', clock: 'Reloj', notes: 'Notas'},
  fr: {calendar: 'Calendrier', clock: 'Horloge', notes: 'Notes'},
  pt: {calendar: 'Calendário', clock: 'Relógio', notes: 'Notas'},
};

const phone = byId('phone');
const home = byId('home');
const tiles = new Map();
const stillness = matchMedia('(prefers-reduced-motion: reduce)');
let bannerTimer = null;

const destination = (link) => (link ? `opens ${link}` : 'no link');

async function tap(button, kind, link) {
  if (!await act(button, {action: 'tap', kind, link})) return;
  const banner = byId('banner');
  banner.replaceChildren(make('small', link ? 'Opens' : 'No link'), make('b', link ?? 'the app opens'));
  banner.classList.add('is-shown');
  clearTimeout(bannerTimer);
  bannerTimer = setTimeout(() => banner.classList.remove('is-shown'), 3_500);
  announce(link ? `Opens ${link}` : 'No link: the app opens');
}

/** Decodes a picture before it replaces another one, so that nothing flashes. */
async function showPicture(tile, widget) {
  const {pictures} = tile;
  if (tile.picture === widget.picture) return;
  tile.picture = widget.picture;
  if (!widget.picture) return pictures.replaceChildren();
  const next = make('img', '', {src: widget.picture, draggable: 'false', alt: ''});
  const last = pictures.lastElementChild;
  if (!last) pictures.append(next);
  try {
    await next.decode();
  } catch (error) {
    // The next state names another picture; until then the last one stays.
    if (tile.picture === widget.picture) tile.picture = null;
    if (!last) next.remove();
    return console.warn(error);
  }
  if (tile.picture !== widget.picture) return;
  pictures.append(next);
  describe(tile);
  if (last && !stillness.matches) {
    await next.animate([{opacity: 0}, {opacity: 1}], {duration: 280, easing: 'ease-out'}).finished;
  }
  while (pictures.firstElementChild !== next && pictures.contains(next)) pictures.firstElementChild.remove();
}

function describe({pictures, alt, lang}) {
  for (const picture of pictures.children) {
    const newest = picture === pictures.lastElementChild;
    setAttribute(picture, 'alt', newest ? alt : '');
    setAttribute(picture, 'lang', newest ? lang : null);
  }
}

/** Reuses the buttons, so that the focus stays when the picture changes. */
function showAreas(tile, widget) {
  const areas = widget.areas ?? [];
  while (tile.areas.length > areas.length) tile.areas.pop().remove();
  while (tile.areas.length < areas.length) {
    const index = tile.areas.length;
    const button = make('button', '', {type: 'button', class: 'area'});
    button.onclick = () => tap(button, tile.widget.kind, tile.widget.areas[index].link);
    tile.areas.push(button);
    tile.box.append(button);
  }
  tile.areas.forEach((button, index) => {
    const {x, y, width, height, label, link} = areas[index];
    Object.assign(button.style, {left: `${x}px`, top: `${y}px`, width: `${width}px`, height: `${height}px`});
    setAttribute(button, 'aria-label', `${label || 'Area'}: ${destination(link)}`);
  });
}

/** A widget may be on the phone more than once. */
function tileOf(kind, copy) {
  const key = `${kind} ${copy}`;
  if (!tiles.has(key)) {
    // Pictures can be decoded only in the page's own document.
    const root = document.importNode(byId('widget-template').content.firstElementChild, true);
    const tile = {
      root,
      box: root.querySelector('.tile'),
      pictures: root.querySelector('.pictures'),
      whole: root.querySelector('.whole'),
      areas: [],
    };
    tile.whole.onclick = () => tap(tile.whole, kind, tile.widget.link);
    root.dataset.kind = kind;
    tiles.set(key, tile);
  }
  return tiles.get(key);
}

function showWidget(widget, lang, copy) {
  const tile = tileOf(widget.kind, copy);
  Object.assign(tile, {widget, lang, alt: widget.alt ?? widget.name ?? widget.kind});
  tile.root.classList.toggle('is-medium', widget.family !== 'systemSmall');
  tile.box.style.width = `${widget.width}px`;
  tile.box.style.height = `${widget.height}px`;
  setAttribute(tile.whole, 'aria-label', `${widget.name ?? widget.kind}: ${destination(widget.link)}`);
  showAreas(tile, widget);
  tile.decoded = showPicture(tile, widget);
  describe(tile);
  return tile.root;
}

/** Announces widgets whose content has changed, in their language. */
function announceChanges(before, widgets, lang) {
  const changed = widgets.filter(({kind, alt}) => before.has(kind) && before.get(kind) !== alt);
  if (changed.length === 1) announce(make('span', changed[0].alt, {lang}));
  else if (changed.length > 1) announce(`${changed.length} widgets changed`);
}

/** Places the widgets in the gallery's order, and the apps beside the first small one. */
function place(roots) {
  const small = roots.findIndex((root) => !root.classList.contains('is-medium'));
  roots.splice(small + 1 || roots.length, 0, byId('apps'));
  if (roots.some((root, index) => home.children[index] !== root)) home.replaceChildren(...roots);
  for (const [key, {root}] of tiles) {
    if (!root.isConnected) tiles.delete(key);
  }
}

function showScreen({device, screens, widgets}) {
  const [width, height] = (screens.includes(device.screen) ? device.screen : '390x844').split('x');
  const small = widgets.find(({family}) => family === 'systemSmall');
  const medium = widgets.find(({family}) => family === 'systemMedium');
  const lengths = {
    '--screen-width': width,
    '--screen-height': height,
    '--small': small?.width ?? 158,
    '--row': small?.height ?? medium?.height ?? 158,
    '--medium': medium?.width ?? 338,
  };
  for (const [name, value] of Object.entries(lengths)) phone.style.setProperty(name, `${value}px`);
  phone.classList.toggle('has-button', height / width < 2);
  setAttribute(phone, 'data-scheme', device.scheme ?? 'light');
  fit();
}

/** Shows the phone in its real size, or smaller if the window is narrower. */
function fit() {
  phone.style.zoom = 1;
  const room = document.documentElement.clientWidth;
  const zoom = Math.min(1, room / phone.offsetWidth);
  phone.parentElement.style.setProperty('--phone-height', `${phone.offsetHeight * zoom}px`);
  phone.style.zoom = zoom;
}
addEventListener('resize', fit);

/** Settles when the pictures of the last state are shown or could not be decoded. */
export const picturesDecoded = () => Promise.all([...tiles.values()].map(({decoded}) => decoded));

export function showPhone(state) {
  const lang = webLocale(state.device.locale);
  const before = new Map([...tiles.values()].map(({widget, alt}) => [widget.kind, alt]));
  place(state.widgets.flatMap((widget) =>
    Array.from({length: widget.count ?? 1}, (_, copy) => showWidget(widget, lang, copy))));
  showScreen(state);
  announceChanges(before, state.widgets, lang);
  const names = appNames[lang.split('-')[0]] ?? appNames.en;
  for (const label of document.querySelectorAll('[data-app]')) setText(label, names[label.dataset.app]);
}

export function tickPhone({device}, now) {
  const lang = webLocale(device.locale);
  const show = (id, options) => {
    const parts = format(lang, device.timeZone, options).formatToParts(now);
    // The status bar of a phone does not show AM and PM.
    setText(byId(id), parts.filter(({type}) => type !== 'dayPeriod').map(({value}) => value).join('').trim());
  };
  show('phone-clock', {hour: 'numeric', minute: '2-digit'});
  show('app-weekday', {weekday: 'short'});
  show('app-day', {day: 'numeric'});
  const [hours, minutes] = wall(now, device.timeZone).slice(11).split(':').map(Number);
  setAttribute(byId('app-hour'), 'transform', `rotate(${hours * 30 + minutes / 2} 30 30)`);
  setAttribute(byId('app-minute'), 'transform', `rotate(${minutes * 6} 30 30)`);
}
