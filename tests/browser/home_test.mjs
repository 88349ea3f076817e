import assert from 'node:assert/strict';
import {cp, mkdtemp, readFile, rm, writeFile} from 'node:fs/promises';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {Home, Page, closeBrowser, openBrowser} from './home.mjs';

before(openBrowser);
after(closeBrowser);

const moods = ['veryBad', 'bad', 'neutral', 'well', 'veryWell'];

/** A test with a new phone and its page; it fails if the page reports an error. */
function onPhone(name, body, {page: options = {}, complains = false, ...home} = {}) {
  test(name, async () => {
    const phone = await Home.start(home);
    const page = await Page.open(phone.url, options);
    try {
      await body(page, phone);
      if (!complains) assert.deepEqual(page.complaints, []);
    } finally {
      await page.close();
      await phone.remove();
    }
  });
}

onPhone('every tap shows the link that it opens, or that there is none', async (page) => {
  const nowhere = {position: {x: 169, y: 5}};
  await page.widget('Checkin').locator('.whole').click(nowhere);
  await page.says('#banner', 'No link');
  assert.deepEqual(await page.taps(), ['no link']);

  await page.signIn();
  await page.until((count) => document.querySelectorAll('.area').length === count, moods.length);
  const faces = page.widget('Checkin').locator('.area');
  for (const [index, mood] of moods.entries()) {
    await faces.nth(index).click();
    await page.says('#banner', `quiloapp://emotion/${mood}`);
  }
  await page.widget('Checkin').locator('.whole').click(nowhere);
  await page.says('#banner', 'No link');
  for (const [kind, link] of [['StreakWidget', 'streak'], ['AffirmationWidget', 'affirmation'], ['Binnacle', 'binnacle']]) {
    await page.widget(kind).locator('.whole').click();
    await page.says('#banner', `quiloapp://${link}`);
  }
  const links = ['streak', 'affirmation', 'binnacle'].map((name) => `quiloapp://${name}`);
  const faceLinks = moods.map((mood) => `quiloapp://emotion/${mood}`);
  assert.deepEqual((await page.taps()).reverse(), ['no link', ...faceLinks, 'no link', ...links]);
});

onPhone('a name that looks like markup is a name', async (page) => {
  await page.signIn('</script><b>{{token}}');
  await page.tab.reload();
  await page.says('#signed-in', '</script><b>{{token}}');
});

onPhone('what the host app writes is on the phone, and a midnight makes it yesterday’s', async (page, phone) => {
  await page.shows('StreakWidget', /— 0,/);
  await page.recordStreak(7);
  await page.shows('StreakWidget', /— 7$/);
  await page.says('#streak-stored', '7 days, last active 14:30');
  await page.button('Well').click();
  await page.shows('Binnacle', /bien, Hoy$/);
  await page.tab.getByRole('button', {name: 'Next midnight'}).click();
  await page.says('#clock', '00:00:00');
  await page.says('#clock-date', 'Friday, 6 March 2026');
  await page.shows('Binnacle', /bien, Ayer, sin registro, Hoy$/);
  await page.shows('StreakWidget', /— 7, \S/);
  await page.says('#mood-of', 'Today: choose a mood');
  // The other day is still there to be changed.
  await page.tab.getByLabel('Thursday 5 March: Well').check();
  await page.button('Very bad').click();
  await page.shows('Binnacle', /muy mal, Ayer, sin registro, Hoy$/);

  await phone.app('streak', '5');
  await page.shows('StreakWidget', /— 5\b/);
  await page.says('.card[data-kind=StreakWidget]', 'the host app changed streakData');
  await page.says('#log', '[StreakProvider] Deserialized streakCount: 5');
});

onPhone('the suite’s folder is watched when it was removed and is there again', async (page, phone) => {
  await phone.app('streak', '5');
  await page.shows('StreakWidget', /— 5\b/);
  await rm(`${phone.container}/Library/Preferences`, {recursive: true});
  await page.says('#streak-stored', 'none stored');
  await phone.app('streak', '6');
  await page.shows('StreakWidget', /— 6\b/);
});

