// MakePwFileF: the book saved as a stored book (".html0" with its library header), beside the
// book's source or in the folder the user names; the header starts from the FB2 description.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t } from '../i18n.js';
import { registerCommand } from '../menus.js';
import * as status from '../status.js';

registerTexts({
  en: { 'stored.heading': 'Save as stored book', 'stored.name': 'File name', 'stored.namePlaceholder': 'from the book title',
        'stored.folder': 'Folder', 'stored.folderPlaceholder': 'beside the source', 'stored.author': 'Author',
        'stored.title': 'Title', 'stored.genre': 'Genre', 'stored.language': 'Language', 'stored.rating': 'Rating',
        'stored.keywords': 'Keywords', 'stored.annotation': 'Annotation', 'stored.compress': 'Compressed',
        'stored.cancel': 'Cancel', 'stored.make': 'Save', 'stored.saved': 'Stored book saved: {0}' },
  ru: { 'stored.heading': 'Сохранить как книгу библиотеки', 'stored.name': 'Имя файла',
        'stored.namePlaceholder': 'по названию книги', 'stored.folder': 'Папка', 'stored.folderPlaceholder': 'рядом с исходным файлом',
        'stored.author': 'Автор', 'stored.title': 'Название', 'stored.genre': 'Жанр', 'stored.language': 'Язык',
        'stored.rating': 'Оценка', 'stored.keywords': 'Ключевые слова', 'stored.annotation': 'Аннотация',
        'stored.compress': 'Сжатый', 'stored.cancel': 'Отмена', 'stored.make': 'Сохранить',
        'stored.saved': 'Книга библиотеки сохранена: {0}' },
});

const dialog = document.createElement('dialog');
dialog.id = 'MakePwFileF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="stored.heading"></h2>
  <label><span data-t="stored.name"></span> <input id="PwFileName" data-t-placeholder="stored.namePlaceholder"></label>
  <label><span data-t="stored.folder"></span> <input id="PwFolder" data-t-placeholder="stored.folderPlaceholder"></label>
  <label><span data-t="stored.author"></span> <input id="PwAuthor"></label>
  <label><span data-t="stored.title"></span> <input id="PwTitle"></label>
  <label><span data-t="stored.genre"></span> <input id="PwGenre"></label>
  <label><span data-t="stored.language"></span> <input id="PwLanguage"></label>
  <label><span data-t="stored.rating"></span> <input id="PwRating"></label>
  <label><span data-t="stored.keywords"></span> <input id="PwKeywords"></label>
  <label><span data-t="stored.annotation"></span> <textarea id="PwAnnotation" rows="3"></textarea></label>
  <label><input type="checkbox" id="PwCompress" checked> <span data-t="stored.compress"></span></label>
  <menu><button value="cancel" data-t="stored.cancel"></button><button id="MakePwFileB" value="ok" data-t="stored.make"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const field = (id) => dialog.querySelector('#' + id);

async function make() {
  await editor.sync();
  const answer = await api.postJson('/api/stored', {
    name: field('PwFileName').value, folder: field('PwFolder').value, author: field('PwAuthor').value,
    title: field('PwTitle').value, genre: field('PwGenre').value, language: field('PwLanguage').value,
    rating: field('PwRating').value, keywords: field('PwKeywords').value, annotation: field('PwAnnotation').value,
    compress: field('PwCompress').checked,
  });
  await api.poll();
  if (answer.ok) status.note(t('stored.saved', answer.savedAs));
}

dialog.addEventListener('close', () => { if (dialog.returnValue === 'ok') make(); });

// The header fields start from the book's FB2 description (or what its headings say).
export async function open() {
  await editor.sync();
  const { description } = await api.getJson('/api/description');
  const authors = (description.authors || []).map((person) =>
    [person.b_first, person.b_middle, person.b_last].map((part) => (part || '').trim()).filter(Boolean).join(' '));
  field('PwAuthor').value = authors.filter(Boolean).join(', ');
  field('PwTitle').value = description.b_title || '';
  field('PwGenre').value = description.b_genre || '';
  field('PwLanguage').value = description.b_lang || '';
  field('PwKeywords').value = description.b_keywords || '';
  field('PwAnnotation').value = description.b_annot || '';
  field('PwRating').value = '';
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnMakePagewrightFile', menu: 'FileMenu', order: 50,
                  label: { en: 'Save as stored book…', ru: 'Сохранить как книгу библиотеки…' }, run: open });
