// The workshop page: menus, the editor frame, the element list and the status line. Every
// command goes to the server that served this page; the page only shows and edits.

const $ = (id) => document.getElementById(id);
const editor = $('editor');
let shownVersion = -1;
let dirty = false;
let texts = {
  unsaved: 'Current file was not saved\nDo you want to save the changes?',
  noSelection: 'Error. No text selected in the main Pagewright window',
};
let shownLanguage = 'en';

// The page's own labels in Russian; the English ones stand in the page itself.
const RUSSIAN_LABELS = {
  File: 'Файл', Format: 'Формат', Book: 'Книга', MnOpen: 'Открыть…', MnEmptyBook: 'Пустая книга',
  MnReloadBook: 'Загрузить заново', MnSave: 'Сохранить', MnMakeFictionBookFile: 'Сделать FB2…',
  MnMakePagewrightFile: 'Сохранить в библиотеку…', MnQuit: 'Выход', Elements: 'Элементы',
  Title: 'Заголовок', Subtitle: 'Подзаголовок', Epigraph: 'Эпиграф', Verse: 'Стихи', Cite: 'Цитата',
  'Text author': 'Автор текста', Paragraph: 'Абзац',
};

function applyLanguage(language) {
  if (language === shownLanguage || language !== 'ru') return;
  shownLanguage = language;
  document.documentElement.lang = language;
  for (const button of document.querySelectorAll('#menu > .menu > button, #toolbar button'))
    if (RUSSIAN_LABELS[button.textContent]) button.textContent = RUSSIAN_LABELS[button.textContent];
  for (const [id, label] of Object.entries(RUSSIAN_LABELS)) {
    const element = document.getElementById(id);
    if (element) element.textContent = label;
  }
  document.querySelector('#elements h2').textContent = RUSSIAN_LABELS.Elements;
}
let serverChanged = false;

// Element operations of the Format menu: [label, operation, shortcut digit].
const FORMAT_OPERATIONS = [
  ['Title', 'title', '1'], ['Subtitle', 'subtitle', '2'], ['Epigraph', 'epigraph', '3'], ['Verse', 'verse', '4'],
  ['Cite', 'cite', '5'], ['Text author', 'textauthor', '6'], ['Annotation', 'annotation', ''],
  ['Book author', 'bookauthor', ''], ['Book title', 'booktitle', ''], ['Note block', 'noteblock', ''],
  ['Remove note block', 'removenoteblock', ''], ['Paragraph', 'paragraph', '0'],
  ['Paragraph keeping styles', 'paragraphstyles', ''], ['Bold', 'bold', 'b'], ['Italic', 'italic', 'i'],
  ['Underline', 'underline', 'u'], ['Superscript', 'sup', ''], ['Subscript', 'sub', ''], ['Upper case', 'upper', ''],
  ['Lower case', 'lower', ''], ['Proper case', 'proper', ''], ['Remove spaces', 'removespaces', ''],
];

// Whole-book operations of the Book menu.
const BOOK_OPERATIONS = [
  ['Capitalise titles', 'capitalisetitles'], ['Capitalise subtitles', 'capitalisesubtitles'],
  ['Capitalise book author', 'capitalisebookauthor'], ['Capitalise book title', 'capitalisebooktitle'],
  ['Subtitles to titles', 'subtitlestotitles'], ['Titles to subtitles', 'titlestosubtitles'],
  ['Titles to paragraphs', 'titlestoparagraphs'], ['Subtitles to paragraphs', 'subtitlestoparagraphs'],
  ['Remove page breaks', 'removepagebreaks'], ['Insert contents', 'insertcontents'],
  ['Delete contents', 'deletecontents'], ['Remove note blocks', 'removenoteblocks'],
  ['Move element up', 'moveup'], ['Move element down', 'movedown'],
];

const ELEMENT_NAMES = {
  title: 'title', subtitle: 'subtitle', former_title: 'subtitle', epigraph: 'epigraph', verse: 'verse',
  cite: 'cite', txtaut: 'text author', annotation: 'annotation', NoteBlock: 'notes', BCONTENTS: 'contents',
};

