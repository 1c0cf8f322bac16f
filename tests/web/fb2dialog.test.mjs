// The FB2 form as a user fills it: a description with two authors, a translator, genres from the
// list, a sequence, an annotation and a cover; the file made past the notes question, checked
// against the schemas and field by field; the description kept over a restart of the workshop,
// loaded from another FB2 file, shown read-only and carried into the stored-book form.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync, readFileSync, existsSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { openPage, frame, menu, upload, selectParagraph, artifacts, program, sharedWorkshop } from './support.mjs';
import { assertValidFb2 } from './fb2-valid.mjs';

const corpusFb2 = resolve(import.meta.dirname, '..', '..', '..', 'shared', 'corpus', 'fb2', 'fixture_pandoc_reader_meta.fb2');
// A 2 by 3 pixel PNG.
const PNG = Buffer.from('iVBORw0KGgoAAAANSUhEUgAAAAIAAAADCAIAAAA2iEnWAAAAEElEQVR4nGP438AARAwoFABkUAj7XH75jwAAAABJRU5ErkJggg==', 'base64');

const session = await sharedWorkshop();
const { browser, home } = session;

async function openForm(page) {
  await menu(page, 'FileMenu', 'MnMakeFictionBookFile');
  await page.waitForSelector('#Fb2F[open]');
}

// Types into a field of the description page and leaves it, as a user does.
async function type(page, selector, text) {
  await page.fill(`#FDi ${selector}`, text);
  await page.press(`#FDi ${selector}`, 'Tab');
}

async function pickGenre(page, search, code) {
  if (await page.locator('#GenD').isHidden()) await page.click('#ShowGenreList');
  await page.fill('#GenreSearch', search);
  await page.click(`#GenreList li[data-code="${code}"]`);
}

function between(text, open, close) {
  const start = text.indexOf(open);
  return start < 0 ? null : text.slice(start + open.length, text.indexOf(close, start));
}

