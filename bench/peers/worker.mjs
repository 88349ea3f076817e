// Runs one peer as a process, which draws when its parent asks: `worker.mjs PEER WORLD`.
// With `--one PICTURE` it draws the first scene and ends, like a program started for one picture.

import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

const [, , peer, worldFile, mode, onePicture] = process.argv;
const world = JSON.parse(readFileSync(worldFile, 'utf8'));
const { open } = await import(`./${peer}.mjs`);
const draw = await open(world);

/** As many pictures at a time as there are cores: what a library does in other threads overlaps. */
async function drawAll({ withoutTexts = false }, take) {
  const numbers = world.scenes.keys();
  const lane = async () => {
    for (const number of numbers) {
      const scene = world.scenes[number];
      const shapes = scene.shapes.filter(({ kind }) => !withoutTexts || kind !== 'line');
      take(number, await draw({ ...scene, shapes }));
    }
  };
  await Promise.all(Array.from({ length: world.cores }, lane));
}

async function measure() {
  let bytes = 0;
  const start = performance.now();
  const taken = process.cpuUsage();
  await drawAll({}, (_, picture) => {
    bytes += picture.length;
  });
  const seconds = (performance.now() - start) / 1000;
  const { user, system } = process.cpuUsage(taken);
  const coreSeconds = (user + system) / 1e6;
  const pictures = world.scenes.length;
  return { seconds, coreSeconds, pictures, kibibytes: bytes / 1024 / pictures };
}

async function answer(request) {
  if (request.into === undefined) {
    return measure();
  }
  await drawAll(request, (number, picture) => {
    writeFileSync(join(request.into, `${number}.png`), picture);
  });
  return {};
}

if (mode === '--one') {
  writeFileSync(onePicture, await draw(world.scenes[0]));
} else {
  process.on('message', async request => process.send(await answer(request)));
}
