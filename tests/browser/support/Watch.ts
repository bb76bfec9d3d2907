import type { BrowserContext, ConsoleMessage, Page, Worker } from '@playwright/test';

const localSchemes = ['blob:', 'data:'];

/** Sees to it that a page keeps to its own origin and to its content-security policy, and that nothing goes wrong in it
    or in its service worker that nobody expected. */
export class Watch {
  private readonly problems: string[] = [];
  private readonly expected: RegExp[] = [];

  private constructor(private readonly origin: string) {}

  /** To be called before the context has a page. */
  static async over(context: BrowserContext, origin: string): Promise<Watch> {
    const watch = new Watch(new URL(origin).host);
    await context.exposeBinding('tellOfViolation', (_, text: string) => void watch.problems.push(text));
    await context.addInitScript(() => {
      document.addEventListener(
        'securitypolicyviolation',
        ({ violatedDirective, blockedURI, sourceFile, lineNumber }) => {
          const tell = (globalThis as unknown as { tellOfViolation(text: string): void }).tellOfViolation;
          tell(`policy: ${violatedDirective} of ${blockedURI} at ${sourceFile}:${lineNumber}`);
        },
      );
    });
    context.on('console', (message) => watch.hear(message));
    context.on('weberror', (error) => watch.problems.push(`error: ${error.error().stack ?? error.error().message}`));
    context.on('request', (request) => watch.see(request.url()));
    context.on('serviceworker', (worker: Worker) => worker.on('console', (message) => watch.hear(message)));
    context.on('page', (page: Page) => page.on('websocket', (socket) => watch.see(socket.url())));
    return watch;
  }

  /** What a test brings about itself, such as a refused connection. */
  expect(problem: RegExp): void {
    this.expected.push(problem);
  }

  /** What went wrong that was not expected. */
  findings(): string[] {
    return this.problems.filter((problem) => !this.expected.some((expected) => expected.test(problem)));
  }

  private hear(message: ConsoleMessage): void {
    if (['error', 'warning'].includes(message.type()))
      this.problems.push(`console ${message.type()}: ${message.text()} (${message.location().url})`);
  }

  private see(address: string): void {
    if (localSchemes.some((scheme) => address.startsWith(scheme))) return;
    if (new URL(address).host !== this.origin) this.problems.push(`request to ${address}`);
  }
}
