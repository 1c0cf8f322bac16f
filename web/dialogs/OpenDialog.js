// OpenDialog: a book on this machine named by its path.

import { registerTexts, translate } from '../i18n.js';
import { registerCommand } from '../menus.js';
import { openPath } from '../book.js';

registerTexts({
  en: { 'open.path': 'Book on this machine', 'open.placeholder': '/home/me/books/book.txt', 'open.cancel': 'Cancel',
        'open.ok': 'Open' },
  ru: { 'open.path': 'Книга на этом компьютере', 'open.placeholder': 'путь к файлу книги', 'open.cancel': 'Отмена',
        'open.ok': 'Открыть' },
});

const dialog = document.createElement('dialog');
dialog.id = 'OpenDialog';
dialog.innerHTML = `<form method="dialog">
  <label><span data-t="open.path"></span> <input id="OpenPath" size="60" data-t-placeholder="open.placeholder"></label>
  <menu><button value="cancel" data-t="open.cancel"></button><button id="OpenOk" value="ok" data-t="open.ok"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const path = dialog.querySelector('#OpenPath');

dialog.addEventListener('close', () => {
  if (dialog.returnValue === 'ok' && path.value.trim()) openPath(path.value.trim());
});

export function open() {
  dialog.returnValue = '';
  dialog.showModal();
  path.focus();
  path.select();
}

registerCommand({ id: 'MnOpen', menu: 'FileMenu', order: 10, label: { en: 'Open…', ru: 'Открыть…' }, key: 'Ctrl+O',
                  global: true, run: open });
