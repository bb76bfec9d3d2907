/// Finds the text of a QR code in a picture: the browser's own detector where it has one, else a library that is loaded
/// when it is first needed.
export interface QrReader {
  /// Absent when there is no code in it.
  read(picture: ImageBitmap | HTMLVideoElement): Promise<string | undefined>;
}

interface Detector {
  detect(source: ImageBitmapSource): Promise<{ rawValue: string }[]>;
}
interface DetectorClass {
  new (options: { formats: string[] }): Detector;
  getSupportedFormats(): Promise<string[]>;
}

/// Pictures are searched at these widths, in pixels: cameras give more than a code needs, and a code that fills little
/// of a picture needs more of it.
const searchSizes = [800, 1600];

async function nativeDetector(): Promise<Detector | undefined> {
  const { BarcodeDetector } = globalThis as { BarcodeDetector?: DetectorClass };
  try {
    const formats = (await BarcodeDetector?.getSupportedFormats()) ?? [];
    if (BarcodeDetector && formats.includes('qr_code')) return new BarcodeDetector({ formats: ['qr_code'] });
  } catch {
    // Some systems have the class and no detector behind it.
  }
  return undefined;
}

function sizeOf(picture: ImageBitmap | HTMLVideoElement): [number, number] {
  return 'videoWidth' in picture ? [picture.videoWidth, picture.videoHeight] : [picture.width, picture.height];
}

function pixels(picture: ImageBitmap | HTMLVideoElement, longestSide: number): ImageData | undefined {
  const [width, height] = sizeOf(picture);
  const scale = Math.min(1, longestSide / Math.max(width, height));
  const canvas = document.createElement('canvas');
  canvas.width = Math.round(width * scale);
  canvas.height = Math.round(height * scale);
  const context = canvas.getContext('2d', { willReadFrequently: true });
  if (!context || canvas.width === 0 || canvas.height === 0) return undefined;
  // Transparent pictures are read as if they lay on white paper.
  context.fillStyle = 'white';
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.drawImage(picture, 0, 0, canvas.width, canvas.height);
  return context.getImageData(0, 0, canvas.width, canvas.height);
}

async function readWithLibrary(picture: ImageBitmap | HTMLVideoElement): Promise<string | undefined> {
  const { decodeQR } = await import('qr/decode.js');
  const [width, height] = sizeOf(picture);
  for (const size of searchSizes) {
    const image = pixels(picture, size);
    if (!image) return undefined;
    try {
      return decodeQR(image);
    } catch {
      // It throws where there is no code.
    }
    if (Math.max(width, height) <= size) break;
  }
  return undefined;
}

export async function makeQrReader(): Promise<QrReader> {
  const detector = await nativeDetector();
  return {
    read: async (picture) => {
      try {
        const [first] = (await detector?.detect(picture)) ?? [];
        if (first) return first.rawValue;
      } catch {
        // The library may still read it.
      }
      return readWithLibrary(picture);
    },
  };
}

/// Throws when the file is no picture.
export async function readPicture(file: Blob): Promise<string | undefined> {
  const picture = await createImageBitmap(file);
  try {
    return await (await makeQrReader()).read(picture);
  } finally {
    picture.close();
  }
}
