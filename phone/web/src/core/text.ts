/// White space as Unicode defines it, which is what the computer trims. JavaScript's own trim() differs: it takes
/// U+FEFF and leaves U+0085.
const leading = /^\p{White_Space}+/u;
const whiteSpaceRun = /\p{White_Space}+/gu;
const lastIsWhite = /\p{White_Space}$/u;

export function trimmed(text: string): string {
  const begun = text.replace(leading, '');
  let end = begun.length;
  // White space lies within the first plane: one unit each.
  while (end > 0 && lastIsWhite.test(begun.charAt(end - 1))) end -= 1;
  return begun.slice(0, end);
}

/// Labels are compared in this form: trimmed, runs of white space as one space, in lower case.
export function normalizedLabel(text: string): string {
  return trimmed(text).replace(whiteSpaceRun, ' ').toLowerCase();
}

/// At most `count` characters, none of them cut in two.
export function limited(text: string, count: number): string {
  const characters = Array.from(text);
  return characters.length <= count ? text : characters.slice(0, count).join('');
}
