// PwReader: the book in pages of a chosen geometry, with page numbers and auto-scroll.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t, onLanguage } from '../i18n.js';
import { registerCommand } from '../menus.js';

// The page geometries by the names the server gives them.
const GEOMETRY_NAMES = {
  'full screen': 'весь экран', 'standard book': 'обычная книга', 'pocket book': 'карманная книга',
  'small square (160x160)': 'малый квадрат (160x160)', 'square (320x320)': 'квадрат (320x320)',
  'handheld (320x480)': 'карманное устройство (320x480)', 'small handheld (200x240)': 'малое карманное устройство (200x240)',
  'handheld (240x320)': 'карманное устройство (240x320)', 'large handheld (480x640)': 'большое карманное устройство (480x640)',
};
registerTexts({
  en: Object.fromEntries(Object.keys(GEOMETRY_NAMES).map((name) => [`reader.geometry.${name}`, name])),
  ru: Object.fromEntries(Object.entries(GEOMETRY_NAMES).map(([name, text]) => [`reader.geometry.${name}`, text])),
});

registerTexts({
  en: { 'reader.page': 'Page', 'reader.scroll': 'Scroll', 'reader.scrollTip': 'Automatic scrolling',
        'reader.close': 'Close', 'reader.pages': '{0} pages', 'reader.view': 'Reader' },
  ru: { 'reader.page': 'Страница', 'reader.scroll': 'Прокрутка', 'reader.scrollTip': 'Автоматическая прокрутка',
        'reader.close': 'Закрыть', 'reader.pages': 'страниц: {0}', 'reader.view': 'Читалка' },
});

const dialog = document.createElement('dialog');
dialog.id = 'PwReader';
dialog.className = 'reader';
dialog.innerHTML = `<form method="dialog">
  <div class="reader-bar">
    <select id="ReaderGeometry" data-t-title="reader.page"></select>
    <button type="button" id="ScrollB" data-t-title="reader.scrollTip" data-t="reader.scroll"></button>
    <span id="PageLabel">- 1 -</span> <span id="TotalLabel"></span>
    <button value="close" id="ReaderClose" data-t="reader.close"></button>
  </div>
  <iframe id="ReaderView" data-t-title="reader.view"></iframe>
</form>`;
translate(dialog);
document.body.append(dialog);
const view = dialog.querySelector('#ReaderView');
const geometrySelect = dialog.querySelector('#ReaderGeometry');
let reader = null;
let scrollTimer = 0;

// Page numbers as the reader's rules give them (whole-number division of the rounded page
// height; the current page never beyond the total).
function pageNumbers() {
  const scroller = view.contentDocument.scrollingElement || view.contentDocument.body;
  const height = Math.round(view.clientHeight);
  if (height <= 0) return { current: 1, total: 1 };
  const total = Math.max(1, Math.floor(scroller.scrollHeight / height));
  const current = Math.min(total, Math.floor(scroller.scrollTop / height) + 1);
  return { current, total };
}

function showPageNumbers() {
  if (!view.contentDocument) return;
  const pages = pageNumbers();
  dialog.querySelector('#PageLabel').textContent = `- ${pages.current} -`;
  dialog.querySelector('#TotalLabel').textContent = t('reader.pages', pages.total);
}

function layOut() {
  const geometry = reader.geometries.find((g) => g.name === geometrySelect.value) || reader.geometries[1];
  view.style.width = `${geometry.width || window.innerWidth - 40}px`;
  view.style.height = `${geometry.height || window.innerHeight - 90}px`;
  showPageNumbers();
}

function toggleScroll() {
  if (scrollTimer) {
    clearInterval(scrollTimer);
    scrollTimer = 0;
    return;
  }
  if (!reader || !reader.interval) return;
  const doc = view.contentDocument;
  const lineHeight = parseFloat(getComputedStyle(doc.body).lineHeight) || 18;
  const step = reader.scrollType === 'pixels' ? 1 : reader.scrollType === 'symbols' ? Math.max(1, lineHeight / 60) : lineHeight;
  scrollTimer = setInterval(() => {
    (doc.scrollingElement || doc.body).scrollTop += step;
    showPageNumbers();
  }, reader.interval);
}

export async function open() {
  await editor.sync();
  const answer = await api.getJson('/api/reader');
  if (!answer.ok) { await api.poll(); return; }
  reader = answer;
  geometrySelect.replaceChildren(...reader.geometries.map((g) => {
    const option = new Option(t(`reader.geometry.${g.name}`), g.name);
    option.dataset.t = `reader.geometry.${g.name}`;
    return option;
  }));
  geometrySelect.value = reader.geometry;
  view.onload = () => {
    view.contentDocument.addEventListener('scroll', showPageNumbers);
    layOut();
  };
  view.src = '/book/document?read=' + Date.now();
  dialog.showModal();
}

geometrySelect.addEventListener('change', layOut);
dialog.querySelector('#ScrollB').addEventListener('click', toggleScroll);
dialog.addEventListener('close', () => { if (scrollTimer) toggleScroll(); });
onLanguage(showPageNumbers);

registerCommand({ id: 'MnRead', menu: 'FileMenu', order: 40, label: { en: 'Read', ru: 'Читать' }, run: open });
