// Browser test of UnRarF: an archive holding several books lists its files with the hint, and a
// click on a book's name opens that book.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { scratchHome, startWorkshop, openPage, frame, menu, artifacts, sharedBrowser } from './support.mjs';

const { browser, homes } = await sharedBrowser();

function crc32(bytes) {
  let crc = 0xFFFFFFFF;
  for (const byte of bytes) {
    crc ^= byte;
    for (let k = 0; k < 8; ++k) crc = (crc >>> 1) ^ (0xEDB88320 & -(crc & 1));
  }
  return (crc ^ 0xFFFFFFFF) >>> 0;
}

// A zip of stored members with UTF-8 names.
function zip(members) {
  const parts = [];
  const central = [];
  let offset = 0;
  for (const [name, text] of members) {
    const nameBytes = Buffer.from(name, 'utf8');
    const data = Buffer.from(text, 'utf8');
    const fields = Buffer.alloc(26);
    fields.writeUInt16LE(20, 0);
    fields.writeUInt16LE(0x800, 2);
    fields.writeUInt16LE(0x21, 8);
    fields.writeUInt32LE(crc32(data), 10);
    fields.writeUInt32LE(data.length, 14);
    fields.writeUInt32LE(data.length, 18);
    fields.writeUInt16LE(nameBytes.length, 22);
    const local = Buffer.concat([Buffer.from([0x50, 0x4b, 3, 4]), fields, nameBytes, data]);
    const entry = Buffer.alloc(46);
    entry.writeUInt32LE(0x02014b50, 0);
    entry.writeUInt16LE(20, 4);
    fields.copy(entry, 6);
    entry.writeUInt32LE(offset, 42);
    central.push(Buffer.concat([entry, nameBytes]));
    parts.push(local);
    offset += local.length;
  }
  const directory = Buffer.concat(central);
  const end = Buffer.alloc(22);
  end.writeUInt32LE(0x06054b50, 0);
  end.writeUInt16LE(members.length, 8);
  end.writeUInt16LE(members.length, 10);
  end.writeUInt32LE(directory.length, 12);
  end.writeUInt32LE(offset, 16);
  return Buffer.concat([...parts, directory, end]);
}

test('UnRarF lists the books of an archive and opens the one clicked', async () => {
  const home = scratchHome();
  homes.push(home);
  const archive = join(home, 'pack.zip');
  writeFileSync(archive, zip([['readme.txt', 'Read me first, this is not the story.\n'],
                              ['pictures/cover.png', 'png'],
                              ['Повести/Story.txt', 'The Story\n\nIt was a long way home across the hills.\n']]));
  const workshop = await startWorkshop(home);
  const { page, context, errors } = await openPage(browser, workshop.address);
  await page.keyboard.press('Control+o');
  await page.waitForSelector('#OpenDialog[open]');
  await page.fill('#OpenPath', archive);
  await page.click('#OpenOk');
  await page.waitForSelector('#UnRarF[open]');
  assert.equal((await page.textContent('#UnRarHint')), ' click on the file name to load it');
  const names = await page.locator('#UnRarList li').allTextContents();
  assert.equal(names.length, 3);
  assert.ok(names[2].startsWith('Повести/Story.txt'));
  assert.equal(await page.locator('#UnRarList button').count(), 2);  // the picture is not a book
  await page.screenshot({ path: join(artifacts, 'UnRarF.png') });
  await page.click('#UnRarList button:has-text("Story.txt")');
  await frame(page).locator('text=It was a long way home across the hills.').waitFor();
  assert.equal(await page.locator('#UnRarF[open]').count(), 0);
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});

test('an uploaded archive of several books asks in Russian; one of a single book opens at once', async () => {
  const home = scratchHome();
  homes.push(home);
  const several = join(home, 'sbornik.zip');
  writeFileSync(several, zip([['Рассказ.txt', 'Рассказ\n\nБыло тихое утро в долине.\n'],
                              ['__MACOSX/._Рассказ.txt', 'clutter'],
                              ['Повесть.txt', 'Повесть\n\nДорога шла дальше через холмы.\n']]));
  const single = join(home, 'odna.zip');
  writeFileSync(single, zip([['cover.jpg', 'jpg'], ['kniga.txt', 'Книга\n\nОдна книга в архиве, и она открыта сразу.\n']]));
  const workshop = await startWorkshop(home);
  const { page, context, errors } = await openPage(browser, workshop.address);
  await menu(page, 'ViewMenu', 'MnLanguageRussian');
  await page.waitForFunction(() => document.documentElement.lang === 'ru');

  await page.setInputFiles('#UploadBook', several);
  await page.waitForSelector('#UnRarF[open]');
  assert.equal(await page.textContent('#UnRarHint'), ' для загрузки книги кликните на файл');
  assert.equal(await page.textContent('#UnRarF h2'), 'Файлы в архиве');
  const items = await page.locator('#UnRarList li').allTextContents();
  assert.deepEqual(items.map((item) => item.replace(/\s+\d+ Б$/, '')), ['Рассказ.txt', 'Повесть.txt']);  // no clutter
  await page.screenshot({ path: join(artifacts, 'UnRarF-ru.png') });
  await page.click('#UnRarList button:has-text("Повесть.txt")');
  await frame(page).locator('text=Дорога шла дальше через холмы.').waitFor();

  await page.setInputFiles('#UploadBook', single);
  await frame(page).locator('text=Одна книга в архиве, и она открыта сразу.').waitFor();
  assert.equal(await page.locator('#UnRarF[open]').count(), 0);
  assert.deepEqual(errors, []);
  await context.close();
  workshop.process.kill();
  await workshop.ended;
});
