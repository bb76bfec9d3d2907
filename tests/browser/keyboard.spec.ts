import type { Locator } from '@playwright/test';

import { expect, test } from './support/fixtures.ts';
import type { Phone } from './support/Phone.ts';

const mostStops = 40;

/** Goes from one stop to the next until this one has the keyboard. */
async function goTo(phone: Phone, stop: Locator): Promise<void> {
  for (let stops = 0; stops < mostStops; ++stops) {
    if (await stop.evaluate((element) => element === document.activeElement)) return;
    await phone.page.keyboard.press('Tab');
  }
  throw new Error(`the keyboard never gets to ${stop.toString()}`);
}

test('the main job by the keyboard alone, and told to who cannot see it', async ({ computer, newPhone }) => {
  const phone = await newPhone({ viewport: { width: 1280, height: 800 }, hasTouch: false });
  const { keyboard } = phone.page;
  const pressOn = async (stop: Locator, key = 'Enter') => {
    await goTo(phone, stop);
    await keyboard.press(key);
  };
  await pressOn(phone.button('Pair a computer'));
  await goTo(phone, phone.page.getByLabel('Text of the code'));
  await keyboard.insertText(await computer.code());
  await pressOn(phone.button('Use this text'));
  await goTo(phone, phone.page.getByLabel('Name of the computer'));
  await keyboard.press('Control+A');
  await keyboard.type('Desk');
  await keyboard.press('Enter');
  await expect(phone.computer('Desk')).toContainText('Connected');
  await expect(phone.announcer).toHaveText('Desk is paired.');

  const dialog = await computer.question('Trash', 'Are you sure you want to empty the trash?', 'Empty Trash', 'Cancel');
  const card = phone.card('Trash');
  await expect(phone.announcer).toHaveText('New: Zenity: Trash');
  await expect(card).toHaveAttribute('data-settled', 'true');
  await pressOn(phone.answerButton(card, 'Empty Trash'), 'Space');
  await expect(phone.announcer).toHaveText('Tap “Empty Trash” again within five seconds to confirm.');
  await phone.confirm(card, 'Empty Trash', () => keyboard.press('Space'));
  await expect(phone.announcer).toHaveText('Done: “Empty Trash” was pressed.');
  expect(await dialog.ended()).toBe(0);

  await pressOn(phone.button('Settings'));
  await expect(phone.page.getByRole('heading', { name: 'Settings' })).toBeFocused();
  await pressOn(phone.button('Unpair this phone'));
  await expect(phone.page.getByRole('alertdialog')).toBeVisible();
  await keyboard.press('Escape');
  await expect(phone.page.getByRole('alertdialog')).toBeHidden();
  await expect(phone.button('Unpair this phone')).toBeFocused();
  await keyboard.press('Escape');
  await expect(phone.computer('Desk')).toBeVisible();
});