onPhone('the device’s settings change the phone, not the page', async (page) => {
  const light = await page.shows('Binnacle', 'Tu semana');
  assert.ok(await page.brightness('Binnacle') > 200);
  await page.choose('Colour scheme', 'dark');
  await page.until((src) => ![...document.querySelectorAll('img')].some((image) => image.src === src), light);
  assert.ok(await page.brightness('Binnacle') < 90);
  await page.says('#phone[data-scheme=dark]', /./);

  await page.choose('Language', 'fr_FR');
  await page.shows('Binnacle', /^Ta semaine .* Auj\.$/);
  assert.equal(await page.widget('Binnacle').locator('img').getAttribute('lang'), 'fr-FR');
  await page.says('#phone-clock', '14:30');
  await page.choose('Time zone', 'Asia/Kathmandu');
  await page.says('#clock', '02:15:00');
  await page.choose('Language', 'th_TH');
  await page.says('#app-weekday', /\p{Script=Thai}/u);
  await page.button('Bad').click();
  await page.says('#mood-of', 'Today: Bad');

  const sizes = {'320x568': [292, 141, 2], '430x932': [364, 170, 3]};
  for (const [screen, size] of Object.entries(sizes)) {
    await page.choose('Screen', screen);
    await page.until(([width, height, scale]) => {
      const image = document.querySelector('[data-kind=Checkin] img:only-child');
      return image?.naturalWidth === width * scale && image.width === width && image.height === height;
    }, size);
  }
});

onPhone('the clock runs, stops, and jumps to any instant of the device’s zone', async (page) => {
  await page.button('Run').click();
  await page.says('#clock', /14:(30:0[1-9]|30:[1-5]|31)/);
  await page.button('Pause').click();
  await page.says('#clock-date', 'frozen clock');
  await page.tab.getByLabel('Any instant').fill('2026-07-01T23:59:30');
  await page.button('Go').click();
  await page.says('#clock', '23:59:30');
  await page.says('#announcements', 'Wed 1 Jul, 23:59');
  await page.tab.getByRole('button', {name: 'Next entry'}).click();
  await page.says('#clock', '00:00:00');
  await page.says('.card[data-kind=AffirmationWidget]', '2 of 2');
  await page.button('Back to now').click();
  const year = new Date().getFullYear();
  await page.says('#clock-date', String(year));
});

onPhone('the strip shows what was and what is planned, and its cursor is the phone’s time', async (page, home) => {
  const bands = (planned) => page.tab.locator(`[transform]:nth-of-type(4) .band${planned ? '.planned' : ':not(.planned)'}`);
  await page.recordStreak(7);
  await page.shows('StreakWidget', /— 7$/);
  const first = await bands(false).count();
  await page.tab.getByRole('button', {name: 'Next reload'}).click();
  await page.says('#clock', '16:00:00');
  await page.until(([selector, count]) => document.querySelectorAll(selector).length > count, ['.band:not(.planned)', first]);
  await bands(true).first().hover();
  await page.says('#strip-preview', /planned from/);
  await page.until(() => document.querySelector('#strip-preview img').naturalWidth > 0);

  const cursor = page.tab.getByRole('slider', {name: 'The device’s time'});
  await cursor.press('ArrowRight');
  await page.says('#clock', '16:15:00');
  const box = await cursor.boundingBox();
  await page.tab.mouse.move(box.x + box.width / 2, box.y + 40);
  await page.tab.mouse.down();
  await page.tab.mouse.move(box.x + box.width / 2 - 30, box.y + 40, {steps: 4});
  await page.tab.mouse.up();
  await page.says('#clock', /^15:/);

  const entries = page.tab.getByRole('listbox', {name: 'Entries of Tu racha'});
  await page.tab.locator('#strip-zoom').focus();
  for (let stop = 0; stop < 8 && !(await entries.locator(':focus').count()); ++stop) await page.tab.keyboard.press('Tab');
  await page.says('#strip-preview', /Tu racha: planned from/);
  await page.tab.keyboard.press('ArrowLeft');
  await page.says('#strip-preview', /Tu racha: shown from/);
  await home.app('streak', '8');
  await page.shows('StreakWidget', /— 8$/);  // The strip is drawn again, and keeps the focus.
  await page.tab.keyboard.press('End');
  await page.says('#strip-preview', /Tu racha: planned from/);

  await page.tab.locator('#strip-zoom').selectOption('month');
  await page.tab.getByText('As a table').click();
  await page.says('#strip-rows', 'reloaded: the host app changed streakData');
});

