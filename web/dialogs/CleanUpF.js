// CleanUpF, the Book Cleaner: the user's table of find-and-replace rules, its rule files, the
// three slots the converters run by themselves, and the runs over the whole book (CleanAllB) or
// the selection (CleanSelB), each one step of the book's history with a count a row.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, t, translate, language, onLanguage } from '../i18n.js';
import { registerCommand } from '../menus.js';
import { message, ask } from './MessageDialog.js';

registerTexts({
  en: {
    'cleanup.caption': ' Book Cleaner (FOR EXPERTS ONLY): ', 'cleanup.notSaved': ' (NOT SAVED)',
    'cleanup.findWhat': 'find what', 'cleanup.replaceBy': 'replace by', 'cleanup.case': 'case',
    'cleanup.regexp': 'RegExp', 'cleanup.use': 'use', 'cleanup.n': 'N', 'cleanup.count': 'replaced',
    'cleanup.file': 'File', 'cleanup.rows': 'Rows', 'cleanup.load': 'Load…', 'cleanup.save': 'Save',
    'cleanup.saveAs': 'Save as…', 'cleanup.delete': 'Delete…', 'cleanup.import': 'Import old .dat…',
    'cleanup.new': 'New table', 'cleanup.addEnd': 'add row at the end', 'cleanup.addBefore': 'add row before',
    'cleanup.addAfter': 'add row after', 'cleanup.remove': 'delete row(s)', 'cleanup.copy': 'copy row(s)',
    'cleanup.cut': 'cut row(s)', 'cleanup.pasteBefore': 'paste row(s) before', 'cleanup.pasteAfter': 'paste row(s) after',
    'cleanup.moveUp': 'move row(s) up', 'cleanup.moveDown': 'move row(s) down', 'cleanup.checkAll': 'check all',
    'cleanup.uncheckAll': 'uncheck all', 'cleanup.clear': 'clear table', 'cleanup.comment': 'Comment…',
    'cleanup.font': 'Table font', 'cleanup.bold': 'bold', 'cleanup.mode3': 'whole text', 'cleanup.mode4': 'line by line',
    'cleanup.cleanAll': 'Clean whole book', 'cleanup.cleanSel': 'Clean selection', 'cleanup.help': 'Quick Help',
    'cleanup.close': 'Close', 'cleanup.slots': 'Run by themselves', 'cleanup.before': 'before formatting:',
    'cleanup.after': 'after formatting:', 'cleanup.output': 'on output:', 'cleanup.putSlot': 'use current',
    'cleanup.clearSlot': 'none', 'cleanup.none': 'none', 'cleanup.fileNotFound': 'file not found',
    'cleanup.loadTitle': 'Load CleanUp file', 'cleanup.saveAsTitle': 'Save CleanUp file as',
    'cleanup.deleteTitle': 'Delete CleanUp file(s)', 'cleanup.importTitle': 'Import Old CleanUp file',
    'cleanup.fileExists': 'File exists:', 'cleanup.replace': 'Replace?', 'cleanup.commentTitle': 'Book Cleaner: Comment Editor',
    'cleanup.newComment': 'Type your comments here. Right-click - additional options.',
    'cleanup.ok': 'OK', 'cleanup.cancel': 'Cancel', 'cleanup.step': 'Book Cleaner', 'cleanup.done': '{0} replacements',
    'cleanup.badRows': 'The table has bad regular expressions; nothing was run. See the marked rows.',
    'cleanup.unsaved': 'The rule table was changed and not saved. Drop the changes?',
    'cleanup.menu': 'Book Cleaner…',
  },
  ru: {
    'cleanup.caption': ' Чистка книги (ТОЛЬКО ДЛЯ ЭКСПЕРТОВ): ', 'cleanup.notSaved': ' (НЕ СОХРАНЕНО)',
    'cleanup.findWhat': 'что искать', 'cleanup.replaceBy': 'чем заменить', 'cleanup.case': 'регистр',
    'cleanup.regexp': 'RegExp', 'cleanup.use': 'исп.', 'cleanup.n': 'N', 'cleanup.count': 'замен',
    'cleanup.file': 'Файл', 'cleanup.rows': 'Строки', 'cleanup.load': 'Загрузить…', 'cleanup.save': 'Сохранить',
    'cleanup.saveAs': 'Сохранить как…', 'cleanup.delete': 'Удалить…', 'cleanup.import': 'Импорт старого .dat…',
    'cleanup.new': 'Новая таблица', 'cleanup.addEnd': 'добавить строку в конец', 'cleanup.addBefore': 'добавить строку перед',
    'cleanup.addAfter': 'добавить строку после', 'cleanup.remove': 'удалить строки', 'cleanup.copy': 'копировать строки',
    'cleanup.cut': 'вырезать строки', 'cleanup.pasteBefore': 'вставить строки перед', 'cleanup.pasteAfter': 'вставить строки после',
    'cleanup.moveUp': 'строки вверх', 'cleanup.moveDown': 'строки вниз', 'cleanup.checkAll': 'отметить все',
    'cleanup.uncheckAll': 'снять все', 'cleanup.clear': 'очистить таблицу', 'cleanup.comment': 'Комментарий…',
    'cleanup.font': 'Шрифт таблицы', 'cleanup.bold': 'жирный', 'cleanup.mode3': 'весь текст', 'cleanup.mode4': 'по строкам',
    'cleanup.cleanAll': 'Чистить всю книгу', 'cleanup.cleanSel': 'Чистить выделение', 'cleanup.help': 'Краткая справка',
    'cleanup.close': 'Закрыть', 'cleanup.slots': 'Запускаются сами', 'cleanup.before': 'до форматирования:',
    'cleanup.after': 'после форматирования:', 'cleanup.output': 'при выводе:', 'cleanup.putSlot': 'текущий файл',
    'cleanup.clearSlot': 'нет', 'cleanup.none': 'none', 'cleanup.fileNotFound': 'file not found',
    'cleanup.loadTitle': 'Загрузить файл чистки', 'cleanup.saveAsTitle': 'Сохранить файл чистки как',
    'cleanup.deleteTitle': 'Удалить файлы чистки', 'cleanup.importTitle': 'Импорт старого файла чистки',
    'cleanup.fileExists': 'Файл существует:', 'cleanup.replace': 'Заменить?', 'cleanup.commentTitle': 'Чистка книги: комментарий',
    'cleanup.newComment': 'Впишите сюда комментарий. Правый щелчок - дополнительные возможности.',
    'cleanup.ok': 'OK', 'cleanup.cancel': 'Отмена', 'cleanup.step': 'Чистка книги', 'cleanup.done': 'замен: {0}',
    'cleanup.badRows': 'В таблице есть ошибочные регулярные выражения; ничего не выполнено. Смотрите отмеченные строки.',
    'cleanup.unsaved': 'Таблица правил изменена и не сохранена. Отбросить изменения?',
    'cleanup.menu': 'Чистка книги…',
  },
});

