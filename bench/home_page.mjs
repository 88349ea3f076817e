// The home screen in a browser: the time until the page is ready, the time until a change of the suite
// is visible, and wake-ups and memory of host and extension while idle. Times are compared with
// `node -e 0` and memory with an idle node, measured in the same run.
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

function startHome(folder = container) {
  const device = ['--container', folder, '--time-zone', 'America/Mexico_City'];
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

// Records when the page has all four pictures, loaded and decoded.
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

function report(what, value, unit, yardstick, goal) {
  const multiple = value / yardstick.value;
  const verdict = multiple <= goal ? 'ok' : 'MISSED';
  console.log(`${what.padEnd(58)} ${value.toFixed(1).padStart(8)} ${unit}  ${multiple.toFixed(2)} times ` +
              `${yardstick.name}, goal ${goal} times  ${verdict}`);
}

const nodeTimes = [];
function runNode() {
  const start = performance.now();
  execFileSync('node', ['-e', '0']);
  nodeTimes.push(performance.now() - start);
}
const nodeTime = () => ({name: 'node -e 0', value: median(nodeTimes)});

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
    runNode();
  }
  return median(times);
}

// From the start of the program that changes the suite to the first frame of the new picture.
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
    runNode();
    await sleep(50);
  }
  return median(times);
}

const frames = (page, count) => page.evaluate((count) => new Promise(resolve => {
  const times = [];
  const next = time => (times.push(time) > count ? resolve(times.slice(1).map((each, at) => each - times[at]))
                                                 : requestAnimationFrame(next));
  requestAnimationFrame(next);
}), count);

// The longest frames while the cursor is dragged over a month of events, and a frame at rest, in ms.
async function framesWithMonth(browser) {
  const home = startHome(join(container, 'month'));
  const page = await browser.newPage();
  await page.goto(await home.address);
  await page.locator('#strip-zoom').selectOption('month');
  const cursor = page.locator('#strip-cursor');
  for (let step = 0; step < 96; ++step) {
    await cursor.press('ArrowRight');
  }
  const rest = median(await frames(page, 60));
  const {x, y, width} = await cursor.boundingBox();
  await page.mouse.move(x + width / 2, y + 30);
  await page.mouse.down();
  const dragged = frames(page, 240);
  for (let step = 0; step < 80; ++step) {
    await page.mouse.move(x + width / 2 - 4 * step, y + 30);
    await sleep(30);
  }
  const times = (await dragged).sort((one, other) => one - other);
  await page.mouse.up();
  const drawn = await page.locator('#strip *').count();
  await page.close();
  await stop(home);
  return {slow: times[Math.floor(0.95 * times.length)], rest, drawn};
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

function wakeUps(pids) {
  let sum = 0;
  for (const pid of pids) {
    for (const task of readdirSync(`/proc/${pid}/task`)) {
      const status = readFileSync(`/proc/${pid}/task/${task}/status`, 'utf8');
      sum += Number(/voluntary_ctxt_switches:\s+(\d+)/.exec(status)[1]);
    }
  }
  return sum;
}

// MiB of the processes' own pages, in memory or swapped out.
function dirtyMemory(pids) {
  let kibibytes = 0;
  for (const pid of pids) {
    const status = readFileSync(`/proc/${pid}/status`, 'utf8');
    for (const field of [/RssAnon:\s+(\d+)/, /VmSwap:\s+(\d+)/]) {
      kibibytes += Number(field.exec(status)[1]);
    }
  }
  return kibibytes / 1024;
}

try {
  execFileSync(glancery, ['app', 'streak', '5', '--container', container]);
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
           '--disable-background-networking', '--disable-component-update', '--disable-sync'],
  });
  console.log('The home screen in a browser that runs already');
  report('start of home to four pictures on the page, median', await pageReady(browser), 'ms', nodeTime(), 3.5);
  const {slow, rest, drawn} = await framesWithMonth(browser);
  report(`dragging over a month (${drawn} shapes), a frame of the slowest 5 %`, slow, 'ms',
         {name: 'a frame at rest', value: rest}, 2);
  const home = startHome();
  const page = await browser.newPage();
  await page.addInitScript(watchPictures);
  await page.goto(await home.address, {waitUntil: 'commit'});
  await page.waitForFunction(ready);
  report('`app streak N` to the new picture, median', await changeSeen(page), 'ms', nodeTime(), 2.5);
  await browser.close();

  // Seconds. The first ones let the browser's connections time out.
  const settleTime = 45, idleTime = 20;
  await sleep(1000 * settleTime);
  const pids = processesOf(home.child);
  const before = wakeUps(pids);
  await sleep(1000 * idleTime);
  const woken = wakeUps(pids) - before;
  console.log(`wake-ups of host and extension in ${idleTime} idle seconds`.padEnd(58),
              `${String(woken).padStart(8)}  goal 0  ${woken === 0 ? 'ok' : 'MISSED'}`);
  const idleNode = spawn('node', ['-e', 'console.log(); setInterval(() => {}, 1e6)'],
                         {stdio: ['ignore', 'pipe', 'inherit']});
  await new Promise(resolve => idleNode.stdout.once('data', resolve));
  const nodeMemory = {name: 'an idle node', value: dirtyMemory([idleNode.pid])};
  idleNode.kill();
  report('dirty memory of host and extension, idle', dirtyMemory(pids), 'MiB', nodeMemory, 1);
  await stop(home);
} finally {
  rmSync(container, {recursive: true, force: true});
}
