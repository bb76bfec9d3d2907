import { expect, test } from './support/fixtures.ts';

test.beforeEach(async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code());
});

test('without its agent the computer is offline at once, and nothing can be pressed until it is back', async ({
  computer,
  phone,
}) => {
  const dialog = await computer.askForAccess('Mail');
  const card = phone.card('Mail');
  await expect(card).toBeVisible();
  await computer.stopAgent();
  await expect(phone.computer()).toContainText('Computer offline');
  await expect(phone.computer()).toContainText('may be out of date');
  await computer.startAgent();
  await expect(phone.computer()).toContainText('Connected');
  // To a new agent it is another question, which comes below.
  await expect(card.first()).toContainText('No longer waiting: the dialog is gone.');
  await phone.answer(await phone.only(phone.openCard('Mail')), 'Allow');
  expect(await dialog.ended()).toBe(0);
});

test('a relay that dies and comes back is found again', async ({ computer, phone, world }) => {
  phone.watch.expect(/WebSocket connection to .* failed/);
  const dialog = await computer.askForAccess('Mail');
  const card = phone.card('Mail');
  await expect(card).toBeVisible();
  await world.stopRelay();
  await expect(phone.computer()).toContainText('No connection, trying again');
  await world.startRelay();
  await expect(phone.computer()).toContainText('Connected');
  await phone.answer(card, 'Allow');
  await expect(card).toContainText('Done: “Allow” was pressed.');
  expect(await dialog.ended()).toBe(0);
});

test('without a network the page still opens, and says that it has no connection', async ({ computer, phone }) => {
  phone.watch.expect(/ERR_INTERNET_DISCONNECTED|WebSocket connection to .* failed/);
  await computer.status();
  await phone.untilInstalled();
  await phone.page.context().setOffline(true);
  await phone.page.reload();
  await expect(phone.computer()).toContainText('No connection, trying again');
  await phone.page.context().setOffline(false);
  await expect(phone.computer()).toContainText('Connected');
});

test('an answer that crosses the news of the computer’s end was not delivered, and the phone says so', async ({
  computer,
  phone,
}) => {
  await phone.page.routeWebSocket(/\/phone$/, (page) => {
    page.connectToServer().onMessage((message) => {
      if (!message.toString().includes('"agent.status"')) page.send(message);
    });
  });
  await phone.open();
  await expect(phone.computer()).toContainText('Connected');
  const dialog = await computer.askForAccess('Mail');
  const card = phone.card('Mail');
  await expect(card).toHaveAttribute('data-settled', 'true');
  await computer.stopAgent();
  await phone.answerButton(card, 'Allow').tap();
  await expect(card).toContainText('The computer is offline. Nothing was pressed.');
  expect(await dialog.isOpen()).toBe(true);
});

test('an agent that dies over an answer leaves it open whether it was pressed, and asks again', async ({
  computer,
  phone,
}) => {
  const dialog = await computer.askForAccess('Mail');
  const card = phone.card('Mail');
  await expect(card).toBeVisible();
  await computer.freezeAgent();
  await phone.answer(card, 'Allow');
  await computer.killAgent();
  await expect(phone.computer()).toContainText('Computer offline');
  await computer.startAgent();
  await expect(card.first()).toContainText('“Allow” may have been pressed; its result did not arrive.');
  await phone.answer(await phone.only(phone.openCard('Mail')), 'Allow');
  expect(await dialog.ended()).toBe(0);
});
