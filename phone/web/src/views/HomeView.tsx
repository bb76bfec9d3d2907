import { ComputerSection } from './ComputerSection';
import { usePage } from './context';
import { PlusIcon } from './icons';

/// Every computer with what waits on it; the first steps while there is none.
export function HomeView() {
  const { phone, messages, go } = usePage();
  if (!phone.isReady) return <p class="empty">{messages.loading}</p>;
  if (phone.computers.length === 0) {
    return (
      <section class="welcome">
        <img src="/icon.svg" alt="" width="88" height="88" />
        <h2>{messages.home.welcomeTitle}</h2>
        <p>{messages.home.welcomeText}</p>
        <ol>
          {messages.home.welcomeSteps.map((step) => (
            <li key={step}>{step}</li>
          ))}
        </ol>
        <button type="button" class="primary wide" onClick={() => go('pair')}>
          <PlusIcon />
          {messages.home.pairComputer}
        </button>
      </section>
    );
  }
  return (
    <div class="computers" data-count={phone.computers.length}>
      {phone.computers.map((computer) => (
        <ComputerSection key={computer.id} computer={computer} />
      ))}
    </div>
  );
}
