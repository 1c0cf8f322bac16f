// The commands that change the book: undo and redo, the element marks of the Format menu (on
// the selection) and the whole-book operations of the Book menu. The server does each
// operation; the page makes its answer one step of the history.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, t } from './i18n.js';
import { registerCommand } from './menus.js';
import { message } from './dialogs/MessageDialog.js';

// Element operations of the Format menu: [operation, English, Russian, shortcut, on toolbar].
const FORMAT_OPERATIONS = [
  ['title', 'Title', 'Заголовок', 'Ctrl+1', true], ['subtitle', 'Subtitle', 'Подзаголовок', 'Ctrl+2', true],
  ['epigraph', 'Epigraph', 'Эпиграф', 'Ctrl+3', true], ['verse', 'Verse', 'Стихи', 'Ctrl+4', true],
  ['cite', 'Cite', 'Цитата', 'Ctrl+5', true], ['textauthor', 'Text author', 'Автор текста', 'Ctrl+6', true],
  ['annotation', 'Annotation', 'Аннотация', '', false], ['bookauthor', 'Book author', 'Автор книги', '', false],
  ['booktitle', 'Book title', 'Название книги', '', false], ['noteblock', 'Note block', 'Блок сносок', '', false],
  ['removenoteblock', 'Remove note block', 'Убрать блок сносок', '', false],
  ['paragraph', 'Paragraph', 'Абзац', 'Ctrl+0', true],
  ['paragraphstyles', 'Paragraph keeping styles', 'Абзац с сохранением стилей', '', false],
  ['bold', 'Bold', 'Полужирный', 'Ctrl+B', false], ['italic', 'Italic', 'Курсив', 'Ctrl+I', false],
  ['underline', 'Underline', 'Подчёркнутый', 'Ctrl+U', false], ['sup', 'Superscript', 'Верхний индекс', '', false],
  ['sub', 'Subscript', 'Нижний индекс', '', false], ['upper', 'Upper case', 'ВЕРХНИЙ РЕГИСТР', '', false],
  ['lower', 'Lower case', 'нижний регистр', '', false], ['proper', 'Proper case', 'Каждое Слово С Большой', '', false],
  ['removespaces', 'Remove spaces', 'Убрать пробелы', '', false],
];

// Whole-book operations of the Book menu: [operation, English, Russian].
const BOOK_OPERATIONS = [
  ['capitalisetitles', 'Capitalise titles', 'Заголовки прописными'],
  ['capitalisesubtitles', 'Capitalise subtitles', 'Подзаголовки прописными'],
  ['capitalisebookauthor', 'Capitalise book author', 'Автора книги прописными'],
  ['capitalisebooktitle', 'Capitalise book title', 'Название книги прописными'],
  ['subtitlestotitles', 'Subtitles to titles', 'Подзаголовки в заголовки'],
  ['titlestosubtitles', 'Titles to subtitles', 'Заголовки в подзаголовки'],
  ['titlestoparagraphs', 'Titles to paragraphs', 'Заголовки в абзацы'],
  ['subtitlestoparagraphs', 'Subtitles to paragraphs', 'Подзаголовки в абзацы'],
  ['removepagebreaks', 'Remove page breaks', 'Убрать разрывы страниц'],
  ['insertcontents', 'Insert contents', 'Вставить оглавление'],
  ['deletecontents', 'Delete contents', 'Удалить оглавление'],
  ['removenoteblocks', 'Remove note blocks', 'Убрать блоки сносок'],
];

registerTexts({
  en: { 'operations.moveup': 'Move element up', 'operations.movedown': 'Move element down' },
  ru: { 'operations.moveup': 'Переместить элемент вверх', 'operations.movedown': 'Переместить элемент вниз' },
});

// Operations that mark whole paragraphs take every paragraph the selection touches.
const BLOCK_OPERATIONS = new Set(['title', 'subtitle', 'epigraph', 'verse', 'cite', 'textauthor', 'annotation',
  'bookauthor', 'booktitle', 'noteblock', 'removenoteblock', 'paragraph', 'paragraphstyles']);

// The marked elements that move as a whole.
const MOVABLE = ['span#BCONTENTS', 'h2#BookAuthor', 'h2#BookTitle', 'span#title', 'span#former_title', 'span#subtitle',
  'span#epigraph', 'span#cite', 'span#verse', 'span#txtaut', 'span#annotation', 'span#NoteBlock'].join(', ');

export const MOVED_MARKER_ID = 'MovedElSt';

function hasBook() { return Boolean(editor.bookDocument()?.body); }

