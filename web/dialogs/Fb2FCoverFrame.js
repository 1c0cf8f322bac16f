// The cover frame of the FB2 form (CoverFr): the cover's preview (PicPrev) and label (PicLabT),
// a picture chosen by upload or by path (BrowseP), and RemoveP. The cover is kept with the book
// on the server; every change is a step of the book's history.

import * as api from '../api.js';
import * as editor from '../editor.js';
import { registerTexts, translate, t, onLanguage } from '../i18n.js';

registerTexts({
  en: { 'cover.none': 'no cover', 'cover.set': 'the book has a cover', 'cover.path': 'picture file on this computer',
        'cover.browse': 'Use the file', 'cover.upload': 'Upload a picture', 'cover.remove': 'Remove', 'cover.step': 'Cover' },
  ru: { 'cover.none': 'нет обложки', 'cover.set': 'обложка есть', 'cover.path': 'файл картинки на этом компьютере',
        'cover.browse': 'Взять файл', 'cover.upload': 'Загрузить картинку', 'cover.remove': 'Убрать', 'cover.step': 'Обложка' },
});

export const frame = document.createElement('div');
frame.id = 'CoverFr';
frame.innerHTML = `<img id="PicPrev" alt="" hidden>
  <div class="cover-controls"><span id="PicLabT"></span>
  <input id="CoverPath" data-t-placeholder="cover.path"><button type="button" id="BrowseP" data-t="cover.browse"></button>
  <label class="file-button"><span data-t="cover.upload"></span><input type="file" id="CoverFile" accept="image/*" hidden></label>
  <button type="button" id="RemoveP" data-t="cover.remove"></button></div>`;
translate(frame);
const $ = (id) => frame.querySelector('#' + id);
let current = '';  // the cover's file name in the book folder, "" for none

// Shows the cover `name` ("cover.jpg", "cover.png" or "").
export function show(name) {
  current = name || '';
  const preview = $('PicPrev');
  preview.hidden = !current;
  if (current) preview.src = `/book/${current}?t=${Date.now()}`;
  else preview.removeAttribute('src');
  $('PicLabT').textContent = t(current ? 'cover.set' : 'cover.none');
}
onLanguage(() => show(current));

// The cover's bytes as the server keeps them, to put back on undo.
async function coverBlob(name) {
  if (!name) return null;
  const response = await api.request(`/book/${name}?t=${Date.now()}`);
  return response.blob();
}

async function sendBlob(blob, fileName) {
  const form = new FormData();
  form.append('cover', blob, fileName);
  return (await api.request('/api/description/cover', { method: 'POST', body: form })).json();
}

async function setCover(blob) {
  const answer = blob ? await sendBlob(blob, blob.type === 'image/png' ? 'cover.png' : 'cover.jpg')
                      : await api.postJson('/api/description/cover', { remove: true });
  if (answer.ok) show(answer.cover);
  return answer;
}

// Runs `change()` (a request that sets the cover) as one step of the book's history.
async function step(change) {
  const before = await coverBlob(current);
  const answer = await change();
  await api.poll();
  if (!answer.ok) return;
  show(answer.cover);
  const after = await coverBlob(answer.cover);
  editor.recordStep(t('cover.step'), () => setCover(before), () => setCover(after));
}

$('CoverFile').addEventListener('change', async (event) => {
  const file = event.target.files[0];
  event.target.value = '';
  if (file) await step(() => sendBlob(file, file.name));
});
$('BrowseP').addEventListener('click', async () => {
  const path = $('CoverPath').value.trim();
  if (path) await step(() => api.postJson('/api/description/cover', { path }));
});
$('RemoveP').addEventListener('click', async () => {
  if (current) await step(() => api.postJson('/api/description/cover', { remove: true }));
});
