// ReaderSettings: the reader's fonts per element kind, its colours, and the auto-scroll type
// with the speed each type keeps. Opened from the reader; every change is kept at once.

import { registerTexts, translate, t, onLanguage } from '../i18n.js';

const KINDS = {
  text: ['Text', 'Текст'], bookAuthor: ['Book author', 'Автор книги'], bookTitle: ['Book title', 'Название книги'],
  title: ['Title', 'Заголовок'], subtitle: ['Subtitle', 'Подзаголовок'], epigraph: ['Epigraph', 'Эпиграф'],
  verse: ['Verse', 'Стихи'], cite: ['Cite', 'Цитата'], textAuthor: ['Text author', 'Автор текста'],
  notes: ['Notes', 'Примечания'],
};
registerTexts({
  en: { ...Object.fromEntries(Object.entries(KINDS).map(([kind, [en]]) => [`readerSettings.kind.${kind}`, en])),
        'readerSettings.heading': 'Reader settings', 'readerSettings.kind': 'Element', 'readerSettings.face': 'Font',
        'readerSettings.size': 'Size', 'readerSettings.bold': 'Bold', 'readerSettings.colour': 'Colour', 'readerSettings.textColour': 'Text colour',
        'readerSettings.background': 'Background', 'readerSettings.scrollType': 'Scroll by',
        'readerSettings.pixels': 'pixels', 'readerSettings.lines': 'lines', 'readerSettings.symbols': 'symbols',
        'readerSettings.speed': 'Speed', 'readerSettings.unit': '1/sec', 'readerSettings.close': 'Close',
        'readerSettings.refused': 'Not kept: {0}' },
  ru: { ...Object.fromEntries(Object.entries(KINDS).map(([kind, [, ru]]) => [`readerSettings.kind.${kind}`, ru])),
        'readerSettings.heading': 'Настройки читалки', 'readerSettings.kind': 'Элемент', 'readerSettings.face': 'Шрифт',
        'readerSettings.size': 'Размер', 'readerSettings.bold': 'Жирный', 'readerSettings.colour': 'Цвет', 'readerSettings.textColour': 'Цвет текста',
        'readerSettings.background': 'Фон', 'readerSettings.scrollType': 'Прокрутка по',
        'readerSettings.pixels': 'точкам', 'readerSettings.lines': 'строкам', 'readerSettings.symbols': 'символам',
        'readerSettings.speed': 'Скорость', 'readerSettings.unit': '1/сек', 'readerSettings.close': 'Закрыть',
        'readerSettings.refused': 'Не сохранено: {0}' },
});

// The element colour each kind is shown in; text takes the page's text colour.
const KIND_COLOURS = {
  bookAuthor: 'bookAuthor', bookTitle: 'bookTitle', title: 'title', subtitle: 'subtitle', epigraph: 'epigraph',
  verse: 'verse', cite: 'cite', textAuthor: 'textAuthor', notes: 'noteBlock',
};

const dialog = document.createElement('dialog');
dialog.id = 'ReaderSettingsF';
dialog.innerHTML = `<form method="dialog">
  <h3 data-t="readerSettings.heading"></h3>
  <table class="reader-fonts"><thead><tr><th data-t="readerSettings.kind"></th><th data-t="readerSettings.face"></th>
    <th data-t="readerSettings.size"></th><th data-t="readerSettings.bold"></th><th data-t="readerSettings.colour"></th>
    </tr></thead><tbody></tbody></table>
  <div class="reader-options">
    <label><span data-t="readerSettings.textColour"></span> <input type="color" id="ReaderTextColour"></label>
    <label><span data-t="readerSettings.background"></span> <input type="color" id="ReaderBackground"></label>
  </div>
  <div class="reader-options">
    <label><span data-t="readerSettings.scrollType"></span> <select id="ScrollType">
      <option value="pixels" data-t="readerSettings.pixels"></option><option value="lines" data-t="readerSettings.lines"></option>
      <option value="symbols" data-t="readerSettings.symbols"></option></select></label>
    <label><span data-t="readerSettings.speed"></span> <input type="number" id="ScrollSpeed" min="0.1" max="1000" step="0.1">
      <span data-t="readerSettings.unit"></span></label>
  </div>
  <p id="ReaderSettingsRefused" class="refused" hidden></p>
  <menu><button value="close" data-t="readerSettings.close"></button></menu>
</form>`;
document.body.append(dialog);
const $ = (id) => dialog.querySelector(`#${id}`);
let state = null;
let keep = null;

