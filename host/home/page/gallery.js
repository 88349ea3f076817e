// The gallery: every widget of the extension, to be placed on the phone or removed.
import {act, byId, make, setAttribute, setText} from '/tools.js';

const sizes = {systemSmall: 'small', systemMedium: 'medium', systemLarge: 'large'};
const times = ['not on the phone', 'on the phone', 'twice on the phone'];
const items = new Map();

function itemOf(kind) {
  if (!items.has(kind)) {
    const root = make('li', '', {'data-group': ''});
    const place = (step) => act(root, {action: 'place', kind, count: items.get(kind).count + step});
    const item = {
      root,
      name: make('h3'),
      text: make('p', '', {class: 'soft'}),
      pictures: ['snapshot', 'placeholder'].map((what) => ({what, image: make('img', '', {loading: 'lazy'})})),
      add: make('button', 'Add', {type: 'button'}),
      remove: make('button', 'Remove', {type: 'button'}),
    };
    item.add.onclick = () => place(1);
    item.remove.onclick = () => place(-1);
    const figures = item.pictures.map(({what, image}) => {
      const figure = make('figure');
      figure.append(image, make('figcaption', what));
      return figure;
    });
    const buttons = make('div', '', {class: 'buttons'});
    buttons.append(item.add, item.remove);
    root.append(item.name, item.text, ...figures, buttons);
    items.set(kind, item);
    byId('gallery').append(root);
  }
  return items.get(kind);
}

export function showGallery({widgets, device}) {
  for (const {kind, name = kind, description = '', family, width, height, count = 1, mostPlaced} of widgets) {
    const item = itemOf(kind);
    item.count = count;
    setText(item.name, name);
    setText(item.text, `${description} · ${sizes[family] ?? family}, ${times[count] ?? `${count} times on the phone`}`);
    for (const {what, image} of item.pictures) {
      // They are drawn for the device as it is.
      const version = encodeURIComponent([device.locale, device.scheme, device.screen, device.os].join(' '));
      setAttribute(image, 'src', `/pictures/${kind}/${what}.png?v=${version}`);
      setAttribute(image, 'alt', `${name}: ${what}`);
      setAttribute(image, 'width', width / 2);
      setAttribute(image, 'height', height / 2);
    }
    setAttribute(item.add, 'aria-label', `Add ${name}`);
    setAttribute(item.remove, 'aria-label', `Remove ${name}`);
    item.remove.disabled = count === 0;
    item.add.disabled = count === mostPlaced;
  }
}
