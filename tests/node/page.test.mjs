// docs/protocol.md against the codec and the golden vectors: its tables, and the words beside its bytes.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import * as layouts from './layouts.mjs';
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
    const heading = lines.slice(0, i).findLast((before) => /^#/.test(before));
    tables.push({ heading, line: i + 1, rows: lines.slice(i + 2, end).map(cells) });
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

// The rows that a table has for a layout, without their last column.
function rowsOf({ fields, texts, size }) {
  const typeOf = ({ kind, count, size: bytes }) => {
    if (kind === 'pad') return `${bytes} bytes`;
    if (count !== undefined) return `${count} ${kind}`;
    return { length: 'u16', count: 'u32' }[kind] ?? kind;
  };
  const nameOf = ({ kind, name }) =>
    ({ pad: undefined, length: `${name}Length`, count: 'count' })[kind] ?? name;
  return [
    ...fields.map((field) => [
      `${field.offset}`,
      typeOf(field),
      field.kind === 'pad' ? undefined : nameOf(field),
    ]),
    ...texts.map((name, i) => [i === 0 ? `${size}` : '', 'text', name]),
  ];
}

function checkTable(table, layout) {
  const where = `${table.heading}, line ${table.line}`;
  const rows = table.rows.map(([offset, type, field]) => {
    const name = quoted(field);
    assert.ok(name || ['reserved', 'padding'].includes(field), `${where}: ${field}`);
    return [offset, type, name];
  });
  assert.deepEqual(rows, rowsOf(layout), where);
}

test('the tables of the headers have their fields at their offsets', () => {
  const tables = tablesWithHead('Offset', 'Type', 'Field');
  const headers = [
    layouts.requestHeader,
    layouts.responseHeader,
    layouts.pushFrameHeader,
    layouts.registration,
  ];
  assert.equal(tables.length, headers.length);
  headers.forEach((layout, i) => checkTable(tables[i], layout));
});

function tablesOf(head, heading) {
  return tablesWithHead('Offset', 'Type', head).filter((table) => table.heading === heading);
}

for (const [type, { name, request, response }] of layouts.requests) {
  test(`the section of ${name} has its fields at their offsets`, () => {
    const heading = `### ${type} \`${name}\``;
    assert.ok(lines.includes(heading), heading);
    const requestTables = tablesOf('Request', heading);
    assert.equal(requestTables.length, request.size === 0 ? 0 : 1);
    for (const table of requestTables) checkTable(table, request);

    const responseTables = tablesOf('Response', heading);
    assert.equal(responseTables.length, 1);
    checkTable(responseTables[0], response);

    const nodeTables = tablesOf('Node', heading);
    assert.equal(nodeTables.length, response.each ? 1 : 0);
    for (const table of nodeTables) checkTable(table, response.each);
  });
}

test('the sections of the notifications have their fields at their offsets', () => {
  const seen = new Set();
  for (const table of tablesWithHead('Offset', 'Type', 'Payload')) {
    const types = [...table.heading.matchAll(/(\d+) `(\w+)`/g)];
    assert.notEqual(types.length, 0, table.heading);
    for (const [, type, name] of types) {
      const notification = layouts.notifications.get(Number(type));
      assert.equal(notification.name, name);
      checkTable(table, notification.payload);
      seen.add(Number(type));
    }
  }
  assert.deepEqual(seen, new Set(layouts.notifications.keys()));
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

test('there are examples', () => assert.ok(examples.length >= 50));

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

test('every link into the page leads to a heading', () => {
  const anchors = lines
    .filter((line) => /^#/.test(line))
    .map((line) => line.replace(/^#+ /, '').toLowerCase().replace(/[^\w -]/g, '').replaceAll(' ', '-'));
  for (const [, anchor] of page.matchAll(/\]\(#([^)]+)\)/g)) assert.ok(anchors.includes(anchor), anchor);
});
