// PwReader: the book in pages of a chosen geometry, with reading fonts and colours, zoom, page
// numbers, auto-scroll, an alarm clock and the temporary bookmark that keeps the place.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t, onLanguage } from '../i18n.js';
import { registerCommand } from '../menus.js';
import * as readerSettings from './ReaderSettings.js';

// The page geometries by the names the server gives them.
const GEOMETRY_NAMES = {
  'full screen': 'весь экран', 'standard book': 'обычная книга', 'pocket book': 'карманная книга',
  'small square (160x160)': 'малый квадрат (160x160)', 'square (320x320)': 'квадрат (320x320)',
  'handheld (320x480)': 'карманное устройство (320x480)', 'small handheld (200x240)': 'малое карманное устройство (200x240)',
  'handheld (240x320)': 'карманное устройство (240x320)', 'large handheld (480x640)': 'большое карманное устройство (480x640)',
  user: 'свой размер',
};
registerTexts({
  en: Object.fromEntries(Object.keys(GEOMETRY_NAMES).map((name) => [`reader.geometry.${name}`, name])),
  ru: Object.fromEntries(Object.entries(GEOMETRY_NAMES).map(([name, text]) => [`reader.geometry.${name}`, text])),
});

registerTexts({
  en: { 'reader.page': 'Page', 'reader.scroll': 'Scroll', 'reader.stop': 'Stop', 'reader.scrollTip': 'Automatic scrolling',
        'reader.close': 'Close', 'reader.pages': '{0} pages', 'reader.view': 'Reader', 'reader.width': 'Width',
        'reader.height': 'Height', 'reader.zoomIn': 'Larger', 'reader.zoomOut': 'Smaller', 'reader.settings': 'Fonts…',
        'reader.settingsTip': 'Reading fonts, colours and scrolling', 'reader.night': 'Night',
        'reader.alarm': 'Alarm', 'reader.alarmTip': 'Alarm clock: signal at this time',
        'reader.hourUp': 'Hour up', 'reader.hourDown': 'Hour down', 'reader.minuteUp': 'Minute up',
        'reader.minuteDown': 'Minute down', 'reader.alarmSignal': 'Time to stop reading: {0}' },
  ru: { 'reader.page': 'Страница', 'reader.scroll': 'Прокрутка', 'reader.stop': 'Стоп', 'reader.scrollTip': 'Автоматическая прокрутка',
        'reader.close': 'Закрыть', 'reader.pages': 'страниц: {0}', 'reader.view': 'Читалка', 'reader.width': 'Ширина',
        'reader.height': 'Высота', 'reader.zoomIn': 'Крупнее', 'reader.zoomOut': 'Мельче', 'reader.settings': 'Шрифты…',
        'reader.settingsTip': 'Шрифты, цвета и прокрутка', 'reader.night': 'Ночь',
        'reader.alarm': 'Будильник', 'reader.alarmTip': 'Будильник: сигнал в это время',
        'reader.hourUp': 'Час вперёд', 'reader.hourDown': 'Час назад', 'reader.minuteUp': 'Минута вперёд',
        'reader.minuteDown': 'Минута назад', 'reader.alarmSignal': 'Пора заканчивать чтение: {0}' },
});

