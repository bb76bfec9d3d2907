/// Time as a port: tests move it by hand.
export interface Clock {
  /// Milliseconds since 1970; may jump.
  wallNow(): number;
  /// Milliseconds that only grow.
  now(): number;
  /// Calls back once, unless cancelled by the function that it returns.
  after(milliseconds: number, callback: () => void): () => void;
}
