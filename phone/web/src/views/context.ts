import { createContext } from 'preact';
import { useContext } from 'preact/hooks';
import type { Phone } from '../core/Phone';
import type { TapGuard } from '../core/TapGuard';
import { english } from '../i18n/en';
import type { Messages } from '../i18n/Messages';

export type Route = 'home' | 'pair' | 'settings';

/// What every view may use.
export interface PageContext {
  readonly phone: Phone;
  readonly taps: TapGuard;
  readonly messages: Messages;
  /// Milliseconds since 1970, a few times a second while the page is looked at.
  readonly now: number;
  readonly go: (route: Route) => void;
  /// Tells a screen reader.
  readonly announce: (text: string) => void;
}

export const Page = createContext<PageContext | undefined>(undefined);

export function usePage(): PageContext {
  const page = useContext(Page);
  if (!page) throw new Error(`${english.product}: a view outside the page.`);
  return page;
}
