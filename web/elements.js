// The list of the book's marked elements beside the editor; a click shows the element.

import * as editor from './editor.js';
import { registerTexts, t, textElement, onLanguage } from './i18n.js';

registerTexts({
  en: { 'elements.heading': 'Elements', 'elements.title': 'title', 'elements.subtitle': 'subtitle',
        'elements.epigraph': 'epigraph', 'elements.verse': 'verse', 'elements.cite': 'cite',
        'elements.textauthor': 'text author', 'elements.annotation': 'annotation', 'elements.notes': 'notes',
        'elements.contents': 'contents', 'elements.bookauthor': 'book author', 'elements.booktitle': 'book title' },
  ru: { 'elements.heading': 'Элементы', 'elements.title': 'заголовок', 'elements.subtitle': 'подзаголовок',
        'elements.epigraph': 'эпиграф', 'elements.verse': 'стихи', 'elements.cite': 'цитата',
        'elements.textauthor': 'автор текста', 'elements.annotation': 'аннотация', 'elements.notes': 'сноски',
        'elements.contents': 'оглавление', 'elements.bookauthor': 'автор книги', 'elements.booktitle': 'название книги' },
});

// Element ids of the book and the kind each one is listed as.
const KINDS = {
  title: 'title', subtitle: 'subtitle', former_title: 'subtitle', epigraph: 'epigraph', verse: 'verse', cite: 'cite',
  txtaut: 'textauthor', annotation: 'annotation', NoteBlock: 'notes', BCONTENTS: 'contents',
  BookAuthor: 'bookauthor', BookTitle: 'booktitle',
};
const REFRESH_MS = 400;

const aside = document.getElementById('elements');
const list = document.createElement('ol');
list.id = 'ElementList';
aside.replaceChildren(textElement('h2', 'elements.heading'), list);
let timer = 0;

function refresh() {
  const doc = editor.bookDocument();
  if (!doc || !doc.body) return;
  list.replaceChildren(...[...doc.querySelectorAll('span[id], h2[id]')].flatMap((node) => {
    const kind = KINDS[node.id];
    if (!kind || (node.tagName === 'H2') !== (kind === 'bookauthor' || kind === 'booktitle')) return [];
    const item = document.createElement('li');
    item.className = 'element-' + kind;
    item.textContent = `${t('elements.' + kind)}: ${node.textContent.trim().slice(0, 60)}`;
    item.addEventListener('click', () => node.scrollIntoView({ block: 'center' }));
    return [item];
  }));
}

editor.onChange(() => {
  clearTimeout(timer);
  timer = setTimeout(refresh, REFRESH_MS);
});
editor.onLoad(refresh);
onLanguage(refresh);
