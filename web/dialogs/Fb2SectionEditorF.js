// Fb2SectionEditorF: every title of the book with its section level; the section marks are
// written by the server when the levels are applied, as one step of the history.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t } from '../i18n.js';
import { registerCommand } from '../menus.js';

registerTexts({
  en: { 'sections.heading': 'FB2 section editor', 'sections.up': 'One level up', 'sections.down': 'One level deeper',
        'sections.remove': 'Remove', 'sections.flat': 'All level 1', 'sections.cancel': 'Cancel',
        'sections.apply': 'Apply', 'sections.step': 'FB2 sections' },
  ru: { 'sections.heading': 'Редактор разделов FB2', 'sections.up': 'На уровень выше',
        'sections.down': 'На уровень глубже', 'sections.remove': 'Убрать', 'sections.flat': 'Все на уровень 1',
        'sections.cancel': 'Отмена', 'sections.apply': 'Применить', 'sections.step': 'Разделы FB2' },
});

const dialog = document.createElement('dialog');
dialog.id = 'Fb2SectionEditorF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="sections.heading"></h2>
  <select id="SectionTitles" multiple size="14"></select>
  <menu class="section-buttons">
    <button type="button" id="LeftB" data-t-title="sections.up">&larr;</button>
    <button type="button" id="RightB" data-t-title="sections.down">&rarr;</button>
    <button type="button" id="RemoveB" data-t="sections.remove"></button>
    <button type="button" id="SkipLevelsB" data-t="sections.flat"></button>
  </menu>
  <menu><button value="cancel" data-t="sections.cancel"></button><button id="ApplyB" value="ok" data-t="sections.apply"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const list = dialog.querySelector('#SectionTitles');
let titles = [];  // {text, level, removed}

function showTitles() {
  const selected = new Set([...list.selectedOptions].map((option) => Number(option.value)));
  list.replaceChildren(...titles.flatMap((title, index) => {
    if (title.removed) return [];
    const option = document.createElement('option');
    option.value = String(index);
    option.textContent = '   '.repeat(title.level - 1) + title.text;
    option.selected = selected.has(index);
    return [option];
  }));
}

function changeLevels(step) {
  const kept = titles.filter((title) => !title.removed);
  for (const option of list.selectedOptions) {
    const title = titles[Number(option.value)];
    const position = kept.indexOf(title);
    const before = position > 0 ? kept[position - 1].level : 0;
    // The first title stays at level 1; a title is at most one level below the one before it.
    if (step > 0 && position > 0 && title.level + 1 <= before + 1) title.level += 1;
    if (step < 0 && title.level > 1) title.level -= 1;
  }
  showTitles();
}

async function apply() {
  const kept = titles.filter((title) => !title.removed);
  await editor.sync();
  const answer = await api.postJson('/api/sections', {
    levels: kept.map((title) => title.level), removed: titles.map((title) => title.removed),
  });
  if (answer.ok && answer.html) editor.applyServerDocument(t('sections.step'), answer.html);
  await api.poll();
}

dialog.querySelector('#RightB').addEventListener('click', () => changeLevels(1));
dialog.querySelector('#LeftB').addEventListener('click', () => changeLevels(-1));
dialog.querySelector('#RemoveB').addEventListener('click', () => {
  for (const option of list.selectedOptions) titles[Number(option.value)].removed = true;
  showTitles();
});
dialog.querySelector('#SkipLevelsB').addEventListener('click', () => {
  titles = titles.map((title) => ({ ...title, level: 1, removed: false }));
  showTitles();
});
dialog.addEventListener('close', () => { if (dialog.returnValue === 'ok') apply(); });

export async function open() {
  await editor.sync();
  const answer = await api.getJson('/api/titles');
  titles = answer.titles.map((text) => ({ text, level: 1, removed: false }));
  showTitles();
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnSectionEditor', menu: 'BookMenu', order: 60,
                  label: { en: 'FB2 section editor…', ru: 'Редактор разделов FB2…' }, run: open });
