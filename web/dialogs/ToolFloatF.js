// ToolFloatF, the corrector palette: a small floating window beside the book with the marking,
// navigation and structure commands in three groups. The server's palette table says, for each
// button's key text, what it runs; the buttons dispatch by that key text through the page's
// command table or the corrector's requests. "click select" switches between selecting whole
// elements with a click (advanced mouse selection) and ordinary text selection.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, t, translate, language, onLanguage } from '../i18n.js';
import { registerCommand, runCommand, command as findCommand } from '../menus.js';
import { message } from './MessageDialog.js';

registerTexts({
  en: {
    'palette.caption': 'Corrector', 'palette.short': 'Cor..', 'palette.shrink': 'ShrinkExpand', 'palette.close': 'close',
    'palette.marking': 'Marking', 'palette.navigation': 'Navigation and tools', 'palette.structure': 'Selection and structure',
    'palette.advanced': 'advanced mouse selection', 'palette.simple': 'simple mouse selection',
    'palette.menu': 'Corrector palette', 'palette.info': 'Book info',
    'palette.noElement': 'Select an element first: a click in the book with advanced mouse selection.',
    'info.paragraphs': 'paragraphs', 'info.words': 'words', 'info.characters': 'characters',
    'info.bookAuthors': 'book author', 'info.bookTitles': 'book title', 'info.titles': 'titles',
    'info.subtitles': 'subtitles', 'info.epigraphs': 'epigraphs', 'info.verses': 'verses', 'info.cites': 'cites',
    'info.textAuthors': 'text authors', 'info.annotations': 'annotations', 'info.noteBlocks': 'note blocks',
    'info.notes': 'notes', 'info.pictures': 'pictures', 'info.pageBreaks': 'page breaks',
  },
  ru: {
    'palette.caption': 'Корректор', 'palette.short': 'Cor..', 'palette.shrink': 'Свернуть/развернуть', 'palette.close': 'закрыть',
    'palette.marking': 'Разметка', 'palette.navigation': 'Просмотр и инструменты', 'palette.structure': 'Выделение и структура',
    'palette.advanced': 'расширенное выделение', 'palette.simple': 'простое выделение',
    'palette.menu': 'Панель корректора', 'palette.info': 'О книге',
    'palette.noElement': 'Сначала выделите элемент: щелчок в книге при расширенном выделении.',
    'info.paragraphs': 'абзацы', 'info.words': 'слова', 'info.characters': 'знаки',
    'info.bookAuthors': 'автор книги', 'info.bookTitles': 'название книги', 'info.titles': 'заголовки',
    'info.subtitles': 'подзаголовки', 'info.epigraphs': 'эпиграфы', 'info.verses': 'стихи', 'info.cites': 'цитаты',
    'info.textAuthors': 'авторы текста', 'info.annotations': 'аннотации', 'info.noteBlocks': 'блоки сносок',
    'info.notes': 'сноски', 'info.pictures': 'картинки', 'info.pageBreaks': 'разрывы страниц',
  },
});

const GROUPS = ['marking', 'navigation', 'structure'];
// The page's command for each palette operation it does not send itself.
const PAGE_COMMANDS = { undo: 'MnUndo', redo: 'MnRedo', makefb2: 'MnMakeFictionBookFile', makepwfile: 'MnMakePagewrightFile',
  sectioneditor: 'MnSectionEditor', settings: 'MnSettingsF', moveup: 'MnMoveElementUp', movedown: 'MnMoveElementDown' };
const PAGE_BREAK_MARKER = 'PageBreakHere';

const palette = document.createElement('div');
palette.id = 'ToolFloatF';
palette.className = 'palette';
palette.hidden = true;
palette.innerHTML = `<header class="palette-caption"><span id="ToolFloatCaption" data-t="palette.caption"></span>
  <button type="button" id="ShrinkExpand" data-t-title="palette.shrink">&#8644;</button>
  <button type="button" id="ToolFloatClose" data-t-title="palette.close">&times;</button></header>
  <div class="palette-groups">${GROUPS.map((group) => `<fieldset class="palette-group" id="ToolFloat_${group}">
    <legend data-t="palette.${group}"></legend></fieldset>`).join('')}</div>`;
translate(palette);
document.body.append(palette);

let table = [];            // the server's palette commands
let advanced = true;       // advanced mouse selection
let shrunk = false;
const $ = (id) => document.getElementById(id);

