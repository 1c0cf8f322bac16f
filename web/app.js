// The workshop page: wires the modules together. Each module owns its commands, texts and
// forms; this file only names the menus, connects the editor's keys to the command table,
// shows the book the server holds, and starts the status stream.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, useServerTexts, translate } from './i18n.js';
import { registerMenu, handleKey } from './menus.js';
import './status.js';
import './book.js';
import './operations.js';
import './elements.js';
import './view.js';
import './dialogs/MessageDialog.js';
import './dialogs/OpenDialog.js';
import './dialogs/UnRarF.js';
import './dialogs/Fb2F.js';
import './dialogs/Fb2Description.js';
import './pictures.js';
import './dialogs/MakePwFileF.js';
import './dialogs/Fb2SectionEditorF.js';
import './dialogs/PwReader.js';
import './dialogs/CleanUpF.js';
import './dialogs/ValidParEndsF.js';
import './paragraphs.js';
import './dialogs/ToolFloatF.js';
import './dialogs/InputSettingsF.js';
import './dialogs/SettingsF.js';
import './dialogs/FindReplaceF.js';

registerTexts({
  en: { 'menu.file': 'File', 'menu.edit': 'Edit', 'menu.format': 'Format', 'menu.book': 'Book', 'menu.view': 'View' },
  ru: { 'menu.file': 'Файл', 'menu.edit': 'Правка', 'menu.format': 'Формат', 'menu.book': 'Книга', 'menu.view': 'Вид' },
});

registerMenu('FileMenu', 'menu.file', 10);
registerMenu('EditMenu', 'menu.edit', 20);
registerMenu('FormatMenu', 'menu.format', 30);
registerMenu('BookMenu', 'menu.book', 40);
registerMenu('ViewMenu', 'menu.view', 50);

editor.setKeyHandler(handleKey);
translate(document);

api.onState((state) => {
  if (!state) return;
  useServerTexts(state.texts);
  if (state.version !== editor.shownVersion()) editor.show(state.version);
});
api.startPolling();
