import type { BoardEvent } from './ApprovalBoard';
import type { StopReason } from './closeCodes';
import { Computer, type ComputerPorts } from './Computer';
import { Notifications } from './Notifications';
import { readPairingCode, type PairingCode, type PairingCodeProblem } from './pairingCode';
import type { PageConfig, PushPort } from './push';
import { sealed, sealingKey } from './sealing';
import { limited, trimmed } from './text';
import type { PairingRecord, Settings } from './vault';

export interface PhonePorts extends Omit<ComputerPorts, 'phoneName'> {
  /// The origin that the page came from; its relay is the one that can be reached.
  readonly origin: string;
  readonly push: PushPort;
  readonly loadConfig: () => Promise<PageConfig>;
  readonly defaultPhoneName: string;
  /// What a computer is called before its owner named it.
  readonly defaultComputerName: (number: number) => string;
}

export type PhoneEvent =
  | { readonly kind: 'board'; readonly event: BoardEvent }
  | { readonly kind: 'paired'; readonly name: string }
  | { readonly kind: 'unpaired'; readonly name: string }
  | { readonly kind: 'left'; readonly name: string };

export interface PhoneEvents {
  onChange(): void;
  onEvent(event: PhoneEvent): void;
}

/// What a text that should be a code turned out to be.
export type ReadCode =
  | { readonly kind: 'problem'; readonly problem: PairingCodeProblem }
  | { readonly kind: 'otherRelay'; readonly address: string }
  | { readonly kind: 'ready'; readonly code: PairingCode; readonly isPaired: boolean };

export type PairingState =
  | { readonly kind: 'none' }
  | { readonly kind: 'connecting'; readonly computer: Computer }
  | { readonly kind: 'refused'; readonly reason: StopReason };

/// The relay takes names of 1 to 100 characters.
export const nameCharacters = 100;

export function cleanName(text: string, otherwise: string): string {
  return trimmed(limited(trimmed(text), nameCharacters)) || otherwise;
}

/// The phone: its computers, its pairing under way, its settings.
export class Phone {
  readonly notifications: Notifications;
  private list: Computer[] = [];
  private attempt: PairingState = { kind: 'none' };
  private kept: Settings;
  private loaded = false;

  constructor(
    private readonly ports: PhonePorts,
    private readonly events: PhoneEvents,
  ) {
    this.kept = { phoneName: ports.defaultPhoneName, notifications: false };
    this.notifications = new Notifications(
      ports.push,
      ports.loadConfig,
      (text) => this.list.forEach((computer) => computer.send(text)),
      () => events.onChange(),
    );
  }

  get computers(): readonly Computer[] {
    return this.list;
  }
  get pairing(): PairingState {
    return this.attempt;
  }
  get settings(): Settings {
    return this.kept;
  }
  /// Whether what is stored has been read.
  get isReady(): boolean {
    return this.loaded;
  }
  get waitingCount(): number {
    return this.list.reduce((count, computer) => count + computer.board.waitingCount, 0);
  }
  get nextComputerName(): string {
    return this.ports.defaultComputerName(this.list.length + 1);
  }

  async start(): Promise<void> {
    const { vault } = this.ports;
    this.kept = (await vault.settings()) ?? this.kept;
    const records = await vault.pairings();
    this.list = records.sort((one, other) => one.pairedAt - other.pairedAt).map((record) => this.computerFor(record));
    this.loaded = true;
    vault.onForeignChange(() => void this.follow());
    this.events.onChange();
    await Promise.all(this.list.map((computer) => computer.start()));
    await this.notifications.start(this.kept.notifications);
  }

  readCode(text: string): ReadCode {
    const read = readPairingCode(text);
    if ('problem' in read) return { kind: 'problem', problem: read.problem };
    if (read.code.backendURL !== this.ports.origin) return { kind: 'otherRelay', address: read.code.backendURL };
    const isPaired = this.list.some((computer) => computer.id === read.code.pairingID && computer.record.secrets);
    return { kind: 'ready', code: read.code, isPaired };
  }

  /// Says hello with a code. The pairing is kept once the relay has said welcome.
  async pair(code: PairingCode, phoneName: string, computerName: string): Promise<void> {
    this.cancelPairing();
    await this.keepSettings({ ...this.kept, phoneName: cleanName(phoneName, this.ports.defaultPhoneName) });
    const computer = this.computerFor(await this.newRecord(code, cleanName(computerName, this.nextComputerName)));
    this.attempt = { kind: 'connecting', computer };
    this.events.onChange();
    await computer.start();
  }

  cancelPairing(): void {
    if (this.attempt.kind === 'connecting') this.attempt.computer.stop();
    this.attempt = { kind: 'none' };
    this.events.onChange();
  }

  /// Every relay connection is made anew, so that the computers learn the name.
  async renamePhone(name: string): Promise<void> {
    await this.keepSettings({ ...this.kept, phoneName: cleanName(name, this.ports.defaultPhoneName) });
    for (const computer of this.list) computer.refreshConnection();
  }

