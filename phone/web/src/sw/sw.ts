// Keeps the page's own files, so that it opens without a network, and shows a notification when the relay wakes it. It
// never sees an approval: sockets do not pass here, and what wakes it is empty.
import { messagesFor } from '../i18n/wording';

declare const self: ServiceWorkerGlobalScope;
/// The page's files and a name for this set of them; put in by the build.
declare const shellFiles: readonly string[];
declare const shellVersion: string;

const cacheName = `shell-${shellVersion}`;
const index = '/';
/// A relay that does not answer by then is taken for absent: the page opens from the cache, and says so itself.
const networkTime = 4_000;

self.addEventListener('install', (event) => {
  const files = [index, ...shellFiles].map((file) => new Request(file, { cache: 'reload' }));
  event.waitUntil(caches.open(cacheName).then((cache) => cache.addAll(files)));
});

self.addEventListener('activate', (event) => {
  const clean = async () => {
    const names = await caches.keys();
    await Promise.all(names.filter((name) => name !== cacheName).map((name) => caches.delete(name)));
    await self.clients.claim();
  };
  event.waitUntil(clean());
});

self.addEventListener('message', (event) => {
  if (event.data === 'change-over') void self.skipWaiting();
});

async function newestIndex(request: Request): Promise<Response> {
  const cached = caches.match(index, { cacheName });
  const late = new Promise<undefined>((resolve) => setTimeout(() => resolve(undefined), networkTime));
  const answer = await Promise.race([fetch(request).catch(() => undefined), late]);
  if (answer?.ok || answer?.type === 'opaqueredirect') return answer;
  return (await cached) ?? answer ?? Response.error();
}

async function keptFile(request: Request): Promise<Response> {
  return (await caches.match(request, { cacheName, ignoreSearch: true })) ?? fetch(request);
}

self.addEventListener('fetch', (event) => {
  const { request } = event;
  const url = new URL(request.url);
  if (request.method !== 'GET' || url.origin !== self.location.origin) return;
  if (request.mode === 'navigate' && url.pathname === index) event.respondWith(newestIndex(request));
  else if (shellFiles.includes(url.pathname)) event.respondWith(keptFile(request));
});

async function tell(): Promise<void> {
  const windows = await self.clients.matchAll({ type: 'window' });
  // Who looks at the page sees what is new there.
  if (windows.some((client) => client.visibilityState === 'visible' && client.focused)) return;
  const { push } = messagesFor(self.navigator.languages);
  const options = { body: push.body, tag: 'waiting', renotify: true, icon: '/icon-192.png', badge: '/badge-96.png' };
  await self.registration.showNotification(push.title, options);
}

self.addEventListener('push', (event) => event.waitUntil(tell()));

self.addEventListener('notificationclick', (event) => {
  event.notification.close();
  const show = async () => {
    const [open] = await self.clients.matchAll({ type: 'window', includeUncontrolled: true });
    await (open ? open.focus() : self.clients.openWindow(index));
  };
  event.waitUntil(show());
});
