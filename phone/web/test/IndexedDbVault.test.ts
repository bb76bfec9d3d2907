// The browser's database: what is put in comes out after a restart, keys as keys, and one device key for all tabs.
import { IDBFactory } from 'fake-indexeddb';
import { afterEach, beforeEach, describe, expect, it } from 'vitest';
import { opened, sealed, sealingKey } from '../src/core/sealing';
import type { PairingRecord } from '../src/core/vault';
import { IndexedDbVault } from '../src/platform/IndexedDbVault';

let factory: IDBFactory;
let vault: IndexedDbVault;

beforeEach(async () => {
  factory = new IDBFactory();
  vault = await IndexedDbVault.opened(factory);
});

afterEach(() => vault.close());

async function someRecord(pairingID: string): Promise<PairingRecord> {
  return {
    pairingID,
    deviceID: 'D',
    decisionPrefix: 'P',
    computerName: 'Mac',
    pairedAt: 1,
    secrets: {
      sealingKey: await sealingKey('secret'),
      wrappedRelaySecret: await sealed('token', await vault.deviceKey()),
    },
  };
}

describe('the database', () => {
  it('keeps pairings over a restart, with keys that work and cannot be read', async () => {
    await vault.savePairing(await someRecord('one'));
    await vault.savePairing(await someRecord('two'));
    vault.close();
    vault = await IndexedDbVault.opened(factory);
    const [one] = await vault.pairings();
    expect(await opened(one!.secrets!.wrappedRelaySecret, await vault.deviceKey())).toBe('token');
    const payload = await sealed('[]', await sealingKey('secret'));
    expect(await opened(payload, one!.secrets!.sealingKey)).toBe('[]');
    await expect(crypto.subtle.exportKey('raw', one!.secrets!.sealingKey)).rejects.toThrow();
    await expect(crypto.subtle.exportKey('raw', await vault.deviceKey())).rejects.toThrow();
  });

  it('replaces and removes by the pairing', async () => {
    await vault.savePairing(await someRecord('one'));
    const { secrets: _, ...ended } = await someRecord('one');
    await vault.savePairing(ended);
    expect(await vault.pairings()).toEqual([ended]);
    await vault.removePairing('one');
    await vault.removePairing('nobody');
    expect(await vault.pairings()).toEqual([]);
  });

  it('keeps settings', async () => {
    expect(await vault.settings()).toBeUndefined();
    await vault.saveSettings({ phoneName: 'Kim', notifications: true });
    expect(await vault.settings()).toEqual({ phoneName: 'Kim', notifications: true });
  });

  it('makes one device key, however many ask at once', async () => {
    const other = await IndexedDbVault.opened(factory);
    const keys = await Promise.all([vault.deviceKey(), other.deviceKey(), vault.deviceKey(), other.deviceKey()]);
    const payload = await sealed('x', keys[0]);
    for (const key of keys) expect(await opened(payload, key)).toBe('x');
    other.close();
  });

  it('tells other tabs of what is written, and never its own', async () => {
    const other = await IndexedDbVault.opened(factory);
    vault.onForeignChange(() => expect.fail('It told itself.'));
    const told = new Promise<void>((resolve) => other.onForeignChange(resolve));
    await vault.saveSettings({ phoneName: 'Kim', notifications: false });
    await told;
    expect((await other.settings())?.phoneName).toBe('Kim');
    other.close();
  });

  it('says when it cannot be opened', async () => {
    await expect(IndexedDbVault.opened({ open: () => { throw new Error('no'); } } as never)).rejects.toThrow();
  });
});
