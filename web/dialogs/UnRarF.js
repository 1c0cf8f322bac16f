// UnRarF: the files of a zip or rar archive; a click on a book's file name opens it as the book.
// An archive that holds one book opens it without asking.

import * as api from '../api.js';
import { registerTexts, translate, t } from '../i18n.js';
import { resolveUnsaved, setArchiveChooser } from '../book.js';
import * as status from '../status.js';

registerTexts({
  en: { 'unrar.heading': 'Files in the archive', 'unrar.hint': ' click on the file name to load it',
        'unrar.refused': 'refused', 'unrar.cancel': 'Cancel', 'unrar.noBook': 'The archive holds no book',
        'unrar.bytes': '{0} B', 'unrar.kilobytes': '{0} KB' },
  ru: { 'unrar.heading': 'Файлы в архиве', 'unrar.hint': ' для загрузки книги кликните на файл',
        'unrar.refused': 'отклонён', 'unrar.cancel': 'Отмена', 'unrar.noBook': 'В архиве нет книги',
        'unrar.bytes': '{0} Б', 'unrar.kilobytes': '{0} КБ' },
});

const dialog = document.createElement('dialog');
dialog.id = 'UnRarF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="unrar.heading"></h2>
  <p id="UnRarHint" data-t="unrar.hint"></p>
  <ul id="UnRarList"></ul>
  <menu><button value="cancel" data-t="unrar.cancel"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const list = dialog.querySelector('#UnRarList');

function sizeText(size) {
  if (size < 0) return '';
  return size < 1024 ? t('unrar.bytes', size) : t('unrar.kilobytes', Math.round(size / 1024));
}

async function openEntry(path, entry, answered) {
  const unsaved = answered || await resolveUnsaved();
  if (!unsaved) return false;
  const answer = await api.postJson('/api/archive/open', { path, entry, ...unsaved });
  await api.poll();
  return answer.ok;
}

// Shows the files of the archive at `path` (on this machine), or opens its only book.
// `unsaved` is the answer to the unsaved-changes question when it was asked already.
export async function open(path, unsaved = null) {
  const answer = await api.getJson('/api/archive?path=' + encodeURIComponent(path));
  if (!answer.ok) {
    status.note(answer.message || t('unrar.noBook'));
    return false;
  }
  // A list cut short (a solid archive too large to walk to its end) says so.
  if (answer.cut) status.note(answer.cut);
  const books = answer.members.filter((member) => member.book && !member.refused);
  if (books.length === 1) return openEntry(path, books[0].name, unsaved);
  if (books.length === 0) {
    status.note(t('unrar.noBook'));
    return false;
  }
  list.replaceChildren(...answer.members.map((member) => {
    const item = document.createElement('li');
    const name = document.createElement(member.book && !member.refused ? 'button' : 'span');
    name.textContent = member.name;
    name.className = 'UnRarFile';
    if (name.tagName === 'BUTTON') {
      name.type = 'button';
      name.addEventListener('click', () => {
        dialog.close('ok');
        openEntry(path, member.name, unsaved);
      });
    }
    const size = document.createElement('small');
    size.textContent = member.refused ? ` ${t('unrar.refused')}` : ` ${sizeText(member.size)}`;
    item.append(name, size);
    return item;
  }));
  dialog.returnValue = '';
  dialog.showModal();
  return true;
}

setArchiveChooser(open);
