// The editing frame: the book's document, the selection, and the one history of the book's
// changes. Every change is a step of that history: a burst of typing, an element mark, a
// whole-book operation from the server, a change of the book's description. A step keeps only the part of the body's HTML that
// changed (the text between the common beginning and the common end), so a long history of a
// large book stays small.

import { request } from './api.js';
import { registerTexts, t } from './i18n.js';

registerTexts({
  en: { 'editor.typing': 'Typing', 'editor.undo': 'Undo {0}', 'editor.redo': 'Redo {0}',
        'editor.undoNothing': 'Undo', 'editor.redoNothing': 'Redo', 'editor.frame': 'Book' },
  ru: { 'editor.typing': 'Ввод текста', 'editor.undo': 'Отменить: {0}', 'editor.redo': 'Вернуть: {0}',
        'editor.undoNothing': 'Отменить', 'editor.redoNothing': 'Вернуть', 'editor.frame': 'Книга' },
});

export const HISTORY_STEPS = 200;               // steps kept at most
const HISTORY_MIN_STEPS = 100;                  // steps kept whatever they weigh
const HISTORY_CHARACTERS = 64 * 1024 * 1024;    // beyond HISTORY_MIN_STEPS, what the steps may weigh
const BURST_PAUSE_MS = 1000;                    // a pause this long ends a burst of typing
const SYNC_DELAY_MS = 2000;                     // edits reach the server this long after the last one

const frame = document.getElementById('editor');
const listeners = { change: new Set(), load: new Set() };
let steps = [];          // {label, start, removed, inserted}
let position = 0;        // steps before this index are done
let savedPosition = 0;   // the position at the last save; -1 when no position matches it
let committed = '';      // the body's HTML after the last step
let burstOpen = false;
let burstTimer = 0;
let syncTimer = 0;
let sentPosition = 0;    // the position whose document the server holds
let keyHandler = null;
let version = -1;

export function onChange(listener) { listeners.change.add(listener); }
export function onLoad(listener) { listeners.load.add(listener); }
function tell(kind) { for (const listener of listeners[kind]) listener(); }

// The key handler of the page (menus.js): keys pressed in the book reach it first.
export function setKeyHandler(handler) { keyHandler = handler; }

export function frameElement() { return frame; }
export function bookDocument() { return frame.contentDocument; }
function body() { return frame.contentDocument?.body; }

// The number of the server's document the frame shows.
export function shownVersion() { return version; }

// Shows the server's document `number` (a new book): the history starts anew. The document is
// parsed apart and put into the frame whole, with the page's style already in its head, so
// that the browser lays the book out once, at the width and in the font it is shown in (a
// frame navigated to the document would lay it out first without them). Pictures named
// relatively are found beside the book through the base element.
let showing = 0;
export async function show(number) {
  version = number;
  const ticket = ++showing;
  let html;
  try {
    html = await (await request('/book/document?v=' + number)).text();
  } catch {
    if (ticket === showing) version = -1;  // the next poll tries again
    return;
  }
  if (ticket !== showing) return;  // a newer document was asked for meanwhile
  const doc = bookDocument();
  const parsed = new DOMParser().parseFromString(html, 'text/html');
  const base = parsed.createElement('base');
  base.id = PAGE_BASE_ID;
  base.href = '/book/';
  parsed.head.prepend(base);
  putPageStyle(parsed);
  doc.replaceChild(doc.adoptNode(parsed.documentElement), doc.documentElement);
  loaded(doc);
}

// Keys pressed in the book go to the page's key handler first.
function passKey(event) { if (keyHandler) keyHandler(event); }

// A new document is in the frame. The listeners are the same functions each time, so the
// frame's document never holds two of one.
function loaded(doc) {
  doc.designMode = 'on';
  steps = [];
  position = savedPosition = sentPosition = 0;
  burstOpen = false;
  committed = doc.body.innerHTML;
  doc.addEventListener('beforeinput', beforeInput);
  doc.addEventListener('input', afterInput);
  doc.addEventListener('mousedown', closeBurst);
  doc.addEventListener('keydown', passKey);
  tell('load');
  tell('change');
}

function beforeInput(event) {
  // The browser's own history knows only the typing; ours knows every step.
  if (event.inputType === 'historyUndo' || event.inputType === 'historyRedo') {
    event.preventDefault();
    if (event.inputType === 'historyUndo') undo(); else redo();
    return;
  }
  burstOpen = true;
}

function afterInput() {
  burstOpen = true;
  clearTimeout(burstTimer);
  burstTimer = setTimeout(closeBurst, BURST_PAUSE_MS);
  tell('change');
  scheduleSync();
}

