// What the peers draw: Glancery's display lists, laid out, in pixels.

import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

const cornerRadius = 22;

/** The numbers of a PNG's header. */
export function pngSize(path) {
  const head = readFileSync(path).subarray(0, 24);
  return { width: head.readUInt32BE(16), height: head.readUInt32BE(20) };
}

function filesBelow(directory) {
  return readdirSync(directory, { withFileTypes: true, recursive: true })
    .filter(entry => entry.isFile())
    .map(entry => join(entry.parentPath, entry.name));
}

/** Snapped to whole pixels as Glancery does. */
function snapped([x, y, width, height], scale) {
  const left = Math.round(x * scale);
  const top = Math.round(y * scale);
  return {
    x: left,
    y: top,
    width: Math.round((x + width) * scale) - left,
    height: Math.round((y + height) * scale) - top,
  };
}

function shapesOf(item, scale) {
  switch (item.type) {
    case 'image':
      return [{ kind: 'image', name: item.name, ...snapped(item.frame, scale) }];
    case 'fill':
      return [{ kind: 'fill', color: item.color, ...snapped(item.frame, scale) }];
    case 'text': {
      const [x, y, width, height] = item.frame.map(length => length * scale);
      const lineHeight = height / item.lines.length;
      return item.lines.map((text, line) => ({
        kind: 'line',
        text,
        x,
        y: y + line * lineHeight,
        width,
        height: lineHeight,
        typeface: item.font.family === 'system' ? 'Inter' : 'Literata',
        size: item.font.size * scale,
        weight: item.font.weight,
        tracking: item.tracking * scale,
        align: { leading: 'left', center: 'center', trailing: 'right' }[item.alignment],
        color: item.color,
      }));
    }
    default:
      throw new Error(`a display list holds an item of the unknown type "${item.type}"`);
  }
}

/** The display lists in a directory that have a picture beside them. */
export function readScenes(directory) {
  const files = new Set(filesBelow(directory));
  const lists = [...files].filter(path => path.endsWith('.json')).sort();
  const scenes = [];
  for (const path of lists) {
    const picture = path.replace(/\.json$/, '.png');
    if (!files.has(picture)) {
      continue;
    }
    const list = JSON.parse(readFileSync(path, 'utf8'));
    const { width, height } = pngSize(picture);
    const scale = width / list.size.width;
    scenes.push({
      path,
      picture,
      width,
      height,
      radius: cornerRadius * scale,
      shapes: list.items.flatMap(item => shapesOf(item, scale)),
    });
  }
  if (scenes.length === 0) {
    throw new Error(`${directory} holds no display list with a picture beside it`);
  }
  return scenes;
}
