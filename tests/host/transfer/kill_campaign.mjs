// Kills hosts and extensions at random instants and checks what they leave:
//
//   GLANCERY=build/glancery node tests/host/transfer/kill_campaign.mjs 2000
//
// Every round is another day with another user. Two hosts are started, in turn or both at once, and
// each host or its extension is killed. A third host then completes all downloads. A round interrupts
// each task at most twice, so that its affirmation arrives: after three sends it would be an error.
import {execFile, spawn} from 'node:child_process';
import {mkdtempSync, readFileSync, readdirSync, rmSync, symlinkSync} from 'node:fs';
import http from 'node:http';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {setTimeout as sleep} from 'node:timers/promises';
import {promisify} from 'node:util';

const program = path.resolve(process.env.GLANCERY);
const wantedKills = Number(process.argv[2] ?? 50);
const mostSends = 3;
const longestWait = 60_000;
const commands = [
  ['timeline', 'AffirmationWidget', '--settle'],
  ['timeline', 'AffirmationWidget'],
  ['app', 'locale-change', '--settle'],
  ['home', '--port', '0'],
];
// Each host has its own language, which identifies its task in the request.
const locales = ['es_MX', 'en_US', 'fr_FR'];
const languages = locales.map((locale) => locale.slice(0, 2));
const ownFiles = /^(hosts|transfers\.db(-wal|-shm)?)$/;

const scratch = mkdtempSync(path.join(tmpdir(), 'kill-campaign-'));
const container = path.join(scratch, 'container');
const extension = path.join(scratch, 'Glancery.appex');
symlinkSync(path.join(path.dirname(program), 'Glancery.appex'), extension);

const figures = {rounds: 0, hostsKilled: 0, extensionsKilled: 0, leftPending: 0, leftDone: 0, sends: 0};
const kills = () => figures.hostsKilled + figures.extensionsKilled;

/** The number of requests, by user and language. */
const asked = new Map();
const server = http.createServer(async (request, answer) => {
  const chunks = await request.toArray().catch(() => []);
  if (!request.complete) {
    return;
  }
  const {uid, locale} = JSON.parse(Buffer.concat(chunks));
  asked.set(`${uid} ${locale}`, timesAsked(uid, locale) + 1);
  ++figures.sends;
  const body = JSON.stringify({text: `${uid} ${locale}`, color: 'gold'});
  await sleep(Math.random() * 30);
  answer.writeHead(200, {'Content-Length': body.length});
  answer.write(body.slice(0, 8));
  await sleep(Math.random() * 10);
  answer.end(body.slice(8));
});
const timesAsked = (uid, language) => asked.get(`${uid} ${language}`) ?? 0;

const glancery = async (...words) => {
  const options = {timeout: longestWait, killSignal: 'SIGKILL'};
  return (await promisify(execFile)(program, [...words, '--container', container], options)).stdout;
};
const json = async (...words) => JSON.parse(await glancery(...words));

function expect(holds, what, seen) {
  if (!holds) {
    throw new Error(`${what}: ${JSON.stringify(seen)}`);
  }
}

/** The hosts and extensions of this campaign: their command lines name its folder. */
function processes() {
  return readdirSync('/proc').filter((pid) => {
    try {
      return /^\d+$/.test(pid) && readFileSync(`/proc/${pid}/cmdline`, 'utf8').includes(scratch);
    } catch {
      return false;
    }
  });
}

async function untilAllHaveEnded() {
  for (const start = Date.now(); processes().length > 0; await sleep(5)) {
    expect(Date.now() - start < longestWait, 'processes do not end', processes());
  }
}

function childrenOf(pid) {
  try {
    return readFileSync(`/proc/${pid}/task/${pid}/children`, 'utf8').split(' ').filter(Boolean).map(Number);
  } catch {
    return [];
  }
}

/** False if the process had ended before. */
function killed(pid) {
  try {
    return process.kill(pid, 'SIGKILL');
  } catch (error) {
    expect(error.code === 'ESRCH', 'a process cannot be killed', error);
    return false;
  }
}

