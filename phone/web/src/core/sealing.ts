import { base64Decoded, base64Encoded } from './base64';
import { DecodingError, JsonReader } from './json';
import { trimmed } from './text';

/// Whatever only the computer and its phones may read; a relay passes it on. See docs/relay-protocol.md, "Sealing".
export interface SealedPayload {
  readonly version: number;
  /// For reading by people; openers take the nonce from the ciphertext.
  readonly nonce: string;
  /// Base64 of nonce, ciphertext and tag.
  readonly ciphertext: string;
}

const nonceBytes = 12;
const tagBytes = 16;

/// The two things that WebCrypto gives and tests replace.
export type RandomBytes = (count: number) => Uint8Array<ArrayBuffer>;

export const secureRandomBytes: RandomBytes = (count) => crypto.getRandomValues(new Uint8Array(count));

/// The key cannot be read back: from here on the secret's text is needed no more.
export async function sealingKey(secret: string): Promise<CryptoKey> {
  const digest = await crypto.subtle.digest('SHA-256', new TextEncoder().encode(trimmed(secret)));
  return crypto.subtle.importKey('raw', digest, 'AES-GCM', false, ['encrypt', 'decrypt']);
}

/// Every message gets a nonce of its own.
export async function sealed(
  plaintext: string,
  key: CryptoKey,
  randomBytes: RandomBytes = secureRandomBytes,
): Promise<SealedPayload> {
  const nonce = randomBytes(nonceBytes);
  const box = await crypto.subtle.encrypt({ name: 'AES-GCM', iv: nonce }, key, new TextEncoder().encode(plaintext));
  const combined = new Uint8Array(nonceBytes + box.byteLength);
  combined.set(nonce);
  combined.set(new Uint8Array(box), nonceBytes);
  return { version: 1, nonce: base64Encoded(nonce), ciphertext: base64Encoded(combined) };
}

/// Throws a DecodingError when the payload was not sealed with this key, or was changed since.
export async function opened(payload: SealedPayload, key: CryptoKey): Promise<string> {
  const combined = base64Decoded(payload.ciphertext);
  if (!combined || combined.length < nonceBytes + tagBytes) throw new DecodingError('The ciphertext is not valid.');
  const parameters = { name: 'AES-GCM', iv: combined.slice(0, nonceBytes) };
  let plaintext: ArrayBuffer;
  try {
    plaintext = await crypto.subtle.decrypt(parameters, key, combined.slice(nonceBytes));
  } catch {
    throw new DecodingError('The message was not sealed with this key.');
  }
  try {
    return new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(plaintext);
  } catch {
    throw new DecodingError('The message is no UTF-8.');
  }
}

export function decodedSealedPayload(value: unknown): SealedPayload {
  const reader = new JsonReader(value);
  return {
    version: reader.integer('version'),
    nonce: reader.string('nonce'),
    ciphertext: reader.string('ciphertext'),
  };
}
