import { vi } from 'vitest';
import type { Approval } from '../src/core/approval';
import type { Computer } from '../src/core/Computer';
import { Phone, type PhoneEvent } from '../src/core/Phone';
import type { PairingCode } from '../src/core/pairingCode';
import type { PageConfig, PushAbility, PushPort } from '../src/core/push';
import { opened, sealed, sealingKey } from '../src/core/sealing';
import { approvalJson, FakeSocket, FakeSockets, someUuid } from './fixtures';
import { MemoryVault } from './MemoryVault';
import { VirtualClock } from './VirtualClock';

export const origin = 'https://relay.example.org';

export function someCode(pairingID = 'k3Jv0mQ2'): PairingCode {
  return { backendURL: origin, pairingID, relaySecret: `token of ${pairingID}`, e2eSecret: `secret of ${pairingID}` };
}

/// A browser's notifications, played.
export class FakePush implements PushPort {
  answer: PushAbility = 'available';
  isGranted = true;
  subscribed: string | undefined;

  ability(): PushAbility {
    return this.answer;
  }
  subscribe(pushKey: string): Promise<string> {
    if (!this.isGranted) return Promise.reject(new Error('not granted'));
    this.subscribed = pushKey;
    return Promise.resolve(`https://push.example.org/${pushKey}`);
  }
  unsubscribe(): Promise<void> {
    this.subscribed = undefined;
    return Promise.resolve();
  }
  endpoint(pushKey: string): Promise<string | undefined> {
    return Promise.resolve(this.subscribed === pushKey ? `https://push.example.org/${pushKey}` : undefined);
  }
}

/// A phone with everything around it, seen from the relay's and the computers' side.
export class World {
  readonly clock = new VirtualClock();
  readonly sockets = new FakeSockets();
  readonly push = new FakePush();
  readonly events: PhoneEvent[] = [];
  config: PageConfig = { pushKey: null };
  phone: Phone;

  constructor(readonly vault = new MemoryVault()) {
    this.phone = this.newPhone();
  }

  /// The page is loaded anew.
  newPhone(): Phone {
    this.phone = new Phone(
      {
        clock: this.clock,
        openSocket: this.sockets.open,
        random: () => 0.5,
        randomUuid: someUuid,
        vault: this.vault,
        origin,
        push: this.push,
        loadConfig: () => Promise.resolve(this.config),
        defaultPhoneName: 'Phone',
        defaultComputerName: (number) => `Computer ${number}`,
      },
      { onChange: () => undefined, onEvent: (event) => this.events.push(event) },
    );
    return this.phone;
  }

  /// Opens the last socket and waits for its hello.
  async greeted(): Promise<FakeSocket> {
    const socket = this.sockets.last;
    socket.open();
    await settled();
    if (socket.ofType('phone.hello').length === 0) throw new Error('There was no hello.');
    return socket;
  }

  async paired(code = someCode(), agentConnected = true): Promise<{ computer: Computer; socket: FakeSocket }> {
    await this.phone.pair(code, 'Kim’s phone', 'Mac');
    const socket = await this.greeted();
    socket.welcome(agentConnected);
    await settled();
    const computer = this.phone.computers.find(({ id }) => id === code.pairingID);
    if (!computer) throw new Error('It was not paired.');
    return { computer, socket };
  }

  async sendList(socket: FakeSocket, approvals: Approval[], changes: Record<string, unknown> = {}, code = someCode()) {
    socket.receive(await this.listFrame(approvals, changes, code));
    await settled();
  }

  async listFrame(approvals: Approval[], changes: Record<string, unknown> = {}, code = someCode()): Promise<unknown> {
    const plaintext = JSON.stringify(approvals.map(approvalJson));
    return {
      type: 'mac.snapshot',
      observedAt: new Date(this.clock.wallNow()).toISOString(),
      accessibilityTrusted: true,
      encryptedApprovals: await sealed(plaintext, await sealingKey(code.e2eSecret)),
      approvalCount: approvals.length,
      snapshotID: 'ax1:0',
      ...changes,
    };
  }

  async sendResult(socket: FakeSocket, decisionID: string, result: unknown, code = someCode()) {
    const encryptedResult = await sealed(JSON.stringify(result), await sealingKey(code.e2eSecret));
    socket.receive({ type: 'approval.result', decisionID, encryptedResult, issuedAt: '2026-03-14T09:26:55Z' });
    await settled();
  }

  /// The last frame of a type, with what is sealed in it.
  async lastSent(socket: FakeSocket, type: string, code = someCode()) {
    await settled();
    const frame = socket.ofType(type).at(-1);
    if (!frame) throw new Error(`There was no ${type}.`);
    const payload = frame['encryptedRequest'] ?? frame['encryptedSuppression'];
    const plaintext = await opened(payload as never, await sealingKey(code.e2eSecret));
    return { frame, plaintext, decisionID: frame['decisionID'] as string };
  }
}

const underWay = new Set<Promise<unknown>>();
for (const name of ['encrypt', 'decrypt', 'digest', 'importKey', 'generateKey'] as const) {
  const original = crypto.subtle[name].bind(crypto.subtle) as (...values: unknown[]) => Promise<unknown>;
  const counted = (...values: unknown[]) => {
    const work = original(...values);
    underWay.add(work);
    const done = () => underWay.delete(work);
    work.then(done, done);
    return work;
  };
  vi.spyOn(crypto.subtle, name).mockImplementation(counted as never);
}

/// Until everything that was begun is done: cryptography is what answers from elsewhere, all else follows at once.
export async function settled(): Promise<void> {
  do {
    await Promise.allSettled(underWay);
    await new Promise((resolve) => setTimeout(resolve, 0));
  } while (underWay.size > 0);
}
