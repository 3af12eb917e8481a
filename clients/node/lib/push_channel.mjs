// The push pipe: says who the client is, and hands on what comes.
import { encodePayload, ProtocolError } from './codec.mjs';
import { HungUpError, NotTheServiceError } from './errors.mjs';
import { registration } from './layouts.mjs';
import { openPipe } from './pipe.mjs';
import { PushStream } from './push_stream.mjs';

export class PushChannel {
  #socket;
  #stream = new PushStream();
  #events;
  #isTheService = false;

  // `notify` is called with every notification; `end`, once, with the reason when none will come.
  static async register(path, clientId, events, signal) {
    return new PushChannel(await openPipe(path, signal), clientId, events);
  }

  constructor(socket, clientId, events) {
    this.#socket = socket;
    this.#events = events;
    socket.on('data', (chunk) => this.#take(chunk));
    socket.on('error', (error) => this.#end(hungUp(error)));
    socket.on('close', () => this.#end(hungUp()));
    socket.write(encodePayload(registration, { clientId }));
  }

  close() {
    this.#events = undefined;
    this.#socket.destroy();
  }

  #take(chunk) {
    try {
      for (const notification of this.#stream.take(chunk)) {
        this.#isTheService = true;
        this.#events?.notify(notification);
      }
    } catch (error) {
      if (!(error instanceof ProtocolError)) throw error;
      // A stream does not always tell which payload is whose; a new connection begins anew.
      this.#end(
        this.#isTheService
          ? hungUp(error)
          : new NotTheServiceError('what came is no notification', { cause: error }),
      );
    }
  }

  #end(failure) {
    const events = this.#events;
    this.close();
    events?.end(failure);
  }
}

function hungUp(cause) {
  return new HungUpError('the service ended the push connection', { cause });
}
