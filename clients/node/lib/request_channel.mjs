// The request pipe: one request at a time, and its response.
import { responseHeader } from './layouts.mjs';
import { HungUpError, NotTheServiceError } from './errors.mjs';
import { openPipe } from './pipe.mjs';
import { until } from './within.mjs';

// Nothing comes close to it.
const LONGEST_RESPONSE = 64 * 1024 * 1024;

export class RequestChannel {
  #socket;
  #chunks = [];
  #length = 0;
  #waiting;
  #failure;

  static async open(path, signal) {
    return new RequestChannel(await openPipe(path, signal));
  }

  constructor(socket) {
    this.#socket = socket;
    socket.on('data', (chunk) => this.#take(chunk));
    socket.on('error', (error) => this.#end(hungUp(error)));
    socket.on('close', () => this.#end(hungUp()));
  }

  get isOpen() {
    return this.#failure === undefined;
  }

  // The whole response. When it does not come, the channel is closed: what comes later would be taken
  // for the answer to the next request.
  exchange(message, signal) {
    if (this.#failure) return Promise.reject(this.#failure);
    return until(
      signal,
      (resolve, reject) => {
        this.#waiting = { resolve, reject };
        this.#socket.write(message);
      },
      () => this.#end(signal.reason),
    );
  }

  close() {
    this.#end(hungUp());
  }

  #take(chunk) {
    this.#chunks.push(chunk);
    this.#length += chunk.length;
    const wanted = this.#wantedLength();
    if (!this.#waiting || wanted > LONGEST_RESPONSE || this.#length > wanted) {
      this.#end(new NotTheServiceError('what came is not the answer to a request'));
      return;
    }
    if (this.#length < wanted) return;
    const { resolve } = this.#waiting;
    const response = Buffer.concat(this.#chunks);
    this.#waiting = undefined;
    this.#chunks = [];
    this.#length = 0;
    resolve(response);
  }

  // How long the response is, as far as its header has come.
  #wantedLength() {
    const { size } = responseHeader;
    if (this.#length < size) return size;
    if (this.#chunks[0].length < size) this.#chunks = [Buffer.concat(this.#chunks)];
    return size + this.#chunks[0].readUInt32LE(4);
  }

  #end(failure) {
    if (this.#failure) return;
    this.#failure = failure;
    this.#socket.destroy();
    this.#waiting?.reject(failure);
    this.#waiting = undefined;
  }
}

function hungUp(cause) {
  return new HungUpError('the service ended the connection', { cause });
}