const FONT_SIZES = ['x-small', 'small', 'medium', 'large', 'x-large', 'xx-large'];
const ROW_COMMANDS = [
  ['addend', 'cleanup.addEnd'], ['addbefore', 'cleanup.addBefore'], ['addafter', 'cleanup.addAfter'],
  ['delete', 'cleanup.remove'], ['copy', 'cleanup.copy'], ['cut', 'cleanup.cut'],
  ['pastebefore', 'cleanup.pasteBefore'], ['pasteafter', 'cleanup.pasteAfter'], ['moveup', 'cleanup.moveUp'],
  ['movedown', 'cleanup.moveDown'], ['checkall', 'cleanup.checkAll'], ['uncheckall', 'cleanup.uncheckAll'],
  ['clear', 'cleanup.clear'],
];
const FIELDS = ['RepWhat', 'RepBy', 'Case', 'RegExp', 'Enabled'];
const NEW_NAME = 'New.bcf';

const dialog = document.createElement('dialog');
dialog.id = 'CleanUpF';
dialog.className = 'panel cleanup';
dialog.innerHTML = `<form method="dialog">
  <h2 id="CleanUpCaption"></h2>
  <div class="cleanup-bar">
    <button type="button" id="NewTableB" data-t="cleanup.new"></button>
    <button type="button" id="LoadB" data-t="cleanup.load"></button>
    <button type="button" id="SaveB" data-t="cleanup.save"></button>
    <button type="button" id="SaveAsB" data-t="cleanup.saveAs"></button>
    <button type="button" id="DeleteFileB" data-t="cleanup.delete"></button>
    <button type="button" id="ImportB" data-t="cleanup.import"></button>
    <input type="file" id="ImportFile" accept=".dat" hidden>
    <button type="button" id="CommentB" data-t="cleanup.comment"></button>
    <button type="button" id="HelpB" data-t="cleanup.help"></button>
  </div>
  <div class="cleanup-bar" id="RowCommands"></div>
  <div class="cleanup-bar">
    <label><input type="radio" name="CleanUpMode" id="Mode3B" value="3" checked> <span data-t="cleanup.mode3"></span></label>
    <label><input type="radio" name="CleanUpMode" id="Mode4B" value="4"> <span data-t="cleanup.mode4"></span></label>
    <label><span data-t="cleanup.font"></span> <select id="FontDlg_BookCleanerFont"></select></label>
    <label><input type="checkbox" id="TableFontBold"> <span data-t="cleanup.bold"></span></label>
  </div>
  <div class="cleanup-table-frame">
    <table id="CleanUpTable">
      <thead><tr><th data-t="cleanup.findWhat"></th><th data-t="cleanup.replaceBy"></th><th data-t="cleanup.case"></th>
        <th data-t="cleanup.regexp"></th><th data-t="cleanup.use"></th><th data-t="cleanup.n"></th><th data-t="cleanup.count"></th></tr></thead>
      <tbody></tbody>
    </table>
    <div id="LastEmptyDiv"></div>
  </div>
  <fieldset class="cleanup-slots"><legend data-t="cleanup.slots"></legend>
    ${['before', 'after', 'output'].map((slot) => `<div class="slot" data-slot="${slot}">
      <span data-t="cleanup.${slot}"></span> <b id="${{ before: 'InBeforeFormatL', after: 'InAfterFormatL', output: 'OutputL' }[slot]}"></b>
      <button type="button" class="put" data-t="cleanup.putSlot"></button><button type="button" class="clear" data-t="cleanup.clearSlot"></button></div>`).join('')}
  </fieldset>
  <menu>
    <button type="button" id="CleanAllB" data-t="cleanup.cleanAll"></button>
    <button type="button" id="CleanSelB" data-t="cleanup.cleanSel"></button>
    <button value="close" data-t="cleanup.close"></button>
  </menu>
</form>`;
document.body.append(dialog);