// Ends a burst of typing: it becomes one step.
export function closeBurst() {
  clearTimeout(burstTimer);
  if (!burstOpen) return;
  burstOpen = false;
  record(t('editor.typing'));
}

// The change between two texts as one step: the differing middle of each.
export function difference(before, after) {
  const shorter = Math.min(before.length, after.length);
  let start = 0;
  while (start < shorter && before.charCodeAt(start) === after.charCodeAt(start)) ++start;
  let end = 0;
  while (end < shorter - start &&
         before.charCodeAt(before.length - 1 - end) === after.charCodeAt(after.length - 1 - end)) ++end;
  return { start, removed: before.slice(start, before.length - end), inserted: after.slice(start, after.length - end) };
}

// Records what changed in the body since the last step as the step `label`.
function record(label) {
  const now = body().innerHTML;
  if (now === committed) return false;
  const step = { label, ...difference(committed, now) };
  committed = now;
  push(step);
  scheduleSync();
  return true;
}

function push(step) {
  steps.length = position;
  if (savedPosition > position) savedPosition = -1;
  if (sentPosition > position) sentPosition = -1;
  steps.push(step);
  position = steps.length;
  trimHistory();
  tell('change');
}

// A change of the book outside its text (its FB2 description, its cover) as one step named
// `label`, already made: `undoIt()` takes it back and `redoIt()` makes it again.
export function recordStep(label, undoIt, redoIt) {
  closeBurst();
  push({ label, start: 0, removed: '', inserted: '', undoIt, redoIt });
}

function trimHistory() {
  let weight = steps.reduce((sum, step) => sum + step.removed.length + step.inserted.length, 0);
  let drop = Math.max(0, steps.length - HISTORY_STEPS);
  while (steps.length - drop > HISTORY_MIN_STEPS && weight > HISTORY_CHARACTERS) {
    weight -= steps[drop].removed.length + steps[drop].inserted.length;
    ++drop;
  }
  if (drop === 0) return;
  steps.splice(0, drop);
  position -= drop;
  savedPosition = savedPosition >= drop ? savedPosition - drop : -1;
  sentPosition = sentPosition >= drop ? sentPosition - drop : -1;
}

// The caret as a count of characters from the start of the book's text.
function caretOffset() {
  const doc = bookDocument();
  const selection = doc.getSelection();
  if (!selection || selection.rangeCount === 0) return -1;
  const range = doc.createRange();
  range.setStart(doc.body, 0);
  const caret = selection.getRangeAt(0);
  range.setEnd(caret.startContainer, caret.startOffset);
  return range.toString().length;
}

function placeCaret(offset) {
  const doc = bookDocument();
  if (offset < 0) return;
  const walker = doc.createTreeWalker(doc.body, NodeFilter.SHOW_TEXT);
  let left = offset;
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    if (left <= node.data.length) {
      const range = doc.createRange();
      range.setStart(node, left);
      range.collapse(true);
      doc.getSelection().removeAllRanges();
      doc.getSelection().addRange(range);
      return;
    }
    left -= node.data.length;
  }
}

// Rewrites the body keeping the scroll position and, as near as the text allows, the caret.
function setBody(html) {
  const doc = bookDocument();
  const scroller = doc.scrollingElement || doc.body;
  const top = scroller.scrollTop;
  const caret = caretOffset();
  doc.body.innerHTML = html;
  scroller.scrollTop = top;
  placeCaret(caret);
}

// A change made by `mutate()` on the document, recorded as one step named `label`.
export function change(label, mutate) {
  closeBurst();
  mutate(bookDocument());
  return record(label);
}

// The server's new document (a whole-book operation) as one step named `label`.
export function applyServerDocument(label, html) {
  closeBurst();
  const parsed = new DOMParser().parseFromString(html, 'text/html');
  setBody(parsed.body.innerHTML);
  return record(label);
}

// Replaces `range` by `html` as one step named `label`; what was inserted stays selected.
export function replaceRange(label, range, html) {
  return change(label, (doc) => {
    range.deleteContents();
    const template = doc.createElement('template');
    template.innerHTML = html;
    const inserted = [...template.content.childNodes];
    range.insertNode(template.content);
    if (inserted.length) {
      const after = doc.createRange();
      after.setStartBefore(inserted[0]);
      after.setEndAfter(inserted[inserted.length - 1]);
      doc.getSelection().removeAllRanges();
      doc.getSelection().addRange(after);
    }
  });
}

