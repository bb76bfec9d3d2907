// One computer through a phone's eyes: what is sent is sealed and right, what comes is shown, freshness is honest.
import { beforeEach, describe, expect, it, vi } from 'vitest';
import type { Computer } from '../src/core/Computer';
import { leaveText } from '../src/core/messages';
import { opened } from '../src/core/sealing';
import { FakeSocket, someApproval } from './fixtures';
import { settled, someCode, World } from './World';

let world: World;
let computer: Computer;
let socket: FakeSocket;

beforeEach(async () => {
  world = new World();
  ({ computer, socket } = await world.paired());
});

const start = Date.parse('2026-03-14T09:26:53Z');

describe('answers', () => {
  it('are sealed, and say what was pressed', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.press(approval.id, 'Don’t Allow');
    const { frame, plaintext, decisionID } = await world.lastSent(socket, 'approval.request');
    expect(plaintext).toBe(JSON.stringify({ approvalID: approval.id, buttonLabel: 'Don’t Allow' }));
    expect(frame['issuedAt']).toBe('2026-03-14T09:26:53Z');
    expect(decisionID).toBe(`${computer.record.decisionPrefix}-${decisionID.slice(9)}`);
    expect(JSON.stringify(frame)).not.toContain('Allow');
    await world.sendResult(socket, decisionID, { approvalID: approval.id, buttonLabel: 'Don’t Allow', status: 'accepted' });
    expect(computer.board.cards[0]?.phase).toMatchObject({ end: { kind: 'accepted' } });
  });

  it('are sent once for two taps', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.press(approval.id, 'Allow');
    computer.press(approval.id, 'Allow');
    computer.press(approval.id, 'Don’t Allow');
    await settled();
    expect(socket.ofType('approval.request')).toHaveLength(1);
  });

  it('are not sent to a computer that is offline', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    socket.receive({ type: 'agent.status', agentConnected: false });
    computer.press(approval.id, 'Allow');
    computer.suppress(approval.id);
    await settled();
    expect(socket.sent.map(({ type }) => type)).toEqual(['phone.hello']);
    expect(computer.board.cards[0]?.phase).toEqual({ kind: 'open' });
  });

  it('that lose their connection while they are sealed were not sent', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.press(approval.id, 'Allow');
    socket.end(1006);
    await settled();
    expect(socket.ofType('approval.request')).toEqual([]);
    expect(computer.board.cards[0]?.note).toEqual({ kind: 'notSent' });
  });

  it('whose computer went away are not awaited once it is back', async () => {
    const [approval, renewed] = [someApproval(), someApproval()];
    await world.sendList(socket, [approval]);
    computer.press(approval.id, 'Allow');
    await settled();
    socket.receive({ type: 'agent.status', agentConnected: false });
    socket.receive({ type: 'agent.status', agentConnected: true });
    await world.sendList(socket, [renewed]);
    expect(computer.board.cards.map(({ phase }) => phase)).toMatchObject([
      { kind: 'ended', end: { kind: 'goneUnconfirmed', label: 'Allow' } },
      { kind: 'open' },
    ]);
  });

  it('of this phone are its own after the page was loaded anew, those of others are not', async () => {
    const [one, two] = [someApproval(), someApproval()];
    await world.sendList(socket, [one, two]);
    const decisionID = `${computer.record.decisionPrefix}-BEFORE`;
    world.newPhone();
    await world.phone.start();
    const again = await world.greeted();
    again.welcome();
    await world.sendList(again, [one, two]);
    await world.sendResult(again, decisionID, { approvalID: one.id, buttonLabel: 'Allow', status: 'accepted' });
    await world.sendResult(again, 'decision-1', { approvalID: two.id, buttonLabel: 'Allow', status: 'accepted' });
    const ends = world.phone.computers[0]?.board.cards.map(({ phase }) => phase);
    expect(ends).toMatchObject([{ end: { kind: 'accepted' } }, { end: { kind: 'otherPhone' } }]);
  });

  it('that cannot be delivered come back', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.press(approval.id, 'Allow');
    const { decisionID } = await world.lastSent(socket, 'approval.request');
    socket.receive({ type: 'decision.undeliverable', decisionID, reason: 'uncertain' });
    await settled();
    expect(computer.board.cards[0]?.note).toEqual({ kind: 'uncertain', label: 'Allow' });
  });
});

