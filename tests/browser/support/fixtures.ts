import { type BrowserContextOptions, expect, test as base } from '@playwright/test';
import { rmSync } from 'node:fs';

import { cameraVideo } from './places.ts';
import { Phone } from './Phone.ts';
import { Watch } from './Watch.ts';
import { Computer, World } from './World.ts';

interface OfTheBrowser {
  world: World;
}

interface OfTheTest {
  /** A computer that nobody has paired with; its relay serves the page. */
  computer: Computer;
  /** Takes out another phone: a browser profile of its own, with the page open. */
  newPhone: (options?: BrowserContextOptions) => Promise<Phone>;
  /** A phone with the page open. */
  phone: Phone;
}

const aPhone: BrowserContextOptions = { viewport: { width: 390, height: 844 }, hasTouch: true, locale: 'en-GB' };

export const test = base.extend<OfTheTest, OfTheBrowser>({
  world: [
    async ({}, use) => {
      const world = new World();
      await use(world);
      await world.end();
    },
    { scope: 'worker', timeout: 60_000 },
  ],

  computer: async ({ world }, use) => {
    rmSync(cameraVideo, { force: true });
    await use(await Computer.begin(world, 'desk'));
  },

  newPhone: async ({ browser, computer }, use) => {
    const phones: Phone[] = [];
    await use(async (options = {}) => {
      const context = await browser.newContext({ ...aPhone, ...options });
      const watch = await Watch.over(context, computer.origin);
      const phone = new Phone(await context.newPage(), watch, computer.origin);
      phones.push(phone);
      await phone.open();
      return phone;
    });
    for (const phone of phones) {
      const findings = phone.watch.findings();
      await phone.page.context().close();
      expect(findings, 'what went wrong in the page').toEqual([]);
    }
  },

  phone: async ({ newPhone }, use) => {
    await use(await newPhone());
  },
});

export { expect } from '@playwright/test';