async function api(path, options = {}) {
  const response = await fetch(path, { credentials: 'same-origin', ...options });
  if (!response.ok && response.status !== 422) throw new Error(`${path}: ${response.status}`);
  return response;
}

async function postJson(path, body) {
  const response = await api(path, {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body),
  });
  return response;
}

// Messages that arrive while one is shown are added under it.
function message(text) {
  const dialog = $('MessageDialog');
  $('MessageText').textContent = dialog.open ? `${$('MessageText').textContent}\n\n${text}` : text;
  if (!dialog.open) dialog.showModal();
}

function bookDocument() { return editor.contentDocument; }

// The page's edits go back to the server before anything there reads the book.
async function sendDocument() {
  const doc = bookDocument();
  if (!doc || !doc.documentElement) return;
  await api('/api/document', { method: 'POST', headers: { 'Content-Type': 'text/html' }, body: doc.documentElement.outerHTML });
}

// Before a command replaces the book: the unsaved-changes question.
async function resolveUnsaved() {
  if (!dirty && !serverChanged) return;
  if (confirm(texts.unsaved)) {
    await sendDocument();
    await postJson('/api/command', { name: 'save' });
  }
  dirty = false;
}

function loadEditor() {
  editor.src = '/book/document?v=' + shownVersion;
}

editor.addEventListener('load', () => {
  const doc = bookDocument();
  doc.designMode = 'on';
  doc.addEventListener('input', () => { dirty = true; lastWasOperation = false; refreshElements(); });
  undoStack.length = 0;
  redoStack.length = 0;
  doc.addEventListener('keydown', shortcut);
  refreshElements();
});

function refreshElements() {
  const list = $('ElementList');
  list.replaceChildren();
  const doc = bookDocument();
  if (!doc) return;
  for (const node of doc.querySelectorAll('span[id], h2[id]')) {
    const kind = node.tagName === 'H2' ? (node.id === 'BookAuthor' ? 'book author' : node.id === 'BookTitle' ? 'book title' : '')
                                       : ELEMENT_NAMES[node.id];
    if (!kind) continue;
    const item = document.createElement('li');
    item.className = 'element-' + kind.replace(' ', '-');
    item.textContent = `${kind}: ${node.textContent.trim().slice(0, 60)}`;
    item.addEventListener('click', () => node.scrollIntoView({ block: 'center' }));
    list.append(item);
  }
}

async function poll() {
  try {
    const state = await (await api('/api/state')).json();
    $('status').textContent = state.status;
    $('percent').value = state.percent;
    $('caption').textContent = state.caption;
    serverChanged = state.changed;
    if (state.texts) texts = state.texts;
    applyLanguage(state.language);
    document.title = state.caption ? `${state.caption} - Pagewright` : 'Pagewright';
    for (const text of state.messages) message(text);
    if (state.version !== shownVersion) {
      shownVersion = state.version;
      dirty = false;
      loadEditor();
    }
    const recent = $('RecentFiles');
    recent.replaceChildren(...state.recent.map((file) => {
      const button = document.createElement('button');
      button.textContent = file;
      button.addEventListener('click', () => openPath(file));
      return button;
    }));
  } catch (error) {
    $('status').textContent = 'the workshop is not answering';
  }
}

async function openPath(path) {
  await resolveUnsaved();
  await postJson('/api/open', { path });
  await poll();
}

// Operations that mark whole paragraphs take every paragraph the selection touches.
const BLOCK_OPERATIONS = new Set(['title', 'subtitle', 'epigraph', 'verse', 'cite', 'textauthor', 'annotation',
  'bookauthor', 'booktitle', 'noteblock', 'removenoteblock', 'paragraph', 'paragraphstyles']);

// The element operations keep their own undo and redo: the browser's editing commands would
// rebuild the marked elements in their own way, so an operation replaces the selection in the
// document itself and remembers the book as it was.
const undoStack = [];
const redoStack = [];
let lastWasOperation = false;

function topBlock(node, body) {
  while (node && node.parentNode && node.parentNode !== body) node = node.parentNode;
  return node && node.parentNode === body ? node : null;
}

