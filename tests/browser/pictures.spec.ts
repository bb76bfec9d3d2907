import path from 'node:path';

import { expect, test } from './support/fixtures.ts';
import { documentPictures } from './support/places.ts';

// For the documents, on demand alone: scripts/screenshots --page.
test('pictures for the documents', { tag: '@pictures' }, async ({ computer, newPhone }) => {
  const phone = await newPhone({ deviceScaleFactor: 2, viewport: { width: 390, height: 780 } });
  const picture = async (name: string) => {
    for (const colorScheme of ['light', 'dark'] as const) {
      await phone.page.emulateMedia({ colorScheme, reducedMotion: 'reduce' });
      await phone.page.screenshot({ path: path.join(documentPictures, `phone-${name}-${colorScheme}.png`) });
    }
  };
  await phone.beginPairing();
  await picture('pairing');
  await phone.pasteCode(await computer.code());
  await phone.finishPairing('Study', 'Kim’s phone');
  await computer.askForAccess('Documents');
  await expect(phone.card('Documents')).toBeVisible();
  await computer.password();
  await expect(phone.card('Unlock')).toHaveAttribute('data-settled', 'true');
  await phone.page.evaluate(() => (document.activeElement as HTMLElement | null)?.blur());
  await picture('approvals');
  await phone.answer(phone.card('Unlock'), 'Cancel');
  await phone.answer(phone.card('Documents'), 'Allow');
  await expect(phone.card('Documents')).toContainText('Done');
  await computer.question('Trash', 'Are you sure you want to empty the trash?', 'Empty Trash', 'Cancel');
  await expect(phone.card('Unlock')).toBeHidden();
  await expect(phone.card('Documents')).toBeHidden();
  await phone.answer(phone.card('Trash'), 'Empty Trash');
  await picture('second-tap');
});
