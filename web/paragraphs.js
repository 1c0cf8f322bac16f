// The paragraph lists beside the book (under the element list): bad sentence ends, short,
// empty and lower-case paragraphs as the server finds them; a click selects the paragraph and
// "join with next" joins it with the one after it as one step. Also the Book menu's
// hyphenation commands.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, t, textElement, translate, onLanguage } from './i18n.js';
import { registerCommand } from './menus.js';
import { onEndsChanged } from './dialogs/ValidParEndsF.js';

registerTexts({
  en: { 'paragraphs.heading': 'Paragraphs', 'paragraphs.badends': 'bad sentence ends', 'paragraphs.short': 'short paragraphs',
        'paragraphs.empty': 'empty paragraphs', 'paragraphs.lowercase': 'lower-case starts', 'paragraphs.join': 'join with next',
        'paragraphs.refresh': 'find', 'paragraphs.none': 'none found', 'paragraphs.count': '{0} found',
        'hyphens.insert': 'Hyphenate', 'hyphens.remove': 'Remove hyphenation', 'hyphens.language': 'Hyphenation language…',
        'hyphens.auto': 'from the book' },
  ru: { 'paragraphs.heading': 'Абзацы', 'paragraphs.badends': 'плохие концы предложений', 'paragraphs.short': 'короткие абзацы',
        'paragraphs.empty': 'пустые абзацы', 'paragraphs.lowercase': 'начало со строчной', 'paragraphs.join': 'соединить со следующим',
        'paragraphs.refresh': 'найти', 'paragraphs.none': 'не найдено', 'paragraphs.count': 'найдено: {0}',
        'hyphens.insert': 'Расставить переносы', 'hyphens.remove': 'Убрать переносы', 'hyphens.language': 'Язык переносов…',
        'hyphens.auto': 'по книге' },
});

const CHECKS = ['badends', 'short', 'empty', 'lowercase'];
const LANGUAGES = ['auto', 'Russian', 'English', 'Spanish', 'German', 'French', 'Polish', 'Czech'];

const section = document.createElement('section');
section.id = 'ParagraphLists';
section.innerHTML = `<h2 data-t="paragraphs.heading"></h2>
  <select id="ParagraphCheck">${CHECKS.map((check) => `<option value="${check}" data-t="paragraphs.${check}"></option>`).join('')}</select>
  <button type="button" id="ParagraphFindB" data-t="paragraphs.refresh"></button>
  <div id="ParagraphCount"></div>
  <ol id="ParagraphList"></ol>`;
translate(section);
document.getElementById('elements').append(section);
const $ = (id) => document.getElementById(id);
let items = [];

// The paragraphs as the server counts them: "<DIV align=justify>" with no other attribute.
function paragraphs() {
  return [...editor.bookDocument().querySelectorAll('div[align="justify"]')].filter((div) => div.attributes.length === 1);
}

function selectParagraph(index) {
  const paragraph = paragraphs()[index];
  if (!paragraph) return;
  const doc = editor.bookDocument();
  const range = doc.createRange();
  range.selectNodeContents(paragraph);
  doc.getSelection().removeAllRanges();
  doc.getSelection().addRange(range);
  editor.reveal(paragraph);
  editor.frameElement().focus();
}

async function joinWithNext(index) {
  await editor.sync();
  const answer = await api.postJson('/api/body', { command: 'joinnext', paragraph: index,
                                                   html: editor.bookDocument().body.innerHTML });
  if (answer.changed && answer.html) {
    editor.applyServerDocument(t('paragraphs.join'), answer.html);
    selectParagraph(index);
  }
  await api.poll();
  await find();
}

export async function find() {
  const doc = editor.bookDocument();
  if (!doc?.body) return;
  const answer = await api.postJson('/api/paragraphs', { check: $('ParagraphCheck').value, html: doc.body.innerHTML });
  items = answer.items || [];
  $('ParagraphCount').textContent = items.length ? t('paragraphs.count', items.length) : t('paragraphs.none');
  $('ParagraphList').replaceChildren(...items.map((item) => {
    const li = document.createElement('li');
    li.dataset.index = String(item.index);
    const text = document.createElement('span');
    text.className = 'shown';
    text.textContent = item.shown || '\u2205';
    text.addEventListener('click', () => selectParagraph(item.index));
    const join = textElement('button', 'paragraphs.join', { type: 'button', class: 'join' });
    join.addEventListener('click', () => joinWithNext(item.index));
    li.append(text, join);
    return li;
  }));
}

$('ParagraphFindB').addEventListener('click', find);
$('ParagraphCheck').addEventListener('change', find);
onEndsChanged(() => { $('ParagraphCheck').value = 'badends'; find(); });
onLanguage(() => { if (items.length) find(); });

// Hyphenation: soft hyphens into the words of the paragraphs, in the book's language or a chosen
// one, and their removal; each one step.
let hyphenationLanguage = 'auto';
async function hyphenation(command, label) {
  await editor.sync();
  const answer = await api.postJson('/api/body', { command, language: hyphenationLanguage,
                                                   html: editor.bookDocument().body.innerHTML });
  if (answer.changed && answer.html) editor.applyServerDocument(label, answer.html);
  await api.poll();
}

const languageDialog = document.createElement('dialog');
languageDialog.id = 'HyphenationLanguageF';
languageDialog.innerHTML = `<form method="dialog"><h2 data-t="hyphens.language"></h2>
  <select id="HyphenationLanguage">${LANGUAGES.map((name) => `<option value="${name}">${name}</option>`).join('')}</select>
  <menu><button value="cancel">✕</button><button value="ok" id="HyphenationLanguageOk">OK</button></menu></form>`;
translate(languageDialog);
document.body.append(languageDialog);
languageDialog.querySelector('option[value=auto]').dataset.t = 'hyphens.auto';
translate(languageDialog);
languageDialog.addEventListener('close', () => {
  if (languageDialog.returnValue === 'ok') hyphenationLanguage = $('HyphenationLanguage').value;
});

registerCommand({ id: 'MnHyphenate', menu: 'BookMenu', order: 90, label: 'hyphens.insert',
                  run: () => hyphenation('hyphenate', t('hyphens.insert')) });
registerCommand({ id: 'MnRemoveHyphenation', menu: 'BookMenu', order: 91, label: 'hyphens.remove',
                  run: () => hyphenation('unhyphenate', t('hyphens.remove')) });
registerCommand({ id: 'MnHyphenationLanguage', menu: 'BookMenu', order: 92, label: 'hyphens.language',
                  run: () => { $('HyphenationLanguage').value = hyphenationLanguage; languageDialog.showModal(); } });
