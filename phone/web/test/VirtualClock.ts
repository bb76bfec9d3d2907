import type { Clock } from '../src/core/clock';

interface Timer {
  at: number;
  callback: () => void;
}

/// Time that moves only when a test says so.
export class VirtualClock implements Clock {
  private monotonic = 0;
  private readonly timers = new Set<Timer>();

  constructor(private wall = Date.parse('2026-03-14T09:26:53Z')) {}

  wallNow(): number {
    return this.wall;
  }
  now(): number {
    return this.monotonic;
  }
  after(milliseconds: number, callback: () => void): () => void {
    const timer = { at: this.monotonic + milliseconds, callback };
    this.timers.add(timer);
    return () => this.timers.delete(timer);
  }

  /// Runs what falls due on the way, in order.
  advance(milliseconds: number): void {
    const end = this.monotonic + milliseconds;
    for (;;) {
      const [next] = [...this.timers].filter(({ at }) => at <= end).sort((one, other) => one.at - other.at);
      if (!next) break;
      this.timers.delete(next);
      this.move(next.at);
      next.callback();
    }
    this.move(end);
  }

  get timerCount(): number {
    return this.timers.size;
  }

  private move(to: number): void {
    this.wall += to - this.monotonic;
    this.monotonic = to;
  }
}
