// Skia's canvas for node, drawn on call by call.

import { readFileSync } from 'node:fs';
import { createCanvas, GlobalFonts, loadImage } from '@napi-rs/canvas';
import { artworkFile } from './artwork.mjs';
import { encodePNG } from './png.mjs';
import { families, literataVariation, variableTypefaces } from './typefaces.mjs';

function drawLine(context, shape) {
  context.font = `${shape.weight} ${shape.size}px ${families[shape.typeface]}`;
  const weight = `'wght' ${shape.weight}`;
  context.fontVariationSettings =
    shape.typeface === 'Literata' ? `${literataVariation}, ${weight}` : weight;
  context.letterSpacing = `${shape.tracking}px`;
  context.fillStyle = shape.color;
  context.textAlign = shape.align;
  const across = { left: 0, center: shape.width / 2, right: shape.width }[shape.align];
  // Centres its line box in ours.
  const { fontBoundingBoxAscent: up, fontBoundingBoxDescent: down } = context.measureText('x');
  context.fillText(shape.text, shape.x + across, shape.y + (shape.height + up - down) / 2);
}

export async function open({ build, artwork, ownPNG }) {
  for (const { name, path } of variableTypefaces(build)) {
    GlobalFonts.registerFromPath(path, name);
  }
  const pictures = new Map();
  const pictureOf = async image => {
    const path = artworkFile(artwork, image);
    if (!pictures.has(path)) {
      pictures.set(path, await loadImage(readFileSync(path)));
    }
    return pictures.get(path);
  };

  return async scene => {
    const { width, height, radius } = scene;
    const canvas = createCanvas(width, height);
    const context = canvas.getContext('2d');
    context.beginPath();
    context.roundRect(0, 0, width, height, radius);
    context.clip();
    for (const shape of scene.shapes) {
      if (shape.kind === 'image') {
        context.drawImage(await pictureOf(shape), shape.x, shape.y);
      } else if (shape.kind === 'fill') {
        context.fillStyle = shape.color;
        context.fillRect(shape.x, shape.y, shape.width, shape.height);
      } else {
        drawLine(context, shape);
      }
    }
    if (ownPNG) {
      return canvas.encode('png');
    }
    return encodePNG(width, height, context.getImageData(0, 0, width, height).data);
  };
}
