// Puts the messages of the push pipe together again, as docs/protocol.md tells a client to.
import { decodeNotification, ProtocolError, PUSH_MAGIC } from './codec.mjs';
import { pushFrameHeader } from './layouts.mjs';

function isHeader(message) {
  return message.length === pushFrameHeader.size && message.readUInt32LE(0) === PUSH_MAGIC;
}

export class PushReader {
  #waiting = [];

  get waiting() {
    return this.#waiting.length;
  }

  // Takes the next whole message; gives the notification that it completes, or undefined.
  take(message) {
    if (isHeader(message)) {
      if (message.readUInt32LE(12) === 0) return decodeNotification(message);
      this.#waiting.push(message);
      return undefined;
    }
    return this.#payload(message);
  }

  // The earliest header of this length whose type the bytes decode as.
  #payload(message) {
    for (const [i, header] of this.#waiting.entries()) {
      if (header.readUInt32LE(12) !== message.length) continue;
      try {
        const notification = decodeNotification(Buffer.concat([header, message]));
        this.#waiting.splice(i, 1);
        return notification;
      } catch (error) {
        if (!(error instanceof ProtocolError)) throw error;
      }
    }
    throw new ProtocolError(`no header announced these ${message.length} bytes`);
  }
}
