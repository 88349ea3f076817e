// `make run` installs no development dependencies: nothing that the build takes may be locked as one.
import {readFileSync} from 'node:fs';

const read = (file) => JSON.parse(readFileSync(new URL(`../../${file}`, import.meta.url), 'utf8'));
const locked = read('package-lock.json').packages;
const missing = Object.keys(read('package.json').dependencies).filter((name) => {
  const entry = locked[`node_modules/${name}`];
  return !entry || entry.dev;
});
if (missing.length > 0) {
  console.error(`package-lock.json omits what the build needs: ${missing.join(', ')}`);
  process.exit(1);
}
