// The typefaces of the bundle and of the phone, the same for every peer.

import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';

const installed = createRequire(import.meta.url);

/** The families of a text, best first. The second has the characters that the first lacks. */
export const families = {
  Inter: 'Inter, Arabic',
  Literata: 'Literata, LiterataExt, Arabic',
};

/** Literata's default optical size; some peers would derive one from the size in pixels. */
export const literataVariation = "'opsz' 12";

const face = (name, path, weight) => ({ name, path, data: readFileSync(path), weight });

function besidesInter(build) {
  return [
    face('Literata', join(build, 'Glancery.appex', 'Literata-latin.ttf'), 400),
    face('LiterataExt', join(build, 'Glancery.appex', 'Literata-latin-ext.ttf'), 400),
    face('Arabic', join(build, 'system', 'Fonts', 'Fallback', 'NotoSansArabicUI-Regular.ttf'), 400),
  ];
}

export function variableTypefaces(build) {
  const inter = face('Inter', join(build, 'system', 'Fonts', 'Inter-roman.var.ttf'));
  return [inter, ...besidesInter(build)];
}

/** For peers that draw a variable typeface only in its default weight. */
export function singleWeightTypefaces(build) {
  const inter = [500, 600, 700].flatMap(weight =>
    ['latin', 'latin-ext'].map(subset => {
      const file = `@fontsource/inter/files/inter-${subset}-${weight}-normal.woff`;
      return face('Inter', installed.resolve(file), weight);
    }),
  );
  return [...inter, ...besidesInter(build)];
}
