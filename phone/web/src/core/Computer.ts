import { ApprovalBoard, type BoardEvent } from './ApprovalBoard';
import { decodedApprovals, type Approval } from './approval';
import type { Clock } from './clock';
import type { StopReason } from './closeCodes';
import { Connection, type ConnectionState, type OpenSocket } from './Connection';
import {
  decodedResult,
  helloText,
  requestPlaintext,
  requestText,
  suppressionPlaintext,
  suppressionText,
  type IncomingMessage,
  type SuppressionCommand,
} from './messages';
import {
  decodedMutedDialogs,
  encodedMutedDialogs,
  withMuted,
  withoutMuted,
  type MutedDialog,
} from './mutedDialogs';
import { opened, sealed } from './sealing';
import type { PairingRecord, Vault } from './vault';

export interface ComputerPorts {
  readonly clock: Clock;
  readonly openSocket: OpenSocket;
  readonly random: () => number;
  readonly randomUuid: () => string;
  readonly vault: Vault;
  /// The owner's name for this phone, as it is now.
  readonly phoneName: () => string;
}

export interface ComputerEvents {
  onChange(): void;
  onBoardEvent(event: BoardEvent): void;
  /// After every welcome.
  onWelcome(computer: Computer): void;
  /// The connection ended for good.
  onStopped(computer: Computer, reason: StopReason): void;
}

/// How old what is shown is.
export interface Freshness {
  /// Milliseconds since 1970 on this phone's clock; absent before the first list.
  readonly asOf: number | undefined;
  /// Whether a change would be known at once.
  readonly isLive: boolean;
}

/// One paired computer: its connection, its approvals, and what is muted of it.
export class Computer {
  readonly board: ApprovalBoard;
  private readonly connection: Connection;
  private list: readonly MutedDialog[] = [];
  /// Frames are opened and handled one after another, in the order in which they came.
  private work: Promise<void> = Promise.resolve();
  private asOf: number | undefined;
  private wasLive = false;
  private isWelcomed = false;
  private awaitsFirstList = true;
  private trusted = true;
  private unreadable = false;
  /// Counts connections: what was received by an older one says nothing about the present.
  private session = 0;
  private isRemoved = false;
  /// What to take back when the relay could not pass on a change of what is muted.
  private readonly undelivered = new Map<string, () => void>();

  constructor(
    private stored: PairingRecord,
    private readonly ports: ComputerPorts,
    private readonly events: ComputerEvents,
  ) {
    this.board = new ApprovalBoard(
      ports.clock,
      () => events.onChange(),
      (event) => events.onBoardEvent(event),
    );
    const { clock, openSocket, random } = ports;
    this.connection = new Connection(
      { clock, openSocket, random, hello: () => this.hello() },
      {
        onState: (state) => this.connectionChanged(state),
        onMessage: (message) => {
          const { session } = this;
          this.enqueue(() => this.handle(message, session));
        },
        onProblem: () => this.markUnreadable(),
      },
    );
  }

  get id(): string {
    return this.stored.pairingID;
  }
  get record(): PairingRecord {
    return this.stored;
  }
  get name(): string {
    return this.stored.computerName;
  }
  get connectionState(): ConnectionState {
    return this.connection.state;
  }
  get mutedDialogs(): readonly MutedDialog[] {
    return this.list;
  }
  /// The computer said that it may not read other programs' windows.
  get mayNotRead(): boolean {
    return !this.trusted;
  }
  /// A message of the computer could not be opened or understood.
  get hasUnreadable(): boolean {
    return this.unreadable;
  }
  /// Whether an answer would reach the computer.
  get canDecide(): boolean {
    const { state } = this.connection;
    return state.kind === 'connected' && state.agentConnected;
  }
  get freshness(): Freshness {
    return { asOf: this.asOf, isLive: this.canDecide && !this.awaitsFirstList && !this.unreadable };
  }

  /// Reads what is muted, then connects; a pairing without secrets has ended and stays as it is.
  async start(): Promise<void> {
    if (!this.stored.secrets) return;
    await this.readMuted();
    if (!this.isRemoved) this.connection.start();
  }

