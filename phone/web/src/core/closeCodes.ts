/// Why a connection ended for good, until the owner does something.
export type StopReason =
  | 'left'
  | 'takenOver'
  | 'notUnderstood'
  | 'wrongSecret'
  | 'unpaired'
  | 'tooManyPhones'
  | 'otherVersion';

/// Why the connection is down for the moment.
export type WaitCause = 'lost' | 'relayStopped' | 'relayTrouble' | 'relayBusy' | 'tooSlow';

export type Closing =
  | { readonly kind: 'stop'; readonly reason: StopReason }
  | { readonly kind: 'wait'; readonly cause: WaitCause; readonly leastDelay: number };

const stop = (reason: StopReason): Closing => ({ kind: 'stop', reason });
const wait = (cause: WaitCause, leastDelay = 0): Closing => ({ kind: 'wait', cause, leastDelay });

/// A relay that is full is asked again a little later than one that was merely lost.
const busyDelay = 5_000;
const troubleDelay = 3_000;

/// What a close code asks of a phone; docs/relay-protocol.md, "Close codes".
export function closingFor(code: number): Closing {
  switch (code) {
    case 1000:
      // Perhaps asked for by another tab: coming back would pair the phone again.
      return stop('left');
    case 1001:
    case 1012:
      return wait('relayStopped');
    case 1011:
      return wait('relayTrouble', troubleDelay);
    case 1013:
      return wait('relayBusy', busyDelay);
    case 4000:
      return stop('takenOver');
    case 4008:
      return wait('tooSlow');
    case 1002:
    case 1007:
    case 1009:
    case 4400:
      return stop('notUnderstood');
    case 4401:
      return stop('wrongSecret');
    case 4410:
      return stop('unpaired');
    case 4429:
      return stop('tooManyPhones');
    default:
      return wait('lost');
  }
}
