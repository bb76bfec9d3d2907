// A tap counts only on what has been where it is, as it is, for a moment.
import { beforeEach, describe, expect, it } from 'vitest';
import { settleTime, TapGuard } from '../src/core/TapGuard';
import { VirtualClock } from './VirtualClock';

let clock: VirtualClock;
let settled: number;
let taps: TapGuard;

beforeEach(() => {
  clock = new VirtualClock();
  settled = 0;
  taps = new TapGuard(clock, () => (settled += 1));
  taps.place('A', 10, 100);
});

describe('the tap guard', () => {
  it('takes no tap on what nobody has drawn', () => expect(taps.accepts('B')).toBe(false));

  it('takes taps once something has stood for a moment', () => {
    clock.advance(settleTime - 1);
    expect(taps.accepts('A')).toBe(false);
    expect(settled).toBe(0);
    clock.advance(1);
    expect(taps.accepts('A')).toBe(true);
    expect(settled).toBe(1);
  });

  it('begins anew when it moved, down or aside', () => {
    clock.advance(settleTime);
    taps.place('A', 10, 160);
    expect(taps.accepts('A')).toBe(false);
    clock.advance(settleTime);
    expect(taps.accepts('A')).toBe(true);
    taps.place('A', 90, 160);
    expect(taps.accepts('A')).toBe(false);
  });

  it('does not mind being drawn again where it was, give or take a hair', () => {
    clock.advance(settleTime);
    for (let shift = 0; shift < 10; shift += 1) taps.place('A', 10 + shift / 10, 101);
    expect(taps.accepts('A')).toBe(true);
  });

  it('notices a slow slide in the end', () => {
    clock.advance(settleTime);
    taps.place('A', 10, 103);
    expect(taps.accepts('A')).toBe(true);
    taps.place('A', 10, 106);
    expect(taps.accepts('A')).toBe(false);
  });

  it('begins anew when its words changed, and forgets what is gone', () => {
    clock.advance(settleTime);
    taps.changed('A');
    expect(taps.accepts('A')).toBe(false);
    clock.advance(settleTime);
    taps.gone('A');
    expect(taps.accepts('A')).toBe(false);
    taps.changed('A');
    expect(taps.accepts('A')).toBe(false);
  });

  it('tells of the last of several to settle', () => {
    clock.advance(300);
    taps.place('B', 10, 300);
    clock.advance(settleTime - 1);
    expect([taps.accepts('A'), taps.accepts('B'), settled]).toEqual([true, false, 0]);
    clock.advance(1);
    expect([taps.accepts('B'), settled]).toEqual([true, 1]);
  });
});
