// What becomes of a card: pressed once, twice, never; answered here, elsewhere, nowhere; listed, gone, back again.
import { beforeEach, describe, expect, it } from 'vitest';
import {
  answerTime,
  ApprovalBoard,
  armedTime,
  bounceTime,
  endedTime,
  undoTime,
  type BoardEvent,
  type Card,
} from '../src/core/ApprovalBoard';
import type { Approval } from '../src/core/approval';
import type { ApprovalResult, ResultStatus } from '../src/core/messages';
import { someApproval } from './fixtures';
import { VirtualClock } from './VirtualClock';

let clock: VirtualClock;
let board: ApprovalBoard;
let events: BoardEvent[];
let changes: number;

beforeEach(() => {
  clock = new VirtualClock();
  events = [];
  changes = 0;
  board = new ApprovalBoard(
    clock,
    () => (changes += 1),
    (event) => events.push(event),
  );
});

function card(approval: Approval): Card | undefined {
  return board.cards.find((each) => each.approval.id === approval.id);
}

function result(approval: Approval, status: ResultStatus, buttonLabel = 'Allow', error?: string): ApprovalResult {
  return { approvalID: approval.id, buttonLabel, status, ...(error !== undefined && { error }) };
}

function listed(...labels: string[]): Approval {
  const approval = someApproval({}, labels.length > 0 ? labels : undefined);
  board.replace([approval]);
  return approval;
}

describe('the list', () => {
  it('keeps the places of cards, and puts new ones below', () => {
    const [one, two, three] = [someApproval(), someApproval(), someApproval()];
    board.replace([one, two]);
    board.replace([three, two, one]);
    expect(board.cards.map(({ approval }) => approval)).toEqual([one, two, three]);
    board.replace([three, one]);
    expect(board.cards.map(({ approval }) => approval)).toEqual([one, two, three]);
    expect(card(two)?.phase).toEqual({ kind: 'ended', end: { kind: 'gone' } });
    clock.advance(endedTime);
    expect(board.cards.map(({ approval }) => approval)).toEqual([one, three]);
  });

  it('counts what waits, without what has ended or was muted', () => {
    const [one, two, three] = [someApproval(), someApproval(), someApproval()];
    board.replace([one, two, three]);
    expect(board.waitingCount).toBe(3);
    board.replace([one, three]);
    expect(board.waitingCount).toBe(2);
    board.suppress(three.id, 'D');
    expect(board.waitingCount).toBe(1);
    board.suppressionUndone(three.id);
    expect(board.waitingCount).toBe(2);
  });

  it('takes up again what comes back', () => {
    const approval = listed();
    board.replace([]);
    board.replace([approval]);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
    clock.advance(endedTime * 2);
    expect(card(approval)).toBeDefined();
    expect(events.map(({ kind }) => kind)).toEqual(['appeared', 'ended', 'appeared']);
  });

  it('tells of changed words, and takes back a first tap on them', () => {
    const approval = listed('Cancel', 'Delete');
    board.press(approval.id, 'Delete', 'D');
    board.replace([{ ...approval, messageLines: ['Something else?'] }]);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
    expect(events.at(-1)).toMatchObject({ kind: 'changed' });
    board.replace([{ ...approval, messageLines: ['Something else?'], detectedAt: 5 }]);
    expect(events.filter(({ kind }) => kind === 'changed')).toHaveLength(1);
  });

  it('keeps a first tap while other cards come and go', () => {
    const approval = listed('Cancel', 'Delete');
    board.press(approval.id, 'Delete', 'D');
    board.replace([approval, someApproval()]);
    expect(card(approval)?.phase.kind).toBe('armed');
  });

  it('leaves no timer behind when it is cleared', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.clear();
    expect(board.cards).toEqual([]);
    expect(clock.timerCount).toBe(0);
  });
});

describe('a press', () => {
  it('is sent once, however often it is repeated', () => {
    const approval = listed();
    expect(board.press(approval.id, 'Allow', 'D1')).toBe('deciding');
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('ignored');
    expect(board.press(approval.id, 'Don’t Allow', 'D3')).toBe('ignored');
    expect(board.suppress(approval.id, 'D4')).toBe(false);
    expect(card(approval)?.phase).toEqual({ kind: 'deciding', label: 'Allow', decisionID: 'D1' });
  });

  it('needs a button that is there, on a card that is there', () => {
    const approval = listed();
    expect(board.press(approval.id, 'allow', 'D')).toBe('ignored');
    expect(board.press('nobody', 'Allow', 'D')).toBe('ignored');
  });

  it('only denies what needs direct access', () => {
    const approval = someApproval({ requiresDirectAccess: true }, ['Allow', ' Don’t  Allow ', 'Later…']);
    board.replace([approval]);
    expect(board.press(approval.id, 'Allow', 'D')).toBe('ignored');
    expect(board.press(approval.id, 'Later…', 'D')).toBe('ignored');
    expect(board.press(approval.id, ' Don’t  Allow ', 'D')).toBe('deciding');
  });

  it('is ignored on a card that has ended', () => {
    const approval = listed();
    board.replace([]);
    expect(board.press(approval.id, 'Allow', 'D')).toBe('ignored');
  });
});

