// Hello and welcome, every close code, waiting longer and longer, and never coming back unasked where that is forbidden.
import { beforeEach, describe, expect, it } from 'vitest';
import { reconnectDelay } from '../src/core/backoff';
import { Connection, type ConnectionState } from '../src/core/Connection';
import type { IncomingMessage } from '../src/core/messages';
import { FakeSockets } from './fixtures';
import { VirtualClock } from './VirtualClock';

let clock: VirtualClock;
let sockets: FakeSockets;
let states: ConnectionState[];
let messages: IncomingMessage[];
let problems: number;
let connection: Connection;
let hello: () => Promise<string>;

beforeEach(() => {
  clock = new VirtualClock();
  sockets = new FakeSockets();
  states = [];
  messages = [];
  problems = 0;
  hello = () => Promise.resolve('{"type":"phone.hello"}');
  connection = new Connection(
    { clock, openSocket: sockets.open, random: () => 1, hello: () => hello() },
    {
      onState: (state) => states.push(state),
      onMessage: (message) => messages.push(message),
      onProblem: () => (problems += 1),
    },
  );
});

function promisesKept(): Promise<void> {
  return new Promise((resolve) => setTimeout(resolve, 0));
}

async function connected(): Promise<void> {
  connection.start();
  sockets.last.open();
  await promisesKept();
  expect(sockets.last.sent).toHaveLength(1);
  sockets.last.welcome();
}

