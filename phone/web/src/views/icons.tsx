import type { ComponentChildren } from 'preact';

/// Drawn beside words that say the same, so hidden from screen readers.
function Icon({ children }: { children: ComponentChildren }) {
  return (
    <svg class="icon" viewBox="0 0 24 24" aria-hidden="true" focusable="false">
      {children}
    </svg>
  );
}

export const PlusIcon = () => (
  <Icon>
    <path d="M12 5v14M5 12h14" />
  </Icon>
);

export const GearIcon = () => (
  <Icon>
    <path d="M4 7h9M17 7h3M4 17h3M11 17h9" />
    <circle cx="15" cy="7" r="2.2" />
    <circle cx="9" cy="17" r="2.2" />
  </Icon>
);

export const BackIcon = () => (
  <Icon>
    <path d="M14.5 5.5 8 12l6.5 6.5" />
  </Icon>
);

export const CameraIcon = () => (
  <Icon>
    <path d="M4 9V6.5A2.5 2.5 0 0 1 6.5 4H9M15 4h2.5A2.5 2.5 0 0 1 20 6.5V9M20 15v2.5a2.5 2.5 0 0 1-2.5 2.5H15M9 20H6.5A2.5 2.5 0 0 1 4 17.5V15" />
    <path d="M9 9h2v2H9zM13.5 9h1.5M9 14h1.5M13.5 13.5H15V15" />
  </Icon>
);

export const PictureIcon = () => (
  <Icon>
    <rect x="4" y="5" width="16" height="14" rx="2.5" />
    <circle cx="9" cy="10" r="1.4" />
    <path d="m5 17 4.5-4 3 2.5 3.5-3.5 3.5 3.5" />
  </Icon>
);

export const CheckIcon = () => (
  <Icon>
    <path d="m5.5 12.5 4.2 4.2 8.8-9.4" />
  </Icon>
);

export const QuietIcon = () => (
  <svg class="art" viewBox="0 0 64 64" aria-hidden="true" focusable="false">
    <circle cx="32" cy="32" r="23" />
    <path d="m22.5 33 6.8 6.8L42.5 25" />
  </svg>
);
