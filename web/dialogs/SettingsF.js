// SettingsF: what the settings record holds and a user changes — interface language, editor
// font and size, element colours (with a reset to the defaults), the signature, the
// unsaved-changes warning, the default dash style and encodings, the outside programs. Each
// change goes to the settings file at once, so that a crash loses nothing.

import * as api from '../api.js';
import { registerTexts, t, translate } from '../i18n.js';
import { switchLanguage } from '../view.js';
import { registerCommand } from '../menus.js';
import { message } from './MessageDialog.js';

registerTexts({
  en: { 'settings.caption': 'Settings', 'settings.language': 'Interface language', 'settings.font': 'Editor font',
        'settings.size': 'Size', 'settings.weight': 'Weight', 'settings.colours': 'Element colours',
        'settings.reset': 'Reset colours', 'settings.sign': 'Sign saved books', 'settings.warn': 'Warn about unsaved changes',
        'settings.dashes': 'Dash style', 'settings.encoding': 'FB2 encoding', 'settings.charset': 'HTML output charset',
        'settings.programs': 'Outside e-book programs (one a line)', 'settings.word': 'Office suite',
        'settings.pdf': 'PDF to HTML program', 'settings.validator': 'FB2 validator', 'settings.close': 'Close',
        'settings.pdfTimeout': 'PDF program time-out, seconds', 'settings.officeTimeout': 'Office suite time-out, seconds',
        'settings.menu': 'Settings…', 'settings.refused': 'Not kept: ', 'settings.lastBook': 'Open the last book at start',
        'colour.bookAuthor': 'book author', 'colour.bookTitle': 'book title', 'colour.title': 'title',
        'colour.subtitle': 'subtitle', 'colour.verse': 'verse', 'colour.epigraph': 'epigraph',
        'colour.textAuthor': 'text author', 'colour.annotation': 'annotation', 'colour.cite': 'cite',
        'colour.noteBlock': 'note block' },
  ru: { 'settings.caption': 'Настройки', 'settings.language': 'Язык интерфейса', 'settings.font': 'Шрифт редактора',
        'settings.size': 'Размер', 'settings.weight': 'Насыщенность', 'settings.colours': 'Цвета элементов',
        'settings.reset': 'Сбросить цвета', 'settings.sign': 'Подписывать сохранённые книги',
        'settings.warn': 'Предупреждать о несохранённых изменениях', 'settings.dashes': 'Тире',
        'settings.encoding': 'Кодировка FB2', 'settings.charset': 'Кодировка HTML', 'settings.programs':
        'Внешние программы для книг (по одной в строке)', 'settings.word': 'Офисный пакет',
        'settings.pdf': 'Программа PDF в HTML', 'settings.validator': 'Проверка FB2', 'settings.close': 'Закрыть',
        'settings.pdfTimeout': 'Время ожидания программы PDF, секунд', 'settings.officeTimeout': 'Время ожидания офисного пакета, секунд',
        'settings.menu': 'Настройки…', 'settings.refused': 'Не сохранено: ', 'settings.lastBook': 'Открывать последнюю книгу при запуске',
        'colour.bookAuthor': 'автор книги', 'colour.bookTitle': 'название книги', 'colour.title': 'заголовок',
        'colour.subtitle': 'подзаголовок', 'colour.verse': 'стихи', 'colour.epigraph': 'эпиграф',
        'colour.textAuthor': 'автор текста', 'colour.annotation': 'аннотация', 'colour.cite': 'цитата',
        'colour.noteBlock': 'блок сносок' },
});

