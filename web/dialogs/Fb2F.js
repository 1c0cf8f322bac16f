// Fb2F: the book's FB2 description and the making of the FB2 file. The description page (FDi)
// holds every field; each change is kept with the book on the server at once and is one step of
// the book's history. The export options are remembered in the settings with each make; the
// export's questions are asked here and "yes" sends the make again past them.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t, language } from '../i18n.js';
import { registerCommand } from '../menus.js';
import { ask } from './MessageDialog.js';
import * as page from './Fb2FDescriptionPage.js';
import * as genres from './Fb2FGenreList.js';
import * as cover from './Fb2FCoverFrame.js';

registerTexts({
  en: { 'fb2.heading': 'Make Fiction Book file', 'fb2.output': 'Output', 'fb2.name': 'File name',
        'fb2.nameFromDescription': 'name from author, title and sequence', 'fb2.latin': 'in Latin letters',
        'fb2.folder': 'Also write into the folder', 'fb2.folderPlaceholder': 'download only',
        'fb2.encoding': 'Encoding', 'fb2.dashes': 'Dashes', 'fb2.short': 'short', 'fb2.middle': 'middle',
        'fb2.long': 'long', 'fb2.library': 'Book for a library', 'fb2.multiEmpty': 'Double empty lines after titles',
        'fb2.removeEmpty': 'Remove empty lines', 'fb2.removeLineEnds': 'No line breaks between elements',
        'fb2.keepSizes': 'Keep picture sizes', 'fb2.zip': 'Also pack into a ZIP archive', 'fb2.validate': 'Validate the file',
        'fb2.generateId': 'New id', 'fb2.load': 'Load description', 'fb2.loadPath': 'FB2 file on this computer',
        'fb2.loadUpload': 'Upload an FB2 file', 'fb2.clean': 'Clear description', 'fb2.help': 'Help',
        'fb2.close': 'Close', 'fb2.make': 'Make FB2', 'fb2.written': 'Written: {0}', 'fb2.made': 'Made: {0}',
        'fb2.download': 'Download again', 'fb2.goTo': 'Open the folder', 'fb2.openFile': 'Open the file', 'fb2.step': 'Description', 'fb2.continue': '\n\nContinue?' },
  ru: { 'fb2.heading': 'Создать файл FictionBook', 'fb2.output': 'Вывод', 'fb2.name': 'Имя файла',
        'fb2.nameFromDescription': 'имя из автора, названия и серии', 'fb2.latin': 'латинскими буквами',
        'fb2.folder': 'Записать также в папку', 'fb2.folderPlaceholder': 'только скачать',
        'fb2.encoding': 'Кодировка', 'fb2.dashes': 'Тире', 'fb2.short': 'короткие', 'fb2.middle': 'средние',
        'fb2.long': 'длинные', 'fb2.library': 'Книга для библиотеки', 'fb2.multiEmpty': 'Двойные пустые строки после заголовков',
        'fb2.removeEmpty': 'Убрать пустые строки', 'fb2.removeLineEnds': 'Без переводов строк между элементами',
        'fb2.keepSizes': 'Сохранять размеры картинок', 'fb2.zip': 'Упаковать также в архив', 'fb2.validate': 'Проверить файл',
        'fb2.generateId': 'Новый идентификатор', 'fb2.load': 'Загрузить описание', 'fb2.loadPath': 'файл книги на этом компьютере',
        'fb2.loadUpload': 'Загрузить файл книги', 'fb2.clean': 'Очистить описание', 'fb2.help': 'Справка',
        'fb2.close': 'Закрыть', 'fb2.make': 'Создать FB2', 'fb2.written': 'Записан: {0}', 'fb2.made': 'Создан: {0}',
        'fb2.download': 'Скачать ещё раз', 'fb2.goTo': 'Открыть папку', 'fb2.openFile': 'Открыть файл', 'fb2.step': 'Описание', 'fb2.continue': '\n\nПродолжить?' },
});

