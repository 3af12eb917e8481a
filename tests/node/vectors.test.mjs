// Every golden vector, decoded and encoded again; and what has to be among them.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import { vectorFile, vectorFileText } from '../../scripts/protocol_vectors.mjs';
import { notifications, requests } from './layouts.mjs';
import { bytesOf, checkFields, checkMeaning, goldenVectors } from './vectors.mjs';

const vectors = goldenVectors();

test('docs/protocol-vectors.json is what tests/vectors say', () => {
  // Not compared by assert, which would print both.
  assert.ok(
    readFileSync(vectorFile, 'utf8') === vectorFileText(),
    'run scripts/protocol_vectors.mjs',
  );
});

test('names are unique', () => {
  assert.equal(new Set(vectors.map(({ name }) => name)).size, vectors.length);
});

for (const vector of vectors) {
  test(`${vector.name} decodes to its values and encodes to its bytes`, () => {
    checkMeaning(vector);
    checkFields(vector);
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