function label(entry) { return language() === 'ru' ? entry.ru : entry.en; }

function build() {
  for (const group of GROUPS) {
    const fieldset = $('ToolFloat_' + group);
    fieldset.querySelectorAll('button').forEach((button) => button.remove());
    for (const entry of table.filter((candidate) => candidate.group === group)) {
      const button = document.createElement('button');
      button.type = 'button';
      button.dataset.key = entry.key;
      button.textContent = label(entry);
      button.addEventListener('click', () => dispatch(entry.key));
      fieldset.append(button);
    }
  }
  showMode();
  layOut();
}

function showMode() {
  const button = palette.querySelector('button[data-key="click select"]');
  if (button) {
    button.textContent = t(advanced ? 'palette.advanced' : 'palette.simple');
    button.classList.toggle('on', advanced);
  }
}

// Buttons take the toolbar's button size; the groups wrap to the palette's width.
function layOut() {
  const sample = document.querySelector('#toolbar button');
  const height = sample ? sample.offsetHeight : 24;
  palette.style.setProperty('--palette-button-height', `${Math.max(height, 20)}px`);
  $('ToolFloatCaption').textContent = t(shrunk ? 'palette.short' : 'palette.caption');
  palette.classList.toggle('shrunk', shrunk);
}

// The top-level elements of the book and the ones the selection covers.
function elements() { return [...(editor.bookDocument()?.body?.children || [])]; }

function selectedElements() {
  const range = editor.caretRange();
  if (!range) return null;
  const all = elements();
  const first = all.indexOf(editor.topBlock(range.startContainer) || range.startContainer.childNodes?.[range.startOffset]);
  let lastNode = editor.topBlock(range.endContainer);
  // A range that ends at the start of the next element does not hold it.
  if (lastNode && !range.collapsed && range.endOffset === 0 && lastNode !== editor.topBlock(range.startContainer) &&
      range.endContainer.nodeType !== Node.TEXT_NODE) lastNode = lastNode.previousElementSibling;
  const last = all.indexOf(lastNode);
  if (first < 0) return null;
  return { first, last: Math.max(first, last), count: all.length };
}

function selectElements(first, last) {
  const all = elements();
  if (!all[first]) return;
  const doc = editor.bookDocument();
  const range = doc.createRange();
  range.setStartBefore(all[first]);
  range.setEndAfter(all[last] || all[first]);
  doc.getSelection().removeAllRanges();
  doc.getSelection().addRange(range);
  editor.reveal(all[first]);
}

// The paragraph with the caret, as the server counts paragraphs: "<DIV align=justify>" alone.
function paragraphIndex() {
  const range = editor.caretRange();
  if (!range) return -1;
  const node = range.startContainer.nodeType === Node.ELEMENT_NODE ? range.startContainer : range.startContainer.parentElement;
  const paragraph = node?.closest('div[align="justify"]');
  return paragraph ? bookParagraphs().indexOf(paragraph) : -1;
}

export function bookParagraphs() {
  return [...editor.bookDocument().querySelectorAll('div[align="justify"]')].filter((div) => div.attributes.length === 1);
}

async function bodyCommand(operation, entry, extra = {}) {
  await editor.sync();
  const answer = await api.postJson('/api/body', { command: operation, html: editor.bookDocument().body.innerHTML, ...extra });
  if (answer.changed && answer.html) editor.applyServerDocument(label(entry), answer.html);
  await api.poll();
  return answer;
}

async function structureCommand(operation, entry) {
  const range = editor.selectionRange();
  if (!range) { message(t('noSelection')); return; }
  const first = editor.topBlock(range.startContainer);
  const last = editor.topBlock(range.endContainer);
  if (first) range.setStartBefore(first);
  if (last) range.setEndAfter(last);
  const holder = editor.bookDocument().createElement('div');
  holder.append(range.cloneContents());
  const answer = await api.postJson('/api/structure', { command: operation, html: holder.innerHTML });
  if (answer.replace) editor.replaceRange(label(entry), range, answer.html);
  await api.poll();
}

async function showBookInfo() {
  const info = await api.postJson('/api/bookinfo', { html: editor.bookDocument()?.body?.innerHTML || '' });
  const lines = Object.entries(info).filter(([key]) => key !== 'ok').map(([key, value]) => `${t('info.' + key)}: ${value}`);
  message(`${t('palette.info')}\n${lines.join('\n')}`);
}