const dialog = document.createElement('dialog');
dialog.id = 'PwReader';
dialog.className = 'reader';
dialog.innerHTML = `<form method="dialog">
  <div class="reader-bar">
    <select id="ReaderGeometry" data-t-title="reader.page"></select>
    <span id="UserSize" class="group" hidden><input id="UserWidth" type="number" min="100" max="4000"
      data-t-title="reader.width">×<input id="UserHeight" type="number" min="100" max="4000" data-t-title="reader.height"></span>
    <span class="group"><button type="button" id="ZoomOutB" class="stepper" data-t-title="reader.zoomOut">−</button><span
      id="ZoomLabel">100%</span><button type="button" id="ZoomInB" class="stepper" data-t-title="reader.zoomIn">+</button></span>
    <button type="button" id="ReaderFontsB" data-t="reader.settings" data-t-title="reader.settingsTip"></button>
    <label><input type="checkbox" id="NightC"><span data-t="reader.night"></span></label>
    <button type="button" id="ScrollB" data-t-title="reader.scrollTip" aria-pressed="false"></button>
    <span class="group alarm" data-t-title="reader.alarmTip"><label><input type="checkbox" id="AlarmC"><span
      data-t="reader.alarm"></span></label>
      <button type="button" id="HourDownB" class="stepper" data-t-title="reader.hourDown">▾</button><output
        id="AlarmHour">07</output><button type="button" id="HourUpB" class="stepper" data-t-title="reader.hourUp">▴</button>:<button
        type="button" id="MinuteDownB" class="stepper" data-t-title="reader.minuteDown">▾</button><output
        id="AlarmMinute">00</output><button type="button" id="MinuteUpB" class="stepper" data-t-title="reader.minuteUp">▴</button></span>
    <span class="pages"><span id="PageLabel">- 1 -</span><span id="TotalLabel"></span></span>
    <button value="close" id="ReaderClose" data-t="reader.close"></button>
  </div>
  <div id="AlarmSignal" role="alert" hidden></div>
  <iframe id="ReaderView" data-t-title="reader.view" sandbox="allow-same-origin"></iframe>
</form>`;
translate(dialog);
document.body.append(dialog);
const $ = (id) => dialog.querySelector(`#${id}`);
const view = $('ReaderView');
const geometrySelect = $('ReaderGeometry');
const BOOKMARK_TAG = 'A';
let reader = null;      // the reader's settings as the server gave them
let scrollTimer = 0;
let turned = null;      // { top, page }: where the last page turn left the view, and its page
let scrollRest = 0;     // the part of a pixel the symbol steps have not yet moved
let alarm = { hour: 7, minute: 0 };
let alarmTimer = 0;

const doc = () => view.contentDocument;
const scroller = () => doc().scrollingElement || doc().body;

// Page numbers as the reader's rules give them (whole-number division of the rounded page
// height; the current page never beyond the total). A page turn that stops at a line boundary
// moves a little less than a page height, so where the view stands after page turns, the page
// is the one the turns counted: three turns from the first page show page 4.
function pageNumbers() {
  const height = Math.round(view.clientHeight);
  if (height <= 0 || !doc()) return { current: 1, total: 1 };
  const top = scroller().scrollTop;
  const total = Math.max(1, Math.floor(scroller().scrollHeight / height));
  const counted = turned && Math.abs(top - turned.top) < 1 ? turned.page : Math.floor(top / height) + 1;
  return { current: Math.min(total, counted), total };
}

function showPageNumbers() {
  if (!doc()) return;
  const pages = pageNumbers();
  $('PageLabel').textContent = `- ${pages.current} -`;
  $('TotalLabel').textContent = t('reader.pages', pages.total);
}

function showScrollButton() {
  const running = Boolean(scrollTimer);
  $('ScrollB').textContent = t(running ? 'reader.stop' : 'reader.scroll');
  $('ScrollB').setAttribute('aria-pressed', String(running));
  $('ScrollB').classList.toggle('running', running);
}

// The line box at height `y` of the view (view coordinates), or null where no text is.
function lineAt(y) {
  const width = doc().documentElement.clientWidth;
  for (const x of [12, width / 4, width / 2, (3 * width) / 4]) {
    const range = doc().caretRangeFromPoint(x, y);
    if (!range) continue;
    const rect = range.getClientRects()[0] || range.getBoundingClientRect();
    if (rect && rect.height > 0 && rect.top <= y && rect.bottom >= y) return rect;
  }
  return null;
}

