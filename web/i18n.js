// The page's texts by id, in English and Russian. Each module registers its own texts; the
// markup names a text by id (data-t, data-t-title, data-t-placeholder) and every such element is
// rewritten at once when the language changes. The server's message table (its texts in the
// interface language) answers ids that no module registered.

const tables = { en: {}, ru: {} };
const listeners = new Set();
let serverTexts = {};
let current = 'en';

export const LANGUAGES = ['en', 'ru'];

// Adds texts: registerTexts({ en: { id: 'text' }, ru: { id: 'текст' } }).
export function registerTexts(texts) {
  for (const language of LANGUAGES) Object.assign(tables[language], texts[language] || {});
}

// The texts of the server's message table, in the interface language.
export function useServerTexts(texts) { serverTexts = texts || {}; }

// The text `id` in the current language; "{0}", "{1}" ... are replaced by the arguments.
export function t(id, ...args) {
  let text = tables[current][id] ?? serverTexts[id] ?? tables.en[id] ?? id;
  args.forEach((arg, index) => { text = text.replaceAll(`{${index}}`, String(arg)); });
  return text;
}

// The ids that have an English text and none in `language` (the page's tests look for gaps).
export function missingTexts(language) {
  return Object.keys(tables.en).filter((id) => !Object.hasOwn(tables[language], id));
}

export function language() { return current; }

// Shows every text in `language`; listeners rebuild what they render themselves.
export function setLanguage(language) {
  if (!LANGUAGES.includes(language) || language === current) return false;
  current = language;
  document.documentElement.lang = language;
  translate(document);
  for (const listener of listeners) listener(language);
  return true;
}

export function onLanguage(listener) { listeners.add(listener); }

const ATTRIBUTES = [['data-t-title', 'title'], ['data-t-placeholder', 'placeholder'], ['data-t-label', 'aria-label']];

// Rewrites the texts of every element under `root` that names one.
export function translate(root) {
  for (const element of root.querySelectorAll('[data-t]')) element.textContent = t(element.dataset.t);
  for (const [data, attribute] of ATTRIBUTES)
    for (const element of root.querySelectorAll(`[${data}]`)) element.setAttribute(attribute, t(element.getAttribute(data)));
}

// An element of `tag` whose text is the text `id` (rewritten on a language change).
export function textElement(tag, id, attributes = {}) {
  const element = document.createElement(tag);
  element.dataset.t = id;
  element.textContent = t(id);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  return element;
}
