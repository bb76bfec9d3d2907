import { writeFileSync } from 'node:fs';

import { changedCode, pictureOfCode } from './support/forgery.ts';
import { expect, test } from './support/fixtures.ts';
import { cameraVideo } from './support/places.ts';

test('a picture of the screen pairs', async ({ computer, phone }, testInfo) => {
  await computer.code();
  await computer.photograph(testInfo.outputPath('screen.png'));
  await phone.pairByPicture(testInfo.outputPath('screen.png'));
  await expect(phone.computer()).toContainText('Connected');
});

test('a page that is opened again is still paired, and shows what waits', async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code());
  await computer.askForAccess('Calendar');
  await expect(phone.card('Calendar')).toBeVisible();
  await phone.page.reload();
  await expect(phone.computer()).toContainText('Connected');
  await expect(phone.card('Calendar')).toBeVisible();
  expect((await computer.status()).phones).toHaveLength(1);
});

test('the name of the phone reaches the computer, also when it is changed', async ({ computer, phone }) => {
  await phone.pairByPaste(await computer.code(), 'Desk', 'Kim’s phone');
  const names = async () => (await computer.status()).phones.map(({ deviceName }) => deviceName);
  await expect.poll(names).toEqual(['Kim’s phone']);
  await phone.openSettings();
  await phone.page.getByLabel('Name of this phone').fill('Élodie’s tablet');
  await phone.page.getByLabel('Name of this phone').press('Enter');
  await expect.poll(names).toEqual(['Élodie’s tablet']);
});

test('a code that is none is told apart by its words', async ({ computer, phone }) => {
  const code = await computer.code();
  const wrong: [string, string, string][] = [
    ['no text', '  ', 'There is no text.'],
    ['an address', 'https://example.org/menu', 'This is no pairing code: its text cannot be read.'],
    ['a code that was cut', code.slice(0, -20), 'This is no pairing code: its text cannot be read.'],
    ['another product’s code', changedCode(code, { type: 'wifi.access' }), 'This code is not from Tallyfox.'],
    ['another version', changedCode(code, { version: 2 }), 'This code is of another version.'],
    ['no relay', changedCode(code, { backendURL: '' }), 'The code names no relay.'],
    ['an insecure relay', changedCode(code, { backendURL: 'http://relay.example.org' }), 'must begin with https'],
    [
      'another relay',
      changedCode(code, { backendURL: 'https://relay.example.org' }),
      'This code belongs to another relay.',
    ],
    ['a strange identifier', changedCode(code, { pairingID: '../etc' }), 'pairing identifier is not valid'],
    ['no credentials', changedCode(code, { relaySecret: '' }), 'The computer has no credentials yet'],
    ['no key', changedCode(code, { e2eSecret: ' \n' }), 'The code holds no encryption secret.'],
    ['a missing member', changedCode(code, { e2eSecret: undefined }), 'The code is incomplete.'],
  ];
  await phone.beginPairing();
  for (const [name, text, words] of wrong) {
    await test.step(name, async () => {
      await phone.pasteCode(text);
      await expect(phone.text(words)).toBeVisible();
    });
  }
  expect((await computer.status()).phones).toEqual([]);
});

test('a code that has expired pairs with nobody', async ({ computer, phone }) => {
  const code = await computer.code();
  await phone.beginPairing();
  await phone.pasteCode(changedCode(code, { relaySecret: 'ab'.repeat(32) }));
  await phone.button('Pair').click();
  await expect(phone.text('The relay does not know this code: it has expired.')).toBeVisible();
  await phone.button('Use another code').click();
  await phone.pasteCode(code);
  await phone.finishPairing();
});

test('with another key the relay lets a phone in, and the computer’s messages stay unreadable', async ({
  computer,
  phone,
}) => {
  await phone.pairByPaste(changedCode(await computer.code(), { e2eSecret: 'cd'.repeat(32) }));
  await expect(phone.text('A message of the computer could not be read.')).toBeVisible();
});

test('pictures and cameras that show no pairing code say so', async ({ browser, phone, world }, testInfo) => {
  await phone.beginPairing();
  await test.step('no camera', async () => {
    await phone.button('Scan with the camera').click();
    await expect(phone.text('No camera could be opened.')).toBeVisible();
  });
  await test.step('a picture without a code', async () => {
    await phone.page.screenshot({ path: testInfo.outputPath('page.png') });
    await phone.choosePicture(testInfo.outputPath('page.png'));
    await expect(phone.text('No code was found in this picture.')).toBeVisible();
  });
  await test.step('no picture', async () => {
    writeFileSync(testInfo.outputPath('letter.png'), 'Dear reader,\n');
    await phone.choosePicture(testInfo.outputPath('letter.png'));
    await expect(phone.text('This file is no picture')).toBeVisible();
  });
  await pictureOfCode(browser, 'https://example.org/menu', testInfo.outputPath('poster.png'));
  await test.step('a picture of another code', async () => {
    await phone.choosePicture(testInfo.outputPath('poster.png'));
    await expect(phone.text('This is no pairing code')).toBeVisible();
  });
  await test.step('the camera before another code', async () => {
    await world.filmPicture(testInfo.outputPath('poster.png'), cameraVideo);
    await phone.button('Scan with the camera').click();
    await expect(phone.text('This is no pairing code')).toBeVisible();
  });
});
