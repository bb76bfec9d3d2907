import { render } from 'preact';
import { Phone } from './core/Phone';
import { TapGuard } from './core/TapGuard';
import type { Vault } from './core/vault';
import type { Messages } from './i18n/Messages';
import { announcement, messagesFor } from './i18n/wording';
import { browserClock, loadPageConfig, openBrowserSocket, platformName, randomUuid } from './platform/browserPorts';
import { IndexedDbVault } from './platform/IndexedDbVault';
import { registerServiceWorker } from './platform/serviceWorker';
import { webPush } from './platform/webPush';
import './style/base.css';
import './style/cards.css';
import './style/controls.css';
import './style/preferences.css';
import { App } from './views/App';
import type { Route } from './views/context';
import { UnableView } from './views/UnableView';

/// How often ages are drawn anew.
const tickTime = 1_000;
/// A page that was hidden or asleep for so long may hold connections that died unnoticed.
const doubtTime = 30_000;

/// Draws the page whenever something changed, once a frame at most.
class PageHost {
  private announced = { text: '', number: 0 };
  private update: (() => void) | undefined;
  private hasFailed = false;
  private isDue = false;
  private isAnnouncing = false;
  private seenAt = Date.now();
  private readonly phone: Phone;
  private readonly taps = new TapGuard(browserClock, () => this.draw());

  constructor(
    private readonly root: Element,
    private readonly messages: Messages,
    vault: Vault,
  ) {
    this.phone = new Phone(
      {
        clock: browserClock,
        openSocket: openBrowserSocket,
        random: Math.random,
        randomUuid,
        vault,
        origin: location.origin,
        push: webPush,
        loadConfig: loadPageConfig,
        defaultPhoneName: messages.platforms[platformName(navigator.userAgent, navigator.maxTouchPoints)],
        defaultComputerName: messages.home.defaultComputerName,
      },
      {
        onChange: () => this.draw(),
        onEvent: (event) => {
          if (event.kind === 'board' && event.event.kind === 'changed') this.taps.changed(event.event.approval.id);
          // Browsers throw away what pages keep, unless asked not to.
          if (event.kind === 'paired') void navigator.storage?.persist?.();
          const text = announcement(messages, event);
          if (text !== undefined) this.announce(text);
        },
      },
    );
  }

  async start(): Promise<void> {
    addEventListener('unhandledrejection', () => {
      this.hasFailed = true;
      this.draw();
    });
    addEventListener('hashchange', () => this.draw());
    addEventListener('online', () => this.phone.wake(true));
    document.addEventListener('visibilitychange', () => this.look());
    setInterval(() => this.look(), tickTime);
    this.draw();
    const worker = registerServiceWorker((change) => {
      this.update = change;
      this.draw();
    }).catch(() => undefined);
    await this.phone.start();
    await worker;
  }

  private look(): void {
    if (document.visibilityState !== 'visible') return;
    const now = Date.now();
    const unseen = now - this.seenAt;
    this.seenAt = now;
    if (unseen > doubtTime) this.phone.wake(true);
    else if (unseen > 2 * tickTime) this.phone.wake(false);
    this.draw();
  }

  private get route(): Route {
    const name = location.hash.slice(1);
    return name === 'pair' || name === 'settings' ? name : 'home';
  }

  private go(route: Route): void {
    if (route === this.route) return;
    if (route !== 'home') location.hash = route;
    else history.replaceState(null, '', '/');
    this.draw();
  }

  private announce(text: string): void {
    // What happens at once is told at once: none takes the place of another.
    const before = this.isAnnouncing ? `${this.announced.text} ` : '';
    this.isAnnouncing = true;
    this.announced = { text: before + text, number: this.announced.number + 1 };
    this.draw();
  }

  private draw(): void {
    if (this.isDue) return;
    this.isDue = true;
    queueMicrotask(() => {
      this.isDue = false;
      this.isAnnouncing = false;
      const { phone, taps, messages, announced, update, hasFailed, route } = this;
      const count = phone.waitingCount;
      document.title = messages.titleWaiting(count);
      void (count > 0 ? navigator.setAppBadge?.(count) : navigator.clearAppBadge?.())?.catch(() => undefined);
      const go = (next: Route) => this.go(next);
      const announce = (text: string) => this.announce(text);
      const now = Date.now();
      render(<App {...{ phone, taps, messages, announced, update, hasFailed, route, go, announce, now }} />, this.root);
    });
  }
}

async function start(root: Element): Promise<void> {
  const messages = messagesFor(navigator.languages);
  document.documentElement.lang = messages.language;
  const { unable } = messages;
  if (!isSecureContext || !globalThis.crypto?.subtle) {
    render(<UnableView title={unable.insecureTitle} text={unable.insecureText} />, root);
    return;
  }
  let vault: Vault;
  try {
    vault = await IndexedDbVault.opened(indexedDB);
  } catch {
    render(<UnableView title={unable.storageTitle} text={unable.storageText} />, root);
    return;
  }
  await new PageHost(root, messages, vault).start();
}

const root = document.getElementById('page');
if (root) void start(root);
