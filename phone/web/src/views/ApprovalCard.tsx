import { useLayoutEffect, useRef } from 'preact/hooks';
import type { Card } from '../core/ApprovalBoard';
import type { Computer } from '../core/Computer';
import { isDangerous, isDeny } from '../core/labels';
import { normalizedLabel } from '../core/text';
import { ageText, endText, noteText } from '../i18n/wording';
import { usePage } from './context';
import { CheckIcon } from './icons';
import { useKeptFocus } from './keptFocus';

interface Props {
  readonly computer: Computer;
  readonly card: Card;
}

/// An identifier in the document.
function partID(computer: Computer, { approval }: Card, part: string): string {
  return `${computer.id}-${approval.id}-${part}`;
}

/// One dialog that waits, or what became of it.
export function ApprovalCard({ computer, card }: Props) {
  const { messages, now, taps } = usePage();
  const { approval, phase, note } = card;
  const headingID = partID(computer, card, 'heading');
  const article = useRef<HTMLElement>(null);
  useKeptFocus(article);
  useLayoutEffect(() => () => taps.gone(approval.id), [approval.id]);
  const heading = messages.card.heading(approval.appName, approval.windowTitle);
  const isOver = phase.kind === 'ended' || phase.kind === 'suppressing';
  return (
    <article
      ref={article}
      tabIndex={-1}
      class={`card ${isOver ? 'over' : ''}`}
      aria-labelledby={headingID}
      data-settled={taps.accepts(approval.id)}
      data-phase={phase.kind}
    >
      <header class="card-head">
        <h3 id={headingID} dir="auto" aria-label={heading}>
          {approval.windowTitle === '' ? (
            heading
          ) : (
            <>
              <span class="app">{approval.appName}</span>
              <span class="title">{approval.windowTitle}</span>
            </>
          )}
        </h3>
        <time class="age" dateTime={new Date(approval.detectedAt).toISOString()}>
          {ageText(messages, approval.detectedAt, now)}
        </time>
      </header>
      {isOver ? (
        <CardOutcome computer={computer} card={card} />
      ) : (
        <>
          {approval.messageLines.length > 0 && (
            <div class="lines">
              {approval.messageLines.map((line, at) => (
                <p key={at} dir="auto">
                  {line}
                </p>
              ))}
            </div>
          )}
          {approval.requiresDirectAccess && (
            <p class="notice warning" dir="auto">
              {approval.directAccessReason ?? messages.card.directAccess}
            </p>
          )}
          {note && <p class="notice warning">{noteText(messages, note)}</p>}
          <CardButtons computer={computer} card={card} />
        </>
      )}
    </article>
  );
}

function CardOutcome({ computer, card: { approval, phase } }: Props) {
  const { messages } = usePage();
  if (phase.kind === 'ended') {
    const isGood = phase.end.kind === 'accepted';
    return (
      <p class={`outcome ${isGood ? 'good' : ''}`}>
        {isGood && <CheckIcon />}
        {endText(messages, phase.end)}
      </p>
    );
  }
  return (
    <div class="outcome">
      <p>{messages.card.suppressing}</p>
      <button type="button" class="quiet" onClick={() => computer.undoSuppress(approval.id)}>
        {messages.card.undo}
      </button>
    </div>
  );
}

function CardButtons({ computer, card }: Props) {
  const { messages, taps } = usePage();
  const { approval, phase } = card;
  const row = useRef<HTMLDivElement>(null);
  const hintID = partID(computer, card, 'hint');
  // Measured after every drawing, so that whatever moves the buttons is noticed.
  useLayoutEffect(() => {
    const place = row.current?.getBoundingClientRect();
    if (place) taps.place(approval.id, place.left + scrollX, place.top + scrollY);
  });
  const isBusy = phase.kind === 'deciding';
  const hint =
    phase.kind === 'armed'
      ? messages.card.armedHint
      : isBusy
        ? messages.card.pressing(phase.label)
        : computer.canDecide
          ? undefined
          : messages.card.offlineHint;
  return (
    <div class="actions" ref={row}>
      {approval.buttons.length === 0 && <p class="notice">{messages.card.noButtons}</p>}
      <div class="buttons">
        {distinctLabels(card).map((label) => (
          <DecisionButton key={label} computer={computer} card={card} label={label} hintID={hint ? hintID : undefined} />
        ))}
      </div>
      {hint ? (
        // In the place of the button, so that the cards below stay where they are.
        <p class="hint" id={hintID}>
          {isBusy && <span class="spinner" aria-hidden="true" />}
          {hint}
        </p>
      ) : (
        <button
          type="button"
          class="text-button"
          onClick={() => taps.accepts(approval.id) && computer.suppress(approval.id)}
        >
          {messages.card.suppress}
        </button>
      )}
    </div>
  );
}

/// Buttons are told apart by their labels alone, so equal ones are one.
function distinctLabels({ approval }: Card): string[] {
  return [...new Set(approval.buttons.map(({ label }) => label))];
}

interface ButtonProps extends Props {
  readonly label: string;
  readonly hintID: string | undefined;
}

function DecisionButton({ computer, card, label, hintID }: ButtonProps) {
  const { approval, phase } = card;
  const { messages, taps } = usePage();
  const needsComputer = approval.requiresDirectAccess && !isDeny(label);
  const isRecommended =
    approval.recommendedButtonLabel !== undefined &&
    normalizedLabel(approval.recommendedButtonLabel) === normalizedLabel(label);
  const isArmed = phase.kind === 'armed' && phase.label === label;
  const isPressing = phase.kind === 'deciding' && phase.label === label;
  const isDisabled = needsComputer || !computer.canDecide || phase.kind === 'deciding';
  const tagID = partID(computer, card, `tag-${approval.buttons.findIndex((button) => button.label === label)}`);
  const tag = needsComputer ? messages.card.needsComputer : isRecommended ? messages.card.recommended : undefined;
  const described = [tag && tagID, isArmed && hintID].filter(Boolean).join(' ');
  const classes = ['decision'];
  if (isRecommended && !needsComputer) classes.push('recommended');
  if (isDangerous(label)) classes.push('dangerous');
  if (isArmed) classes.push('armed');
  if (isPressing) classes.push('pressing');
  return (
    <div class="decision-place">
      <button
        type="button"
        class={classes.join(' ')}
        aria-disabled={isDisabled}
        {...(described !== '' && { 'aria-describedby': described })}
        onClick={() => !isDisabled && taps.accepts(approval.id) && computer.press(approval.id, label)}
      >
        <span dir="auto">{isArmed ? messages.card.armed(label) : label}</span>
      </button>
      {tag && (
        <span class="tag" id={tagID}>
          {tag}
        </span>
      )}
    </div>
  );
}