const picker = document.createElement('dialog');
picker.id = 'CleanUpFilesF';
picker.innerHTML = `<form method="dialog"><h2 id="CleanUpFilesTitle"></h2>
  <select id="CleanUpFiles" size="10"></select>
  <input id="CleanUpFileName" placeholder="name.bcf">
  <menu><button value="cancel" data-t="cleanup.cancel"></button><button value="ok" id="CleanUpFilesOk" data-t="cleanup.ok"></button></menu>
</form>`;
document.body.append(picker);

const commentDialog = document.createElement('dialog');
commentDialog.id = 'CleanUpCommentF';
commentDialog.innerHTML = `<form method="dialog"><h2 data-t="cleanup.commentTitle"></h2>
  <div id="CleanUpComment" contenteditable="true"></div>
  <menu><button value="cancel" data-t="cleanup.cancel"></button><button value="ok" id="CommentOkB" data-t="cleanup.ok"></button></menu>
</form>`;
document.body.append(commentDialog);
for (const element of [dialog, picker, commentDialog]) translate(element);

const $ = (id) => document.getElementById(id);
const body = dialog.querySelector('#CleanUpTable tbody');
let state = { name: NEW_NAME, rows: [], comment: '', mode: 3, changed: false, saved: false };
let clipboard = { rows: [] };
let counts = [];
let problems = new Map();   // row -> engine message
let selected = null;        // {first, last}
let anchor = null;          // the row of a Ctrl+click, for a Shift+click range
let folderFiles = [];