/** Starts a host and kills it, or its extension, after that many milliseconds. */
async function runAndKill(words, after) {
  const host = spawn(program, words, {stdio: 'ignore'});
  const ended = new Promise((resolve) => host.once('exit', resolve));
  await sleep(after);
  const children = Math.random() < 0.5 ? childrenOf(host.pid) : [];
  if (children.some(killed)) {
    ++figures.extensionsKilled;
    if (words[0] === 'home') {  // It would not end by itself.
      await sleep(Math.random() * after);
      host.kill('SIGKILL');
    }
  } else if (host.kill('SIGKILL')) {
    ++figures.hostsKilled;
  }
  const late = sleep(longestWait, 'late', {ref: false});
  expect(await Promise.race([ended, late]) !== 'late', 'a host does not end', words);
}

const stored = (suite) => suite.affirmationData
  ? JSON.parse(Buffer.from(suite.affirmationData.data, 'base64')).text.split(' ')[0] : null;

/** Waits for all processes to end and returns the downloads. A fetch time needs a download or its affirmation. */
async function atRest(uid, now, earlier) {
  await untilAllHaveEnded();
  const suite = await json('store', 'dump');
  const {downloads, damaged} = await json('downloads', '--json');
  expect(damaged.length === 0, 'the database is damaged', damaged);
  const fetched = suite.affirmationLastFetchTime?.slice(0, 10) === now.slice(0, 10);
  const arrived = stored(suite) === uid;
  expect(!fetched || arrived || downloads.length > 0, 'a fetch time has no download', suite);
  const ids = downloads.map(({id}) => id);
  expect(arrived || earlier.every(({id}) => ids.includes(id)), 'downloads are lost', [earlier, downloads]);
  return downloads;
}

async function round(span) {
  const day = ++figures.rounds;
  const uid = `u-${day}`;
  const now = new Date(Date.UTC(2024, 2, 5, 12) + day * 86_400_000).toISOString();
  const device = [
    '--now', now, '--time-zone', 'UTC', '--extension', extension,
    '--info', `ApiBaseUrl=http://127.0.0.1:${server.address().port}`, '--info', 'ApiKey=k-1',
  ];
  const hosts = [0, 1].map((which) => [
    ...commands[Math.floor(Math.random() * commands.length)],
    '--container', container, ...device, '--locale', locales[which],
  ]);
  await glancery('app', 'sign-in', uid);
  let downloads = [];
  if (Math.random() < 0.5) {
    await Promise.all(hosts.map((words) => runAndKill(words, Math.random() * span)));
    downloads = await atRest(uid, now, downloads);
  } else {
    for (const words of hosts) {
      await runAndKill(words, Math.random() * span);
      downloads = await atRest(uid, now, downloads);
    }
  }

  const before = languages.map((language) => timesAsked(uid, language));
  const start = Date.now();
  const {log} = await json('timeline', 'AffirmationWidget', '--settle', '--json', ...device, '--locale', locales[2]);
  const took = Date.now() - start;
  const after = languages.map((language) => timesAsked(uid, language));
  const pending = downloads.filter(({state}) => state === 'pending').length;
  figures.leftPending += pending;
  figures.leftDone += downloads.length - pending;

  const left = await atRest(uid, now, []);
  expect(left.length === 0, 'downloads are never forgotten', left);
  expect(stored(await json('store', 'dump')) === uid, 'an affirmation is lost', log);
  const saved = log.filter((line) => line.includes('Saved serialized affirmation data')).length;
  const own = after[2];
  expect(saved === downloads.length + own, 'not each download is delivered once', [saved, own, downloads]);
  expect(after[0] + after[1] === before[0] + before[1] + pending && own <= 1,
    'the last host repeats a request, or sends none', [before, after, downloads]);
  expect(Math.max(...after) <= mostSends, 'a request is sent too often', after);
  const files = readdirSync(path.join(container, 'Library/Transfers')).filter((name) => !ownFiles.test(name));
  expect(files.length === 0, 'files are left behind', files);
  return took;
}

await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
try {
  // The instants of the kills follow how long an undisturbed host takes, which depends on the load.
  for (let span = 300, said = 0; kills() < wantedKills;) {
    span = 0.8 * span + 0.2 * 1.3 * Math.min(await round(span), 5000);
    if (kills() >= said + 100) {
      said = kills();
      console.log(JSON.stringify(figures));
    }
  }
  console.log(JSON.stringify(figures));
  rmSync(scratch, {recursive: true});
} catch (fault) {
  console.error(`${fault.stack}\n${fault.stderr ?? ''}\n${JSON.stringify(figures)}\nthe container is kept: ${container}`);
  process.exitCode = 1;
  processes().map(Number).forEach(killed);
}
server.close();
server.closeAllConnections();
