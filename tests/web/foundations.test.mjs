// Browser tests of the workshop's foundations: work kept across two runs, one history for
// every change, moving elements, find and replace, the end of the workshop.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { scratchHome, startWorkshop, openPage, frame, editorHtml, menu, selectParagraph, caretIn, artifacts, sharedBrowser } from './support.mjs';

const { browser, homes } = await sharedBrowser();

const STORY = 'Ann Lee\n\nA Short Walk\n\nChapter One\n\nIt was a quiet morning in the valley.\n\n' +
              'She said nothing at all.\n\nChapter Two\n\nThe road went on.\n\nChapter Three\n\nThe end came.\n\n' +
              'Then there was silence.\n';

async function workshopWithBook(name = 'walk.txt') {
  const home = scratchHome();
  homes.push(home);
  const book = join(home, name);
  writeFileSync(book, STORY);
  const workshop = await startWorkshop(home);
  const { page, context, errors } = await openPage(browser, workshop.address);
  await page.keyboard.press('Control+o');
  await page.waitForSelector('#OpenDialog[open]');
  await page.fill('#OpenPath', book);
  await page.click('#OpenOk');
  await frame(page).locator('text=It was a quiet morning').waitFor();
  return { home, book, workshop, page, context, errors };
}

test('save, quit and start again: the marks and the typing are back', async () => {
  const { home, workshop, page, context, errors } = await workshopWithBook();
  await selectParagraph(page, 'She said nothing at all.');
  await page.click('#toolbar button[data-command="MnFormatTitle"]');
  await frame(page).locator('span#title:has-text("She said nothing at all.")').waitFor();
  await caretIn(page, 'The road went on.');
  await page.keyboard.type(' And on.');
  assert.match(await page.locator('#caption').textContent(), /\*$/);  // the unsaved mark
  await page.keyboard.press('Control+s');
  await page.waitForFunction(() => /^Saved: .*walk\.html0$/.test(document.getElementById('status').textContent));
  assert.doesNotMatch(await page.locator('#caption').textContent(), /\*$/);

  // Quit: the page says the workshop has ended and sends nothing more.
  await menu(page, 'FileMenu', 'MnQuit');
  await page.waitForSelector('#EndedNotice');
  assert.equal(await page.locator('#EndedNotice h1').textContent(), 'The workshop has ended');
  await page.screenshot({ path: join(artifacts, 'ended.png') });
  assert.equal(await workshop.ended, 0);
  let requests = 0;
  page.on('request', () => { requests += 1; });
  await page.waitForTimeout(2000);
  assert.equal(requests, 0);
  assert.deepEqual(errors, []);
  await context.close();

  // The next run opens the saved book, not the source.
  const again = await startWorkshop(home);
  const second = await openPage(browser, again.address);
  await frame(second.page).locator('text=The road went on. And on.').waitFor();
  assert.match(await editorHtml(second.page), /<span id="title">.*She said nothing at all\./is);
  const recent = await second.page.locator('#RecentFiles button').allTextContents();
  assert.match(recent[0], /Books\/walk-[0-9a-f]{8}\/walk\.html0$/);
  assert.ok(recent.some((file) => file.endsWith('walk.txt')), recent.join('\n'));  // the source can still be opened
  await second.context.close();
  again.process.kill();
  await again.ended;
});