// The selection's HTML goes to the server; the answer replaces it.
async function formatSelection(operation) {
  const doc = bookDocument();
  const selection = doc.getSelection();
  if (!selection || selection.rangeCount === 0 || selection.isCollapsed) {
    message(texts.noSelection);
    return;
  }
  const range = selection.getRangeAt(0);
  if (BLOCK_OPERATIONS.has(operation)) {
    const first = topBlock(range.startContainer, doc.body);
    const last = topBlock(range.endContainer, doc.body);
    if (first) range.setStartBefore(first);
    if (last) range.setEndAfter(last);
  }
  const holder = doc.createElement('div');
  holder.append(range.cloneContents());
  const response = await postJson('/api/element', { operation, html: holder.innerHTML });
  const answer = await response.json();
  if (answer.html) {
    undoStack.push(doc.body.innerHTML);
    redoStack.length = 0;
    range.deleteContents();
    const template = doc.createElement('template');
    template.innerHTML = answer.html;
    const inserted = [...template.content.childNodes];
    range.insertNode(template.content);
    if (inserted.length) {
      selection.removeAllRanges();
      const after = doc.createRange();
      after.setStartBefore(inserted[0]);
      after.setEndAfter(inserted[inserted.length - 1]);
      selection.addRange(after);
    }
    lastWasOperation = true;
    dirty = true;
    refreshElements();
  }
  await poll();
}

function undoOperation(redo) {
  const doc = bookDocument();
  const from = redo ? redoStack : undoStack;
  const to = redo ? undoStack : redoStack;
  if (!lastWasOperation || from.length === 0) return false;
  to.push(doc.body.innerHTML);
  doc.body.innerHTML = from.pop();
  dirty = true;
  refreshElements();
  return true;
}

// A whole-book operation: the book goes to the server, which sends back the new one. Moving
// an element marks the element that holds the cursor first.
async function bookOperation(operation) {
  const doc = bookDocument();
  if (operation === 'moveup' || operation === 'movedown') {
    const selection = doc.getSelection();
    const block = selection && selection.rangeCount ? topBlock(selection.getRangeAt(0).startContainer, doc.body) : null;
    if (!block) {
      message(texts.noSelection);
      return;
    }
    const marker = doc.createElement('span');
    marker.id = 'MovedElSt';
    block.before(marker);
  }
  await sendDocument();
  await postJson('/api/book', { operation });
  await poll();
}

// The section editor: every title with its level; the marks are written when applied.
let sectionTitles = [];  // {text, level, removed}

function showSectionTitles() {
  const list = $('SectionTitles');
  const selected = new Set([...list.selectedOptions].map((option) => Number(option.value)));
  list.replaceChildren(...sectionTitles.flatMap((title, index) => {
    if (title.removed) return [];
    const option = document.createElement('option');
    option.value = String(index);
    option.textContent = '   '.repeat(title.level - 1) + title.text;
    option.selected = selected.has(index);
    return [option];
  }));
}

function changeLevels(step) {
  const kept = sectionTitles.filter((title) => !title.removed);
  for (const option of $('SectionTitles').selectedOptions) {
    const title = sectionTitles[Number(option.value)];
    const position = kept.indexOf(title);
    const before = position > 0 ? kept[position - 1].level : 0;
    // The first title stays at level 1; a title is at most one level below the one before it.
    if (step > 0 && position > 0 && title.level + 1 <= before + 1) title.level += 1;
    if (step < 0 && title.level > 1) title.level -= 1;
  }
  showSectionTitles();
}

async function openSectionEditor() {
  await sendDocument();
  const answer = await (await api('/api/titles')).json();
  sectionTitles = answer.titles.map((text) => ({ text, level: 1, removed: false }));
  showSectionTitles();
  $('Fb2SectionEditorF').showModal();
}

async function applySections() {
  const kept = sectionTitles.filter((title) => !title.removed);
  await postJson('/api/sections', {
    levels: kept.map((title) => title.level), removed: sectionTitles.map((title) => title.removed),
  });
  await poll();
}

// The reader: the book in pages of a chosen geometry, with page numbers and auto-scroll.
let reader = null;
let scrollTimer = 0;

