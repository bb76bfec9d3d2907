// Small values as they are written and read: white space, labels, dates, identifiers, base64, JSON members.
import { describe, expect, it } from 'vitest';
import { decodedApprovals, looksAlike } from '../src/core/approval';
import { base64Decoded, base64Encoded, base64UrlDecoded } from '../src/core/base64';
import { decodedMessage, decodedResult, helloText } from '../src/core/messages';
import { opened, sealed, sealingKey } from '../src/core/sealing';
import { limited, normalizedLabel, trimmed } from '../src/core/text';
import { decodedDate, decodedUuid, encodedDate, isIdentifier } from '../src/core/values';
import { approvalJson, someApproval } from './fixtures';

describe('white space', () => {
  it('is what Unicode says, and not what trim() takes', () => {
    const white = ' \t\n\v\f\r\u0085\u00a0\u1680\u2000\u200a\u2028\u2029\u202f\u205f\u3000';
    expect(trimmed(`${white}a${white}b${white}`)).toBe(`a${white}b`);
    for (const kept of ['\ufeff', '\u180e', '\u200b', '\u2060', '\u001c']) expect(trimmed(kept)).toBe(kept);
    expect(trimmed(white)).toBe('');
  });

  it('is trimmed in linear time', () => {
    const text = `a${' '.repeat(200_000)}b${' '.repeat(200_000)}`;
    expect(trimmed(text)).toHaveLength(200_002);
  });

  it('is one space in a label', () => expect(normalizedLabel('  Don’t \u00a0\n ALLOW\u0085')).toBe('don’t allow'));
  it('does not matter to the length of a name', () => {
    expect(limited('🦊🦊🦊', 2)).toBe('🦊🦊');
    expect(limited('abc', 3)).toBe('abc');
  });
});

describe('dates', () => {
  it.each([
    ['2026-03-14T09:26:53Z', Date.UTC(2026, 2, 14, 9, 26, 53)],
    ['2026-03-14T09:26:53.589Z', Date.UTC(2026, 2, 14, 9, 26, 53, 589)],
    ['2026-03-14T09:26:53.5Z', Date.UTC(2026, 2, 14, 9, 26, 53, 500)],
    ['2026-03-14T09:26:53.589123456Z', Date.UTC(2026, 2, 14, 9, 26, 53, 589)],
    ['2026-03-14T10:26:53+01:00', Date.UTC(2026, 2, 14, 9, 26, 53)],
  ])('reads %s', (text, date) => expect(decodedDate(text)).toBe(date));
  it.each(['', '2026-03-14', '2026-03-14 09:26:53', '2026-03-14T09:26:53', '2026-13-14T09:26:53Z', '2026-03-14T09:26:61Z'])(
    'refuses %j',
    (text) => expect(() => decodedDate(text)).toThrow('Expected ISO-8601 date string.'),
  );
  it('writes whole seconds in UTC', () => {
    expect(encodedDate(Date.UTC(2026, 2, 14, 9, 26, 53, 999))).toBe('2026-03-14T09:26:53Z');
  });
});

describe('identifiers', () => {
  it('are read in either case and kept in upper case', () => {
    expect(decodedUuid('3f2504e0-4f89-11d3-9a0c-0305e82c3301')).toBe('3F2504E0-4F89-11D3-9A0C-0305E82C3301');
    for (const bad of ['', '3F2504E0', '3F2504E04F8911D39A0C0305E82C3301', '{3F2504E0-4F89-11D3-9A0C-0305E82C3301}']) {
      expect(() => decodedUuid(bad)).toThrow();
    }
  });
  it('hold plain characters', () => {
    expect(isIdentifier('Az09_-', 6)).toBe(true);
    for (const bad of ['', 'Az09_-x', 'a.b', 'a\n']) expect(isIdentifier(bad, 6)).toBe(false);
  });
});

describe('base64', () => {
  it('comes back from every length', () => {
    for (let length = 0; length < 70; length += 1) {
      const bytes = Uint8Array.from({ length }, (_, at) => (at * 37 + length) % 256);
      expect(base64Decoded(base64Encoded(bytes))).toEqual(bytes);
    }
    const large = new Uint8Array(300_001).fill(0xa5);
    const text = base64Encoded(large);
    expect(text).toHaveLength(400_004);
    const read = base64Decoded(text);
    expect(read?.length === large.length && read.every((byte) => byte === 0xa5)).toBe(true);
  });
  it.each(['A', 'AA', 'AAA', 'AA=A', '====', 'A===', 'AB==', 'AAB=', 'AA-_', 'AAAA\n', ' AAAA', 'ÄAAA', 'AAAA===='])(
    'refuses %j',
    (text) => expect(base64Decoded(text)).toBeUndefined(),
  );
  it('has another alphabet in addresses', () => {
    expect(base64UrlDecoded('-_8')).toEqual(Uint8Array.of(0xfb, 0xff));
    for (const bad of ['+/8', '-_8=', '-']) expect(base64UrlDecoded(bad)).toBeUndefined();
  });
});

