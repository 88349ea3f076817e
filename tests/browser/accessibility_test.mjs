// No page has a fault that axe-core finds, on a narrow and a wide window, light and dark.
import assert from 'node:assert/strict';
import {mkdtemp, rm} from 'node:fs/promises';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {Home, closeBrowser, glancery, newTab, openBrowser} from './home.mjs';

const axe = createRequire(import.meta.url).resolve('axe-core/axe.min.js');
let folder = null;
let home = null;

before(async () => {
  await openBrowser();
  folder = await mkdtemp(path.join(tmpdir(), 'pages-'));
  const at = (name) => path.join(folder, name);
  await glancery('sheet', '--quick', '--only', 'Checkin', '-o', at('sheet'));
  // A comparison with another widget's sheet differs everywhere.
  await glancery('sheet', '--quick', '--only', 'Binnacle', '--verify', at('sheet'), '-o', at('report')).catch(() => {});
  await glancery('simulate', '--days', '3', '--from', '2026-03-05T00:00:00-06:00', '-o', at('simulation'));
  home = await Home.start();
});
after(async () => {
  await home.remove();
  await rm(folder, {recursive: true});
  await closeBrowser();
});

const pages = {
  'the home screen': () => home.url,
  'the sheet': () => `file://${folder}/sheet/index.html`,
  'the report of differences': () => `file://${folder}/report/report.html`,
  'the report of a simulation': () => `file://${folder}/simulation/report.html`,
};
for (const [name, url] of Object.entries(pages)) {
  test(name, async () => {
    for (const width of [390, 1440]) {
      for (const colorScheme of ['light', 'dark']) {
        const tab = await newTab({viewport: {width, height: 1000}, colorScheme, reducedMotion: 'reduce', bypassCSP: true});
        await tab.goto(url());
        for (const list of await tab.locator('details').all()) await list.evaluate((details) => (details.open = true));
        await tab.waitForFunction(() => document.body.innerText.length > 200);
        await tab.addScriptTag({path: axe});
        const {violations} = await tab.evaluate(() => globalThis.axe.run());
        const found = violations.map(({id, nodes}) => `${id}: ${nodes.slice(0, 3).map(({html}) => html).join(' ')}`);
        assert.deepEqual(found, [], `${width} points, ${colorScheme}`);
        await tab.context().close();
      }
    }
  });
}
