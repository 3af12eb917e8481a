// Opening one of the service's pipes.
import net from 'node:net';

import { NotRunningError, OrvaError, RefusedError } from './errors.mjs';
import { pause, until } from './within.mjs';

// Between two instances of its pipe the service is away for a moment. Who is away for longer is gone.
const ABSENCE_MS = 1000;
const PAUSE_MS = 10;

// A connected socket. Node.js reads pipes as streams of bytes, and writes each buffer as one message as
// long as the one before it has been written.
export async function openPipe(path, signal) {
  const begun = Date.now();
  for (;;) {
    try {
      return await connected(path, signal);
    } catch (error) {
      const failure = failureOf(error, Date.now() - begun);
      if (failure) throw failure;
    }
    await pause(PAUSE_MS, signal);
  }
}

function connected(path, signal) {
  let socket;
  return until(
    signal,
    (resolve, reject) => {
      socket = net.connect({ path });
      socket.once('error', reject);
      socket.once('connect', () => {
        socket.off('error', reject);
        resolve(socket);
      });
    },
    () => socket.on('error', () => {}).destroy(),
  );
}

// What to throw, or undefined to try again.
function failureOf(error, elapsedMs) {
  switch (error.code) {
    case 'ENOENT':
    case 'ECONNREFUSED':
      if (elapsedMs < ABSENCE_MS) return undefined;
      return new NotRunningError('the service is not running', { cause: error });
    case 'EBUSY':
    case 'EAGAIN':
      return undefined;
    case 'EPERM':
    case 'EACCES':
      return new RefusedError('this account may not open the pipe', undefined, { cause: error });
    default:
      return error instanceof OrvaError
        ? error
        : new OrvaError(`the pipe cannot be opened: ${error.message}`, { cause: error });
  }
}
