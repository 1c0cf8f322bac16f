// Browser test of the reader: a whole book read in pages, the place kept over changes of
// geometry, font and zoom, auto-scroll of each type, the alarm clock's wraps, and the reader's
// settings found again after a restart of the workshop.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync, readFileSync, existsSync } from 'node:fs';
import { join } from 'node:path';
import { artifacts, scratchHome, startWorkshop, launchBrowser, openPage, menu, upload, frame } from './support.mjs';

let browser;
let home;
let book;

before(async () => {
  browser = await launchBrowser();
  home = scratchHome();
  book = join(home, 'long-book.txt');
  const lines = [];
  for (let chapter = 1; chapter <= 3; ++chapter) {
    lines.push(`Chapter ${chapter}`, '');
    for (let n = 1; n <= 60; ++n)
      lines.push(`Paragraph ${chapter}.${n}: the road went on and on, past the river and the mill, ` +
                 'over the hill where the old oak stood, and down again into the quiet valley.', '');
  }
  writeFileSync(book, lines.join('\n'));
});

after(async () => { if (browser) await browser.close(); });

const reader = (page) => page.frameLocator('#ReaderView');

// The paragraph holding the first character visible in the reader, and where the view stands.
function firstVisible(page) {
  return page.evaluate(() => {
    const view = document.getElementById('ReaderView');
    const doc = view.contentDocument;
    const range = doc.caretRangeFromPoint(14, 3) || doc.caretRangeFromPoint(view.clientWidth / 2, 3);
    let node = range ? range.startContainer : null;
    while (node && node.nodeName !== 'DIV' && node.nodeName !== 'H2') node = node.parentNode;
    return { text: node ? node.textContent.trim().slice(0, 24) : '', top: doc.scrollingElement.scrollTop };
  });
}

async function pageLabel(page) { return page.locator('#PageLabel').textContent(); }

// Waits until the reader has laid the book out after the last change of geometry, zoom or font.
const settled = (page) => page.waitForSelector('#PwReader:not([data-busy])');

async function openReader(page) {
  await menu(page, 'FileMenu', 'MnRead');
  await page.waitForSelector('#PwReader[open]');
  await reader(page).locator('#PwReadingStyle').waitFor({ state: 'attached' });
}

