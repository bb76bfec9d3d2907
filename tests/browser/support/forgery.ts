import type { Browser } from '@playwright/test';
import { renderSVG } from 'uqr';

/** A picture of a screen that shows a QR code with any content. */
export async function pictureOfCode(browser: Browser, content: string, picture: string): Promise<void> {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 } });
  await page.setContent(`<style>svg { display: block; width: 300px; margin: 240px auto }</style>${renderSVG(content)}`);
  await page.screenshot({ path: picture });
  await page.close();
}

/** A pairing code with some members changed; undefined leaves one out. */
export function changedCode(code: string, changes: Record<string, unknown>): string {
  return JSON.stringify({ ...(JSON.parse(code) as Record<string, unknown>), ...changes });
}
