// Whatever text comes from elsewhere, readers read it or refuse it in their own way; nothing else is ever thrown.
import { describe, expect, it } from 'vitest';
import vectors from '../../../docs/relay-protocol-vectors.json';
import { decodedApprovals } from '../src/core/approval';
import { DecodingError } from '../src/core/json';
import { decodedMessage, decodedResult } from '../src/core/messages';
import { decodedMutedDialogs } from '../src/core/mutedDialogs';
import { readPairingCode } from '../src/core/pairingCode';
import { approvalJson, someApproval } from './fixtures';

/// The same numbers from the same seed (mulberry32).
function randomNumbers(seed: number): () => number {
  let state = seed;
  return () => {
    state = (state + 0x6d2b79f5) | 0;
    let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}

const strange: unknown[] = [null, true, 0, -1, 1.5, 1e300, '', 'x', '\ud800', [], [null], {}, { type: 'x' }, '2026-03-14T09:26:53Z'];

/// One member, somewhere in the value, replaced by something else or taken away.
function spoiled(value: unknown, random: () => number): unknown {
  const entries = typeof value === 'object' && value !== null ? Object.entries(value) : [];
  if (entries.length === 0 || random() < 0.2) return strange[Math.floor(random() * strange.length)];
  const at = Math.floor(random() * entries.length);
  const changed = entries.flatMap(([name, inner], index) => {
    if (index !== at) return [[name, inner] as const];
    return random() < 0.2 ? [] : [[name, spoiled(inner, random)] as const];
  });
  return Array.isArray(value) ? changed.map(([, inner]) => inner) : Object.fromEntries(changed);
}

/// The text cut, or with one character exchanged.
function torn(text: string, random: () => number): string {
  const at = Math.floor(random() * text.length);
  if (random() < 0.5) return text.slice(0, at);
  return text.slice(0, at) + String.fromCharCode(Math.floor(random() * 0x180)) + text.slice(at + 1);
}

const readers: [string, (text: string) => unknown, unknown[]][] = [
  ['messages', decodedMessage, [...vectors.relayFrames, ...vectors.frames.map(({ frame }) => frame)]],
  ['approvals', decodedApprovals, [[approvalJson(someApproval({ recommendedButtonLabel: 'Allow' }))]]],
  ['results', decodedResult, vectors.frames.filter(({ name }) => name.startsWith('approval.result')).map(({ plaintext }) => JSON.parse(plaintext))],
  ['what is muted', decodedMutedDialogs, [[{ suppressionID: someApproval().id, appName: 'A', windowTitle: 'B', mutedAt: 1 }]]],
];

describe('a reader', () => {
  it.each(readers)('of %s reads or refuses', (_, read, good) => {
    const random = randomNumbers(20260314);
    let refused = 0;
    for (let round = 0; round < 5_000; round += 1) {
      const value = good[round % good.length];
      const text = random() < 0.3 ? torn(JSON.stringify(value), random) : JSON.stringify(spoiled(value, random));
      try {
        read(text);
      } catch (error) {
        expect(error).toBeInstanceOf(DecodingError);
        refused += 1;
      }
    }
    // Most of it is beyond reading, and some of it is not: both ways were tried.
    expect(refused).toBeGreaterThan(500);
    expect(refused).toBeLessThan(5_000);
  });

  it('of pairing codes always has an answer', () => {
    const random = randomNumbers(20260314);
    const good = JSON.parse(vectors.pairingCode.text) as unknown;
    const answers = new Set<string>();
    for (let round = 0; round < 5_000; round += 1) {
      const text = random() < 0.3 ? torn(vectors.pairingCode.text, random) : JSON.stringify(spoiled(good, random));
      const read = readPairingCode(text);
      answers.add('problem' in read ? read.problem : 'code');
    }
    expect(answers.size).toBeGreaterThan(6);
  });
});
