// Checks that a peer's picture shows the whole scene: leaving parts out would make it fast.

import { readFileSync } from 'node:fs';
import { createCanvas, loadImage } from '@napi-rs/canvas';

async function pixelsOf(path) {
  const image = await loadImage(readFileSync(path));
  const context = createCanvas(image.width, image.height).getContext('2d');
  context.drawImage(image, 0, 0);
  return context.getImageData(0, 0, image.width, image.height);
}

function meanDifference(one, other) {
  if (one.width !== other.width || one.height !== other.height) {
    return Infinity;
  }
  let sum = 0;
  for (let i = 0; i < one.data.length; ++i) {
    sum += Math.abs(one.data[i] - other.data[i]);
  }
  return sum / one.data.length / 255;
}

/** From 0 for the same picture to 1; infinite for another size. */
export async function difference(path, otherPath) {
  return meanDifference(await pixelsOf(path), await pixelsOf(otherPath));
}
