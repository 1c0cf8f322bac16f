// FindReplaceF: find and replace in the book (Ctrl+F, Ctrl+H). The server matches (plain text
// or a regular expression, whole words, case) over the text the page shows, or the part
// selected; the page highlights the match, scrolls to it and replaces in its own document, so
// that each replacement, and each "replace all", is one step of the history. In HTML mode the
// same search runs over the body's HTML: next and previous select what a match covers, one
// replacement rewrites the blocks it touches, and "replace all" is done by the server.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { childrenCovering, htmlOffsetOf, positionAt } from '../htmlPositions.js';
import { registerTexts, translate, t } from '../i18n.js';
import { registerCommand } from '../menus.js';

registerTexts({
  en: { 'find.heading': 'Find and replace', 'find.what': 'Find', 'find.with': 'Replace with',
        'find.case': 'Match case', 'find.word': 'Whole word', 'find.regex': 'Regular expression',
        'find.html': 'In the HTML', 'find.scope': 'Where', 'find.book': 'Whole book', 'find.selection': 'Selection',
        'find.next': 'Find next', 'find.previous': 'Find previous', 'find.replace': 'Replace',
        'find.replaceAll': 'Replace all', 'find.close': 'Close', 'find.none': 'Not found',
        'find.position': 'Match {0} of {1}', 'find.replaced': 'Replaced: {0}',
        'find.step': 'Replace', 'find.stepAll': 'Replace all', 'find.noSelection': 'Select the part of the book to search first' },
  ru: { 'find.heading': 'Найти и заменить', 'find.what': 'Найти', 'find.with': 'Заменить на',
        'find.case': 'С учётом регистра', 'find.word': 'Слово целиком', 'find.regex': 'Регулярное выражение',
        'find.html': 'В HTML-коде', 'find.scope': 'Где', 'find.book': 'Вся книга', 'find.selection': 'Выделенный фрагмент',
        'find.next': 'Найти далее', 'find.previous': 'Найти назад', 'find.replace': 'Заменить',
        'find.replaceAll': 'Заменить все', 'find.close': 'Закрыть', 'find.none': 'Не найдено',
        'find.position': 'Совпадение {0} из {1}', 'find.replaced': 'Заменено: {0}',
        'find.step': 'Замена', 'find.stepAll': 'Заменить все', 'find.noSelection': 'Сначала выделите фрагмент книги для поиска' },
});

const HIGHLIGHT = 'pw-find';
const BLOCKS = new Set(['DIV', 'P', 'H1', 'H2', 'H3', 'H4', 'H5', 'H6', 'LI', 'TR', 'TD', 'BR', 'HR', 'BLOCKQUOTE', 'TABLE']);

const dialog = document.createElement('dialog');
dialog.id = 'FindReplaceF';
dialog.className = 'floating';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="find.heading"></h2>
  <label><span data-t="find.what"></span> <input id="FindWhat" autocomplete="off" spellcheck="false"></label>
  <p id="FindError" class="field-error" role="alert" hidden></p>
  <label><span data-t="find.with"></span> <input id="ReplaceWith" autocomplete="off" spellcheck="false"></label>
  <div class="options">
    <label><input type="checkbox" id="MatchCaseB"> <span data-t="find.case"></span></label>
    <label><input type="checkbox" id="WholeWordB"> <span data-t="find.word"></span></label>
    <label><input type="checkbox" id="RegExpB"> <span data-t="find.regex"></span></label>
    <label><input type="checkbox" id="InHtmlB"> <span data-t="find.html"></span></label>
    <label><span data-t="find.scope"></span> <select id="FindScope"><option value="book" data-t="find.book"></option><option value="selection" data-t="find.selection"></option></select></label>
  </div>
  <p id="FindStatus" role="status"></p>
  <menu>
    <button type="button" id="FindPreviousB" data-t="find.previous"></button>
    <button type="button" id="FindNextB" data-t="find.next"></button>
    <button type="button" id="ReplaceB" data-t="find.replace"></button>
    <button type="button" id="ReplaceAllB" data-t="find.replaceAll"></button>
    <button value="close" data-t="find.close"></button>
  </menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const field = (id) => dialog.querySelector('#' + id);
const errorLine = field('FindError');
const statusLine = field('FindStatus');

let scopeRange = null;  // the selection searched, kept while the dialog is open

function query() {
  return { what: field('FindWhat').value, replacement: field('ReplaceWith').value, regex: field('RegExpB').checked,
           matchCase: field('MatchCaseB').checked, wholeWord: field('WholeWordB').checked };
}

function showError(text) {
  errorLine.textContent = text || '';
  errorLine.hidden = !text;
  field('FindWhat').classList.toggle('invalid', Boolean(text));
  field('FindWhat').setAttribute('aria-invalid', text ? 'true' : 'false');
}

