import { storedRecords } from './support/storedSecrets.ts';
import { expect, test } from './support/fixtures.ts';

test('unpaired from the phone, the computer shows its code again and the phone has forgotten it', async ({
  computer,
  phone,
}) => {
  const code = await computer.code();
  await phone.pairByPaste(code);
  await expect.poll(() => computer.codeOnScreen()).toBeNull();
  await phone.openSettings();
  await phone.button('Unpair this phone').click();
  await phone.button('Unpair').click();
  await expect.poll(async () => (await computer.status()).phones).toEqual([]);
  expect(JSON.parse(await computer.code())).toEqual(JSON.parse(code));
  await expect(phone.button('Pair a computer')).toBeVisible();
  await expect(phone.computer()).toBeHidden();
  await expect
    .poll(() => storedRecords(phone.page))
    .not.toContain((JSON.parse(code) as { pairingID: string }).pairingID);
});

test('unpaired at the computer, the phone says so, forgets its keys and can pair anew', async ({ computer, phone }) => {
  const code = await computer.code();
  await phone.pairByPaste(code);
  await expect.poll(() => computer.codeOnScreen()).toBeNull();
  await computer.press('Unpair iPhone');
  await computer.press('Unpair');
  await expect(phone.text('The computer unpaired this phone, and its keys were deleted here.')).toBeVisible();
  await expect.poll(() => storedRecords(phone.page)).not.toContain('wrappedRelaySecret');

  const next = await computer.code();
  expect(next).not.toBe(code);
  await phone.button('Pair again').click();
  await phone.pasteCode(code);
  await phone.button('Pair').click();
  await expect(phone.text('This pairing was revoked on the computer.')).toBeVisible();
  await phone.button('Use another code').click();
  await phone.pasteCode(next);
  await phone.finishPairing('New desk');
});

test('a page that was closed when the pairing ended says so when it is opened', async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code());
  await expect.poll(() => computer.codeOnScreen()).toBeNull();
  await phone.page.goto('about:blank');
  await computer.press('Unpair iPhone');
  await computer.press('Unpair');
  await computer.code();
  await phone.open();
  await expect(phone.text('The computer unpaired this phone, and its keys were deleted here.')).toBeVisible();
});

test('without a connection the phone forgets its keys all the same, and says what it could not do', async ({
  computer,
  phone,
  world,
}) => {
  phone.watch.expect(/WebSocket connection to .* failed/);
  await phone.pairByPaste(await computer.code());
  await world.stopRelay();
  await expect(phone.computer()).toContainText('No connection, trying again');
  await phone.openSettings();
  await phone.button('Unpair this phone').click();
  await expect(phone.page.getByRole('alertdialog')).toContainText('The relay cannot be reached now');
  await phone.button('Unpair').click();
  await expect(phone.computer()).toBeHidden();
  await expect.poll(() => storedRecords(phone.page)).not.toContain('wrappedRelaySecret');
});
