/// Finds the text of a QR code in a picture: the browser's own detector where it has one, else a library that is loaded
/// when it is first needed.
export interface QrReader {
  /// Absent when there is no code in it.
  read(picture: Picture): Promise<string | undefined>;
}

interface Detector {
  detect(source: ImageBitmapSource): Promise<{ rawValue: string }[]>;
}
interface DetectorClass {
  new (options: { formats: string[] }): Detector;
  getSupportedFormats(): Promise<string[]>;
}

/// Cameras and photographs have more pixels than a code needs: the whole picture is searched with its longest side at
/// each of these.
const wholeSides = [800, 1600, 3200];
/// A code that fills little of a large picture is found in a part of it: halves in both directions, overlapping.
const partOffsets = [0.25, 0, 0.5];

type Picture = ImageBitmap | HTMLVideoElement;

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

function sizeOf(picture: Picture): [number, number] {
  return 'videoWidth' in picture ? [picture.videoWidth, picture.videoHeight] : [picture.width, picture.height];
}

interface Part {
  readonly left: number;
  readonly top: number;
  readonly width: number;
  readonly height: number;
  readonly longestSide: number;
}

/// Where to look, the likeliest first. Of a film only little, since the next picture comes soon.
function partsOf(picture: Picture): Part[] {
  const [width, height] = sizeOf(picture);
  const whole = { left: 0, top: 0, width, height };
  const half = { width: width / 2, height: height / 2, longestSide: Math.max(width, height) };
  const middle = { left: width / 4, top: height / 4, ...half };
  if ('videoWidth' in picture) return [{ ...whole, longestSide: 800 }, middle];
  const sides = wholeSides.filter((side, at) => at === 0 || Math.max(width, height) > (wholeSides[at - 1] ?? side));
  const corners = partOffsets.flatMap((x) => partOffsets.map((y) => ({ left: x * width, top: y * height, ...half })));
  return [...sides.map((longestSide) => ({ ...whole, longestSide })), ...corners];
}

function pixels(picture: Picture, { left, top, width, height, longestSide }: Part): ImageData | undefined {
  const scale = Math.min(1, longestSide / Math.max(width, height));
  const canvas = document.createElement('canvas');
  canvas.width = Math.round(width * scale);
  canvas.height = Math.round(height * scale);
  const context = canvas.getContext('2d', { willReadFrequently: true });
  if (!context || canvas.width === 0 || canvas.height === 0) return undefined;
  // Transparent pictures are read as if they lay on white paper.
  context.fillStyle = 'white';
  context.fillRect(0, 0, canvas.width, canvas.height);
  context.drawImage(picture, left, top, width, height, 0, 0, canvas.width, canvas.height);
  return context.getImageData(0, 0, canvas.width, canvas.height);
}

async function readWithLibrary(picture: Picture): Promise<string | undefined> {
  const { decodeQR } = await import('qr/decode.js');
  for (const part of partsOf(picture)) {
    const image = pixels(picture, part);
    try {
      if (image) return decodeQR(image);
    } catch {
      // It throws where there is no code.
    }
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
