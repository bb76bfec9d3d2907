import { looksAlike, type Approval } from './approval';
import type { Clock } from './clock';
import { isDangerous, isDeny } from './labels';
import type { ApprovalResult } from './messages';

/// What the owner should know about an open card; the last thing that happened to it.
export type CardNote =
  | { readonly kind: 'failed'; readonly label: string; readonly error: string | undefined }
  | { readonly kind: 'notFound'; readonly label: string }
  | { readonly kind: 'needsDirectAccess'; readonly label: string }
  | { readonly kind: 'offline' }
  | { readonly kind: 'notSent' }
  | { readonly kind: 'uncertain'; readonly label: string }
  | { readonly kind: 'unanswered'; readonly label: string }
  | { readonly kind: 'otherPhoneFailed'; readonly label: string };

/// How a card that takes no more answers came to its end.
export type CardEnd =
  | { readonly kind: 'accepted'; readonly label: string }
  | { readonly kind: 'gone' }
  /// It went away while our answer was under way, and no result came.
  | { readonly kind: 'goneUnconfirmed'; readonly label: string }
  | { readonly kind: 'otherPhone'; readonly label: string }
  | { readonly kind: 'suppressed' };

export type CardPhase =
  | { readonly kind: 'open' }
  /// A first tap on a button that asks for two.
  | { readonly kind: 'armed'; readonly label: string; readonly since: number }
  | { readonly kind: 'deciding'; readonly label: string; readonly decisionID: string }
  | { readonly kind: 'suppressing'; readonly decisionID: string }
  | { readonly kind: 'ended'; readonly end: CardEnd };

export interface Card {
  readonly approval: Approval;
  readonly phase: CardPhase;
  readonly note: CardNote | undefined;
}

/// What a press led to. "deciding" is to be sent, and comes once for each decision.
export type Press = 'ignored' | 'armed' | 'deciding';

/// What happened, for those who cannot see it.
export type BoardEvent =
  | { readonly kind: 'appeared'; readonly approval: Approval }
  | { readonly kind: 'changed'; readonly approval: Approval }
  | { readonly kind: 'armed'; readonly label: string }
  | { readonly kind: 'note'; readonly approval: Approval; readonly note: CardNote }
  | { readonly kind: 'ended'; readonly approval: Approval; readonly end: CardEnd };

/// The second tap of two must come within this time ...
export const armedTime = 5_000;
/// ... and not before this, or a finger that bounces would do both.
export const bounceTime = 350;
/// After this without a result the owner is told. The agent's slowest way to press a button takes half of it.
export const answerTime = 30_000;
/// For how long a card that ended is still shown.
export const endedTime = 6_000;
/// For how long muting can be undone where it was done.
export const undoTime = 10_000;

interface Entry {
  approval: Approval;
  phase: CardPhase;
  note: CardNote | undefined;
  /// In the computer's last list.
  listed: boolean;
  cancelTimer: () => void;
}

/// The approvals of one computer as cards, and what becomes of each. Cards keep their places; new ones go below.
export class ApprovalBoard {
  private readonly entries = new Map<string, Entry>();

  constructor(
    private readonly clock: Clock,
    private readonly onChange: () => void,
    private readonly onEvent: (event: BoardEvent) => void = () => undefined,
  ) {}

  get cards(): readonly Card[] {
    return [...this.entries.values()].map(({ approval, phase, note }) => ({ approval, phase, note }));
  }

  /// How many still wait for an answer.
  get waitingCount(): number {
    return [...this.entries.values()].filter(({ phase: { kind } }) => kind !== 'ended' && kind !== 'suppressing').length;
  }

  /// The computer's list as it is now. `isFirst` is true for the first list after a new connection: results that were
  /// sent before it are lost.
  replace(approvals: readonly Approval[], isFirst = false): void {
    const listed = new Map(approvals.map((approval) => [approval.id, approval]));
    for (const [id, entry] of this.entries) {
      const approval = listed.get(id);
      if (approval) this.update(entry, approval);
      else this.unlist(entry, isFirst);
    }
    for (const [id, approval] of listed) {
      if (!this.entries.has(id)) this.add(approval);
    }
    this.onChange();
  }

