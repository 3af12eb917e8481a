import { AbortedError, TimeoutError } from './errors.mjs';

// Calls `work` with a signal that ends it after `timeoutMs`, when the caller's own `signal` does, or when
// the client is `closing`. Its reason is the error to throw.
export async function within({ timeoutMs, signal, closing }, work) {
  if (signal?.aborted) throw new AbortedError(signal.reason);
  closing?.throwIfAborted();
  const controller = new AbortController();
  const giveUp = () => controller.abort(new AbortedError(signal.reason));
  const close = () => controller.abort(closing.reason);
  signal?.addEventListener('abort', giveUp, { once: true });
  closing?.addEventListener('abort', close, { once: true });
  const timer = setTimeout(
    () => controller.abort(new TimeoutError(`not done within ${timeoutMs} ms`)),
    timeoutMs,
  );
  try {
    return await work(controller.signal);
  } finally {
    clearTimeout(timer);
    signal?.removeEventListener('abort', giveUp);
    closing?.removeEventListener('abort', close);
  }
}

// A promise that `begin(resolve, reject)` settles, or the signal, which then also calls `abandon`.
export function until(signal, begin, abandon = () => {}) {
  return new Promise((resolve, reject) => {
    if (signal?.aborted) {
      reject(signal.reason);
      return;
    }
    const onAbort = () => {
      abandon();
      reject(signal.reason);
    };
    const settled = (settle) => (value) => {
      signal?.removeEventListener('abort', onAbort);
      settle(value);
    };
    signal?.addEventListener('abort', onAbort, { once: true });
    begin(settled(resolve), settled(reject));
  });
}

export function pause(milliseconds, signal) {
  let timer;
  return until(
    signal,
    (resolve) => (timer = setTimeout(resolve, milliseconds)),
    () => clearTimeout(timer),
  );
}