// The book's text as the search sees it: the text nodes in order, a line end between blocks
// (so that a match never joins two paragraphs unless the pattern asks for a line end).
export function bookText(root) {
  const doc = root.ownerDocument;
  const segments = [];  // { node, start }
  let text = '';
  const walker = doc.createTreeWalker(root, NodeFilter.SHOW_TEXT | NodeFilter.SHOW_ELEMENT);
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    if (node.nodeType === Node.ELEMENT_NODE) {
      if (BLOCKS.has(node.tagName) && text && !text.endsWith('\n')) text += '\n';
      continue;
    }
    segments.push({ node, start: text.length });
    text += node.data;
  }
  return { text, segments };
}

// The DOM position of the text offset `offset`; `preferEnd` picks the end of the segment
// before a gap rather than the start of the one after it.
function position(segments, offset, preferEnd) {
  let low = 0;
  let high = segments.length - 1;
  while (low < high) {
    const middle = (low + high + 1) >> 1;
    if (segments[middle].start <= offset) low = middle; else high = middle - 1;
  }
  let segment = segments[low];
  if (!segment) return null;
  if (offset > segment.start + segment.node.data.length) {
    // In a gap between blocks.
    if (!preferEnd && segments[low + 1]) return { node: segments[low + 1].node, offset: 0 };
    return { node: segment.node, offset: segment.node.data.length };
  }
  if (preferEnd && offset === segment.start && low > 0) {
    segment = segments[low - 1];
    return { node: segment.node, offset: segment.node.data.length };
  }
  return { node: segment.node, offset: offset - segment.start };
}

function rangeOf(text, start, end) {
  const doc = editor.bookDocument();
  const from = position(text.segments, start, false);
  const to = position(text.segments, end, true);
  if (!from || !to) return null;
  const range = doc.createRange();
  range.setStart(from.node, from.offset);
  range.setEnd(to.node, to.offset);
  return range;
}

// The text offset of the DOM position (node, offset).
function textOffset(text, node, offset) {
  if (node.nodeType === Node.TEXT_NODE) {
    const segment = text.segments.find((entry) => entry.node === node);
    if (segment) return segment.start + offset;
  }
  // An element position: the first text at or after it.
  const child = node.childNodes[offset];
  const after = child
    ? text.segments.find((entry) => entry.node === child || child.contains(entry.node) ||
                                    (child.compareDocumentPosition(entry.node) & Node.DOCUMENT_POSITION_FOLLOWING))
    : text.segments.find((entry) => !node.contains(entry.node) &&
                                    (node.compareDocumentPosition(entry.node) & Node.DOCUMENT_POSITION_FOLLOWING));
  return after ? after.start : text.text.length;
}

function highlight(range) {
  const doc = editor.bookDocument();
  const registry = doc.defaultView.CSS?.highlights;
  if (registry) {
    registry.clear();
    if (range) registry.set(HIGHLIGHT, new doc.defaultView.Highlight(range));
  }
  if (!range) return;
  doc.getSelection().removeAllRanges();
  doc.getSelection().addRange(range);
  editor.reveal(range.startContainer);
}

// The matches of the form's query in `searched` (the book's text or its HTML), or in the part of
// it the selection kept when the search began covers; `offsetOf(node, offset)` gives the offset
// in `searched` of a DOM position. Null when there is nothing to search or the pattern is bad.
async function matchesIn(searched, offsetOf) {
  const q = query();
  if (!q.what) { showError(''); return null; }
  let scopeStart = 0;
  let scopeEnd = searched.length;
  if (field('FindScope').value === 'selection') {
    if (!scopeRange) scopeRange = editor.selectionRange()?.cloneRange() || null;
    if (!scopeRange) { statusLine.textContent = t('find.noSelection'); return null; }
    scopeStart = offsetOf(scopeRange.startContainer, scopeRange.startOffset);
    scopeEnd = offsetOf(scopeRange.endContainer, scopeRange.endOffset);
  }
  const answer = await api.postJson('/api/find', { ...q, text: searched.slice(scopeStart, scopeEnd) });
  if (!answer.ok) {
    showError(answer.error || t('find.none'));
    return null;
  }
  showError('');
  return answer.matches.map((m) => ({ ...m, start: m.start + scopeStart, end: m.end + scopeStart }));
}

// Searches the book's text as the page shows it.
async function search() {
  const text = bookText(editor.bookDocument().body);
  const matches = await matchesIn(text.text, (node, offset) => textOffset(text, node, offset));
  return matches && { text, matches };
}