  /// The owner taps a button. `decisionID` names the decision that this may become.
  press(approvalID: string, label: string, decisionID: string): Press {
    const entry = this.entries.get(approvalID);
    if (!entry || !this.canPress(entry, label)) return 'ignored';
    if (this.needsTwoTaps(entry, label)) {
      if (entry.phase.kind !== 'armed' || entry.phase.label !== label) {
        this.arm(entry, label);
        return 'armed';
      }
      if (this.clock.now() - entry.phase.since < bounceTime) return 'ignored';
    }
    entry.note = undefined;
    this.enter(entry, { kind: 'deciding', label, decisionID }, answerTime, () => this.overdue(entry, label));
    this.onChange();
    return 'deciding';
  }

  /// The owner does not want to see this dialog any more. False when the card takes no answers.
  suppress(approvalID: string, decisionID: string): boolean {
    const entry = this.entries.get(approvalID);
    if (!entry || (entry.phase.kind !== 'open' && entry.phase.kind !== 'armed')) return false;
    entry.note = undefined;
    this.enter(entry, { kind: 'suppressing', decisionID }, undoTime, () => {
      this.end(entry, { kind: 'suppressed' });
      this.onChange();
    });
    this.onChange();
    return true;
  }

  /// Muting was taken back.
  suppressionUndone(approvalID: string): void {
    const entry = this.entries.get(approvalID);
    if (entry?.phase.kind !== 'suppressing') return;
    if (entry.listed) this.enter(entry, { kind: 'open' });
    else this.remove(entry);
    this.onChange();
  }

  /// `isOurs` tells whether the decision was made on this phone.
  resultArrived(decisionID: string, result: ApprovalResult, isOurs: boolean): void {
    const entry = this.entries.get(result.approvalID);
    if (!entry) return;
    if (isOurs) this.ourResult(entry, decisionID, result);
    else this.othersResult(entry, result);
    this.onChange();
  }

  /// The relay could not pass a decision on: nothing was done ("offline"), or nobody knows (anything else).
  undeliverable(decisionID: string, reason: string): void {
    const entry = this.entryDeciding(decisionID);
    if (!entry) return;
    const { phase } = entry;
    if (reason === 'offline' || phase.kind !== 'deciding') this.reopen(entry, { kind: 'offline' });
    else this.reopen(entry, { kind: 'uncertain', label: phase.label });
    this.onChange();
  }

  /// The decision never left this phone.
  notSent(decisionID: string): void {
    const entry = this.entryDeciding(decisionID);
    if (!entry) return;
    this.reopen(entry, { kind: 'notSent' });
    this.onChange();
  }

  clear(): void {
    for (const entry of this.entries.values()) entry.cancelTimer();
    this.entries.clear();
    this.onChange();
  }

  private canPress(entry: Entry, label: string): boolean {
    const { approval, phase } = entry;
    if (phase.kind !== 'open' && phase.kind !== 'armed') return false;
    if (!approval.buttons.some((button) => button.label === label)) return false;
    return !approval.requiresDirectAccess || isDeny(label);
  }

  private needsTwoTaps(entry: Entry, label: string): boolean {
    const mayBePressed = entry.note?.kind === 'uncertain' || entry.note?.kind === 'unanswered';
    return mayBePressed || isDangerous(label);
  }

  private arm(entry: Entry, label: string): void {
    this.enter(entry, { kind: 'armed', label, since: this.clock.now() }, armedTime, () => {
      this.enter(entry, { kind: 'open' });
      this.onChange();
    });
    this.onEvent({ kind: 'armed', label });
    this.onChange();
  }

  private add(approval: Approval): void {
    this.entries.set(approval.id, {
      approval,
      phase: { kind: 'open' },
      note: undefined,
      listed: true,
      cancelTimer: () => undefined,
    });
    this.onEvent({ kind: 'appeared', approval });
  }