function caption() {
  $('CleanUpCaption').textContent = t('cleanup.caption') + state.name.replace(/\.bcf$/i, '') +
    (state.changed || !state.saved ? t('cleanup.notSaved') : '');
}

function readTable() {
  state.rows = [...body.rows].map((tr) => Object.fromEntries(FIELDS.map((field) => {
    const input = tr.querySelector(`[name=${field}]`);
    return [field, input.type === 'checkbox' ? input.checked : input.value];
  })));
}

function renderTable() {
  body.replaceChildren(...state.rows.map((row, index) => {
    const tr = document.createElement('tr');
    tr.className = 'row';
    tr.dataset.index = String(index);
    if (selected && index >= selected.first && index <= selected.last) tr.classList.add('selected');
    if (problems.has(index)) { tr.classList.add('problem'); tr.title = problems.get(index); }
    tr.innerHTML = `<td><input name="RepWhat"></td><td><input name="RepBy"></td><td><input type="checkbox" name="Case"></td>
      <td><input type="checkbox" name="RegExp"></td><td><input type="checkbox" name="Enabled"></td>
      <td><span class="RowNum">${index + 1}</span></td><td class="count">${counts[index] ?? ''}</td>`;
    for (const field of FIELDS) {
      const input = tr.querySelector(`[name=${field}]`);
      if (input.type === 'checkbox') input.checked = Boolean(row[field]); else input.value = row[field];
    }
    if (problems.has(index)) {
      const note = document.createElement('div');
      note.className = 'problem-text';
      note.textContent = problems.get(index);
      tr.cells[0].append(note);
    }
    return tr;
  }));
  caption();
}

// GetCleanUpRowIndFromTr: the row of a click; Ctrl+click the first row, Shift+click the last.
body.addEventListener('focusin', (event) => selectRow(event.target.closest('tr'), event));
body.addEventListener('click', (event) => selectRow(event.target.closest('tr'), event));
function selectRow(tr, event) {
  if (!tr) return;
  const index = Number(tr.dataset.index);
  if (event.shiftKey && anchor !== null) selected = { first: Math.min(anchor, index), last: Math.max(anchor, index) };
  else { selected = { first: index, last: index }; anchor = index; }
  for (const row of body.rows) {
    const i = Number(row.dataset.index);
    row.classList.toggle('selected', i >= selected.first && i <= selected.last);
  }
}
body.addEventListener('input', () => { readTable(); state.changed = true; caption(); });
body.addEventListener('change', () => { readTable(); state.changed = true; caption(); });

// The table and the row buttons are disabled while a row command is on its way: the answer
// replaces the whole table, so a value typed or a second command given meanwhile would be lost.
function holdTable(held) {
  for (const control of [...body.querySelectorAll('input'), ...$('RowCommands').querySelectorAll('button')]) control.disabled = held;
}

async function rowCommand(command) {
  readTable();
  const request = { command, rows: state.rows, clipboard };
  if (selected && selected.last < state.rows.length) Object.assign(request, selected);
  holdTable(true);
  let answer;
  try {
    answer = await api.postJson('/api/cleanup/edit', request);
  } finally {
    holdTable(false);
  }
  if (!answer.ok) { if (answer.message) message(answer.message); return; }
  state.rows = answer.rows;
  clipboard = answer.clipboard;
  if (answer.changed) { state.changed = true; counts = []; problems = new Map(); }
  if (command === 'addend') selected = { first: state.rows.length - 1, last: state.rows.length - 1 };
  else if (command === 'moveup' && selected && selected.first > 0) selected = { first: selected.first - 1, last: selected.last - 1 };
  else if (command === 'movedown' && selected && selected.last + 1 < state.rows.length) selected = { first: selected.first + 1, last: selected.last + 1 };
  else if (['delete', 'cut', 'clear'].includes(command)) selected = null;
  renderTable();
  if (command.startsWith('add') && selected) body.rows[command === 'addbefore' ? selected.first : command === 'addafter' ? selected.last + 1 : state.rows.length - 1]?.querySelector('input')?.focus();
}

