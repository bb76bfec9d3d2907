import type { PairingRecord, Settings, Vault } from '../core/vault';

const pairingsStore = 'pairings';
/// Single values by name.
const valuesStore = 'values';
const deviceKeyName = 'deviceKey';
const settingsName = 'settings';

function finished<T>(request: IDBRequest<T>): Promise<T> {
  return new Promise((resolve, reject) => {
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(request.error ?? new Error('The database failed.'));
  });
}

function committed(transaction: IDBTransaction): Promise<void> {
  return new Promise((resolve, reject) => {
    transaction.oncomplete = () => resolve();
    transaction.onabort = () => reject(transaction.error ?? new Error('The database failed.'));
  });
}

/// The browser's database of this origin. Keys are kept as CryptoKey objects, which scripts can use and never read.
export class IndexedDbVault implements Vault {
  /// Joins the tabs of this browser.
  private readonly channel: BroadcastChannel;

  private constructor(
    private readonly database: IDBDatabase,
    name: string,
  ) {
    this.channel = new BroadcastChannel(name);
  }

  /// Throws where the browser keeps nothing for the page.
  static async opened(factory: IDBFactory, name = 'tallyfox'): Promise<IndexedDbVault> {
    const request = factory.open(name, 1);
    request.onupgradeneeded = () => {
      request.result.createObjectStore(pairingsStore, { keyPath: 'pairingID' });
      request.result.createObjectStore(valuesStore);
    };
    const database = await finished(request);
    // A later version of the page in another tab must not wait for this one.
    database.onversionchange = () => database.close();
    return new IndexedDbVault(database, name);
  }

  async deviceKey(): Promise<CryptoKey> {
    const known = await this.value<CryptoKey>(deviceKeyName);
    if (known) return known;
    const made = await crypto.subtle.generateKey({ name: 'AES-GCM', length: 256 }, false, ['encrypt', 'decrypt']);
    const transaction = this.database.transaction(valuesStore, 'readwrite');
    const store = transaction.objectStore(valuesStore);
    // Another tab may have been first: what is stored is the key.
    const first = await finished<CryptoKey | undefined>(store.get(deviceKeyName));
    if (!first) store.put(made, deviceKeyName);
    await committed(transaction);
    return first ?? made;
  }

  pairings(): Promise<PairingRecord[]> {
    return finished<PairingRecord[]>(this.database.transaction(pairingsStore).objectStore(pairingsStore).getAll());
  }

  savePairing(record: PairingRecord): Promise<void> {
    return this.write(pairingsStore, (store) => store.put(record));
  }

  removePairing(pairingID: string): Promise<void> {
    return this.write(pairingsStore, (store) => store.delete(pairingID));
  }

  settings(): Promise<Settings | undefined> {
    return this.value<Settings>(settingsName);
  }

  saveSettings(settings: Settings): Promise<void> {
    return this.write(valuesStore, (store) => store.put(settings, settingsName));
  }

  onForeignChange(callback: () => void): void {
    this.channel.onmessage = callback;
  }

  close(): void {
    this.channel.close();
    this.database.close();
  }

  private value<T>(name: string): Promise<T | undefined> {
    return finished<T | undefined>(this.database.transaction(valuesStore).objectStore(valuesStore).get(name));
  }

  private async write(storeName: string, change: (store: IDBObjectStore) => void): Promise<void> {
    const transaction = this.database.transaction(storeName, 'readwrite');
    change(transaction.objectStore(storeName));
    await committed(transaction);
    this.channel.postMessage('changed');
  }
}
