import type { CardEnd, CardNote } from '../core/ApprovalBoard';
import type { Computer } from '../core/Computer';
import type { ConnectionState } from '../core/Connection';
import type { PhoneEvent } from '../core/Phone';
import { english } from './en';
import type { Messages } from './Messages';

/// Every language there is, the one for everybody else first.
const tables: readonly Messages[] = [english];

/// The first of the reader's languages that there is a table for.
export function messagesFor(languages: readonly string[]): Messages {
  const wanted = languages.map((language) => language.toLowerCase().split('-')[0]);
  const found = wanted.map((language) => tables.find((table) => table.language === language)).find(Boolean);
  return found ?? english;
}

const minute = 60;
const hour = 60 * minute;
const day = 24 * hour;

/// "3s ago", from two moments in milliseconds; what lies ahead, by another clock, is now.
export function ageText(messages: Messages, since: number, now: number): string {
  const seconds = Math.floor((now - since) / 1000);
  if (seconds < 1) return messages.age.now;
  if (seconds < minute) return messages.age.ago(seconds, 'second');
  if (seconds < hour) return messages.age.ago(Math.floor(seconds / minute), 'minute');
  if (seconds < day) return messages.age.ago(Math.floor(seconds / hour), 'hour');
  return messages.age.ago(Math.floor(seconds / day), 'day');
}

export function noteText({ card }: Messages, note: CardNote): string {
  switch (note.kind) {
    case 'failed':
      return card.note.failed(note.label, note.error);
    case 'offline':
    case 'notSent':
      return card.note[note.kind];
    default:
      return card.note[note.kind](note.label);
  }
}

export function endText({ card }: Messages, end: CardEnd): string {
  return 'label' in end ? card.end[end.kind](end.label) : card.end[end.kind];
}

/// One or a few words; freshness stands beside it.
export function connectionText({ connection }: Messages, state: ConnectionState): string {
  switch (state.kind) {
    case 'idle':
      return connection.idle;
    case 'connecting':
      return connection.connecting;
    case 'connected':
      return state.agentConnected ? connection.live : connection.agentOffline;
    case 'waiting':
      return connection.waiting[state.cause];
    case 'stopped':
      return connection.stopped[state.reason];
  }
}

export function freshnessText(messages: Messages, computer: Computer, now: number): string {
  const { asOf, isLive } = computer.freshness;
  if (asOf === undefined) return computer.canDecide ? messages.connection.noList : '';
  const age = ageText(messages, asOf, now);
  return isLive ? messages.connection.lastChange(age) : messages.connection.asOf(age);
}

/// What a screen reader is told, if anything.
export function announcement(messages: Messages, { kind, ...rest }: PhoneEvent): string | undefined {
  if ('name' in rest && kind !== 'board') return messages.announce[kind](rest.name);
  if (!('event' in rest)) return undefined;
  const { event } = rest;
  switch (event.kind) {
    case 'appeared':
      return messages.announce.appeared(messages.card.heading(event.approval.appName, event.approval.windowTitle));
    case 'armed':
      return messages.announce.armed(event.label);
    case 'note':
      return noteText(messages, event.note);
    case 'ended':
      return endText(messages, event.end);
    case 'changed':
      return undefined;
  }
}
