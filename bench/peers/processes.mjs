// Measures programs: time from start to end, and memory.

import { spawn } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';

/** In MiB; 0 if the process has ended. */
export function peakOf(id) {
  try {
    const status = readFileSync(`/proc/${id}/status`, 'utf8');
    return Number(status.match(/VmHWM:\s*(\d+) kB/)?.[1] ?? 0) / 1024;
  } catch {
    return 0;
  }
}

/** Processor time of this process's ended children, with their own children. */
function secondsOfEndedChildren() {
  const fields = readFileSync('/proc/self/stat', 'utf8').replace(/.*\) /s, '').split(' ');
  const [user, system] = fields.slice(13, 15).map(Number);
  const ticks = 100;
  return (user + system) / ticks;
}

/** Empty if the process has ended. */
function childrenOf(id) {
  try {
    return readdirSync(`/proc/${id}/task`).flatMap(thread =>
      readFileSync(`/proc/${id}/task/${thread}/children`, 'utf8').split(' ').filter(Boolean),
    );
  } catch {
    return [];
  }
}

/**
 * Resolves when the program has succeeded: wall-clock and processor seconds, its output, and with
 * `watch` the sum of its and its children's peak memory. One program at a time.
 */
export function run(program, words, { watch = false } = {}) {
  return new Promise((resolve, reject) => {
    const start = performance.now();
    const taken = secondsOfEndedChildren();
    const child = spawn(program, words, { stdio: ['ignore', 'pipe', 'pipe'] });
    const peaks = new Map();
    const look = () => {
      for (const id of [child.pid, ...childrenOf(child.pid)]) {
        peaks.set(id, Math.max(peaks.get(id) ?? 0, peakOf(id)));
      }
    };
    const timer = watch ? setInterval(look, 50) : undefined;
    let output = '';
    let seconds = 0;
    child.stdout.on('data', text => (output += text));
    child.stderr.on('data', text => (output += text));
    child.on('error', reject);
    child.on('exit', () => {
      seconds = (performance.now() - start) / 1000;
      clearInterval(timer);
    });
    child.on('close', (status, signal) => {
      if (status !== 0) {
        const how = signal ?? `status ${status}`;
        reject(new Error(`${[program, ...words].join(' ')} ended with ${how}: ${output.trim()}`));
        return;
      }
      const peak = watch ? [...peaks.values()].reduce((sum, one) => sum + one, 0) : undefined;
      resolve({ seconds, coreSeconds: secondsOfEndedChildren() - taken, output, peak });
    });
  });
}