// Page turns end at a line boundary: the line cut by the bottom edge starts the next page, and
// a page back ends where the line cut by its top edge ends.
function turnPage(direction) {
  const element = scroller();
  const height = view.clientHeight;
  const from = { top: element.scrollTop, page: pageNumbers().current };
  if (direction > 0) {
    const cut = lineAt(height - 1);
    const step = cut && cut.top > 0 && cut.bottom > height ? cut.top : height;
    element.scrollTop += step;
  } else {
    const top = element.scrollTop;
    element.scrollTop = Math.max(0, top - height);
    const cut = element.scrollTop > 0 ? lineAt(1) : null;
    if (cut && cut.top < 0) element.scrollTop += Math.min(cut.bottom, top - element.scrollTop);
  }
  if (element.scrollTop !== from.top)
    turned = { top: element.scrollTop, page: element.scrollTop < 1 ? 1 : Math.max(1, from.page + direction) };
  showPageNumbers();
}

// The height of a line of text where the view stands, as laid out (fonts and zoom included):
// from the top of one line to the top of the next.
function lineHeight() {
  for (let y = 1; y < view.clientHeight; y += 2) {
    const line = lineAt(y);
    if (!line) continue;
    const next = lineAt(line.bottom + 1);
    if (next && next.top > line.top) return next.top - line.top;
    y = Math.max(y, Math.floor(line.bottom));
  }
  const style = getComputedStyle(doc().body);
  return (parseFloat(style.lineHeight) || parseFloat(style.fontSize) * 1.2 || 18) * (reader ? reader.zoom / 100 : 1);
}

// The temporary bookmark: an empty anchor at the first character visible on the page, kept
// over a change of the layout, scrolled back to the top and removed again.
function insertBookmark() {
  for (let y = 1; y < view.clientHeight; y += 2) {
    const line = lineAt(y);
    if (!line) continue;
    // Left of the line's text the caret goes to the line's first character.
    const range = doc().caretRangeFromPoint(0, Math.max(y, (Math.max(0, line.top) + line.bottom) / 2));
    if (!range) return null;
    // Behind the line's first character, inside its word: at the space before the word the
    // anchor could end the line above in another layout.
    const node = range.startContainer;
    if (node.nodeType === Node.TEXT_NODE) {
      let at = range.startOffset;
      while (at < node.length && /\s/.test(node.data[at])) ++at;
      if (at < node.length) range.setStart(node, at + 1);
    }
    const anchor = doc().createElement(BOOKMARK_TAG);
    anchor.id = reader.bookmark;
    range.insertNode(anchor);
    return anchor;
  }
  return null;
}

// Layout changes run one after another, each keeping the place the one before it left; the
// dialog is marked busy while any is pending.
let placeQueue = Promise.resolve();
let pendingLayouts = 0;
function keepingPlace(change) {
  dialog.dataset.busy = String(++pendingLayouts);
  placeQueue = placeQueue.then(() => keepPlaceOver(change)).catch(() => {}).then(() => {
    if (--pendingLayouts === 0) delete dialog.dataset.busy;
  });
  return placeQueue;
}

async function keepPlaceOver(change) {
  const anchor = doc() && doc().body ? insertBookmark() : null;
  try {
    await change();
  } finally {
    if (anchor) {
      scroller().scrollTop += anchor.getBoundingClientRect().top;
      const cut = lineAt(1);
      if (cut && cut.top < 0) scroller().scrollTop += cut.top;
      const parent = anchor.parentNode;
      anchor.remove();
      parent.normalize();  // the text the anchor split is one again
    }
    for (const left of doc() ? doc().querySelectorAll(BOOKMARK_TAG) : []) if (left.id === reader.bookmark) left.remove();
    showPageNumbers();
  }
}

function geometry() {
  if (geometrySelect.value === 'user') return { width: reader.userWidth, height: reader.userHeight };
  return reader.geometries.find((g) => g.name === geometrySelect.value) || reader.geometries[1];
}

function layOut() {
  turned = null;
  const chosen = geometry();
  $('UserSize').hidden = geometrySelect.value !== 'user';
  view.style.width = `${chosen.width || window.innerWidth - 40}px`;
  view.style.height = `${chosen.height || window.innerHeight - 110}px`;
  if (doc() && doc().body) doc().body.style.zoom = String(reader.zoom / 100);
  $('ZoomLabel').textContent = `${reader.zoom}%`;
  showPageNumbers();
}

