// Pairing from code to kept record, several computers, names, ends, notifications; and that no secret is kept readable.
import { beforeEach, describe, expect, it } from 'vitest';
import { cleanName, nameCharacters } from '../src/core/Phone';
import { FakeSocket, someApproval } from './fixtures';
import { origin, settled, someCode, World } from './World';

let world: World;

beforeEach(async () => {
  world = new World();
  await world.phone.start();
});

function codeText(changes: Record<string, unknown> = {}): string {
  return JSON.stringify({ type: 'tallyfox.pairing', version: 1, ...someCode(), ...changes });
}

describe('a code', () => {
  it('is ready, of another relay, or a problem', () => {
    expect(world.phone.readCode(codeText())).toEqual({ kind: 'ready', code: someCode(), isPaired: false });
    expect(world.phone.readCode(codeText({ backendURL: `${origin}:8443` }))).toEqual({
      kind: 'otherRelay',
      address: `${origin}:8443`,
    });
    expect(world.phone.readCode('x')).toEqual({ kind: 'problem', problem: 'notJson' });
  });
});

describe('pairing', () => {
  it('says hello with the names, and keeps the pairing after the welcome', async () => {
    await world.phone.pair(someCode(), '  Kim’s phone ', 'Mac');
    const socket = await world.greeted();
    expect(world.vault.records.size).toBe(0);
    expect(world.phone.pairing.kind).toBe('connecting');
    expect(socket.sent[0]).toMatchObject({
      type: 'phone.hello',
      version: 1,
      pairingID: 'k3Jv0mQ2',
      relaySecret: 'token of k3Jv0mQ2',
      deviceName: 'Kim’s phone',
      platform: 'web',
    });
    socket.welcome();
    await settled();
    expect(world.phone.pairing.kind).toBe('none');
    expect(world.phone.computers.map(({ name }) => name)).toEqual(['Mac']);
    expect(world.vault.records.size).toBe(1);
    expect(world.vault.kept?.phoneName).toBe('Kim’s phone');
    expect(world.events).toContainEqual({ kind: 'paired', name: 'Mac' });
  });

  it('keeps no secret that could be read', async () => {
    await world.paired();
    const record = world.vault.records.get('k3Jv0mQ2');
    expect(JSON.stringify(record)).not.toMatch(/secret of|token of/);
    expect(record?.secrets?.sealingKey.extractable).toBe(false);
    await expect(crypto.subtle.exportKey('raw', record!.secrets!.sealingKey)).rejects.toThrow();
    await expect(crypto.subtle.exportKey('raw', await world.vault.deviceKey())).rejects.toThrow();
  });

  it('comes back with the same device after the page was loaded anew', async () => {
    const { socket } = await world.paired();
    world.newPhone();
    await world.phone.start();
    const again = await world.greeted();
    expect(again.sent[0]).toEqual(socket.sent[0]);
  });

  it.each([
    [4401, 'wrongSecret'],
    [4410, 'unpaired'],
    [4429, 'tooManyPhones'],
    [4400, 'notUnderstood'],
    [4000, 'takenOver'],
  ] as const)('that is refused with %i keeps nothing', async (code, reason) => {
    await world.phone.pair(someCode(), 'Kim', 'Mac');
    (await world.greeted()).end(code);
    expect(world.phone.pairing).toEqual({ kind: 'refused', reason });
    await settled();
    expect([world.vault.records.size, world.phone.computers.length]).toEqual([0, 0]);
  });

  it('goes on trying while the relay is away, until it is cancelled', async () => {
    await world.phone.pair(someCode(), 'Kim', 'Mac');
    world.sockets.last.end(1006);
    world.clock.advance(1_000);
    expect(world.sockets.all).toHaveLength(2);
    world.phone.cancelPairing();
    expect(world.sockets.last.isClosed).toBe(true);
    world.clock.advance(60_000);
    expect(world.sockets.all).toHaveLength(2);
    expect(world.phone.pairing.kind).toBe('none');
  });

  it('again with the same computer keeps its device, and its place', async () => {
    const first = await world.paired();
    await world.paired(someCode('second'));
    expect(world.phone.readCode(codeText())).toMatchObject({ isPaired: true });
    const renewed = await world.paired();
    expect(world.phone.computers.map(({ id }) => id)).toEqual(['k3Jv0mQ2', 'second']);
    expect(renewed.computer.record.deviceID).toBe(first.computer.record.deviceID);
    expect(first.socket.isClosed).toBe(true);
  });

  it('again after it was unpaired takes a new device', async () => {
    const first = await world.paired();
    first.socket.end(4410);
    await settled();
    const renewed = await world.paired();
    expect(renewed.computer.record.deviceID).not.toBe(first.computer.record.deviceID);
    expect(world.phone.computers).toHaveLength(1);
  });
});

describe('several computers', () => {
  it('are kept apart', async () => {
    const one = await world.paired();
    const two = await world.paired(someCode('second'));
    await world.sendList(one.socket, [someApproval()]);
    await world.sendList(two.socket, [someApproval(), someApproval()], {}, someCode('second'));
    expect([one.computer.board.waitingCount, two.computer.board.waitingCount]).toEqual([1, 2]);
    expect(world.phone.waitingCount).toBe(3);
    expect(world.phone.nextComputerName).toBe('Computer 3');
    one.socket.end(1006);
    expect(two.computer.canDecide).toBe(true);
  });
});

