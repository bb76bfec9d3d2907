// Node 18 has the browsers' cryptography, but not under its name.
import { webcrypto } from 'node:crypto';

globalThis.crypto ??= webcrypto;
