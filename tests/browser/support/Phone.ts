import { expect, type Locator, type Page } from '@playwright/test';

import type { Watch } from './Watch.ts';

const muteLabel = 'Do not show on my phones again';

/** The page as its reader uses it: by the names and the words on it. */
export class Phone {
  constructor(
    readonly page: Page,
    readonly watch: Watch,
    private readonly origin: string,
  ) {}

  async open(): Promise<void> {
    await this.page.goto(this.origin);
    await expect(this.button('Settings')).toBeVisible();
  }

  button(name: string | RegExp): Locator {
    return this.page.getByRole('button', { name, exact: typeof name === 'string' });
  }
  text(text: string | RegExp): Locator {
    return this.page.getByText(text);
  }

  /** What a screen reader was told last. */
  get announcer(): Locator {
    return this.page.getByRole('status').last();
  }

  // Pairing

  async beginPairing(): Promise<void> {
    await this.button('Pair a computer').click();
  }
  async pasteCode(text: string): Promise<void> {
    await this.page.getByLabel('Text of the code').fill(text);
    await this.button('Use this text').click();
  }
  async choosePicture(picture: string): Promise<void> {
    await this.page.getByLabel('Choose a picture of the code').setInputFiles(picture);
  }
  /** With the code read: names both sides, and waits until the relay has said welcome. */
  async finishPairing(computerName = 'Desk', phoneName = 'Kim’s phone'): Promise<void> {
    await this.page.getByLabel('Name of this phone').fill(phoneName);
    await this.page.getByLabel('Name of the computer').fill(computerName);
    await this.button('Pair').click();
    await expect(this.computer(computerName)).toContainText('Connected');
  }
  async pairByPaste(code: string, computerName = 'Desk', phoneName = 'Kim’s phone'): Promise<void> {
    await this.beginPairing();
    await this.pasteCode(code);
    await this.finishPairing(computerName, phoneName);
  }
  async pairByPicture(picture: string): Promise<void> {
    await this.beginPairing();
    await this.choosePicture(picture);
    await this.finishPairing();
  }
  async pairByCamera(): Promise<void> {
    await this.beginPairing();
    await this.button('Scan with the camera').click();
    await this.finishPairing();
  }

  // The list

  /** What the page shows of one computer: its connection and its cards. */
  computer(name = 'Desk'): Locator {
    return this.page.getByRole('region', { name });
  }
  /** The dialogs of this title, or what became of them. */
  card(title: string): Locator {
    return this.page.getByRole('article', { name: new RegExp(`: ${title.replaceAll(/[<>/]/g, '\\$&')}$`) });
  }
  /** The dialogs of this title that take answers. */
  openCard(title: string): Locator {
    return this.card(title).and(this.page.locator('[data-phase=open]'));
  }
  /** This one card, whatever becomes of it and whatever else comes. */
  async only(card: Locator): Promise<Locator> {
    return this.page.locator(`article[aria-labelledby="${await card.getAttribute('aria-labelledby')}"]`);
  }
  /** The labels of the dialog's own buttons, in their order. */
  async answersOf(card: Locator): Promise<string[]> {
    const labels = await card.getByRole('button').allInnerTexts();
    return labels.filter((label) => label !== muteLabel);
  }
  /** Taps a button; what has just come up or moved takes no taps for a moment, as a person's finger would find. */
  async answer(card: Locator, label: string): Promise<void> {
    await this.tap(card, this.answerButton(card, label));
  }
  /** The second tap on a button that asks for two; or what else is to be done in place of a tap. */
  async confirm(card: Locator, label: string, action?: () => Promise<void>): Promise<void> {
    await this.tap(card, this.answerButton(card, `Tap again: ${label}`), action);
  }
  private async tap(card: Locator, button: Locator, action = () => button.tap({ timeout: 2_000 })): Promise<void> {
    const phase = () => card.getAttribute('data-phase');
    const before = await phase();
    await expect(async () => {
      await expect(card).toHaveAttribute('data-settled', 'true');
      if ((await phase()) === before) await action();
      await expect.poll(phase, { timeout: 300 }).not.toBe(before);
    }).toPass();
  }
  answerButton(card: Locator, label: string): Locator {
    return card.getByRole('button', { name: label, exact: true });
  }
  async suppress(card: Locator): Promise<void> {
    await this.tap(card, this.answerButton(card, muteLabel));
  }

  // Settings

  async openSettings(): Promise<void> {
    await this.button('Settings').click();
    await expect(this.page.getByRole('heading', { name: 'Settings' })).toBeVisible();
  }
  async closeSettings(): Promise<void> {
    await this.button('Back').click();
  }

  /** Waits until the page would open without a network. */
  async untilInstalled(): Promise<void> {
    await this.page.evaluate(() => navigator.serviceWorker.ready.then(() => undefined));
  }
}
