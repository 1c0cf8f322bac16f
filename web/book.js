// The book session from the page: open, upload, recent files, empty book, reload, save, quit;
// the unsaved-changes question before anything replaces the book; the window caption.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, t, textElement } from './i18n.js';
import { registerCommand, registerSlot } from './menus.js';
import { ask } from './dialogs/MessageDialog.js';
import * as status from './status.js';

registerTexts({
  en: {
    'book.upload': 'Upload a book…', 'book.saved': 'Saved: {0}', 'book.notSaved': 'The book was not saved',
    'book.ended': 'The workshop has ended', 'book.endedHint': 'You can close this page.',
    'book.recent': 'Recent files', 'book.warnOff': 'Save changes without prompt',
  },
  ru: {
    'book.upload': 'Загрузить книгу…', 'book.saved': 'Сохранено: {0}', 'book.notSaved': 'Книга не сохранена',
    'book.ended': 'Мастерская завершила работу', 'book.endedHint': 'Эту страницу можно закрыть.',
    'book.recent': 'Последние файлы', 'book.warnOff': 'Сохранять изменения без вопроса',
  },
});

let state = { changed: false, warnUnsaved: true, caption: '', book: '', recent: [] };

// The last state the server reported.
export function serverState() { return state; }

// Whether the book has changes that are not saved, in the page or on the server.
export function hasUnsavedChanges() { return editor.isDirty() || state.changed; }

// Before a command replaces the book: saves, drops or keeps the changes as the user says.
// Resolves to null when the user cancelled, else to { discard } for the command's request.
export async function resolveUnsaved() {
  if (!hasUnsavedChanges()) return { discard: false };
  if (state.warnUnsaved === false) return (await save()) ? { discard: false } : null;
  const answer = await ask(t('unsaved'));
  if (answer === 'cancel') return null;
  if (answer === 'yes') return (await save()) ? { discard: false } : null;
  return { discard: true };
}

export async function save() {
  try {
    await editor.sync();
    const answer = await api.postJson('/api/command', { name: 'save' });
    await api.poll();
    if (!answer.ok) {
      status.note(t('book.notSaved'));
      return false;
    }
    editor.markSaved();
    status.note(t('book.saved', answer.savedAs || state.book));
    return true;
  } catch {
    status.note(t('book.notSaved'));
    return false;
  }
}

// The archive form registers itself here: an archive's path goes to it, to choose the book.
let archiveChooser = null;
export function setArchiveChooser(chooser) { archiveChooser = chooser; }

// Opens `path` (a file on this machine) as the book, after the unsaved-changes question.
export async function openPath(path) {
  if (archiveChooser && /\.(zip|rar)$/i.test(path)) return archiveChooser(path);
  const unsaved = await resolveUnsaved();
  if (!unsaved) return false;
  const answer = await api.postJson('/api/open', { path, ...unsaved });
  await api.poll();
  return answer.ok;
}

async function command(name) {
  const unsaved = await resolveUnsaved();
  if (!unsaved) return;
  await api.postJson('/api/command', { name, ...unsaved });
  await api.poll();
}

async function upload(file) {
  const unsaved = await resolveUnsaved();
  if (!unsaved) return;
  const form = new FormData();
  form.append('book', file, file.name);
  const response = await api.request('/api/upload' + (unsaved.discard ? '?discard=1' : ''), { method: 'POST', body: form });
  await api.poll();
  // An archive of several books: the server keeps the upload, the form asks which one.
  if (archiveChooser) {
    const answer = await response.json().catch(() => ({}));
    if (answer.choose && answer.path) await archiveChooser(answer.path, unsaved);
  }
}

async function quit() {
  const unsaved = await resolveUnsaved();
  if (!unsaved) return;
  try {
    await api.postJson('/api/command', { name: 'quit', ...unsaved });
  } finally {
    api.markEnded();
  }
}

function showCaption() {
  const unsaved = hasUnsavedChanges();
  const name = state.caption || '';
  const caption = document.getElementById('caption');
  caption.textContent = name ? `${name}${unsaved ? ' *' : ''}` : '';
  caption.classList.toggle('unsaved', unsaved);
  document.title = name ? `${unsaved ? '* ' : ''}${name} - Pagewright` : 'Pagewright';
}

const uploadLabel = document.createElement('label');
uploadLabel.className = 'upload';
const uploadInput = document.createElement('input');
uploadInput.type = 'file';
uploadInput.id = 'UploadBook';
uploadLabel.append(textElement('span', 'book.upload'), uploadInput);
uploadInput.addEventListener('change', async () => {
  const file = uploadInput.files[0];
  if (file) await upload(file);
  uploadInput.value = '';
});
const recent = document.createElement('div');
recent.id = 'RecentFiles';
recent.setAttribute('role', 'group');
recent.dataset.tLabel = 'book.recent';

registerSlot('FileMenu', uploadLabel, 15);
registerSlot('FileMenu', recent, 17);
registerCommand({ id: 'MnEmptyBook', menu: 'FileMenu', order: 20, label: { en: 'Empty book', ru: 'Пустая книга' },
                  run: () => command('empty') });
registerCommand({ id: 'MnReloadBook', menu: 'FileMenu', order: 25, label: { en: 'Reload book', ru: 'Загрузить заново' },
                  run: () => command('reload'), canRun: () => state.recent.length > 0 });
registerCommand({ id: 'MnSave', menu: 'FileMenu', order: 30, label: { en: 'Save', ru: 'Сохранить' }, key: 'Ctrl+S',
                  global: true, run: save });
registerCommand({ id: 'MnSaveWithoutPrompt', menu: 'FileMenu', order: 85, label: 'book.warnOff',
                  dynamicLabel: () => (state.warnUnsaved === false ? '✓ ' : '') + t('book.warnOff'),
                  run: async () => { await api.postJson('/api/unsaved-warning', { warn: state.warnUnsaved === false }); await api.poll(); } });
registerCommand({ id: 'MnQuit', menu: 'FileMenu', order: 99, label: { en: 'Quit', ru: 'Выход' }, run: quit });

api.onState((next) => {
  if (next === null) {
    showEnded();
    return;
  }
  state = next;
  recent.replaceChildren(...state.recent.map((file) => {
    const button = document.createElement('button');
    button.type = 'button';
    button.textContent = file;
    button.title = file;
    button.addEventListener('click', () => openPath(file));
    return button;
  }));
  showCaption();
});
editor.onChange(showCaption);

// After the workshop ended: a notice instead of the window, and no request any more.
function showEnded() {
  const notice = document.createElement('div');
  notice.id = 'EndedNotice';
  notice.append(textElement('h1', 'book.ended'), textElement('p', 'book.endedHint'));
  document.getElementById('Form1').hidden = true;
  for (const open of document.querySelectorAll('dialog[open]')) open.close();
  document.body.append(notice);
  document.title = t('book.ended');
}

// Edits not yet sent reach the server when the page goes away.
window.addEventListener('pagehide', () => {
  if (!editor.isDirty() || api.hasEnded()) return;
  const html = editor.documentHtml();
  if (html.length < 60000) navigator.sendBeacon?.('/api/document?changed=1', new Blob([html], { type: 'text/html' }));
});