  async renameComputer(computer: Computer, name: string): Promise<void> {
    await computer.rename(cleanName(name, computer.name));
  }

  /// Whether they are as the owner wants them.
  async setNotifications(on: boolean): Promise<boolean> {
    const isOn = on && (await this.notifications.turnOn());
    if (!on) await this.notifications.turnOff();
    await this.keepSettings({ ...this.kept, notifications: isOn });
    return isOn === on;
  }

  /// Asks the relay to forget this phone; without a connection only this phone forgets.
  async unpair(computer: Computer): Promise<void> {
    if (!computer.leave()) await this.remove(computer, 'left');
  }

  /// The owner has seen that a pairing ended.
  async dismiss(computer: Computer): Promise<void> {
    await this.remove(computer);
  }

  /// The page is looked at again, or the network is back. `refresh` where connections may have died unnoticed.
  wake(refresh: boolean): void {
    for (const computer of this.list) {
      if (refresh) computer.refreshConnection();
      else if (computer.connectionState.kind === 'waiting') computer.connectAgain();
    }
  }

  /// Another tab of this browser changed what is stored.
  private async follow(): Promise<void> {
    const { vault } = this.ports;
    this.kept = (await vault.settings()) ?? this.kept;
    const records = (await vault.pairings()).sort((one, other) => one.pairedAt - other.pairedAt);
    const former = this.list;
    const begun: Computer[] = [];
    const list = await Promise.all(
      records.map(async (record) => {
        const known = former.find((computer) => computer.id === record.pairingID);
        if (known && (await known.adopt(record))) return known;
        const computer = this.computerFor(record);
        begun.push(computer);
        return computer;
      }),
    );
    former.filter((computer) => !list.includes(computer)).forEach((computer) => computer.stop());
    this.list = list;
    this.events.onChange();
    await Promise.all(begun.map((computer) => computer.start()));
  }

  private computerFor(record: PairingRecord): Computer {
    return new Computer(
      record,
      { ...this.ports, phoneName: () => this.kept.phoneName },
      {
        onChange: () => this.events.onChange(),
        onBoardEvent: (event) => this.events.onEvent({ kind: 'board', event }),
        onWelcome: (computer) => void this.welcomed(computer),
        onStopped: (computer, reason) => void this.stopped(computer, reason),
      },
    );
  }

  private async newRecord(code: PairingCode, computerName: string): Promise<PairingRecord> {
    const { vault, clock, randomUuid } = this.ports;
    const known = this.list.find((computer) => computer.id === code.pairingID && computer.record.secrets)?.record;
    const deviceKey = await vault.deviceKey();
    return {
      pairingID: code.pairingID,
      // A device that was unpaired is refused for good, so a pairing that ended begins again under another.
      deviceID: known?.deviceID ?? randomUuid().toUpperCase(),
      decisionPrefix: known?.decisionPrefix ?? randomUuid().slice(0, 8).toUpperCase(),
      computerName,
      pairedAt: known?.pairedAt ?? clock.wallNow(),
      secrets: {
        sealingKey: await sealingKey(code.e2eSecret),
        wrappedRelaySecret: await sealed(code.relaySecret, deviceKey),
      },
      ...(known?.mutedDialogs && { mutedDialogs: known.mutedDialogs }),
    };
  }

  private async welcomed(computer: Computer): Promise<void> {
    const greeting = this.notifications.greeting();
    if (greeting) computer.send(greeting);
    if (this.attempt.kind !== 'connecting' || this.attempt.computer !== computer) return;
    this.attempt = { kind: 'none' };
    const former = this.list.find((other) => other.id === computer.id);
    former?.stop();
    this.list = former
      ? this.list.map((other) => (other === former ? computer : other))
      : [...this.list, computer];
    this.events.onEvent({ kind: 'paired', name: computer.name });
    this.events.onChange();
    await this.ports.vault.savePairing(computer.record);
  }

  private async stopped(computer: Computer, reason: StopReason): Promise<void> {
    if (this.attempt.kind === 'connecting' && this.attempt.computer === computer) {
      this.attempt = { kind: 'refused', reason };
      this.events.onChange();
    } else if (reason === 'left') {
      await this.remove(computer, 'left');
    } else if (reason === 'unpaired') {
      this.events.onEvent({ kind: 'unpaired', name: computer.name });
      await computer.forgetSecrets();
    }
  }

  private async remove(computer: Computer, event?: 'left'): Promise<void> {
    computer.stop();
    this.list = this.list.filter((other) => other !== computer);
    this.events.onChange();
    if (event) this.events.onEvent({ kind: event, name: computer.name });
    await this.ports.vault.removePairing(computer.id);
  }

  private async keepSettings(settings: Settings): Promise<void> {
    this.kept = settings;
    this.events.onChange();
    await this.ports.vault.saveSettings(settings);
  }
}