function fontRow(kind) {
  const row = document.createElement('tr');
  row.dataset.kind = kind;
  const faces = state.faces.map((face) => `<option>${face}</option>`).join('');
  const colour = KIND_COLOURS[kind] ? '<input class="colour" type="color">' : '';
  row.innerHTML = `<td data-t="readerSettings.kind.${kind}"></td><td><select class="face">${faces}</select></td>
    <td><input class="size" type="number" min="6" max="96"></td><td><input class="bold" type="checkbox"></td>
    <td>${colour}</td>`;
  row.querySelector('.colour')?.addEventListener('change', (event) => {
    event.stopPropagation();
    save({ colours: { [KIND_COLOURS[kind]]: row.querySelector('.colour').value } });
  });
  row.addEventListener('change', () => save({ fonts: { [kind]: {
    face: row.querySelector('.face').value, size: Number(row.querySelector('.size').value),
    bold: row.querySelector('.bold').checked } } }));
  return row;
}

// Shows `state`; the field the user is in keeps what they are typing.
function fill() {
  const focused = document.activeElement;
  const set = (element, property, value) => { if (element && element !== focused) element[property] = value; };
  for (const row of dialog.querySelectorAll('tbody tr')) {
    const font = state.fonts[row.dataset.kind];
    set(row.querySelector('.face'), 'value', font.face);
    set(row.querySelector('.size'), 'value', font.size);
    set(row.querySelector('.bold'), 'checked', font.bold);
    set(row.querySelector('.colour'), 'value', colourInput(state.colours[KIND_COLOURS[row.dataset.kind]] || '#000000'));
  }
  set($('ReaderTextColour'), 'value', colourInput(state.textColour));
  set($('ReaderBackground'), 'value', colourInput(state.background));
  set($('ScrollType'), 'value', state.scrollType);
  set($('ScrollSpeed'), 'value', state.speeds[$('ScrollType').value]);
}

// "#F0F8FF" or a bare "000000" as the colour field wants it.
function colourInput(colour) {
  const hex = colour.startsWith('#') ? colour.slice(1) : colour;
  return `#${hex.length === 3 ? [...hex].map((c) => c + c).join('') : hex}`.toLowerCase();
}

let asked = 0;  // changes sent; only the answer to the last one fills the form

async function save(changes) {
  const mine = ++asked;
  const answer = await keep(changes);
  if (mine !== asked) return;
  const refused = $('ReaderSettingsRefused');
  refused.hidden = Boolean(answer && answer.ok !== false);
  if (!refused.hidden) refused.textContent = t('readerSettings.refused', ((answer && answer.refused) || []).join(', '));
  if (answer && answer.fonts) { state = answer; fill(); }
}

$('ReaderTextColour').addEventListener('change', () => save({ textColour: $('ReaderTextColour').value }));
$('ReaderBackground').addEventListener('change', () => save({ background: $('ReaderBackground').value }));
$('ScrollType').addEventListener('change', () => {
  $('ScrollSpeed').value = state.speeds[$('ScrollType').value];  // each type keeps its own speed
  save({ scrollType: $('ScrollType').value });
});
$('ScrollSpeed').addEventListener('change', () => save({ speeds: { [$('ScrollType').value]: Number($('ScrollSpeed').value) } }));
onLanguage(() => translate(dialog));

// Opens the dialog over `settings`; `keepChanges(changes)` keeps them and answers the settings.
export function open(settings, keepChanges) {
  state = settings;
  keep = keepChanges;
  dialog.querySelector('tbody').replaceChildren(...Object.keys(KINDS).map(fontRow));
  translate(dialog);
  $('ReaderSettingsRefused').hidden = true;
  dialog.showModal();
  fill();
}
