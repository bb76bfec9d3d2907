import type { Clock } from '../core/clock';
import type { OpenSocket } from '../core/Connection';
import type { PageConfig } from '../core/push';
import type { PlatformName } from '../i18n/Messages';

export const browserClock: Clock = {
  wallNow: () => Date.now(),
  now: () => performance.now(),
  after: (milliseconds, callback) => {
    const timer = setTimeout(callback, milliseconds);
    return () => clearTimeout(timer);
  },
};

/// A WebSocket to the origin that the page came from.
export const openBrowserSocket: OpenSocket = (events) => {
  const address = new URL('/phone', location.href);
  address.protocol = location.protocol === 'https:' ? 'wss:' : 'ws:';
  const socket = new WebSocket(address);
  socket.onopen = () => events.onOpen();
  socket.onmessage = ({ data }) => {
    if (typeof data === 'string') events.onText(data);
  };
  socket.onclose = ({ code }) => events.onClose(code);
  return {
    send: (text) => socket.send(text),
    close: () => {
      socket.onopen = socket.onmessage = socket.onclose = null;
      socket.close();
    },
  };
};

/// An identifier in upper case, as all of them are written.
export function randomUuid(): string {
  return crypto.randomUUID().toUpperCase();
}

export async function loadPageConfig(): Promise<PageConfig> {
  try {
    const answer = await fetch('/page-config.json', { cache: 'no-store', credentials: 'omit' });
    const config: unknown = answer.ok ? await answer.json() : undefined;
    if (typeof config !== 'object' || config === null || !('pushKey' in config)) return { pushKey: undefined };
    return { pushKey: typeof config.pushKey === 'string' ? config.pushKey : null };
  } catch {
    return { pushKey: undefined };
  }
}

/// From what a browser says about its system; an iPad calls itself a Mac, but can be touched.
export function platformName(userAgent: string, touchPoints: number): PlatformName {
  if (/iPhone|iPod/.test(userAgent)) return 'iphone';
  if (/iPad/.test(userAgent) || (/Macintosh/.test(userAgent) && touchPoints > 1)) return 'ipad';
  if (/Android/.test(userAgent)) return 'android';
  if (/Macintosh/.test(userAgent)) return 'mac';
  if (/Windows/.test(userAgent)) return 'windows';
  if (/Linux|X11|CrOS/.test(userAgent)) return 'linux';
  return 'other';
}
