// Browser-test helper: an FB2 the page made passes the shipped schema and the checks beyond it
// (`pagewright validate FILE`), and the public FictionBook 2.0 schema of the sample corpus when
// it is beside the checkout (`pagewright validate --schema ... FILE`).
import { execFileSync } from 'node:child_process';
import { existsSync } from 'node:fs';
import { dirname, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
// tests/web -> the checkout -> ../shared/corpus beside it.
export const publicSchema = resolve(here, '..', '..', '..', 'shared', 'corpus', 'schema', 'FictionBook.xsd');

function run(program, args) {
  try {
    execFileSync(program, args, { encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });
    return '';
  } catch (error) {
    return `${error.stdout ?? ''}${error.stderr ?? ''}`.trim() || String(error);
  }
}

// Every finding on the FB2 file at `path`, one line each; empty when the file is valid.
export function fb2Problems(program, path) {
  const problems = [];
  const shipped = run(program, ['validate', path]);
  if (shipped) problems.push(`shipped schema and checks:\n${shipped}`);
  if (existsSync(publicSchema)) {
    const own = run(program, ['validate', '--schema', publicSchema, path]);
    if (own) problems.push(`public schema:\n${own}`);
  }
  return problems;
}

// Throws an assertion error listing every finding unless the FB2 file at `path` is valid.
export function assertValidFb2(program, path) {
  const problems = fb2Problems(program, path);
  if (problems.length) {
    const error = new Error(`${path} is not a valid FB2:\n${problems.join('\n')}`);
    error.name = 'AssertionError';
    throw error;
  }
}