// Page numbers as the reader's rules give them (whole-number division of the rounded page
// height; the current page never beyond the total).
function pageNumbers(view) {
  const body = view.contentDocument.scrollingElement || view.contentDocument.body;
  const height = Math.round(view.clientHeight);
  if (height <= 0) return { current: 1, total: 1 };
  const total = Math.max(1, Math.floor(body.scrollHeight / height));
  const current = Math.min(total, Math.floor(body.scrollTop / height) + 1);
  return { current, total };
}

function showPageNumbers() {
  const pages = pageNumbers($('ReaderView'));
  $('PageLabel').textContent = `- ${pages.current} -`;
  $('TotalLabel').textContent = `${pages.total} pages`;
}

function layOutReader() {
  const geometry = reader.geometries.find((g) => g.name === $('ReaderGeometry').value) || reader.geometries[1];
  const view = $('ReaderView');
  view.style.width = `${geometry.width || window.innerWidth - 40}px`;
  view.style.height = `${geometry.height || window.innerHeight - 90}px`;
  showPageNumbers();
}

async function openReader() {
  await sendDocument();
  const answer = await (await api('/api/reader')).json();
  if (!answer.ok) { await poll(); return; }
  reader = answer;
  const select = $('ReaderGeometry');
  select.replaceChildren(...reader.geometries.map((g) => new Option(g.name, g.name)));
  select.value = reader.geometry;
  const view = $('ReaderView');
  view.onload = () => {
    view.contentDocument.addEventListener('scroll', showPageNumbers);
    layOutReader();
  };
  view.src = '/book/document?read=' + Date.now();
  $('PwReader').showModal();
}

function toggleScroll() {
  if (scrollTimer) {
    clearInterval(scrollTimer);
    scrollTimer = 0;
    return;
  }
  if (!reader || !reader.interval) return;
  const doc = $('ReaderView').contentDocument;
  const lineHeight = parseFloat(getComputedStyle(doc.body).lineHeight) || 18;
  const step = reader.scrollType === 'pixels' ? 1 : reader.scrollType === 'symbols' ? Math.max(1, lineHeight / 60) : lineHeight;
  scrollTimer = setInterval(() => {
    (doc.scrollingElement || doc.body).scrollTop += step;
    showPageNumbers();
  }, reader.interval);
}

function shortcut(event) {
  if (!event.ctrlKey) return;
  const key = event.key.toLowerCase();
  if ((key === 'z' && !event.shiftKey && undoOperation(false)) ||
      ((key === 'y' || (key === 'z' && event.shiftKey)) && undoOperation(true))) {
    event.preventDefault();
    return;
  }
  if (event.key === 's') {
    event.preventDefault();
    save();
    return;
  }
  const entry = FORMAT_OPERATIONS.find(([, , key]) => key && key === event.key);
  if (entry) {
    event.preventDefault();
    formatSelection(entry[1]);
  }
}

async function save() {
  await sendDocument();
  await postJson('/api/command', { name: 'save' });
  dirty = false;
  await poll();
}

// Sends `body` to `path` and offers the file that comes back as a download.
async function download(path, body, fallbackName) {
  const response = await postJson(path, body);
  if (!response.ok) return;
  const blob = await response.blob();
  const disposition = response.headers.get('Content-Disposition') || '';
  const name = (disposition.match(/filename="([^"]+)"/) || [])[1] || fallbackName;
  const link = document.createElement('a');
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
}

async function makeStoredBook() {
  await sendDocument();
  await download('/api/stored', {
    name: $('PwFileName').value, author: $('PwAuthor').value, title: $('PwTitle').value, genre: $('PwGenre').value,
    language: $('PwLanguage').value, rating: $('PwRating').value, keywords: $('PwKeywords').value,
    annotation: $('PwAnnotation').value, compress: $('PwCompress').checked,
  }, 'book.html0');
  await poll();
}

async function makeFb2() {
  await sendDocument();
  const body = {
    name: $('Fb2FileNameB').value, author: $('b_author').value, title: $('b_title').value, genre: $('b_genre').value,
    encoding: $('EncodingT').value, dashes: $('DashesLengthL').value, library: $('BookForLibraryB').checked,
    validate: $('ValidateB').checked,
  };
  await download('/api/fb2', body, 'noname.fb2');
  await poll();
}

