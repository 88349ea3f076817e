// Starts the host and the browser for tests of the page.
import {execFile, spawn} from 'node:child_process';
import {readFileSync, readdirSync} from 'node:fs';
import {mkdtemp, rm} from 'node:fs/promises';
import http from 'node:http';
import net from 'node:net';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {promisify} from 'node:util';
import {chromium} from 'playwright-core';

const program = process.env.GLANCERY;
const now = '2026-03-05T20:30:00Z';
const device = ['--now', now, '--time-zone', 'America/Mexico_City'];
// The host serves its own API only at 127.0.0.1, so downloads stay pending.
const noApi = ['--info', 'ApiBaseUrl=http://localhost:1'];

export const glancery = (...words) => promisify(execFile)(program, words);

let browser = null;
export async function openBrowser() {
  const quiet = ['quic', 'background-networking', 'component-update', 'sync'].map((name) => `--disable-${name}`);
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: [...quiet, '--disable-gpu', '--no-first-run', '--no-proxy-server'],
  });
}
export const closeBrowser = () => browser.close();
/** A tab in a new window. */
export const newTab = async (options) => (await browser.newContext(options)).newPage();

/** `glancery home` with a new container. */
export class Home {
  static async start({port = 0, container = null, words = []} = {}) {
    const home = new Home();
    home.container = container ?? await mkdtemp(path.join(tmpdir(), 'home-'));
    const container_ = ['--container', home.container];
    home.process = spawn(program, ['home', '--port', port, ...container_, ...device, ...noApi, ...words], {
      stdio: ['ignore', 'pipe', 'inherit'],
    });
    home.exited = new Promise((resolve) => home.process.once('exit', (...how) => resolve(how)));
    home.url = await new Promise((resolve, reject) => {
      home.process.stdout.once('data', (line) => resolve(String(line).trim()));
      home.process.once('exit', (status) => reject(new Error(`glancery home ended with ${status}`)));
    });
    home.port = new URL(home.url).port;
    return home;
  }

  app(...words) {
    return glancery('app', ...words, '--container', this.container, '--now', now);
  }

  /** The running extension is the host's child. */
  extension() {
    const children = readdirSync('/proc').filter((name) => /^\d+$/.test(name)).filter((pid) => {
      try {
        // The second field, the name, is in brackets; the parent comes two fields after it.
        const fields = readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ').pop().split(' ');
        return fields[0] !== 'Z' && Number(fields[1]) === this.process.pid;
      } catch {
        return false;
      }
    });
    return Number(children[0]);
  }

  async end() {
    this.process.kill();
    const [status, signal] = await this.exited;
    if (status !== 0 && signal !== 'SIGTERM') throw new Error(`glancery home ended with ${status ?? signal}`);
  }

  async remove() {
    await this.end();
    await rm(this.container, {recursive: true});
  }

  /** Sends a request that a browser would not send. */
  request(target, {method = 'GET', headers = {}, body = ''} = {}) {
    return new Promise((resolve, reject) => {
      const request = http.request({port: this.port, host: '127.0.0.1', path: target, method, headers}, (response) => {
        let text = '';
        response.on('data', (bytes) => (text += bytes));
        response.on('end', () => resolve({status: response.statusCode, headers: response.headers, text}));
      });
      request.on('error', reject);
      request.end(body);
    });
  }

  /** Sends requests on one connection, which the last one closes; returns all received bytes. */
  exchange(requests) {
    const head = `HTTP/1.1\r\nHost: localhost\r\n`;
    const last = requests.length - 1;
    return new Promise((resolve, reject) => {
      const connection = net.connect(this.port, '127.0.0.1');
      let text = '';
      connection.on('data', (bytes) => (text += bytes)).on('close', () => resolve(text)).on('error', reject);
      connection.write(requests.map((line, at) => `${line} ${head}${at === last ? 'Connection: close\r\n' : ''}\r\n`).join(''));
    });
  }
}

/** A browser tab with the page. Its errors are in `complaints`. */
export class Page {
  static async open(url, {width = 1440, height = 1000, prepare = async () => {}, ...options} = {}) {
    const context = await browser.newContext({viewport: {width, height}, reducedMotion: 'reduce', ...options});
    const page = new Page();
    page.tab = await context.newPage();
    page.tab.setDefaultTimeout(30_000);
    page.complaints = [];
    page.tab.on('pageerror', (error) => page.complaints.push(String(error)));
    page.tab.on('console', (message) => {
      if (['error', 'warning'].includes(message.type())) page.complaints.push(message.text());
    });
    await prepare(page.tab);
    await page.tab.goto(url);
    await page.until(() => document.querySelector('#clock').textContent !== '');
    return page;
  }

  until(condition, ...values) {
    return this.tab.waitForFunction(condition, ...values);
  }

  /** Waits until the element contains the text or matches the pattern. */
  says(selector, text) {
    return this.tab.locator(selector).filter({hasText: text}).first().waitFor({state: 'attached'});
  }

  button(name) {
    return this.tab.getByRole('button', {name, exact: true});
  }

  widget(kind) {
    return this.tab.locator(`.widget[data-kind=${kind}]`);
  }

  /** Waits for a picture of the widget with this description. */
  async shows(kind, text) {
    const picture = this.widget(kind).getByAltText(text);
    await picture.waitFor();
    return picture.evaluate((image) => image.decode().then(() => image.src));
  }

  /** The brightness of the widget's picture at its top centre, from 0 to 255. */
  brightness(kind) {
    return this.widget(kind).locator('img').last().evaluate(async (image) => {
      await image.decode();
      const canvas = new OffscreenCanvas(1, 1).getContext('2d');
      canvas.drawImage(image, image.naturalWidth / 2, 12, 1, 1, 0, 0, 1, 1);
      const [red, green, blue] = canvas.getImageData(0, 0, 1, 1).data;
      return (red + green + blue) / 3;
    });
  }

  choose(label, value) {
    return this.tab.getByRole('combobox', {name: label}).selectOption(value);
  }

  async signIn(uid = 'u-1') {
    await this.tab.getByLabel('User').fill(uid);
    // The new state may be there before the answer.
    const answered = this.tab.waitForResponse('**/actions').then((response) => response.finished());
    await this.button('Sign in').click();
    await answered;
    await this.says('#signed-in', uid);
  }

  async recordStreak(days) {
    await this.tab.getByLabel('Days').fill(String(days));
    await this.button('Record').click();
  }

  taps() {
    return this.tab.locator('#taps li').evaluateAll((rows) => rows.map((row) => row.lastElementChild.textContent));
  }

  /** Presses Tab until the focus is on the control with that name. */
  async tabTo(name) {
    for (let presses = 0; presses < 80; ++presses) {
      await this.tab.keyboard.press('Tab');
      const found = await this.tab.evaluate(() => {
        const {activeElement: control} = document;
        if (control === document.body) return {name: '', seen: true};
        const ring = getComputedStyle(control.matches('[type=radio]') ? control.nextElementSibling : control);
        return {
          name: control.getAttribute('aria-label') ?? control.labels?.[0]?.textContent ?? control.textContent,
          seen: ring.outlineStyle !== 'none',
        };
      });
      if (!found.seen) throw new Error(`"${found.name}" does not show that it has the focus`);
      if (found.name.trim().startsWith(name)) return;
    }
    throw new Error(`Tab never reaches "${name}"`);
  }

  async close() {
    await this.tab.context().close();
  }
}
