import type { PairingRecord, Settings, Vault } from '../src/core/vault';

/// Keeps what the database would; what is taken out is a copy, as there.
export class MemoryVault implements Vault {
  readonly records = new Map<string, PairingRecord>();
  kept: Settings | undefined;
  /// As if another tab had written.
  foreignChange: () => void = () => undefined;
  private key: Promise<CryptoKey> | undefined;

  deviceKey(): Promise<CryptoKey> {
    this.key ??= crypto.subtle.generateKey({ name: 'AES-GCM', length: 256 }, false, ['encrypt', 'decrypt']);
    return this.key;
  }
  pairings(): Promise<PairingRecord[]> {
    return Promise.resolve([...this.records.values()].map((record) => ({ ...record })));
  }
  savePairing(record: PairingRecord): Promise<void> {
    this.records.set(record.pairingID, { ...record });
    return Promise.resolve();
  }
  removePairing(pairingID: string): Promise<void> {
    this.records.delete(pairingID);
    return Promise.resolve();
  }
  settings(): Promise<Settings | undefined> {
    return Promise.resolve(this.kept);
  }
  onForeignChange(callback: () => void): void {
    this.foreignChange = callback;
  }
  saveSettings(settings: Settings): Promise<void> {
    this.kept = settings;
    return Promise.resolve();
  }
}
