// One table of commands: each has an id, its texts, a shortcut, what it does and whether it can
// run now. The menu bar, the toolbar and the keyboard all read this table; modules add their
// own commands with registerCommand.
//
// A command: { id, menu, label, key | keys, run, canRun, dynamicLabel, toolbar, tip, data, order }
//   label, tip: text ids (i18n), or { en, ru } (registered under "cmd.<id>" and "tip.<id>")
//   key: "Ctrl+S", "Ctrl+Shift+Z", "F3"; keys: several
//   dynamicLabel(): the label shown now (for "Undo Title")
//   toolbar: true puts a button on the toolbar; data: attributes (data-*) of its menu item

import { registerTexts, t, textElement, onLanguage } from './i18n.js';

registerTexts({
  en: { 'menu.bar': 'Menu', 'toolbar': 'Toolbar' },
  ru: { 'menu.bar': 'Меню', 'toolbar': 'Панель инструментов' },
});

const menus = [];            // { id, label, order, element, items }
const commands = new Map();  // id -> command
const slots = [];            // { menu, element, order }
let openMenu = null;

function textId(command, field, prefix) {
  const value = command[field];
  if (value && typeof value === 'object') {
    const id = `${prefix}.${command.id}`;
    registerTexts({ en: { [id]: value.en }, ru: { [id]: value.ru } });
    return id;
  }
  return value;
}

// A menu of the menu bar; `label` is a text id.
export function registerMenu(id, label, order = 100) {
  if (menus.some((menu) => menu.id === id)) return;
  menus.push({ id, label, order });
  menus.sort((a, b) => a.order - b.order);
  scheduleRender();
}

export function registerCommand(command) {
  const entry = { order: 100, canRun: () => true, ...command };
  entry.label = textId(command, 'label', 'cmd');
  entry.tip = textId(command, 'tip', 'tip');
  entry.keys = command.keys || (command.key ? [command.key] : []);
  commands.set(entry.id, entry);
  scheduleRender();
  return entry;
}

// An element of the page's own making placed among a menu's items (the recent files).
export function registerSlot(menu, element, order = 100) {
  slots.push({ menu, element, order });
  scheduleRender();
}

export function command(id) { return commands.get(id); }
export function allCommands() { return [...commands.values()]; }

// Runs the command `id` when it can run now; true when it ran.
export async function runCommand(id) {
  const entry = commands.get(id);
  if (!entry || !entry.canRun()) return false;
  closeMenus();
  await entry.run();
  return true;
}

// The shortcut of a key event, as commands write it.
export function keyName(event) {
  let key = event.key;
  if (key.length === 1) key = key.toUpperCase();
  return (event.ctrlKey || event.metaKey ? 'Ctrl+' : '') + (event.altKey ? 'Alt+' : '') +
         (event.shiftKey && (key.length > 1 || /[A-Z]/.test(key)) ? 'Shift+' : '') + key;
}

function inField(event) {
  const target = event.target;
  return target instanceof HTMLElement && target.matches('input, textarea, select');
}

// Runs the command bound to the key of `event`; true when one was found. In a form's field only
// the commands marked `global` (save, open, find) take their keys from it.
export function handleKey(event) {
  const name = keyName(event);
  for (const entry of commands.values()) {
    if (!entry.keys.includes(name) || (inField(event) && !entry.global)) continue;
    event.preventDefault();
    event.stopPropagation();
    if (entry.canRun()) { closeMenus(); entry.run(); }
    return true;
  }
  if (event.key === 'F10' || (event.key === 'Alt' && !event.ctrlKey)) {
    event.preventDefault();
    document.querySelector('#menu > .menu > button')?.focus();
    return true;
  }
  return false;
}

function itemFor(entry) {
  const button = document.createElement('button');
  button.type = 'button';
  button.id = entry.id;
  button.setAttribute('role', 'menuitem');
  for (const [name, value] of Object.entries(entry.data || {})) button.dataset[name] = value;
  const label = document.createElement('span');
  label.className = 'label';
  if (!entry.dynamicLabel) label.dataset.t = entry.label;
  label.textContent = entry.dynamicLabel ? entry.dynamicLabel() : t(entry.label);
  button.append(label);
  if (entry.keys.length) {
    const key = document.createElement('span');
    key.className = 'key';
    key.textContent = entry.keys[0];
    button.append(key);
  }
  if (entry.tip) button.dataset.tTitle = entry.tip;
  if (entry.tip) button.title = t(entry.tip);
  button.addEventListener('click', () => runCommand(entry.id));
  return button;
}

let renderPending = false;
function scheduleRender() {
  if (renderPending) return;
  renderPending = true;
  queueMicrotask(() => { renderPending = false; render(); });
}

