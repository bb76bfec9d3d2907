interface ScriptPolicy {
  createScriptURL(text: string): string;
}
interface PolicyFactory {
  createPolicy(name: string, rules: { createScriptURL: (text: string) => string }): ScriptPolicy;
}

const workerAddress = '/sw.js';

/// The one script address that the page ever makes at run time.
function trustedWorkerAddress(): string {
  const { trustedTypes } = globalThis as { trustedTypes?: PolicyFactory };
  const createScriptURL = (text: string) => {
    if (text !== workerAddress) throw new TypeError('No such script.');
    return text;
  };
  return trustedTypes?.createPolicy('tallyfox', { createScriptURL }).createScriptURL(workerAddress) ?? workerAddress;
}

/// Registers the service worker and tells when a new version of the page waits; calling what it is given changes over
/// to it, and reloads.
export async function registerServiceWorker(onUpdate: (change: () => void) => void): Promise<void> {
  if (!('serviceWorker' in navigator)) return;
  const container = navigator.serviceWorker;
  // The very first worker takes over without anything having changed.
  let isUpdate = container.controller !== null;
  container.addEventListener('controllerchange', () => {
    if (isUpdate) location.reload();
    isUpdate = true;
  });
  const registration = await container.register(trustedWorkerAddress(), { updateViaCache: 'none' });
  const offer = (worker: ServiceWorker | null) => {
    if (worker?.state === 'installed' && container.controller) onUpdate(() => worker.postMessage('change-over'));
  };
  offer(registration.waiting);
  registration.addEventListener('updatefound', () => {
    const worker = registration.installing;
    worker?.addEventListener('statechange', () => offer(worker));
  });
}