  connectAgain(): void {
    if (this.stored.secrets) this.connection.start();
  }
  refreshConnection(): void {
    this.connection.refresh();
  }
  /// Nothing of it is written any more.
  stop(): void {
    this.isRemoved = true;
    this.connection.stop();
    this.board.clear();
  }
  /// False when the relay cannot be asked now.
  leave(): boolean {
    return this.connection.leave();
  }
  send(text: string): boolean {
    return this.connection.send(text);
  }

  /// What another tab wrote. False when it is a pairing of its own, to be begun anew.
  async adopt(record: PairingRecord): Promise<boolean> {
    const isSame = record.deviceID === this.stored.deviceID && !record.secrets === !this.stored.secrets;
    if (!isSame) return false;
    this.stored = { ...record, ...(this.stored.secrets && { secrets: this.stored.secrets }) };
    await this.readMuted();
    this.events.onChange();
    return true;
  }

  async rename(computerName: string): Promise<void> {
    await this.save({ ...this.stored, computerName });
  }

  /// Ends the pairing here: the secrets are forgotten at once.
  async forgetSecrets(): Promise<void> {
    const { secrets: _, mutedDialogs: __, ...rest } = this.stored;
    this.list = [];
    this.board.clear();
    await this.save(rest);
  }

  /// The owner taps a button.
  press(approvalID: string, label: string): void {
    if (!this.canDecide) return;
    const decisionID = this.newDecisionID();
    if (this.board.press(approvalID, label, decisionID) !== 'deciding') return;
    void this.sendSealed(
      decisionID,
      requestPlaintext(approvalID, label),
      (payload) => requestText(decisionID, payload, this.ports.clock.wallNow()),
      () => this.board.notSent(decisionID),
    );
  }

  /// "Do not show on my phones again."
  suppress(approvalID: string): void {
    const approval = this.board.cards.find((card) => card.approval.id === approvalID)?.approval;
    const decisionID = this.newDecisionID();
    if (!approval || !this.canDecide || !this.board.suppress(approvalID, decisionID)) return;
    const { suppressionID, appName, windowTitle } = approval;
    const muted = { suppressionID, appName, windowTitle, mutedAt: this.ports.clock.wallNow() };
    this.setMuted(withMuted(this.list, muted));
    const takeBack = () => {
      this.setMuted(withoutMuted(this.list, suppressionID));
      this.board.undeliverable(decisionID, 'offline');
    };
    void this.sendSuppression({ action: 'suppress', approvalID, suppressionID }, decisionID, takeBack);
  }

  /// Takes back what suppress() did a moment ago.
  undoSuppress(approvalID: string): void {
    const approval = this.board.cards.find((card) => card.approval.id === approvalID)?.approval;
    if (!approval || !this.canDecide) return;
    this.board.suppressionUndone(approvalID);
    this.unsuppress(approval.suppressionID);
  }

  /// Lets a muted dialog be shown again.
  unsuppress(suppressionID: string): void {
    const muted = this.list.find((each) => each.suppressionID === suppressionID);
    if (!muted || !this.canDecide) return;
    this.setMuted(withoutMuted(this.list, suppressionID));
    const takeBack = () => this.setMuted(withMuted(this.list, muted));
    void this.sendSuppression({ action: 'unsuppress', suppressionID }, this.newDecisionID(), takeBack);
  }

  private async readMuted(): Promise<void> {
    const { secrets, mutedDialogs } = this.stored;
    if (!secrets) return;
    try {
      this.list = mutedDialogs ? decodedMutedDialogs(await opened(mutedDialogs, secrets.sealingKey)) : [];
    } catch {
      this.list = [];
    }
  }

  private async hello(): Promise<string> {
    const { pairingID, deviceID, secrets } = this.stored;
    if (!secrets) throw new Error('The pairing has ended.');
    const relaySecret = await opened(secrets.wrappedRelaySecret, await this.ports.vault.deviceKey());
    return helloText({ pairingID, relaySecret, deviceID, deviceName: this.ports.phoneName(), platform: 'web' });
  }