describe('names', () => {
  it('are trimmed, cut and never empty', () => {
    expect(cleanName('  a ', 'x')).toBe('a');
    expect(cleanName(' \u0085 ', 'x')).toBe('x');
    expect(Array.from(cleanName('🦊'.repeat(300), 'x'))).toHaveLength(nameCharacters);
    expect(cleanName(`${'a'.repeat(99)}  b`, 'x')).toBe('a'.repeat(99));
  });

  it('of the phone are told to every computer', async () => {
    await world.paired();
    await world.paired(someCode('second'));
    await world.phone.renamePhone('New name');
    expect(world.sockets.all).toHaveLength(4);
    for (const socket of world.sockets.all.slice(2)) {
      socket.open();
      await settled();
      expect(socket.sent[0]).toMatchObject({ deviceName: 'New name' });
    }
    expect(world.vault.kept?.phoneName).toBe('New name');
  });

  it('of a computer stay here', async () => {
    const { computer, socket } = await world.paired();
    await world.phone.renameComputer(computer, ' Studio ');
    expect(computer.name).toBe('Studio');
    await world.phone.renameComputer(computer, '  ');
    expect(world.vault.records.get(computer.id)?.computerName).toBe('Studio');
    expect(socket.sent).toHaveLength(1);
  });
});

describe('the end of a pairing', () => {
  it('by this phone is asked of the relay, and then everything is forgotten', async () => {
    const { computer, socket } = await world.paired();
    await world.phone.unpair(computer);
    expect(socket.sent.at(-1)).toEqual({ type: 'phone.leave' });
    expect(world.phone.computers).toHaveLength(1);
    socket.end(1000);
    await settled();
    expect([world.phone.computers.length, world.vault.records.size]).toEqual([0, 0]);
    expect(world.events.at(-1)).toEqual({ kind: 'left', name: 'Mac' });
  });

  it('by this phone happens here alone while the relay is away', async () => {
    const { computer, socket } = await world.paired();
    socket.end(1006);
    await world.phone.unpair(computer);
    expect([world.phone.computers.length, world.vault.records.size]).toEqual([0, 0]);
    world.clock.advance(60_000);
    expect(world.sockets.all).toHaveLength(1);
  });

  it.each(['a message', 'a close code'])('by the computer, told by %s, deletes the keys and keeps the name', async (way) => {
    const { computer, socket } = await world.paired();
    await world.sendList(socket, [someApproval()]);
    if (way === 'a message') socket.receive({ type: 'phone.unpaired' });
    else socket.end(4410);
    await settled();
    const record = world.vault.records.get(computer.id);
    expect(record).toMatchObject({ computerName: 'Mac' });
    expect(record?.secrets).toBeUndefined();
    expect(computer.board.cards).toEqual([]);
    expect(world.events.at(-1)).toEqual({ kind: 'unpaired', name: 'Mac' });
    // Also after the page was loaded anew nothing connects.
    const { length } = world.sockets.all;
    world.newPhone();
    await world.phone.start();
    world.phone.wake(true);
    world.phone.computers[0]?.connectAgain();
    expect(world.sockets.all).toHaveLength(length);
    await world.phone.dismiss(world.phone.computers[0]!);
    expect(world.vault.records.size).toBe(0);
  });

  it('leaves nothing that is written later', async () => {
    const { computer, socket } = await world.paired();
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.suppress(approval.id);
    await world.phone.unpair(computer);
    socket.end(1000);
    await settled();
    expect(world.vault.records.size).toBe(0);
  });

  it('keeps the pairing where the secret is only doubted', async () => {
    const { computer, socket } = await world.paired();
    socket.end(4401);
    await settled();
    expect(computer.connectionState).toEqual({ kind: 'stopped', reason: 'wrongSecret' });
    expect(world.vault.records.get(computer.id)?.secrets).toBeDefined();
  });
});