describe('a label that destroys', () => {
  it('takes two taps, neither too close nor too far apart', () => {
    const approval = listed('Cancel', 'Delete');
    expect(board.press(approval.id, 'Delete', 'D')).toBe('armed');
    expect(events.at(-1)).toEqual({ kind: 'armed', label: 'Delete' });
    clock.advance(bounceTime - 1);
    expect(board.press(approval.id, 'Delete', 'D')).toBe('ignored');
    clock.advance(1);
    expect(board.press(approval.id, 'Delete', 'D')).toBe('deciding');
  });

  it('forgets the first tap in time', () => {
    const approval = listed('Cancel', 'Delete');
    board.press(approval.id, 'Delete', 'D');
    clock.advance(armedTime);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
    expect(board.press(approval.id, 'Delete', 'D')).toBe('armed');
  });

  it('is not confirmed by a tap on another button', () => {
    const approval = listed('Erase', 'Delete', 'Cancel');
    board.press(approval.id, 'Delete', 'D');
    clock.advance(1_000);
    expect(board.press(approval.id, 'Erase', 'D')).toBe('armed');
    expect(board.press(approval.id, 'Cancel', 'D')).toBe('deciding');
  });
});

describe('the result', () => {
  it('of an accepted press is shown, also when the list is first, and then goes', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.replace([]);
    expect(card(approval)?.phase.kind).toBe('deciding');
    board.resultArrived('D', result(approval, 'accepted'), true);
    expect(card(approval)?.phase).toEqual({ kind: 'ended', end: { kind: 'accepted', label: 'Allow' } });
    clock.advance(endedTime);
    expect(card(approval)).toBeUndefined();
    expect(clock.timerCount).toBe(0);
  });

  it('of an accepted press gives the card back while the computer still lists it', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.resultArrived('D', result(approval, 'accepted'), true);
    clock.advance(endedTime);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
  });

  it.each([
    ['failed', { kind: 'failed', label: 'Allow', error: 'It is still there.' }],
    ['not_found', { kind: 'notFound', label: 'Allow' }],
    ['requires_direct_access', { kind: 'needsDirectAccess', label: 'Allow' }],
  ] as const)('%s gives the card back with a word', (status, note) => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.resultArrived('D', result(approval, status, 'Allow', 'It is still there.'), true);
    expect(card(approval)).toMatchObject({ phase: { kind: 'open' }, note });
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('deciding');
    expect(card(approval)?.note).toBeUndefined();
  });

  it.each([
    ['not_found', { kind: 'gone' }],
    ['failed', { kind: 'goneUnconfirmed', label: 'Allow' }],
  ] as const)('%s of a dialog that is gone ends the card', (status, end) => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.replace([]);
    board.resultArrived('D', result(approval, status), true);
    expect(card(approval)?.phase).toEqual({ kind: 'ended', end });
  });

  it('that does not come is told, and a second press then takes two taps', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    clock.advance(answerTime);
    expect(card(approval)).toMatchObject({ phase: { kind: 'open' }, note: { kind: 'unanswered', label: 'Allow' } });
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('armed');
    clock.advance(bounceTime);
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('deciding');
  });

  it('that comes late still counts, but not into another decision', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    clock.advance(answerTime);
    board.press(approval.id, 'Don’t Allow', 'D2');
    clock.advance(bounceTime);
    board.press(approval.id, 'Don’t Allow', 'D2');
    board.resultArrived('D', result(approval, 'failed'), true);
    expect(card(approval)?.phase).toMatchObject({ kind: 'deciding', decisionID: 'D2' });
    board.resultArrived('D2', result(approval, 'accepted', 'Don’t Allow'), true);
    expect(card(approval)?.phase).toMatchObject({ kind: 'ended', end: { kind: 'accepted' } });
  });

  it('that comes after the dialog went away says what was pressed', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    clock.advance(answerTime);
    board.replace([]);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'goneUnconfirmed', label: 'Allow' } });
    board.resultArrived('D', result(approval, 'accepted'), true);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'accepted', label: 'Allow' } });
    board.resultArrived('D', result(approval, 'failed'), true);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'accepted', label: 'Allow' } });
  });

  it('that was lost with the connection is not waited for', () => {
    const [one, two] = [someApproval(), someApproval()];
    board.replace([one, two]);
    board.press(one.id, 'Allow', 'D1');
    board.press(two.id, 'Allow', 'D2');
    board.replace([two], true);
    expect(card(one)?.phase).toMatchObject({ end: { kind: 'goneUnconfirmed', label: 'Allow' } });
    expect(card(two)?.phase.kind).toBe('deciding');
  });

  it('never comes for a dialog that is gone', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.replace([]);
    clock.advance(answerTime);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'goneUnconfirmed', label: 'Allow' } });
  });

  it('of something unknown changes nothing', () => {
    listed();
    board.resultArrived('D', result(someApproval(), 'accepted'), true);
    expect(board.waitingCount).toBe(1);
  });
});