// The dispatcher: the key text of a button names the command in the server's table.
export async function dispatch(key) {
  const entry = table.find((candidate) => candidate.key === key);
  if (!entry || !editor.bookDocument()?.body) return;
  const { target, operation } = entry;
  if (target === 'selection') return runCommand('MnFormat' + operation[0].toUpperCase() + operation.slice(1));
  if (target === 'book') return runCommand(PAGE_COMMANDS[operation] || 'MnBook' + operation[0].toUpperCase() + operation.slice(1));
  if (target === 'structure') return structureCommand(operation, entry);
  if (target === 'select') {
    const selection = selectedElements();
    if (!selection) { message(t('palette.noElement')); return; }
    const answer = await api.postJson('/api/palette/select', { command: operation, ...selection });
    if (answer.ok) selectElements(answer.first, answer.last);
    return;
  }
  if (target === 'body') {
    if (operation === 'leftwordsshift') {
      const paragraph = paragraphIndex();
      if (paragraph < 0) { message(t('palette.noElement')); return; }
      return bodyCommand(operation, entry, { paragraph });
    }
    if (operation === 'pagebreakhere') {
      const range = editor.caretRange();
      if (!range) { message(t('noSelection')); return; }
      const marker = editor.bookDocument().createElement('span');
      marker.id = PAGE_BREAK_MARKER;
      range.collapse(true);
      range.insertNode(marker);
      try { return await bodyCommand(operation, entry); } finally { marker.remove(); }
    }
    return bodyCommand(operation, entry);
  }
  // Done by the page.
  const frameWindow = editor.frameElement().contentWindow;
  switch (operation) {
    case 'scrollup': frameWindow.scrollBy(0, -frameWindow.innerHeight * 0.8); break;
    case 'scrolldown': frameWindow.scrollBy(0, frameWindow.innerHeight * 0.8); break;
    case 'clickselect': advanced = !advanced; showMode(); break;
    case 'bookinfo': await showBookInfo(); break;
    case 'help': window.open(`/web/BookCorrectorHelp${language() === 'ru' ? 'Rus' : 'Eng'}.html`, '_blank'); break;
    default:
      if (PAGE_COMMANDS[operation] && findCommand(PAGE_COMMANDS[operation])) await runCommand(PAGE_COMMANDS[operation]);
  }
}

// Advanced mouse selection: a click selects the whole element under the mouse.
function clickInBook(event) {
  if (!advanced || palette.hidden || event.detail > 1) return;
  const block = editor.topBlock(event.target);
  if (!block || block === editor.bookDocument().body) return;
  const all = elements();
  const index = all.indexOf(block);
  if (event.shiftKey) {
    const current = selectedElements();
    if (current) return selectElements(Math.min(current.first, index), Math.max(current.last, index));
  }
  selectElements(index, index);
}
editor.onLoad(() => editor.bookDocument().addEventListener('click', clickInBook));

// Dragging by the caption.
palette.querySelector('.palette-caption').addEventListener('pointerdown', (event) => {
  if (event.target.closest('button')) return;
  const box = palette.getBoundingClientRect();
  const dx = event.clientX - box.left;
  const dy = event.clientY - box.top;
  const move = (e) => {
    palette.style.left = `${Math.max(0, Math.min(window.innerWidth - 40, e.clientX - dx))}px`;
    palette.style.top = `${Math.max(0, Math.min(window.innerHeight - 20, e.clientY - dy))}px`;
    palette.style.right = 'auto';
  };
  const stop = () => { window.removeEventListener('pointermove', move); window.removeEventListener('pointerup', stop); };
  window.addEventListener('pointermove', move);
  window.addEventListener('pointerup', stop);
});
$('ShrinkExpand').addEventListener('click', () => { shrunk = !shrunk; layOut(); });
$('ToolFloatClose').addEventListener('click', () => { palette.hidden = true; });
new ResizeObserver(layOut).observe(palette);
onLanguage(build);

export async function open() {
  if (!table.length) table = (await api.getJson('/api/palette')).commands;
  build();
  palette.hidden = false;
}

export function isAdvancedSelection() { return advanced; }

registerCommand({ id: 'MnToolFloatF', menu: 'ViewMenu', order: 30, label: 'palette.menu', key: 'F8',
                  run: () => (palette.hidden ? open() : (palette.hidden = true)) });
