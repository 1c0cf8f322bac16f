// The page's message box and its yes / no / cancel question.

import { registerTexts, textElement } from '../i18n.js';

registerTexts({
  en: { 'message.ok': 'OK', 'message.yes': 'Yes', 'message.no': 'No', 'message.cancel': 'Cancel' },
  ru: { 'message.ok': 'ОК', 'message.yes': 'Да', 'message.no': 'Нет', 'message.cancel': 'Отмена' },
});

const dialog = document.createElement('dialog');
dialog.id = 'MessageDialog';
const form = document.createElement('form');
form.method = 'dialog';
const text = document.createElement('p');
text.id = 'MessageText';
const buttons = document.createElement('menu');
form.append(text, buttons);
dialog.append(form);
document.body.append(dialog);

function button(id, value) {
  const element = textElement('button', id, { value });
  return element;
}

let pendingAnswer = null;
const waiting = [];  // messages that arrived while a question was open

// Shows `message`; messages that arrive while one is shown are added under it.
export function message(message) {
  if (dialog.open && !pendingAnswer) {
    text.textContent = `${text.textContent}\n\n${message}`;
    return;
  }
  if (dialog.open) {
    waiting.push(message);
    return;
  }
  text.textContent = message;
  buttons.replaceChildren(button('message.ok', 'ok'));
  dialog.showModal();
}

// Asks `question`; resolves to "yes", "no" or "cancel" (Escape is cancel).
export function ask(question) {
  if (dialog.open) dialog.close('cancel');
  text.textContent = question;
  buttons.replaceChildren(button('message.yes', 'yes'), button('message.no', 'no'), button('message.cancel', 'cancel'));
  dialog.returnValue = 'cancel';
  dialog.showModal();
  buttons.firstChild.focus();
  return new Promise((resolve) => {
    pendingAnswer = resolve;
  });
}

dialog.addEventListener('close', () => {
  if (!pendingAnswer) return;
  const resolve = pendingAnswer;
  pendingAnswer = null;
  resolve(['yes', 'no'].includes(dialog.returnValue) ? dialog.returnValue : 'cancel');
  if (waiting.length) message(waiting.splice(0).join('\n\n'));
});

export function open(textToShow = '') { message(textToShow); }
