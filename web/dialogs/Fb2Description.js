// Fb2Description: the book's FB2 description to read, block by block with the labels of the
// description page in the interface language; fields left empty are not shown.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t, onLanguage } from '../i18n.js';
import { registerCommand } from '../menus.js';
import { GROUPS } from './Fb2FDescriptionPage.js';

registerTexts({
  en: { 'fb2view.heading': 'Fiction Book description', 'fb2view.close': 'Close', 'fb2view.empty': 'The description is empty.' },
  ru: { 'fb2view.heading': 'Описание книги FictionBook', 'fb2view.close': 'Закрыть', 'fb2view.empty': 'Описание пусто.' },
});

// What the view shows: block heads, then fields [id, label] and person groups.
const VIEW = [
  ['fdi.titleInfo', ['b_genre', 'fdi.genre'], 'authors', ['b_title', 'fdi.title'], ['b_annot', 'fdi.annotation'],
   ['b_keywords', 'fdi.keywords'], ['b_date', 'fdi.date'], ['b_lang', 'fdi.language'], ['b_lang_orig', 'fdi.srcLanguage'],
   'translators', ['b_seqname', 'fdi.sequence'], ['b_seqnum', 'fdi.number']],
  ['fdi.documentInfo', 'docAuthors', ['d_program', 'fdi.program'], ['d_date', 'fdi.date'], ['d_src-url', 'fdi.srcUrl'],
   ['d_src-ocr', 'fdi.srcOcr'], ['d_id', 'fdi.id'], ['d_version', 'fdi.version'], ['b_history', 'fdi.history']],
  ['fdi.publishInfo', ['p_book-name', 'fdi.bookName'], ['p_publisher', 'fdi.publisher'], ['p_city', 'fdi.city'],
   ['p_year', 'fdi.year'], ['p_isbn', 'fdi.isbn']],
  ['fdi.customInfo', ['c_info', 'fdi.customInfo']],
];

const dialog = document.createElement('dialog');
dialog.id = 'Fb2Description';
dialog.innerHTML = `<form method="dialog"><h2 data-t="fb2view.heading"></h2><div id="Fb2DescriptionView"></div>
  <menu><button value="close" data-t="fb2view.close"></button></menu></form>`;
translate(dialog);
document.body.append(dialog);
const view = dialog.querySelector('#Fb2DescriptionView');
let shown = null;

function personText(person, group) {
  const [first, middle, last, nick, email] = group.fields.map(([id]) => (person[id] || '').trim());
  const name = [first, middle, last].filter(Boolean).join(' ');
  return [name, nick && (name ? `(${nick})` : nick), email && `<${email}>`].filter(Boolean).join(' ');
}

function render() {
  if (!shown) return;
  const parts = [];
  for (const [head, ...entries] of VIEW) {
    const list = document.createElement('dl');
    for (const entry of entries) {
      let label;
      let values;
      if (typeof entry === 'string') {
        label = GROUPS[entry].head;
        values = (shown[entry] || []).map((person) => personText(person, GROUPS[entry])).filter(Boolean);
      } else {
        label = entry[1];
        const value = (shown[entry[0]] || '').trim();
        values = value ? [entry[0] === 'b_date' || entry[0] === 'd_date' ? dated(entry[0], value) : value] : [];
      }
      if (!values.length) continue;
      const term = document.createElement('dt');
      term.textContent = t(label);
      list.append(term);
      for (const value of values) {
        const text = document.createElement('dd');
        text.textContent = value;
        list.append(text);
      }
    }
    if (!list.children.length) continue;
    const title = document.createElement('h3');
    title.textContent = t(head);
    parts.push(title, list);
  }
  if (!parts.length) {
    const empty = document.createElement('p');
    empty.textContent = t('fb2view.empty');
    parts.push(empty);
  }
  view.replaceChildren(...parts);
}

// A date with its value when the two differ.
function dated(id, text) {
  const value = (shown[id + '_val'] || '').trim();
  return value && value !== text ? `${text} (${value})` : text;
}

onLanguage(() => { if (dialog.open) render(); });

export async function open() {
  await editor.sync();
  shown = (await api.getJson('/api/description')).description;
  render();
  if (!dialog.open) dialog.showModal();
}

registerCommand({ id: 'MnFb2Description', menu: 'ViewMenu', order: 60,
                  label: { en: 'Fiction Book description', ru: 'Описание FictionBook' }, run: open });
