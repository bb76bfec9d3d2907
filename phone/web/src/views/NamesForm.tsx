import { useEffect, useRef, useState } from 'preact/hooks';
import { nameCharacters, type ReadCode } from '../core/Phone';
import { connectionText } from '../i18n/wording';
import { usePage } from './context';

interface Props {
  readonly ready: Extract<ReadCode, { kind: 'ready' }>;
  readonly onAnother: () => void;
}

/// The code is good: how shall phone and computer be called? Then it says hello.
export function NamesForm({ ready, onAnother }: Props) {
  const { phone, messages, go } = usePage();
  const { pairing } = messages;
  const known = phone.computers.find((computer) => computer.id === ready.code.pairingID);
  const [phoneName, setPhoneName] = useState(phone.settings.phoneName);
  const [computerName, setComputerName] = useState(known?.name ?? phone.nextComputerName);
  const begun = useRef(false);
  const form = useRef<HTMLFormElement>(null);
  const attempt = phone.pairing;
  useEffect(() => form.current?.querySelector('input')?.focus(), []);
  useEffect(() => {
    if (attempt.kind === 'connecting') begun.current = true;
    else if (begun.current && attempt.kind === 'none') go('home');
  }, [attempt.kind]);

  const isConnecting = attempt.kind === 'connecting';
  return (
    <form
      ref={form}
      class="sheet"
      onSubmit={(event) => {
        event.preventDefault();
        if (!isConnecting) void phone.pair(ready.code, phoneName, computerName);
      }}
    >
      <p class="notice good" role="status">
        {ready.isPaired ? pairing.alreadyPaired : pairing.codeRead}
      </p>
      <NameField
        id="phone-name"
        label={pairing.phoneName}
        hint={pairing.phoneNameHint}
        value={phoneName}
        onChange={setPhoneName}
      />
      <NameField
        id="computer-name"
        label={pairing.computerName}
        hint={pairing.computerNameHint}
        value={computerName}
        onChange={setComputerName}
      />
      <div role="alert">
        {attempt.kind === 'refused' && <p class="notice bad">{pairing.refused[attempt.reason]}</p>}
      </div>
      <div role="status">
        {isConnecting && (
          <p class="hint">
            <span class="spinner" aria-hidden="true" />
            {attempt.computer.connectionState.kind === 'waiting'
              ? connectionText(messages, attempt.computer.connectionState)
              : pairing.connecting}
          </p>
        )}
      </div>
      <div class="row">
        <button type="submit" class="primary" aria-disabled={isConnecting}>
          {pairing.pair}
        </button>
        <button
          type="button"
          class="quiet"
          onClick={() => {
            begun.current = false;
            phone.cancelPairing();
            onAnother();
          }}
        >
          {attempt.kind === 'refused' ? pairing.tryAgain : pairing.cancel}
        </button>
      </div>
    </form>
  );
}

interface NameFieldProps {
  readonly id: string;
  readonly label: string;
  readonly hint?: string;
  readonly value: string;
  readonly onChange: (name: string) => void;
}

export function NameField({ id, label, hint, value, onChange }: NameFieldProps) {
  return (
    <div class="field">
      <label for={id}>{label}</label>
      <input
        id={id}
        type="text"
        autocomplete="off"
        maxLength={nameCharacters}
        value={value}
        {...(hint !== undefined && { 'aria-describedby': `${id}-hint` })}
        onInput={({ currentTarget }) => onChange(currentTarget.value)}
      />
      {hint !== undefined && (
        <p class="hint" id={`${id}-hint`}>
          {hint}
        </p>
      )}
    </div>
  );
}
