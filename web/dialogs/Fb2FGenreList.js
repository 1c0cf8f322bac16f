// The genre list of the FB2 form (GenD): the format's genres and the user's own, each with its
// name in the interface language, narrowed by what the user types; a click picks a genre.

import * as api from '../api.js';
import { registerTexts, translate, language, onLanguage } from '../i18n.js';

registerTexts({
  en: { 'genres.search': 'Find a genre', 'genres.close': 'Close the list' },
  ru: { 'genres.search': 'Найти жанр', 'genres.close': 'Закрыть список' },
});

let genres = null;
let picked = () => {};

export const panel = document.createElement('div');
panel.id = 'GenD';
panel.hidden = true;
panel.innerHTML = `<div class="genres-head"><input id="GenreSearch" type="search" data-t-placeholder="genres.search">
  <button type="button" id="GenreClose" data-t-title="genres.close">×</button></div>
  <ul id="GenreList"></ul>`;
translate(panel);
const search = panel.querySelector('#GenreSearch');
const list = panel.querySelector('#GenreList');

function render() {
  if (!genres) return;
  const wanted = search.value.trim().toLowerCase();
  const items = [];
  for (const genre of genres) {
    const name = genre[language()] || genre.en || genre.code;
    if (wanted && !genre.code.toLowerCase().includes(wanted) && !name.toLowerCase().includes(wanted)) continue;
    const item = document.createElement('li');
    item.dataset.code = genre.code;
    item.tabIndex = 0;
    const code = document.createElement('code');
    code.textContent = genre.code;
    const text = document.createElement('span');
    text.textContent = name;
    item.append(text, code);
    if (genre.user) item.classList.add('user');
    items.push(item);
  }
  list.replaceChildren(...items);
}

list.addEventListener('click', (event) => {
  const item = event.target.closest('li[data-code]');
  if (item) picked(item.dataset.code);
});
list.addEventListener('keydown', (event) => {
  const item = event.target.closest('li[data-code]');
  if (item && event.key === 'Enter') picked(item.dataset.code);
});
search.addEventListener('input', render);
panel.querySelector('#GenreClose').addEventListener('click', () => { panel.hidden = true; });
onLanguage(render);

// `listener(code)` hears every genre the user picks.
export function onPick(listener) { picked = listener; }

// Shows the list (read from the server the first time) or hides it.
export async function toggle() {
  if (!panel.hidden) {
    panel.hidden = true;
    return;
  }
  if (!genres) genres = (await api.getJson('/api/description/genres')).genres;
  render();
  panel.hidden = false;
  search.focus();
}
