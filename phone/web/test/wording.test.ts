// Every text is said, counted and aged in plain English, and nothing is left empty.
import { describe, expect, it } from 'vitest';
import { english } from '../src/i18n/en';
import { ageText, announcement, connectionText, endText, messagesFor, noteText } from '../src/i18n/wording';
import { platformName } from '../src/platform/browserPorts';
import { someApproval } from './fixtures';

const second = 1_000;
const minute = 60 * second;
const hour = 60 * minute;
const day = 24 * hour;

describe('ages', () => {
  it.each([
    [-5 * hour, 'just now'],
    [0, 'just now'],
    [999, 'just now'],
    [3 * second, '3s ago'],
    [59 * second, '59s ago'],
    [90 * second, '1m ago'],
    [3 * hour - 1, '2h ago'],
    [25 * hour, '1d ago'],
    [400 * day, '400d ago'],
  ])('%i ms are "%s"', (age, text) => expect(ageText(english, 0, age)).toMatch(new RegExp(`^${text.replace(' ', '.?')}$`)));
});

it('counts in the plural', () => {
  expect([0, 1, 2].map(english.waiting)).toEqual(['Nothing is waiting', '1 approval waiting', '2 approvals waiting']);
  expect([0, 2].map(english.titleWaiting)).toEqual(['Tallyfox', '(2) Tallyfox']);
});

it('is English for everybody whose language has no table', () => {
  for (const languages of [[], ['en-GB'], ['tlh', 'EN'], ['xx-YY']]) expect(messagesFor(languages)).toBe(english);
});

it('names a dialog by its program and its title', () => {
  expect(english.card.heading('Finder', '')).toBe('Finder needs attention');
  expect(english.card.heading('Finder', 'Empty Trash')).toBe('Finder: Empty Trash');
});

it('says why a press failed', () => {
  expect(noteText(english, { kind: 'failed', label: 'OK', error: 'It is still there.' })).toBe(
    '“OK” could not be pressed. It is still there.',
  );
  expect(noteText(english, { kind: 'failed', label: 'OK', error: undefined })).toBe('“OK” could not be pressed.');
  expect(noteText(english, { kind: 'offline' })).toBe('The computer is offline. Nothing was pressed.');
  expect(noteText(english, { kind: 'uncertain', label: 'OK' })).toContain('may have been pressed');
  expect(endText(english, { kind: 'otherPhone', label: 'OK' })).toBe('Answered on another phone: “OK”.');
  expect(endText(english, { kind: 'gone' })).toContain('gone');
});

it('has a few words for every state of a connection', () => {
  expect(connectionText(english, { kind: 'connected', agentConnected: true })).toBe('Connected');
  expect(connectionText(english, { kind: 'connected', agentConnected: false })).toBe('Computer offline');
  expect(connectionText(english, { kind: 'waiting', cause: 'relayBusy' })).toContain('busy');
  expect(connectionText(english, { kind: 'stopped', reason: 'takenOver' })).toBe('Opened elsewhere');
  expect(connectionText(english, { kind: 'idle' })).toBe('Not connected');
  expect(connectionText(english, { kind: 'connecting' })).toBe('Connecting …');
});

it('tells a screen reader what happened', () => {
  const approval = someApproval({ appName: 'Mail', windowTitle: 'Send?' });
  const board = (event: unknown) => announcement(english, { kind: 'board', event } as never);
  expect(board({ kind: 'appeared', approval })).toBe('New: Mail: Send?');
  expect(board({ kind: 'armed', label: 'Delete' })).toBe('Tap “Delete” again within five seconds to confirm.');
  expect(board({ kind: 'note', approval, note: { kind: 'offline' } })).toContain('offline');
  expect(board({ kind: 'ended', approval, end: { kind: 'accepted', label: 'OK' } })).toBe('Done: “OK” was pressed.');
  expect(board({ kind: 'changed', approval })).toBeUndefined();
  expect(announcement(english, { kind: 'unpaired', name: 'Mac' })).toBe('Mac unpaired this phone.');
});

it('leaves no text empty and none twice by mistake in one table', () => {
  const walk = (value: unknown, path: string): [string, string][] => {
    if (typeof value === 'string') return [[path, value]];
    if (typeof value !== 'object' || value === null) return [];
    return Object.entries(value).flatMap(([name, inner]) => walk(inner, `${path}.${name}`));
  };
  const texts = walk(english, 'en');
  expect(texts.length).toBeGreaterThan(100);
  for (const [path, text] of texts) expect(text.trim(), path).not.toBe('');
});

it.each([
  ['Mozilla/5.0 (iPhone; CPU iPhone OS 17_5 like Mac OS X)', 5, 'iphone'],
  ['Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7)', 5, 'ipad'],
  ['Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7)', 0, 'mac'],
  ['Mozilla/5.0 (Linux; Android 14; Pixel 8)', 5, 'android'],
  ['Mozilla/5.0 (X11; Linux x86_64)', 0, 'linux'],
  ['Mozilla/5.0 (Windows NT 10.0; Win64; x64)', 0, 'windows'],
  ['Something', 0, 'other'],
] as const)('knows the device by %s', (agent, touchPoints, name) => expect(platformName(agent, touchPoints)).toBe(name));