test('a description filled in the form makes a valid FB2 and lives with the book', async () => {
  const book = join(home, 'letters.txt');
  writeFileSync(book, 'Vincent van Gogh\n\nLetters Home\n\nThe fields were yellow that year, and the sky was wide.\n\n' +
    'We walked to the river every evening.\n');
  let { page, context, errors } = await openPage(browser, session.workshop.address);
  await upload(page, book, 'The fields were yellow');
  // The first two lines marked as the book's author and title, as a user does.
  for (const [text, operation, id] of [['Vincent van Gogh', 'bookauthor', 'BookAuthor'], ['Letters Home', 'booktitle', 'BookTitle']]) {
    const marked = await frame(page).locator(`h2#${id}`).count();
    if (marked) continue;
    await selectParagraph(page, text);
    await page.click('#menu > .menu > button[data-menu="FormatMenu"]');
    await page.click(`#FormatMenu >> button[data-operation="${operation}"]`);
    await frame(page).locator(`h2#${id}`).waitFor();
  }
  await openForm(page);
  // Started from the book's headings; the particle stays with the last name.
  assert.equal(await page.inputValue('#b_first'), 'Vincent');
  assert.equal(await page.inputValue('#b_last'), 'van Gogh');
  assert.equal(await page.inputValue('#b_title'), 'Letters Home');
  assert.equal(await page.inputValue('#d_program'), 'Pagewright');

  await page.click('#AddBookAuthor');
  await type(page, '#b_first_2', 'Anna');
  await type(page, '#b_last_2', 'Lee');
  await type(page, '#t_first', 'Ivan');
  await type(page, '#t_last', 'Petrov');
  await pickGenre(page, 'histor', 'sf_history');
  await pickGenre(page, 'classic', 'prose_classic');
  assert.equal(await page.inputValue('#b_genre'), 'sf_history, prose_classic');
  await type(page, '#b_seqname', 'Letters');
  await type(page, '#b_seqnum', '2');
  await type(page, '#b_annot', 'The first paragraph of the annotation.\nThe second one.');
  const png = join(home, 'front.png');
  writeFileSync(png, PNG);
  await page.setInputFiles('#CoverFile', png);
  await page.waitForSelector('#PicPrev:not([hidden])');
  // A file that is no picture is refused by name.
  const text = join(home, 'notes.txt');
  writeFileSync(text, 'just words');
  await page.setInputFiles('#CoverFile', text);
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').innerText(), /not supported image format: txt/);
  await page.click('#MessageDialog button[value="ok"]');
  assert.ok(await page.locator('#PicPrev').isVisible(), 'the cover stays');

  const prefilledId = await page.inputValue('#d_id');
  await page.click('#GenerateIdB');
  await page.waitForFunction((old) => document.querySelector('#d_id').value !== old, prefilledId);
  const id = await page.inputValue('#d_id');
  assert.match(id, /^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$/);
  // A mistaken title, undone through the book's history.
  await type(page, '#b_title', 'Wrong title');
  await page.click('#Fb2CloseB');
  await menu(page, 'EditMenu', 'MnUndo');
  await openForm(page);
  assert.equal(await page.inputValue('#b_title'), 'Letters Home');
  assert.equal(await page.inputValue('#d_id'), id);
  // Folding a block hides its fields and unfolding shows them again.
  await page.click('[data-fold="publish-info"]');
  assert.ok(await page.locator('#p_publisher').isHidden());
  await page.click('[data-fold="publish-info"]');
  assert.ok(await page.locator('#p_publisher').isVisible());
  await page.screenshot({ path: join(artifacts, 'fb2dialog-en.png') });

  await page.click('#Fb2CloseB');
  // A picture put after the paragraph at the caret, undone and done again with the history.
  await frame(page).locator('text=We walked to the river').click();
  await menu(page, 'EditMenu', 'MnInsertPicture');
  await page.setInputFiles('#InsertPictureFile', png);
  const picture = frame(page).locator('img[src="Picture_1.png"]');
  await picture.waitFor();
  assert.equal(await picture.evaluate((img) => img.naturalWidth), 2, 'the picture is served beside the book');
  assert.match(await frame(page).locator('div:has(> img)').evaluate((div) => div.previousElementSibling.textContent),
               /We walked to the river/);
  await menu(page, 'EditMenu', 'MnUndo');
  await picture.waitFor({ state: 'detached' });
  await menu(page, 'EditMenu', 'MnRedo');
  await picture.waitFor();
  await menu(page, 'EditMenu', 'MnInsertPicture');
  await page.setInputFiles('#InsertPictureFile', text);
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').innerText(), /not supported image format: txt/);
  await page.click('#MessageDialog button[value="ok"]');

  // A note that stands outside a note block: the export asks, and "yes" goes on.
  await page.evaluate(async () => {
    const editor = await import('/web/editor.js');
    editor.change('note', (doc) => doc.body.insertAdjacentHTML('beforeend',
      '<DIV align=justify>A river<A href="#n1">1</A>.</DIV><DIV align=justify><A name="n1"></A>1 The Rhône.</DIV>'));
  });
  await openForm(page);
  await page.fill('#Fb2FileNameB', 'letters');
  await page.fill('#Fb2Folder', join(home, 'out'));
  await page.check('#ValidateB');
  const downloaded = page.waitForEvent('download');
  await page.click('#MakeBookB');
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').innerText(), /notes but they are not formatted/);
  await page.click('#MessageDialog button[value="yes"]');
  const download = await downloaded;
  const fb2 = join(home, 'downloaded.fb2');
  await download.saveAs(fb2);
  await page.waitForSelector('#Fb2Result:not([hidden])');
  const written = join(home, 'out', 'letters.fb2');
  assert.match(await page.locator('#Fb2ResultText').innerText(), new RegExp(written.replaceAll('/', '\\/')));
  assert.ok(existsSync(written));
  assert.equal(readFileSync(written, 'utf8'), readFileSync(fb2, 'utf8'));
  assertValidFb2(program, fb2);

  const made = readFileSync(fb2, 'utf8');
  const titleInfo = between(made, '<title-info>', '</title-info>');
  assert.deepEqual([...titleInfo.matchAll(/<genre>([^<]*)<\/genre>/g)].map((m) => m[1]), ['sf_history', 'prose_classic']);
  const authors = [...titleInfo.matchAll(/<author>([\s\S]*?)<\/author>/g)].map((m) => m[1].replace(/\s+/g, ''));
  assert.deepEqual(authors, ['<first-name>Vincent</first-name><last-name>vanGogh</last-name>',
                             '<first-name>Anna</first-name><last-name>Lee</last-name>']);
  assert.match(titleInfo, /<book-title>Letters Home<\/book-title>/);
  assert.match(titleInfo, /<annotation>\s*<p>The first paragraph of the annotation\.<\/p>\s*<p>The second one\.<\/p>\s*<\/annotation>/);
  assert.match(titleInfo, /<coverpage><image l:href="#cover\.png"\/><\/coverpage>/);
  assert.match(titleInfo, /<translator>\s*<first-name>Ivan<\/first-name>\s*<last-name>Petrov<\/last-name>\s*<\/translator>/);
  assert.match(titleInfo, /<sequence name="Letters" number="2"\/>/);
  assert.equal(between(made, '<id>', '</id>'), id, 'the id written is the id shown');
  assert.match(made, /<binary content-type="image\/png" id="cover\.png">/);
  assert.match(made, /The Rhône\./);
  assert.match(made, /<image l:href="#pic_1\.png"\/>/);
  // The server tells where the book was saved and that it is valid.
  await page.waitForSelector('#MessageDialog[open]');
  const told = await page.locator('#MessageText').innerText();
  assert.match(told, /the book was saved as/);
  assert.match(told, /letters\.fb2: valid FictionBook 2/);
  await page.click('#MessageDialog button[value="ok"]');
  await page.click('#Fb2CloseB');
  assert.deepEqual(errors, []);

  // The book saved; the workshop ends and starts again on the same home: the description is back.
  await menu(page, 'FileMenu', 'MnSave');
  await page.locator('#status', { hasText: 'Saved:' }).waitFor();
  await context.close();
  await session.restart();
  ({ page, context, errors } = await openPage(browser, session.workshop.address));
  await frame(page).locator('text=The fields were yellow').waitFor();
  await openForm(page);
  assert.equal(await page.inputValue('#b_last_2'), 'Lee');
  assert.equal(await page.inputValue('#t_last'), 'Petrov');
  assert.equal(await page.inputValue('#b_seqname'), 'Letters');
  assert.equal(await page.inputValue('#b_genre'), 'sf_history, prose_classic');
  assert.equal(await page.inputValue('#d_id'), id);
  await page.waitForSelector('#PicPrev:not([hidden])');
  // The remembered options.
  assert.equal(await page.inputValue('#Fb2Folder'), join(home, 'out'));
  assert.ok(await page.isChecked('#ValidateB'));

  // A description loaded from another FB2 file; its missing language becomes "eng".
  if (existsSync(corpusFb2)) {
    await page.fill('#LoadDescriptionPath', corpusFb2);
    await page.click('#LoadDescriptionB');
    await page.waitForFunction(() => document.querySelector('#b_title').value === 'Book title');
    assert.equal(await page.inputValue('#b_lang'), 'eng');
    assert.equal(await page.inputValue('#b_middle'), 'Middle');
    assert.equal(await page.inputValue('#b_last_2'), 'Author');
    assert.equal(await page.inputValue('#b_keywords'), 'foo, bar, baz');
  } else {
    test.diagnostic(`corpus not found, description loading not tried: ${corpusFb2}`);
  }
  // A file without a description says so and changes nothing.
  const bare = join(home, 'bare.fb2');
  writeFileSync(bare, '<?xml version="1.0"?><FictionBook><body><section><p>x</p></section></body></FictionBook>');
  const before = await page.inputValue('#b_title');
  await page.fill('#LoadDescriptionPath', bare);
  await page.click('#LoadDescriptionB');
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').innerText(), /Fiction Book description not found/);
  await page.click('#MessageDialog button[value="ok"]');
  assert.equal(await page.inputValue('#b_title'), before);
  await page.click('#Fb2CloseB');

  // Removing the cover is a step of the history: undo puts the same picture back.
  await openForm(page);
  await page.click('#RemoveP');
  await page.waitForSelector('#PicPrev[hidden]', { state: 'attached' });
  await page.click('#Fb2CloseB');
  assert.equal(await page.evaluate(async () => (await import('/web/editor.js')).undoLabel()), 'Undo Cover');
  await menu(page, 'EditMenu', 'MnUndo');
  await page.waitForFunction(() => fetch('/book/cover.png').then((answer) => answer.ok));
  await openForm(page);
  await page.waitForSelector('#PicPrev:not([hidden])');
  await page.waitForFunction(() => document.querySelector('#PicPrev').naturalHeight === 3);  // the same 2 by 3 picture
  await page.click('#Fb2CloseB');

  // The read-only view and the stored-book form start from the description.
  await menu(page, 'ViewMenu', 'MnFb2Description');
  await page.waitForSelector('#Fb2Description[open]');
  assert.match(await page.locator('#Fb2DescriptionView').innerText(), new RegExp(before));
  await page.screenshot({ path: join(artifacts, 'fb2description-en.png') });
  await page.click('#Fb2Description button[value="close"]');
  await menu(page, 'FileMenu', 'MnMakePagewrightFile');
  await page.waitForSelector('#MakePwFileF[open]');
  assert.equal(await page.inputValue('#PwTitle'), before);
  await page.locator('#MakePwFileF').evaluate((dialog) => dialog.close('cancel'));

  // The form in Russian, with its genre list.
  await menu(page, 'ViewMenu', 'MnLanguageRussian');
  await page.waitForFunction(() => document.documentElement.lang === 'ru');
  await openForm(page);
  await page.click('#ShowGenreList');
  await page.fill('#GenreSearch', 'истор');
  assert.ok(await page.locator('#GenreList li').count() > 0, 'genres found by their Russian names');
  assert.match(await page.locator('#fdi-title-info h3').innerText(), /О книге/);
  await page.screenshot({ path: join(artifacts, 'fb2dialog-ru.png') });
  assert.deepEqual(errors, []);
  await context.close();
});