describe('sealing', () => {
  it('draws another nonce for every message', async () => {
    const key = await sealingKey('abc');
    const payloads = await Promise.all(Array.from({ length: 50 }, () => sealed('same', key)));
    expect(new Set(payloads.map(({ nonce }) => nonce)).size).toBe(50);
  });
  it('notices a change of any byte', async () => {
    const key = await sealingKey('abc');
    const payload = await sealed('[1,2]', key);
    const bytes = base64Decoded(payload.ciphertext) ?? new Uint8Array();
    for (let at = 0; at < bytes.length; at += 1) {
      const spoiled = bytes.slice();
      spoiled[at] = (spoiled[at] ?? 0) ^ 1;
      await expect(opened({ ...payload, ciphertext: base64Encoded(spoiled) }, key)).rejects.toThrow();
    }
  });
  it('refuses what is no text', async () => {
    const key = await crypto.subtle.generateKey({ name: 'AES-GCM', length: 256 }, false, ['encrypt', 'decrypt']);
    const iv = new Uint8Array(12);
    const box = new Uint8Array(await crypto.subtle.encrypt({ name: 'AES-GCM', iv }, key, Uint8Array.of(0xff, 0xfe)));
    const ciphertext = base64Encoded(Uint8Array.of(...iv, ...box));
    await expect(opened({ version: 1, nonce: '', ciphertext }, key)).rejects.toThrow('The message is no UTF-8.');
  });
  it('makes keys that nobody can read', async () => {
    const key = await sealingKey('abc');
    expect(key.extractable).toBe(false);
    await expect(crypto.subtle.exportKey('raw', key)).rejects.toThrow();
  });
});

describe('approvals', () => {
  it('come back as they were written', () => {
    const approval = someApproval({ recommendedButtonLabel: 'Allow', directAccessReason: 'Because.' });
    expect(decodedApprovals(JSON.stringify([approvalJson(approval)]))).toEqual([approval]);
  });
  it('are named by their id where nothing names the dialog', () => {
    const approval = someApproval();
    const json = { ...(approvalJson(approval) as object), suppressionID: undefined, recommendedButtonLabel: null };
    expect(decodedApprovals(JSON.stringify([json]))).toEqual([{ ...approval, suppressionID: approval.id }]);
  });
  it.each([
    'id', 'detectedAt', 'appName', 'processIdentifier', 'windowTitle', 'windowRole', 'windowFrame', 'messageLines',
    'reason', 'buttons', 'requiresDirectAccess', 'isFallbackDetection',
  ])('need %s, of its type', (member) => {
    const json = approvalJson(someApproval()) as Record<string, unknown>;
    const { [member]: _, ...without } = json;
    expect(() => decodedApprovals(JSON.stringify([without]))).toThrow();
    expect(() => decodedApprovals(JSON.stringify([{ ...json, [member]: { wrong: 1 } }]))).toThrow();
  });
  it.each(['{}', '7', '[7]', '[{}]', 'nothing', '[{"messageLines":[1]}]'])('are not %s', (text) =>
    expect(() => decodedApprovals(text)).toThrow(),
  );
  it('look alike when words and buttons do', () => {
    const approval = someApproval();
    expect(looksAlike(approval, { ...approval, id: 'other', detectedAt: 1 })).toBe(true);
    expect(looksAlike(approval, { ...approval, buttons: [...approval.buttons].reverse() })).toBe(false);
    expect(looksAlike(approval, { ...approval, requiresDirectAccess: true })).toBe(false);
  });
});

describe('messages', () => {
  it('take null and nothing alike', () => {
    expect(decodedMessage('{"type":"decision.undeliverable","decisionID":"D","reason":null}')).toEqual({
      type: 'decision.undeliverable',
      decisionID: 'D',
      reason: 'offline',
    });
  });
  it('take a status that they do not know for a failure', () => {
    const approvalID = someApproval().id;
    const text = JSON.stringify({ approvalID, buttonLabel: 'OK', status: 'postponed', error: 'Later.' });
    expect(decodedResult(text)).toEqual({ approvalID, buttonLabel: 'OK', status: 'failed', error: 'Later.' });
  });
  it('say hello in the order of the protocol', () => {
    const hello = { platform: 'web', deviceName: 'Kim', deviceID: 'D', relaySecret: 'S', pairingID: 'P' };
    expect(helloText(hello)).toBe(
      '{"type":"phone.hello","version":1,"pairingID":"P","relaySecret":"S","deviceID":"D","deviceName":"Kim","platform":"web"}',
    );
  });
});