test('one history: typing, marks and Book-menu operations undo and redo in order', async () => {
  const { workshop, page, context, errors } = await workshopWithBook();
  await selectParagraph(page, 'She said nothing at all.');
  await page.click('#toolbar button[data-command="MnFormatTitle"]');
  await frame(page).locator('span#title:has-text("She said nothing at all.")').waitFor();
  await caretIn(page, 'The road went on.');
  await page.keyboard.type(' Typed.');
  // The Edit menu names the step.
  await page.click('#menu .menu > button[data-menu="EditMenu"]');
  assert.equal(await page.locator('#MnUndo .label').textContent(), 'Undo Typing');
  await page.keyboard.press('Escape');
  await frame(page).locator('body').press('Control+z');
  await frame(page).locator('text=Typed.').waitFor({ state: 'detached' });
  assert.match(await editorHtml(page), /<span id="title">[^]*She said nothing at all\./i);  // the mark is still there
  await frame(page).locator('body').press('Control+z');
  await frame(page).locator('span#title:has-text("She said nothing at all.")').waitFor({ state: 'detached' });

  // A Book-menu operation keeps the scroll position and is one step.
  await menu(page, 'BookMenu', 'MnBookTitlestosubtitles');
  await frame(page).locator('span#subtitle:has-text("Chapter Two")').waitFor();
  await page.click('#menu .menu > button[data-menu="EditMenu"]');
  assert.equal(await page.locator('#MnUndo .label').textContent(), 'Undo Titles to subtitles');
  await page.click('#EditMenu #MnUndo');
  await frame(page).locator('span#title:has-text("Chapter Two")').waitFor();
  assert.equal(await page.locator('#EditMenu').isVisible(), false);  // the menu closed after the choice
  await frame(page).locator('body').press('Control+y');
  await frame(page).locator('span#subtitle:has-text("Chapter Two")').waitFor();
  await frame(page).locator('body').press('Control+z');
  await frame(page).locator('span#title:has-text("Chapter Two")').waitFor();
  await frame(page).locator('body').press('Control+Shift+z');
  await frame(page).locator('span#subtitle:has-text("Chapter Two")').waitFor();
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('move element up and down: the element at the caret moves, no marker is left', async () => {
  const { workshop, page, context, errors } = await workshopWithBook();
  const order = async () => (await editorHtml(page)).match(/Chapter (One|Two|Three)/g).join(',');
  assert.equal(await order(), 'Chapter One,Chapter Two,Chapter Three');
  await caretIn(page, 'Chapter Three');
  await menu(page, 'BookMenu', 'MnMoveElementUp');
  // "Chapter Three" changes places with the paragraph before it.
  await page.waitForFunction(() => {
    const html = document.getElementById('editor').contentDocument.body.innerHTML;
    return html.indexOf('Chapter Three') < html.indexOf('The road went on.');
  });
  let html = await editorHtml(page);
  assert.ok(html.indexOf('Chapter Two') < html.indexOf('Chapter Three'));
  assert.doesNotMatch(html, /MovedElSt/);
  // The caret stays in the moved element: a second move goes on from there.
  await menu(page, 'BookMenu', 'MnMoveElementUp');
  await page.waitForFunction(() => {
    const html = document.getElementById('editor').contentDocument.body.innerHTML;
    return html.indexOf('Chapter Three') < html.indexOf('Chapter Two');
  });
  await menu(page, 'BookMenu', 'MnMoveElementDown');
  await page.waitForFunction(() => {
    const html = document.getElementById('editor').contentDocument.body.innerHTML;
    return html.indexOf('Chapter Two') < html.indexOf('Chapter Three');
  });
  html = await editorHtml(page);
  assert.doesNotMatch(html, /MovedElSt/);
  // A plain paragraph does not move, and says why.
  await caretIn(page, 'It was a quiet morning in the valley.');
  await menu(page, 'BookMenu', 'MnMoveElementUp');
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').textContent(), /Only the complete Pagewright elements/);
  await page.click('#MessageDialog button[value="ok"]');
  assert.doesNotMatch(await editorHtml(page), /MovedElSt/);
  // The server's copy never holds the marker either.
  await menu(page, 'FileMenu', 'MnSave');
  await page.waitForFunction(() => /^Saved: /.test(document.getElementById('status').textContent));
  const saved = await page.evaluate(async () => (await fetch('/book/document')).text());
  assert.doesNotMatch(saved, /MovedElSt/);
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('find and replace with a regular expression, one undo step, a bad pattern at its field', async () => {
  const { workshop, page, context, errors } = await workshopWithBook();
  await frame(page).locator('body').click();
  await page.keyboard.press('Control+h');
  await page.waitForSelector('#FindReplaceF[open]');
  await page.check('#RegExpB');
  await page.fill('#FindWhat', 'Chapter (\\w+)');
  await page.fill('#ReplaceWith', 'Глава $1');
  // Find next highlights the first match and selects it.
  await page.click('#FindNextB');
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Match 1 of 3');
  assert.equal(await frame(page).locator('body').evaluate((body) => body.ownerDocument.getSelection().toString()),
               'Chapter One');
  await page.click('#FindNextB');
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Match 2 of 3');
  await page.click('#FindPreviousB');
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Match 1 of 3');
  // Replace one: the selected match, then on to the next.
  await page.click('#ReplaceB');
  await frame(page).locator('text=Глава One').waitFor();
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Match 1 of 2');
  await page.click('#ReplaceAllB');
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Replaced: 2');
  let html = await editorHtml(page);
  assert.match(html, /Глава Two[^]*Глава Three/);
  assert.doesNotMatch(html, /Chapter/);
  // Replace all is one step.
  await frame(page).locator('body').press('Control+z');
  await frame(page).locator('text=Chapter Two').waitFor();
  html = await editorHtml(page);
  assert.match(html, /Глава One/);
  assert.match(html, /Chapter Three/);
  // Whole words and case.
  await page.uncheck('#RegExpB');
  await page.check('#WholeWordB');
  await page.fill('#FindWhat', 'the');
  await page.click('#FindNextB');
  // "the valley", "The road", "The end"; not "Then" nor "there".
  await page.waitForFunction(() => /of 3$/.test(document.getElementById('FindStatus').textContent));
  await page.check('#MatchCaseB');
  await page.click('#FindNextB');
  await page.waitForFunction(() => /of 1$/.test(document.getElementById('FindStatus').textContent));
  await page.fill('#FindWhat', 'thE');
  await page.click('#FindNextB');
  await page.waitForFunction(() => document.getElementById('FindStatus').textContent === 'Not found');
  // A bad pattern is shown at the field, not as a message.
  await page.check('#RegExpB');
  await page.fill('#FindWhat', 'Chapter (');
  await page.click('#FindNextB');
  await page.waitForSelector('#FindError:not([hidden])');
  assert.match(await page.locator('#FindError').textContent(), /missing closing parenthesis/);
  assert.equal(await page.locator('#MessageDialog[open]').count(), 0);
  // In the HTML: the marks themselves can be rewritten.
  await page.uncheck('#MatchCaseB');
  await page.uncheck('#WholeWordB');
  await page.check('#InHtmlB');
  await page.fill('#FindWhat', 'id="?title"?');
  await page.fill('#ReplaceWith', 'id=subtitle');
  const titles = await frame(page).locator('span#title').count();
  assert.ok(titles >= 2, `titles in the book: ${titles}`);
  // Next selects the element whose tag holds the match; one replacement rewrites that tag only.
  await frame(page).locator('body').evaluate((body) => {
    const range = body.ownerDocument.createRange();
    range.setStart(body, 0);
    body.ownerDocument.getSelection().removeAllRanges();
    body.ownerDocument.getSelection().addRange(range);
  });
  await page.click('#FindNextB');
  await page.waitForFunction((n) => document.getElementById('FindStatus').textContent === `Match 1 of ${n}`, titles);
  const firstTitle = await frame(page).locator('span#title').first().textContent();
  assert.equal((await frame(page).locator('body').evaluate((body) => body.ownerDocument.getSelection().toString())).trim(),
               firstTitle.trim());
  await page.click('#FindNextB');
  await page.waitForFunction((n) => document.getElementById('FindStatus').textContent === `Match 2 of ${n}`, titles);
  await page.click('#FindPreviousB');
  await page.waitForFunction((n) => document.getElementById('FindStatus').textContent === `Match 1 of ${n}`, titles);
  await page.click('#ReplaceB');
  await page.waitForFunction((n) => document.getElementById('FindStatus').textContent === `Match 1 of ${n - 1}`, titles);
  assert.equal(await frame(page).locator('span#title').count(), titles - 1);
  assert.equal((await frame(page).locator('span#subtitle').first().textContent()).trim(), firstTitle.trim());
  await frame(page).locator('body').press('Control+z');
  await page.waitForFunction(() => document.getElementById('editor').contentDocument.querySelectorAll('span#subtitle').length === 0);
  assert.equal(await frame(page).locator('span#title').count(), titles);
  await page.click('#ReplaceAllB');
  await page.waitForFunction(() => /^Replaced: [1-9]/.test(document.getElementById('FindStatus').textContent));
  await frame(page).locator('span#subtitle').first().waitFor();
  await page.screenshot({ path: join(artifacts, 'find-replace.png') });
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('offsets in the written HTML and positions in the DOM map both ways', async () => {
  const { workshop, page, context, errors } = await workshopWithBook();
  const failures = await page.evaluate(async () => {
    const { positionAt, htmlOffsetOf, childrenCovering } = await import('/web/htmlPositions.js');
    const holder = document.createElement('div');
    holder.innerHTML = '<div align=justify>a &amp; b\u00a0c &lt;d&gt;</div>\n<span id=title><div><b>Ti</b>tle</div></span>' +
                       '<!-- note --><br><div>ё<img src=x>end</div>';
    const html = holder.innerHTML;
    const found = [];
    // Every offset between two written characters of text maps to a DOM position and back.
    const textOffsets = [];
    for (let at = 0, inTag = false, inEntity = false; at <= html.length; ++at) {
      const c = html[at];
      if (!inTag && !inEntity) textOffsets.push(at);
      if (c === '<') inTag = true; else if (c === '>') inTag = false;
      else if (!inTag && c === '&') inEntity = true; else if (inEntity && c === ';') inEntity = false;
    }
    for (const at of textOffsets) {
      const { node, offset } = positionAt(holder, at);
      const back = htmlOffsetOf(holder, node, offset);
      if (back !== at) found.push(`${at} -> ${back}`);
    }
    // A position inside a tag goes to the boundary before the element.
    const inTag = positionAt(holder, html.indexOf('id=') + 1);
    if (inTag.node !== holder || holder.childNodes[inTag.offset].nodeName !== 'SPAN') found.push('inside a tag');
    const covered = childrenCovering(holder, html.indexOf('b>Ti'), html.indexOf('<br>') + 1);
    if (covered.first.nodeName !== 'SPAN' || covered.last.nodeName !== 'BR' || html.slice(covered.start, covered.start + 5) !== '<span' ||
        html.slice(covered.start, covered.end) !== covered.first.outerHTML + '<!-- note -->' + covered.last.outerHTML)
      found.push('covering: ' + covered.first.nodeName + ' ' + covered.last.nodeName);
    return found;
  });
  assert.deepEqual(failures, []);
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('the page after the server ended by itself stops asking it', async () => {
  const { workshop, page, context, errors } = await workshopWithBook();
  workshop.process.kill('SIGTERM');
  assert.equal(await workshop.ended, 0);
  assert.match(workshop.output(), /the workshop has ended/);
  await page.waitForSelector('#EndedNotice', { timeout: 10000 });
  let requests = 0;
  page.on('request', () => { requests += 1; });
  await page.waitForTimeout(1500);
  assert.equal(requests, 0);
  assert.deepEqual(errors, []);
  await context.close();
});

test('unsaved changes are asked about before another book replaces them', async () => {
  const { book, workshop, page, context } = await workshopWithBook();
  await caretIn(page, 'The road went on.');
  await page.keyboard.type(' Unsaved.');
  await menu(page, 'FileMenu', 'MnEmptyBook');
  await page.waitForSelector('#MessageDialog[open]');
  assert.match(await page.locator('#MessageText').textContent(), /Current file was not saved/);
  await page.click('#MessageDialog button[value="cancel"]');
  assert.match(await editorHtml(page), /Unsaved\./);  // cancel: nothing happened
  await menu(page, 'FileMenu', 'MnEmptyBook');
  await page.click('#MessageDialog button[value="no"]');
  await frame(page).locator('text=The road went on.').waitFor({ state: 'detached' });
  // Reopen the source and save through the question.
  await page.keyboard.press('Control+o');
  await page.fill('#OpenPath', book);
  await page.click('#OpenOk');
  await frame(page).locator('text=The road went on.').waitFor();
  await caretIn(page, 'The road went on.');
  await page.keyboard.type(' Kept.');
  await menu(page, 'FileMenu', 'MnEmptyBook');
  await page.click('#MessageDialog button[value="yes"]');
  await frame(page).locator('text=The road went on.').waitFor({ state: 'detached' });
  const recent = await page.locator('#RecentFiles button').allTextContents();
  assert.match(recent[0], /walk\.html0$/);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('code a book carries never runs, in the editor or in the reader', async () => {
  const home = scratchHome();
  homes.push(home);
  const book = join(home, 'hostile.html0');
  // Every way a page could run code: a script, an attribute handler, a javascript: link.
  writeFileSync(book, '<HTML><BODY><DIV align=justify>A quiet book.</DIV>' +
    '<script>parent.document.body.dataset.owned = "script";</script>' +
    '<DIV align=justify><IMG src="nothing.png" onerror="parent.document.body.dataset.owned = \'handler\'"></DIV>' +
    '<DIV align=justify><A id=go href="javascript:parent.document.body.dataset.owned = \'link\'">go</A></DIV></BODY></HTML>');
  const workshop = await startWorkshop(home);
  const { page, context } = await openPage(browser, workshop.address);
  await page.keyboard.press('Control+o');
  await page.waitForSelector('#OpenDialog[open]');
  await page.fill('#OpenPath', book);
  await page.click('#OpenOk');
  await frame(page).locator('text=A quiet book.').waitFor();
  await frame(page).locator('#go').click();
  await menu(page, 'FileMenu', 'MnRead');
  await page.waitForSelector('#PwReader[open]');
  await page.frameLocator('#ReaderView').locator('text=A quiet book.').waitFor();
  await page.waitForTimeout(500);  // a picture's error comes a moment after the document
  assert.equal(await page.evaluate(() => document.body.dataset.owned ?? 'none'), 'none');
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});
