import { type ChildProcess, spawn } from 'node:child_process';
import path from 'node:path';
import { createInterface, type Interface } from 'node:readline';

import { buildFolder, projectFolder, servedFolder, worldFolder, worldProgram } from './places.ts';
import { copyServedPage } from './servedPage.ts';

/** What the agent says of itself; more members than are named here. */
export interface AgentStatus {
  relayConnected: boolean;
  phones: { deviceName: string; platform?: string; connected: boolean }[];
  pendingApprovalCount: number;
  alerts: { paused: boolean };
}

/** The relay and the computers: see world.py. One request is under way at a time. */
export class World {
  private readonly process: ChildProcess;
  private readonly answers: AsyncIterator<string>;
  private readonly reader: Interface;
  private last: Promise<unknown> = Promise.resolve();

  constructor() {
    copyServedPage();
    this.process = spawn('python3', ['-B', worldProgram, buildFolder, servedFolder, worldFolder], {
      stdio: ['pipe', 'pipe', 'inherit'],
    });
    this.reader = createInterface({ input: this.process.stdout! });
    this.answers = this.reader[Symbol.asyncIterator]();
  }

  /** Carries out one request; refuses with the world's own sentence. */
  request(action: string, words: Record<string, unknown> = {}): Promise<unknown> {
    const answer = this.last.then(async () => {
      this.process.stdin!.write(`${JSON.stringify({ do: action, ...words })}\n`);
      const line = await this.answers.next();
      if (line.done) throw new Error('world.py ended by itself');
      const { result, error } = JSON.parse(line.value) as { result?: unknown; error?: string };
      if (error !== undefined) throw new Error(`${action}: ${error}`);
      return result;
    });
    this.last = answer.catch(() => undefined);
    return answer;
  }

  /** Ends every program of the world. */
  async end(): Promise<void> {
    const ended = new Promise((resolve) => this.process.once('exit', resolve));
    this.process.stdin!.end();
    await ended;
  }

  async stopRelay(): Promise<void> {
    await this.request('stop_relay');
  }
  async startRelay(): Promise<void> {
    await this.request('start_relay');
  }
  /** What a camera sees that is brought before a picture. */
  async filmPicture(picture: string, video: string): Promise<void> {
    await this.request('film_picture', { picture, video });
  }
}

/** An application that asks, on a computer's screen. */
export class Dialog {
  constructor(
    private readonly computer: Computer,
    private readonly number: number,
  ) {}

  /** Waits until the application has ended and its window has gone: the exit status. */
  async ended(): Promise<number> {
    return (await this.computer.request('ended', { number: this.number })) as number;
  }
  async close(): Promise<void> {
    await this.computer.request('close', { number: this.number });
  }
  async isOpen(): Promise<boolean> {
    return (await this.computer.request('is_open', { number: this.number })) as boolean;
  }
}

/** A desktop with an agent that shows a pairing code of its own. */
export class Computer {
  private constructor(
    private readonly world: World,
    private readonly name: string,
    readonly origin: string,
  ) {}

  /** A computer that was never paired; a name that was used before gives a new agent on the same desktop. */
  static async begin(world: World, name: string): Promise<Computer> {
    return new Computer(world, name, (await world.request('begin', { computer: name })) as string);
  }

  request(action: string, words: Record<string, unknown> = {}): Promise<unknown> {
    return this.world.request(action, { computer: this.name, ...words });
  }

  /** The content of the code on its screen, as soon as there is one. */
  async code(): Promise<string> {
    return (await this.request('code')) as string;
  }
  async codeOnScreen(): Promise<string | null> {
    return (await this.request('code_on_screen')) as string | null;
  }
  async photograph(picture: string): Promise<void> {
    await this.request('photograph', { picture });
  }
  async film(video: string): Promise<void> {
    await this.request('film', { video });
  }

  async open(...command: string[]): Promise<Dialog> {
    return new Dialog(this, (await this.request('open', { command })) as number);
  }
  /** A question with two buttons; exit status 0 for yes and 1 for no. */
  question(title: string, text: string, yes: string, no: string): Promise<Dialog> {
    return this.open('zenity', '--question', '--title', title, '--text', text, '--ok-label', yes, '--cancel-label', no);
  }
  /** A question with an answer that is recommended: Allow, else Don't Allow. */
  askForAccess(what: string): Promise<Dialog> {
    return this.question(what, `Notes would like to access your ${what.toLowerCase()}.`, 'Allow', "Don't Allow");
  }
  /** A window of a program that does as it is told, which tests/desktop/programs/dialog_program.py says how. */
  obedientDialog(title: string, text: string, ...buttons: string[]): Promise<Dialog> {
    const program = path.join(projectFolder, 'tests/desktop/programs/gtk3_dialog.py');
    return this.open('/usr/bin/python3', '-B', program, title, text, ...buttons);
  }
  /** A prompt with the title Unlock. */
  password(): Promise<Dialog> {
    return this.open('zenity', '--password', '--title', 'Unlock');
  }
  async file(name: string, text: string): Promise<string> {
    return (await this.request('file', { name, text })) as string;
  }

  async press(label: string): Promise<void> {
    await this.request('press', { label });
  }
  async status(): Promise<AgentStatus> {
    return (await this.request('status')) as AgentStatus;
  }
  async stopAgent(): Promise<void> {
    await this.request('stop_agent');
  }
  async killAgent(): Promise<void> {
    await this.request('kill_agent');
  }
  async startAgent(): Promise<void> {
    await this.request('start_agent');
  }
  /** Lets the agent do nothing meanwhile; what reaches it waits. */
  async whileFrozen(action: () => Promise<void>): Promise<void> {
    await this.freezeAgent();
    await action();
    await this.request('thaw_agent');
  }
  async freezeAgent(): Promise<void> {
    await this.request('freeze_agent');
  }
}
