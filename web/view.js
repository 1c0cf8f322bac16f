// The View menu: the interface language (kept in the settings record) and the editor's line
// length (about 75 characters, or the full width of the window), in the editor font of the
// settings.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, t, language, setLanguage } from './i18n.js';
import { registerCommand } from './menus.js';

registerTexts({
  en: { 'view.english': 'English', 'view.russian': 'Russian', 'view.fullWidth': 'Full-width lines' },
  ru: { 'view.english': 'Английский', 'view.russian': 'Русский', 'view.fullWidth': 'Строки во всю ширину' },
});

const WIDTH_KEY = 'pagewright.fullWidth';
let fullWidth = localStorage.getItem(WIDTH_KEY) === '1';
let font = { family: '', size: '' };

// The rules the page adds to the book's frame; they never reach the book itself.
function pageStyle() {
  const family = font.family ? `font-family: "${font.family.replaceAll('"', '')}", serif;` : '';
  const width = fullWidth ? '' : 'max-width: 75ch !important; margin-left: auto !important; margin-right: auto !important;';
  return `body { ${width} ${family} padding: 0 1.5em 2em; }\n::highlight(pw-find) { background: #ffd54a; color: black; }`;
}

function applyStyle() { editor.setPageStyle(pageStyle()); }

// Changes the interface language everywhere at once and keeps it in the settings record.
let switchedAt = 0;
export async function switchLanguage(next) {
  if (!setLanguage(next)) return;
  switchedAt = Date.now();
  try { await api.postJson('/api/language', { language: next }); } catch { /* the next start asks again */ }
  await api.poll();
}

const mark = (on) => (on ? '✓ ' : '');
registerCommand({ id: 'MnLanguageEnglish', menu: 'ViewMenu', order: 10, label: 'view.english',
                  dynamicLabel: () => mark(language() === 'en') + t('view.english'), run: () => switchLanguage('en') });
registerCommand({ id: 'MnLanguageRussian', menu: 'ViewMenu', order: 11, label: 'view.russian',
                  dynamicLabel: () => mark(language() === 'ru') + t('view.russian'), run: () => switchLanguage('ru') });
registerCommand({ id: 'MnFullWidth', menu: 'ViewMenu', order: 20, label: 'view.fullWidth',
                  dynamicLabel: () => mark(fullWidth) + t('view.fullWidth'),
                  run: () => { fullWidth = !fullWidth; localStorage.setItem(WIDTH_KEY, fullWidth ? '1' : '0'); applyStyle(); } });

applyStyle();
api.onState((state) => {
  if (!state) return;
  // A poll answered before the switch reached the server does not switch back.
  if (state.language && Date.now() - switchedAt > 3000) setLanguage(state.language);
  if (state.editorFont && state.editorFont !== font.family) {
    font = { family: state.editorFont };
    applyStyle();
  }
});
