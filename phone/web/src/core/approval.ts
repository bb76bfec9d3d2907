import { DecodingError, JsonReader, parsedJson, textElement } from './json';
import { decodedDate, decodedUuid } from './values';

export interface ApprovalButton {
  /// Sent back exactly as it is.
  readonly label: string;
}

/// One dialog that waits for an answer; of what the computer sends, what the page shows or sends back.
export interface Approval {
  readonly id: string;
  /// Names the dialog, whenever it appears.
  readonly suppressionID: string;
  /// Milliseconds since 1970.
  readonly detectedAt: number;
  readonly appName: string;
  readonly windowTitle: string;
  readonly messageLines: readonly string[];
  readonly buttons: readonly ApprovalButton[];
  readonly recommendedButtonLabel?: string;
  readonly requiresDirectAccess: boolean;
  readonly directAccessReason?: string;
}

function decodedFrame(value: unknown): void {
  const reader = new JsonReader(value);
  for (const member of ['x', 'y', 'width', 'height']) reader.number(member);
}

function decodedButton(value: unknown): ApprovalButton {
  const reader = new JsonReader(value);
  reader.string('role');
  decodedFrame(value);
  return { label: reader.string('label') };
}

function decodedApproval(value: unknown): Approval {
  const reader = new JsonReader(value);
  const id = decodedUuid(reader.string('id'));
  const suppressionID = reader.optionalString('suppressionID');
  const recommended = reader.optionalString('recommendedButtonLabel');
  const reason = reader.optionalString('directAccessReason');
  reader.integer('processIdentifier');
  reader.string('windowRole');
  reader.object('windowFrame', decodedFrame);
  reader.string('reason');
  reader.boolean('isFallbackDetection');
  return {
    id,
    suppressionID: suppressionID === undefined ? id : decodedUuid(suppressionID),
    detectedAt: decodedDate(reader.string('detectedAt')),
    appName: reader.string('appName'),
    windowTitle: reader.string('windowTitle'),
    messageLines: reader.array('messageLines', textElement),
    buttons: reader.array('buttons', decodedButton),
    ...(recommended !== undefined && { recommendedButtonLabel: recommended }),
    requiresDirectAccess: reader.boolean('requiresDirectAccess'),
    ...(reason !== undefined && { directAccessReason: reason }),
  };
}

/// The sealed list's text. One record that cannot be read spoils the list: nothing is shown in part.
export function decodedApprovals(text: string): Approval[] {
  const value = parsedJson(text);
  if (!Array.isArray(value)) throw new DecodingError('A list of approvals was expected.');
  return value.map(decodedApproval);
}

/// Whether two records show the same dialog in the same words, so that a finger over one means the other as well.
export function looksAlike(one: Approval, other: Approval): boolean {
  const looks = ({ id: _, suppressionID: __, detectedAt: ___, ...rest }: Approval) => JSON.stringify(rest);
  return looks(one) === looks(other);
}
