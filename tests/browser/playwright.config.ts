import { defineConfig } from '@playwright/test';

import { cameraVideo, documentPictures, resultsFolder } from './support/places.ts';

/** One browser and one relay after the other: what is tested waits for real desktops, not for the processor. */
export default defineConfig({
  testDir: '.',
  outputDir: resultsFolder,
  workers: 1,
  ...(documentPictures === '' ? { grepInvert: /@pictures/ } : { grep: /@pictures/ }),
  forbidOnly: true,
  timeout: 180_000,
  expect: { timeout: 45_000 },
  reporter: 'list',
  use: {
    trace: 'retain-on-failure',
    screenshot: 'only-on-failure',
    launchOptions: {
      executablePath: process.env.TALLYFOX_CHROMIUM ?? '/usr/bin/chromium',
      args: [
        '--headless=new',
        '--no-sandbox',
        '--disable-gpu',
        '--disable-quic',
        '--no-first-run',
        '--disable-background-networking',
        '--disable-component-update',
        '--disable-sync',
        '--use-fake-device-for-media-stream',
        '--use-fake-ui-for-media-stream',
        `--use-file-for-fake-video-capture=${cameraVideo}`,
      ],
    },
  },
});