onPhone('a refused action says why beside its control', async (page) => {
  await page.recordStreak('99999999999999999999');
  await page.says('#streak .error', '"count"');
  assert.equal(await page.tab.locator('.error:not(:empty)').count(), 1);
  await page.recordStreak(3);
  // The picture may be there before the action is answered.
  await page.until(() => document.querySelectorAll('.error:not(:empty)').length === 0);
}, {complains: true});

onPhone('everything can be done without a mouse', async (page) => {
  const press = (key) => page.tab.keyboard.press(key);
  await page.tabTo('Skip the phone');
  await press('Enter');
  await page.tabTo('User');
  await page.tab.keyboard.type('0');
  await press('Enter');
  await page.says('#signed-in', '0');
  await page.tabTo('Thursday 5 March');
  await press('ArrowLeft');
  await page.tabTo('Well');
  await press('Space');
  await page.shows('Binnacle', /bien, Ayer, sin registro, Hoy$/);
  await page.tabTo('Colour scheme');
  await press('ArrowDown');
  await page.says('#phone[data-scheme=dark]', /./);
  await page.tab.evaluate(() => document.activeElement.blur());
  await page.tabTo('bien: opens quiloapp://emotion/well');
  await press('Enter');
  await page.says('#announcements', 'Opens quiloapp://emotion/well');
  await page.tabTo('Tu racha: opens quiloapp://streak');
  await press('Space');
  await page.says('#announcements', 'Opens quiloapp://streak');
  // The middle of the check-in is a face; the widget as a whole has no link.
  await page.tab.evaluate(() => document.activeElement.blur());
  await page.tabTo('¿Qué tal hoy?: no link');
  await press('Enter');
  await page.says('#announcements', 'No link');
});

onPhone('an extension that was killed leaves its pictures, and comes back when it is needed', async (page, phone) => {
  await page.signIn();
  await page.shows('Checkin', /muy bien/);
  process.kill(phone.extension(), 'SIGKILL');
  await page.says('#extension-problem', 'Killed');
  await page.says('#extension', 'does not run, started once');
  for (const kind of ['Checkin', 'StreakWidget', 'AffirmationWidget', 'Binnacle']) {
    assert.ok(await page.brightness(kind) > 0);
  }
  await page.button('Reload Tu racha').click();
  await page.says('#extension', 'runs, started 2 times');
  await page.says('#extension-problem', /^$/);
  await page.recordStreak(4);
  await page.shows('StreakWidget', /— 4$/);
});

onPhone('widgets of the gallery are removed and placed again, also twice', async (page, phone) => {
  await page.tab.getByText('Place widgets on the phone').click();
  await page.until(() => document.querySelectorAll('#gallery img').length === 8);
  await page.tab.locator('#gallery li').nth(3).scrollIntoViewIfNeeded();
  await page.until(() => [...document.querySelectorAll('#gallery img')].every((image) => image.naturalWidth > 0));
  await page.button('Remove Tu racha').click();
  await page.until(() => !document.querySelector('.widget[data-kind=StreakWidget]'));
  await page.says('#gallery', 'not on the phone');
  for (const times of [1, 2]) {
    await page.button('Add Tu racha').click();
    await page.until((count) => document.querySelectorAll('.widget[data-kind=StreakWidget] img').length === count, times);
  }
  await page.recordStreak(4);
  await page.until(() => [...document.querySelectorAll('.widget[data-kind=StreakWidget] img')].every((image) => /— 4$/.test(image.alt)));
  await page.button('Remove Tu semana').click();
  await page.says('#gallery', 'not on the phone');

  await phone.end();
  const again = await Home.start({port: phone.port, container: phone.container});
  try {
    await page.tab.reload();
    await page.until(() => document.querySelectorAll('.widget[data-kind=StreakWidget]').length === 2);
    assert.equal(await page.widget('Binnacle').count(), 0);
  } finally {
    await again.end();
  }
}, {complains: true});

