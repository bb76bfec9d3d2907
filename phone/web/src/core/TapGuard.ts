import type { Clock } from './clock';

/// From appearing or moving until a tap counts: below the time in which a person sees a thing and touches it on purpose.
export const settleTime = 500;
/// Positions closer than this, in pixels, are one.
const sameWithin = 4;

interface Place {
  left: number;
  top: number;
  settledAt: number;
}

/// Keeps a list that changes under the finger from being tapped by mistake: what has just appeared, moved or changed its
/// words takes no taps for a moment.
export class TapGuard {
  private readonly places = new Map<string, Place>();
  private cancelTimer: () => void = () => undefined;

  constructor(
    private readonly clock: Clock,
    private readonly onSettled: () => void,
  ) {}

  /// Where something is drawn now, on the page rather than on the screen: scrolling moves nothing.
  place(key: string, left: number, top: number): void {
    const known = this.places.get(key);
    if (known && Math.abs(known.left - left) < sameWithin && Math.abs(known.top - top) < sameWithin) return;
    this.settle(key, left, top);
  }

  /// What is drawn there says something else now.
  changed(key: string): void {
    const known = this.places.get(key);
    if (known) this.settle(key, known.left, known.top);
  }

  gone(key: string): void {
    this.places.delete(key);
  }

  accepts(key: string): boolean {
    const known = this.places.get(key);
    return known !== undefined && this.clock.now() >= known.settledAt;
  }

  private settle(key: string, left: number, top: number): void {
    this.places.set(key, { left, top, settledAt: this.clock.now() + settleTime });
    this.cancelTimer();
    this.cancelTimer = this.clock.after(settleTime, this.onSettled);
  }
}
