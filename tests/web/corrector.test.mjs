// Browser tests of the corrector in the workshop: the Book Cleaner, the paragraph lists,
// hyphenation, the corrector palette, the import settings and the settings dialog.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync, existsSync } from 'node:fs';
import { join } from 'node:path';
import { artifacts, openPage, frame, editorHtml, menu, bookShows, sharedWorkshop } from './support.mjs';

const { browser, home, workshop } = await sharedWorkshop();

const BOOK = 'Anna Lee\n\nA Quiet Valley\n\nChapter One\n\nIt was a quiet morning, 5 rub. and the valley slept\n\n' +
  'in the mist that came down from the hills.\n\nShe said nothing at all.\n\nChapter Two\n\n' +
  'Beware the quiet road.\n\nThe road went on and on through the extraordinary countryside.\n';

// Uploads a book; the changes of the book before are dropped when the page asks.
async function openBook(page, name = 'valley.txt', text = BOOK) {
  const file = join(home, name);
  writeFileSync(file, text);
  await page.setInputFiles('#UploadBook', file);
  const question = page.locator('#MessageDialog[open] button[value="no"]');
  const shown = frame(page).locator('text=She said nothing at all.').first();
  await Promise.race([question.waitFor().then(() => question.click()).catch(() => {}), shown.waitFor()]);
  await shown.waitFor();
}

// The element of the book holding `text` in its own text.
const bookElement = (page, text) => frame(page).locator(`div:text-is("${text}")`).first();

test('a new rule file with an expression row and a literal row: saved, run on the book, undone', async () => {
  const { page, context, errors } = await openPage(browser, workshop.address);
  await openBook(page);
  const before = await editorHtml(page);
  await menu(page, 'BookMenu', 'MnCleanUpF');
  await page.waitForSelector('#CleanUpF[open]');
  // Row commands answered slowly: what is typed meanwhile must not be lost to the answer.
  await page.route('**/api/cleanup/edit', async (route) => {
    await new Promise((resolve) => setTimeout(resolve, 300));
    await route.continue();
  });
  await page.click('#NewTableB');
  assert.match(await page.textContent('#CleanUpCaption'), /^ Book Cleaner \(FOR EXPERTS ONLY\): New \(NOT SAVED\)$/);
  await page.click('#Row_addend');
  await page.click('#Row_addend');
  const rows = page.locator('#CleanUpTable tbody tr');
  await rows.nth(0).locator('[name=RepWhat]').fill('(\\d+) rub\\.');
  await rows.nth(0).locator('[name=RepBy]').fill('$1 ₽');
  await rows.nth(0).locator('[name=RegExp]').check();
  await rows.nth(0).locator('[name=Case]').check();
  await rows.nth(1).locator('[name=RepWhat]').fill('QUIET morning');
  await rows.nth(1).locator('[name=RepBy]').fill('uni(83)till morning');
  // A bad expression is shown at its row and nothing runs.
  await page.click('#Row_addend');
  await rows.nth(2).locator('[name=RepWhat]').fill('a(b');
  await rows.nth(2).locator('[name=RegExp]').check();
  await page.click('#CleanAllB');
  await page.waitForSelector('#MessageDialog[open]');
  await page.click('#MessageDialog button');
  assert.match(await rows.nth(2).locator('.problem-text').textContent(), /parenthesis/);
  assert.equal(await editorHtml(page), before);
  await rows.nth(2).click();
  await page.click('#Row_delete');
  await page.waitForFunction(() => document.querySelectorAll('#CleanUpTable tbody tr').length === 2);
  assert.equal(await rows.count(), 2);

  await page.click('#SaveB');
  await page.waitForSelector('#CleanUpFilesF[open]');
  await page.fill('#CleanUpFileName', 'Valley');
  await page.click('#CleanUpFilesOk');
  await page.waitForFunction(() => document.getElementById('CleanUpCaption').textContent.endsWith('Valley'));
  assert.ok(existsSync(join(home, 'home', 'BookCleaner', 'Valley.bcf')));

  await page.click('#CleanAllB');
  await bookShows(page, 'It was a Still morning, 5 ₽ and the valley slept');
  assert.equal(await rows.nth(0).locator('.count').textContent(), '1');
  assert.equal(await rows.nth(1).locator('.count').textContent(), '1');
  await page.screenshot({ path: join(artifacts, 'corrector-cleanup.png') });
  await page.click('#CleanUpF button[value=close]');
  await frame(page).locator('body').press('Control+z');
  await frame(page).locator('text=quiet morning, 5 rub. and the valley slept').waitFor();
  assert.deepEqual(errors, []);
  await context.close();
});

test('a rule file in the "before" slot runs at the next open', async () => {
  const { page, context, errors } = await openPage(browser, workshop.address);
  await menu(page, 'FileMenu', 'MnInputSettingsF');
  await page.waitForSelector('#InputSettingsF[open]');
  await page.selectOption('#InBeforeSlot', 'Valley.bcf');
  await page.click('#InputSettingsOkB');
  await page.waitForSelector('#InputSettingsF', { state: 'hidden' });
  await openBook(page, 'again.txt');
  await bookShows(page, 'It was a Still morning, 5 ₽ and the valley slept');
  // The Book Cleaner shows the slot.
  await menu(page, 'BookMenu', 'MnCleanUpF');
  await page.waitForSelector('#CleanUpF[open]');
  assert.equal(await page.textContent('#InBeforeFormatL'), 'Valley.bcf');
  assert.equal(await page.textContent('#OutputL'), 'none');
  await page.click('#CleanUpF .slot[data-slot=before] .clear');
  await page.waitForFunction(() => document.getElementById('InBeforeFormatL').textContent === 'none');
  await page.click('#CleanUpF button[value=close]');
  assert.deepEqual(errors, []);
  await context.close();
});