  private connectionChanged(state: ConnectionState): void {
    if (state.kind === 'connected') {
      // A computer that comes back may be another agent: results that it owed are lost, and its list is still to come.
      if (!this.isWelcomed || (state.agentConnected && !this.wasLive)) this.awaitsFirstList = true;
      else if (!state.agentConnected) this.lostTouch();
      this.wasLive = state.agentConnected;
    } else {
      this.lostTouch();
      this.session += 1;
    }
    const isWelcome = state.kind === 'connected' && !this.isWelcomed;
    this.isWelcomed = state.kind === 'connected';
    this.events.onChange();
    if (isWelcome) this.events.onWelcome(this);
    if (state.kind === 'stopped') this.events.onStopped(this, state.reason);
  }

  /// From here on, what is shown is as old as this moment.
  private lostTouch(): void {
    if (this.wasLive && this.asOf !== undefined && !this.awaitsFirstList) this.asOf = this.ports.clock.wallNow();
    this.wasLive = false;
  }

  private enqueue(task: () => Promise<void>): void {
    this.work = this.work.then(task).catch(() => this.markUnreadable());
  }

  private async handle(message: IncomingMessage, session: number): Promise<void> {
    const key = this.stored.secrets?.sealingKey;
    if (!key) return;
    if (message.type === 'mac.snapshot') {
      const approvals = decodedApprovals(await opened(message.encryptedApprovals, key));
      if (session === this.session) this.listArrived(approvals, message.observedAt, message.accessibilityTrusted);
    } else if (message.type === 'approval.result') {
      const result = decodedResult(await opened(message.encryptedResult, key));
      this.undelivered.delete(message.decisionID);
      const isOurs = message.decisionID.startsWith(`${this.stored.decisionPrefix}-`);
      this.board.resultArrived(message.decisionID, result, isOurs);
    } else if (message.type === 'decision.undeliverable') {
      const takeBack = this.undelivered.get(message.decisionID);
      this.undelivered.delete(message.decisionID);
      if (!takeBack) this.board.undeliverable(message.decisionID, message.reason);
      else if (message.reason === 'offline') takeBack();
    }
  }

  private listArrived(approvals: readonly Approval[], observedAt: number, accessibilityTrusted: boolean): void {
    const now = this.ports.clock.wallNow();
    const isFirst = this.awaitsFirstList;
    // What comes first may have waited at the relay; what comes later is new, whatever the computer's clock says.
    this.asOf = isFirst ? Math.min(observedAt, now) : now;
    this.awaitsFirstList = false;
    this.trusted = accessibilityTrusted;
    this.unreadable = false;
    this.board.replace(approvals, isFirst);
  }

  private markUnreadable(): void {
    this.unreadable = true;
    this.events.onChange();
  }

  private newDecisionID(): string {
    return `${this.stored.decisionPrefix}-${this.ports.randomUuid().toUpperCase()}`;
  }

  private async sendSuppression(command: SuppressionCommand, decisionID: string, takeBack: () => void): Promise<void> {
    this.undelivered.set(decisionID, takeBack);
    await this.sendSealed(
      decisionID,
      suppressionPlaintext(command),
      (payload) => suppressionText(command.action, decisionID, payload, this.ports.clock.wallNow()),
      takeBack,
    );
  }

  private async sendSealed(
    decisionID: string,
    plaintext: string,
    frame: (payload: Awaited<ReturnType<typeof sealed>>) => string,
    onFailure: () => void,
  ): Promise<void> {
    try {
      const key = this.stored.secrets?.sealingKey;
      if (key && this.connection.send(frame(await sealed(plaintext, key)))) return;
    } catch {
      // Told below: nothing was sent.
    }
    this.undelivered.delete(decisionID);
    onFailure();
  }

  private setMuted(list: readonly MutedDialog[]): void {
    this.list = list;
    this.events.onChange();
    this.enqueue(async () => {
      const key = this.stored.secrets?.sealingKey;
      if (key) await this.save({ ...this.stored, mutedDialogs: await sealed(encodedMutedDialogs(this.list), key) });
    });
  }

  private async save(record: PairingRecord): Promise<void> {
    if (this.isRemoved) return;
    this.stored = record;
    await this.ports.vault.savePairing(record);
    this.events.onChange();
  }
}
