import { DecodingError, JsonReader, parsedJson } from './json';
import { trimmed } from './text';
import { isIdentifier } from './values';

/// What a computer's code says.
export interface PairingCode {
  /// The relay's origin, such as "https://relay.example.org".
  readonly backendURL: string;
  readonly pairingID: string;
  readonly relaySecret: string;
  readonly e2eSecret: string;
}

/// Why a code cannot be used; each has a sentence of its own for the owner.
export type PairingCodeProblem =
  | 'empty'
  | 'tooLong'
  | 'notJson'
  | 'notTallyfox'
  | 'otherVersion'
  | 'noAddress'
  | 'badAddress'
  | 'insecureAddress'
  | 'badPairingID'
  | 'noRelaySecret'
  | 'noSealingSecret'
  | 'incomplete';

export type ReadPairingCode =
  | { readonly code: PairingCode }
  | { readonly problem: PairingCodeProblem };

/// The largest QR code holds 2953 bytes.
const greatestLength = 4096;
const pairingIDCharacters = 128;
const localHosts = ['localhost', '127.0.0.1', '[::1]'];

/// The origin of an HTTP address without path; a problem for anything else.
function readAddress(text: string): { origin: string } | { problem: PairingCodeProblem } {
  if (text === '') return { problem: 'noAddress' };
  let url: URL;
  try {
    url = new URL(text);
  } catch {
    return { problem: 'badAddress' };
  }
  const isPlain = url.pathname === '/' && url.search === '' && url.hash === '' && url.username === '' && url.password === '';
  if (!isPlain || (url.protocol !== 'https:' && url.protocol !== 'http:')) return { problem: 'badAddress' };
  if (url.protocol === 'http:' && !localHosts.includes(url.hostname)) return { problem: 'insecureAddress' };
  return { origin: url.origin };
}

function checked(reader: JsonReader): ReadPairingCode {
  if (reader.optionalString('type') !== 'tallyfox.pairing') return { problem: 'notTallyfox' };
  if (reader.integer('version') !== 1) return { problem: 'otherVersion' };
  const address = readAddress(reader.string('backendURL'));
  if ('problem' in address) return address;
  const pairingID = reader.string('pairingID');
  if (!isIdentifier(pairingID, pairingIDCharacters)) return { problem: 'badPairingID' };
  const relaySecret = reader.string('relaySecret');
  if (relaySecret === '') return { problem: 'noRelaySecret' };
  const e2eSecret = reader.string('e2eSecret');
  // A key that is made of nothing is everybody's key.
  if (trimmed(e2eSecret) === '') return { problem: 'noSealingSecret' };
  return { code: { backendURL: address.origin, pairingID, relaySecret, e2eSecret } };
}

export function readPairingCode(text: string): ReadPairingCode {
  if (trimmed(text) === '') return { problem: 'empty' };
  if (text.length > greatestLength) return { problem: 'tooLong' };
  let reader: JsonReader;
  try {
    reader = new JsonReader(parsedJson(text));
  } catch {
    return { problem: 'notJson' };
  }
  try {
    return checked(reader);
  } catch (error) {
    if (error instanceof DecodingError) return { problem: 'incomplete' };
    throw error;
  }
}
