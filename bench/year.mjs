// A year of a phone by `glancery simulate`, compared with `node -e 0` before and after it.
//
//   node bench/year.mjs BUILD
import {execFileSync} from 'node:child_process';
import {mkdtempSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';

const goal = 135;
const output = mkdtempSync(join(tmpdir(), 'glancery-year-'));

function milliseconds(...words) {
  const start = performance.now();
  execFileSync(...words, {stdio: ['ignore', 'ignore', 'inherit']});
  return performance.now() - start;
}

const runNode = () => Array.from({length: 12}, () => milliseconds(process.execPath, ['-e', '0']));
const before = runNode();
const from = ['--from', '2026-01-01T00:00:00-06:00', '--time-zone', 'America/Mexico_City'];
const year = milliseconds(join(process.argv[2], 'glancery'), ['simulate', '--days', '365', ...from, '-o', output]);
const node = [...before, ...runNode()].sort((one, other) => one - other)[12];
rmSync(output, {recursive: true});
const multiple = year / node;
console.log(`A simulated year: ${(year / 1000).toFixed(1)} s, ${multiple.toFixed(0)} times node -e 0, goal ${goal} times  ` +
            `${multiple <= goal ? 'ok' : 'MISSED'}`);
