// A peer: a process that keeps its caches and draws once a round.

import { fork } from 'node:child_process';
import { mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { difference } from './fidelity.mjs';
import { peakOf, run } from './processes.mjs';

const worker = fileURLToPath(new URL('worker.mjs', import.meta.url));

export class Peer {
  #module;
  #directory;
  #worldFile;
  #process;

  constructor(name, module, world, directory) {
    this.name = name;
    this.ownPNG = world.ownPNG;
    this.#module = module;
    this.#directory = join(directory, name.replaceAll(/[^a-z]+/gi, '-'));
    this.#worldFile = join(this.#directory, 'world.json');
    mkdirSync(this.#directory, { recursive: true });
    writeFileSync(this.#worldFile, JSON.stringify(world));
    this.#process = fork(worker, [module, this.#worldFile]);
  }

  #ask(request) {
    return new Promise((resolve, reject) => {
      const ended = status => reject(new Error(`${this.name} ended with status ${status}`));
      this.#process.once('exit', ended);
      this.#process.once('message', answer => {
        this.#process.off('exit', ended);
        resolve(answer);
      });
      this.#process.send(request);
    });
  }

  /** Draws every scene once: wall-clock and processor seconds, pictures, their mean size. */
  async round() {
    const measured = await this.#ask({});
    return { ...measured, peak: peakOf(this.#process.pid) };
  }

  /** Starts a process that draws only the first scene. */
  async cold() {
    const picture = join(this.#directory, 'one.png');
    const words = [worker, this.#module, this.#worldFile, '--one', picture];
    return (await run(process.execPath, words)).seconds;
  }

  /** Its pictures' mean difference from ours, and that of our pictures without texts. */
  async fidelity(scenes) {
    const figures = {};
    for (const withoutTexts of [true, false]) {
      const into = join(this.#directory, withoutTexts ? 'without-texts' : 'pictures');
      mkdirSync(into, { recursive: true });
      await this.#ask({ into, withoutTexts });
      const differences = [];
      for (const [number, { picture }] of scenes.entries()) {
        differences.push(await difference(join(into, `${number}.png`), picture));
      }
      const mean = differences.reduce((sum, one) => sum + one, 0) / differences.length;
      figures[withoutTexts ? 'withoutTexts' : 'mean'] = mean;
      figures.largest = Math.max(...differences);
      figures.farthest = scenes[differences.indexOf(figures.largest)].path;
    }
    return figures;
  }

  end() {
    this.#process.kill();
  }
}