// Changes go to the server one after another, so that each answer holds every change made
// before it and the last answer is the settings as kept.
let saving = Promise.resolve();
function saveSettings(changes) {
  const answer = saving.then(() => api.postJson('/api/reader/settings', changes)).then((kept) => {
    if (kept && kept.geometries) reader = kept;
    return kept;
  });
  saving = answer.catch(() => {});
  return answer;
}

// Lays the reading style over the open view; the place stays.
async function applyStyle() {
  const style = await api.getJson('/api/reader/style');
  await keepingPlace(() => {
    const sheet = doc().getElementById('PwReadingStyle') || doc().head.appendChild(doc().createElement('style'));
    sheet.id = 'PwReadingStyle';
    sheet.textContent = style.css;
    const font = doc().body.firstElementChild;
    if (font && font.tagName === 'FONT') {
      font.setAttribute('face', style.face);
      font.setAttribute('size', String(style.size));
    }
  });
}

// The characters a full line of the text holds where the view stands: the longest of the first
// few lines that each lie in one run of text (a paragraph's last line is short); else estimated
// (a character is about half the font size wide).
function charactersPerLine() {
  const width = doc().documentElement.clientWidth;
  let longest = 0;
  let lines = 0;
  for (let y = 1; y < view.clientHeight && lines < 6; y += 4) {
    const line = lineAt(y);
    if (!line) continue;
    ++lines;
    const middle = (Math.max(0, line.top) + line.bottom) / 2;
    const start = doc().caretRangeFromPoint(0, middle);
    const end = doc().caretRangeFromPoint(width - 1, middle);
    if (start && end && start.startContainer === end.startContainer)
      longest = Math.max(longest, end.startOffset - start.startOffset);
    y = Math.max(y, Math.floor(line.bottom));
  }
  if (longest > 8) return longest;
  const fontSize = parseFloat(getComputedStyle(doc().body).fontSize) * (reader.zoom / 100) || 16;
  return Math.max(1, width / (fontSize * 0.5));
}

// One tick's move: a pixel, a line, or a symbol's share of a line (the line height over the
// characters a line holds).
function scrollStep() {
  if (reader.scrollType === 'pixels') return 1;
  const line = lineHeight();
  return reader.scrollType === 'lines' ? line : line / charactersPerLine();
}

function toggleScroll() {
  if (scrollTimer) {
    clearInterval(scrollTimer);
    scrollTimer = 0;
  } else if (reader && reader.intervals[reader.scrollType]) {
    scrollRest = 0;
    scrollTimer = setInterval(() => {
      scrollRest += scrollStep();
      const whole = Math.floor(scrollRest);
      scrollRest -= whole;
      scroller().scrollTop += whole;
      showPageNumbers();
    }, reader.intervals[reader.scrollType]);
  }
  showScrollButton();
}

function readerKey(event) {
  const element = scroller();
  const keys = {
    ' ': () => turnPage(1), PageDown: () => turnPage(1), PageUp: () => turnPage(-1),
    ArrowDown: () => { element.scrollTop += lineHeight(); }, ArrowUp: () => { element.scrollTop -= lineHeight(); },
    Home: () => { element.scrollTop = 0; }, End: () => { element.scrollTop = element.scrollHeight; },
  };
  const action = keys[event.key];
  if (!action || ['INPUT', 'SELECT'].includes(event.target.tagName)) return;
  event.preventDefault();
  action();
  showPageNumbers();
}

// The alarm clock: the server steps the fields by the clock's wrapping rules.
// Quick clicks queue up: each step starts from the time the one before it left.
let stepping = Promise.resolve();
function stepAlarm(field, step) {
  stepping = stepping.then(async () => {
    const answer = await api.postJson('/api/reader/alarm', { ...alarm, field, step });
    if (!answer.ok) return;
    alarm = { hour: answer.hour, minute: answer.minute };
    $('AlarmHour').textContent = answer.hourText;
    $('AlarmMinute').textContent = answer.minuteText;
  }).catch(() => {});
}