onPhone('a fault is played beside the phone', async (page) => {
  await page.tab.getByText('Play a fault').click();
  await page.button('The clock is set back by a day').click();
  await page.says('.result', /^Held: Tu semana/);
  await page.says('#announcements', 'Held');
  await page.shows('StreakWidget', /— 0,/);
});

test('an edited bundle shows at once, a broken one its error beside the last picture', async () => {
  const folder = await mkdtemp(path.join(tmpdir(), 'bundle-'));
  const bundle = path.join(folder, 'Glancery.appex');
  await cp(path.join(path.dirname(process.env.GLANCERY), 'Glancery.appex'), bundle, {recursive: true});
  const phone = await Home.start({words: ['--extension', bundle]});
  const page = await Page.open(phone.url);
  try {
    const first = await page.shows('StreakWidget', /^Tu racha/);
    const texts = path.join(bundle, 'Localizable.xcstrings');
    const good = await readFile(texts, 'utf8');
    await writeFile(texts, '{"strings":\n}');
    await page.says('#bundle-problem', /Localizable.xcstrings: .*line 2, column 1/);
    assert.equal(await page.shows('StreakWidget', /^Tu racha/), first);
    await writeFile(texts, good.replace('Tu racha', 'Mi racha'));
    await page.says('#bundle', 'Changed in the bundle: Localizable.xcstrings');
    await page.shows('StreakWidget', /^Mi racha/);
    await page.says('#bundle-problem', /^$/);

    const drawing = path.join(bundle, 'Assets.xcassets/flame.imageset/flame.svg');
    const flame = await readFile(drawing, 'utf8');
    await writeFile(drawing, '<svg>\n<g');
    await page.says('.card[data-kind=StreakWidget] .problem', /flame.svg: .* line 2 column/);
    assert.ok(await page.brightness('StreakWidget') > 0);
    await writeFile(drawing, flame.replace('<svg ', '<svg opacity="0.2" '));
    await page.until((src) => ![...document.querySelectorAll('img')].some((image) => image.src === src), first);
    await page.says('.card[data-kind=StreakWidget] .problem', /^$/);
  } finally {
    await page.close();
    await phone.remove();
    await rm(folder, {recursive: true});
  }
});

onPhone('two tabs are one phone, and a host that restarts finds both again', async (first, phone) => {
  const second = await Page.open(phone.url);
  await first.recordStreak(9);
  await second.shows('StreakWidget', /— 9$/);
  await second.choose('Language', 'en_US');
  await first.shows('StreakWidget', /^Your Streak/);

  await phone.end();
  for (const page of [first, second]) await page.says('#offline', 'The host does not answer');
  await second.button('Pause').or(second.button('Run')).click();
  await second.says('.clock .error', 'The host does not answer');
  assert.ok(await first.brightness('StreakWidget') > 0);
  const again = await Home.start({port: phone.port, container: phone.container});
  try {
    for (const page of [first, second]) await page.says('#offline', /^$/);
    assert.equal(await second.tab.locator('.error:not(:empty)').count(), 0);
    // The token is another one now.
    await first.recordStreak(10);
    await second.shows('StreakWidget', /— 10$/);
  } finally {
    await again.end();
    await second.close();
  }
}, {complains: true});

onPhone('a narrow window has room for everything, and for fingers', async (page) => {
  await page.signIn();
  const small = await page.tab.evaluate(() => {
    const controls = [...document.querySelectorAll('button, select, input:not([type=checkbox], [type=radio])')];
    return controls
      .filter((control) => !control.closest('#screen') && control.checkVisibility())
      .filter((control) => control.offsetHeight < 44)
      .map((control) => control.outerHTML);
  });
  assert.deepEqual(small, []);
  for (const screen of ['440x956', '375x667', '320x568']) {
    await page.choose('Screen', screen);
    await page.until((width) => document.querySelector('#screen').offsetWidth === width, Number(screen.slice(0, 3)));
    const room = await page.tab.evaluate(() => {
      const {left, right} = document.querySelector('#screen').getBoundingClientRect();
      return {left, right, scrolls: document.documentElement.scrollWidth};
    });
    assert.ok(room.left >= 0 && room.right <= 390 && room.scrolls === 390, `${screen}: ${JSON.stringify(room)}`);
  }
  await page.widget('Binnacle').locator('.whole').click();
  await page.says('#banner', 'quiloapp://binnacle');
}, {page: {width: 390, height: 844, hasTouch: true, isMobile: true}});