function caretTextOffset(text, atEnd) {
  const range = editor.caretRange();
  if (!range) return 0;
  return atEnd ? textOffset(text, range.endContainer, range.endOffset) : textOffset(text, range.startContainer, range.startOffset);
}

// Selects the next (or previous) match after the caret, round the end of the book.
export async function findNext(backwards = false) {
  if (field('InHtmlB').checked) return findNextInHtml(backwards);
  const result = await search();
  if (!result) return false;
  const { matches, text } = result;
  if (!matches.length) {
    statusLine.textContent = t('find.none');
    highlight(null);
    return false;
  }
  const caret = caretTextOffset(text, !backwards);
  let index = backwards ? matches.findLastIndex((m) => m.start < caret) : matches.findIndex((m) => m.start >= caret);
  if (index < 0) index = backwards ? matches.length - 1 : 0;
  highlight(rangeOf(text, matches[index].start, matches[index].end));
  statusLine.textContent = t('find.position', index + 1, matches.length);
  return true;
}

// Replaces the selected match (when the selection is one) and goes on to the next.
async function replaceOne() {
  if (field('InHtmlB').checked) return replaceOneInHtml();
  const result = await search();
  if (!result) return;
  const range = editor.selectionRange();
  if (range) {
    const start = textOffset(result.text, range.startContainer, range.startOffset);
    const end = textOffset(result.text, range.endContainer, range.endOffset);
    const match = result.matches.find((m) => m.start === start && m.end === end);
    if (match) {
      editor.change(t('find.step'), (doc) => {
        range.deleteContents();
        const node = doc.createTextNode(match.replacement);
        range.insertNode(node);
        const after = doc.createRange();
        after.setStartAfter(node);
        after.collapse(true);
        doc.getSelection().removeAllRanges();
        doc.getSelection().addRange(after);
      });
    }
  }
  await findNext(false);
}

// Every match replaced as one step; the count is shown.
export async function replaceAll() {
  const q = query();
  if (!q.what) return 0;
  if (field('InHtmlB').checked) return replaceAllInHtml(q);
  const result = await search();
  if (!result) return 0;
  const ranges = result.matches.map((m) => ({ range: rangeOf(result.text, m.start, m.end), text: m.replacement }));
  if (ranges.length) {
    editor.change(t('find.stepAll'), (doc) => {
      for (const { range, text } of ranges.reverse()) {
        if (!range) continue;
        range.deleteContents();
        if (text) range.insertNode(doc.createTextNode(text));
      }
      doc.body.normalize();
    });
  }
  highlight(null);
  scopeRange = null;
  statusLine.textContent = t('find.replaced', ranges.length);
  return ranges.length;
}

function selectionHtml(range) {
  const holder = editor.bookDocument().createElement('div');
  holder.append(range.cloneContents());
  return holder.innerHTML;
}

async function replaceAllInHtml(q) {
  const selection = field('FindScope').value === 'selection' ? (scopeRange || editor.selectionRange()) : null;
  if (field('FindScope').value === 'selection' && !selection) { statusLine.textContent = t('find.noSelection'); return 0; }
  if (!selection) await editor.sync();
  const answer = await api.postJson('/api/replace-html', { ...q, ...(selection ? { html: selectionHtml(selection) } : {}) });
  if (!answer.ok) { showError(answer.error); return 0; }
  showError('');
  if (answer.count > 0 && answer.html) {
    if (selection) editor.replaceRange(t('find.stepAll'), selection, answer.html);
    else editor.applyServerDocument(t('find.stepAll'), answer.html);
  }
  scopeRange = null;
  statusLine.textContent = t('find.replaced', answer.count);
  await api.poll();
  return answer.count;
}

// In the HTML: the book's body as the browser writes it is searched as text; a match is shown
// by selecting the nodes it covers, and replaced by rewriting only the blocks it touches.
let shownHtmlMatch = null;  // { start, end, replacement, html, range } of the match last selected

// Changes of the book counted, so that a search answered after the book changed is not shown
// at places that have moved.
let bookChanges = 0;
editor.onChange(() => { ++bookChanges; });

async function searchHtml() {
  for (let attempt = 0; attempt < 3; ++attempt) {
    const body = editor.bookDocument().body;
    const html = body.innerHTML;
    const changesBefore = bookChanges;
    const matches = await matchesIn(html, (node, offset) => htmlOffsetOf(body, node, offset));
    if (changesBefore === bookChanges || !matches) return matches && { html, matches };
  }
  return null;  // the book keeps changing under the search: the next step searches again
}

