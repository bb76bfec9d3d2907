import type { Page } from '@playwright/test';

/** What a page keeps, as text to search: databases with what is in them, local and session storage, cookies. Keys that
    may be taken out of the browser are named so. */
export async function storedRecords(page: Page): Promise<string> {
  return page.evaluate(async () => {
    const bytesOf = (value: ArrayBuffer | ArrayBufferView): string => {
      const bytes =
        value instanceof ArrayBuffer
          ? new Uint8Array(value)
          : new Uint8Array(value.buffer, value.byteOffset, value.byteLength);
      const hexadecimal = [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
      return `bytes ${hexadecimal} ${new TextDecoder('latin1').decode(bytes)}`;
    };
    const written = (value: unknown): string => {
      if (value instanceof CryptoKey)
        return `${value.extractable ? 'extractable' : 'locked'} ${value.type} key for ${value.usages.join(' and ')}`;
      if (value instanceof ArrayBuffer || ArrayBuffer.isView(value)) return bytesOf(value);
      if (value instanceof Map) return written([...value.entries()]);
      if (value instanceof Set) return written([...value.values()]);
      if (value instanceof Date) return value.toISOString();
      if (Array.isArray(value)) return `[${value.map(written).join(', ')}]`;
      if (value !== null && typeof value === 'object')
        return `{${Object.entries(value)
          .map(([name, member]) => `${name}: ${written(member)}`)
          .join(', ')}}`;
      return String(value);
    };
    const settled = <T>(request: IDBRequest<T>): Promise<T> =>
      new Promise((resolve, reject) => {
        request.onsuccess = () => resolve(request.result);
        request.onerror = () => reject(request.error);
      });

    const found: string[] = [];
    for (const { name } of await indexedDB.databases()) {
      const database = await settled(indexedDB.open(name!));
      for (const store of database.objectStoreNames) {
        const records = database.transaction(store).objectStore(store);
        const [keys, values] = await Promise.all([settled(records.getAllKeys()), settled(records.getAll())]);
        found.push(`${name}/${store}: ${written(keys)} ${written(values)}`);
      }
      database.close();
    }
    for (const storage of [localStorage, sessionStorage]) found.push(written({ ...storage }));
    found.push(document.cookie);
    return found.join('\n');
  });
}

/** The caches of a page's files by name, each with its files' addresses and contents. */
export async function storedFiles(page: Page): Promise<Record<string, string>> {
  return page.evaluate(async () => {
    const found: Record<string, string> = {};
    for (const name of await caches.keys()) {
      const cache = await caches.open(name);
      const files = (await cache.keys()).map(
        async (request) => `${request.url} ${await (await cache.match(request))!.text()}`,
      );
      found[name] = (await Promise.all(files)).join('\n');
    }
    return found;
  });
}