const strangeStates = {
  empty: {},
  foreign: {
    device: {timeZone: 'Mars/Olympus', locale: 'xx_@calendar=odd', screen: '1x1', scheme: 'sepia'},
    app: {uid: 'u', streak: {count: null, lastActive: null}, moods: {'2026-03-05': 'elated'}, moodNames: ['elated']},
    widgets: [{kind: 'New', family: 'systemLarge', width: 300, height: 300, picture: null, areas: [{x: 0, y: 0, width: 9, height: 9}]}],
    taps: [{at: '2026-03-05T00:00:00Z', kind: 'Gone', link: null}],
    surprise: {at: 'all'},
  },
};
for (const [name, state] of Object.entries(strangeStates)) {
  const body = `event: state\ndata: ${JSON.stringify(state)}\n\nevent: log\ndata: {}\n\n`;
  const prepare = (tab) => tab.route('**/events', (route) => route.fulfill({contentType: 'text/event-stream', body}));
  onPhone(`a state that is ${name} does not break the page`, async (page) => {
    assert.match(await page.tab.locator('#clock').textContent(), /^\d\d:\d\d:\d\d$/);
    await page.says('#mood-of', 'Today');
    assert.equal(await page.tab.locator('.card').count(), state.widgets?.length ?? 0);
  }, {page: {prepare}});
}

test('requests that no page of this host makes are refused', async () => {
  const home = await Home.start();
  try {
    const page = await home.request('/');
    const [, token] = /name="home-token" content="([\w-]+)"/.exec(page.text);
    assert.match(page.headers['content-security-policy'], /default-src 'none'/);
    assert.doesNotMatch(page.text, /<script(?! type="module" src=)|\sstyle=|\son\w+=|https?:\/\//);
    const fine = {'X-Home-Token': token, 'Content-Type': 'application/json'};
    const body = '{"action": "budget", "on": false}';
    const post = (headers, more = {}) => ['/actions', {method: 'POST', headers, body, ...more}];
    const cases = [
      ['what the page sends', 200, ...post(fine)],
      ['another Host', 403, '/', {headers: {Host: 'example.com'}}],
      ['events for another Host', 403, '/events', {headers: {Host: 'example.com'}}],
      ['no token', 403, ...post({'Content-Type': 'application/json'})],
      ['another token', 403, ...post({...fine, 'X-Home-Token': '0'.repeat(32)})],
      ['another origin', 403, ...post({...fine, Origin: 'http://example.com'})],
      ['a form', 415, ...post({...fine, 'Content-Type': 'text/plain'})],
      ['a GET', 405, '/actions', {headers: fine}],
      ['a DELETE', 405, '/', {method: 'DELETE'}],
      ['an unknown action', 400, ...post(fine, {body: '{"action": "explode"}'}), /explode/],
      ['a snapshot for another page', 403, '/pictures/StreakWidget/snapshot.png', {headers: {'Sec-Fetch-Site': 'cross-site'}}],
      ['a drill without a token', 403, '/drills', {method: 'POST', headers: {'Content-Type': 'application/json'}, body: '{}'}],
      ['an unknown drill', 400, '/drills', {method: 'POST', headers: fine, body: '{"name": "flood"}'}, /flood/],
      ['no JSON', 400, ...post(fine, {body: '{'}), /JSON/],
      ['an unknown path', 404, '/../home.cpp'],
    ];
    for (const [name, status, target, options, error] of cases) {
      const answer = await home.request(target, options);
      assert.equal(answer.status, status, `${name}: ${answer.text}`);
      if (status !== 200) assert.match(JSON.parse(answer.text).error, error ?? /./, name);
    }
    assert.equal((await home.request('/widgets/Checkin.png?v=0')).status, 404);
    const head = await home.exchange(['HEAD /events', 'HEAD /']);
    assert.equal(head.split('\r\n\r\n').length, 3, head);
  } finally {
    await home.remove();
  }
});
