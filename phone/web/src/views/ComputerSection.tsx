import type { Computer } from '../core/Computer';
import { connectionText, freshnessText } from '../i18n/wording';
import { ApprovalCard } from './ApprovalCard';
import { usePage } from './context';
import { QuietIcon } from './icons';

function tone(computer: Computer): 'good' | 'warning' | 'bad' | 'neutral' {
  const state = computer.connectionState;
  if (state.kind === 'connected') return state.agentConnected ? 'good' : 'warning';
  if (state.kind === 'stopped') return 'bad';
  return state.kind === 'waiting' ? 'warning' : 'neutral';
}

/// One computer: how it is connected, how fresh its list is, and its cards.
export function ComputerSection({ computer }: { computer: Computer }) {
  const { messages, now } = usePage();
  const nameID = `computer-${computer.id}`;
  const { cards } = computer.board;
  const hasEnded = !computer.record.secrets;
  const freshness = hasEnded ? '' : freshnessText(messages, computer, now);
  const { isLive } = computer.freshness;
  const status = hasEnded ? messages.connection.stopped.unpaired : connectionText(messages, computer.connectionState);
  return (
    <section class="computer" aria-labelledby={nameID}>
      <header class="computer-head">
        <h2 id={nameID} dir="auto">
          {computer.name}
        </h2>
        <p class="state">
          <span class={`dot ${hasEnded ? 'bad' : tone(computer)}`} aria-hidden="true" />
          <span class="connection">{status}</span>
          {freshness !== '' && <span class={isLive ? 'freshness' : 'freshness stale'}>{freshness}</span>}
        </p>
      </header>
      <ComputerNotices computer={computer} hasEnded={hasEnded} />
      {cards.map((card) => (
        <ApprovalCard key={card.approval.id} computer={computer} card={card} />
      ))}
      {cards.length === 0 && !hasEnded && isLive && !computer.mayNotRead && (
        <div class="empty">
          <QuietIcon />
          <p>{messages.home.nothingWaits}</p>
        </div>
      )}
    </section>
  );
}

function ComputerNotices({ computer, hasEnded }: { computer: Computer; hasEnded: boolean }) {
  const { messages, phone, go } = usePage();
  const { connection } = messages;
  const state = computer.connectionState;
  if (hasEnded || state.kind === 'stopped') {
    const reason = hasEnded || state.kind !== 'stopped' ? 'unpaired' : state.reason;
    const needsPairing = reason === 'unpaired' || reason === 'wrongSecret';
    const needsReload = reason === 'notUnderstood' || reason === 'otherVersion';
    return (
      <div class="notice bad">
        <p>{connection.stoppedText[reason]}</p>
        <p class="row">
          {needsPairing && (
            <button type="button" class="primary" onClick={() => go('pair')}>
              {connection.pairAgain}
            </button>
          )}
          {!needsPairing && (
            <button type="button" class="primary" onClick={() => computer.connectAgain()}>
              {connection.connectAgain}
            </button>
          )}
          {needsReload && (
            <button type="button" class="quiet" onClick={() => location.reload()}>
              {messages.home.reload}
            </button>
          )}
          {needsPairing && (
            <button type="button" class="quiet" onClick={() => void phone.dismiss(computer)}>
              {connection.remove}
            </button>
          )}
        </p>
      </div>
    );
  }
  return (
    <>
      {state.kind === 'connected' && !state.agentConnected && <p class="notice">{connection.agentOfflineText}</p>}
      {state.kind === 'waiting' && (
        <p class="row">
          <button type="button" class="quiet" onClick={() => computer.connectAgain()}>
            {connection.connectAgain}
          </button>
        </p>
      )}
      {computer.mayNotRead && <p class="notice warning">{connection.mayNotRead}</p>}
      {computer.hasUnreadable && <p class="notice warning">{connection.unreadable}</p>}
    </>
  );
}