const dialog = document.createElement('dialog');
dialog.id = 'Fb2F';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="fb2.heading"></h2>
  <div class="fb2-columns">
    <div id="FDi"></div>
    <div class="fb2-side">
      <fieldset class="fb2-tools">
        <button type="button" id="GenerateIdB" data-t="fb2.generateId"></button>
        <button type="button" id="CleanDescriptionB" data-t="fb2.clean"></button>
        <button type="button" id="HelpB" data-t="fb2.help"></button>
        <div class="fb2-load"><input id="LoadDescriptionPath" data-t-placeholder="fb2.loadPath">
          <button type="button" id="LoadDescriptionB" data-t="fb2.load"></button>
          <label class="file-button"><span data-t="fb2.loadUpload"></span><input type="file" id="LoadDescriptionFile" accept=".fb2,.xml" hidden></label></div>
      </fieldset>
      <fieldset class="fb2-options"><legend data-t="fb2.output"></legend>
        <label><span data-t="fb2.name"></span> <input id="Fb2FileNameB" placeholder="noname"></label>
        <label><input type="checkbox" id="MakeFileNameB"> <span data-t="fb2.nameFromDescription"></span></label>
        <label><input type="checkbox" id="LatinFileNameB"> <span data-t="fb2.latin"></span></label>
        <label><span data-t="fb2.folder"></span> <input id="Fb2Folder" data-t-placeholder="fb2.folderPlaceholder"></label>
        <label><span data-t="fb2.encoding"></span> <select id="EncodingT"><option>utf-8</option><option>windows-1251</option><option>windows-1252</option></select></label>
        <label><span data-t="fb2.dashes"></span> <select id="DashesLengthL"><option value="short" data-t="fb2.short"></option><option value="middle" data-t="fb2.middle"></option><option value="long" data-t="fb2.long"></option></select></label>
        <label><input type="checkbox" id="BookForLibraryB"> <span data-t="fb2.library"></span></label>
        <label><input type="checkbox" id="MultiEmptyLinesB"> <span data-t="fb2.multiEmpty"></span></label>
        <label><input type="checkbox" id="RemoveEmptyLinesB"> <span data-t="fb2.removeEmpty"></span></label>
        <label><input type="checkbox" id="RemoveLineEndsB"> <span data-t="fb2.removeLineEnds"></span></label>
        <label><input type="checkbox" id="KeepPictureSizesB"> <span data-t="fb2.keepSizes"></span></label>
        <label><input type="checkbox" id="ZipFileB"> <span data-t="fb2.zip"></span></label>
        <label><input type="checkbox" id="ValidateB"> <span data-t="fb2.validate"></span></label>
      </fieldset>
      <p id="Fb2Result" hidden><span id="Fb2ResultText"></span> <a id="Fb2DownloadB" data-t="fb2.download"></a>
        <button type="button" id="GoToB" data-t="fb2.goTo" hidden></button> <button type="button" id="LoadB" data-t="fb2.openFile" hidden></button></p>
    </div>
  </div>
  <menu><button value="cancel" id="Fb2CloseB" data-t="fb2.close"></button><button type="button" id="MakeBookB" data-t="fb2.make"></button></menu>
