// Bytes to values and back, for every message of docs/protocol.md. A second reading of that page, which
// shares nothing with the service and its client library in C++.
//
// Decoders take exactly one message, header and payload one after the other, and throw a
// ProtocolError for everything else: a wrong magic, an end that comes early, bytes left over. Padding
// and reserved words are read over. 64-bit integers are BigInts.
import * as layouts from './layouts.mjs';

export class ProtocolError extends Error {}

export const REQUEST_MAGIC = 0x52584c50;
export const PUSH_MAGIC = 0x52584b50;

// A byte order mark is a character like any other here.
const utf8 = new TextDecoder('utf-8', { fatal: true, ignoreBOM: true });

function readInteger(bytes, kind, at) {
  switch (kind) {
    case 'u8':
      return bytes.readUInt8(at);
    case 'u16':
    case 'length':
      return bytes.readUInt16LE(at);
    case 'i32':
      return bytes.readInt32LE(at);
    case 'u64':
      return bytes.readBigUInt64LE(at);
    default:
      return bytes.readUInt32LE(at);
  }
}

function writeInteger(bytes, kind, at, value) {
  switch (kind) {
    case 'u8':
      return bytes.writeUInt8(value, at);
    case 'u16':
    case 'length':
      return bytes.writeUInt16LE(value, at);
    case 'i32':
      return bytes.writeInt32LE(value, at);
    case 'u64':
      return bytes.writeBigUInt64LE(BigInt(value), at);
    default:
      return bytes.writeUInt32LE(value, at);
  }
}

class Reader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
  }

  get left() {
    return this.bytes.length - this.at;
  }

  take(count, what) {
    if (this.left < count) {
      throw new ProtocolError(`${what} needs ${count} bytes, and ${this.left} are left`);
    }
    this.at += count;
    return this.bytes.subarray(this.at - count, this.at);
  }

  text(length, name) {
    const bytes = this.take(length, name);
    try {
      return utf8.decode(bytes);
    } catch {
      throw new ProtocolError(`${name} is not UTF-8`);
    }
  }

  fixedPart(layout) {
    const bytes = this.take(layout.size, 'the fixed part');
    const values = {};
    for (const { kind, name, offset, size, count } of layout.fields) {
      if (kind === 'pad') continue;
      if (count === undefined) {
        values[name] = readInteger(bytes, kind, offset);
        continue;
      }
      const each = size / count;
      values[name] = Array.from({ length: count }, (_, i) =>
        readInteger(bytes, kind, offset + i * each),
      );
    }
    return values;
  }

  record(layout) {
    const values = this.fixedPart(layout);
    if (layout.lengthsWrap) this.#unwrap(layout, values);
    for (const name of layout.texts) values[name] = this.text(values[name], name);
    for (const { kind, name } of layout.fields) {
      if (kind === 'count') values[name] = this.#list(layout.each, (values.count = values[name]));
    }
    return values;
  }

  // What is whole multiples of 65,536 too long is taken for the first text's: nothing says whose.
  #unwrap(layout, values) {
    const announced = layout.texts.reduce((sum, name) => sum + values[name], 0);
    const surplus = this.left - announced;
    if (surplus > 0 && surplus % 65536 === 0) values[layout.texts[0]] += surplus;
  }

  #list(each, count) {
    const items = [];
    // A count that lies ends at the end of the bytes, not of the memory.
    while (items.length < count) items.push(this.record(each));
    return items;
  }

  end() {
    if (this.left !== 0) throw new ProtocolError(`${this.left} bytes are left over`);
  }
}

export function decodePayload(layout, bytes) {
  const reader = new Reader(bytes);
  const values = reader.record(layout);
  reader.end();
  return values;
}

export function encodePayload(layout, values) {
  const fixed = Buffer.alloc(layout.size);
  const behind = [];
  for (const { kind, name, offset, size, count } of layout.fields) {
    if (kind === 'pad') continue;
    if (kind === 'length') {
      const text = Buffer.from(values[name], 'utf8');
      writeInteger(fixed, kind, offset, layout.lengthsWrap ? text.length % 65536 : text.length);
      behind.push(text);
    } else if (kind === 'count') {
      writeInteger(fixed, kind, offset, values[name].length);
      for (const item of values[name]) behind.push(encodePayload(layout.each, item));
    } else if (count === undefined) {
      writeInteger(fixed, kind, offset, values[name]);
    } else {
      values[name].forEach((value, i) =>
        writeInteger(fixed, kind, offset + (i * size) / count, value),
      );
    }
  }
  return Buffer.concat([fixed, ...behind]);
}

// The header and the bytes that it announces, which are all there are.
function splitFrame(layout, bytes, magic) {
  const reader = new Reader(bytes);
  const header = reader.fixedPart(layout);
  if (magic !== undefined && header.magic !== magic) throw new ProtocolError('wrong magic');
  const payload = reader.take(header.payloadLength, 'the payload');
  reader.end();
  return { header, payload };
}

function frame(layout, header, payload) {
  return Buffer.concat([
    encodePayload(layout, { ...header, payloadLength: payload.length }),
    payload,
  ]);
}

export function decodeRequest(bytes) {
  const { header, payload } = splitFrame(layouts.requestHeader, bytes, REQUEST_MAGIC);
  const message = layouts.requests.get(header.type);
  return {
    ...header,
    message: message?.name,
    values: message && decodePayload(message.request, payload),
  };
}

export function encodeRequest({ type, clientId, values = {}, reserved1 = 0, reserved2 = 0 }) {
  const message = layouts.requests.get(type);
  const payload = message ? encodePayload(message.request, values) : Buffer.alloc(0);
  const header = { magic: REQUEST_MAGIC, reserved1, type, reserved2, clientId };
  return frame(layouts.requestHeader, header, payload);
}

// `type` is the request's: a response does not say what it answers. `values` is undefined when the
// service does not know the request.
export function decodeResponse(type, bytes) {
  const { header, payload } = splitFrame(layouts.responseHeader, bytes);
  const message = layouts.requests.get(type);
  if (payload.length === 0) return { ...header, values: undefined };
  if (!message) throw new ProtocolError(`a payload answers the unknown type ${type}`);
  return { ...header, values: decodePayload(message.response, payload) };
}

export function encodeResponse({ type, values }) {
  const payload = values
    ? encodePayload(layouts.requests.get(type).response, values)
    : Buffer.alloc(0);
  return frame(layouts.responseHeader, { reserved: 0 }, payload);
}

export const pushHeaderLength = layouts.pushFrameHeader.size;

// Whether a header may begin here: as many of its first four bytes as there are.
export function beginsPushHeader(bytes) {
  const magic = Buffer.from('PKXR');
  const length = Math.min(bytes.length, magic.length);
  return bytes.subarray(0, length).equals(magic.subarray(0, length));
}

export const isPushHeader = (message) =>
  message.length === pushHeaderLength && beginsPushHeader(message);

// How many bytes of payload a push header says to come.
export const announcedLength = (header) => header.readUInt32LE(12);

// The payload of an unknown type stays as it is, in `payload`.
export function decodeNotification(bytes) {
  const { header, payload } = splitFrame(layouts.pushFrameHeader, bytes, PUSH_MAGIC);
  const message = layouts.notifications.get(header.type);
  if (!message) return { ...header, payload };
  return { ...header, message: message.name, values: decodePayload(message.payload, payload) };
}

export function encodeNotification({ type, clientId, timestamp, values }) {
  const payload = encodePayload(layouts.notifications.get(type).payload, values);
  const header = { magic: PUSH_MAGIC, clientId, type, timestamp };
  return frame(layouts.pushFrameHeader, header, payload);
}
