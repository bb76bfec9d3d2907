/// What the browser can do about notifications.
export type PushAbility =
  | 'available'
  /// This browser has no Web Push.
  | 'unsupported'
  /// It has, once the page is installed to the home screen.
  | 'needsInstall'
  /// The owner has forbidden it in the browser.
  | 'blocked';

export interface PushPort {
  ability(): PushAbility;
  /// The address to which the relay sends its empty messages; asks the owner where that is needed. Throws when refused.
  subscribe(pushKey: string): Promise<string>;
  unsubscribe(): Promise<void>;
  /// The present subscription's address, when it was made with this key.
  endpoint(pushKey: string): Promise<string | undefined>;
}

/// What the relay says about the page; `undefined` for the key when the relay could not be asked.
export interface PageConfig {
  readonly pushKey: string | null | undefined;
}

export type PushState = 'unknown' | 'noKey' | 'unsupported' | 'needsInstall' | 'blocked' | 'off' | 'on';
