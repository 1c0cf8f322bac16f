// ValidParEndsF, "good paragraph ends": the characters a paragraph may end with (with the
// "chr(" code ")" notation for those that cannot be typed), kept in the settings. The bad
// sentence ends list uses them from "done" on.

import * as api from '../api.js';
import { registerTexts, t, translate } from '../i18n.js';
import { registerCommand } from '../menus.js';

registerTexts({
  en: { 'ends.caption': 'good paragraph ends', 'ends.preview': 'preview', 'ends.symbols': 'symbol preview',
        'ends.default': 'default', 'ends.cancel': 'cancel', 'ends.done': 'done', 'ends.menu': 'Good paragraph ends…' },
  ru: { 'ends.caption': 'правильные концы абзацев', 'ends.preview': 'просмотр', 'ends.symbols': 'символы',
        'ends.default': 'по умолчанию', 'ends.cancel': 'отмена', 'ends.done': 'готово', 'ends.menu': 'Правильные концы абзацев…' },
});

const dialog = document.createElement('dialog');
dialog.id = 'ValidParEndsF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="ends.caption"></h2>
  <input id="GoodParEndsT" size="40">
  <label><span data-t="ends.symbols"></span> <output id="GoodParEndsViewT"></output></label>
  <menu>
    <button type="button" id="PreviewB" data-t="ends.preview"></button>
    <button type="button" id="DefaultB" data-t="ends.default"></button>
    <button value="cancel" id="CancelB" data-t="ends.cancel"></button>
    <button value="ok" id="DoneB" data-t="ends.done"></button>
  </menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const $ = (id) => document.getElementById(id);
let builtIn = '';
const listeners = new Set();

export function onEndsChanged(listener) { listeners.add(listener); }

async function preview() {
  const answer = await api.postJson('/api/paragraph-ends', { typed: $('GoodParEndsT').value });
  $('GoodParEndsViewT').textContent = answer.preview;
}

$('PreviewB').addEventListener('click', preview);
$('DefaultB').addEventListener('click', () => { $('GoodParEndsT').value = builtIn; preview(); });
dialog.addEventListener('close', async () => {
  if (dialog.returnValue !== 'ok') return;
  await api.postJson('/api/paragraph-ends', { typed: $('GoodParEndsT').value, done: true });
  for (const listener of listeners) listener();
});

export async function open() {
  const answer = await api.getJson('/api/paragraph-ends');
  builtIn = answer.default;
  $('GoodParEndsT').value = answer.typed;
  $('GoodParEndsViewT').textContent = answer.preview;
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnValidParEndsF', menu: 'BookMenu', order: 80, label: 'ends.menu', run: open });
