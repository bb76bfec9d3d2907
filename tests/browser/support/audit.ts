import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';

import type { Page } from '@playwright/test';
import type { AxeResults, RunOptions } from 'axe-core';

const source = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const options: RunOptions = { resultTypes: ['violations', 'incomplete'] };

/** What an examination of the page for people who do not see, or see badly, finds: one line a finding. What the examiner
    cannot decide by itself is left out, except contrast, which is always to be decided. */
export async function accessibilityFindings(page: Page): Promise<string[]> {
  await page.evaluate(source);
  const results = await page.evaluate(
    (given) => (globalThis as unknown as { axe: { run(options: unknown): Promise<AxeResults> } }).axe.run(given),
    options,
  );
  const undecided = results.incomplete.filter(({ id }) => id === 'color-contrast');
  return [...results.violations, ...undecided].flatMap(({ id, help, nodes }) =>
    nodes.map(({ target, failureSummary }) => `${id}: ${help}: ${target.join(' ')}: ${failureSummary ?? ''}`),
  );
}
