// The artwork in exactly the sizes that the scenes need: peers decode each file once and never scale.

import { existsSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { createCanvas, loadImage } from '@napi-rs/canvas';
import { Resvg } from '@resvg/resvg-js';

const scale = 3;

export function artworkFile(directory, { name, width, height }) {
  return join(directory, `${name}-${width}x${height}.png`);
}

export async function drawArtwork(scenes, catalogue, directory) {
  mkdirSync(directory, { recursive: true });
  const drawings = new Map();
  const images = scenes.flatMap(scene => scene.shapes.filter(shape => shape.kind === 'image'));
  for (const image of images) {
    const file = artworkFile(directory, image);
    if (existsSync(file)) {
      continue;
    }
    if (!drawings.has(image.name)) {
      const svg = readFileSync(join(catalogue, `${image.name}.imageset`, `${image.name}.svg`));
      const drawn = new Resvg(svg, { fitTo: { mode: 'zoom', value: scale } }).render();
      drawings.set(image.name, await loadImage(drawn.asPng()));
    }
    const canvas = createCanvas(image.width, image.height);
    const context = canvas.getContext('2d');
    context.imageSmoothingQuality = 'high';
    context.drawImage(drawings.get(image.name), 0, 0, image.width, image.height);
    writeFileSync(file, canvas.encodeSync('png'));
  }
}
