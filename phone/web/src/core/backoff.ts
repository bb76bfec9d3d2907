const firstDelay = 1_000;
const greatestDelay = 60_000;

/// How long to wait before the given attempt (the first is 0): doubling up to a minute, and somewhere between half of
/// that and all of it, so that the phones of a relay that comes back do not all knock at once.
export function reconnectDelay(attempt: number, random: () => number): number {
  const whole = Math.min(firstDelay * 2 ** Math.min(attempt, 16), greatestDelay);
  return whole * (0.5 + 0.5 * random());
}
