// Fb2F: the book made into a FictionBook file, from the book's description or its headings.
// The file is offered as a download; it is written to a folder only when the user names one.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate } from '../i18n.js';
import { registerCommand } from '../menus.js';

registerTexts({
  en: { 'fb2.heading': 'Make Fiction Book file', 'fb2.name': 'File name', 'fb2.folder': 'Also write into the folder',
        'fb2.folderPlaceholder': 'download only', 'fb2.author': 'Book author', 'fb2.title': 'Book title',
        'fb2.genre': 'Genre', 'fb2.encoding': 'Encoding', 'fb2.dashes': 'Dashes', 'fb2.short': 'short',
        'fb2.middle': 'middle', 'fb2.long': 'long', 'fb2.library': 'Book for a library',
        'fb2.validate': 'Validate the file', 'fb2.cancel': 'Cancel', 'fb2.make': 'Make FB2' },
  ru: { 'fb2.heading': 'Создать файл FictionBook', 'fb2.name': 'Имя файла', 'fb2.folder': 'Записать также в папку',
        'fb2.folderPlaceholder': 'только скачать', 'fb2.author': 'Автор книги', 'fb2.title': 'Название книги',
        'fb2.genre': 'Жанр', 'fb2.encoding': 'Кодировка', 'fb2.dashes': 'Тире', 'fb2.short': 'короткие',
        'fb2.middle': 'средние', 'fb2.long': 'длинные', 'fb2.library': 'Книга для библиотеки',
        'fb2.validate': 'Проверить файл', 'fb2.cancel': 'Отмена', 'fb2.make': 'Создать FB2' },
});

const dialog = document.createElement('dialog');
dialog.id = 'Fb2F';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="fb2.heading"></h2>
  <label><span data-t="fb2.name"></span> <input id="Fb2FileNameB" placeholder="noname"></label>
  <label><span data-t="fb2.folder"></span> <input id="Fb2Folder" data-t-placeholder="fb2.folderPlaceholder"></label>
  <label><span data-t="fb2.author"></span> <input id="b_author"></label>
  <label><span data-t="fb2.title"></span> <input id="b_title"></label>
  <label><span data-t="fb2.genre"></span> <input id="b_genre" placeholder="prose_classic"></label>
  <label><span data-t="fb2.encoding"></span> <select id="EncodingT"><option>utf-8</option><option>windows-1251</option><option>windows-1252</option></select></label>
  <label><span data-t="fb2.dashes"></span> <select id="DashesLengthL"><option value="short" data-t="fb2.short"></option><option value="middle" data-t="fb2.middle"></option><option value="long" data-t="fb2.long"></option></select></label>
  <label><input type="checkbox" id="BookForLibraryB"> <span data-t="fb2.library"></span></label>
  <label><input type="checkbox" id="ValidateB" checked> <span data-t="fb2.validate"></span></label>
  <menu><button value="cancel" data-t="fb2.cancel"></button><button id="MakeBookB" value="ok" data-t="fb2.make"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const field = (id) => dialog.querySelector('#' + id);

async function make() {
  await editor.sync();
  await api.download('/api/fb2', {
    name: field('Fb2FileNameB').value, folder: field('Fb2Folder').value, author: field('b_author').value,
    title: field('b_title').value, genre: field('b_genre').value, encoding: field('EncodingT').value,
    dashes: field('DashesLengthL').value, library: field('BookForLibraryB').checked, validate: field('ValidateB').checked,
  }, 'noname.fb2');
  await api.poll();
}

dialog.addEventListener('close', () => { if (dialog.returnValue === 'ok') make(); });

// The form starts from the book's description, or from its headings.
export async function open() {
  await editor.sync();
  const described = await api.getJson('/api/description');
  field('Fb2FileNameB').value = described.name || '';
  field('b_author').value = described.author || '';
  field('b_title').value = described.title || '';
  field('b_genre').value = described.genre || '';
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnMakeFictionBookFile', menu: 'FileMenu', order: 45, label: { en: 'Make FB2…', ru: 'Создать FB2…' },
                  run: open });
