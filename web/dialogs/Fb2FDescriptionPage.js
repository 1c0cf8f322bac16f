// The description page of the FB2 form (FDi): one input per field of the description, in the
// order the file is written, under the four block heads, with repeatable groups for the book's
// authors, its translators and the document's authors. This module builds the page, fills it
// from the description the server sends and reads it back; it knows nothing of the server.

import { registerTexts, translate } from '../i18n.js';

registerTexts({
  en: {
    'fdi.titleInfo': 'Title Info', 'fdi.documentInfo': 'Document Info', 'fdi.publishInfo': 'Publish Info',
    'fdi.customInfo': 'Custom Info', 'fdi.genre': 'genre', 'fdi.bookAuthor': 'book author', 'fdi.first': 'first name',
    'fdi.middle': 'middle name', 'fdi.last': 'last name', 'fdi.title': 'book title', 'fdi.annotation': 'annotation',
    'fdi.keywords': 'keywords', 'fdi.date': 'date', 'fdi.value': 'value', 'fdi.cover': 'cover', 'fdi.language': 'language',
    'fdi.srcLanguage': 'scr language', 'fdi.sequence': 'sequence', 'fdi.name': 'name', 'fdi.number': 'number',
    'fdi.translator': 'translator', 'fdi.documentAuthor': 'document author', 'fdi.nickname': 'nickname',
    'fdi.email': 'e-mail', 'fdi.program': 'program used', 'fdi.srcUrl': 'src url', 'fdi.srcOcr': 'src ocr',
    'fdi.id': 'id', 'fdi.version': 'version', 'fdi.history': 'document history', 'fdi.bookName': 'book name',
    'fdi.publisher': 'publisher', 'fdi.city': 'city', 'fdi.year': 'year', 'fdi.isbn': 'isbn',
    'fdi.add': 'Add another', 'fdi.remove': 'Remove the last', 'fdi.genres': 'Genre list', 'fdi.fold': 'Fold or unfold',
  },
  ru: {
    'fdi.titleInfo': 'О книге', 'fdi.documentInfo': 'О документе', 'fdi.publishInfo': 'Об издании',
    'fdi.customInfo': 'Дополнительно', 'fdi.genre': 'жанр', 'fdi.bookAuthor': 'автор книги', 'fdi.first': 'имя',
    'fdi.middle': 'отчество', 'fdi.last': 'фамилия', 'fdi.title': 'название книги', 'fdi.annotation': 'аннотация',
    'fdi.keywords': 'ключевые слова', 'fdi.date': 'дата', 'fdi.value': 'значение', 'fdi.cover': 'обложка',
    'fdi.language': 'язык', 'fdi.srcLanguage': 'язык оригинала', 'fdi.sequence': 'серия', 'fdi.name': 'название',
    'fdi.number': 'номер', 'fdi.translator': 'переводчик', 'fdi.documentAuthor': 'автор документа',
    'fdi.nickname': 'псевдоним', 'fdi.email': 'эл. почта', 'fdi.program': 'программа',
    'fdi.srcUrl': 'адрес источника', 'fdi.srcOcr': 'распознавание', 'fdi.id': 'идентификатор', 'fdi.version': 'версия',
    'fdi.history': 'история документа', 'fdi.bookName': 'название издания', 'fdi.publisher': 'издательство',
    'fdi.city': 'город', 'fdi.year': 'год', 'fdi.isbn': 'номер издания (МСКН)',
    'fdi.add': 'Добавить ещё', 'fdi.remove': 'Убрать последнего', 'fdi.genres': 'Список жанров',
    'fdi.fold': 'Свернуть или развернуть',
  },
});

// Person groups: the key of the description's array, the field ids of one person with their
// labels, and the buttons that add and remove a person.
export const GROUPS = {
  authors: { head: 'fdi.bookAuthor', add: 'AddBookAuthor', remove: 'RemoveBookAuthor',
             fields: [['b_first', 'fdi.first'], ['b_middle', 'fdi.middle'], ['b_last', 'fdi.last']] },
  translators: { head: 'fdi.translator', add: 'AddTransAuthor', remove: 'RemoveTransAuthor',
                 fields: [['t_first', 'fdi.first'], ['t_middle', 'fdi.middle'], ['t_last', 'fdi.last']] },
  docAuthors: { head: 'fdi.documentAuthor', add: 'AddDocAuthor', remove: 'RemoveDocAuthor',
                fields: [['d_first', 'fdi.first'], ['d_middle', 'fdi.middle'], ['d_last', 'fdi.last'],
                         ['d_nick', 'fdi.nickname'], ['d_e-mail', 'fdi.email']] },
};

