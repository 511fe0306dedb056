// Where the links of an arm are, from its Denavit-Hartenberg rows. Matrices are column-major, as WebGL has them.

const RADIANS = Math.PI / 180;

export function multiply(a, b) {
  const product = new Array(16).fill(0);
  for (let column = 0; column < 4; ++column)
    for (let row = 0; row < 4; ++row)
      for (let i = 0; i < 4; ++i) product[column * 4 + row] += a[i * 4 + row] * b[column * 4 + i];
  return product;
}

export const identity = () => [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];

function turned(axis, degrees) {
  const c = Math.cos(degrees * RADIANS);
  const s = Math.sin(degrees * RADIANS);
  if (axis === 'x') return [1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1];
  if (axis === 'y') return [c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1];
  return [c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1];
}

const moved = (x, y, z) => [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1];

/** X, Y, Z in mm and A, B, C in degrees: the turns about the fixed axes X, Y and Z, in this order. */
export function ofPose([x, y, z, a, b, c]) {
  return multiply(moved(x, y, z), multiply(turned('z', c), multiply(turned('y', b), turned('x', a))));
}

/**
 * The frame of each joint, from the base on, and the flange's behind the last.
 * @param slides  which joints slide along their axes instead of turning about them
 */
export function frames(links, joints, slides) {
  const all = [identity()];
  links.forEach((link, i) => {
    const theta = link.theta + (slides[i] ? 0 : joints[i] ?? 0);
    const d = link.d + (slides[i] ? joints[i] ?? 0 : 0);
    const along = multiply(moved(0, 0, d), multiply(moved(link.a, 0, 0), turned('x', link.alpha)));
    all.push(multiply(all[i], multiply(turned('z', theta), along)));
  });
  return all;
}

const distance = (matrix, pose) => Math.hypot(matrix[12] - pose[0], matrix[13] - pose[1], matrix[14] - pose[2]);

/**
 * Controllers do not say which joints slide. The pose that they tell does: the one that the right ones bring the tool to.
 * @returns which slide, and how far off the pose is then, in mm
 */
export function sliding(links, joints, tool, pose) {
  let best = null;
  for (let mask = 0; mask < 1 << links.length; ++mask) {
    const slides = links.map((_, i) => Boolean(mask & (1 << i)));
    const off = distance(multiply(frames(links, joints, slides).pop(), tool), pose);
    if (best === null || off < best.off - 0.5) best = {slides, off};
    if (best.off < 0.5) break;
  }
  return best;
}

/** How far it gets, in mm, for the size of a picture. */
export const reach = (links) => links.reduce((sum, link) => sum + Math.hypot(link.a, link.d), 0) || 1000;
