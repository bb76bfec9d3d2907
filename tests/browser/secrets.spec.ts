import { createHash } from 'node:crypto';

import { expect, test } from './support/fixtures.ts';
import { storedFiles, storedRecords } from './support/storedSecrets.ts';

test('nothing that the page keeps can be read back as a secret', async ({ computer, phone }) => {
  const code = await computer.code();
  await phone.pairByPaste(code);
  await computer.question('Diary', 'Erase the diary?', 'Erase', 'Keep');
  await phone.suppress(phone.card('Diary'));
  await expect.poll(async () => (await computer.status()).pendingApprovalCount).toBe(0);
  await phone.untilInstalled();

  const { pairingID, relaySecret, e2eSecret } = JSON.parse(code) as Record<string, string>;
  const stored = await storedRecords(phone.page);
  expect(stored, 'the examination sees what is kept').toContain(pairingID);
  expect(stored, 'the examination sees keys').toContain('locked secret key');
  expect(stored).not.toContain('extractable');
  const everything = `${stored}\n${Object.values(await storedFiles(phone.page)).join('\n')}`;
  const key = createHash('sha256').update(e2eSecret!).digest();
  const forms: [string, string][] = [
    ['what a dialog said', 'diary'],
    ['what a dialog was called', 'Diary'],
  ];
  for (const encoding of ['utf8', 'base64', 'hex'] as const) {
    forms.push([`the relay's secret in ${encoding}`, Buffer.from(relaySecret!).toString(encoding)]);
    forms.push([`the sealing secret in ${encoding}`, Buffer.from(e2eSecret!).toString(encoding)]);
    if (encoding !== 'utf8') forms.push([`the sealing key in ${encoding}`, key.toString(encoding)]);
  }
  expect(forms.filter(([, form]) => everything.includes(form)).map(([name]) => name)).toEqual([]);
});

test('the policy lets nothing in from elsewhere', async ({ computer, phone }) => {
  const response = await phone.page.request.get(computer.origin);
  const policy = Object.fromEntries(
    (response.headers()['content-security-policy'] ?? '').split(';').map((directive) => {
      const [name, ...values] = directive.trim().split(/\s+/);
      return [name, values];
    }),
  ) as Record<string, string[]>;
  expect(policy['default-src']).toEqual(["'none'"]);
  expect(policy['script-src']).toEqual(["'self'"]);
  const { 'require-trusted-types-for': trusted, ...sources } = policy;
  expect(trusted).toEqual(["'script'"]);
  for (const values of Object.values(sources)) {
    for (const value of values) expect(["'none'", "'self'", 'blob:', 'data:']).toContain(value);
  }

  phone.watch.expect(/^policy: (connect|img)-src.* of https:\/\/elsewhere\.example|violates|Refused|blocked/);
  const reached = await phone.page.evaluate(() =>
    fetch('https://elsewhere.example/').then(
      () => true,
      () => false,
    ),
  );
  expect(reached).toBe(false);
});