</form>`;
const fdi = dialog.querySelector('#FDi');
page.buildPage(fdi, cover.frame);
dialog.querySelector('.fb2-side').prepend(genres.panel);
translate(dialog);
document.body.append(dialog);
const $ = (id) => dialog.querySelector('#' + id);

// Export options: the request's key and the control that holds it.
const CHECKS = { nameFromDescription: 'MakeFileNameB', latin: 'LatinFileNameB', library: 'BookForLibraryB',
                 multiEmptyLines: 'MultiEmptyLinesB', removeEmptyLines: 'RemoveEmptyLinesB',
                 removeLineEnds: 'RemoveLineEndsB', keepPictureSizes: 'KeepPictureSizesB', zip: 'ZipFileB',
                 validate: 'ValidateB' };

let kept = null;            // the description as the server keeps it (JSON form)
let saving = Promise.resolve();
let downloadUrl = '';
let desktop = false;        // the server can hand files to the desktop's programs

function same(a, b) { return JSON.stringify(a) === JSON.stringify(b); }

// Sends `description` to be kept; requests go out in the order they were made.
function keep(description) {
  saving = saving.then(() => api.postJson('/api/description', { description })).catch(() => {}).then(() => api.poll());
  return saving;
}

// Shows `description` and keeps it on the server.
function putBack(description) {
  kept = description;
  if (dialog.open) page.fill(fdi, description);
  return keep(description);
}

// What the page now shows becomes the kept description, as one step of the book's history.
function commit() {
  const now = page.read(fdi);
  if (kept && same(now, kept)) return;
  const before = kept;
  kept = now;
  keep(now);
  if (before) editor.recordStep(t('fb2.step'), () => putBack(before), () => putBack(now));
}

// A description that came from the server (loaded from a file): shown and recorded as a step.
function adopt(answer) {
  const before = kept;
  const { cover: coverName, ...description } = answer;
  page.fill(fdi, description);
  kept = page.read(fdi);
  cover.show(coverName);
  const after = kept;
  if (before) editor.recordStep(t('fb2.step'), () => putBack(before), () => putBack(after));
}

fdi.addEventListener('change', (event) => { if (event.target.matches('[data-field]')) commit(); });
fdi.addEventListener('click', (event) => {
  const button = event.target.closest('button');
  if (!button) return;
  if (button.dataset.fold) return page.toggleBlock(button);
  if (button.id === 'ShowGenreList') return genres.toggle();
  for (const [name, group] of Object.entries(page.GROUPS)) {
    if (button.id === group.add) {
      page.addPerson(fdi, name).querySelector('input')?.focus();
      return;  // an empty person changes nothing until a name is typed
    }
    if (button.id === group.remove) {
      page.removePerson(fdi, name);
      return commit();
    }
  }
});
genres.onPick((code) => {
  page.addGenre(fdi, code);
  commit();
});

$('GenerateIdB').addEventListener('click', async () => {
  const { id } = await api.getJson('/api/description/id');
  const field = fdi.querySelector('[data-field="d_id"]');
  field.value = id;
  field.scrollIntoView({ block: 'center' });
  commit();
});
$('CleanDescriptionB').addEventListener('click', () => {
  page.fill(fdi, {});
  commit();
});
$('HelpB').addEventListener('click', () =>
  window.open(`/web/help/PagewrightMakeFb2Help${language() === 'ru' ? 'Rus' : 'Eng'}.html`, '_blank'));

// Loads a description from a file. What was typed before is kept first, as its own step, and
// the form takes no typing until the answer has replaced it.
async function load(request) {
  commit();
  fdi.inert = true;
  try {
    await saving;
    const response = await request();
    const answer = await response.json();
    await api.poll();
    if (answer.ok) adopt(answer.description);
  } finally {
    fdi.inert = false;
  }
}
$('LoadDescriptionB').addEventListener('click', () => {
  const path = $('LoadDescriptionPath').value.trim();
  if (path) load(() => api.post('/api/description/load', { path }));
});
$('LoadDescriptionFile').addEventListener('change', (event) => {
  const file = event.target.files[0];
  event.target.value = '';
  if (!file) return;
  const form = new FormData();
  form.append('fb2', file, file.name);
  load(() => api.request('/api/description/load', { method: 'POST', body: form }));
});
$('MakeFileNameB').addEventListener('change', () => { $('Fb2FileNameB').disabled = $('MakeFileNameB').checked; });

function options() {
  const chosen = { name: $('Fb2FileNameB').value, folder: $('Fb2Folder').value, encoding: $('EncodingT').value,
                   dashes: $('DashesLengthL').value };
  for (const [key, id] of Object.entries(CHECKS)) chosen[key] = $(id).checked;
  return chosen;
}

function showOptions(chosen) {
  $('Fb2Folder').value = chosen.folder === '~' ? '' : chosen.folder || '';
  $('EncodingT').value = chosen.encoding || 'utf-8';
  $('DashesLengthL').value = chosen.dashes || 'short';
  for (const [key, id] of Object.entries(CHECKS)) $(id).checked = Boolean(chosen[key]);
  $('Fb2FileNameB').disabled = $('MakeFileNameB').checked;
}

// Makes the file with the description the page shows; a question of the export is asked, and
// "yes" sends the request again with the answer.
async function make(answers = []) {
  commit();
  await editor.sync();
  await saving;
  const response = await api.post('/api/fb2', { description: kept, ...options(), answers });
  if ((response.headers.get('Content-Type') || '').includes('application/json')) {
    const answer = await response.json();
    await api.poll();
    if (answer.question) {
      const last = answer.question.trimEnd().endsWith('?') ? '' : t('fb2.continue');
      if (await ask(answer.question + last) === 'yes') return make([...answers, answer.question]);
    }
    return;
  }
  const blob = await response.blob();
  const name = api.dispositionName(response.headers.get('Content-Disposition')) || 'noname.fb2';
  if (downloadUrl) URL.revokeObjectURL(downloadUrl);
  downloadUrl = URL.createObjectURL(blob);
  const link = $('Fb2DownloadB');
  link.href = downloadUrl;
  link.download = name;
  const written = response.headers.get('X-Pagewright-Saved-As');
  $('Fb2ResultText').textContent = written ? t('fb2.written', written) : t('fb2.made', name);
  $('GoToB').hidden = $('LoadB').hidden = !(desktop && written);
  $('Fb2Result').hidden = false;
  const save = document.createElement('a');
  save.href = downloadUrl;
  save.download = name;
  save.click();
  await api.poll();
}
// Enter in a field keeps it rather than closing the form; closing keeps what was typed last.
fdi.addEventListener('keydown', (event) => {
  if (event.key === 'Enter' && event.target.matches('input')) {
    event.preventDefault();
    commit();
  }
});
dialog.addEventListener('close', commit);
for (const [id, what] of [['GoToB', 'folder'], ['LoadB', 'file']])
  $(id).addEventListener('click', () => api.postJson('/api/fb2/show', { what }).then(() => api.poll()));
$('MakeBookB').addEventListener('click', () => { make().catch((error) => console.error(error)); });

// The description (the book's own, or what its headings say) and the remembered options.
export async function open() {
  await editor.sync();
  await saving;
  const answer = await api.getJson('/api/description');
  // The cover is the cover frame's; the description is what the page's fields hold.
  const { cover: coverName, ...description } = answer.description;
  desktop = Boolean(answer.desktop);
  page.fill(fdi, description);
  kept = page.read(fdi);  // as the page reads it, so that only a real edit differs
  cover.show(coverName);
  showOptions(answer.options);
  $('Fb2FileNameB').value = answer.name || '';
  $('Fb2Result').hidden = true;
  dialog.returnValue = '';
  if (!dialog.open) dialog.showModal();
}

registerCommand({ id: 'MnMakeFictionBookFile', menu: 'FileMenu', order: 45, label: { en: 'Make FB2…', ru: 'Создать FB2…' },
                  run: open });
