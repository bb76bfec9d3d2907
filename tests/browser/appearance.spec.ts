import { mkdirSync } from 'node:fs';
import path from 'node:path';

import { accessibilityFindings } from './support/audit.ts';
import { expect, test } from './support/fixtures.ts';
import { picturesFolder } from './support/places.ts';
import type { Phone } from './support/Phone.ts';
import { Computer } from './support/World.ts';

test.slow();

const widths = [320, 390, 1280];
const schemes = ['light', 'dark'] as const;

/** Examines the screen as it is now in every width, as a phone shows it in both schemes, and keeps pictures. */
async function examine(phone: Phone, name: string): Promise<void> {
  await test.step(name, async () => {
    mkdirSync(picturesFolder, { recursive: true });
    for (const width of widths) {
      await phone.page.setViewportSize({ width, height: width < 600 ? 844 : 800 });
      // Under the header that stays, the examiner would not see colours.
      await phone.page.evaluate(() => scrollTo(0, 0));
      const wide = await phone.page.evaluate(() => document.documentElement.scrollWidth);
      expect(wide, `${name} scrolls sideways at ${width} pixels`).toBeLessThanOrEqual(width);
      for (const colorScheme of width === 390 ? schemes : schemes.slice(0, 1)) {
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

test('so is what comes up seldom: long words, many buttons, two taps, results, several computers, an end', async ({
  computer,
  phone,
  world,
}) => {
  await phone.pairByPaste(await computer.code(), 'A computer with quite a long name in the study');
  const path = `/home/kim/${'Projects-and-other-things/'.repeat(4)}letter.txt`;
  const buttons = [
    'Cancel',
    'Keep Both of Them',
    'Move the Old One Aside',
    'Replace',
    'Replace All of Them Without Asking',
  ];
  await computer.obedientDialog('Long', `Replace ${path}?`, ...buttons.map((label) => `${label}=press`));
  await phone.answer(phone.card('Long'), 'Replace');
  await examine(phone, 'long-words');

  await computer.askForAccess('Mail');
  await phone.answer(phone.card('Mail'), 'Allow');
  await expect(phone.card('Mail')).toContainText('Done');
  await computer.question('Printer', 'Erase the print queue?', 'Erase', 'Keep');
  await phone.suppress(phone.card('Printer'));
  await examine(phone, 'results');
  await phone.openSettings();
  await examine(phone, 'muted');
  await phone.closeSettings();

  const attic = await Computer.begin(world, 'attic');
  await phone.pairByPaste(await attic.code(), 'Attic');
  await attic.askForAccess('Calendar');
  await expect(phone.card('Calendar')).toBeVisible();
  await expect.poll(() => attic.codeOnScreen()).toBeNull();
  await attic.press('Unpair iPhone');
  await attic.press('Unpair');
  await expect(phone.text('The computer unpaired this phone')).toBeVisible();
  await examine(phone, 'two-computers');
});
