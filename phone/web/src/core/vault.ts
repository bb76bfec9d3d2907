import type { SealedPayload } from './sealing';

/// What is kept of one pairing. Nothing in it can be read back as text: the keys are not extractable, the relay's secret
/// is encrypted by the device's key, the list of what is muted by the pairing's.
export interface PairingRecord {
  readonly pairingID: string;
  /// Chosen once for a pairing: names this phone to the relay.
  readonly deviceID: string;
  /// Begins every decision of this phone, so that it knows its own from those of others.
  readonly decisionPrefix: string;
  readonly computerName: string;
  /// Computers are shown in this order.
  readonly pairedAt: number;
  /// Absent once the pairing has ended: the secrets go at once, the name stays until the owner has seen it.
  readonly secrets?: PairingSecrets;
  readonly mutedDialogs?: SealedPayload;
}

export interface PairingSecrets {
  readonly sealingKey: CryptoKey;
  readonly wrappedRelaySecret: SealedPayload;
}

export interface Settings {
  readonly phoneName: string;
  readonly notifications: boolean;
}

/// Where pairings are kept; the browser's database, or a map in tests.
export interface Vault {
  /// Encrypts what only this device may read; not extractable, made once.
  deviceKey(): Promise<CryptoKey>;
  pairings(): Promise<PairingRecord[]>;
  savePairing(record: PairingRecord): Promise<void>;
  removePairing(pairingID: string): Promise<void>;
  settings(): Promise<Settings | undefined>;
  saveSettings(settings: Settings): Promise<void>;
  /// Calls back when another tab of this browser wrote something.
  onForeignChange(callback: () => void): void;
}
