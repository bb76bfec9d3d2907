import { makeQrReader } from './qrReader';

export type CameraProblem = 'denied' | 'missing';

/// Between two looks at the picture, in milliseconds: five a second are felt as at once, and leave the phone cool.
const lookInterval = 200;

export interface Scan {
  stop(): void;
}

/// Shows the camera in the video element and calls back once with the text of the first code that it sees.
export async function scanWithCamera(
  video: HTMLVideoElement,
  onText: (text: string) => void,
): Promise<Scan | { problem: CameraProblem }> {
  let stream: MediaStream;
  try {
    stream = await navigator.mediaDevices.getUserMedia({
      audio: false,
      video: { facingMode: 'environment', width: { ideal: 1280 }, height: { ideal: 1280 } },
    });
  } catch (error) {
    const isDenied = error instanceof DOMException && error.name === 'NotAllowedError';
    return { problem: isDenied ? 'denied' : 'missing' };
  }
  let timer: number | undefined;
  let stopped = false;
  const stop = () => {
    stopped = true;
    clearTimeout(timer);
    stream.getTracks().forEach((track) => track.stop());
    video.srcObject = null;
  };
  video.srcObject = stream;
  await video.play().catch(() => undefined);
  const reader = await makeQrReader();
  const look = async () => {
    const text = video.videoWidth > 0 ? await reader.read(video) : undefined;
    if (stopped) return;
    if (text === undefined) {
      timer = window.setTimeout(() => void look(), lookInterval);
      return;
    }
    stop();
    onText(text);
  };
  if (!stopped) void look();
  return { stop };
}
