export class DecodingError extends Error {
  override readonly name = 'DecodingError';
}

/// JSON text as a value; throws a DecodingError that repeats nothing of the text.
export function parsedJson(text: string): unknown {
  try {
    return JSON.parse(text);
  } catch {
    throw new DecodingError('This is no JSON.');
  }
}

/// Reads the members of one JSON object. A missing member and null both read as absent; what is required and is
/// absent, or has the wrong type, throws a DecodingError. Members that nobody asks for are ignored.
export class JsonReader {
  private readonly members: Map<string, unknown>;

  constructor(value: unknown) {
    if (typeof value !== 'object' || value === null || Array.isArray(value)) {
      throw new DecodingError('An object was expected.');
    }
    this.members = new Map(Object.entries(value));
  }

  string(name: string): string {
    return this.required(name, this.optionalString(name));
  }

  optionalString(name: string): string | undefined {
    return this.typed(name, (value): value is string => typeof value === 'string', 'a text');
  }

  number(name: string): number {
    return this.required(
      name,
      this.typed(name, (value): value is number => typeof value === 'number', 'a number'),
    );
  }

  integer(name: string): number {
    return this.required(
      name,
      this.typed(name, (value): value is number => Number.isSafeInteger(value), 'an integer'),
    );
  }

  boolean(name: string): boolean {
    return this.required(
      name,
      this.typed(name, (value): value is boolean => typeof value === 'boolean', 'true or false'),
    );
  }

  array<T>(name: string, element: (value: unknown) => T): T[] {
    const values = this.typed(name, (value): value is unknown[] => Array.isArray(value), 'a list');
    return this.required(name, values).map(element);
  }

  object<T>(name: string, decode: (value: unknown) => T): T {
    return decode(this.required(name, this.members.get(name)));
  }

  private required<T>(name: string, value: T | undefined | null): T {
    if (value === undefined || value === null) throw new DecodingError(`"${name}" is missing.`);
    return value;
  }

  private typed<T>(name: string, is: (value: unknown) => value is T, expected: string): T | undefined {
    const value = this.members.get(name);
    if (value === undefined || value === null) return undefined;
    if (!is(value)) throw new DecodingError(`"${name}" is not ${expected}.`);
    return value;
  }
}

/// An element of a list that must be text.
export function textElement(value: unknown): string {
  if (typeof value !== 'string') throw new DecodingError('A list of texts holds something else.');
  return value;
}
