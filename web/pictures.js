// Pictures in the book: "Insert picture" puts a picture chosen on this computer after the
// paragraph that holds the caret, as one step of the book's history. The server keeps the
// picture beside the book (PNG stays PNG, other formats become JPEG) and refuses what it cannot read.

import * as api from './api.js';
import * as editor from './editor.js';
import { registerTexts, t } from './i18n.js';
import { registerCommand } from './menus.js';

registerTexts({
  en: { 'picture.insert': 'Insert picture…', 'picture.step': 'Picture' },
  ru: { 'picture.insert': 'Вставить картинку…', 'picture.step': 'Картинка' },
});

const chooser = document.createElement('input');
chooser.type = 'file';
chooser.id = 'InsertPictureFile';
chooser.accept = 'image/*';
chooser.hidden = true;
document.body.append(chooser);
let place = null;  // where the caret was when the command ran

chooser.addEventListener('change', async () => {
  const file = chooser.files[0];
  chooser.value = '';
  if (!file || !place) return;
  const form = new FormData();
  form.append('picture', file, file.name);
  const answer = await (await api.request('/api/description/picture', { method: 'POST', body: form })).json();
  await api.poll();
  if (!answer.ok) return;
  const doc = editor.bookDocument();
  const range = doc.createRange();
  const block = editor.topBlock(place.startContainer);
  if (block) range.setStartAfter(block);
  else range.setStart(doc.body, doc.body.childNodes.length);
  range.collapse(true);
  editor.replaceRange(t('picture.step'), range, `<DIV align=center><IMG src="${answer.src}" align=middle></DIV>`);
});

registerCommand({ id: 'MnInsertPicture', menu: 'EditMenu', order: 70, label: 'picture.insert',
                  run: () => {
                    place = editor.caretRange()?.cloneRange() || null;
                    if (!place) {
                      const doc = editor.bookDocument();
                      place = doc.createRange();
                      place.selectNodeContents(doc.body);
                      place.collapse(false);
                    }
                    chooser.click();
                  } });
