import { JsonReader, DecodingError, parsedJson } from './json';
import { decodedUuid } from './values';

/// A dialog that this phone asked the computer not to show again.
export interface MutedDialog {
  readonly suppressionID: string;
  readonly appName: string;
  readonly windowTitle: string;
  /// Milliseconds since 1970.
  readonly mutedAt: number;
}

/// More are of no use in a list; the oldest is forgotten, and stays muted on the computer.
const greatestCount = 500;

export function withMuted(list: readonly MutedDialog[], added: MutedDialog): MutedDialog[] {
  return [...withoutMuted(list, added.suppressionID), added].slice(-greatestCount);
}

export function withoutMuted(list: readonly MutedDialog[], suppressionID: string): MutedDialog[] {
  return list.filter((each) => each.suppressionID !== suppressionID);
}

export function encodedMutedDialogs(list: readonly MutedDialog[]): string {
  return JSON.stringify(list);
}

export function decodedMutedDialogs(text: string): MutedDialog[] {
  const value = parsedJson(text);
  if (!Array.isArray(value)) throw new DecodingError('A list was expected.');
  return value.map((each) => {
    const reader = new JsonReader(each);
    return {
      suppressionID: decodedUuid(reader.string('suppressionID')),
      appName: reader.string('appName'),
      windowTitle: reader.string('windowTitle'),
      mutedAt: reader.number('mutedAt'),
    };
  });
}