// The blocks and their rows, in the order the description is written. A row is a field
// [id, label, class], a pair of fields on one line, a person group, or the cover frame.
const BLOCKS = [
  { id: 'title-info', head: 'fdi.titleInfo', rows: [
    { field: ['b_genre', 'fdi.genre', 'g'], genres: true },
    { group: 'authors' },
    { field: ['b_title', 'fdi.title', 'v'] },
    { field: ['b_annot', 'fdi.annotation', 'ta'] },
    { field: ['b_keywords', 'fdi.keywords', 'v'] },
    { pair: ['fdi.date', ['b_date', 'fdi.date', 'v'], ['b_date_val', 'fdi.value', 'v']] },
    { cover: true },
    { pair: ['fdi.language', ['b_lang', 'fdi.language', 'v'], ['b_lang_orig', 'fdi.srcLanguage', 'v']] },
    { group: 'translators' },
    { pair: ['fdi.sequence', ['b_seqname', 'fdi.name', 'v'], ['b_seqnum', 'fdi.number', 'v']] },
  ] },
  { id: 'document-info', head: 'fdi.documentInfo', rows: [
    { group: 'docAuthors' },
    { field: ['d_program', 'fdi.program', 'v'] },
    { pair: ['fdi.date', ['d_date', 'fdi.date', 'v'], ['d_date_val', 'fdi.value', 'v']] },
    { field: ['d_src-url', 'fdi.srcUrl', 'v'] },
    { field: ['d_src-ocr', 'fdi.srcOcr', 'v'] },
    { field: ['d_id', 'fdi.id', 'v'] },
    { field: ['d_version', 'fdi.version', 'v'] },
    { field: ['b_history', 'fdi.history', 'ta'] },
  ] },
  { id: 'publish-info', head: 'fdi.publishInfo', rows: [
    { field: ['p_book-name', 'fdi.bookName', 'v'] },
    { field: ['p_publisher', 'fdi.publisher', 'v'] },
    { field: ['p_city', 'fdi.city', 'v'] },
    { field: ['p_year', 'fdi.year', 'v'] },
    { field: ['p_isbn', 'fdi.isbn', 'v'] },
  ] },
  { id: 'custom-info', head: 'fdi.customInfo', rows: [{ field: ['c_info', 'fdi.customInfo', 'ta'] }] },
];

// The field ids of single fields, in order.
export const FIELDS = BLOCKS.flatMap((block) => block.rows.flatMap((row) =>
  row.field ? [row.field[0]] : row.pair ? [row.pair[1][0], row.pair[2][0]] : []));

function element(tag, attributes = {}, children = []) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name === 'text') made.dataset.t = value;
    else made.setAttribute(name, value);
  }
  made.append(...children);
  return made;
}

function input([id, , cls], idSuffix = '') {
  const made = element(cls === 'ta' ? 'textarea' : 'input', { class: cls, 'data-field': id, id: id + idSuffix });
  if (cls === 'ta') made.rows = 5;
  return made;
}

function label(text, cls = 't') { return element('span', { class: cls, text }); }

function row(...cells) { return element('div', { class: 'fdi-row' }, cells); }

// One person of `group`; the first person's inputs carry the bare field ids, the n-th's the id
// followed by "_n".
function personRow(groupName, index) {
  const group = GROUPS[groupName];
  const suffix = index === 0 ? '' : '_' + (index + 1);
  const cells = group.fields.map((field) => element('label', { class: 'fdi-cell' }, [label(field[1], 's'), input([...field.slice(0, 1), field[1], 'a'], suffix)]));
  return element('div', { class: 'fdi-person', 'data-person': groupName }, cells);
}