  private update(entry: Entry, approval: Approval): void {
    const isSame = looksAlike(entry.approval, approval);
    entry.approval = approval;
    entry.listed = true;
    const { phase } = entry;
    if (phase.kind === 'ended' && phase.end.kind !== 'accepted') {
      this.enter(entry, { kind: 'open' });
      this.onEvent({ kind: 'appeared', approval });
    }
    if (isSame) return;
    if (phase.kind === 'armed') this.enter(entry, { kind: 'open' });
    this.onEvent({ kind: 'changed', approval });
  }

  private unlist(entry: Entry, isFirst: boolean): void {
    entry.listed = false;
    const { phase, note } = entry;
    if (phase.kind === 'deciding') {
      if (isFirst) this.end(entry, { kind: 'goneUnconfirmed', label: phase.label });
    } else if (note?.kind === 'uncertain' || note?.kind === 'unanswered') {
      this.end(entry, { kind: 'goneUnconfirmed', label: note.label });
    } else if (phase.kind === 'open' || phase.kind === 'armed') {
      this.end(entry, { kind: 'gone' });
    }
  }

  private ourResult(entry: Entry, decisionID: string, result: ApprovalResult): void {
    const { phase } = entry;
    const isAwaited = phase.kind === 'deciding' && phase.decisionID === decisionID;
    // A result may come after the owner was told that there is none; but not into another decision.
    if (!isAwaited && (phase.kind === 'deciding' || phase.kind === 'suppressing')) return;
    const label = result.buttonLabel;
    if (result.status === 'accepted') this.end(entry, { kind: 'accepted', label });
    else if (phase.kind === 'ended') return;
    else if (!entry.listed) this.end(entry, result.status === 'not_found' ? { kind: 'gone' } : { kind: 'goneUnconfirmed', label });
    else if (result.status === 'not_found') this.reopen(entry, { kind: 'notFound', label });
    else if (result.status === 'requires_direct_access') this.reopen(entry, { kind: 'needsDirectAccess', label });
    else this.reopen(entry, { kind: 'failed', label, error: result.error });
  }

  private othersResult(entry: Entry, result: ApprovalResult): void {
    const { phase } = entry;
    if (phase.kind === 'deciding' || phase.kind === 'suppressing') return;
    const label = result.buttonLabel;
    if (result.status === 'accepted') this.end(entry, { kind: 'otherPhone', label });
    else if (entry.listed && phase.kind !== 'ended') this.reopen(entry, { kind: 'otherPhoneFailed', label });
  }

  private overdue(entry: Entry, label: string): void {
    if (entry.listed) this.reopen(entry, { kind: 'unanswered', label });
    else this.end(entry, { kind: 'goneUnconfirmed', label });
    this.onChange();
  }

  /// A card takes answers again, or ends when the computer no longer lists it.
  private reopen(entry: Entry, note: CardNote): void {
    if (!entry.listed) {
      this.end(entry, 'label' in note ? { kind: 'goneUnconfirmed', label: note.label } : { kind: 'gone' });
      return;
    }
    entry.note = note;
    this.enter(entry, { kind: 'open' });
    this.onEvent({ kind: 'note', approval: entry.approval, note });
  }

  private end(entry: Entry, end: CardEnd): void {
    entry.note = undefined;
    this.enter(entry, { kind: 'ended', end }, endedTime, () => {
      // The computer may still list it: then it still waits.
      if (entry.listed) this.enter(entry, { kind: 'open' });
      else this.remove(entry);
      this.onChange();
    });
    this.onEvent({ kind: 'ended', approval: entry.approval, end });
  }

  private remove(entry: Entry): void {
    entry.cancelTimer();
    this.entries.delete(entry.approval.id);
  }

  private enter(entry: Entry, phase: CardPhase, time?: number, then?: () => void): void {
    entry.cancelTimer();
    entry.phase = phase;
    entry.cancelTimer = time !== undefined && then ? this.clock.after(time, then) : () => undefined;
  }

  private entryDeciding(decisionID: string): Entry | undefined {
    return [...this.entries.values()].find(
      ({ phase }) => (phase.kind === 'deciding' || phase.kind === 'suppressing') && phase.decisionID === decisionID,
    );
  }
}
