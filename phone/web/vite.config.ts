import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { build, defineConfig, type Plugin } from 'vite';

const root = fileURLToPath(new URL('.', import.meta.url));
/// Files of public/ that the page needs without a network.
const publicShell = ['/manifest.webmanifest', '/icon.svg', '/icon-192.png'];

/// Builds the service worker after the page, with the list of the page's files in it: one plain script at the root.
function serviceWorker(outDir: string): Plugin {
  let version = '';
  let files: string[] = [];
  return {
    name: 'service-worker',
    apply: 'build',
    writeBundle(_, bundle) {
      const hash = createHash('sha256');
      files = [...Object.keys(bundle).filter((file) => file.startsWith('assets/')).map((file) => `/${file}`), ...publicShell];
      for (const output of Object.values(bundle)) hash.update(output.type === 'chunk' ? output.code : output.source);
      for (const file of publicShell) hash.update(readFileSync(new URL(`public${file}`, import.meta.url)));
      version = hash.digest('hex').slice(0, 16);
    },
    async closeBundle() {
      await build({
        root,
        configFile: false,
        publicDir: false,
        logLevel: 'warn',
        define: { shellFiles: JSON.stringify(files.sort()), shellVersion: JSON.stringify(version) },
        build: {
          outDir,
          emptyOutDir: false,
          target: 'es2022',
          rollupOptions: {
            input: fileURLToPath(new URL('src/sw/sw.ts', import.meta.url)),
            output: { format: 'iife', entryFileNames: 'sw.js' },
          },
        },
      });
    },
  };
}

/// What the page is made with and carries along, with its terms.
const carried = [
  ['Preact', 'preact/LICENSE'],
  ['qr', 'qr/LICENSE-MIT'],
] as const;

/// Puts their licences beside the page, as they ask for.
function licenses(): Plugin {
  return {
    name: 'licenses',
    apply: 'build',
    generateBundle() {
      const text = ([name, file]: (typeof carried)[number]) =>
        `${name}\n\n${readFileSync(new URL(`node_modules/${file}`, import.meta.url), 'utf8').trim()}\n`;
      const source = `This page is part of Tallyfox (Apache License 2.0). It carries these libraries:\n\n${carried.map(text).join('\n\n')}`;
      this.emitFile({ type: 'asset', fileName: 'licenses.txt', source });
    },
  };
}

const outDir = process.env['TALLYFOX_PAGE_DIR'] ?? fileURLToPath(new URL('dist', import.meta.url));

export default defineConfig({
  root,
  esbuild: { jsx: 'automatic', jsxImportSource: 'preact' },
  build: {
    outDir,
    emptyOutDir: true,
    target: 'es2022',
    assetsInlineLimit: 0,
    modulePreload: { polyfill: false },
  },
  plugins: [licenses(), serviceWorker(outDir)],
  test: { include: ['test/**/*.test.ts'], setupFiles: ['test/setup.js'], testTimeout: 60_000 },
} as Parameters<typeof defineConfig>[0]);