test('the bad-ends list selects its paragraph, joins it, and hyphenation goes in and out', async () => {
  const { page, context, errors } = await openPage(browser, workshop.address);
  await openBook(page, 'ends.txt');
  await page.selectOption('#ParagraphCheck', 'badends');
  await page.click('#ParagraphFindB');
  const entry = page.locator('#ParagraphList li', { hasText: 'It was a' });
  await entry.waitFor();
  await entry.locator('.shown').click();
  const selected = await frame(page).locator('body').evaluate((body) => body.ownerDocument.getSelection().toString());
  assert.match(selected, /It was a (quiet|Still) morning/);
  await entry.locator('.join').click();
  await frame(page).locator('text=/the valley slept in the mist that came/').waitFor();
  await page.selectOption('#ParagraphCheck', 'lowercase');
  await page.waitForFunction(() => document.querySelectorAll('#ParagraphList li').length === 0);

  await menu(page, 'BookMenu', 'MnHyphenate');
  await page.waitForFunction(() => document.getElementById('editor').contentDocument.body.innerHTML.includes('\u00AD'));
  assert.match(await editorHtml(page), /[a-z]\u00AD[a-z]/);
  await menu(page, 'BookMenu', 'MnRemoveHyphenation');
  await page.waitForFunction(() => !document.getElementById('editor').contentDocument.body.innerHTML.includes('\u00AD'));
  await frame(page).locator('body').press('Control+z');
  await page.waitForFunction(() => document.getElementById('editor').contentDocument.body.innerHTML.includes('\u00AD'));
  assert.deepEqual(errors, []);
  await context.close();
});

test('the palette marks a title and an epigraph in advanced mouse selection', async () => {
  const { page, context, errors } = await openPage(browser, workshop.address);
  await openBook(page, 'palette.txt');
  await menu(page, 'ViewMenu', 'MnToolFloatF');
  await page.waitForSelector('#ToolFloatF:not([hidden])');
  assert.equal(await page.textContent('#ToolFloatCaption'), 'Corrector');
  assert.equal(await page.textContent('#ToolFloatF button[data-key="click select"]'), 'advanced mouse selection');
  // A click selects the whole element; "title" marks it.
  await bookElement(page, 'She said nothing at all.').click({ position: { x: 30, y: 5 } });
  await page.click('#ToolFloatF button[data-key="title"]');
  await frame(page).locator('span#title:has-text("She said nothing at all.")').waitFor();
  await bookElement(page, 'Beware the quiet road.').click({ position: { x: 30, y: 5 } });
  await page.click('#ToolFloatF button[data-key="epigraph"]');
  await frame(page).locator('span#epigraph:has-text("Beware the quiet road.")').waitFor();
  // Simple mouse selection: a click only places the caret.
  await page.click('#ToolFloatF button[data-key="click select"]');
  assert.equal(await page.textContent('#ToolFloatF button[data-key="click select"]'), 'simple mouse selection');
  // Book info counts what was marked.
  await page.click('#ToolFloatF button[data-key="book info"]');
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.textContent('#MessageText'), /epigraphs: 1/);
  await page.click('#MessageDialog button');
  // Folded and unfolded.
  await page.click('#ShrinkExpand');
  assert.equal(await page.textContent('#ToolFloatCaption'), 'Cor..');
  await page.screenshot({ path: join(artifacts, 'corrector-palette-folded.png') });
  await page.click('#ShrinkExpand');
  await page.screenshot({ path: join(artifacts, 'corrector-palette.png') });
  assert.deepEqual(errors, []);
  await context.close();
});

test('the settings dialog switches the interface to Russian; the palette and dialogs follow', async () => {
  const { page, context, errors } = await openPage(browser, workshop.address);
  await menu(page, 'FileMenu', 'MnSettingsF');
  await page.waitForSelector('#SettingsF[open]');
  await page.selectOption('#InterfaceLanguageL', 'ru');
  await page.waitForFunction(() => document.documentElement.lang === 'ru');
  // An outside program's time-out is kept as whole seconds.
  await page.fill('#OfficeTimeoutN', '45');
  await page.press('#OfficeTimeoutN', 'Tab');
  await page.waitForFunction(async () => (await (await import('/web/api.js')).getJson('/api/settings')).officeToolTimeout === 45);
  await page.screenshot({ path: join(artifacts, 'corrector-settings-ru.png') });
  await page.click('#SettingsF button[value=close]');
  await menu(page, 'ViewMenu', 'MnToolFloatF');
  await page.waitForSelector('#ToolFloatF:not([hidden])');
  assert.equal(await page.textContent('#ToolFloatCaption'), 'Корректор');
  assert.equal(await page.textContent('#ToolFloatF button[data-key="title"]'), 'заголовок');
  await menu(page, 'BookMenu', 'MnCleanUpF');
  await page.waitForSelector('#CleanUpF[open]');
  assert.match(await page.textContent('#CleanUpCaption'), /Чистка книги \(ТОЛЬКО ДЛЯ ЭКСПЕРТОВ\)/);
  assert.equal(await page.textContent('#CleanAllB'), 'Чистить всю книгу');
  await page.screenshot({ path: join(artifacts, 'corrector-russian.png') });
  await page.click('#CleanUpF button[value=close]');
  await menu(page, 'BookMenu', 'MnValidParEndsF');
  await page.waitForSelector('#ValidParEndsF[open]');
  assert.equal(await page.textContent('#DoneB'), 'готово');
  await page.click('#CancelB');
  assert.deepEqual(errors, []);
  await context.close();
});
