// Which buttons are denies, by the agent's own rule, and which ask for a second tap.
import { describe, expect, it } from 'vitest';
import { isDangerous, isDeny } from '../src/core/labels';

describe('denies', () => {
  it.each(['Cancel', ' deny ', 'Don’t Allow', "DON'T   ALLOW", 'Not\u00a0Now', 'no', 'Later', 'SKIP', '\u0085Cancel\n'])(
    'take %j',
    (label) => expect(isDeny(label)).toBe(true),
  );
  it.each(['Allow', 'OK', 'Cancel…', 'Don’t Save', 'Nope', '', 'Quit', '\ufeffCancel', 'Dont Allow'])(
    'leave out %j',
    (label) => expect(isDeny(label)).toBe(false),
  );
});

describe('a second tap', () => {
  it.each([
    'Delete', 'DELETE', 'Delete…', 'Delete All Files', 'Permanently Delete', 'Erase', 'Erase Disk', 'Empty Trash',
    'Empty Bin', 'Empty', 'Move to Trash', 'Move to Bin', 'Remove', 'Discard', 'Discard Changes', 'Replace', 'Replace All',
    'Don’t Save', "Don't Save", 'Close without Saving', 'Close Without Saving', 'Overwrite', 'Reset', 'Uninstall',
    'Yes, delete it', 'Force Quit', '  delete\n', 'Wipe Data',
  ])('is asked by %j', (label) => expect(isDangerous(label)).toBe(true));
  it.each([
    'Don’t Delete', "Don't Delete", 'Do Not Erase', 'Keep', 'Cancel', 'Cancel Deletion', 'Undelete', 'No, Don’t Delete',
    'Show Deleted Files', 'Allow', 'OK', 'Yes', 'Save', 'Open', 'Nonempty', 'Undo Delete', 'Restore', '', '…', 'Not Now',
    'Install', 'Never Delete', 'Keep and Don’t Replace', 'Deleted Items',
  ])('is not asked by %j', (label) => expect(isDangerous(label)).toBe(false));
});