$('RowCommands').replaceChildren(...ROW_COMMANDS.map(([command, id]) => {
  const button = document.createElement('button');
  button.type = 'button';
  button.id = 'Row_' + command;
  button.dataset.t = id;
  button.textContent = t(id);
  button.addEventListener('click', () => rowCommand(command));
  return button;
}));

function showTable(answer) {
  state = { name: answer.name, rows: answer.rows, comment: answer.comment || '', mode: answer.mode, changed: false, saved: true };
  $(state.mode === 4 ? 'Mode4B' : 'Mode3B').checked = true;
  selected = null;
  counts = [];
  problems = new Map();
  renderTable();
}

// The file list dialog: `title` its caption; resolves to the chosen or typed name, or null.
function chooseFile(titleId, typed = '') {
  $('CleanUpFilesTitle').textContent = t(titleId);
  const list = $('CleanUpFiles');
  list.multiple = titleId === 'cleanup.deleteTitle';
  list.replaceChildren(...folderFiles.map((name) => new Option(name, name)));
  $('CleanUpFileName').hidden = titleId !== 'cleanup.saveAsTitle';
  $('CleanUpFileName').value = typed;
  list.onchange = () => { $('CleanUpFileName').value = list.value; };
  picker.returnValue = '';
  picker.showModal();
  return new Promise((resolve) => {
    picker.addEventListener('close', () => {
      if (picker.returnValue !== 'ok') return resolve(null);
      if (list.multiple) return resolve([...list.selectedOptions].map((option) => option.value));
      resolve($('CleanUpFileName').hidden ? list.value : $('CleanUpFileName').value.trim());
    }, { once: true });
  });
}

async function refreshFiles() {
  const answer = await api.getJson('/api/cleanup/files');
  folderFiles = answer.files;
  for (const [slot, id] of [['before', 'InBeforeFormatL'], ['after', 'InAfterFormatL'], ['output', 'OutputL']]) {
    const value = answer.slots[slot];
    $(id).textContent = value.file === 'none' ? t('cleanup.none') : value.found ? value.file : `${value.file}: ${t('cleanup.fileNotFound')}`;
    $(id).classList.toggle('missing', !value.found);
  }
  $('FontDlg_BookCleanerFont').value = answer.fontSize;
  $('TableFontBold').checked = answer.fontWeight === 'bold';
  applyFont();
}

function applyFont() {
  const table = $('CleanUpTable');
  table.style.fontSize = $('FontDlg_BookCleanerFont').value;
  table.style.fontWeight = $('TableFontBold').checked ? 'bold' : 'normal';
}

async function keepFont() {
  applyFont();
  await api.postJson('/api/cleanup/slots', { fontSize: $('FontDlg_BookCleanerFont').value,
                                             fontWeight: $('TableFontBold').checked ? 'bold' : 'normal' });
}

async function save(name, replace = false) {
  readTable();
  const answer = await api.postJson('/api/cleanup/save', { name, rows: state.rows, comment: state.comment,
                                                           mode: $('Mode4B').checked ? 4 : 3, replace });
  if (answer.exists) {
    if (await ask(`${t('cleanup.fileExists')}\n${answer.path}\n${t('cleanup.replace')}`) !== 'yes') return false;
    return save(name, true);
  }
  if (!answer.ok) { message(answer.error || ''); return false; }
  state.name = answer.name;
  state.changed = false;
  state.saved = true;
  caption();
  await refreshFiles();
  return true;
}

async function dropChanges() {
  readTable();
  return !state.changed || (await ask(t('cleanup.unsaved'))) === 'yes';
}

async function run(selection) {
  readTable();
  const request = { rows: state.rows, selection };
  let range = null;
  if (selection) {
    range = editor.selectionRange();
    request.hasSelection = Boolean(range);
    request.usable = true;
    if (range) {
      const holder = editor.bookDocument().createElement('div');
      try { holder.append(range.cloneContents()); } catch { request.usable = false; }
      request.html = holder.innerHTML;
    }
  } else {
    await editor.sync();
    request.html = editor.bookDocument().body.innerHTML;
  }
  const answer = await api.postJson('/api/cleanup/run', request);
  problems = new Map((answer.problems || []).map((problem) => [problem.row, problem.message]));
  counts = answer.counts || [];
  renderTable();
  if (answer.problems && answer.problems.length) { message(t('cleanup.badRows')); return; }
  if (answer.ok) {
    const label = t('cleanup.step');
    if (selection) editor.replaceRange(label, range, answer.html);
    else editor.applyServerDocument(label, answer.html);
    $('CleanUpCaption').dataset.done = t('cleanup.done', counts.reduce((sum, count) => sum + count, 0));
  }
  await api.poll();
}

