// docs/protocol.md against the codec and the golden vectors: its tables, and the words beside its bytes.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import * as layouts from '../../clients/node/lib/layouts.mjs';
import { bytesOf, goldenVectors } from './vectors.mjs';

const page = readFileSync(new URL('../../docs/protocol.md', import.meta.url), 'utf8');
const vectors = new Map(goldenVectors().map((vector) => [vector.name, vector]));
const lines = page.split('\n');

// The rows of all tables whose head has these cells, table by table; each row is a list of cells.
function tablesWithHead(...head) {
  const cells = (line) => line.split('|').slice(1, -1).map((cell) => cell.trim());
  const tables = [];
  for (const [i, line] of lines.entries()) {
    if (!line.startsWith('|') || !head.every((cell, at) => cells(line)[at] === cell)) continue;
    const end = lines.findIndex((later, at) => at > i && !later.startsWith('|'));
    tables.push({ rows: lines.slice(i + 2, end).map(cells) });
  }
  return tables;
}

const quoted = (cell) => /^`(\w+)`$/.exec(cell)?.[1];

// "20 + texts" for a record of 20 bytes with texts, "none" for an empty one.
function sizeInWords({ size, texts, each }) {
  if (each) return `${size} + nodes`;
  if (texts.length === 0) return size === 0 ? 'none' : `${size}`;
  return `${size} + ${texts.length === 1 ? 'text' : 'texts'}`;
}

const hex = (type) => `0x${type.toString(16).toUpperCase()}`;

test('the overview lists every request with the sizes of its payloads', () => {
  const [{ rows }] = tablesWithHead('Type', '', 'Request');
  const expected = [...layouts.requests].map(([type, { name, request, response }]) => [
    `${type}`,
    hex(type),
    `\`${name}\``,
    sizeInWords(request),
    sizeInWords(response),
  ]);
  assert.deepEqual(rows.map((row) => row.slice(0, 5)), expected);
});

test('the overview lists every notification, and what it is the outcome of', () => {
  const [{ rows }] = tablesWithHead('Type', '', 'Notification');
  const expected = [...layouts.notifications].map(([type, { name, payload }]) => [
    `${type}`,
    hex(type),
    `\`${name}\``,
    sizeInWords(payload),
  ]);
  assert.deepEqual(rows.map((row) => row.slice(0, 4)), expected);

  const outcomes = new Map(
    tablesWithHead('Type', '', 'Request')[0].rows.map((row) => [row[0], quoted(row[5])]),
  );
  for (const row of rows) {
    const [request] = /\d+$/.exec(row[4]);
    assert.equal(outcomes.get(request), quoted(row[2]), row[4]);
  }
});

