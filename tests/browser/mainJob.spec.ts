import { existsSync } from 'node:fs';

import { expect, test } from './support/fixtures.ts';
import { cameraVideo } from './support/places.ts';

test('from the code on a real screen, by the camera, to a pressed real dialog and its result', async ({
  computer,
  phone,
}) => {
  await computer.film(cameraVideo);
  await phone.pairByCamera();
  await expect
    .poll(async () => (await computer.status()).phones)
    .toMatchObject([{ deviceName: 'Kim’s phone', connected: true }]);
  await expect.poll(() => computer.codeOnScreen(), 'the code on the screen of a paired computer').toBeNull();

  const trash = await computer.file('drafts.trash', 'old drafts\n');
  const dialog = await computer.open(
    'sh',
    '-c',
    'zenity --question --title Trash --text "Are you sure you want to empty ' +
      'the trash?" --ok-label "Empty Trash" --cancel-label Cancel && rm -- "$1"',
    'trash',
    trash,
  );
  const card = phone.card('Trash');
  await expect(card).toHaveAccessibleName('Zenity: Trash');
  expect(await phone.answersOf(card)).toEqual(['Cancel', 'Empty Trash']);

  await phone.answer(card, 'Empty Trash');
  await expect(card).toContainText('Tap again: Empty Trash');
  expect(await dialog.isOpen(), 'after one tap').toBe(true);
  expect(existsSync(trash), 'after one tap').toBe(true);
  await phone.confirm(card, 'Empty Trash');

  await expect(card).toContainText('Done: “Empty Trash” was pressed.');
  expect(await dialog.ended()).toBe(0);
  expect(existsSync(trash), 'after two taps').toBe(false);
  await expect(card).toBeHidden();
  await expect(phone.text('All quiet.')).toBeVisible();
});
