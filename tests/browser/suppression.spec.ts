import { expect, test } from './support/fixtures.ts';

test.beforeEach(async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code());
});

test('a muted question leaves the phone and stays on the screen; undone, it comes back', async ({
  computer,
  phone,
}) => {
  const dialog = await computer.question('History', 'Erase the browser history?', 'Erase', 'Keep');
  const card = phone.card('History');
  await phone.suppress(card);
  await expect(phone.text('Not shown on your phones any more.')).toBeVisible();
  await expect.poll(async () => (await computer.status()).pendingApprovalCount).toBe(0);
  expect(await dialog.isOpen()).toBe(true);
  await phone.button('Undo').click();
  await phone.answer(card, 'Keep');
  expect(await dialog.ended()).toBe(1);
});

test('what was muted is listed, also when the page is opened again, and can be shown again', async ({
  computer,
  phone,
}) => {
  await computer.question('Printer', 'Erase the print queue?', 'Erase', 'Keep');
  const card = phone.card('Printer');
  await phone.suppress(card);
  await expect.poll(async () => (await computer.status()).pendingApprovalCount).toBe(0);
  await phone.page.reload();
  await expect(phone.computer()).toContainText('Connected');
  await expect(phone.text('All quiet.')).toBeVisible();

  await phone.openSettings();
  await phone.button('Show again: Zenity: Printer').click();
  await expect(phone.text('Nothing is muted from this phone.')).toBeVisible();
  await phone.closeSettings();
  await expect(card).toBeVisible();
});

test('a new question with the same words stays muted, another does not', async ({ computer, phone }) => {
  const first = await computer.question('Scanner', 'Erase the scan queue?', 'Erase', 'Keep');
  await phone.suppress(phone.card('Scanner'));
  await expect.poll(async () => (await computer.status()).pendingApprovalCount).toBe(0);
  await first.close();
  await computer.question('Scanner', 'Erase the scan queue?', 'Erase', 'Keep');
  await computer.question('Mail', 'Erase the mail queue?', 'Erase', 'Keep');
  await expect(phone.card('Mail')).toBeVisible();
  await expect(phone.page).toHaveTitle('(1) Tallyfox');
});