// The blocks that show a record: what they say they are of, under which heading they stand, and
// [offset, type, field] row by row.
const blocks = lines.flatMap((line, i) => {
  const [, of] = /^```layout (.+)$/.exec(line) ?? [];
  if (!of) return [];
  const end = lines.indexOf('```', i);
  const rows = lines.slice(i + 1, end).map((row) => {
    const parts = /^ *(\d*) (14 u32|\d bytes|[a-z]\w+) +(\w+)(?:  +\S.*)?$/.exec(row);
    assert.ok(parts, `not understood: ${row}`);
    return parts.slice(1);
  });
  return [{ of, rows, heading: lines.slice(0, i).findLast((before) => /^#/.test(before)) }];
});

// The rows that a block has for a layout.
function rowsOf({ fields, texts, size }) {
  const typeOf = ({ kind, count, size: bytes }) => {
    if (kind === 'pad') return `${bytes} bytes`;
    if (count !== undefined) return `${count} ${kind}`;
    return { length: 'u16', count: 'u32' }[kind] ?? kind;
  };
  const nameOf = ({ kind, name }) =>
    ({ pad: 'reserved', length: `${name}Length`, count: 'count' })[kind] ?? name;
  return [
    ...fields.map((field) => [`${field.offset}`, typeOf(field), nameOf(field)]),
    ...texts.map((name, i) => [i === 0 ? `${size}` : '', 'text', name]),
  ];
}

// The one block of this record, below this heading.
function checkBlock(of, heading, layout) {
  const found = blocks.filter((block) => block.of === of);
  assert.equal(found.length, 1, `${found.length} layouts of ${of}`);
  assert.equal(found[0].heading, heading, of);
  const rows = found[0].rows.map((row) => row.map((cell) => (cell === 'padding' ? 'reserved' : cell)));
  assert.deepEqual(rows, rowsOf(layout), of);
}

test('the layouts of the headers have their fields at their offsets', () => {
  checkBlock('request header', '## Headers', layouts.requestHeader);
  checkBlock('response header', '## Headers', layouts.responseHeader);
  checkBlock('notification header', '## Headers', layouts.pushFrameHeader);
  checkBlock('registration', '## Headers', layouts.registration);
});

for (const [type, { name, request, response }] of layouts.requests) {
  test(`the section of ${name} has its fields at their offsets`, () => {
    const heading = `### ${type} \`${name}\``;
    assert.ok(lines.includes(heading), heading);
    if (request.size > 0) checkBlock(`request ${type}`, heading, request);
    checkBlock(`response ${type}`, heading, response);
    if (response.each) checkBlock('node', heading, response.each);
  });
}

test('the sections of the notifications have their fields at their offsets', () => {
  const seen = new Set();
  for (const { of, heading } of blocks.filter((block) => block.of.startsWith('notification '))) {
    if (of === 'notification header') continue;
    const types = [...heading.matchAll(/(\d+) `(\w+)`/g)];
    assert.equal(of, `notification ${types.map(([, type]) => type).join(' ')}`);
    for (const [, type, name] of types) {
      const notification = layouts.notifications.get(Number(type));
      assert.equal(notification.name, name);
      checkBlock(of, heading, notification.payload);
      seen.add(Number(type));
    }
  }
  assert.deepEqual(seen, new Set(layouts.notifications.keys()));
});

test('there is no layout of what has none', () => {
  const known = [...layouts.requests].flatMap(([type, { request }]) =>
    request.size > 0 ? [`request ${type}`, `response ${type}`] : [`response ${type}`],
  );
  const others = ['request header', 'response header', 'registration', 'node'];
  for (const { of } of blocks) {
    assert.ok(known.includes(of) || others.includes(of) || of.startsWith('notification '), of);
  }
});

const examples = [...page.matchAll(/^```vector (\S+)\n(.*?)^```$/gms)].map(([, name, body]) => ({
  name,
  // [bytes, words] line by line.
  shown: body
    .trimEnd()
    .split('\n')
    .map((line) => {
      const [bytes, ...words] = line.split('#');
      return [bytes.replaceAll(' ', ''), words.join('#').trim()];
    }),
}));

test('there are examples', () => assert.ok(examples.length >= 3));

for (const { name, shown } of examples) {
  test(`the example ${name} says of each field what the vector says`, () => {
    const vector = vectors.get(name);
    const bytes = bytesOf(vector).toString('hex').toUpperCase();
    // A field that takes several lines has its words on the first.
    const rows = [];
    for (const [hexadecimal, words] of shown) {
      if (words === '') rows.at(-1)[0] += hexadecimal;
      else rows.push([hexadecimal, words]);
    }
    const expected = vector.fields.map(({ offset, size, text, varies }) => [
      bytes.slice(offset * 2, (offset + size) * 2),
      varies ? `${text} (varies)` : text,
    ]);
    assert.deepEqual(rows, expected);
  });
}

test('every largest size follows from the layouts and the longest texts', () => {
  const [, ...sizes] = /^\| 1536, 1537, 1538 \| ([\d,]+), ([\d,]+) and ([\d,]+) bytes \|$/m.exec(page);
  const longest = (type) =>
    Math.max(...[...vectors.values()].filter((one) => one.kind === 'response' && one.type === type)
      .map(({ bytes, headerLength }) => bytes.length / 2 - headerLength));
  assert.equal(Number(sizes[0].replace(',', '')), longest(1536));
  // Of these the vectors have one text at its longest, or all of them.
  assert.equal(Number(sizes[1].replace(',', '')), 24 + 2 * 255 * 3);
  assert.equal(Number(sizes[2].replace(',', '')), longest(1538));
});

test('every link into the page leads to a heading', () => {
  const anchors = lines
    .filter((line) => /^#/.test(line))
    .map((line) => line.replace(/^#+ /, '').toLowerCase().replace(/[^\w -]/g, '').replaceAll(' ', '-'));
  for (const [, anchor] of page.matchAll(/\]\(#([^)]+)\)/g)) assert.ok(anchors.includes(anchor), anchor);
});
