// `glancery sheet` as a participant of the benchmark: the whole command, once each round.

import { join } from 'node:path';
import { run } from './processes.mjs';

export class Sheet {
  name = 'glancery sheet';
  /** The folder of the latest round's sheet. */
  directory;
  #glancery;
  #scratch;
  #rounds = 0;

  constructor(build, scratch) {
    this.#glancery = join(build, 'glancery');
    this.#scratch = scratch;
  }

  async exists() {
    const { output } = await run(this.#glancery, ['--help']);
    return /^\s+sheet\s/m.test(output);
  }

  async round({ watch = false } = {}) {
    // A new folder for each round, because creating files is slower where many were just removed.
    this.directory = join(this.#scratch, `sheet-${++this.#rounds}`);
    const ran = await run(this.#glancery, ['sheet', '-o', this.directory], { watch });
    const pictures = Number(ran.output.match(/(\d+) pictures/)?.[1]);
    if (!(pictures > 0)) {
      throw new Error(`glancery sheet printed no number of pictures: ${ran.output}`);
    }
    return { ...ran, pictures };
  }

  async cold() {
    const container = join(this.#scratch, 'container');
    const picture = join(this.#scratch, 'one.png');
    const words = ['render', 'StreakWidget', '-o', picture, '--container', container];
    return (await run(this.#glancery, words)).seconds;
  }
}