function groupRows(groupName) {
  const group = GROUPS[groupName];
  const holder = element('div', { class: 'fdi-people', 'data-group': groupName });
  const head = row(label(group.head),
                   element('button', { type: 'button', id: group.add, class: 'fdi-icon', 'data-t-title': 'fdi.add' }, ['+']),
                   element('button', { type: 'button', id: group.remove, class: 'fdi-icon', 'data-t-title': 'fdi.remove' }, ['−']));
  return element('div', { class: 'fdi-group' }, [head, holder]);
}

// Builds the page into `root`; `cover` is the cover frame that the form owns.
export function buildPage(root, cover) {
  root.replaceChildren();
  for (const block of BLOCKS) {
    const body = element('div', { class: 'fdi-body', 'data-block': block.id });
    for (const entry of block.rows) {
      if (entry.field) {
        const cells = [label(entry.field[1]), input(entry.field)];
        if (entry.genres)
          cells.push(element('button', { type: 'button', id: 'ShowGenreList', class: 'fdi-icon', 'data-t-title': 'fdi.genres' }, ['…']));
        body.append(row(...cells));
      } else if (entry.pair) {
        body.append(row(label(entry.pair[0]), input(entry.pair[1]), label(entry.pair[2][1], 's'), input(entry.pair[2])));
      } else if (entry.group) {
        body.append(groupRows(entry.group));
      } else if (entry.cover) {
        body.append(row(label('fdi.cover'), cover));
      }
    }
    const fold = element('button', { type: 'button', class: 'fdi-fold', 'data-fold': block.id, 'data-t-title': 'fdi.fold',
                                     'aria-expanded': 'true' }, ['−']);
    root.append(element('section', { class: 'fdi-block', id: 'fdi-' + block.id },
                        [element('h3', {}, [fold, label(block.head, 'fdi-head')]), body]));
  }
  translate(root);
}

// Folds or unfolds the block of the fold icon `button`.
export function toggleBlock(button) {
  const body = button.closest('.fdi-block').querySelector('.fdi-body');
  body.hidden = !body.hidden;
  button.textContent = body.hidden ? '+' : '−';
  button.setAttribute('aria-expanded', String(!body.hidden));
}

// Adds an empty person to `groupName`, or removes its last one (one person always stays).
export function addPerson(root, groupName) {
  const holder = root.querySelector(`[data-group="${groupName}"]`);
  holder.append(personRow(groupName, holder.children.length));
  translate(holder.lastChild);
  return holder.lastChild;
}
export function removePerson(root, groupName) {
  const holder = root.querySelector(`[data-group="${groupName}"]`);
  if (holder.children.length > 1) holder.lastChild.remove();
  else for (const field of holder.querySelectorAll('[data-field]')) field.value = '';
}

// Shows `description` (the server's JSON form of it).
export function fill(root, description) {
  for (const id of FIELDS) root.querySelector(`[data-field="${id}"]`).value = description[id] ?? '';
  for (const groupName of Object.keys(GROUPS)) {
    const holder = root.querySelector(`[data-group="${groupName}"]`);
    holder.replaceChildren();
    const people = description[groupName]?.length ? description[groupName] : [{}];
    for (const person of people) {
      const added = addPerson(root, groupName);
      for (const [id] of GROUPS[groupName].fields) added.querySelector(`[data-field="${id}"]`).value = person[id] ?? '';
    }
  }
}

// The description the page shows, in the server's JSON form; empty people left out.
export function read(root) {
  const description = {};
  for (const id of FIELDS) description[id] = root.querySelector(`[data-field="${id}"]`).value;
  for (const groupName of Object.keys(GROUPS)) {
    description[groupName] = [];
    for (const person of root.querySelectorAll(`[data-person="${groupName}"]`)) {
      const entry = {};
      for (const [id] of GROUPS[groupName].fields) entry[id] = person.querySelector(`[data-field="${id}"]`).value;
      if (Object.values(entry).some((value) => value.trim())) description[groupName].push(entry);
    }
  }
  return description;
}

// Adds the genre `code` to the genre field, items joined with ", "; a code it has stays once.
export function addGenre(root, code) {
  const field = root.querySelector('[data-field="b_genre"]');
  const codes = field.value.split(',').map((item) => item.trim()).filter(Boolean);
  if (!codes.includes(code)) codes.push(code);
  field.value = codes.join(', ');
}