describe('another tab', () => {
  /// What it stored is here too, as its own copy.
  async function foreignChange(): Promise<void> {
    world.vault.foreignChange();
    await settled();
  }

  it('pairs a computer: it is here as well', async () => {
    const other = new World(world.vault);
    await other.phone.start();
    await world.newPhone().start();
    await other.paired();
    await foreignChange();
    expect(world.phone.computers.map(({ name }) => name)).toEqual(['Mac']);
    (await world.greeted()).welcome();
    expect(world.phone.computers[0]?.canDecide).toBe(true);
  });

  it('unpairs one: it is gone here, and does not come back', async () => {
    const { computer, socket } = await world.paired();
    world.vault.records.clear();
    await foreignChange();
    expect(world.phone.computers).toEqual([]);
    expect(socket.isClosed).toBe(true);
    await world.phone.renameComputer(computer, 'Ghost');
    world.clock.advance(3_600_000);
    expect([world.vault.records.size, world.sockets.all.length]).toEqual([0, 1]);
  });

  it('renames one, or the phone: the connection stays', async () => {
    const { computer, socket } = await world.paired();
    world.vault.records.set(computer.id, { ...computer.record, computerName: 'Studio' });
    world.vault.kept = { phoneName: 'Other', notifications: false };
    await foreignChange();
    expect([computer.name, world.phone.settings.phoneName]).toEqual(['Studio', 'Other']);
    expect([world.phone.computers[0], socket.isClosed]).toEqual([computer, false]);
  });

  it('learns that a pairing has ended: nothing connects any more', async () => {
    const { computer, socket } = await world.paired();
    const { secrets: _, ...ended } = computer.record;
    world.vault.records.set(computer.id, ended);
    await foreignChange();
    expect(socket.isClosed).toBe(true);
    expect(world.phone.computers.map(({ record }) => record)).toEqual([ended]);
    world.clock.advance(3_600_000);
    expect(world.sockets.all).toHaveLength(1);
  });

  it('leaves the pairing, and the relay closes this one: it is removed, not paired again', async () => {
    const { socket } = await world.paired();
    socket.end(1000);
    await settled();
    world.clock.advance(3_600_000);
    expect([world.phone.computers.length, world.vault.records.size, world.sockets.all.length]).toEqual([0, 0, 1]);
  });
});

describe('waking', () => {
  it('tries at once where the phone was waiting', async () => {
    const { socket } = await world.paired();
    socket.end(1006);
    world.phone.wake(false);
    expect(world.sockets.all).toHaveLength(2);
  });

  it('leaves good connections alone, unless they are in doubt', async () => {
    await world.paired();
    world.phone.wake(false);
    expect(world.sockets.all).toHaveLength(1);
    world.phone.wake(true);
    expect(world.sockets.all).toHaveLength(2);
  });

  it('never touches what the relay took over', async () => {
    const { computer, socket } = await world.paired();
    socket.end(4000);
    world.phone.wake(true);
    world.phone.wake(false);
    world.clock.advance(3_600_000);
    expect(world.sockets.all).toHaveLength(1);
    computer.connectAgain();
    expect(world.sockets.all).toHaveLength(2);
  });
});

describe('notifications', () => {
  const endpoint = 'https://push.example.org/KEY';
  const frames = (socket: FakeSocket) => socket.sent.slice(1);

  async function restarted(): Promise<void> {
    world.newPhone();
    await world.phone.start();
  }

  it.each([
    [undefined, 'unknown'],
    [null, 'noKey'],
    ['KEY', 'off'],
  ] as const)('with the key %s are %s', async (pushKey, state) => {
    world.config = { pushKey };
    await restarted();
    expect(world.phone.notifications.state).toBe(state);
    expect(world.push.subscribed).toBeUndefined();
  });

  it.each(['unsupported', 'needsInstall', 'blocked'] as const)('are %s where the browser says so', async (ability) => {
    world.config = { pushKey: 'KEY' };
    world.push.answer = ability;
    await restarted();
    expect(world.phone.notifications.state).toBe(ability);
    await world.phone.setNotifications(true).catch(() => undefined);
  });

  it('are told to every computer when switched on and off, and to new ones', async () => {
    world.config = { pushKey: 'KEY' };
    await restarted();
    const one = await world.paired();
    expect(await world.phone.setNotifications(true)).toBe(true);
    expect(frames(one.socket)).toEqual([{ type: 'push.subscribe', endpoint }]);
    const two = await world.paired(someCode('second'));
    expect(frames(two.socket)).toEqual([{ type: 'push.subscribe', endpoint }]);
    expect(world.vault.kept?.notifications).toBe(true);
    await world.phone.setNotifications(false);
    expect(frames(two.socket).at(-1)).toEqual({ type: 'push.unsubscribe' });
    expect([world.push.subscribed, world.phone.notifications.state]).toEqual([undefined, 'off']);
    expect(world.vault.kept?.notifications).toBe(false);
  });

  it('are told again on every connection', async () => {
    world.config = { pushKey: 'KEY' };
    await restarted();
    await world.paired();
    await world.phone.setNotifications(true);
    await restarted();
    const socket = await world.greeted();
    socket.welcome();
    expect(frames(socket)).toEqual([{ type: 'push.subscribe', endpoint }]);
  });

  it('follow a new key of the relay', async () => {
    world.config = { pushKey: 'OLD' };
    await restarted();
    await world.phone.setNotifications(true);
    world.config = { pushKey: 'KEY' };
    await restarted();
    expect([world.push.subscribed, world.phone.notifications.state]).toEqual(['KEY', 'on']);
  });

  it('stay off where the owner refuses', async () => {
    world.config = { pushKey: 'KEY' };
    await restarted();
    world.push.isGranted = false;
    expect(await world.phone.setNotifications(true)).toBe(false);
    expect(world.phone.notifications.state).toBe('off');
    expect(world.vault.kept?.notifications).toBe(false);
    world.push.answer = 'blocked';
    await world.phone.setNotifications(true);
    expect(world.phone.notifications.state).toBe('blocked');
  });
});
