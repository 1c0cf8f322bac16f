// InputSettingsF, the import settings: paragraph mode, language and code page of sources, and
// the three clean-up slots. Kept in the settings file at once; the next book opened (and
// `convert` without its options) uses them.

import * as api from '../api.js';
import { registerTexts, t, translate } from '../i18n.js';
import { registerCommand } from '../menus.js';
import { message } from './MessageDialog.js';

registerTexts({
  en: { 'input.caption': 'Import settings', 'input.mode': 'Paragraph mode', 'input.language': 'Language',
        'input.codepage': 'Code page', 'input.before': 'Clean-up before formatting', 'input.after': 'Clean-up after formatting',
        'input.output': 'Clean-up on output', 'input.none': 'none', 'input.cancel': 'Cancel', 'input.ok': 'OK',
        'input.menu': 'Import settings…', 'input.refused': 'Not kept: ' },
  ru: { 'input.caption': 'Настройки импорта', 'input.mode': 'Режим абзацев', 'input.language': 'Язык',
        'input.codepage': 'Кодовая страница', 'input.before': 'Чистка до форматирования', 'input.after': 'Чистка после форматирования',
        'input.output': 'Чистка при выводе', 'input.none': 'нет', 'input.cancel': 'Отмена', 'input.ok': 'OK',
        'input.menu': 'Настройки импорта…', 'input.refused': 'Не сохранено: ' },
});

const CHOICES = [['mode', 'paragraphMode'], ['lang', 'importLanguage'], ['codepage', 'importCodePage']];
const SLOTS = [['before', 'InBeforeSlot'], ['after', 'InAfterSlot'], ['output', 'OutputSlot']];

const dialog = document.createElement('dialog');
dialog.id = 'InputSettingsF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="input.caption"></h2>
  <label><span data-t="input.mode"></span> <select id="ParagraphModeL"></select></label>
  <label><span data-t="input.language"></span> <select id="LanguageL"></select></label>
  <label><span data-t="input.codepage"></span> <select id="CodePageL"></select></label>
  ${SLOTS.map(([slot, id]) => `<label><span data-t="input.${slot}"></span> <select id="${id}"></select></label>`).join('')}
  <menu><button value="cancel" data-t="input.cancel"></button><button type="button" id="InputSettingsOkB" data-t="input.ok"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const $ = (id) => document.getElementById(id);
const SELECTS = { mode: 'ParagraphModeL', lang: 'LanguageL', codepage: 'CodePageL' };

function fill(select, values, chosen, labels = {}) {
  select.replaceChildren(...values.map((value) => new Option(labels[value] ?? value, value)));
  select.value = chosen;
}

// The settings are kept before the form closes, so the next open already uses them.
$('InputSettingsOkB').addEventListener('click', async () => {
  const change = {};
  for (const [name] of CHOICES) change[name] = $(SELECTS[name]).value;
  const answer = await api.postJson('/api/settings', change);
  if (!answer.ok && answer.refused) message(t('input.refused') + answer.refused.join(', '));
  const slots = Object.fromEntries(SLOTS.map(([slot, id]) => [slot, $(id).value]));
  await api.postJson('/api/cleanup/slots', slots);
  dialog.close('ok');
});

export async function open() {
  const [settings, files] = await Promise.all([api.getJson('/api/settings'), api.getJson('/api/cleanup/files')]);
  for (const [name] of CHOICES) fill($(SELECTS[name]), settings.choices[name], settings[name]);
  for (const [slot, id] of SLOTS) {
    const current = files.slots[slot].file;
    const names = ['none', ...files.files];
    if (!names.includes(current)) names.push(current);
    fill($(id), names, current, { none: t('input.none') });
  }
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnInputSettingsF', menu: 'FileMenu', order: 60, label: 'input.menu', run: open });
