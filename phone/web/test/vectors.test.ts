// The protocol's test vectors, by which every phone can check itself, against this one.
import { describe, expect, it } from 'vitest';
import vectors from '../../../docs/relay-protocol-vectors.json';
import { decodedApprovals } from '../src/core/approval';
import { base64Decoded, base64Encoded } from '../src/core/base64';
import { isDeny } from '../src/core/labels';
import {
  decodedMessage,
  decodedResult,
  helloText,
  leaveText,
  pushSubscribeText,
  pushUnsubscribeText,
  requestPlaintext,
  suppressionPlaintext,
} from '../src/core/messages';
import { readPairingCode } from '../src/core/pairingCode';
import { decodedSealedPayload, opened, sealed, sealingKey } from '../src/core/sealing';
import { trimmed } from '../src/core/text';
import { encodedDate } from '../src/core/values';

function hex(bytes: Uint8Array): string {
  return [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
}

function bytesOfHex(text: string): Uint8Array<ArrayBuffer> {
  return Uint8Array.from(text.match(/../g) ?? [], (pair) => parseInt(pair, 16));
}

describe('protocol vectors', () => {
  it.each(vectors.keys)('derives a key from the trimmed secret: $secret', async ({ secret, keyHex }) => {
    const digest = await crypto.subtle.digest('SHA-256', new TextEncoder().encode(trimmed(secret)));
    expect(hex(new Uint8Array(digest))).toBe(keyHex);
    // The key object of the page is that key: what one seals the other opens.
    const raw = await crypto.subtle.importKey('raw', bytesOfHex(keyHex), 'AES-GCM', false, ['encrypt', 'decrypt']);
    expect(await opened(await sealed('[]', await sealingKey(secret)), raw)).toBe('[]');
  });

  it.each(vectors.sealedPayloads)('seals and opens alike: $plaintext', async (vector) => {
    const key = await sealingKey(vector.secret);
    expect(await opened(vector.payload, key)).toBe(vector.plaintext);
    expect(await sealed(vector.plaintext, key, () => bytesOfHex(vector.nonceHex))).toEqual(vector.payload);
  });

  it.each(vectors.payloadsThatDoNotOpen)('does not open: $why', async ({ secret, payload }) => {
    await expect(opened(payload, await sealingKey(secret))).rejects.toThrow();
  });

  it('takes the nonce from the ciphertext', async () => {
    const { secret, payload, plaintext } = vectors.payloadWithOtherNonceMember;
    expect(await opened(payload, await sealingKey(secret))).toBe(plaintext);
  });

  it('reads the pairing code', () => {
    const { text, ...code } = vectors.pairingCode;
    expect(readPairingCode(text)).toEqual({ code });
  });

  it.each(vectors.pairingCodesThatAreRefused)('refuses a pairing code: $why', ({ text }) => {
    expect(readPairingCode(text)).toHaveProperty('problem');
  });

  it.each(vectors.hellos)('says hello as $deviceName', (hello) => {
    // A phone writes its platform always, and what it does not know never.
    const { tomorrow: _, ...known } = { tomorrow: undefined, ...hello };
    const platform = hello.platform ?? 'web';
    expect(JSON.parse(helloText({ ...known, platform }))).toEqual({ ...known, platform });
  });

  it('writes the frames that are not sealed', () => {
    const [leave, subscribe, unsubscribe] = vectors.phoneFrames;
    expect(JSON.parse(leaveText)).toEqual(leave);
    expect(JSON.parse(pushSubscribeText(subscribe?.endpoint ?? ''))).toEqual(subscribe);
    expect(JSON.parse(pushUnsubscribeText)).toEqual(unsubscribe);
  });

  it.each(vectors.relayFrames)('reads $type of the relay', (frame) => {
    expect(decodedMessage(JSON.stringify(frame))).toEqual(frame);
  });

  it.each(vectors.denies)('knows whether $label is a deny', ({ label, isDeny: expected }) => {
    expect(isDeny(label)).toBe(expected);
  });

  it.each(vectors.frames)('reads $name', async ({ frame, secret, sealedMember, plaintext }) => {
    const payload = decodedSealedPayload((frame as Record<string, unknown>)[sealedMember]);
    const text = await opened(payload, await sealingKey(secret));
    expect(JSON.parse(text)).toEqual(JSON.parse(plaintext));
    const message = decodedMessage(JSON.stringify(frame));
    if (frame.type === 'mac.snapshot') {
      expect(message).toMatchObject({ type: 'mac.snapshot', encryptedApprovals: payload });
      const shown = decodedApprovals(text);
      const sent = JSON.parse(plaintext) as Record<string, unknown>[];
      expect(shown).toHaveLength(sent.length);
      shown.forEach((approval, at) => {
        const { detectedAt, buttons, ...rest } = approval;
        expect(sent[at]).toMatchObject(rest);
        expect(encodedDate(detectedAt)).toBe(sent[at]?.['detectedAt']);
        expect(sent[at]?.['buttons']).toMatchObject(buttons);
      });
    } else if (frame.type === 'approval.result') {
      expect(message).toEqual({ type: frame.type, decisionID: frame.decisionID, encryptedResult: payload });
      expect(decodedResult(text)).toEqual(JSON.parse(plaintext));
    } else {
      // A phone writes these and is never sent them.
      expect(message).toEqual({ type: 'unknown' });
      const command = JSON.parse(plaintext);
      const written =
        'buttonLabel' in command
          ? requestPlaintext(command.approvalID, command.buttonLabel)
          : suppressionPlaintext(command);
      expect(written).toBe(plaintext);
    }
  });

  it('writes and reads base64 as the computer does', () => {
    for (const { payload } of vectors.sealedPayloads) {
      const bytes = base64Decoded(payload.ciphertext);
      expect(bytes && base64Encoded(bytes)).toBe(payload.ciphertext);
    }
  });
});
