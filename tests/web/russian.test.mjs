// The whole page in Russian: every menu, the toolbar and every form, with no English text
// left; the language is kept in the settings and the page starts in it next time.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { openPage, frame, menu, upload, artifacts, sharedWorkshop } from './support.mjs';

const { browser, home, workshop } = await sharedWorkshop();

// Words that stay as they are in a Russian interface: names of formats, keys, encodings, the
// program's name and the sample values of fields.
const KEPT = /\b(FB2|HTML|Ctrl|Shift|Alt|F3|utf-8|windows-125[012]|prose_classic|noname|Pagewright|FictionBook|ArrowUp|ArrowDown)\b/g;

function englishLeft(text) {
  const words = text.replace(KEPT, ' ').match(/[A-Za-z]{2,}/g);
  return words ? words.join(' ') : '';
}

// Every text a user can read in `selector`: visible text, tool tips, placeholders.
async function textsOf(page, selector) {
  return page.locator(selector).evaluate((root) => {
    const texts = [root.innerText];
    // The recent files are the user's file names, not texts of the page.
    for (const element of root.querySelectorAll('[title], [placeholder], [aria-label]')) {
      if (element.closest('#RecentFiles')) continue;
      texts.push(element.getAttribute('title') || '', element.getAttribute('placeholder') || '', element.getAttribute('aria-label') || '');
    }
    for (const option of root.querySelectorAll('option')) texts.push(option.textContent);
    return texts.filter(Boolean);
  });
}

function assertRussian(texts, where) {
  for (const text of texts) assert.equal(englishLeft(text), '', `${where}: "${text}"`);
}

test('the Russian interface has no English text left, and keeps its language', async () => {
  const book = join(home, 'rasskaz.txt');
  writeFileSync(book, 'Анна Ли\n\nКороткая прогулка\n\nГлава первая\n\nБыло тихое утро в долине.\n\nГлава вторая\n\nДорога шла дальше.\n');
  const { page, context, errors } = await openPage(browser, workshop.address);
  await upload(page, book, 'Было тихое утро');
  await page.screenshot({ path: join(artifacts, 'workshop-en.png') });
  await menu(page, 'ViewMenu', 'MnLanguageRussian');
  await page.waitForFunction(() => document.documentElement.lang === 'ru');

  // No text of the page lacks its Russian twin.
  const missing = await page.evaluate(async () => (await import('/web/i18n.js')).missingTexts('ru'));
  assert.deepEqual(missing, []);

  // Every menu and every item, the toolbar, the element list, the status line.
  const menus = await page.locator('#menu .menu > button').evaluateAll((buttons) => buttons.map((b) => b.dataset.menu));
  assert.ok(menus.length >= 5);
  for (const id of menus) {
    await page.click(`#menu .menu > button[data-menu="${id}"]`);
    const labels = await page.locator(`#${id} > button .label, #${id} > label`).allInnerTexts();
    assert.ok(labels.length > 0, id);
    assertRussian(labels, id);
    assertRussian(await page.locator(`#${id} > button[title]`).evaluateAll((items) => items.map((i) => i.title)), id);
    await page.keyboard.press('Escape');
    await page.click('#statusline');
  }
  assertRussian(await textsOf(page, '#menu'), 'menu bar');
  assertRussian(await textsOf(page, '#toolbar'), 'toolbar');
  assertRussian(await textsOf(page, '#elements'), 'element list');
  await page.screenshot({ path: join(artifacts, 'workshop-ru.png') });

  // Every form.
  const forms = [
    ['FileMenu', 'MnOpen', 'OpenDialog'], ['FileMenu', 'MnMakeFictionBookFile', 'Fb2F'],
    ['FileMenu', 'MnMakePagewrightFile', 'MakePwFileF'], ['BookMenu', 'MnSectionEditor', 'Fb2SectionEditorF'],
    ['FileMenu', 'MnRead', 'PwReader'], ['EditMenu', 'MnFindReplaceF', 'FindReplaceF'],
  ];
  for (const [menuId, command, form] of forms) {
    await menu(page, menuId, command);
    await page.waitForSelector(`#${form}[open]`);
    assertRussian(await textsOf(page, `#${form}`), form);
    await page.screenshot({ path: join(artifacts, `${form}-ru.png`) });
    await page.locator(`#${form}`).evaluate((dialog) => dialog.close('cancel'));
  }

  // A message of the server and the page's question, in Russian.
  await frame(page).locator('text=Дорога шла дальше.').click();
  await page.keyboard.type(' Ещё.');
  await menu(page, 'FileMenu', 'MnEmptyBook');
  await page.waitForSelector('#MessageDialog[open]');
  assertRussian(await textsOf(page, '#MessageDialog'), 'question');
  await page.click('#MessageDialog button[value="cancel"]');
  await menu(page, 'BookMenu', 'MnMoveElementUp');
  await page.waitForSelector('#MessageDialog[open]');
  assertRussian(await textsOf(page, '#MessageDialog'), 'message');
  await page.click('#MessageDialog button[value="ok"]');

  // The language is kept: a new page starts in Russian, and English comes back at once.
  await context.close();
  const second = await openPage(browser, workshop.address);
  await second.page.waitForFunction(() => document.documentElement.lang === 'ru');
  assert.equal(await second.page.locator('#menu .menu > button[data-menu="FileMenu"]').textContent(), 'Файл');
  await menu(second.page, 'ViewMenu', 'MnLanguageEnglish');
  assert.equal(await second.page.locator('#menu .menu > button[data-menu="FileMenu"]').textContent(), 'File');
  assert.deepEqual([...errors, ...second.errors], []);
  await second.context.close();
});

test('menus open on click, close after a choice and answer the keyboard', async () => {
  const { page, context } = await openPage(browser, workshop.address);
  await page.hover('#menu .menu > button[data-menu="FileMenu"]');
  assert.equal(await page.locator('#FileMenu').isVisible(), false);  // hovering opens nothing
  await page.click('#menu .menu > button[data-menu="FileMenu"]');
  assert.equal(await page.locator('#FileMenu').isVisible(), true);
  await page.keyboard.press('Escape');
  await page.focus('#menu .menu > button[data-menu="EditMenu"]');
  await page.keyboard.press('ArrowDown');
  assert.equal(await page.locator('#EditMenu').isVisible(), true);
  await page.keyboard.press('ArrowRight');
  assert.equal(await page.locator('#FormatMenu').isVisible(), true);
  await page.keyboard.press('Escape');
  assert.equal(await page.locator('#FormatMenu').isVisible(), false);
  // Ctrl+O opens the open form; the progress bar is hidden while nothing runs.
  await page.keyboard.press('Control+o');
  await page.waitForSelector('#OpenDialog[open]');
  assert.equal(await page.locator('#percent').isVisible(), false);
  await context.close();
});
