// The golden vectors, and what it means that the codec agrees with one of them.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';

import * as codec from '../../clients/node/lib/codec.mjs';
import * as layouts from '../../clients/node/lib/layouts.mjs';

const golden = JSON.parse(
  readFileSync(new URL('../../docs/protocol-vectors.json', import.meta.url), 'utf8'),
);

export const goldenVectors = () => golden.vectors;
// What comes on the push pipe, message by message, and what each gives.
export const goldenSequences = () => golden.sequences;

export const bytesOf = (vector) => Buffer.from(vector.bytes, 'hex');

// As the vectors write them: 64-bit integers are numbers where a number holds them.
export function comparable(value) {
  if (typeof value === 'bigint') {
    return Number.isSafeInteger(Number(value)) ? Number(value) : String(value);
  }
  if (Array.isArray(value)) return value.map(comparable);
  if (value === null || typeof value !== 'object') return value;
  return Object.fromEntries(Object.entries(value).map(([name, part]) => [name, comparable(part)]));
}

const headers = {
  'headers/request_header': layouts.requestHeader,
  'headers/response_header': layouts.responseHeader,
  'headers/push_frame_header': layouts.pushFrameHeader,
  'headers/registration': layouts.registration,
};

function checkRequest(vector, bytes) {
  const decoded = codec.decodeRequest(bytes);
  assert.equal(decoded.type, vector.type);
  assert.equal(decoded.message ?? '', vector.message);
  const { clientId, values } = decoded;
  assert.deepEqual(comparable({ clientId, ...values }), vector.values);
  const { type, reserved1, reserved2 } = decoded;
  assert.equal(reserved1 === 0 && reserved2 === 0, vector.encodes !== false);
  assert.deepEqual(codec.encodeRequest({ type, clientId, values, reserved1, reserved2 }), bytes);
}

function checkResponse(vector, bytes) {
  const decoded = codec.decodeResponse(vector.type, bytes);
  assert.deepEqual(comparable(decoded.values ?? {}), vector.values);
  assert.equal(decoded.values === undefined, vector.message === '');
  assert.deepEqual(codec.encodeResponse({ type: vector.type, values: decoded.values }), bytes);
}

function checkNotification(vector, bytes) {
  const decoded = codec.decodeNotification(bytes);
  assert.equal(decoded.type, vector.type);
  assert.equal(decoded.message, vector.message);
  const { clientId, values } = decoded;
  assert.deepEqual(comparable({ clientId, ...values }), vector.values);
  assert.deepEqual(codec.encodeNotification(decoded), bytes);
}

function checkHeader(vector, bytes) {
  const layout = headers[vector.name];
  const decoded = codec.decodePayload(layout, bytes);
  assert.deepEqual(decoded, vector.values);
  assert.deepEqual(codec.encodePayload(layout, decoded), bytes);
}

// Throws unless the bytes decode to exactly the values, and the values encode to exactly the bytes.
export function checkMeaning(vector) {
  const check = {
    header: checkHeader,
    registration: checkHeader,
    request: checkRequest,
    response: checkResponse,
    notification: checkNotification,
  }[vector.kind];
  check(vector, bytesOf(vector));
}

function littleEndian(bytes) {
  return bytes.reduceRight((sum, byte) => (sum << 8n) | BigInt(byte), 0n);
}

// "node 1: used1, 11" says that the bytes are 11; "text, "abc"" and "text, 3 times "a"" that they are
// this text; "reserved", "padding" and "always 0" that they are zeros.
function checkText(text, bytes) {
  const [, name, meaning] = /^(?:node \d+: )?(\w+)(?:, (.+))?$/s.exec(text) ?? [];
  assert.ok(name, `not understood: ${text}`);
  if (meaning === 'never read') return;
  if (/^(reserved|padding)\d?$/.test(name) && !/^\d/.test(meaning ?? '')) {
    assert.equal(littleEndian(bytes), 0n, text);
    return;
  }
  const written = /^(?:(\d+) times )?"(.*)"$/s.exec(meaning);
  if (written) {
    assert.equal(bytes.toString('utf8'), written[2].repeat(Number(written[1] ?? 1)));
    return;
  }
  const number = /^-?\d+(?=$|[ ,])/.exec(meaning);
  assert.ok(number, `not understood: ${text}`);
  assert.equal(littleEndian(bytes), BigInt.asUintN(bytes.length * 8, BigInt(number[0])), text);
}

// Throws unless the fields cover the bytes without a gap, and their texts say what the bytes are.
export function checkFields(vector) {
  const bytes = bytesOf(vector);
  let end = 0;
  for (const { offset, size, text, varies } of vector.fields) {
    assert.equal(offset, end, text);
    end += size;
    if (!varies) checkText(text, bytes.subarray(offset, end));
  }
  assert.equal(end, bytes.length);
}