// Fields of the form: [setting, element id, text id, kind]; kind "choice" reads its options
// from the server's choices, "text" is free text, "flag" a check box, "number" whole seconds.
const FIELDS = [
  ['editorFont', 'EditorFontT', 'settings.font', 'text'], ['editorFontSize', 'EditorFontSizeL', 'settings.size', 'choice'],
  ['editorFontWeight', 'EditorFontWeightL', 'settings.weight', 'choice'], ['signBooks', 'SignBooksB', 'settings.sign', 'flag'],
  ['warnUnsaved', 'WarnUnsavedB', 'settings.warn', 'flag'], ['openLastBook', 'OpenLastBookB', 'settings.lastBook', 'flag'],
  ['dashStyle', 'DashStyleL', 'settings.dashes', 'choice'], ['fb2Encoding', 'Fb2EncodingL', 'settings.encoding', 'choice'],
  ['outputCharset', 'OutputCharsetL', 'settings.charset', 'choice'], ['wordProcessorPath', 'WordProcessorT', 'settings.word', 'text'],
  ['pdfToHtmlPath', 'PdfToHtmlT', 'settings.pdf', 'text'], ['validatorPath', 'ValidatorT', 'settings.validator', 'text'],
  ['officeToolTimeout', 'OfficeTimeoutN', 'settings.officeTimeout', 'number'],
  ['pdfToolTimeout', 'PdfTimeoutN', 'settings.pdfTimeout', 'number'],
];

const dialog = document.createElement('dialog');
dialog.id = 'SettingsF';
dialog.innerHTML = `<form method="dialog">
  <h2 data-t="settings.caption"></h2>
  <label><span data-t="settings.language"></span> <select id="InterfaceLanguageL"><option value="en">English</option><option value="ru">Русский</option></select></label>
  ${FIELDS.map(([, id, text, kind]) => kind === 'flag'
    ? `<label><input type="checkbox" id="${id}"> <span data-t="${text}"></span></label>`
    : `<label><span data-t="${text}"></span> ${kind === 'choice' ? `<select id="${id}"></select>`
      : kind === 'number' ? `<input id="${id}" type="number" min="1" max="86400" step="1">` : `<input id="${id}" size="40">`}</label>`).join('')}
  <fieldset id="ElementColours"><legend data-t="settings.colours"></legend></fieldset>
  <button type="button" id="ResetColoursB" data-t="settings.reset"></button>
  <label><span data-t="settings.programs"></span> <textarea id="OutsideProgramsT" rows="3" cols="50"></textarea></label>
  <menu><button value="close" data-t="settings.close"></button></menu>
</form>`;
translate(dialog);
document.body.append(dialog);
const $ = (id) => document.getElementById(id);

async function change(values) {
  const answer = await api.postJson('/api/settings', values);
  if (answer.refused) message(t('settings.refused') + answer.refused.join(', '));
  else show(answer);
  return answer;
}

function show(settings) {
  $('InterfaceLanguageL').value = settings.interfaceLanguage;
  for (const [name, id, , kind] of FIELDS) {
    const element = $(id);
    if (kind === 'choice') element.replaceChildren(...settings.choices[name].map((value) => new Option(value, value)));
    if (kind === 'flag') element.checked = settings[name]; else element.value = settings[name];
  }
  $('ElementColours').querySelectorAll('label').forEach((label) => label.remove());
  for (const [name, value] of Object.entries(settings.colours)) {
    const label = document.createElement('label');
    label.innerHTML = `<input type="color" id="Colour_${name}"> <span data-t="colour.${name}"></span>`;
    translate(label);
    const input = label.querySelector('input');
    input.value = value.length === 4 ? '#' + [...value.slice(1)].map((c) => c + c).join('') : value.toLowerCase();
    input.addEventListener('change', () => change({ colours: { [name]: input.value } }));
    $('ElementColours').append(label);
  }
  $('OutsideProgramsT').value = settings.outsidePrograms.join('\n');
}

$('InterfaceLanguageL').addEventListener('change', () => switchLanguage($('InterfaceLanguageL').value));
for (const [name, id, , kind] of FIELDS) {
  const value = () => (kind === 'flag' ? $(id).checked : kind === 'number' ? Number($(id).value) : $(id).value);
  $(id).addEventListener('change', () => change({ [name]: value() }));
}
$('ResetColoursB').addEventListener('click', () => change({ resetColours: true }));
$('OutsideProgramsT').addEventListener('change', () =>
  change({ outsidePrograms: $('OutsideProgramsT').value.split('\n').map((line) => line.trim()).filter(Boolean) }));

export async function open() {
  show(await api.getJson('/api/settings'));
  dialog.returnValue = '';
  dialog.showModal();
}

registerCommand({ id: 'MnSettingsF', menu: 'FileMenu', order: 65, label: 'settings.menu', run: open });
