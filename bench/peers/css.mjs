// Shared by the peers that take scenes as CSS.

import { families } from './typefaces.mjs';

export function placed({ x, y, width, height }) {
  return { position: 'absolute', left: x, top: y, width, height };
}

function background(shape, urlOf) {
  if (shape.kind === 'fill') {
    return { backgroundColor: shape.color };
  }
  return {
    backgroundImage: `url(${urlOf(shape)})`,
    backgroundPosition: `${shape.x}px ${shape.y}px`,
    backgroundRepeat: 'no-repeat',
    backgroundSize: `${shape.width}px ${shape.height}px`,
  };
}

function covers({ kind, x, y, width, height }, scene) {
  const whole = x <= 0 && y <= 0 && x + width >= scene.width && y + height >= scene.height;
  return whole && kind !== 'line';
}

/**
 * The widget's style and its other shapes. A backdrop becomes the background: rounding that is
 * faster than clipping all shapes.
 */
export function asWidget(scene, urlOf) {
  const { width, height, radius, shapes } = scene;
  const [backdrop, ...others] = shapes;
  const style = { display: 'flex', position: 'relative', width, height, borderRadius: radius };
  if (backdrop && covers(backdrop, scene)) {
    return { style: { ...style, ...background(backdrop, urlOf) }, others };
  }
  return { style: { ...style, overflow: 'hidden' }, others: shapes };
}

export function textStyle(shape) {
  return {
    ...placed(shape),
    color: shape.color,
    fontFamily: families[shape.typeface],
    fontSize: shape.size,
    fontWeight: shape.weight,
    letterSpacing: shape.tracking,
    lineHeight: `${shape.height}px`,
  };
}
