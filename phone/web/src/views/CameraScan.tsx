import { useEffect, useRef } from 'preact/hooks';
import { scanWithCamera, type CameraProblem } from '../platform/camera';
import { usePage } from './context';

interface Props {
  readonly onText: (text: string) => void;
  readonly onFailure: (why: CameraProblem) => void;
  readonly onStop: () => void;
}

/// The camera's picture, until a code is in it. The camera is off as soon as this is no longer shown.
export function CameraScan({ onText, onFailure, onStop }: Props) {
  const { messages } = usePage();
  const video = useRef<HTMLVideoElement>(null);
  useEffect(() => {
    if (!video.current) return undefined;
    let isShown = true;
    const scan = scanWithCamera(video.current, onText);
    void scan.then((started) => {
      if ('stop' in started) {
        if (!isShown) started.stop();
      } else if (isShown) onFailure(started.problem);
    });
    return () => {
      isShown = false;
      void scan.then((started) => 'stop' in started && started.stop());
    };
  }, []);
  return (
    <div class="camera">
      <video ref={video} muted playsInline aria-label={messages.pairing.cameraView} />
      <p class="hint" role="status">
        {messages.pairing.scanning}
      </p>
      <button type="button" class="wide" onClick={onStop}>
        {messages.pairing.stopScan}
      </button>
    </div>
  );
}
