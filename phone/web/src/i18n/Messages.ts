import type { CardEnd, CardNote } from '../core/ApprovalBoard';
import type { StopReason, WaitCause } from '../core/closeCodes';
import type { PairingCodeProblem } from '../core/pairingCode';
import type { PushState } from '../core/push';

export type AgeUnit = 'second' | 'minute' | 'hour' | 'day';
export type PlatformName = 'iphone' | 'ipad' | 'android' | 'mac' | 'windows' | 'linux' | 'other';

type NoteWith<Member extends string> = Extract<CardNote, Record<Member, unknown>>['kind'];
type EndWith<Member extends string> = Extract<CardEnd, Record<Member, unknown>>['kind'];

/// Every text of the page. A language is one table of this type; the compiler says what it lacks.
export interface Messages {
  /// As in the `lang` attribute.
  readonly language: string;
  readonly product: string;
  readonly titleWaiting: (count: number) => string;
  readonly waiting: (count: number) => string;
  /// The same where there is little room.
  readonly waitingShort: (count: number) => string;
  readonly loading: string;

  readonly home: {
    readonly pairComputer: string;
    readonly settings: string;
    readonly back: string;
    readonly welcomeTitle: string;
    readonly welcomeText: string;
    readonly welcomeSteps: readonly string[];
    readonly defaultComputerName: (number: number) => string;
    readonly nothingWaits: string;
    readonly nothingKnown: string;
    readonly reload: string;
    readonly updateReady: string;
    readonly failed: string;
  };

  readonly unable: Record<'insecureTitle' | 'insecureText' | 'storageTitle' | 'storageText', string>;

  readonly age: {
    readonly now: string;
    readonly ago: (value: number, unit: AgeUnit) => string;
  };

  readonly connection: {
    readonly idle: string;
    readonly connecting: string;
    readonly live: string;
    readonly agentOffline: string;
    readonly waiting: Record<WaitCause, string>;
    readonly stopped: Record<StopReason, string>;
    readonly stoppedText: Record<StopReason, string>;
    readonly connectAgain: string;
    readonly remove: string;
    readonly pairAgain: string;
    readonly lastChange: (age: string) => string;
    readonly asOf: (age: string) => string;
    readonly noList: string;
    readonly agentOfflineText: string;
    readonly mayNotRead: string;
    readonly unreadable: string;
  };

  readonly card: {
    readonly heading: (app: string, title: string) => string;
    readonly recommended: string;
    readonly noButtons: string;
    readonly needsComputer: string;
    readonly directAccess: string;
    readonly armed: (label: string) => string;
    readonly armedHint: string;
    readonly pressing: (label: string) => string;
    readonly offlineHint: string;
    readonly suppress: string;
    readonly suppressing: string;
    readonly undo: string;
    readonly note: Record<Exclude<NoteWith<'label'>, 'failed'>, (label: string) => string> &
      Record<Exclude<CardNote['kind'], NoteWith<'label'>>, string> & {
        readonly failed: (label: string, error: string | undefined) => string;
      };
    readonly end: Record<EndWith<'label'>, (label: string) => string> &
      Record<Exclude<CardEnd['kind'], EndWith<'label'>>, string>;
  };

  readonly announce: {
    readonly appeared: (heading: string) => string;
    readonly armed: (label: string) => string;
    readonly paired: (name: string) => string;
    readonly unpaired: (name: string) => string;
    readonly left: (name: string) => string;
    readonly saved: string;
    readonly shownAgain: string;
  };

  readonly pairing: Record<
    | 'title' | 'lead' | 'scan' | 'stopScan' | 'scanning' | 'cameraView' | 'noCamera' | 'cameraDenied' | 'picture'
    | 'pictureWithoutCode' | 'pictureUnreadable' | 'text' | 'textHint' | 'useText' | 'codeRead' | 'alreadyPaired'
    | 'phoneName' | 'phoneNameHint' | 'computerName' | 'computerNameHint' | 'pair' | 'cancel' | 'tryAgain'
    | 'connecting' | 'otherRelay',
    string
  > & {
    readonly problems: Record<PairingCodeProblem, string>;
    readonly refused: Record<StopReason, string>;
  };

  readonly settings: Record<
    | 'title' | 'phone' | 'phoneName' | 'save' | 'notifications' | 'notificationsSwitch' | 'notificationsPrivate'
    | 'notificationsFailed'
    | 'computerName' | 'muted' | 'mutedHint' | 'noneMuted' | 'showAgain' | 'showAgainOffline' | 'unpair' | 'unpairText'
    | 'unpairOfflineText' | 'confirmUnpair' | 'keep' | 'about' | 'licenses',
    string
  > & {
    readonly notificationStates: Record<Exclude<PushState, 'on' | 'off'>, string>;
    readonly showAgainOf: (heading: string) => string;
    readonly unpairQuestion: (name: string) => string;
  };

  readonly push: { readonly title: string; readonly body: string };
  readonly platforms: Record<PlatformName, string>;
}
