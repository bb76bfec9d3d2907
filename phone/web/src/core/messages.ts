import { JsonReader, parsedJson } from './json';
import { decodedSealedPayload, type SealedPayload } from './sealing';
import { decodedDate, decodedUuid, encodedDate } from './values';

/// What a relay sends a phone. Types that are not known are "unknown" and ignored.
export type IncomingMessage =
  | { readonly type: 'relay.welcome'; readonly version: number; readonly agentConnected: boolean }
  | { readonly type: 'agent.status'; readonly agentConnected: boolean }
  | {
      readonly type: 'mac.snapshot';
      /// Milliseconds since 1970 on the computer's clock.
      readonly observedAt: number;
      readonly accessibilityTrusted: boolean;
      readonly encryptedApprovals: SealedPayload;
    }
  | { readonly type: 'approval.result'; readonly decisionID: string; readonly encryptedResult: SealedPayload }
  | { readonly type: 'decision.undeliverable'; readonly decisionID: string; readonly reason: string }
  | { readonly type: 'phone.unpaired' }
  /// In seconds from now; the close follows.
  | { readonly type: 'relay.restart'; readonly reconnectAfter: number }
  | { readonly type: 'unknown' };

export const resultStatuses = ['accepted', 'failed', 'not_found', 'requires_direct_access'] as const;
export type ResultStatus = (typeof resultStatuses)[number];

/// What came of one decision.
export interface ApprovalResult {
  readonly approvalID: string;
  readonly buttonLabel: string;
  /// A status that is not known counts as a failure.
  readonly status: ResultStatus;
  readonly error?: string;
}

export interface PhoneHello {
  readonly pairingID: string;
  readonly relaySecret: string;
  readonly deviceID: string;
  readonly deviceName: string;
  readonly platform: string;
}

export interface SuppressionCommand {
  readonly action: 'suppress' | 'unsuppress';
  readonly approvalID?: string;
  readonly suppressionID: string;
}

/// Throws a DecodingError.
export function decodedMessage(text: string): IncomingMessage {
  const reader = new JsonReader(parsedJson(text));
  const type = reader.string('type');
  switch (type) {
    case 'relay.welcome':
      return { type, version: reader.integer('version'), agentConnected: reader.boolean('agentConnected') };
    case 'agent.status':
      return { type, agentConnected: reader.boolean('agentConnected') };
    case 'mac.snapshot':
      return {
        type,
        observedAt: decodedDate(reader.string('observedAt')),
        accessibilityTrusted: reader.boolean('accessibilityTrusted'),
        encryptedApprovals: reader.object('encryptedApprovals', decodedSealedPayload),
      };
    case 'approval.result':
      return {
        type,
        decisionID: reader.string('decisionID'),
        encryptedResult: reader.object('encryptedResult', decodedSealedPayload),
      };
    case 'decision.undeliverable':
      return { type, decisionID: reader.string('decisionID'), reason: reader.optionalString('reason') ?? 'offline' };
    case 'relay.restart':
      return { type, reconnectAfter: reader.number('reconnectAfter') };
    case 'phone.unpaired':
      return { type };
    default:
      return { type: 'unknown' };
  }
}

export function decodedResult(text: string): ApprovalResult {
  const reader = new JsonReader(parsedJson(text));
  const status = reader.string('status');
  const error = reader.optionalString('error');
  return {
    approvalID: decodedUuid(reader.string('approvalID')),
    buttonLabel: reader.string('buttonLabel'),
    status: resultStatuses.find((known) => known === status) ?? 'failed',
    ...(error !== undefined && { error }),
  };
}

export function helloText(hello: PhoneHello): string {
  const { pairingID, relaySecret, deviceID, deviceName, platform } = hello;
  return JSON.stringify({ type: 'phone.hello', version: 1, pairingID, relaySecret, deviceID, deviceName, platform });
}

/// What is sealed in a request to press a button.
export function requestPlaintext(approvalID: string, buttonLabel: string): string {
  return JSON.stringify({ approvalID, buttonLabel });
}

export function suppressionPlaintext({ action, approvalID, suppressionID }: SuppressionCommand): string {
  return JSON.stringify({ action, ...(approvalID !== undefined && { approvalID }), suppressionID });
}

export function requestText(decisionID: string, encryptedRequest: SealedPayload, now: number): string {
  return JSON.stringify({ type: 'approval.request', decisionID, encryptedRequest, issuedAt: encodedDate(now) });
}

export function suppressionText(
  action: SuppressionCommand['action'],
  decisionID: string,
  encryptedSuppression: SealedPayload,
  now: number,
): string {
  return JSON.stringify({ type: `approval.${action}`, decisionID, encryptedSuppression, issuedAt: encodedDate(now) });
}

export const leaveText = JSON.stringify({ type: 'phone.leave' });
export const pushUnsubscribeText = JSON.stringify({ type: 'push.unsubscribe' });

export function pushSubscribeText(endpoint: string): string {
  return JSON.stringify({ type: 'push.subscribe', endpoint });
}
