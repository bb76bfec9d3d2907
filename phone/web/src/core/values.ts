import { DecodingError } from './json';

const uuidForm = /^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$/i;
const dateForm = /^(\d{4}-\d\d-\d\d)T(\d\d:\d\d:\d\d)(\.\d+)?(Z|[+-]\d\d:\d\d)$/;
const identifierForm = /^[A-Za-z0-9_-]+$/;

/// In upper case, as it is written.
export function decodedUuid(text: string): string {
  if (!uuidForm.test(text)) throw new DecodingError('A UUID was expected.');
  return text.toUpperCase();
}

/// Milliseconds since 1970.
export function decodedDate(text: string): number {
  const parts = dateForm.exec(text);
  const [, day, time, fraction = '', zone] = parts ?? [];
  // Engines read at least three decimals; more of them differ.
  const milliseconds = parts ? Date.parse(`${day}T${time}${fraction.slice(0, 4).padEnd(fraction ? 4 : 0, '0')}${zone}`) : NaN;
  if (Number.isNaN(milliseconds)) throw new DecodingError('Expected ISO-8601 date string.');
  return milliseconds;
}

/// In UTC with whole seconds.
export function encodedDate(milliseconds: number): string {
  return `${new Date(milliseconds).toISOString().slice(0, 19)}Z`;
}

export function isIdentifier(text: string, greatestLength: number): boolean {
  return text.length <= greatestLength && identifierForm.test(text);
}
