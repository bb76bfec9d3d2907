import { useEffect, useRef, useState } from 'preact/hooks';
import type { Phone } from '../core/Phone';
import type { TapGuard } from '../core/TapGuard';
import type { Messages } from '../i18n/Messages';
import { Page, usePage, type Route } from './context';
import { HomeView } from './HomeView';
import { BackIcon, GearIcon, PlusIcon } from './icons';
import { PairView } from './PairView';
import { SettingsView } from './SettingsView';

export interface AppProps {
  readonly phone: Phone;
  readonly taps: TapGuard;
  readonly messages: Messages;
  readonly route: Route;
  readonly go: (route: Route) => void;
  readonly now: number;
  readonly announce: (text: string) => void;
  /// What was last announced; the number tells equal texts apart.
  readonly announced: { readonly text: string; readonly number: number };
  /// Set when a new version of the page waits.
  readonly update: (() => void) | undefined;
  /// Something went wrong that nobody handled, such as a database that is full.
  readonly hasFailed: boolean;
}

export function App(props: AppProps) {
  const { phone, messages, route, go, announced, update, hasFailed } = props;
  return (
    <Page.Provider value={props}>
      <PageHeader {...props} />
      <main class={`page ${route}`} tabIndex={-1}>
        {update && <ReloadNotice text={messages.home.updateReady} onReload={update} />}
        {hasFailed && <ReloadNotice text={messages.home.failed} onReload={() => location.reload()} />}
        {route === 'home' && <HomeView />}
        {route === 'pair' && phone.isReady && <PairView />}
        {route === 'settings' && phone.isReady && <SettingsView />}
      </main>
      <div class="unseen" role="status" aria-live="polite">
        <span key={announced.number}>{announced.text}</span>
      </div>
      {route !== 'home' && <BackOnEscape onBack={() => go('home')} />}
    </Page.Provider>
  );
}

function ReloadNotice({ text, onReload }: { readonly text: string; readonly onReload: () => void }) {
  const { messages } = usePage();
  return (
    <div class="notice row">
      <span>{text}</span>
      <button type="button" class="quiet" onClick={onReload}>
        {messages.home.reload}
      </button>
    </div>
  );
}

function PageHeader({ phone, messages, route, go }: AppProps) {
  const heading = useRef<HTMLHeadingElement>(null);
  const [shown, setShown] = useState(route);
  // A new view begins at its heading, for the keyboard and for screen readers.
  useEffect(() => {
    if (shown === route) return;
    setShown(route);
    scrollTo(0, 0);
    heading.current?.focus();
  }, [route]);
  const hasComputers = phone.computers.length > 0;
  if (route !== 'home') {
    return (
      <header class="top">
        <button type="button" class="icon-button" aria-label={messages.home.back} onClick={() => go('home')}>
          <BackIcon />
        </button>
        <h1 ref={heading} tabIndex={-1}>
          {route === 'pair' ? messages.pairing.title : messages.settings.title}
        </h1>
      </header>
    );
  }
  return (
    <header class="top">
      <h1 ref={heading} tabIndex={-1}>
        {messages.product}
      </h1>
      {hasComputers && (
        <>
          <p class={phone.waitingCount > 0 ? 'count some' : 'count'}>
            <span aria-hidden="true">{messages.waitingShort(phone.waitingCount)}</span>
            <span class="unseen">{messages.waiting(phone.waitingCount)}</span>
          </p>
          <button type="button" class="icon-button" aria-label={messages.home.pairComputer} onClick={() => go('pair')}>
            <PlusIcon />
          </button>
        </>
      )}
      {phone.isReady && (
        <button type="button" class="icon-button" aria-label={messages.home.settings} onClick={() => go('settings')}>
          <GearIcon />
        </button>
      )}
    </header>
  );
}

function BackOnEscape({ onBack }: { onBack: () => void }) {
  useEffect(() => {
    const listen = (event: KeyboardEvent) => {
      const isInDialog = event.target instanceof Element && event.target.closest('dialog') !== null;
      if (event.key === 'Escape' && !event.defaultPrevented && !isInDialog) onBack();
    };
    addEventListener('keydown', listen);
    return () => removeEventListener('keydown', listen);
  }, [onBack]);
  return null;
}