function wire() {
  $('NewTableB').addEventListener('click', async () => {
    if (!await dropChanges()) return;
    showTable({ name: NEW_NAME, rows: [], comment: t('cleanup.newComment'), mode: 3 });
    state.saved = false;
    caption();
  });
  $('LoadB').addEventListener('click', async () => {
    if (!await dropChanges()) return;
    await refreshFiles();
    const name = await chooseFile('cleanup.loadTitle');
    if (!name) return;
    const answer = await api.postJson('/api/cleanup/load', { name });
    if (answer.ok) showTable(answer); else message(answer.error);
  });
  $('SaveB').addEventListener('click', () => (state.saved ? save(state.name, true) : saveAs()));
  $('SaveAsB').addEventListener('click', saveAs);
  $('DeleteFileB').addEventListener('click', async () => {
    await refreshFiles();
    const names = await chooseFile('cleanup.deleteTitle');
    if (!names || !names.length) return;
    await api.postJson('/api/cleanup/delete', { names });
    await refreshFiles();
  });
  $('ImportB').addEventListener('click', () => $('ImportFile').click());
  $('ImportFile').addEventListener('change', async (event) => {
    const file = event.target.files[0];
    event.target.value = '';
    if (!file) return;
    const answer = await api.postJson('/api/cleanup/import', { name: file.name, text: await file.text() });
    if (answer.ok) { showTable(answer); await refreshFiles(); }
    await api.poll();
  });
  $('CommentB').addEventListener('click', () => {
    $('CleanUpComment').innerHTML = state.comment || t('cleanup.newComment');
    commentDialog.returnValue = '';
    commentDialog.showModal();
  });
  commentDialog.addEventListener('close', () => {
    if (commentDialog.returnValue !== 'ok') return;
    state.comment = $('CleanUpComment').innerHTML;
    state.changed = true;
    caption();
  });
  $('HelpB').addEventListener('click', () => window.open(`/web/PW_BookCleaner${language() === 'ru' ? 'Rus' : 'Eng'}.html`, '_blank'));
  $('FontDlg_BookCleanerFont').replaceChildren(...FONT_SIZES.map((size) => new Option(size, size)));
  $('FontDlg_BookCleanerFont').addEventListener('change', keepFont);
  $('TableFontBold').addEventListener('change', keepFont);
  for (const radio of dialog.querySelectorAll('[name=CleanUpMode]')) radio.addEventListener('change', () => { state.changed = true; caption(); });
  for (const slot of dialog.querySelectorAll('.slot')) {
    slot.querySelector('.put').addEventListener('click', async () => {
      if (!state.saved) return;
      await api.postJson('/api/cleanup/slots', { [slot.dataset.slot]: state.name });
      await refreshFiles();
    });
    slot.querySelector('.clear').addEventListener('click', async () => {
      await api.postJson('/api/cleanup/slots', { [slot.dataset.slot]: 'none' });
      await refreshFiles();
    });
  }
  $('CleanAllB').addEventListener('click', () => run(false));
  $('CleanSelB').addEventListener('click', () => run(true));
}

async function saveAs() {
  await refreshFiles();
  const name = await chooseFile('cleanup.saveAsTitle', state.saved ? state.name : '');
  if (name) await save(name);
}

wire();
onLanguage(() => { caption(); renderTable(); refreshFiles(); });

export async function open() {
  await refreshFiles();
  if (!state.saved && !state.changed && state.rows.length === 0) {
    state.comment = t('cleanup.newComment');
  }
  renderTable();
  if (!dialog.open) dialog.show();
}

registerCommand({ id: 'MnCleanUpF', menu: 'BookMenu', order: 70, label: 'cleanup.menu', run: open });
