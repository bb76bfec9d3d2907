import { expect, test } from './support/fixtures.ts';
import { Computer } from './support/World.ts';

test('what one phone answers, the other shows', async ({ computer, newPhone }) => {
  const code = await computer.code();
  const [mine, yours] = [await newPhone(), await newPhone()];
  await mine.pairByPaste(code, 'Desk', 'Kim’s phone');
  await yours.pairByPaste(code, 'Desk', 'Robin’s phone');
  await expect
    .poll(async () => (await computer.status()).phones.map(({ deviceName }) => deviceName))
    .toEqual(['Kim’s phone', 'Robin’s phone']);
  const dialog = await computer.askForAccess('Mail');
  await expect(yours.card('Mail')).toBeVisible();
  await mine.answer(mine.card('Mail'), 'Allow');
  await Promise.all([
    expect(mine.card('Mail')).toContainText('Done: “Allow” was pressed.'),
    expect(yours.card('Mail')).toContainText('Answered on another phone: “Allow”.'),
  ]);
  expect(await dialog.ended()).toBe(0);
});

test('of two phones that answer at the same time, the second is told that it was too late', async ({
  computer,
  newPhone,
}) => {
  const code = await computer.code();
  const [mine, yours] = [await newPhone(), await newPhone()];
  await mine.pairByPaste(code, 'Desk', 'Kim’s phone');
  await yours.pairByPaste(code, 'Desk', 'Robin’s phone');
  const dialog = await computer.askForAccess('Mail');
  await expect(mine.card('Mail')).toBeVisible();
  await expect(yours.card('Mail')).toBeVisible();
  await computer.whileFrozen(async () => {
    await mine.answer(mine.card('Mail'), 'Allow');
    await expect(mine.card('Mail')).toContainText('Pressing “Allow” …');
    await yours.answer(yours.card('Mail'), "Don't Allow");
    await expect(yours.card('Mail')).toContainText("Pressing “Don't Allow” …");
  });
  // Both are shown for some seconds only.
  await Promise.all([
    expect(mine.card('Mail')).toContainText('Done: “Allow” was pressed.'),
    expect(yours.card('Mail')).toContainText('No longer waiting: the dialog is gone.'),
  ]);
  expect(await dialog.ended()).toBe(0);
});

test('one phone serves two computers, and each answer goes to its own', async ({ computer, phone, world }) => {
  await phone.pairByPaste(await computer.code(), 'Desk');
  const attic = await Computer.begin(world, 'attic');
  await phone.pairByPaste(await attic.code(), 'Attic');
  const [atDesk, inAttic] = [await computer.askForAccess('Mail'), await attic.askForAccess('Mail')];
  const cards = ['Desk', 'Attic'].map((name) => phone.computer(name).getByRole('article', { name: 'Zenity: Mail' }));
  await phone.answer(cards[0]!, "Don't Allow");
  await expect(cards[0]!).toContainText("Done: “Don't Allow” was pressed.");
  expect(await atDesk.ended()).toBe(1);
  expect(await inAttic.isOpen()).toBe(true);
  await phone.answer(cards[1]!, 'Allow');
  expect(await inAttic.ended()).toBe(0);
  await attic.stopAgent();
  await expect(phone.computer('Attic')).toContainText('Computer offline');
  await expect(phone.computer('Desk')).toContainText('Connected');
});
