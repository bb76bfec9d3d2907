import { useEffect, useRef, useState } from 'preact/hooks';
import type { Computer } from '../core/Computer';
import { usePage } from './context';
import { NameField } from './NamesForm';

export function SettingsView() {
  const { phone, messages } = usePage();
  const { settings } = messages;
  return (
    <div class="sheet">
      <section class="group" aria-labelledby="phone-heading">
        <h2 id="phone-heading">{settings.phone}</h2>
        <NameForm
          id="phone-name"
          label={settings.phoneName}
          name={phone.settings.phoneName}
          onSave={(name) => phone.renamePhone(name)}
        />
      </section>
      <NotificationSettings />
      {phone.computers
        .filter((computer) => computer.record.secrets)
        .map((computer) => (
          <ComputerSettings key={computer.id} computer={computer} />
        ))}
      <p class="hint about">
        {settings.about}{' '}
        <a href="/licenses.txt">{settings.licenses}</a>
      </p>
    </div>
  );
}

interface NameFormProps {
  readonly id: string;
  readonly label: string;
  readonly name: string;
  readonly onSave: (name: string) => Promise<void>;
}

function NameForm({ id, label, name, onSave }: NameFormProps) {
  const { messages, announce } = usePage();
  const [text, setText] = useState(name);
  useEffect(() => setText(name), [name]);
  return (
    <form
      class="name-form"
      onSubmit={(event) => {
        event.preventDefault();
        void onSave(text).then(() => announce(messages.announce.saved));
      }}
    >
      <NameField id={id} label={label} value={text} onChange={setText} />
      <button type="submit" class="quiet" aria-disabled={text === name}>
        {messages.settings.save}
      </button>
    </form>
  );
}

function NotificationSettings() {
  const { phone, messages } = usePage();
  const { settings } = messages;
  const { state } = phone.notifications;
  const [isBusy, setBusy] = useState(false);
  const [hasFailed, setFailed] = useState(false);
  const canSwitch = state === 'on' || state === 'off';
  return (
    <section class="group" aria-labelledby="notifications-heading">
      <h2 id="notifications-heading">{settings.notifications}</h2>
      {canSwitch && (
        <div class="switch-row">
          <span id="notifications-label">{settings.notificationsSwitch}</span>
          <button
            type="button"
            role="switch"
            class="switch"
            aria-labelledby="notifications-label"
            aria-describedby="notifications-hint"
            aria-checked={state === 'on'}
            aria-disabled={isBusy}
            onClick={() => {
              if (isBusy) return;
              setBusy(true);
              void phone
                .setNotifications(state === 'off')
                .then((succeeded) => setFailed(!succeeded))
                .finally(() => setBusy(false));
            }}
          >
            <span class="knob" />
          </button>
        </div>
      )}
      <div role="alert">{hasFailed && canSwitch && <p class="notice bad">{settings.notificationsFailed}</p>}</div>
      <p class="hint" id="notifications-hint">
        {canSwitch ? settings.notificationsPrivate : settings.notificationStates[state]}
      </p>
    </section>
  );
}

function ComputerSettings({ computer }: { computer: Computer }) {
  const { phone, messages } = usePage();
  const { settings } = messages;
  const id = `settings-${computer.id}`;
  const [isAsking, setAsking] = useState(false);
  return (
    <section class="group" aria-labelledby={id}>
      <h2 id={id} dir="auto">
        {computer.name}
      </h2>
      <NameForm
        id={`${id}-name`}
        label={settings.computerName}
        name={computer.name}
        onSave={(name) => phone.renameComputer(computer, name)}
      />
      <MutedList computer={computer} />
      <button type="button" class="danger wide" onClick={() => setAsking(true)}>
        {settings.unpair}
      </button>
      {isAsking && <UnpairDialog computer={computer} onClose={() => setAsking(false)} />}
    </section>
  );
}

function MutedList({ computer }: { computer: Computer }) {
  const { messages, announce } = usePage();
  const { settings } = messages;
  const id = `muted-${computer.id}`;
  return (
    <>
      <h3 id={id}>{settings.muted}</h3>
      <p class="hint">{computer.mutedDialogs.length === 0 ? settings.noneMuted : settings.mutedHint}</p>
      {computer.mutedDialogs.length > 0 && (
        <ul class="muted" aria-labelledby={id}>
          {[...computer.mutedDialogs].reverse().map(({ suppressionID, appName, windowTitle }) => (
            <li key={suppressionID}>
              <span dir="auto">{messages.card.heading(appName, windowTitle)}</span>
              <button
                type="button"
                class="quiet"
                aria-label={settings.showAgainOf(messages.card.heading(appName, windowTitle))}
                aria-disabled={!computer.canDecide}
                onClick={() => {
                  if (!computer.canDecide) return;
                  computer.unsuppress(suppressionID);
                  announce(messages.announce.shownAgain);
                }}
              >
                {settings.showAgain}
              </button>
            </li>
          ))}
        </ul>
      )}
      {computer.mutedDialogs.length > 0 && !computer.canDecide && <p class="hint">{settings.showAgainOffline}</p>}
    </>
  );
}

interface UnpairDialogProps {
  readonly computer: Computer;
  readonly onClose: () => void;
}

function UnpairDialog({ computer, onClose }: UnpairDialogProps) {
  const { phone, messages, go } = usePage();
  const { settings } = messages;
  const dialog = useRef<HTMLDialogElement>(null);
  const ids = { title: `unpair-${computer.id}`, text: `unpair-text-${computer.id}` };
  useEffect(() => dialog.current?.showModal(), []);
  const isReachable = computer.connectionState.kind === 'connected';
  return (
    <dialog
      ref={dialog}
      role="alertdialog"
      aria-labelledby={ids.title}
      aria-describedby={ids.text}
      onClose={onClose}
    >
      <h2 id={ids.title}>{settings.unpairQuestion(computer.name)}</h2>
      <p id={ids.text}>{isReachable ? settings.unpairText : settings.unpairOfflineText}</p>
      <div class="row end">
        <button type="button" class="quiet" onClick={() => dialog.current?.close()}>
          {settings.keep}
        </button>
        <button
          type="button"
          class="danger"
          onClick={() => {
            dialog.current?.close();
            void phone.unpair(computer);
            go('home');
          }}
        >
          {settings.confirmUnpair}
        </button>
      </div>
    </dialog>
  );
}
