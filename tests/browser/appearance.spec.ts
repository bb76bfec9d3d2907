import { mkdirSync } from 'node:fs';
import path from 'node:path';

import { accessibilityFindings } from './support/audit.ts';
import { expect, test } from './support/fixtures.ts';
import { picturesFolder } from './support/places.ts';
import type { Phone } from './support/Phone.ts';

const widths = [320, 390, 1280];
const schemes = ['light', 'dark'] as const;

/** Examines the screen as it is now in every width and scheme, and keeps a picture of each. */
async function examine(phone: Phone, name: string): Promise<void> {
  await test.step(name, async () => {
    mkdirSync(picturesFolder, { recursive: true });
    for (const width of widths) {
      await phone.page.setViewportSize({ width, height: width < 600 ? 844 : 800 });
      const wide = await phone.page.evaluate(() => document.documentElement.scrollWidth);
      expect(wide, `${name} scrolls sideways at ${width} pixels`).toBeLessThanOrEqual(width);
      for (const colorScheme of schemes) {
        await phone.page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
        await phone.page.screenshot({ path: path.join(picturesFolder, `${name}-${width}-${colorScheme}.png`) });
        if (width !== 390) continue;
        expect(await accessibilityFindings(phone.page), `${name}, ${colorScheme}`).toEqual([]);
      }
    }
    await phone.page.setViewportSize({ width: 390, height: 844 });
    await phone.page.emulateMedia({ colorScheme: 'light' });
  });
}

test('every screen is good to read, in light and dark, narrow and wide, for eyes and for screen readers', async ({
  computer,
  phone,
}) => {
  await examine(phone, 'welcome');
  await phone.beginPairing();
  await examine(phone, 'pairing');
  await phone.pasteCode('nonsense');
  await examine(phone, 'wrong-code');
  await phone.pasteCode(await computer.code());
  await examine(phone, 'names');
  await phone.finishPairing();
  await expect(phone.text('All quiet.')).toBeVisible();
  await examine(phone, 'quiet');
  await computer.askForAccess('Documents');
  await expect(phone.card('Documents')).toBeVisible();
  await computer.password();
  await expect(phone.card('Unlock')).toBeVisible();
  await computer.question('Trash', 'Are you sure you want to empty the trash?', 'Empty Trash', 'Cancel');
  await expect(phone.card('Trash')).toBeVisible();
  await examine(phone, 'cards');
  await phone.openSettings();
  await examine(phone, 'settings');
  await phone.button('Unpair this phone').click();
  await examine(phone, 'unpair');
  await phone.button('Keep').click();
  await phone.closeSettings();
  await computer.stopAgent();
  await expect(phone.computer()).toContainText('Computer offline');
  await examine(phone, 'offline');
});
