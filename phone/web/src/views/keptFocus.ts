import type { RefObject } from 'preact';
import { useLayoutEffect } from 'preact/hooks';

/// Keeps the keyboard and the screen reader where they are when what they were at goes away: within the element they
/// go to the element itself, and when all of it goes, to the page's main part.
export function useKeptFocus(element: RefObject<HTMLElement>): void {
  // Asked before this drawing changes anything.
  const held = element.current?.contains(document.activeElement) ?? false;
  useLayoutEffect(() => {
    if (held && !element.current?.contains(document.activeElement)) element.current?.focus({ preventScroll: true });
  });
  useLayoutEffect(() => {
    const mounted = element.current;
    return () => {
      if (mounted?.contains(document.activeElement)) document.querySelector('main')?.focus({ preventScroll: true });
    };
  }, []);
}
