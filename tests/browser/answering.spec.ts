import { expect, test } from './support/fixtures.ts';

test.beforeEach(async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code());
});

test('a question is shown as the computer shows it, and pressed by one tap', async ({ computer, phone }) => {
  const dialog = await computer.askForAccess('Documents');
  const card = phone.card('Documents');
  await expect(card).toHaveAccessibleName('Zenity: Documents');
  expect(await phone.answersOf(card)).toEqual(["Don't Allow", 'Allow']);
  await expect(phone.answerButton(card, 'Allow')).toHaveAccessibleDescription('Recommended');
  await expect(phone.answerButton(card, "Don't Allow")).not.toHaveAccessibleDescription('Recommended');
  await phone.answer(card, 'Allow');
  await expect(card).toContainText('Done: “Allow” was pressed.');
  expect(await dialog.ended()).toBe(0);
});

test('a prompt for a password can be denied, not approved', async ({ computer, phone }) => {
  const dialog = await computer.password();
  const card = phone.card('Unlock');
  await expect(card).toContainText('This dialog asks for a password or keychain access.');
  await expect(phone.answerButton(card, 'OK')).toBeDisabled();
  await expect(phone.answerButton(card, 'OK')).toHaveAccessibleDescription('Only at the computer');
  await phone.answerButton(card, 'OK').tap({ force: true });
  await phone.answer(card, 'Cancel');
  await expect(card).toContainText('Done: “Cancel” was pressed.');
  expect(await dialog.ended()).toBe(1);
});

test('one tap of two and then another button presses the other button', async ({ computer, phone }) => {
  const dialog = await computer.question('Attic', 'Erase the attic?', 'Erase', 'Keep');
  const card = phone.card('Attic');
  await phone.answer(card, 'Erase');
  await phone.answer(card, 'Keep');
  await expect(card).toContainText('Done: “Keep” was pressed.');
  expect(await dialog.ended()).toBe(1);
});

test('two questions are two cards, and an answer is for its own', async ({ computer, phone }) => {
  const first = await computer.askForAccess('Calendar');
  await expect(phone.card('Calendar')).toBeVisible();
  const second = await computer.askForAccess('Photos');
  await expect(phone.card('Photos')).toBeVisible();
  await expect(phone.page).toHaveTitle('(2) Tallyfox');
  await phone.answer(phone.card('Photos'), "Don't Allow");
  expect(await second.ended()).toBe(1);
  expect(await first.isOpen()).toBe(true);
  await expect(phone.page).toHaveTitle('(1) Tallyfox');
  await phone.answer(phone.card('Calendar'), 'Allow');
  expect(await first.ended()).toBe(0);
});

test('a question that ends at the computer ends on the phone', async ({ computer, phone }) => {
  const dialog = await computer.question('Cellar', 'Erase the cellar?', 'Erase', 'Keep');
  const card = phone.card('Cellar');
  await expect(card).toBeVisible();
  await dialog.close();
  await expect(card).toContainText('No longer waiting: the dialog is gone.');
});

test('a button that obeys nobody fails with the computer’s reason, and the question stays', async ({
  computer,
  phone,
}) => {
  const dialog = await computer.obedientDialog('Stubborn', 'Are you sure?', 'Cancel=press', 'Continue=nothing');
  const card = phone.card('Stubborn');
  await phone.answer(card, 'Continue');
  await expect(card).toContainText('Pressing “Continue” …');
  await expect(card).toContainText('“Continue” could not be pressed.');
  expect(await dialog.isOpen()).toBe(true);
  await phone.answer(card, 'Cancel');
  await expect(card).toContainText('Done: “Cancel” was pressed.');
  expect(await dialog.ended()).toBe(10);
});

test('what a dialog says is shown as it is, whatever it looks like to a browser', async ({ computer, phone }) => {
  const text = `Erase <img src=x onerror="document.title='Hacked'"> & <script>alert(1)</script>?`;
  const question = [
    '--question',
    '--no-markup',
    '--title',
    '<b>Files</b>',
    '--text',
    text,
    '--ok-label',
    '<i>Erase</i>',
  ];
  const dialog = await computer.open('zenity', ...question, '--cancel-label', 'Keep');
  const card = phone.card('<b>Files</b>');
  await expect(card.getByText(text, { exact: true })).toBeVisible();
  expect(await phone.answersOf(card)).toEqual(['Keep', '<i>Erase</i>']);
  await phone.answer(card, '<i>Erase</i>');
  await phone.confirm(card, '<i>Erase</i>');
  expect(await dialog.ended()).toBe(0);
});
