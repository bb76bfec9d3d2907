import { expect, test } from './support/fixtures.ts';
import { renewServedPage } from './support/servedPage.ts';
import { storedFiles } from './support/storedSecrets.ts';

test('a page that was opened before its update goes on, offers the new one, and stays paired', async ({
  computer,
  phone,
  world,
}) => {
  phone.watch.expect(/WebSocket connection to .* failed/);
  const version = () => phone.page.evaluate(() => document.documentElement.dataset.renewed);
  await phone.pairByPaste(await computer.code());
  await phone.untilInstalled();
  await world.stopRelay();
  const renewed = renewServedPage();
  await world.startRelay();

  await expect(phone.computer()).toContainText('Connected');
  expect(await version()).toBeUndefined();
  const dialog = await computer.askForAccess('Mail');
  await phone.answer(phone.card('Mail'), 'Allow');
  expect(await dialog.ended()).toBe(0);

  await phone.page.reload();
  await expect.poll(version).toBe(renewed);
  await expect(phone.text('A new version of this page is ready.')).toBeVisible();
  await phone.button('Reload').click();
  await expect(phone.text('A new version of this page is ready.')).toBeHidden();
  await expect(phone.computer()).toContainText('Connected');
  expect(await version()).toBe(renewed);
  await expect
    .poll(async () => Object.keys(await storedFiles(phone.page)))
    .toEqual([expect.stringMatching(`^shell-.*${renewed}$`)]);
  await phone.page.context().setOffline(true);
  phone.watch.expect(/ERR_INTERNET_DISCONNECTED/);
  await phone.page.reload();
  await expect(phone.computer()).toBeVisible();
  expect(await version(), 'without a network').toBe(renewed);
});
