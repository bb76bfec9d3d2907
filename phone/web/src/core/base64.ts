const alphabet = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';

const sextets = new Int8Array(128).fill(-1);
for (let value = 0; value < alphabet.length; value += 1) sextets[alphabet.charCodeAt(value)] = value;

/// Standard alphabet, padded, no line breaks.
export function base64Encoded(bytes: Uint8Array): string {
  const parts: string[] = [];
  // Arguments of one call are limited; so the bytes go in pieces.
  const piece = 0x6000;
  for (let at = 0; at < bytes.length; at += piece) {
    parts.push(btoa(String.fromCharCode(...bytes.subarray(at, at + piece))));
  }
  return parts.join('');
}

/// Absent unless it is exactly what base64Encoded() writes for some bytes.
export function base64Decoded(text: string): Uint8Array<ArrayBuffer> | undefined {
  if (text.length % 4 !== 0) return undefined;
  const padding = text.endsWith('==') ? 2 : text.endsWith('=') ? 1 : 0;
  const bytes = new Uint8Array((text.length / 4) * 3 - padding);
  let bits = 0;
  let held = 0;
  let next = 0;
  for (let at = 0; at < text.length - padding; at += 1) {
    const value = sextets[text.charCodeAt(at)] ?? -1;
    if (value < 0) return undefined;
    bits = ((bits << 6) | value) & 0xffffff;
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes[next] = (bits >> held) & 0xff;
    next += 1;
  }
  // What is left over must be zero, or two texts would decode to the same bytes.
  return (bits & ((1 << held) - 1)) === 0 ? bytes : undefined;
}

/// The alphabet of addresses, without padding: how push services write keys.
export function base64UrlDecoded(text: string): Uint8Array<ArrayBuffer> | undefined {
  if (text.includes('+') || text.includes('/') || text.includes('=')) return undefined;
  const standard = text.replaceAll('-', '+').replaceAll('_', '/');
  return base64Decoded(standard + '='.repeat((4 - (standard.length % 4)) % 4));
}
