// Measures how fast other renderers draw the scenes of `glancery sheet`, in the same run as it.
//
// The peers have every advantage: they get display lists instead of providers and layout, artwork in
// its final size, warm caches, and write no files. Ours is the whole command, from a cold start to
// its last file.

import { execFileSync } from 'node:child_process';
import { existsSync, mkdtempSync, rmSync, statSync } from 'node:fs';
import { availableParallelism, tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { drawArtwork } from './artwork.mjs';
import { Peer } from './peer.mjs';
import { readScenes } from './scene.mjs';
import { Sheet } from './sheet.mjs';
import { printTable } from './table.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const kinds = [
  { name: 'takumi', module: 'takumi', ownPNG: true },
  { name: 'takumi, PNG by node', module: 'takumi', ownPNG: false },
  { name: 'satori with resvg', module: 'satori_resvg', ownPNG: true },
  { name: "Skia's canvas", module: 'skia_canvas', ownPNG: true },
  { name: "Skia's canvas, PNG by node", module: 'skia_canvas', ownPNG: false },
];
const mostScenes = 96;
const largestDifference = 0.04;

function options() {
  const { values } = parseArgs({
    options: {
      build: { type: 'string', default: join(here, '..', '..', 'build-release') },
      scenes: { type: 'string' },
      rounds: { type: 'string', default: '5' },
      cores: { type: 'string' },
    },
  });
  const rounds = Number(values.rounds);
  if (!Number.isInteger(rounds) || rounds < 1) {
    throw new Error(`--rounds wants a number from 1 up, not "${values.rounds}"`);
  }
  return { ...values, build: resolve(values.build), rounds };
}

/** Spread evenly, but not in a fixed step: that could select the same state of every widget. */
function some(scenes, most) {
  const goldenRatio = (Math.sqrt(5) - 1) / 2;
  const chosen = new Set();
  for (let i = 0; chosen.size < Math.min(most, scenes.length); ++i) {
    chosen.add(scenes[Math.floor(((i * goldenRatio) % 1) * scenes.length)]);
  }
  return [...chosen];
}

function meanKibibytes(scenes) {
  const bytes = scenes.reduce((sum, { picture }) => sum + statSync(picture).size, 0);
  return bytes / 1024 / scenes.length;
}

async function requireSameScenes(peer, scenes) {
  const { mean, withoutTexts, largest, farthest } = await peer.fidelity(scenes);
  const percent = share => `${(100 * share).toFixed(2)} %`;
  if (mean > withoutTexts / 2 || largest > largestDifference) {
    throw new Error(
      `${peer.name} does not draw the scenes: ${percent(mean)} from ours, without texts ` +
        `${percent(withoutTexts)}, at most ${percent(largest)} (${farthest})`,
    );
  }
  return { mean, withoutTexts, largest };
}

function pinTo(cores) {
  execFileSync('taskset', ['-apc', cores, String(process.pid)], { stdio: 'ignore' });
}

/** Runs every program once a round, so that other load on the machine affects all alike. */
async function interleave(rows, rounds) {
  for (let round = 0; round < rounds; ++round) {
    // Each round starts with another program, so that none always runs after the same one.
    for (const step of rows.keys()) {
      const row = rows[(step + round) % rows.length];
      const { seconds, coreSeconds, pictures, kibibytes, peak } = await row.program.round();
      row.milliseconds.push((1000 * seconds) / pictures);
      row.coreMilliseconds.push((1000 * coreSeconds) / pictures);
      row.cold.push(1000 * (await row.program.cold()));
      row.kibibytes = kibibytes ?? row.kibibytes;
      row.peak = peak ?? row.peak;
    }
  }
}

function rowOf(program, more) {
  const samples = { milliseconds: [], coreMilliseconds: [], cold: [] };
  return { name: program.name, program, ...samples, ...more };
}

async function compare({ build, rounds, scenes: given }, directory) {
  const sheet = new Sheet(build, directory);
  const ours = (await sheet.exists()) ? rowOf(sheet) : undefined;
  if (!ours && !given) {
    const glancery = join(build, 'glancery');
    throw new Error(`${glancery} has no command sheet; --scenes DIR names scenes to draw`);
  }
  if (ours) {
    // Not counted, so that measuring its memory affects no figure. Leaves the scenes for the peers.
    ours.peak = (await sheet.round({ watch: true })).peak;
    ours.kibibytes = meanKibibytes(readScenes(sheet.directory));
  }
  const all = readScenes(given ?? sheet.directory);
  const scenes = some(all, mostScenes);
  const artwork = join(directory, 'artwork');
  await drawArtwork(scenes, join(build, 'Glancery.appex', 'Assets.xcassets'), artwork);
  const cores = availableParallelism();
  const world = { build, artwork, scenes, cores };
  const peers = kinds.map(
    ({ name, module, ownPNG }) => new Peer(name, module, { ...world, ownPNG }, directory),
  );
  try {
    const rows = ours ? [ours] : [];
    for (const peer of peers) {
      rows.push(rowOf(peer, { fidelity: await requireSameScenes(peer, scenes) }));
    }
    await interleave(rows, rounds);
    printTable({ rows, ours, scenes: all.length, drawn: scenes.length, rounds, cores });
  } finally {
    peers.forEach(peer => peer.end());
  }
}

// The peers keep their pictures in memory, and the sheet writes to a file system in memory: disks are
// not measured.
const memory = '/dev/shm';
const directory = mkdtempSync(join(existsSync(memory) ? memory : tmpdir(), 'glancery-peers-'));
try {
  const given = options();
  if (given.cores) {
    pinTo(given.cores);
  }
  await compare(given, directory);
} catch (error) {
  console.error(`bench/peers: ${error.message}`);
  process.exitCode = 1;
} finally {
  rmSync(directory, { recursive: true, force: true });
}
