// Glancery's sheet: the whole command, started again in every round.

import { join } from 'node:path';
import { run } from './processes.mjs';

export class Sheet {
  name = 'glancery sheet';
  /** The last round's sheet. */
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
    // A new folder each time: file systems make files more slowly where many were just removed.
    this.directory = join(this.#scratch, `sheet-${++this.#rounds}`);
    const ran = await run(this.#glancery, ['sheet', '-o', this.directory], { watch });
    const pictures = Number(ran.output.match(/(\d+) pictures/)?.[1]);
    if (!(pictures > 0)) {
      throw new Error(`glancery sheet does not say how many pictures it drew: ${ran.output}`);
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
