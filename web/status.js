// The status line: the server's status text and percentage while a chain runs (the bar is
// hidden when nothing runs), short notes of the page's own, and the server's messages.

import * as api from './api.js';
import { registerTexts, t } from './i18n.js';
import { message } from './dialogs/MessageDialog.js';

registerTexts({
  en: { 'status.notAnswering': 'the workshop is not answering' },
  ru: { 'status.notAnswering': 'мастерская не отвечает' },
});

const NOTE_MS = 6000;
const statusText = document.getElementById('status');
const bar = document.getElementById('percent');
let noteUntil = 0;

// Shows `text` on the status line for a few seconds, unless a chain reports meanwhile.
export function note(text) {
  statusText.textContent = text;
  noteUntil = Date.now() + NOTE_MS;
}

// Shows the server's status; the bar only while a chain runs.
export function show(text, percent) {
  if (text || Date.now() > noteUntil) {
    statusText.textContent = text;
    if (text) noteUntil = 0;
  }
  const running = Boolean(text) && percent >= 0;
  bar.hidden = !running;
  bar.value = running ? percent : 0;
}

api.onState((state) => {
  if (state === null) {
    show('', 0);
    return;
  }
  show(state.status, state.percent);
  for (const text of state.messages || []) message(text);
});

window.addEventListener('unhandledrejection', (event) => {
  if (event.reason instanceof api.ApiError && !api.hasEnded()) note(t('status.notAnswering'));
});
