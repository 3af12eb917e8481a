// Damaged frames are refused, and damaged vectors noticed.
import assert from 'node:assert/strict';
import test from 'node:test';

import * as codec from '../../clients/node/lib/codec.mjs';
import * as layouts from '../../clients/node/lib/layouts.mjs';
import { bytesOf, checkFields, checkMeaning, goldenVectors } from './vectors.mjs';

const vectors = goldenVectors();
const frames = vectors.filter(({ kind }) => ['request', 'response', 'notification'].includes(kind));
const lengthOffsets = { request: 12, response: 4, notification: 12 };

function decode({ kind, type }, bytes) {
  if (kind === 'request') return codec.decodeRequest(bytes);
  if (kind === 'response') return codec.decodeResponse(type, bytes);
  return codec.decodeNotification(bytes);
}

function refuses(vector, bytes, what) {
  assert.throws(() => decode(vector, bytes), codec.ProtocolError, `${vector.name}: ${what}`);
}

function damaged(vector, change) {
  const bytes = bytesOf(vector);
  change(bytes);
  return bytes;
}

// [offset of a length or count field in the frame, its size], for everything that tells how long
// something is inside the payload of a vector.
function innerLengths({ kind, type, headerLength, fields }) {
  const message = layouts.requests.get(type) ?? layouts.notifications.get(type);
  if (!message) return [];
  const layout = { request: message.request, response: message.response }[kind] ?? message.payload;
  if (layout.texts.length > 0) {
    return layout.fields
      .filter((field) => field.kind === 'length')
      .map(({ offset }) => [headerLength + offset, 2]);
  }
  return fields
    .filter(({ text }) => /^count,|: \w+Length,/.test(text))
    .map(({ offset, size }) => [offset, size]);
}

test('a frame that ends early is refused wherever it ends', () => {
  for (const vector of frames) {
    const bytes = bytesOf(vector);
    for (let length = 0; length < bytes.length; ++length) {
      refuses(vector, bytes.subarray(0, length), `${length} bytes`);
    }
  }
});

test('bytes behind a frame are refused', () => {
  for (const vector of frames) {
    refuses(vector, Buffer.concat([bytesOf(vector), Buffer.alloc(1)]), 'a byte more');
    refuses(vector, Buffer.concat([bytesOf(vector), bytesOf(vector)]), 'twice');
  }
});

test('a wrong magic is refused whichever bit is wrong', () => {
  for (const vector of frames.filter(({ kind }) => kind !== 'response')) {
    for (let bit = 0; bit < 32; ++bit) {
      refuses(
        vector,
        damaged(vector, (bytes) => (bytes[bit >> 3] ^= 1 << (bit & 7))),
        `bit ${bit}`,
      );
    }
  }
  const [request] = frames.filter(({ kind }) => kind === 'request');
  refuses(request, damaged(request, (bytes) => bytes.write('PKXR')), 'the other magic');
});

test('a payload length that lies is refused', () => {
  for (const vector of frames) {
    const at = lengthOffsets[vector.kind];
    const right = bytesOf(vector).readUInt32LE(at);
    for (const length of [0, right - 1, right + 1, right + 65536, 0x7fffffff, 0xffffffff]) {
      if (length < 0 || length === right) continue;
      refuses(vector, damaged(vector, (bytes) => bytes.writeUInt32LE(length, at)), `${length}`);
    }
  }
});

test('a text length or a count that lies is refused', () => {
  let seen = 0;
  for (const vector of frames) {
    for (const [at, size] of innerLengths(vector)) {
      ++seen;
      const right = bytesOf(vector).readUIntLE(at, size);
      for (const length of [right - 1, right + 1, 2 ** (8 * size) - 1]) {
        if (length < 0) continue;
        const bytes = damaged(vector, (copy) => copy.writeUIntLE(length, at, size));
        refuses(vector, bytes, `${length} at ${at}`);
      }
    }
  }
  assert.ok(seen > 100, `only ${seen} lengths were found`);
});

test('a text that is not UTF-8 is refused', () => {
  const login = frames.find(({ name }) => name === 'requests/user_login');
  refuses(login, damaged(login, (bytes) => (bytes[bytes.length - 1] = 0xff)), 'FF');
});

test('a payload that answers an unknown type is refused', () => {
  const heartbeat = frames.find(({ name }) => name === 'responses/heartbeat');
  assert.throws(() => codec.decodeResponse(0, bytesOf(heartbeat)), codec.ProtocolError);
});

// Every byte of a field, but of a long text its ends: one byte of it is like another.
function bytesToDamage({ offset, size }) {
  if (size > 16) return [offset, offset + size - 1];
  return Array.from({ length: size }, (_, i) => offset + i);
}

test('a vector with any one byte damaged is noticed, from its values alone', () => {
  for (const vector of vectors) {
    for (const field of vector.fields) {
      const isSetReserved = vector.encodes === false && /never read/.test(field.text);
      if (field.varies || isSetReserved) continue;
      for (const i of bytesToDamage(field)) {
        const bytes = damaged(vector, (copy) => (copy[i] ^= 1)).toString('hex');
        assert.throws(() => checkMeaning({ ...vector, bytes }), Error, `${vector.name}: byte ${i}`);
      }
    }
  }
});

test('a vector with a wrong value, a missing one or one too many is noticed', () => {
  for (const vector of vectors.filter(({ values }) => Object.keys(values).length > 0)) {
    if (vector.fields.some(({ varies }) => varies) && vector.kind === 'response') continue;
    assert.throws(() => checkMeaning({ ...vector, values: { ...vector.values, more: 0 } }));
    for (const name of Object.keys(vector.values)) {
      const { [name]: value, ...others } = vector.values;
      assert.throws(() => checkMeaning({ ...vector, values: others }), Error, vector.name);
      const values = { ...others, [name]: typeof value === 'number' ? value + 1 : `${value}x` };
      assert.throws(() => checkMeaning({ ...vector, values }), Error, vector.name);
    }
  }
});

test('a vector whose field texts say something else is noticed', () => {
  for (const vector of vectors) {
    for (const [i, field] of vector.fields.entries()) {
      if (!/, -?\d+/.test(field.text) || field.varies || /never read/.test(field.text)) continue;
      const text = field.text.replace(/, (-?\d+)/, (all, number) => `, ${BigInt(number) + 1n}`);
      const fields = vector.fields.map((one, at) => (at === i ? { ...one, text } : one));
      assert.throws(() => checkFields({ ...vector, fields }), Error, `${vector.name}: ${text}`);
    }
  }
});

test('texts longer than their length field can say come out whole', () => {
  const { values } = frames.find(({ name }) => name === 'notifications/start_accel_accelerating');
  const frame = codec.encodeNotification({
    type: 4096,
    clientId: 7,
    timestamp: 1,
    values: { ...values, text1: 'a'.repeat(65539), text2: 'bb' },
  });
  assert.equal(frame.readUInt16LE(20 + 8), 3);
  const decoded = codec.decodeNotification(frame).values;
  assert.deepEqual([decoded.text1.length, decoded.text2], [65539, 'bb']);
});