describe('muting', () => {
  it('is sealed, listed, kept sealed, and taken back', async () => {
    const approval = someApproval({ appName: 'Mail', windowTitle: 'Private' });
    await world.sendList(socket, [approval]);
    computer.suppress(approval.id);
    const { suppressionID } = approval;
    const sent = await world.lastSent(socket, 'approval.suppress');
    expect(sent.plaintext).toBe(JSON.stringify({ action: 'suppress', approvalID: approval.id, suppressionID }));
    expect(computer.mutedDialogs).toEqual([{ suppressionID, appName: 'Mail', windowTitle: 'Private', mutedAt: start }]);
    await settled();
    const stored = world.vault.records.get(computer.id);
    expect(JSON.stringify(stored)).not.toContain('Private');
    expect(await opened(stored!.mutedDialogs!, stored!.secrets!.sealingKey)).toContain('Private');

    computer.undoSuppress(approval.id);
    const undone = await world.lastSent(socket, 'approval.unsuppress');
    expect(undone.plaintext).toBe(JSON.stringify({ action: 'unsuppress', suppressionID }));
    expect(computer.mutedDialogs).toEqual([]);
    expect(computer.board.cards[0]?.phase).toEqual({ kind: 'open' });
  });

  it('is known after the page was loaded anew, and can be ended then', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.suppress(approval.id);
    await settled();
    world.newPhone();
    await world.phone.start();
    const again = world.phone.computers[0]!;
    expect(again.mutedDialogs).toHaveLength(1);
    const line = await world.greeted();
    line.welcome();
    again.unsuppress(approval.suppressionID);
    await world.lastSent(line, 'approval.unsuppress');
    expect(again.mutedDialogs).toEqual([]);
    again.unsuppress(approval.suppressionID);
    await settled();
    expect(line.ofType('approval.unsuppress')).toHaveLength(1);
  });

  it('that could not be delivered did not happen', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.suppress(approval.id);
    const { decisionID } = await world.lastSent(socket, 'approval.suppress');
    socket.receive({ type: 'decision.undeliverable', decisionID, reason: 'offline' });
    await settled();
    expect(computer.mutedDialogs).toEqual([]);
    expect(computer.board.cards[0]).toMatchObject({ phase: { kind: 'open' }, note: { kind: 'offline' } });
  });

  it('whose end could not be delivered stays', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    computer.suppress(approval.id);
    await world.lastSent(socket, 'approval.suppress');
    computer.unsuppress(approval.suppressionID);
    const { decisionID } = await world.lastSent(socket, 'approval.unsuppress');
    socket.receive({ type: 'decision.undeliverable', decisionID, reason: 'offline' });
    await settled();
    expect(computer.mutedDialogs).toHaveLength(1);
  });

  it('forgets a list that cannot be opened rather than failing', async () => {
    const record = world.vault.records.get(computer.id)!;
    world.vault.records.set(computer.id, { ...record, mutedDialogs: { version: 1, nonce: '', ciphertext: 'AAAA' } });
    world.newPhone();
    await world.phone.start();
    expect(world.phone.computers[0]?.mutedDialogs).toEqual([]);
    expect(world.phone.computers[0]?.connectionState.kind).toBe('connecting');
  });
});

