// takumi: a tree of nodes, laid out and drawn by one native library.

import { readFileSync } from 'node:fs';
import { Renderer, setGlyphCacheMaxBytes } from '@takumi-rs/core';
import { artworkFile } from './artwork.mjs';
import { asWidget, placed, textStyle } from './css.mjs';
import { encodePNG } from './png.mjs';
import { literataVariation, variableTypefaces } from './typefaces.mjs';

const mebibyte = 1 << 20;

function node(shape, urlOf) {
  switch (shape.kind) {
    case 'image': {
      const { width, height } = shape;
      return { type: 'image', src: urlOf(shape), width, height, style: placed(shape) };
    }
    case 'fill':
      return { type: 'container', style: { ...placed(shape), backgroundColor: shape.color } };
    case 'line': {
      const style = { ...textStyle(shape), textAlign: shape.align, whiteSpace: 'nowrap' };
      if (shape.typeface === 'Literata') {
        style.fontVariationSettings = literataVariation;
      }
      return { type: 'text', text: shape.text, style };
    }
  }
}

export async function open({ build, artwork, ownPNG }) {
  setGlyphCacheMaxBytes(64 * mebibyte);
  // Keeps decoded images by name.
  const renderer = new Renderer({ cacheMaxBytes: 512 * mebibyte });
  for (const { name, data } of variableTypefaces(build)) {
    await renderer.registerFont({ name, data });
  }
  const files = new Map();
  const file = path => files.get(path) ?? files.set(path, readFileSync(path)).get(path);
  const urlOf = image => artworkFile(artwork, image);

  return async scene => {
    const { width, height } = scene;
    const { style, others } = asWidget(scene, urlOf);
    const children = others.map(shape => node(shape, urlOf));
    const names = scene.shapes.filter(shape => shape.kind === 'image').map(urlOf);
    const images = [...new Set(names)].map(src => ({ src, data: file(src) }));
    const format = ownPNG ? 'png' : 'raw';
    const tree = { type: 'container', style, children };
    const drawn = await renderer.render(tree, { width, height, images, format });
    return ownPNG ? drawn : encodePNG(width, height, drawn);
  };
}
