// Work that comes faster than the screen shows it.

const nextFrame = globalThis.requestAnimationFrame ?? ((callback) => setTimeout(callback, 16));

/**
 * A function that hands its newest argument to `callback` once a frame; `flush()` hands over at once what
 * waits.
 */
export function perFrame(callback) {
  let waiting = false;
  let newest;
  const hand = () => {
    if (!waiting)
      return;
    waiting = false;
    callback(newest);
  };
  const later = (value) => {
    newest = value;
    if (waiting)
      return;
    waiting = true;
    nextFrame(hand);
  };
  later.flush = hand;
  return later;
}

/** A function that keeps its arguments and hands them to `callback`, one after the other, once a frame. */
export function queuePerFrame(callback) {
  let queue = [];
  const hand = perFrame(() => {
    const values = queue;
    queue = [];
    values.forEach((value) => callback(value));
  });
  const later = (value) => {
    queue.push(value);
    hand();
  };
  later.flush = hand.flush;
  return later;
}
