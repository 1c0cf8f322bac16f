// Times the opening of text books of 0.5, 2 and 10 MB in the workshop: from the open command
// in the page to the book's last line shown in the editor, and the save of the same book.
// Run from tests/web (where playwright-core is installed):
//   PAGEWRIGHT=../../build/pagewright node ../../bench/workshop_open.mjs [sizes in MB...]
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createRequire } from 'node:module';

const require = createRequire(join(process.cwd(), 'package.json'));
const { chromium } = require('playwright-core');
const program = process.env.PAGEWRIGHT;
const sizes = process.argv.slice(2).map(Number).filter((n) => n > 0);
if (!sizes.length) sizes.push(0.5, 2, 10);

// A hard-wrapped novel of `megabytes` with chapter headings and a last line to wait for.
function novel(megabytes) {
  const parts = [];
  let length = 0;
  for (let chapter = 1; length < megabytes * 1024 * 1024; ++chapter) {
    let part = `\nCHAPTER ${chapter}\n\n`;
    for (let p = 0; p < 30; ++p)
      part += '     It was a quiet morning in the valley, and the road that led to the old\n' +
              'mill was still wet from the night rain. Nobody came to the bridge.\n';
    parts.push(part);
    length += part.length;
  }
  parts.push('\nTHE LAST LINE OF THE BOOK.\n');
  return parts.join('');
}

async function start(home) {
  const workshop = spawn(program, ['--no-browser', '--home', join(home, 'home')],
                         { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, HOME: home } });
  const address = await new Promise((resolve) => {
    let out = '';
    workshop.stdout.on('data', (chunk) => {
      out += chunk;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?s=[0-9a-f]+/);
      if (found) resolve(found[0]);
    });
  });
  return { workshop, address };
}

const browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: ['--no-sandbox'] });
for (const megabytes of sizes) {
  const home = mkdtempSync(join(tmpdir(), 'pw-open-'));
  const text = novel(megabytes);
  const book = join(home, 'novel.txt');
  writeFileSync(book, text);
  const { workshop, address } = await start(home);
  const page = await browser.newPage();
  await page.goto(address);
  await page.waitForSelector('#menu .menu');
  let sawStatus = '';
  page.on('console', () => {});
  const watch = setInterval(async () => {
    const status = await page.locator('#status').textContent().catch(() => '');
    if (status && !sawStatus) sawStatus = status;
  }, 50);
  await page.keyboard.press('Control+o');
  await page.fill('#OpenPath', book);
  // The server's part ends when it answers the open request; the rest is the page's.
  let convertedAt = 0;
  const answered = (response) => { if (response.url().includes('/api/open')) convertedAt = Date.now(); };
  page.on('response', answered);
  const openedAt = Date.now();
  await page.click('#OpenOk');
  // Shown: the frame's document is whole, ends with the last line, and has been painted. (A text
  // search of the whole frame each poll would itself cost as much as the opening.)
  await page.waitForFunction(() => {
    const doc = document.getElementById('editor').contentDocument;
    if (doc?.readyState !== 'complete') return false;
    // The editor keeps an empty paragraph of its own after the book's last one.
    for (let element = doc.body?.lastElementChild, n = 0; element && n < 3; element = element.previousElementSibling, ++n)
      if (element.textContent.includes('THE LAST LINE OF THE BOOK.')) return true;
    return false;
  }, null, { timeout: 120000, polling: 20 });
  await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
  const shownAt = Date.now();
  const opened = (shownAt - openedAt) / 1000;
  page.off('response', answered);
  clearInterval(watch);
  const saveStart = Date.now();
  await page.keyboard.press('Control+s');
  await page.waitForFunction(() => /^Saved: /.test(document.getElementById('status').textContent), null, { timeout: 120000 });
  const saved = (Date.now() - saveStart) / 1000;
  console.log(`${(text.length / 1048576).toFixed(1)} MB text book: shown in ${opened.toFixed(2)} s ` +
              `(server ${((convertedAt - openedAt) / 1000).toFixed(2)} s, page ${((shownAt - convertedAt) / 1000).toFixed(2)} s), saved in ${saved.toFixed(2)} s` +
              (sawStatus ? ` (status seen: "${sawStatus}")` : ''));
  await page.close();
  const ended = new Promise((resolve) => workshop.on('exit', resolve));
  workshop.kill();
  await ended;  // it saves on its way out
  rmSync(home, { recursive: true, force: true });
}
await browser.close();
