import type { PageConfig, PushPort, PushState } from './push';
import { pushSubscribeText, pushUnsubscribeText } from './messages';

/// Web Push: the relay wakes this phone with an empty message when something new waits. Its one subscription serves all
/// computers, and is told to the relay on each one's connection.
export class Notifications {
  private pushKey: string | undefined;
  private current: PushState = 'unknown';
  private endpoint: string | undefined;

  constructor(
    private readonly push: PushPort,
    private readonly loadConfig: () => Promise<PageConfig>,
    /// Sends a text to the relay for every connected computer.
    private readonly broadcast: (text: string) => void,
    private readonly onChange: () => void,
  ) {}

  get state(): PushState {
    return this.current;
  }

  /// `wanted` is what the owner chose before.
  async start(wanted: boolean): Promise<void> {
    const { pushKey } = await this.loadConfig();
    if (pushKey === undefined) return;
    if (pushKey === null) return this.change('noKey');
    this.pushKey = pushKey;
    const ability = this.push.ability();
    if (ability !== 'available') return this.change(ability);
    this.endpoint = wanted ? await this.push.endpoint(pushKey).catch(() => undefined) : undefined;
    // The relay's key changed, or the browser dropped the subscription: made again without asking, or not at all.
    if (wanted && !this.endpoint) this.endpoint = await this.push.subscribe(pushKey).catch(() => undefined);
    if (this.endpoint) this.broadcast(pushSubscribeText(this.endpoint));
    this.change(this.endpoint ? 'on' : 'off');
  }

  /// Whether it succeeded.
  async turnOn(): Promise<boolean> {
    if (!this.pushKey) return false;
    try {
      this.endpoint = await this.push.subscribe(this.pushKey);
    } catch {
      const ability = this.push.ability();
      this.change(ability === 'available' ? 'off' : ability);
      return false;
    }
    this.broadcast(pushSubscribeText(this.endpoint));
    this.change('on');
    return true;
  }

  async turnOff(): Promise<void> {
    this.endpoint = undefined;
    this.broadcast(pushUnsubscribeText);
    await this.push.unsubscribe().catch(() => undefined);
    this.change('off');
  }

  /// What to say on a new connection, if anything.
  greeting(): string | undefined {
    return this.endpoint ? pushSubscribeText(this.endpoint) : undefined;
  }

  private change(state: PushState): void {
    this.current = state;
    this.onChange();
  }
}
