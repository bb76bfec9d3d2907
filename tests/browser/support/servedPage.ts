import { cpSync, readdirSync, readFileSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import path from 'node:path';

import { pageFolder, servedFolder } from './places.ts';

let renewals = 0;

/** The relay is given a copy, which a test may change. */
export function copyServedPage(): void {
  rmSync(servedFolder, { recursive: true, force: true });
  cpSync(pageFolder, servedFolder, { recursive: true });
}

/** Makes of the page what a later build would: another chief script under another name, and a service worker that names
    it. The page tells by itself, in the attribute data-renewed, what is returned. */
export function renewServedPage(): string {
  const mark = `renewed${++renewals}`;
  const assets = path.join(servedFolder, 'assets');
  const chief = readFileSync(path.join(servedFolder, 'index.html'), 'utf8').match(/assets\/([\w.-]+\.js)/)?.[1];
  if (!chief) throw new Error('the page has no chief script');
  const version = readFileSync(path.join(servedFolder, 'sw.js'), 'utf8').match(/shell-(\w+)/)?.[1];
  if (!version) throw new Error('the service worker names no version');
  const changed = [
    path.join(servedFolder, 'index.html'),
    path.join(servedFolder, 'sw.js'),
    ...readdirSync(assets)
      .filter((name) => name.endsWith('.js'))
      .map((name) => path.join(assets, name)),
  ];
  for (const file of changed) {
    const text = readFileSync(file, 'utf8');
    writeFileSync(file, text.replaceAll(chief, `${mark}-${chief}`).replaceAll(version, `${version}${mark}`));
  }
  renameSync(path.join(assets, chief), path.join(assets, `${mark}-${chief}`));
  const script = path.join(assets, `${mark}-${chief}`);
  writeFileSync(script, `${readFileSync(script, 'utf8')}\ndocument.documentElement.dataset.renewed = '${mark}';\n`);
  return mark;
}
