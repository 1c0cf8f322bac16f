// Helpers of the browser tests: a workshop program in a scratch home, a headless Chromium,
// and the moves a user makes in the page.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, mkdirSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after } from 'node:test';
import { chromium } from 'playwright-core';

export const program = process.env.PAGEWRIGHT;
export const artifacts = process.env.PW_ARTIFACTS || join(tmpdir(), 'pagewright-web-artifacts');
mkdirSync(artifacts, { recursive: true });

export function scratchHome() { return mkdtempSync(join(tmpdir(), 'pw-web-')); }

// Starts the workshop on `home`; resolves to { process, address, output() } once it prints its
// address.
export function startWorkshop(home, extra = []) {
  assert.ok(program, 'PAGEWRIGHT names the program under test');
  const child = spawn(program, ['--no-browser', '--home', join(home, 'home'), ...extra],
                      { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, HOME: home } });
  let out = '';
  return new Promise((resolve, reject) => {
    child.stdout.on('data', (chunk) => {
      out += chunk;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?s=[0-9a-f]+/);
      if (found) resolve({ process: child, address: found[0], output: () => out, ended: exited(child) });
    });
    child.on('exit', (code) => reject(new Error(`the workshop ended with ${code} before it served`)));
  });
}

function exited(child) {
  return new Promise((resolve) => {
    if (child.exitCode !== null) resolve(child.exitCode);
    else child.on('exit', (code) => resolve(code));
  });
}

export function launchBrowser() {
  return chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', headless: true, args: ['--no-sandbox'] });
}

// A browser for the tests of one file, and the scratch homes they make (push each on `homes`):
// the browser is closed and the homes removed after the last test.
export async function sharedBrowser() {
  const session = { browser: await launchBrowser(), homes: [] };
  after(async () => {
    await session.browser.close();
    for (const home of session.homes) rmSync(home, { recursive: true, force: true });
  });
  return session;
}

// A browser and one workshop in a scratch home for the tests of one file; `restart()` ends the
// workshop and starts it again on the same home. After the last test the workshop ends (it
// saves on its way out, so the home goes only once it has ended).
export async function sharedWorkshop() {
  const session = { browser: await launchBrowser(), home: scratchHome(), workshop: null };
  const end = async () => {
    session.workshop?.process.kill();
    await session.workshop?.ended;
  };
  session.restart = async () => {
    await end();
    session.workshop = await startWorkshop(session.home);
  };
  after(async () => {
    await session.browser.close();
    await end();
    rmSync(session.home, { recursive: true, force: true });
  });
  await session.restart();
  return session;
}

// A page on the workshop whose script errors fail the test.
export async function openPage(browser, address) {
  const context = await browser.newContext({ acceptDownloads: true, viewport: { width: 1280, height: 800 } });
  const page = await context.newPage();
  const errors = [];
  page.on('pageerror', (error) => errors.push(error.message));
  await page.goto(address);
  await page.waitForSelector('#Form1 #menu .menu');
  return { page, context, errors };
}

export const frame = (page) => page.frameLocator('#editor');
export const editorHtml = (page) => frame(page).locator('body').innerHTML();

// Chooses a menu command through the menu bar, as a user clicks.
export async function menu(page, menuId, commandId) {
  await page.click(`#menu .menu > button[data-menu="${menuId}"]`);
  await page.click(`#${menuId} #${commandId}`);
}

// Selects the whole paragraph (a DIV of the book) whose text is `text`.
export async function selectParagraph(page, text) {
  await frame(page).locator(`div:text-is("${text}")`).evaluate((el) => {
    const doc = el.ownerDocument;
    const range = doc.createRange();
    range.selectNode(el);
    doc.getSelection().removeAllRanges();
    doc.getSelection().addRange(range);
  });
}

// Puts the caret at the end of the element holding `text`.
export async function caretIn(page, text) {
  await frame(page).locator(`text=${text}`).first().click();
  await page.keyboard.press('End');
}

export async function upload(page, file, marker) {
  await page.setInputFiles('#UploadBook', file);
  await frame(page).locator(`text=${marker}`).first().waitFor();
}

// Waits until the book shows `text`; when it does not, the failure says what the book, the status
// line and any open dialog showed instead.
export async function bookShows(page, text, timeout = 30000) {
  try {
    await frame(page).locator(`text=${text}`).first().waitFor({ timeout });
  } catch (error) {
    const seen = await page.evaluate(() => ({
      book: document.getElementById('editor').contentDocument?.body?.innerText.slice(0, 600),
      status: document.getElementById('status')?.textContent,
      dialogs: [...document.querySelectorAll('dialog[open]')].map((d) => `${d.id}: ${d.innerText.slice(0, 200)}`),
    })).catch(() => ({}));
    throw new Error(`the book does not show "${text}": ${JSON.stringify(seen)}\n${error.message}`);
  }
}