// The selection's HTML goes to the server; the answer replaces it as one step.
export async function formatSelection(operation, label) {
  const range = editor.selectionRange();
  if (!range) {
    message(t('noSelection'));
    return;
  }
  const doc = editor.bookDocument();
  if (BLOCK_OPERATIONS.has(operation)) {
    const first = editor.topBlock(range.startContainer);
    const last = editor.topBlock(range.endContainer);
    if (first) range.setStartBefore(first);
    if (last) range.setEndAfter(last);
  }
  const holder = doc.createElement('div');
  holder.append(range.cloneContents());
  const answer = await api.postJson('/api/element', { operation, html: holder.innerHTML });
  if (answer.html) editor.replaceRange(label, range, answer.html);
  await api.poll();
}

// A whole-book operation: the book goes to the server, whose new book is one step.
export async function bookOperation(operation, label, body = {}) {
  await editor.sync();
  const answer = await api.postJson('/api/book', { operation, ...body });
  if (answer.changed && answer.html) editor.applyServerDocument(label, answer.html);
  await api.poll();
  return answer;
}

// The marked element that holds the caret (or the selection's start), else null.
export function elementAtCaret() {
  const range = editor.caretRange();
  if (!range) return null;
  let node = range.startContainer;
  // A selection that starts just before an element (a double-click on it) names that element.
  if (node.nodeType === Node.ELEMENT_NODE && node.childNodes[range.startOffset]?.nodeType === Node.ELEMENT_NODE) {
    const child = node.childNodes[range.startOffset];
    if (child.matches(MOVABLE)) return child;
    node = child;
  }
  const element = node.nodeType === Node.ELEMENT_NODE ? node : node.parentElement;
  return element ? element.closest(MOVABLE) : null;
}

// Moves the marked element at the caret one place up or down. The server reads the book with
// the move marker in front of that element; the page's own document never holds the marker.
async function moveElement(operation, label) {
  const element = elementAtCaret();
  if (!element) {
    message(t('onlyWholeElements'));
    return;
  }
  const kind = element.id;
  const html = element.outerHTML;
  const all = [...editor.bookDocument().querySelectorAll(MOVABLE)];
  const index = all.indexOf(element);
  editor.closeBurst();  // the typing before the move is its own step, without the marker
  const marker = editor.bookDocument().createElement('span');
  marker.id = MOVED_MARKER_ID;
  element.before(marker);
  try {
    await editor.sync();
  } finally {
    marker.remove();
  }
  const answer = await api.postJson('/api/book', { operation });
  if (answer.changed && answer.html) {
    editor.applyServerDocument(label, answer.html);
    // The caret goes back into the element that moved.
    const moved = [...editor.bookDocument().querySelectorAll(MOVABLE)]
      .map((candidate, at) => ({ candidate, distance: Math.abs(at - index) }))
      .filter(({ candidate }) => candidate.id === kind && candidate.outerHTML === html)
      .sort((a, b) => a.distance - b.distance)[0]?.candidate;
    if (moved) {
      const range = editor.bookDocument().createRange();
      range.selectNodeContents(moved);
      range.collapse(true);
      editor.bookDocument().getSelection().removeAllRanges();
      editor.bookDocument().getSelection().addRange(range);
      editor.reveal(moved);
    }
  }
  await api.poll();
}

registerCommand({ id: 'MnUndo', menu: 'EditMenu', order: 10, label: 'editor.undoNothing', keys: ['Ctrl+Z'],
                  dynamicLabel: editor.undoLabel, canRun: editor.canUndo, run: editor.undo });
registerCommand({ id: 'MnRedo', menu: 'EditMenu', order: 11, label: 'editor.redoNothing', keys: ['Ctrl+Y', 'Ctrl+Shift+Z'],
                  dynamicLabel: editor.redoLabel, canRun: editor.canRedo, run: editor.redo });

FORMAT_OPERATIONS.forEach(([operation, en, ru, key, toolbar], at) => {
  const id = 'MnFormat' + operation[0].toUpperCase() + operation.slice(1);
  registerCommand({
    id, menu: 'FormatMenu', order: at, label: { en, ru }, tip: { en: `Format as ${en.toLowerCase()}`, ru: `Оформить: ${ru}` },
    key, toolbar, data: { operation }, canRun: hasBook, run: () => formatSelection(operation, t(`cmd.${id}`)),
  });
});

BOOK_OPERATIONS.forEach(([operation, en, ru], at) => {
  const id = 'MnBook' + operation[0].toUpperCase() + operation.slice(1);
  registerCommand({ id, menu: 'BookMenu', order: at, label: { en, ru }, data: { operation }, canRun: hasBook,
                    run: () => bookOperation(operation, t(`cmd.${id}`)) });
});

for (const [operation, key, order] of [['moveup', 'Ctrl+Alt+ArrowUp', 50], ['movedown', 'Ctrl+Alt+ArrowDown', 51]]) {
  registerCommand({ id: operation === 'moveup' ? 'MnMoveElementUp' : 'MnMoveElementDown', menu: 'BookMenu', order,
                    label: `operations.${operation}`, key, data: { operation }, canRun: hasBook,
                    run: () => moveElement(operation, t(`operations.${operation}`)) });
}