function checkAlarm() {
  const now = new Date();
  if (!$('AlarmC').checked || now.getHours() !== alarm.hour || now.getMinutes() !== alarm.minute) return;
  $('AlarmC').checked = false;
  const signal = $('AlarmSignal');
  signal.textContent = t('reader.alarmSignal', `${$('AlarmHour').textContent}:${$('AlarmMinute').textContent}`);
  signal.hidden = false;
  try {
    const sound = new AudioContext();
    const tone = sound.createOscillator();
    tone.frequency.value = 880;
    tone.connect(sound.destination);
    tone.start();
    tone.stop(sound.currentTime + 0.6);
  } catch { /* no sound device: the visible signal stays */ }
}

function fillGeometries() {
  geometrySelect.replaceChildren(...[...reader.geometries, { name: 'user' }].map((g) => {
    const option = new Option(t(`reader.geometry.${g.name}`), g.name);
    option.dataset.t = `reader.geometry.${g.name}`;
    return option;
  }));
  geometrySelect.value = reader.geometry;
  $('UserWidth').value = reader.userWidth;
  $('UserHeight').value = reader.userHeight;
  $('NightC').checked = reader.night;
}

export async function open() {
  await editor.sync();
  const answer = await api.getJson('/api/reader');
  if (!answer.ok) { await api.poll(); return; }
  reader = await api.getJson('/api/reader/settings');
  fillGeometries();
  await new Promise((resolve) => {
    view.onload = () => {
      doc().addEventListener('scroll', showPageNumbers);
      doc().addEventListener('keydown', readerKey);
      layOut();
      resolve();
    };
    view.src = '/book/reading?at=' + Date.now();
    dialog.showModal();
  });
  if (!alarmTimer) alarmTimer = setInterval(checkAlarm, 5000);
  view.focus();
}

// After a choice of geometry the keys turn pages again (a focused list would take PageDown as
// a choice of its own); the user geometry wants its size typed first.
geometrySelect.addEventListener('change', () => keepingPlace(async () => {
  await saveSettings({ geometry: geometrySelect.value });
  layOut();
}).then(() => (geometrySelect.value === 'user' ? $('UserWidth') : view).focus()));
for (const id of ['UserWidth', 'UserHeight']) {
  $(id).addEventListener('change', () => keepingPlace(async () => {
    const answer = await saveSettings({ userWidth: Number($('UserWidth').value), userHeight: Number($('UserHeight').value) });
    if (!answer.ok) fillGeometries();
    layOut();
  }));
}
for (const [id, direction] of [['ZoomInB', 1], ['ZoomOutB', -1]]) {
  $(id).addEventListener('click', () => keepingPlace(async () => {
    await saveSettings({ zoomStep: direction });
    layOut();
  }));
}
$('NightC').addEventListener('change', async () => {
  await saveSettings({ night: $('NightC').checked });
  await applyStyle();
});
$('ReaderFontsB').addEventListener('click', () => readerSettings.open(reader, async (changes) => {
  const answer = await saveSettings(changes);
  if (scrollTimer) { toggleScroll(); toggleScroll(); }
  await applyStyle();
  return answer;
}));
$('ScrollB').addEventListener('click', toggleScroll);
for (const [id, field, step] of [['HourUpB', 'hour', 1], ['HourDownB', 'hour', -1], ['MinuteUpB', 'minute', 1], ['MinuteDownB', 'minute', -1]])
  $(id).addEventListener('click', () => stepAlarm(field, step));
$('AlarmSignal').addEventListener('click', () => { $('AlarmSignal').hidden = true; });
$('AlarmC').addEventListener('change', checkAlarm);  // an alarm set to this very minute rings at once
dialog.addEventListener('keydown', readerKey);
dialog.addEventListener('close', () => { if (scrollTimer) toggleScroll(); });
window.addEventListener('resize', () => { if (dialog.open && reader) layOut(); });
onLanguage(() => { showPageNumbers(); showScrollButton(); });
showScrollButton();

registerCommand({ id: 'MnRead', menu: 'FileMenu', order: 40, label: { en: 'Read', ru: 'Читать' }, run: open });
