// Notifications from the push pipe's bytes in a row: Node.js does not tell where a message ends.
import {
  announcedLength,
  beginsPushHeader,
  decodeNotification,
  ProtocolError,
  pushHeaderLength,
} from './codec.mjs';

// Nothing comes close to it; a header that announces more is garbage.
const LONGEST_PAYLOAD = 64 * 1024 * 1024;
// The service writes from as many threads as the library calls back on: a handful.
const MOST_WAITING = 64;

export class PushStream {
  #bytes = Buffer.alloc(0);
  #later = [];  // What came behind it, not joined yet.
  #laterLength = 0;
  #needed = 1;  // With fewer bytes, nothing can be taken.
  #headers = [];

  // Takes what has come, however it is cut, and yields the notifications that it completes. Throws a
  // ProtocolError when nobody can tell where the next message begins; the stream is of no use then.
  *take(chunk) {
    this.#later.push(chunk);
    this.#laterLength += chunk.length;
    if (this.#bytes.length + this.#laterLength < this.#needed) return;
    this.#bytes = Buffer.concat([this.#bytes, ...this.#later.splice(0)]);
    this.#laterLength = 0;
    this.#needed = 1;
    while (this.#bytes.length >= this.#needed) {
      const notification = beginsPushHeader(this.#bytes) ? this.#takeHeader() : this.#takePayload();
      if (notification) yield notification;
    }
  }

  // The next bytes; undefined, and nothing taken, while there are fewer.
  #cut(length) {
    this.#needed = this.#bytes.length < length ? length : 1;
    if (this.#needed > 1) return undefined;
    const front = this.#bytes.subarray(0, length);
    this.#bytes = this.#bytes.subarray(length);
    return front;
  }

  #takeHeader() {
    const bytes = this.#cut(pushHeaderLength);
    if (!bytes) return undefined;
    const header = Buffer.from(bytes);
    if (announcedLength(header) === 0) return decodeNotification(header);
    if (announcedLength(header) > LONGEST_PAYLOAD) {
      throw new ProtocolError(`a notification of ${announcedLength(header)} bytes was announced`);
    }
    if (this.#headers.length === MOST_WAITING) {
      throw new ProtocolError(`${MOST_WAITING} headers came without their payloads`);
    }
    this.#headers.push(header);
    return undefined;
  }

  // The headers from the earliest on, each with as many bytes as it announces. Later ones are not tried
  // before there are enough bytes for the earlier ones: how the bytes are cut must make no difference.
  #takePayload() {
    for (const [i, header] of this.#headers.entries()) {
      const length = announcedLength(header);
      if (this.#bytes.length < length) {
        this.#needed = length;
        return undefined;
      }
      const notification = decodedOrUndefined(header, this.#bytes.subarray(0, length));
      if (!notification) continue;
      this.#headers.splice(i, 1);
      this.#cut(length);
      return notification;
    }
    throw new ProtocolError('the bytes are neither a header nor the payload of one');
  }
}

function decodedOrUndefined(header, payload) {
  try {
    const notification = decodeNotification(Buffer.concat([header, payload]));
    const { success, code } = notification.values ?? {};
    // Eight zeros of a login, and the next four bytes, would pass for a stop.
    if (success !== undefined && (success === 1) !== (code === 0)) return undefined;
    return notification;
  } catch (error) {
    if (error instanceof ProtocolError) return undefined;
    throw error;
  }
}
