// Browser tests of the workshop page: the real program serves the page, a headless Chromium
// drives it as a user would.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync, readFileSync, mkdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';
import { assertValidFb2 } from './fb2-valid.mjs';

const program = process.env.PAGEWRIGHT;
const artifacts = process.env.PW_ARTIFACTS || join(tmpdir(), 'pagewright-web-artifacts');
const chromiumPath = process.env.CHROMIUM || '/usr/bin/chromium';
let workshop;
let address;
let browser;
let home;

before(async () => {
  assert.ok(program, 'PAGEWRIGHT names the program under test');
  home = mkdtempSync(join(tmpdir(), 'pw-web-'));
  mkdirSync(artifacts, { recursive: true });
  // HOME too: the FB2 output folder of fresh settings is the user's home.
  workshop = spawn(program, ['--no-browser', '--home', join(home, 'home')],
                   { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, HOME: home } });
  address = await new Promise((resolve, reject) => {
    let out = '';
    workshop.stdout.on('data', (chunk) => {
      out += chunk;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?s=[0-9a-f]+/);
      if (found) resolve(found[0]);
    });
    workshop.on('exit', (code) => reject(new Error(`the workshop ended with ${code}`)));
  });
  browser = await chromium.launch({ executablePath: chromiumPath, headless: true, args: ['--no-sandbox'] });
});

after(async () => {
  await browser?.close();
  // The workshop saves on its way out: the folder goes once it has ended.
  if (workshop && workshop.exitCode === null) {
    const ended = new Promise((resolve) => workshop.on('exit', resolve));
    workshop.kill();
    await ended;
  }
  rmSync(home, { recursive: true, force: true });
});

// The book shown in the editor frame, as HTML.
async function editorHtml(page) {
  return page.frameLocator('#editor').locator('body').innerHTML();
}