// Builds the menu bar and the toolbar from the table.
export function render() {
  const bar = document.getElementById('menu');
  const toolbar = document.getElementById('toolbar');
  if (!bar || !toolbar) return;
  bar.setAttribute('role', 'menubar');
  bar.dataset.tLabel = 'menu.bar';
  bar.replaceChildren();
  for (const menu of menus) {
    const holder = document.createElement('div');
    holder.className = 'menu';
    const opener = textElement('button', menu.label, { type: 'button', 'aria-haspopup': 'true' });
    opener.dataset.menu = menu.id;
    const items = document.createElement('div');
    items.className = 'items';
    items.id = menu.id;
    items.setAttribute('role', 'menu');
    const entries = [...[...commands.values()].filter((entry) => entry.menu === menu.id).map((entry) => ({ order: entry.order, element: itemFor(entry) })),
                     ...slots.filter((slot) => slot.menu === menu.id)];
    entries.sort((a, b) => a.order - b.order);
    items.append(...entries.map((entry) => entry.element));
    holder.append(opener, items);
    bar.append(holder);
    menu.element = holder;
    opener.addEventListener('click', () => (openMenu === holder ? closeMenus() : showMenu(holder, false)));
    opener.addEventListener('mouseenter', () => { if (openMenu && openMenu !== holder) showMenu(holder, false); });
    opener.addEventListener('keydown', (event) => openerKey(event, holder));
    items.addEventListener('keydown', (event) => itemKey(event, holder));
  }
  toolbar.setAttribute('role', 'toolbar');
  toolbar.replaceChildren(...[...commands.values()].filter((entry) => entry.toolbar).map((entry) => {
    const button = textElement('button', entry.toolbarLabel || entry.label, { type: 'button' });
    button.dataset.command = entry.id;
    if (entry.tip) { button.dataset.tTitle = entry.tip; button.title = t(entry.tip); }
    button.addEventListener('click', () => runCommand(entry.id));
    return button;
  }));
}

// Brings each item's state up to date: greyed when it cannot run, labels that name the step.
function refreshItems(holder) {
  for (const button of holder.querySelectorAll('.items > button[id]')) {
    const entry = commands.get(button.id);
    if (!entry) continue;
    button.disabled = !entry.canRun();
    if (entry.dynamicLabel) button.querySelector('.label').textContent = entry.dynamicLabel();
  }
}

function showMenu(holder, focusFirst) {
  closeMenus();
  refreshItems(holder);
  holder.classList.add('open');
  holder.querySelector(':scope > button').setAttribute('aria-expanded', 'true');
  openMenu = holder;
  if (focusFirst) focusItem(holder, 0);
}

export function closeMenus() {
  if (!openMenu) return;
  openMenu.classList.remove('open');
  openMenu.querySelector(':scope > button').setAttribute('aria-expanded', 'false');
  openMenu = null;
}

function focusable(holder) {
  return [...holder.querySelectorAll('.items > button:not([disabled]), .items label, .items > div > button')];
}

function focusItem(holder, index) {
  const items = focusable(holder);
  if (items.length) items[(index + items.length) % items.length].focus();
}

function neighbourMenu(holder, step) {
  const all = [...document.querySelectorAll('#menu > .menu')];
  return all[(all.indexOf(holder) + step + all.length) % all.length];
}

function openerKey(event, holder) {
  if (['ArrowDown', 'Enter', ' '].includes(event.key)) {
    event.preventDefault();
    showMenu(holder, true);
  } else if (event.key === 'ArrowRight' || event.key === 'ArrowLeft') {
    event.preventDefault();
    neighbourMenu(holder, event.key === 'ArrowRight' ? 1 : -1).querySelector(':scope > button').focus();
  } else if (event.key === 'Escape') {
    closeMenus();
  }
}

function itemKey(event, holder) {
  const items = focusable(holder);
  const at = items.indexOf(document.activeElement);
  if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
    event.preventDefault();
    focusItem(holder, at + (event.key === 'ArrowDown' ? 1 : -1));
  } else if (event.key === 'Escape') {
    event.preventDefault();
    closeMenus();
    holder.querySelector(':scope > button').focus();
  } else if (event.key === 'ArrowRight' || event.key === 'ArrowLeft') {
    event.preventDefault();
    showMenu(neighbourMenu(holder, event.key === 'ArrowRight' ? 1 : -1), true);
  }
}

document.addEventListener('mousedown', (event) => {
  if (openMenu && !openMenu.contains(event.target)) closeMenus();
});
document.addEventListener('keydown', (event) => { if (!event.defaultPrevented) handleKey(event); });
onLanguage(() => { for (const menu of document.querySelectorAll('#menu > .menu')) refreshItems(menu); });
