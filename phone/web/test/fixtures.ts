import type { Approval } from '../src/core/approval';
import type { OpenSocket, SocketEvents } from '../src/core/Connection';

let count = 0;

/// A UUID that no other call gives.
export function someUuid(): string {
  count += 1;
  return `3F2504E0-4F89-11D3-9A0C-${String(count).padStart(12, '0')}`;
}

export function someApproval(changes: Partial<Approval> = {}, labels = ['Don’t Allow', 'Allow']): Approval {
  const id = someUuid();
  return {
    id,
    suppressionID: id,
    detectedAt: Date.parse('2026-03-14T09:26:50Z'),
    appName: 'Finder',
    windowTitle: 'Question',
    messageLines: ['Really?'],
    buttons: labels.map((label) => ({ label })),
    requiresDirectAccess: false,
    ...changes,
  };
}

/// As the computer writes it.
export function approvalJson(approval: Approval): unknown {
  return {
    ...approval,
    detectedAt: new Date(approval.detectedAt).toISOString(),
    processIdentifier: 7,
    windowRole: 'AXWindow',
    windowFrame: { x: 0, y: 0, width: 100, height: 50 },
    reason: 'It asks.',
    buttons: approval.buttons.map(({ label }) => ({ label, role: 'AXButton', x: 0, y: 0, width: 10, height: 5 })),
    isFallbackDetection: false,
  };
}

/// One socket, seen from the relay's side.
export class FakeSocket {
  readonly sent: Record<string, unknown>[] = [];
  isClosed = false;

  constructor(private readonly events: SocketEvents) {}

  open(): void {
    this.events.onOpen();
  }
  receive(message: unknown): void {
    this.events.onText(typeof message === 'string' ? message : JSON.stringify(message));
  }
  welcome(agentConnected = true): void {
    this.receive({ type: 'relay.welcome', version: 1, agentConnected });
  }
  end(code: number): void {
    this.events.onClose(code);
  }
  ofType(type: string): Record<string, unknown>[] {
    return this.sent.filter((message) => message['type'] === type);
  }
}

/// Every socket that was opened, the last one last.
export class FakeSockets {
  readonly all: FakeSocket[] = [];

  readonly open: OpenSocket = (events) => {
    const socket = new FakeSocket(events);
    this.all.push(socket);
    return {
      send: (text) => socket.sent.push(JSON.parse(text)),
      close: () => (socket.isClosed = true),
    };
  };

  get last(): FakeSocket {
    const socket = this.all.at(-1);
    if (!socket) throw new Error('No socket was opened.');
    return socket;
  }
}
