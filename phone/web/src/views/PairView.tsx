import { useEffect, useState } from 'preact/hooks';
import type { ReadCode } from '../core/Phone';
import { readPicture } from '../platform/qrReader';
import { CameraScan } from './CameraScan';
import { usePage } from './context';
import { CameraIcon, PictureIcon } from './icons';
import { NamesForm } from './NamesForm';

/// Scan, choose or paste a code; then the names; then hello.
export function PairView() {
  const { phone } = usePage();
  const [read, setRead] = useState<ReadCode>();
  useEffect(() => () => phone.cancelPairing(), [phone]);
  if (read?.kind === 'ready') return <NamesForm ready={read} onAnother={() => setRead(undefined)} />;
  return <CodeInput read={read} onRead={setRead} />;
}

interface CodeInputProps {
  readonly read: ReadCode | undefined;
  readonly onRead: (read: ReadCode | undefined) => void;
}

function CodeInput({ read, onRead }: CodeInputProps) {
  const { phone, messages } = usePage();
  const { pairing } = messages;
  const [isScanning, setScanning] = useState(false);
  const [problem, setProblem] = useState<string>();

  const use = (code: string) => {
    setProblem(undefined);
    setScanning(false);
    onRead(phone.readCode(code));
  };
  const choose = async (file: File) => {
    onRead(undefined);
    setProblem(undefined);
    try {
      const found = await readPicture(file);
      if (found === undefined) setProblem(pairing.pictureWithoutCode);
      else use(found);
    } catch {
      setProblem(pairing.pictureUnreadable);
    }
  };
  const cameraFailed = (why: 'denied' | 'missing') => {
    setScanning(false);
    setProblem(why === 'denied' ? pairing.cameraDenied : pairing.noCamera);
  };
  return (
    <div class="sheet">
      <p class="lead">{pairing.lead}</p>
      <CodeTrouble text={problem} read={read} />
      {isScanning ? (
        <CameraScan onText={use} onFailure={cameraFailed} onStop={() => setScanning(false)} />
      ) : (
        <button
          type="button"
          class="primary wide"
          onClick={() => {
            setProblem(undefined);
            onRead(undefined);
            setScanning(true);
          }}
        >
          <CameraIcon />
          {pairing.scan}
        </button>
      )}
      <PictureChoice onFile={(file) => void choose(file)} />
      <TextForm onText={use} />
    </div>
  );
}

/// What is wrong with a code, or which other page it belongs to.
function CodeTrouble({ text, read }: { readonly text: string | undefined; readonly read: ReadCode | undefined }) {
  const { pairing } = usePage().messages;
  const trouble = text ?? (read?.kind === 'problem' ? pairing.problems[read.problem] : undefined);
  return (
    <div role="alert">
      {trouble && <p class="notice bad">{trouble}</p>}
      {read?.kind === 'otherRelay' && (
        <div class="notice warning">
          <p>{pairing.otherRelay}</p>
          <p>
            <a href={read.address} rel="noopener noreferrer" referrerpolicy="no-referrer">
              {read.address}
            </a>
          </p>
        </div>
      )}
    </div>
  );
}

function PictureChoice({ onFile }: { readonly onFile: (file: File) => void }) {
  const { pairing } = usePage().messages;
  return (
    <label class="button wide file">
      <PictureIcon />
      {pairing.picture}
      <input
        type="file"
        accept="image/*"
        onChange={({ currentTarget }) => {
          const [file] = currentTarget.files ?? [];
          if (file) onFile(file);
          // The same picture can be chosen again; the file stays readable.
          currentTarget.value = '';
        }}
      />
    </label>
  );
}

function TextForm({ onText }: { readonly onText: (text: string) => void }) {
  const { pairing } = usePage().messages;
  const [text, setText] = useState('');
  return (
    <form
      class="field"
      onSubmit={(event) => {
        event.preventDefault();
        onText(text);
        // It holds secrets: not kept on the screen longer than it is needed.
        setText('');
      }}
    >
      <label for="code-text">{pairing.text}</label>
      <p class="hint" id="code-hint">
        {pairing.textHint}
      </p>
      <textarea
        id="code-text"
        aria-describedby="code-hint"
        rows={3}
        spellcheck={false}
        autocomplete="off"
        autocapitalize="off"
        value={text}
        onInput={({ currentTarget }) => setText(currentTarget.value)}
      />
      <button type="submit" class="wide">
        {pairing.useText}
      </button>
    </form>
  );
}
