// Puts the messages of the push pipe together again, as docs/protocol.md tells a client to that reads
// message by message.
import {
  decodeNotification,
  isPushHeader,
  announcedLength,
  ProtocolError,
} from '../../clients/node/lib/codec.mjs';

export class PushReader {
  #waiting = [];

  get waiting() {
    return this.#waiting.length;
  }

  // Takes the next whole message; gives the notification that it completes, or undefined. Throws for a
  // message that is lost; the next ones can still be taken.
  take(message) {
    if (!isPushHeader(message)) return this.#payload(message);
    if (announcedLength(message) === 0) return decodeNotification(message);
    this.#waiting.push(message);
    return undefined;
  }

  // The earliest header of this length whose type the bytes decode as. If there is none, the earliest
  // of this length has lost its payload.
  #payload(message) {
    const candidates = this.#waiting.filter((header) => announcedLength(header) === message.length);
    for (const header of candidates) {
      try {
        const notification = decodeNotification(Buffer.concat([header, message]));
        this.#forget(header);
        return notification;
      } catch (error) {
        if (!(error instanceof ProtocolError)) throw error;
      }
    }
    if (candidates.length > 0) this.#forget(candidates[0]);
    throw new ProtocolError(`these ${message.length} bytes are the payload of no header`);
  }

  #forget(header) {
    this.#waiting.splice(this.#waiting.indexOf(header), 1);
  }
}