test('a text book uploaded, marked, edited, saved and made into a valid FB2', async () => {
  const context = await browser.newContext({ acceptDownloads: true, viewport: { width: 1280, height: 800 } });
  const page = await context.newPage();
  await page.goto(address);
  await page.waitForSelector('#Form1');

  const book = join(home, 'walk.txt');
  // An opening line of prose keeps the converter from taking the next two lines as the book's
  // author and title, so that the test marks them itself.
  writeFileSync(book, 'This is the story as it was told to me, long ago, by a friend.\n\nAnn Lee\n\nA Short Walk\n\nChapter One\n\nIt was a quiet morning in the valley.\n\n' +
    'She said nothing at all.\n\nChapter Two\n\nThe road went on.\n');
  await page.setInputFiles('#UploadBook', book);
  await page.frameLocator('#editor').locator('text=It was a quiet morning').waitFor();
  const shown = await editorHtml(page);
  assert.match(shown, /<span id="title"><div align="center"><font color="#001950"><b>Chapter One<\/b><\/font><\/div><\/span>/i);
  const list = await page.locator('#ElementList li').allTextContents();
  assert.ok(list.some((item) => item.includes('title: Chapter Two')), list.join('\n'));

  // A paragraph marked as a title, then the marking undone; a paragraph marked as an epigraph.
  // A paragraph, or a heading the converter already marked (the book's author and title).
  const selectParagraph = (text) => page.frameLocator('#editor').locator(`div:text-is("${text}"), h2:has-text("${text}")`).first().evaluate((el) => {
    const doc = el.ownerDocument;
    const range = doc.createRange();
    range.selectNode(el);
    doc.getSelection().removeAllRanges();
    doc.getSelection().addRange(range);
  });
  await selectParagraph('She said nothing at all.');
  await page.click('#toolbar >> text=Title');
  await page.frameLocator('#editor').locator('span#title:has-text("She said nothing at all.")').waitFor();
  assert.match(await editorHtml(page),
    /<span id="title"><div align="center"><font color="#001950"><b>She said nothing at all\.<\/b><\/font><\/div><\/span>/i);
  await page.frameLocator('#editor').locator('body').press('Control+z');
  await page.frameLocator('#editor').locator('span#title:has-text("She said nothing at all.")').waitFor({ state: 'detached' });
  await selectParagraph('It was a quiet morning in the valley.');
  await page.click('#toolbar >> text=Epigraph');
  await page.frameLocator('#editor').locator('span#epigraph').waitFor();
  assert.match(await editorHtml(page), /<span id="epigraph"><i><font color="#0000CD">.*It was a quiet morning in the valley\./is);

  // The first two lines become the book's author and title through the Format menu.
  await selectParagraph('Ann Lee');
  await page.click('#menu > .menu > button:text-is("Format")');
  await page.click('#FormatMenu >> button[data-operation="bookauthor"]');
  await page.frameLocator('#editor').locator('h2#BookAuthor').waitFor();
  await selectParagraph('A Short Walk');
  await page.click('#menu > .menu > button:text-is("Format")');
  await page.click('#FormatMenu >> button[data-operation="booktitle"]');
  await page.frameLocator('#editor').locator('h2#BookTitle').waitFor();

  // A whole-book operation from the Book menu: the contents block appears in the editor.
  await page.click('#menu > .menu > button:text-is("Book")');
  await page.click('#BookMenu >> text=Insert contents');
  await page.frameLocator('#editor').locator('span#BCONTENTS').waitFor();
  // The status line is cleared when the chain has ended.
  await page.waitForFunction(() => document.getElementById('status').textContent === '');

  // The section editor nests "Chapter Two" inside "Chapter One".
  await page.click('#menu > .menu > button:text-is("Book")');
  await page.click('#MnSectionEditor');
  await page.waitForSelector('#Fb2SectionEditorF[open]');
  await page.selectOption('#SectionTitles', { label: 'Chapter Two' });
  await page.click('#RightB');
  assert.deepEqual(await page.locator('#SectionTitles option').allTextContents(), ['Chapter One', '   Chapter Two']);
  await page.click('#ApplyB');
  await page.frameLocator('#editor').locator('span#FbSection').nth(1).waitFor({ state: 'attached' });
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').textContent(), /2 sections have been inserted into the book\./);
  await page.click('#MessageDialog >> button:text-is("OK")');

  // The reader shows the book in pages.
  await page.click('#menu > .menu > button:text-is("File")');
  await page.click('#MnRead');
  await page.waitForSelector('#PwReader[open]');
  await page.selectOption('#ReaderGeometry', 'small square (160x160)');
  await page.waitForFunction(() => /^\d+ pages$/.test(document.getElementById('TotalLabel').textContent) &&
                                    Number.parseInt(document.getElementById('TotalLabel').textContent, 10) > 1);
  assert.equal(await page.locator('#PageLabel').textContent(), '- 1 -');
  await page.click('#ReaderClose');

  // An edit typed into the book reaches the FB2.
  const paragraph = page.frameLocator('#editor').locator('text=The road went on.');
  await paragraph.click();
  await page.keyboard.press('End');
  await page.keyboard.type(' And on.');
  await page.click('#menu > .menu > button:text-is("File")');
  await page.click('#MnSave');
  await page.click('#menu > .menu > button:text-is("File")');
  await page.click('#MnMakeFictionBookFile');
  await page.waitForSelector('#Fb2F[open]');
  assert.equal(await page.inputValue('#b_title'), 'A Short Walk');  // from the book's own heading
  assert.equal(await page.inputValue('#b_first'), 'Ann');
  assert.equal(await page.inputValue('#b_last'), 'Lee');
  await page.fill('#Fb2FileNameB', 'walk');
  const [download] = await Promise.all([page.waitForEvent('download'), page.click('#MakeBookB')]);
  const fb2 = join(home, 'walk.fb2');
  await download.saveAs(fb2);
  const text = readFileSync(fb2, 'utf8');
  assert.match(text, /The road went on\. And on\./);
  assert.match(text, /<book-title>A Short Walk<\/book-title>/);
  assert.match(text, /<epigraph>\s*<p>It was a quiet morning in the valley\.<\/p>\s*<\/epigraph>/);
  assert.match(text, /<p[^>]*>Chapter One<\/p>\s*<\/title>[\s\S]*<section>\s*<title>\s*<p[^>]*>Chapter Two<\/p>[\s\S]*<\/section>\s*<\/section>\s*<\/body>/);
  assertValidFb2(program, fb2);

  await page.screenshot({ path: join(artifacts, 'workshop.png') });
  await context.close();
});

test('a request without the secret is refused', async () => {
  const origin = new URL(address).origin;
  const response = await fetch(`${origin}/api/state`);
  assert.equal(response.status, 403);
});