function setUp() {
  const menu = $('FormatMenu');
  for (const [label, operation, key] of FORMAT_OPERATIONS) {
    const button = document.createElement('button');
    button.textContent = label + (key ? `  (Ctrl+${key})` : '');
    button.dataset.operation = operation;
    button.addEventListener('click', () => formatSelection(operation));
    menu.append(button);
  }
  const bookMenu = $('BookMenu');
  for (const [label, operation] of BOOK_OPERATIONS) {
    const button = document.createElement('button');
    button.textContent = label;
    button.dataset.operation = operation;
    button.addEventListener('click', () => bookOperation(operation));
    bookMenu.append(button);
  }
  const sectionButton = document.createElement('button');
  sectionButton.id = 'MnSectionEditor';
  sectionButton.textContent = 'FB2 section editor…';
  sectionButton.addEventListener('click', openSectionEditor);
  bookMenu.append(sectionButton);
  $('RightB').addEventListener('click', () => changeLevels(1));
  $('LeftB').addEventListener('click', () => changeLevels(-1));
  $('RemoveB').addEventListener('click', () => {
    for (const option of $('SectionTitles').selectedOptions) sectionTitles[Number(option.value)].removed = true;
    showSectionTitles();
  });
  $('SkipLevelsB').addEventListener('click', () => {
    sectionTitles = sectionTitles.map((title) => ({ ...title, level: 1, removed: false }));
    showSectionTitles();
  });
  $('Fb2SectionEditorF').addEventListener('close', () => {
    if ($('Fb2SectionEditorF').returnValue === 'ok') applySections();
  });
  const toolbar = $('toolbar');
  for (const [label, operation, key] of FORMAT_OPERATIONS.filter(([, , key]) => key >= '0' && key <= '9')) {
    const button = document.createElement('button');
    button.textContent = label;
    button.title = `Format as ${label.toLowerCase()} (Ctrl+${key})`;
    button.addEventListener('click', () => formatSelection(operation));
    toolbar.append(button);
  }
  $('MnOpen').addEventListener('click', () => $('OpenDialog').showModal());
  $('OpenDialog').addEventListener('close', () => {
    if ($('OpenDialog').returnValue === 'ok' && $('OpenPath').value) openPath($('OpenPath').value);
  });
  $('UploadBook').addEventListener('change', async (event) => {
    const file = event.target.files[0];
    if (!file) return;
    await resolveUnsaved();
    const form = new FormData();
    form.append('book', file, file.name);
    await api('/api/upload', { method: 'POST', body: form });
    event.target.value = '';
    await poll();
  });
  $('MnEmptyBook').addEventListener('click', async () => { await resolveUnsaved(); await postJson('/api/command', { name: 'empty' }); await poll(); });
  $('MnReloadBook').addEventListener('click', async () => { await resolveUnsaved(); await postJson('/api/command', { name: 'reload' }); await poll(); });
  $('MnSave').addEventListener('click', save);
  $('MnMakeFictionBookFile').addEventListener('click', async () => {
    // The form starts from the book's description, or from its headings.
    await sendDocument();
    const described = await (await api('/api/description')).json();
    $('Fb2FileNameB').value = described.name || '';
    $('b_author').value = described.author || '';
    $('b_title').value = described.title || '';
    $('b_genre').value = described.genre || '';
    $('Fb2F').showModal();
  });
  $('MnMakePagewrightFile').addEventListener('click', () => $('MakePwFileF').showModal());
  $('MnRead').addEventListener('click', openReader);
  $('ReaderGeometry').addEventListener('change', layOutReader);
  $('ScrollB').addEventListener('click', toggleScroll);
  $('PwReader').addEventListener('close', () => { if (scrollTimer) toggleScroll(); });
  $('MakePwFileF').addEventListener('close', () => { if ($('MakePwFileF').returnValue === 'ok') makeStoredBook(); });
  $('Fb2F').addEventListener('close', () => { if ($('Fb2F').returnValue === 'ok') makeFb2(); });
  $('MnQuit').addEventListener('click', async () => {
    await resolveUnsaved();
    await postJson('/api/command', { name: 'quit' });
    document.body.textContent = 'The workshop has ended. You can close this page.';
  });
  document.addEventListener('keydown', shortcut);
  poll();
  setInterval(poll, 700);
}

setUp();
