import { base64UrlDecoded } from '../core/base64';
import type { PushAbility, PushPort } from '../core/push';

function sameBytes(one: ArrayBuffer | null, other: Uint8Array): boolean {
  const bytes = new Uint8Array(one ?? new ArrayBuffer(0));
  return bytes.length === other.length && bytes.every((byte, at) => byte === other[at]);
}

function decodedKey(pushKey: string): Uint8Array<ArrayBuffer> {
  const key = base64UrlDecoded(pushKey);
  if (!key) throw new TypeError('The relay’s key for notifications is not valid.');
  return key;
}

/// The registration whose worker runs; absent where there is none.
async function registration(): Promise<ServiceWorkerRegistration | undefined> {
  const known = await navigator.serviceWorker.getRegistration();
  return known ? navigator.serviceWorker.ready : undefined;
}

async function present(pushKey: string): Promise<PushSubscription | undefined> {
  const subscription = await (await registration())?.pushManager.getSubscription();
  if (!subscription) return undefined;
  if (sameBytes(subscription.options.applicationServerKey, decodedKey(pushKey))) return subscription;
  // Made with another key of the relay: of no use any more.
  await subscription.unsubscribe();
  return undefined;
}

/// Web Push by the service worker's registration.
export const webPush: PushPort = {
  ability(): PushAbility {
    const isApple = /iPhone|iPad|iPod/.test(navigator.userAgent) || ('standalone' in navigator && navigator.maxTouchPoints > 1);
    if (!('serviceWorker' in navigator) || !('PushManager' in window) || !('Notification' in window)) {
      return isApple ? 'needsInstall' : 'unsupported';
    }
    return Notification.permission === 'denied' ? 'blocked' : 'available';
  },

  async subscribe(pushKey: string): Promise<string> {
    const known = await present(pushKey);
    if (known) return known.endpoint;
    const there = await registration();
    if (!there) throw new Error('The service worker does not run.');
    if ((await Notification.requestPermission()) !== 'granted') throw new Error('Notifications were not allowed.');
    const subscription = await there.pushManager.subscribe({
      userVisibleOnly: true,
      applicationServerKey: decodedKey(pushKey),
    });
    return subscription.endpoint;
  },

  async unsubscribe(): Promise<void> {
    const subscription = await (await registration())?.pushManager.getSubscription();
    await subscription?.unsubscribe();
  },

  async endpoint(pushKey: string): Promise<string | undefined> {
    return (await present(pushKey))?.endpoint;
  },
};
