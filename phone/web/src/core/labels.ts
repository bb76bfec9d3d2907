import { normalizedLabel } from './text';

/// The labels that the agent takes for a deny: a dialog that needs direct access can be answered by these alone. Both
/// apostrophes are listed, and neither is folded into the other, as the agent does it.
const denyLabels = new Set([
  'cancel',
  'deny',
  'don’t allow',
  "don't allow",
  'not now',
  'no',
  'later',
  'skip',
]);

export function isDeny(label: string): boolean {
  return denyLabels.has(normalizedLabel(label));
}

/// The words of one language that tell a button which destroys something.
interface DangerTable {
  /// A word that destroys, wherever it stands in the label.
  readonly words: readonly string[];
  /// Several words that destroy together.
  readonly phrases: readonly string[];
  /// A label that begins so keeps things as they are.
  readonly harmlessBeginnings: readonly string[];
  /// Whole labels that destroy although they begin harmlessly.
  readonly exceptions: readonly string[];
}

const english: DangerTable = {
  words: [
    'delete', 'erase', 'empty', 'remove', 'discard', 'destroy', 'wipe', 'overwrite', 'replace', 'format', 'reset',
    'purge', 'shred', 'uninstall', 'clear', 'revert', 'trash', 'reformat', 'unlink', 'drop',
  ],
  phrases: [
    'move to bin', 'move to wastebasket', 'throw away', 'without saving', 'lose changes', 'force quit',
    'factory settings',
  ],
  harmlessBeginnings: [
    "don't", 'do not', 'dont', 'never', 'not', 'no', 'keep', 'cancel', 'skip', 'show', 'undo', 'restore', 'learn',
    'review', 'stop', 'back',
  ],
  exceptions: ["don't save", 'do not save', 'dont save', "don't keep", 'do not keep', 'dont keep', 'stop and discard'],
};

const tables = [english];

/// Words alone, with the straight apostrophe.
function plainWords(label: string): string {
  return normalizedLabel(label)
    .replaceAll('’', "'")
    .replace(/[^\p{Letter}\p{Number}']+/gu, ' ')
    .trim();
}

/// Whether a button asks for a second tap. Judged by its label alone: what a dialog's title says is said of the whole
/// dialog, its harmless buttons included.
export function isDangerous(label: string): boolean {
  const text = plainWords(label);
  const words = text.split(' ');
  const contains = (phrase: string) => ` ${text} `.includes(` ${phrase} `);
  return tables.some((table) => {
    if (table.exceptions.some((exception) => `${text} `.startsWith(`${exception} `))) return true;
    if (table.harmlessBeginnings.some((beginning) => `${text} `.startsWith(`${beginning} `))) return false;
    return table.words.some((word) => words.includes(word)) || table.phrases.some(contains);
  });
}
