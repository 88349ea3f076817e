// satori lays a tree of elements out into SVG with outlined text, resvg draws that.

import { readFileSync } from 'node:fs';
import { renderAsync } from '@resvg/resvg-js';
import satori from 'satori';
import { artworkFile } from './artwork.mjs';
import { asWidget, placed, textStyle } from './css.mjs';
import { singleWeightTypefaces } from './typefaces.mjs';

const justified = { left: 'flex-start', center: 'center', right: 'flex-end' };

function element(shape, urlOf) {
  switch (shape.kind) {
    case 'image': {
      const { width, height } = shape;
      return { type: 'img', props: { src: urlOf(shape), width, height, style: placed(shape) } };
    }
    case 'fill':
      return { type: 'div', props: { style: { ...placed(shape), backgroundColor: shape.color } } };
    case 'line': {
      const style = { ...textStyle(shape), display: 'flex', whiteSpace: 'pre' };
      style.justifyContent = justified[shape.align];
      return { type: 'div', props: { style, children: shape.text } };
    }
  }
}

export async function open({ build, artwork }) {
  const fonts = singleWeightTypefaces(build);
  const urls = new Map();
  const urlOf = image => {
    const path = artworkFile(artwork, image);
    if (!urls.has(path)) {
      urls.set(path, `data:image/png;base64,${readFileSync(path).toString('base64')}`);
    }
    return urls.get(path);
  };
  const optimizeSpeed = 1;
  const options = { font: { loadSystemFonts: false }, imageRendering: optimizeSpeed };

  return async scene => {
    const { width, height } = scene;
    const { style, others } = asWidget(scene, urlOf);
    const children = others.map(shape => element(shape, urlOf));
    const widget = { type: 'div', props: { style, children } };
    const svg = await satori(widget, { width, height, fonts });
    return (await renderAsync(svg, options)).asPng();
  };
}