function applyStep(step, backwards) {
  if (step.undoIt) {
    Promise.resolve().then(backwards ? step.undoIt : step.redoIt).catch((error) => console.error(error));
    return;
  }
  const [from, to] = backwards ? [step.inserted, step.removed] : [step.removed, step.inserted];
  committed = committed.slice(0, step.start) + to + committed.slice(step.start + from.length);
  setBody(committed);
  placeCaret(textOffsetOf(step.start + to.length));
}

// The caret offset (in text characters) of the body HTML position `at`. A template parses
// without loading pictures.
function textOffsetOf(at) {
  const holder = document.createElement('template');
  holder.innerHTML = committed.slice(0, at);
  return holder.content.textContent.length;
}

export function canUndo() { return position > 0 || burstOpen; }
export function canRedo() { return position < steps.length && !burstOpen; }

export function undo() {
  closeBurst();
  if (position === 0) return false;
  applyStep(steps[--position], true);
  tell('change');
  scheduleSync();
  return true;
}

export function redo() {
  closeBurst();
  if (position >= steps.length) return false;
  applyStep(steps[position++], false);
  tell('change');
  scheduleSync();
  return true;
}

// The menu texts that name the step: "Undo Title", "Redo Typing".
export function undoLabel() {
  if (burstOpen) return t('editor.undo', t('editor.typing'));
  return position > 0 ? t('editor.undo', steps[position - 1].label) : t('editor.undoNothing');
}
export function redoLabel() {
  return canRedo() ? t('editor.redo', steps[position].label) : t('editor.redoNothing');
}

// Whether the book differs from what was last saved.
export function isDirty() { return burstOpen || position !== savedPosition; }
export function markSaved() {
  closeBurst();
  savedPosition = position;
  tell('change');
}

const PAGE_STYLE_ID = 'PwPageStyle';
const PAGE_BASE_ID = 'PwPageBase';
let pageStyle = '';

// Style rules of the page's own for the book's frame (line length, font); they are never part
// of the book.
export function setPageStyle(css) {
  pageStyle = css;
  const doc = bookDocument();
  if (doc && doc.head) putPageStyle(doc);
}

// The page's style element in `doc`, made when missing, holding the current rules.
function putPageStyle(doc) {
  let element = doc.getElementById(PAGE_STYLE_ID);
  if (!element) {
    element = doc.createElement('style');
    element.id = PAGE_STYLE_ID;
    doc.head.append(element);
  }
  // Rewriting the same rules would lay the whole book out again.
  if (element.textContent !== pageStyle) element.textContent = pageStyle;
}

// The whole document as the server reads it: without the page's own style and base, cut out
// of the text rather than out of the document, which would lay the whole book out again.
export function documentHtml() {
  const doc = bookDocument();
  if (!doc || !doc.documentElement) return '';
  let html = doc.documentElement.outerHTML;
  for (const id of [PAGE_BASE_ID, PAGE_STYLE_ID]) {
    const element = doc.getElementById(id);
    if (element) html = html.replace(element.outerHTML, () => '');
  }
  return html;
}

function scheduleSync() {
  clearTimeout(syncTimer);
  syncTimer = setTimeout(() => { sync().catch(() => {}); }, SYNC_DELAY_MS);
}

// Sends the page's document to the server (before anything there reads the book, and soon
// after every change, so that the server never holds less than the page shows).
export async function sync() {
  clearTimeout(syncTimer);
  closeBurst();
  const html = documentHtml();
  if (!html) return;
  const changed = position !== sentPosition;
  await request('/api/document' + (isDirty() ? '?changed=1' : ''), {
    method: 'POST', headers: { 'Content-Type': 'text/html' }, body: html,
  });
  if (changed) sentPosition = position;
}

// The selection when it holds something, else null.
export function selectionRange() {
  const doc = bookDocument();
  const selection = doc?.getSelection();
  if (!selection || selection.rangeCount === 0 || selection.isCollapsed) return null;
  return selection.getRangeAt(0);
}

// The caret's range (collapsed or not), else null.
export function caretRange() {
  const selection = bookDocument()?.getSelection();
  return selection && selection.rangeCount ? selection.getRangeAt(0) : null;
}

// The child of the body that holds `node`.
export function topBlock(node) {
  const root = body();
  while (node && node.parentNode && node.parentNode !== root) node = node.parentNode;
  return node && node.parentNode === root ? node : null;
}

// Scrolls `node` into the middle of the frame when it is not in view.
export function reveal(node) {
  const element = node.nodeType === Node.ELEMENT_NODE ? node : node.parentElement;
  if (!element) return;
  const box = element.getBoundingClientRect();
  if (box.top < 0 || box.bottom > frame.clientHeight) element.scrollIntoView({ block: 'center' });
}
