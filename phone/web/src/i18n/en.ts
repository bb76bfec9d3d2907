import type { Messages } from './Messages';

const plural = new Intl.PluralRules('en');

function approvals(count: number): string {
  return plural.select(count) === 'one' ? `${count} approval` : `${count} approvals`;
}

const quoted = (text: string) => `“${text}”`;

export const english: Messages = {
  language: 'en',
  product: 'Tallyfox',
  titleWaiting: (count) => (count === 0 ? 'Tallyfox' : `(${count}) Tallyfox`),
  waiting: (count) => (count === 0 ? 'Nothing is waiting' : `${approvals(count)} waiting`),
  waitingShort: (count) => `${count} waiting`,
  loading: 'One moment …',

  home: {
    pairComputer: 'Pair a computer',
    settings: 'Settings',
    back: 'Back',
    welcomeTitle: 'Answer your computer from here',
    welcomeText:
      'When a program on your computer asks for permission, Tallyfox shows the question on this phone. What it says is encrypted between your computer and this page; nobody between them can read it.',
    welcomeSteps: [
      'Start Tallyfox on your computer.',
      'Its window shows a pairing code.',
      'Scan the code with this phone.',
    ],
    defaultComputerName: (number) => (number === 1 ? 'My computer' : `My computer ${number}`),
    nothingWaits: 'All quiet. New questions appear here by themselves.',
    nothingKnown: 'No list has arrived yet.',
    reload: 'Reload',
    updateReady: 'A new version of this page is ready.',
    failed: 'Something went wrong in this page. What you did last may not have been kept.',
  },

  unable: {
    insecureTitle: 'This page needs a secure address',
    insecureText:
      'Browsers offer encryption only to pages whose address begins with https. Open the page by the https address of your relay.',
    storageTitle: 'This browser keeps nothing for this page',
    storageText:
      'Pairings are kept in the browser’s database, and it could not be opened. Private windows often forbid it: open the page in a normal window.',
  },

  age: {
    now: 'just now',
    ago: (value, unit) =>
      new Intl.RelativeTimeFormat('en', { style: 'narrow', numeric: 'always' }).format(-value, unit),
  },

  connection: {
    idle: 'Not connected',
    connecting: 'Connecting …',
    live: 'Connected',
    agentOffline: 'Computer offline',
    waiting: {
      lost: 'No connection, trying again',
      relayStopped: 'The relay restarts, trying again',
      relayTrouble: 'The relay has a problem, trying again',
      relayBusy: 'The relay is busy, trying again',
      tooSlow: 'The connection was too slow, trying again',
    },
    stopped: {
      left: 'Unpaired',
      takenOver: 'Opened elsewhere',
      notUnderstood: 'Not understood',
      wrongSecret: 'No longer valid',
      unpaired: 'Unpaired',
      tooManyPhones: 'Too many phones',
      otherVersion: 'Other version',
    },
    stoppedText: {
      left: 'This phone left the pairing.',
      takenOver:
        'This phone opened too many connections to the computer, and the relay closed this one. Perhaps the page is open in other tabs.',
      notUnderstood: 'The relay did not understand this page. Reload it, so that both are of one version.',
      wrongSecret: 'The relay does not know this pairing any more. Pair again with the code that the computer shows.',
      unpaired: 'The computer unpaired this phone, and its keys were deleted here. Pair again with a new code.',
      tooManyPhones: 'The computer has 16 phones already. Unpair one of them on the computer first.',
      otherVersion: 'The relay speaks another version of the protocol. Reload this page.',
    },
    connectAgain: 'Connect again',
    remove: 'Remove',
    pairAgain: 'Pair again',
    lastChange: (age) => `Up to date, last change ${age}`,
    asOf: (age) => `As of ${age}, may be out of date`,
    noList: 'Waiting for the list',
    agentOfflineText: 'The computer is not connected to the relay. It may be asleep, or Tallyfox does not run.',
    mayNotRead:
      'Tallyfox may not read the windows of other programs on this computer, so it finds no questions. Its status window on the computer says how to allow it.',
    unreadable:
      'A message of the computer could not be read. If this stays, unpair this phone and pair it again with a new code.',
  },

  card: {
    heading: (app, title) => (title === '' ? `${app} needs attention` : `${app}: ${title}`),
    recommended: 'Recommended',
    noButtons: 'This dialog has no buttons that Tallyfox can press.',
    needsComputer: 'Only at the computer',
    directAccess: 'This needs you at the computer. From here it can only be denied.',
    armed: (label) => `Tap again: ${label}`,
    armedHint: 'Tap it again within five seconds to confirm.',
    pressing: (label) => `Pressing ${quoted(label)} …`,
    offlineHint: 'The computer cannot be reached now.',
    suppress: 'Do not show on my phones again',
    suppressing: 'Not shown on your phones any more.',
    undo: 'Undo',
    note: {
      failed: (label, error) => `${quoted(label)} could not be pressed. ${error ?? ''}`.trim(),
      notFound: (label) => `${quoted(label)} was not found: the dialog has changed or is gone.`,
      needsDirectAccess: (label) => `${quoted(label)} can only be pressed at the computer itself.`,
      offline: 'The computer is offline. Nothing was pressed.',
      notSent: 'There was no connection. Nothing was sent.',
      uncertain: (label) => `${quoted(label)} may have been pressed. The list will tell.`,
      unanswered: (label) => `No answer yet: ${quoted(label)} may have been pressed. The list will tell.`,
      otherPhoneFailed: (label) => `Another phone tried ${quoted(label)}, without success.`,
    },
    end: {
      accepted: (label) => `Done: ${quoted(label)} was pressed.`,
      gone: 'No longer waiting: the dialog is gone.',
      goneUnconfirmed: (label) =>
        `The dialog is gone. ${quoted(label)} may have been pressed; its result did not arrive.`,
      otherPhone: (label) => `Answered on another phone: ${quoted(label)}.`,
      suppressed: 'Not shown on your phones any more.',
    },
  },

  announce: {
    appeared: (heading) => `New: ${heading}`,
    armed: (label) => `Tap ${quoted(label)} again within five seconds to confirm.`,
    paired: (name) => `${name} is paired.`,
    unpaired: (name) => `${name} unpaired this phone.`,
    left: (name) => `This phone left ${name}.`,
    saved: 'Saved.',
    shownAgain: 'It will be shown again.',
  },

  pairing: {
    title: 'Pair a computer',
    lead: 'The code is in the Tallyfox window on your computer. Whoever sees it can pair.',
    scan: 'Scan with the camera',
    stopScan: 'Stop the camera',
    scanning: 'Hold the code in front of the camera.',
    cameraView: 'What the camera sees',
    noCamera: 'No camera could be opened. Choose a picture of the code or paste its text.',
    cameraDenied: 'The camera is not allowed for this page. Allow it in the browser, or choose a picture of the code.',
    picture: 'Choose a picture of the code',
    pictureWithoutCode: 'No code was found in this picture. Take it from closer and straight on.',
    pictureUnreadable: 'This file is no picture that the browser can read.',
    text: 'Text of the code',
    textHint: 'If you copied the code’s text, paste it here.',
    useText: 'Use this text',
    codeRead: 'The code was read.',
    alreadyPaired: 'This computer is already paired with this phone. Going on renews the pairing.',
    phoneName: 'Name of this phone',
    phoneNameHint: 'The computer lists this phone under this name.',
    computerName: 'Name of the computer',
    computerNameHint: 'Only for you, on this phone.',
    pair: 'Pair',
    cancel: 'Cancel',
    tryAgain: 'Use another code',
    connecting: 'Saying hello to the relay …',
    otherRelay: 'This code belongs to another relay. Open that relay’s page and scan the code there:',
    problems: {
      empty: 'There is no text.',
      tooLong: 'This text is too long to be a pairing code.',
      notJson: 'This is no pairing code: its text cannot be read.',
      notTallyfox: 'This code is not from Tallyfox.',
      otherVersion: 'This code is of another version. Update Tallyfox on the computer and this page.',
      noAddress: 'The code names no relay. Set up a relay on the computer first.',
      badAddress: 'The relay’s address in the code is not valid.',
      insecureAddress: 'The relay’s address in the code is not secure: it must begin with https.',
      badPairingID: 'The code’s pairing identifier is not valid.',
      noRelaySecret: 'The computer has no credentials yet, so its code is incomplete. Its status window says why.',
      noSealingSecret: 'The code holds no encryption secret. The computer’s status window says why.',
      incomplete: 'The code is incomplete. Scan it again, or copy the whole text.',
    },
    refused: {
      left: 'The relay closed the pairing.',
      takenOver: 'Another page of this phone took over. Close it and try again.',
      notUnderstood: 'The relay did not understand this page. Reload it and try again.',
      wrongSecret: 'The relay does not know this code: it has expired. Scan the code that the computer shows now.',
      unpaired: 'This pairing was revoked on the computer. Scan the code that the computer shows now.',
      tooManyPhones: 'The computer has 16 phones already. Unpair one of them on the computer, then try again.',
      otherVersion: 'The relay speaks another version of the protocol. Reload this page and try again.',
    },
  },

  settings: {
    title: 'Settings',
    phone: 'This phone',
    phoneName: 'Name of this phone',
    save: 'Save',
    notifications: 'Notifications',
    notificationsSwitch: 'Notify me when something new waits',
    notificationsPrivate: 'Notifications say only that something waits, never what.',
    notificationsFailed: 'Notifications could not be switched on. The browser refused, or its push service is not reachable.',
    notificationStates: {
      unknown: 'The relay could not be asked whether it sends notifications.',
      noKey: 'This relay sends no notifications. New questions appear while this page is open.',
      unsupported: 'This browser cannot receive notifications. New questions appear while this page is open.',
      needsInstall: 'Add this page to your home screen first: your phone gives notifications to installed pages only.',
      blocked: 'Notifications are blocked for this page. Allow them in the browser’s settings.',
    },
    computerName: 'Name of the computer',
    muted: 'Not shown on my phones',
    mutedHint: 'Dialogs that you muted on this phone.',
    noneMuted: 'Nothing is muted from this phone.',
    showAgain: 'Show again',
    showAgainOf: (heading) => `Show again: ${heading}`,
    showAgainOffline: 'The computer must be online for this.',
    unpair: 'Unpair this phone',
    unpairQuestion: (name) => `Unpair from ${name}?`,
    unpairText: 'The keys on this phone are deleted, and the relay forgets it. To come back, scan a new code.',
    unpairOfflineText:
      'The keys on this phone are deleted. The relay cannot be reached now, so the computer lists this phone until you unpair it there.',
    confirmUnpair: 'Unpair',
    keep: 'Keep',
    about: 'What you answer is encrypted on this phone and read only by your computer.',
    licenses: 'Licences',
  },

  push: {
    title: 'Tallyfox',
    body: 'Your computer may be waiting for an answer.',
  },

  platforms: {
    iphone: 'iPhone',
    ipad: 'iPad',
    android: 'Android phone',
    mac: 'Mac',
    windows: 'Windows computer',
    linux: 'Linux computer',
    other: 'Phone',
  },
};
