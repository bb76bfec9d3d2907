import path from 'node:path';

function given(name: string): string {
  const value = process.env[name];
  if (!value) throw new Error(`${name} is not set; start the tests by tests/browser/run`);
  return value;
}

/** The folder of the build, with the programs and the page. */
/** The sources. */
export const projectFolder = path.resolve(given('TALLYFOX_BROWSER_TESTS'), '../..');
export const buildFolder = given('TALLYFOX_BUILD');
/** The page as it was built, and the copy of it that the relay serves. */
export const pageFolder = path.join(buildFolder, 'page');
export const servedFolder = path.join(buildFolder, 'browser', 'page');
export const worldProgram = path.join(given('TALLYFOX_BROWSER_TESTS'), 'world.py');
/** The world's own: what the programs said. Emptied at each start. */
export const worldFolder = path.join(buildFolder, 'browser', 'world');
/** What the browser gets in place of a camera; a file to come, written before a camera is asked for. */
export const cameraVideo = path.join(buildFolder, 'browser', 'camera.y4m');
/** Pictures of the page. */
export const picturesFolder = path.join(buildFolder, 'browser', 'pictures');
/** Where pictures for the documents go, when they are asked for. */
export const documentPictures = process.env.TALLYFOX_PICTURES ?? '';
/** Of each test that failed: a picture and a trace. */
export const resultsFolder = path.join(buildFolder, 'browser', 'results');