test('a whole book read in pages keeps its place and its settings', { timeout: 180000 }, async () => {
  let workshop = await startWorkshop(home);
  let { page, errors } = await openPage(browser, workshop.address);
  await upload(page, book, 'Paragraph 1.1:');
  await openReader(page);

  // Pages: a page turn never cuts a line, the label stays on one line.
  await page.selectOption('#ReaderGeometry', 'pocket book');
  await settled(page);
  assert.equal(await pageLabel(page), '- 1 -');
  const labelBox = await page.locator('#PageLabel').boundingBox();
  const lineHigh = await page.locator('#PageLabel').evaluate((el) => parseFloat(getComputedStyle(el).lineHeight) || 20);
  assert.ok(labelBox.height < lineHigh * 1.6, `the page label wraps: ${labelBox.height}px`);
  await page.locator('#ReaderView').focus();
  for (let i = 0; i < 3; ++i) await page.keyboard.press('PageDown');
  assert.equal(await pageLabel(page), '- 4 -');
  const cut = await page.evaluate(() => {
    const view = document.getElementById('ReaderView');
    const doc = view.contentDocument;
    const range = doc.caretRangeFromPoint(14, 1);
    const rect = range && range.getClientRects()[0];
    return rect ? rect.top : 0;
  });
  assert.ok(cut >= -0.5, `the top line of the page is cut by ${-cut}px`);
  await page.keyboard.press('PageUp');
  assert.equal(await pageLabel(page), '- 3 -');
  await page.keyboard.press('End');
  const last = await pageLabel(page);
  await page.keyboard.press('Home');
  assert.equal(await pageLabel(page), '- 1 -');
  assert.notEqual(last, '- 1 -');
  for (let i = 0; i < 5; ++i) await page.keyboard.press('Space');
  await page.screenshot({ path: join(artifacts, 'reader-pocket.png') });

  // Geometry, zoom, font: the first visible paragraph stays the same.
  const place = await firstVisible(page);
  assert.match(place.text, /^Paragraph|^Chapter/);
  await page.selectOption('#ReaderGeometry', 'small square (160x160)');
  await settled(page);
  assert.equal((await firstVisible(page)).text, place.text);
  await page.click('#ZoomInB');
  await page.click('#ZoomInB');
  await settled(page);
  assert.equal(await page.locator('#ZoomLabel').textContent(), '125%');
  assert.equal((await firstVisible(page)).text, place.text);
  await page.selectOption('#ReaderGeometry', 'user');
  await page.fill('#UserWidth', '380');
  await page.fill('#UserHeight', '420');
  await page.locator('#UserHeight').dispatchEvent('change');
  await page.waitForFunction(() => document.getElementById('ReaderView').style.height === '420px');
  await settled(page);
  assert.equal((await firstVisible(page)).text, place.text);
  await page.click('#ReaderFontsB');
  await page.waitForSelector('#ReaderSettingsF[open]');
  const textRow = page.locator('#ReaderSettingsF tr[data-kind="text"]');
  await textRow.locator('.face').selectOption('Verdana');
  await page.waitForFunction(() => document.getElementById('ReaderView').contentDocument
    .getElementById('PwReadingStyle').textContent.includes('body { font-family: "Verdana"'));
  await textRow.locator('.size').fill('24');
  await textRow.locator('.size').dispatchEvent('change');
  await page.waitForFunction(() => document.getElementById('ReaderView').contentDocument
    .getElementById('PwReadingStyle').textContent.includes('font-size: 24px'));
  await settled(page);
  assert.equal((await firstVisible(page)).text, place.text);
  // The anchor of the temporary bookmark is gone again, from the view and from the book.
  assert.equal(await reader(page).locator('a[id="()*^^^%^*"]').count(), 0);
  assert.equal(await page.frameLocator('#editor').locator('a[id="()*^^^%^*"]').count(), 0);

  // Scroll type and speed: each type keeps its own; defaults 7, 1, 50.
  assert.equal(await page.locator('#ScrollType').inputValue(), 'lines');
  assert.equal(await page.locator('#ScrollSpeed').inputValue(), '1');
  await page.selectOption('#ScrollType', 'pixels');
  await page.waitForFunction(() => document.getElementById('ScrollSpeed').value === '7');
  await page.selectOption('#ScrollType', 'symbols');
  await page.waitForFunction(() => document.getElementById('ScrollSpeed').value === '50');
  await page.screenshot({ path: join(artifacts, 'reader-settings.png') });
  await page.click('#ReaderSettingsF button[value="close"]');

  // A few ticks of each type move the view down by that type's unit, the button says it runs.
  // Ticks are bounded by the time the scroll ran (the machine may be slow, never fast).
  const scrollTop = () => page.evaluate(() => document.getElementById('ReaderView').contentDocument.scrollingElement.scrollTop);
  for (const [type, speed, largestStep] of [['pixels', 20, 1], ['lines', 4, 40], ['symbols', 50, 3]]) {
    await page.click('#ReaderFontsB');
    await page.selectOption('#ScrollType', type);
    await page.fill('#ScrollSpeed', String(speed));
    await page.locator('#ScrollSpeed').dispatchEvent('change');
    await page.waitForFunction((s) => document.getElementById('ScrollSpeed').value === String(s), speed);
    await page.click('#ReaderSettingsF button[value="close"]');
    const before = await scrollTop();
    const started = Date.now();
    await page.click('#ScrollB');
    assert.equal(await page.locator('#ScrollB').getAttribute('aria-pressed'), 'true');
    assert.equal(await page.locator('#ScrollB').textContent(), 'Stop');
    await page.waitForFunction((top) => document.getElementById('ReaderView').contentDocument.scrollingElement.scrollTop > top + 2, before);
    await page.click('#ScrollB');
    const ticks = Math.floor(((Date.now() - started) * speed) / 1000) + 1;
    assert.equal(await page.locator('#ScrollB').textContent(), 'Scroll');
    const moved = (await scrollTop()) - before;
    assert.ok(moved <= ticks * largestStep, `${type}: ${moved}px in at most ${ticks} ticks`);
    if (type === 'lines') assert.ok(moved >= 24, `lines: a line a tick, moved ${moved}`);
    const still = await scrollTop();
    await page.waitForTimeout(Math.ceil(2000 / speed));
    assert.equal(await scrollTop(), still, `${type}: the scroll stopped`);
  }

  // The alarm clock's fields and their wraps; quick clicks all count.
  const alarmShows = (time) => page.waitForFunction((expected) =>
    `${document.getElementById('AlarmHour').textContent}:${document.getElementById('AlarmMinute').textContent}` === expected,
  time, { timeout: 5000 });
  await alarmShows('07:00');
  for (let i = 0; i < 17; ++i) await page.click('#HourUpB');
  await alarmShows('00:00');
  await page.click('#HourDownB');
  await alarmShows('23:00');
  await page.click('#MinuteDownB');
  await alarmShows('22:59');
  await page.click('#MinuteUpB');
  await alarmShows('23:00');
  await page.click('#HourUpB');
  await alarmShows('00:00');
  await page.click('#MinuteDownB');
  await alarmShows('23:59');
  // The signal when the time comes: the clock set to this minute (unless the minute turns
  // while the fields are stepped there).
  const [hour, minute] = await page.evaluate(() => { const d = new Date(); return [d.getHours(), d.getMinutes()]; });
  const minuteSteps = (minute + 1) % 60;  // from 23:59; any step past 59 also turns the hour to 00
  for (let i = 0; i < minuteSteps; ++i) await page.click('#MinuteUpB');
  for (let i = 0; i < (hour - (minuteSteps ? 0 : 23) + 24) % 24; ++i) await page.click('#HourUpB');
  const two = (n) => String(n).padStart(2, '0');
  await alarmShows(`${two(hour)}:${two(minute)}`);
  await page.click('#AlarmC');  // the clock is looked at once as the alarm is set
  const still = await page.evaluate(([h, m]) => new Date().getHours() === h && new Date().getMinutes() === m, [hour, minute]);
  if (still) {
    await page.waitForSelector('#AlarmSignal:not([hidden])', { timeout: 2000 });
    assert.match(await page.locator('#AlarmSignal').textContent(), new RegExp(`${two(hour)}:${two(minute)}`));
    assert.equal(await page.locator('#AlarmC').isChecked(), false);
  }

  await page.check('#NightC');
  await page.waitForFunction(() => document.getElementById('ReaderView').contentDocument
    .getElementById('PwReadingStyle').textContent.includes('#1C1D21'));
  await page.screenshot({ path: join(artifacts, 'reader-night.png') });
  assert.deepEqual(errors, []);

  // A restart finds the reader's settings again.
  await page.click('#ReaderClose');
  await page.context().close();
  workshop.process.kill('SIGTERM');
  await workshop.ended;
  const fonts = join(home, 'home', 'Fonts.dat');
  assert.ok(existsSync(fonts));
  assert.match(readFileSync(fonts, 'utf8'), /^text\tVerdana\t24\tnormal$/m);
  workshop = await startWorkshop(home);
  ({ page, errors } = await openPage(browser, workshop.address));
  await upload(page, book, 'Paragraph 1.1:');
  await openReader(page);
  assert.equal(await page.locator('#ReaderGeometry').inputValue(), 'user');
  assert.equal(await page.locator('#UserWidth').inputValue(), '380');
  assert.equal(await page.locator('#ZoomLabel').textContent(), '125%');
  assert.ok(await page.locator('#NightC').isChecked());
  const style = await reader(page).locator('#PwReadingStyle').textContent();
  assert.match(style, /body \{ font-family: "Verdana", "DejaVu Sans", sans-serif; font-size: 24px/);
  await page.click('#ReaderFontsB');
  assert.equal(await page.locator('#ScrollType').inputValue(), 'symbols');
  assert.equal(await page.locator('#ScrollSpeed').inputValue(), '50');
  await page.screenshot({ path: join(artifacts, 'reader-restarted.png') });
  assert.deepEqual(errors, []);
  await page.context().close();
  workshop.process.kill('SIGTERM');
  await workshop.ended;
});

// The texts of the reader's bar (buttons, labels, page numbers) that wrap onto a second line.
function wrappedLabels(page) {
  return page.evaluate(() => {
    const wrapped = [];
    for (const element of document.querySelectorAll('#PwReader .reader-bar :is(button, label, #PageLabel, #TotalLabel)')) {
      if (!element.offsetParent) continue;
      const lines = new Set();
      const texts = document.createTreeWalker(element, NodeFilter.SHOW_TEXT);
      for (let node = texts.nextNode(); node; node = texts.nextNode()) {
        if (!node.data.trim()) continue;
        const range = document.createRange();
        range.selectNodeContents(node);
        for (const rect of range.getClientRects()) if (rect.width > 0) lines.add(Math.round(rect.bottom));
      }
      if (lines.size > 1) wrapped.push(element.textContent.trim());
    }
    return wrapped;
  });
}

test('in Russian the reader says an empty book has nothing to read, and its labels stay on one line', { timeout: 120000 }, async () => {
  const russianHome = scratchHome();
  const workshop = await startWorkshop(russianHome);
  const { page, errors } = await openPage(browser, workshop.address);
  await menu(page, 'ViewMenu', 'MnLanguageRussian');
  await page.waitForFunction(() => document.documentElement.lang === 'ru');

  // The welcome book wiped out: all of it selected and deleted.
  await frame(page).locator('body').click();
  await page.keyboard.press('Control+a');
  await page.keyboard.press('Delete');
  await page.waitForFunction(() => !document.getElementById('editor').contentDocument.body.textContent.replace(/[\s\u00a0]/g, ''));
  await menu(page, 'FileMenu', 'MnRead');
  await page.waitForFunction(() => (document.getElementById('MessageText') || {}).textContent === 'Пустая книга: читать нечего');
  assert.equal(await page.locator('#PwReader[open]').count(), 0);
  await page.keyboard.press('Escape');

  const story = join(russianHome, 'rasskaz.txt');
  const paragraphs = ['Анна Ли', '', 'Долгая дорога', ''];
  for (let n = 1; n <= 80; ++n)
    paragraphs.push(`Абзац ${n}: дорога шла через реку и мельницу, мимо старого дуба на холме и снова вниз, в тихую долину.`, '');
  writeFileSync(story, paragraphs.join('\n'));
  await page.setInputFiles('#UploadBook', story);
  await page.click('#MessageDialog button[value="no"]');  // the wiped book is not kept
  await frame(page).locator('text=Абзац 1:').first().waitFor();
  await openReader(page);
  assert.equal(await page.locator('#ScrollB').textContent(), 'Прокрутка');
  assert.match(await page.locator('#TotalLabel').textContent(), /^страниц: \d+$/);

  const geometries = await page.locator('#ReaderGeometry option').evaluateAll((options) => options.map((o) => o.value));
  assert.equal(geometries.length, 10);
  for (const width of [1280, 760]) {
    await page.setViewportSize({ width, height: 800 });
    for (const geometry of geometries) {
      await page.selectOption('#ReaderGeometry', geometry);
      await settled(page);
      assert.deepEqual(await wrappedLabels(page), [], `${geometry} in a window ${width} wide`);
    }
  }
  await page.screenshot({ path: join(artifacts, 'reader-russian-narrow.png') });

  // Arrows move a line, End and Home go to the ends.
  await page.selectOption('#ReaderGeometry', 'pocket book');
  await settled(page);
  const top = () => page.evaluate(() => document.getElementById('ReaderView').contentDocument.scrollingElement.scrollTop);
  await page.keyboard.press('ArrowDown');
  await page.keyboard.press('ArrowDown');
  const twoLines = await top();
  assert.ok(twoLines >= 30 && twoLines <= 80, `two lines down moved ${twoLines}px`);
  await page.keyboard.press('ArrowUp');
  assert.ok(Math.abs((await top()) * 2 - twoLines) <= 2);
  await page.keyboard.press('End');
  const pages = await page.locator('#TotalLabel').textContent();
  assert.equal(await page.locator('#PageLabel').textContent(), `- ${pages.match(/\d+/)[0]} -`);
  assert.deepEqual(errors, []);
  await page.context().close();
  workshop.process.kill('SIGTERM');
  await workshop.ended;
});
