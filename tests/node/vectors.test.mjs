// Every golden vector, decoded and encoded again; and what has to be among them.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import { vectorFile, vectorFileText } from '../../scripts/protocol_vectors.mjs';
import { ProtocolError } from '../../clients/node/lib/codec.mjs';
import { notifications, requests } from '../../clients/node/lib/layouts.mjs';
import { PushStream } from '../../clients/node/lib/push_stream.mjs';
import { PushReader } from './push_reader.mjs';
import {
  bytesOf,
  checkFields,
  checkMeaning,
  comparable,
  goldenSequences,
  goldenVectors,
} from './vectors.mjs';

const vectors = goldenVectors();

test('docs/protocol-vectors.json is what tests/vectors say', () => {
  // Not compared by assert, which would print both.
  assert.ok(
    readFileSync(vectorFile, 'utf8') === vectorFileText(),
    'run scripts/protocol_vectors.mjs',
  );
});

test('names are unique', () => {
  const names = [...vectors, ...goldenSequences()].map(({ name }) => name);
  assert.equal(new Set(names).size, names.length);
});

for (const vector of vectors) {
  test(`${vector.name} decodes to its values and encodes to its bytes`, () => {
    checkMeaning(vector);
    checkFields(vector);
  });
}

// As the vectors write a notification.
function written({ clientId, type, timestamp, values, payload }) {
  if (values) return { clientId, type, timestamp, values: comparable(values) };
  return { clientId, type, timestamp, payload: payload.toString('hex').toUpperCase() };
}

function given(take) {
  try {
    const notification = take();
    return notification ? written(notification) : null;
  } catch (error) {
    if (error instanceof ProtocolError) return 'lost';
    throw error;
  }
}

// What a stream gives of these bytes when they come in pieces of this length.
function givenByStream(bytes, length) {
  const stream = new PushStream();
  const all = [];
  try {
    for (let at = 0; at < bytes.length; at += length) {
      for (const one of stream.take(bytes.subarray(at, at + length))) all.push(written(one));
    }
  } catch (error) {
    if (!(error instanceof ProtocolError)) throw error;
    all.push('lost');
  }
  return all;
}

for (const { name, messages } of goldenSequences()) {
  test(`${name} gives what it says, message by message`, () => {
    const reader = new PushReader();
    for (const { bytes, gives } of messages) {
      assert.deepEqual(given(() => reader.take(Buffer.from(bytes, 'hex'))), gives);
    }
    assert.equal(reader.waiting, 0);
  });

  test(`${name} gives the same as a stream, however it is cut, up to what is lost`, () => {
    const bytes = Buffer.from(messages.map((message) => message.bytes).join(''), 'hex');
    const expected = messages.map(({ gives }) => gives).filter((gives) => gives !== null);
    if (expected.includes('lost')) expected.length = expected.indexOf('lost') + 1;
    // In single bytes only where that is not for ever.
    const lengths = bytes.length < 1000 ? [1, 7, 20, bytes.length] : [4096, 65536, bytes.length];
    for (const length of lengths) assert.deepEqual(givenByStream(bytes, length), expected);
  });
}

const of = (kind, message) =>
  vectors.filter((vector) => vector.kind === kind && vector.message === message);

// Every record on the wire with the vectors that have it.
const messages = [
  ...[...requests].flatMap(([type, { name, request, response }]) => [
    { title: `request ${type} ${name}`, layout: request, found: of('request', name) },
    { title: `response ${type} ${name}`, layout: response, found: of('response', name) },
  ]),
  ...[...notifications].map(([type, { name, payload }]) => ({
    title: `notification ${type} ${name}`,
    layout: payload,
    found: of('notification', name),
  })),
];

// The records in which a layout has its texts: the message itself, or the items of its list.
function recordsWithTexts(layout, { values }) {
  const list = layout.fields.find(({ kind }) => kind === 'count');
  return list ? values[list.name] : [values];
}

for (const { title, layout, found } of messages) {
  test(`there is a ${title}`, () => assert.notEqual(found.length, 0));

  const { texts } = layout.each ?? layout;
  if (texts.length === 0) continue;
  const records = found.flatMap((vector) => recordsWithTexts(layout, vector));
  const lengths = (name) => records.map((record) => Buffer.byteLength(record[name]));

  test(`there is a ${title} with nothing but empty texts`, () => {
    assert.ok(records.some((record) => texts.every((name) => record[name] === '')));
  });
  for (const name of texts) {
    test(`there is a ${title} with at least 255 bytes of ${name}`, () => {
      assert.ok(Math.max(...lengths(name)) >= 255);
    });
    if (name === 'nodeSelection') continue;  // Digits and separators.
    test(`there is a ${title} with a ${name} of several bytes a character`, () => {
      assert.ok(records.some((record) => Buffer.byteLength(record[name]) > record[name].length));
    });
  }
}

test('a text ends exactly at the largest length of one byte', () => {
  for (const kind of ['request', 'response', 'notification']) {
    const texts = vectors
      .filter((vector) => vector.kind === kind)
      .flatMap(({ values }) => Object.values(values));
    assert.ok(texts.some((text) => typeof text === 'string' && Buffer.byteLength(text) === 255), kind);
  }
});

test('lists have no, one and several items', () => {
  const counts = of('response', 'MsgGetGameUsedNodeList').map(({ values }) => values.nodes.length);
  assert.ok(counts.includes(0) && counts.includes(1) && counts.some((count) => count > 1));
});

// What an operation answers that has failed, or has nothing.
const failures = {
  MsgSdkInit: ['FFFFFFFF', 'FEFFFFFF'],
  MsgSdkIsInitialised: ['00'],
  MsgStartAccel: ['00'],
  MsgStartAccelEx: ['00'],
  MsgQueryAccelOwner: ['0000'],
  MsgGetAccelData: ['00'.repeat(48)],
  MsgGetGameLastAccelInfo: ['00'.repeat(24)],
  MsgGetGameAccelInfo: ['00'.repeat(64)],
  MsgGetTestSpeedData: ['00'.repeat(60)],
  MsgGetConsoleData: [`01000000${'00'.repeat(24)}`],
  MsgGetGameUsedNodeList: ['0100000000000000'],
};

for (const [message, payloads] of Object.entries(failures)) {
  test(`there is every failed answer of ${message}`, () => {
    const there = of('response', message).map((vector) =>
      bytesOf(vector).subarray(vector.headerLength).toString('hex').toUpperCase(),
    );
    for (const payload of payloads) assert.ok(there.includes(payload), payload);
  });
}

test('there is an unknown type, and its answer without payload', () => {
  assert.ok(vectors.some(({ kind, type }) => kind === 'request' && !requests.has(type)));
  assert.ok(vectors.some(({ kind, bytes }) => kind === 'response' && bytes === '0000000000000000'));
});