function selectHtmlMatch(html, match) {
  const body = editor.bookDocument().body;
  const from = positionAt(body, match.start);
  const to = positionAt(body, match.end);
  const range = editor.bookDocument().createRange();
  range.setStart(from.node, from.offset);
  range.setEnd(to.node, to.offset);
  if (range.collapsed && match.end > match.start) {
    // A match inside one tag: the element the tag opens is what it stands for.
    const element = from.node.childNodes[from.offset];
    if (element) range.selectNode(element);
  }
  highlight(range);
  shownHtmlMatch = { ...match, html, range: range.cloneRange() };
}

async function findNextInHtml(backwards) {
  const result = await searchHtml();
  if (!result) return false;
  const { matches, html } = result;
  if (!matches.length) {
    statusLine.textContent = t('find.none');
    highlight(null);
    shownHtmlMatch = null;
    return false;
  }
  const body = editor.bookDocument().body;
  const range = editor.caretRange();
  let caret = 0;
  if (range) caret = backwards ? htmlOffsetOf(body, range.startContainer, range.startOffset)
                               : htmlOffsetOf(body, range.endContainer, range.endOffset);
  // The match selected last is passed over, even when its selection had to be widened.
  if (shownHtmlMatch && shownHtmlMatch.html === html) caret = backwards ? shownHtmlMatch.start : Math.max(caret, shownHtmlMatch.end);
  let index = backwards ? matches.findLastIndex((m) => m.start < caret) : matches.findIndex((m) => m.start >= caret);
  if (index < 0) index = backwards ? matches.length - 1 : 0;
  selectHtmlMatch(html, matches[index]);
  statusLine.textContent = t('find.position', index + 1, matches.length);
  return true;
}

function sameRange(a, b) {
  return a && b && a.compareBoundaryPoints(Range.START_TO_START, b) === 0 && a.compareBoundaryPoints(Range.END_TO_END, b) === 0;
}

async function replaceOneInHtml() {
  const body = editor.bookDocument().body;
  const match = shownHtmlMatch;
  if (match && match.html === body.innerHTML && sameRange(editor.selectionRange(), match.range)) {
    const covered = childrenCovering(body, match.start, match.end);
    if (covered) {
      const range = editor.bookDocument().createRange();
      range.setStartBefore(covered.first);
      range.setEndAfter(covered.last);
      const old = match.html.slice(covered.start, covered.end);
      const html = old.slice(0, match.start - covered.start) + match.replacement + old.slice(match.end - covered.start);
      editor.replaceRange(t('find.step'), range, html);
      // The search goes on right after the replacement, not after the rewritten blocks.
      const after = positionAt(body, match.start + match.replacement.length);
      const caret = editor.bookDocument().createRange();
      caret.setStart(after.node, after.offset);
      caret.collapse(true);
      editor.bookDocument().getSelection().removeAllRanges();
      editor.bookDocument().getSelection().addRange(caret);
    }
  }
  shownHtmlMatch = null;
  await findNextInHtml(false);
}

field('FindNextB').addEventListener('click', () => findNext(false));
field('FindPreviousB').addEventListener('click', () => findNext(true));
field('ReplaceB').addEventListener('click', replaceOne);
field('ReplaceAllB').addEventListener('click', replaceAll);
field('FindWhat').addEventListener('input', () => showError(''));
field('FindWhat').addEventListener('keydown', (event) => {
  if (event.key === 'Enter') { event.preventDefault(); findNext(event.shiftKey); }
});
field('FindScope').addEventListener('change', () => { scopeRange = null; });
dialog.addEventListener('close', () => { highlight(null); scopeRange = null; });

// Opens the form; with `replace` the replacement field takes the focus after the search text.
export function open(replace = false) {
  const selected = editor.selectionRange();
  const text = selected ? selected.toString() : '';
  if (text && !text.includes('\n') && text.length < 200) field('FindWhat').value = text;
  field('FindScope').value = text.includes('\n') ? 'selection' : 'book';
  scopeRange = null;
  if (!dialog.open) dialog.show();
  (replace && field('FindWhat').value ? field('ReplaceWith') : field('FindWhat')).focus();
  field('FindWhat').select();
}

registerCommand({ id: 'MnFindReplaceF', menu: 'EditMenu', order: 30, label: { en: 'Find…', ru: 'Найти…' },
                  key: 'Ctrl+F', global: true, run: () => open(false) });
registerCommand({ id: 'MnReplace', menu: 'EditMenu', order: 31, label: { en: 'Replace…', ru: 'Заменить…' },
                  key: 'Ctrl+H', global: true, run: () => open(true) });
registerCommand({ id: 'MnFindNext', menu: 'EditMenu', order: 32, label: { en: 'Find next', ru: 'Найти далее' },
                  key: 'F3', global: true, canRun: () => Boolean(field('FindWhat').value), run: () => findNext(false) });
