// Times the opening of a 2 MB text book in the workshop: from the upload in the page to the
// book's last line shown in the editor. Run from tests/web (where playwright-core is
// installed): PAGEWRIGHT=build/pagewright node ../../bench/workshop_open.mjs
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createRequire } from 'node:module';

const require = createRequire(join(process.cwd(), 'package.json'));
const { chromium } = require('playwright-core');
const program = process.env.PAGEWRIGHT;
const home = mkdtempSync(join(tmpdir(), 'pw-open-'));

// A hard-wrapped novel of about 2 MB with chapter headings.
let text = '';
for (let chapter = 1; text.length < 2 * 1024 * 1024; ++chapter) {
  text += `\nCHAPTER ${chapter}\n\n`;
  for (let p = 0; p < 30; ++p)
    text += '     It was a quiet morning in the valley, and the road that led to the old\n' +
            'mill was still wet from the night rain. Nobody came to the bridge.\n';
}
text += '\nTHE LAST LINE OF THE BOOK.\n';
const book = join(home, 'novel.txt');
writeFileSync(book, text);

const workshop = spawn(program, ['--no-browser', '--home', join(home, 'home')],
                       { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, HOME: home } });
const address = await new Promise((resolve) => {
  let out = '';
  workshop.stdout.on('data', (chunk) => {
    out += chunk;
    const found = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?s=[0-9a-f]+/);
    if (found) resolve(found[0]);
  });
});
const browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium', args: ['--no-sandbox'] });
const page = await browser.newPage();
await page.goto(address);
await page.waitForSelector('#Form1');
const start = Date.now();
await page.setInputFiles('#UploadBook', book);
await page.frameLocator('#editor').locator('text=THE LAST LINE OF THE BOOK.').waitFor({ timeout: 60000 });
const seconds = (Date.now() - start) / 1000;
console.log(`opening a ${(text.length / 1048576).toFixed(1)} MB text book in the workshop: ${seconds.toFixed(2)} s`);
await browser.close();
workshop.kill();
rmSync(home, { recursive: true, force: true });