describe('freshness', () => {
  it('is that of the list, and live while the computer is there', async () => {
    expect(computer.freshness).toEqual({ asOf: undefined, isLive: false });
    await world.sendList(socket, [], { observedAt: '2026-03-14T09:00:00Z' });
    expect(computer.freshness).toEqual({ asOf: Date.parse('2026-03-14T09:00:00Z'), isLive: true });
    world.clock.advance(5_000);
    // A later list is new, whatever the computer's clock says.
    await world.sendList(socket, [], { observedAt: '2026-03-14T08:00:00Z' });
    expect(computer.freshness).toEqual({ asOf: start + 5_000, isLive: true });
  });

  it('never lies in the future', async () => {
    await world.sendList(socket, [], { observedAt: '2030-01-01T00:00:00Z' });
    expect(computer.freshness.asOf).toBe(start);
  });

  it('ends at the moment in which the computer or the connection is lost', async () => {
    await world.sendList(socket, []);
    world.clock.advance(60_000);
    socket.receive({ type: 'agent.status', agentConnected: false });
    expect(computer.freshness).toEqual({ asOf: start + 60_000, isLive: false });
    world.clock.advance(60_000);
    socket.end(1006);
    expect(computer.freshness).toEqual({ asOf: start + 60_000, isLive: false });
  });

  it('is not live after coming back until a list has come', async () => {
    await world.sendList(socket, []);
    world.clock.advance(60_000);
    socket.end(1006);
    world.clock.advance(1_000);
    const again = await world.greeted();
    again.welcome();
    expect(computer.freshness).toEqual({ asOf: start + 60_000, isLive: false });
    await world.sendList(again, []);
    expect(computer.freshness.isLive).toBe(true);
  });

  it('is not live after the computer came back until its list has come', async () => {
    await world.sendList(socket, []);
    socket.receive({ type: 'agent.status', agentConnected: false });
    world.clock.advance(60_000);
    socket.receive({ type: 'agent.status', agentConnected: true });
    expect(computer.freshness).toEqual({ asOf: start, isLive: false });
    await world.sendList(socket, []);
    expect(computer.freshness.isLive).toBe(true);
  });

  it('of an old list of a computer that is offline is that of the list', async () => {
    const other = new World();
    const paired = await other.paired(someCode(), false);
    await other.sendList(paired.socket, [], { observedAt: '2026-03-14T07:00:00Z' });
    other.clock.advance(1_000);
    paired.socket.end(1006);
    expect(paired.computer.freshness).toEqual({ asOf: Date.parse('2026-03-14T07:00:00Z'), isLive: false });
  });
});

describe('what cannot be read', () => {
  it('is told, leaves the list as it was, and is over with the next good list', async () => {
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    await world.sendList(socket, [], {}, someCode('another'));
    expect(computer.hasUnreadable).toBe(true);
    expect(computer.freshness.isLive).toBe(false);
    expect(computer.board.cards).toHaveLength(1);
    await world.sendList(socket, []);
    expect(computer.hasUnreadable).toBe(false);
  });

  it('does not hold up what comes after it', async () => {
    socket.receive('{"type":"mac.snapshot"}');
    await world.sendResult(socket, 'x', { nonsense: true });
    const approval = someApproval();
    await world.sendList(socket, [approval]);
    expect(computer.board.waitingCount).toBe(1);
  });
});

it('handles messages in the order in which they came, although one takes longer to open', async () => {
  const [long, short] = [await world.listFrame([someApproval()]), await world.listFrame([])];
  let release: () => void = () => undefined;
  const gate = new Promise<void>((resolve) => (release = resolve));
  const decrypt = vi.mocked(crypto.subtle.decrypt);
  const usual = decrypt.getMockImplementation()!;
  decrypt.mockImplementationOnce(async (...values) => {
    await gate;
    return usual(...values);
  });
  socket.receive(long);
  socket.receive(short);
  await settled();
  expect(computer.board.cards).toEqual([]);
  release();
  await settled();
  expect(computer.board.cards).toHaveLength(1);
  expect(computer.board.waitingCount).toBe(0);
});

it('says when the computer may not read windows', async () => {
  await world.sendList(socket, [], { accessibilityTrusted: false });
  expect(computer.mayNotRead).toBe(true);
  await world.sendList(socket, []);
  expect(computer.mayNotRead).toBe(false);
});

it('takes no list of a connection that ended while it was being opened', async () => {
  const frame = await world.listFrame([someApproval()]);
  socket.receive(frame);
  socket.end(1006);
  await settled();
  expect(computer.board.cards).toEqual([]);
  expect(computer.freshness).toEqual({ asOf: undefined, isLive: false });
});

it('asks to leave in plain words', () => {
  expect(computer.leave()).toBe(true);
  expect(JSON.stringify(socket.sent.at(-1))).toBe(leaveText);
});
