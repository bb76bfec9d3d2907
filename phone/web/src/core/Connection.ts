import { reconnectDelay } from './backoff';
import { closingFor, type StopReason, type WaitCause } from './closeCodes';
import type { Clock } from './clock';
import { decodedMessage, leaveText, type IncomingMessage } from './messages';

/// One WebSocket. After close() it tells nothing more.
export interface PhoneSocket {
  send(text: string): void;
  close(): void;
}

export interface SocketEvents {
  onOpen(): void;
  onText(text: string): void;
  onClose(code: number): void;
}

export type OpenSocket = (events: SocketEvents) => PhoneSocket;

export type ConnectionState =
  | { readonly kind: 'idle' }
  | { readonly kind: 'connecting' }
  | { readonly kind: 'connected'; readonly agentConnected: boolean }
  | { readonly kind: 'waiting'; readonly cause: WaitCause }
  | { readonly kind: 'stopped'; readonly reason: StopReason };

export interface ConnectionEvents {
  onState(state: ConnectionState): void;
  /// Everything that is not about the connection itself.
  onMessage(message: IncomingMessage): void;
  /// A frame that could not be read.
  onProblem(): void;
}

export interface ConnectionPorts {
  readonly clock: Clock;
  readonly openSocket: OpenSocket;
  /// From 0 to below 1.
  readonly random: () => number;
  /// The first frame; a promise because its secret is kept encrypted.
  readonly hello: () => Promise<string>;
}

/// From opening the socket to the welcome; the relay itself waits ten seconds for a hello.
const welcomeTime = 20_000;
/// A connection that held for so long ends a row of failures.
const steadyTime = 10_000;
/// From phone.leave to the relay's close.
const leaveTime = 5_000;
/// A relay that asks for more patience than this does not know what it asks.
const greatestRestartTime = 300_000;

/// Keeps one phone connected with its relay: says hello, waits for the welcome, and comes back after a loss, unless the
/// relay said that it should not.
export class Connection {
  private current: ConnectionState = { kind: 'idle' };
  private socket: PhoneSocket | undefined;
  private cancelTimer: () => void = () => undefined;
  private failures = 0;
  private welcomedAt: number | undefined;
  private leaving = false;
  /// When to come back, as the relay that restarts said, in milliseconds.
  private restartTime: number | undefined;

  constructor(
    private readonly ports: ConnectionPorts,
    private readonly events: ConnectionEvents,
  ) {}

  get state(): ConnectionState {
    return this.current;
  }

  /// Also after a stop, when the owner asks for it.
  start(): void {
    if (this.current.kind === 'connecting' || this.current.kind === 'connected') return;
    this.failures = 0;
    this.open();
  }

  stop(): void {
    this.drop();
    this.change({ kind: 'idle' });
  }

  /// A new socket in place of the present one, which may be dead without anybody having noticed. Does nothing while
  /// stopped or idle.
  refresh(): void {
    if (this.current.kind === 'stopped' || this.current.kind === 'idle') return;
    this.failures = 0;
    this.open();
  }

  /// False when there is no welcomed socket.
  send(text: string): boolean {
    if (this.current.kind !== 'connected' || !this.socket) return false;
    this.socket.send(text);
    return true;
  }

  /// Asks the relay to forget this phone; its state becomes stopped for the reason "left". False when it cannot be asked.
  leave(): boolean {
    if (!this.send(leaveText)) return false;
    this.leaving = true;
    this.setTimer(leaveTime, () => this.stopFor('left'));
    return true;
  }

  private open(): void {
    this.drop();
    this.change({ kind: 'connecting' });
    const mine = <Arguments extends unknown[]>(handle: (...values: Arguments) => void) => {
      return (...values: Arguments) => {
        if (this.socket === socket) handle(...values);
      };
    };
    const socket = this.ports.openSocket({
      onOpen: () => mine(() => this.sayHello(socket))(),
      onText: (text) => mine((frame: string) => this.receive(frame))(text),
      onClose: (code) => mine((closeCode: number) => this.closed(closeCode))(code),
    });
    this.socket = socket;
    this.setTimer(welcomeTime, () => this.closed(1006));
  }

  private sayHello(socket: PhoneSocket): void {
    this.ports.hello().then(
      (text) => {
        if (this.socket === socket) socket.send(text);
      },
      () => {
        if (this.socket === socket) this.stopFor('wrongSecret');
      },
    );
  }

  private receive(text: string): void {
    let message: IncomingMessage;
    try {
      message = decodedMessage(text);
    } catch {
      this.events.onProblem();
      return;
    }
    switch (message.type) {
      case 'relay.welcome':
        this.welcome(message.version, message.agentConnected);
        break;
      case 'agent.status':
        if (this.current.kind === 'connected') {
          this.change({ kind: 'connected', agentConnected: message.agentConnected });
        }
        break;
      case 'phone.unpaired':
        this.stopFor('unpaired');
        break;
      case 'relay.restart':
        this.restartTime = Math.min(Math.max(message.reconnectAfter * 1_000, 0), greatestRestartTime);
        break;
      case 'unknown':
        break;
      default:
        if (this.current.kind === 'connected') this.events.onMessage(message);
    }
  }

  private welcome(version: number, agentConnected: boolean): void {
    if (version !== 1) {
      this.stopFor('otherVersion');
      return;
    }
    this.cancelTimer();
    this.welcomedAt = this.ports.clock.now();
    this.change({ kind: 'connected', agentConnected });
  }

  private closed(code: number): void {
    const held = this.welcomedAt !== undefined && this.ports.clock.now() - this.welcomedAt >= steadyTime;
    // Who asked to leave has left, however the socket ended.
    const closing = closingFor(this.leaving ? 1000 : code);
    if (closing.kind === 'stop') {
      this.stopFor(closing.reason);
      return;
    }
    const { restartTime } = this;
    this.drop();
    if (held) this.failures = 0;
    this.setTimer(restartTime ?? this.nextDelay(closing.leastDelay), () => this.open());
    this.change({ kind: 'waiting', cause: closing.cause });
  }

  private nextDelay(least: number): number {
    const { random } = this.ports;
    const delay = Math.max(reconnectDelay(this.failures, random), least * (1 + random()));
    this.failures += 1;
    return delay;
  }

  private stopFor(reason: StopReason): void {
    this.drop();
    this.change({ kind: 'stopped', reason });
  }

  private drop(): void {
    const socket = this.socket;
    this.socket = undefined;
    this.welcomedAt = undefined;
    this.leaving = false;
    this.restartTime = undefined;
    this.cancelTimer();
    socket?.close();
  }

  private setTimer(milliseconds: number, callback: () => void): void {
    this.cancelTimer();
    this.cancelTimer = this.ports.clock.after(milliseconds, callback);
  }

  private change(state: ConnectionState): void {
    this.current = state;
    this.events.onState(state);
  }
}