describe('another phone', () => {
  it('answers, before or after the list', () => {
    const [one, two] = [someApproval(), someApproval()];
    board.replace([one, two]);
    board.resultArrived('other-1', result(one, 'accepted'), false);
    board.replace([]);
    board.resultArrived('other-2', result(two, 'accepted', 'Don’t Allow'), false);
    expect(card(one)?.phase).toMatchObject({ end: { kind: 'otherPhone', label: 'Allow' } });
    expect(card(two)?.phase).toMatchObject({ end: { kind: 'otherPhone', label: 'Don’t Allow' } });
    clock.advance(endedTime);
    expect(board.cards).toEqual([]);
  });

  it('fails, and the card stays open', () => {
    const approval = listed();
    board.resultArrived('other', result(approval, 'failed'), false);
    expect(card(approval)).toMatchObject({ phase: { kind: 'open' }, note: { kind: 'otherPhoneFailed' } });
  });

  it('does not touch our own decision', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.resultArrived('other', result(approval, 'accepted'), false);
    expect(card(approval)?.phase.kind).toBe('deciding');
    board.resultArrived('D', result(approval, 'not_found'), true);
    expect(card(approval)?.note).toEqual({ kind: 'notFound', label: 'Allow' });
  });
});

describe('a decision that cannot be delivered', () => {
  it('to an offline computer was not made', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.undeliverable('D', 'offline');
    expect(card(approval)).toMatchObject({ phase: { kind: 'open' }, note: { kind: 'offline' } });
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('deciding');
  });

  it.each(['uncertain', 'something new'])('for the reason "%s" may have been made', (reason) => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.undeliverable('D', reason);
    expect(card(approval)?.note).toEqual({ kind: 'uncertain', label: 'Allow' });
    expect(board.press(approval.id, 'Allow', 'D2')).toBe('armed');
    board.replace([]);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'goneUnconfirmed', label: 'Allow' } });
  });

  it('because nothing was sent is told', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.notSent('D');
    expect(card(approval)?.note).toEqual({ kind: 'notSent' });
  });

  it('of another card or none is ignored', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.undeliverable('E', 'offline');
    board.notSent('E');
    expect(card(approval)?.phase.kind).toBe('deciding');
  });

  it('ends the card when the dialog went away meanwhile', () => {
    const approval = listed();
    board.press(approval.id, 'Allow', 'D');
    board.replace([]);
    board.undeliverable('D', 'uncertain');
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'goneUnconfirmed', label: 'Allow' } });
  });
});

describe('muting', () => {
  it('can be undone while the computer still lists the dialog', () => {
    const approval = listed();
    expect(board.suppress(approval.id, 'D')).toBe(true);
    board.suppressionUndone(approval.id);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
  });

  it('keeps its card for the time of undoing, although the dialog is off the list', () => {
    const approval = listed();
    board.suppress(approval.id, 'D');
    board.replace([]);
    clock.advance(undoTime - 1);
    expect(card(approval)?.phase.kind).toBe('suppressing');
    expect(board.waitingCount).toBe(0);
    clock.advance(1);
    expect(card(approval)?.phase).toMatchObject({ end: { kind: 'suppressed' } });
    clock.advance(endedTime);
    expect(card(approval)).toBeUndefined();
  });

  it('undone after the dialog left the list removes the card until the computer finds it again', () => {
    const approval = listed();
    board.suppress(approval.id, 'D');
    board.replace([]);
    board.suppressionUndone(approval.id);
    expect(card(approval)).toBeUndefined();
    board.replace([approval]);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
  });

  it('that could not be delivered gives the card back', () => {
    const approval = listed();
    board.suppress(approval.id, 'D');
    board.undeliverable('D', 'offline');
    expect(card(approval)).toMatchObject({ phase: { kind: 'open' }, note: { kind: 'offline' } });
  });

  it('that the computer did not follow gives the card back in the end', () => {
    const approval = listed();
    board.suppress(approval.id, 'D');
    clock.advance(undoTime + endedTime);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
  });

  it('is undone once only, and only where it was done', () => {
    const approval = listed();
    board.suppressionUndone(approval.id);
    expect(card(approval)?.phase).toEqual({ kind: 'open' });
    expect(board.suppress('nobody', 'D')).toBe(false);
  });
});

it('tells of every change', () => {
  const approval = listed();
  const steps = [
    () => board.press(approval.id, 'Allow', 'D'),
    () => board.undeliverable('D', 'offline'),
    () => board.suppress(approval.id, 'E'),
    () => board.suppressionUndone(approval.id),
    () => board.replace([]),
    () => clock.advance(endedTime),
  ];
  for (const step of steps) {
    const before = changes;
    step();
    expect(changes).toBeGreaterThan(before);
  }
});