describe('a connection', () => {
  it('says hello first, and is connected by the welcome', async () => {
    await connected();
    expect(sockets.last.sent).toEqual([{ type: 'phone.hello' }]);
    expect(states).toEqual([{ kind: 'connecting' }, { kind: 'connected', agentConnected: true }]);
    expect(connection.send('{"type":"x"}')).toBe(true);
  });

  it('sends nothing before the welcome', () => {
    connection.start();
    sockets.last.open();
    expect(connection.send('{}')).toBe(false);
    expect(connection.leave()).toBe(false);
  });

  it('is opened once however often it is started', () => {
    connection.start();
    connection.start();
    expect(sockets.all).toHaveLength(1);
  });

  it('follows the agent, passes messages on and ignores unknown ones', async () => {
    await connected();
    sockets.last.receive({ type: 'agent.status', agentConnected: false });
    expect(connection.state).toEqual({ kind: 'connected', agentConnected: false });
    sockets.last.receive({ type: 'decision.undeliverable', decisionID: 'D', reason: 'offline' });
    sockets.last.receive({ type: 'tomorrow.news', whatever: 1 });
    expect(messages).toEqual([{ type: 'decision.undeliverable', decisionID: 'D', reason: 'offline' }]);
    expect(problems).toBe(0);
  });

  it.each(['', '[]', '{', '{"type":7}', '{"type":"agent.status"}', '{"type":"mac.snapshot"}'])(
    'survives a malformed frame: %j',
    async (text) => {
      await connected();
      sockets.last.receive(text);
      expect(problems).toBe(1);
      expect(connection.state.kind).toBe('connected');
    },
  );

  it.each([
    [1000, 'left'],
    [4000, 'takenOver'],
    [4400, 'notUnderstood'],
    [1002, 'notUnderstood'],
    [1007, 'notUnderstood'],
    [1009, 'notUnderstood'],
    [4401, 'wrongSecret'],
    [4410, 'unpaired'],
    [4429, 'tooManyPhones'],
  ] as const)('stays away after %i: %s', async (code, reason) => {
    await connected();
    sockets.last.end(code);
    expect(connection.state).toEqual({ kind: 'stopped', reason });
    clock.advance(24 * 3_600_000);
    connection.refresh();
    expect(sockets.all).toHaveLength(1);
    expect(clock.timerCount).toBe(0);
    // But the owner may ask for it.
    connection.start();
    expect(sockets.all).toHaveLength(2);
  });

  it.each([
    [1001, 'relayStopped', 1_000],
    [1012, 'relayStopped', 1_000],
    [1006, 'lost', 1_000],
    [1005, 'lost', 1_000],
    [1011, 'relayTrouble', 6_000],
    [1013, 'relayBusy', 10_000],
    [4008, 'tooSlow', 1_000],
    [4999, 'lost', 1_000],
  ] as const)('comes back after %i: %s', async (code, cause, within) => {
    await connected();
    sockets.last.end(code);
    expect(connection.state).toEqual({ kind: 'waiting', cause });
    clock.advance(within / 2 - 1);
    expect(sockets.all).toHaveLength(1);
    clock.advance(within / 2 + 1);
    expect(sockets.all).toHaveLength(2);
  });

  it.each([
    [12.4, 12_400],
    [0, 0],
    [-5, 0],
    [1e9, 300_000],
  ])('comes back when a relay that restarts asks for it: after %d seconds', async (reconnectAfter, wait) => {
    await connected();
    sockets.last.receive({ type: 'relay.restart', reconnectAfter });
    expect(connection.state.kind).toBe('connected');
    sockets.last.end(1012);
    expect(connection.state).toEqual({ kind: 'waiting', cause: 'relayStopped' });
    if (wait > 0) clock.advance(wait - 1);
    expect(sockets.all).toHaveLength(1);
    clock.advance(1);
    expect(sockets.all).toHaveLength(2);
    // It held for that connection alone.
    sockets.last.end(1006);
    clock.advance(1_000);
    expect(sockets.all).toHaveLength(3);
  });

  it('stops when it is told that it was unpaired', async () => {
    await connected();
    sockets.last.receive({ type: 'phone.unpaired' });
    expect(connection.state).toEqual({ kind: 'stopped', reason: 'unpaired' });
    expect(sockets.last.isClosed).toBe(true);
  });

  it('waits longer after every failure, and from the start again after it held', async () => {
    connection.start();
    const waits: number[] = [];
    for (let attempt = 0; attempt < 9; attempt += 1) {
      const { length } = sockets.all;
      sockets.last.end(1006);
      let waited = 0;
      for (; sockets.all.length === length; waited += 100) clock.advance(100);
      waits.push(waited);
    }
    expect(waits).toEqual([1_000, 2_000, 4_000, 8_000, 16_000, 32_000, 60_000, 60_000, 60_000]);
    sockets.last.welcome();
    clock.advance(10_000);
    sockets.last.end(1006);
    clock.advance(1_000);
    expect(sockets.all).toHaveLength(11);
  });

  it('goes on waiting longer where a relay welcomes and drops at once', async () => {
    connection.start();
    sockets.last.end(1006);
    clock.advance(1_000);
    sockets.last.welcome();
    sockets.last.end(1006);
    clock.advance(1_999);
    expect(sockets.all).toHaveLength(2);
  });

  it('gives up on a relay that does not answer', () => {
    connection.start();
    clock.advance(19_999);
    expect(connection.state.kind).toBe('connecting');
    clock.advance(1);
    expect(connection.state).toEqual({ kind: 'waiting', cause: 'lost' });
    expect(sockets.last.isClosed).toBe(true);
  });

  it('takes a new socket on refresh and hears nothing of the old one', async () => {
    await connected();
    const [old] = sockets.all;
    connection.refresh();
    expect(old?.isClosed).toBe(true);
    expect(sockets.all).toHaveLength(2);
    old?.end(4410);
    old?.welcome();
    expect(connection.state).toEqual({ kind: 'connecting' });
  });

  it('refuses a relay of another version', async () => {
    connection.start();
    sockets.last.receive({ type: 'relay.welcome', version: 2, agentConnected: true });
    expect(connection.state).toEqual({ kind: 'stopped', reason: 'otherVersion' });
  });

  it('stops where its secret cannot be opened', async () => {
    hello = () => Promise.reject(new Error('no key'));
    connection.start();
    sockets.last.open();
    await promisesKept();
    expect(connection.state).toEqual({ kind: 'stopped', reason: 'wrongSecret' });
  });

  it('drops messages that come before the welcome', () => {
    connection.start();
    sockets.last.receive({ type: 'decision.undeliverable', decisionID: 'D' });
    sockets.last.receive({ type: 'agent.status', agentConnected: true });
    expect(messages).toEqual([]);
    expect(connection.state.kind).toBe('connecting');
  });

  it.each([1000, 1006])('leaves, and is done with the close: %i', async (code) => {
    await connected();
    expect(connection.leave()).toBe(true);
    expect(sockets.last.sent.at(-1)).toEqual({ type: 'phone.leave' });
    sockets.last.end(code);
    expect(connection.state).toEqual({ kind: 'stopped', reason: 'left' });
  });

  it('leaves although the relay does not answer', async () => {
    await connected();
    connection.leave();
    clock.advance(5_000);
    expect(connection.state).toEqual({ kind: 'stopped', reason: 'left' });
  });

  it('is silent once stopped', async () => {
    await connected();
    connection.stop();
    sockets.last.end(1006);
    expect(connection.state).toEqual({ kind: 'idle' });
    expect(clock.timerCount).toBe(0);
  });
});

describe('the wait before an attempt', () => {
  it('lies between half of its whole and all of it', () => {
    expect(reconnectDelay(0, () => 0)).toBe(500);
    expect(reconnectDelay(3, () => 0.5)).toBe(6_000);
    expect(reconnectDelay(1_000, () => 1)).toBe(60_000);
  });
});
