// The home screen as a browser sees it: how soon the page is ready, how soon a change of the suite is
// a picture on it, and what host and extension cost while nothing happens.
//
//   node bench/home_page.mjs BUILD [ROUNDS]

import {execFileSync, spawn} from 'node:child_process';
import {mkdtempSync, readFileSync, readdirSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {setTimeout as sleep} from 'node:timers/promises';
import {chromium} from 'playwright-core';

const [build, rounds = '15'] = process.argv.slice(2);
const glancery = join(build, 'glancery');
const container = mkdtempSync(join(tmpdir(), 'glancery-bench-'));
const device = ['--container', container, '--time-zone', 'America/Mexico_City'];

function startHome() {
  const child = spawn(glancery, ['home', '--port', '0', ...device], {stdio: ['ignore', 'pipe', 'inherit']});
  const address = new Promise((resolve, reject) => {
    child.stdout.once('data', line => resolve(String(line).trim()));
    child.once('exit', status => reject(new Error(`home left with status ${status}`)));
  });
  return {child, address};
}

async function stop({child}) {
  const gone = new Promise(resolve => child.once('exit', resolve));
  child.kill('SIGTERM');
  await gone;
}

// Notes in the page when all four pictures stand in it, loaded and decoded.
const watchPictures = () => {
  const look = () => {
    const pictures = [...document.querySelectorAll('img[src^="/widgets/"]')];
    if (pictures.length >= 4 && pictures.every(picture => picture.complete && picture.naturalWidth > 0)) {
      window.readyAt ??= performance.timeOrigin + performance.now();
    }
  };
  new MutationObserver(look).observe(document, {childList: true, subtree: true});
};
const ready = () => window.readyAt;

function median(sample) {
  const sorted = [...sample].sort((one, other) => one - other);
  return sorted[Math.floor(sorted.length / 2)];
}

function report(what, value, unit, goal) {
  const verdict = value <= goal ? 'ok' : 'MISSED';
  console.log(`${what.padEnd(58)} ${value.toFixed(1).padStart(8)} ${unit}  goal ${goal} ${unit}  ${verdict}`);
}

async function pageReady(browser) {
  const times = [];
  for (let round = 0; round < Number(rounds); ++round) {
    const page = await browser.newPage();
    await page.addInitScript(watchPictures);
    const start = performance.timeOrigin + performance.now();
    const home = startHome();
    await page.goto(await home.address, {waitUntil: 'commit'});
    const readyAt = await (await page.waitForFunction(ready)).jsonValue();
    times.push(readyAt - start);
    await page.close();
    await stop(home);
  }
  return median(times);
}

// From before the program that changes the suite starts to the new picture's first frame.
async function changeSeen(page) {
  const times = [];
  for (let round = 0; round < 2 * Number(rounds); ++round) {
    const before = await page.evaluate(() => document.querySelector('img[src*="StreakWidget"]').src);
    const seen = page.waitForFunction(old => {
      const now = [...document.querySelectorAll('img[src*="StreakWidget"]')].find(each => each.src !== old);
      return now && now.complete && now.naturalWidth > 0;
    }, before, {polling: 'raf'});
    const start = performance.now();
    execFileSync(glancery, ['app', 'streak', String(10 + round), '--container', container]);
    await seen;
    times.push(performance.now() - start);
    await sleep(50);
  }
  return median(times);
}

function processesOf(child) {
  const children = readdirSync('/proc').filter(name => /^\d+$/.test(name)).filter(pid => {
    try {
      return readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ')[1].split(' ')[1] === String(child.pid);
    } catch {
      return false;
    }
  });
  return [String(child.pid), ...children];
}

function sumOver(pids, pattern, file) {
  let sum = 0;
  for (const pid of pids) {
    const tasks = file === 'status' ? readdirSync(`/proc/${pid}/task`).map(task => `task/${task}/status`) : [file];
    for (const name of tasks) {
      sum += Number(pattern.exec(readFileSync(`/proc/${pid}/${name}`, 'utf8'))[1]);
    }
  }
  return sum;
}

try {
  execFileSync(glancery, ['app', 'streak', '5', '--container', container]);
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
           '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  console.log('The home screen in a browser that runs already');
  report('start of home to four pictures on the page, median', await pageReady(browser), 'ms', 250);
  const home = startHome();
  const page = await browser.newPage();
  await page.addInitScript(watchPictures);
  await page.goto(await home.address, {waitUntil: 'commit'});
  await page.waitForFunction(ready);
  report('`app streak N` to the new picture, median', await changeSeen(page), 'ms', 150);
  await browser.close();

  // Seconds. Before, the time-outs of the browser's connections run out.
  const kQuiet = 45, kIdle = 20;
  await sleep(1000 * kQuiet);
  const pids = processesOf(home.child);
  const wakes = () => sumOver(pids, /voluntary_ctxt_switches:\s+(\d+)/, 'status');
  const before = wakes();
  await sleep(1000 * kIdle);
  report(`wake-ups of host and extension in ${kIdle} idle seconds`, wakes() - before, '', 0);
  const kibibytes = sumOver(pids, /Rss:\s+(\d+)/, 'smaps_rollup');
  report('resident memory of host and extension, idle', kibibytes / 1024, 'MiB', 40);
  await stop(home);
} finally {
  rmSync(container, {recursive: true, force: true});
}
