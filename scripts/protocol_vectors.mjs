#!/usr/bin/env node
// usage: protocol_vectors.mjs [--check]
//
// Writes docs/protocol-vectors.json, all golden vectors in one file for programs in any language, from
// what people write in tests/vectors. With --check, writes nothing and ends with 1 unless the file is
// as it would be written.
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';

const root = new URL('../', import.meta.url);
export const vectorFile = new URL('docs/protocol-vectors.json', root);

const about =
  'The exact bytes of the messages that clients and the Orva Accelerator Service exchange, and what ' +
  'they mean; docs/protocol.md describes the protocol. Written by hand, not recorded. Generated from ' +
  'tests/vectors by scripts/protocol_vectors.mjs: change those, not this.';

const schema = {
  name: 'unique; examples on the protocol page have the same names',
  kind: 'header (one of the three headers alone), registration, request, response or notification',
  description: 'what is worth knowing about it, for people',
  message: 'name of the message type; of the request, for a response; empty for none or an unknown one',
  type: 'its number; of the request, for a response; null for none',
  direction: 'who writes it, on which pipe',
  headerLength: 'how many of the bytes are the header; the others are the payload',
  bytes: 'header and payload, one after the other, in hexadecimal',
  fields: 'the same bytes field by field: offset from the start of the header, size, and for people ' +
    'the name and what the bytes mean. "varies": true where they differ from run to run (a time) and ' +
    'are an example: skip them when you compare',
  encodes: 'only there, and false, where a request is not what a client would write: the values do not ' +
    'encode to the bytes, because the reserved words are set',
  values: 'what the bytes mean, by field name: numbers, texts, and lists of them (summary, nodes). ' +
    'Magic, type, lengths, padding and the time stamp are left out, except in a header alone. A ' +
    'number above 9007199254740991 is a decimal string, because many JSON readers would round it',
  sequences: 'what comes on the push pipe, message by message: the bytes, and what they give. null: ' +
    'nothing yet. A notification: its header and values; a payload in hexadecimal instead of values ' +
    'where the type is unknown. "lost": the message fits nowhere, and the page says what goes with it',
};

const headerLengths = { requests: 24, responses: 8, notifications: 20 };

// The sources may say {"repeat": "ab", "times": 3} where here stands "ababab".
function writtenOut(value) {
  if (value === null || typeof value !== 'object') return value;
  if ('repeat' in value) return value.repeat.repeat(value.times);
  if (Array.isArray(value)) return value.map(writtenOut);
  return Object.fromEntries(Object.entries(value).map(([name, part]) => [name, writtenOut(part)]));
}

// Upper-case digits without blanks, of one piece or of several.
function hexOf(pieces) {
  return [pieces].flat().map(writtenOut).join('').replaceAll(' ', '');
}

function fieldsOf(vector) {
  let offset = 0;
  return vector.fields.map(([bytes, text, varies]) => {
    const hex = hexOf(bytes);
    const field = { offset, size: hex.length / 2, text, hex };
    offset += field.size;
    return varies === 'variable' ? { ...field, varies: true } : field;
  });
}

function vectorOf(file, vector) {
  const { name, description, message, type, direction, encodes } = vector;
  const fields = fieldsOf(vector);
  const bytes = fields.map(({ hex }) => hex).join('');
  const kind = file === 'headers' ? (name === 'registration' ? name : 'header') : file.slice(0, -1);
  return {
    name: `${file}/${name}`,
    kind,
    description,
    message,
    type,
    direction,
    headerLength: headerLengths[file] ?? (kind === 'header' ? bytes.length / 2 : 0),
    bytes,
    fields: fields.map(({ hex, ...field }) => field),
    ...(encodes === undefined ? {} : { encodes }),
    values: writtenOut(vector.values),
  };
}

function sequenceOf({ name, description, messages }) {
  return {
    name: `sequences/${name}`,
    description,
    messages: messages.map(([pieces, gives]) => ({
      bytes: hexOf(pieces),
      gives: gives?.payload === undefined ? writtenOut(gives) : { ...gives, payload: hexOf(gives.payload) },
    })),
  };
}

function readSource(file) {
  const text = readFileSync(new URL(`tests/vectors/${file}.json`, root), 'utf8');
  // JavaScript would round these.
  const exact = text.replace(/(": )(\d{16,})/g, (all, before, digits) =>
    Number.isSafeInteger(Number(digits)) ? all : `${before}"${digits}"`,
  );
  return JSON.parse(exact);
}

const readVectors = (file) => readSource(file).map((vector) => vectorOf(file, vector));

// One member a line, and one field or message: differences can be read.
function written(vectors, sequences) {
  const members = (object, indent, line) =>
    Object.entries(object)
      .map(([name, value]) => `${indent}${JSON.stringify(name)}: ${line(name, value)}`)
      .join(',\n');
  const list = (items, indent, line) => `[\n${items.map((item) => indent + line(item)).join(',\n')}`;
  const lines = (items) => `${list(items, '        ', JSON.stringify)}\n      ]`;
  const vector = (object) =>
    `{\n${members(object, '      ', (name, value) =>
      name === 'fields' || name === 'messages' ? lines(value) : JSON.stringify(value),
    )}\n    }`;
  return `{
  "about": ${JSON.stringify(about)},
  "schema": {
${members(schema, '    ', (name, value) => JSON.stringify(value))}
  },
  "vectors": ${list(vectors, '    ', vector)}
  ],
  "sequences": ${list(sequences, '    ', vector)}
  ]
}
`;
}

// What the file has to hold.
export function vectorFileText() {
  return written(
    ['headers', 'requests', 'responses', 'notifications'].flatMap(readVectors),
    readSource('sequences').map(sequenceOf),
  );
}

function main(option) {
  if (option === '--check') {
    if (readFileSync(vectorFile, 'utf8') === vectorFileText()) return 0;
    console.error('docs/protocol-vectors.json is not what tests/vectors say: run this without --check');
    return 1;
  }
  if (option !== undefined) {
    console.error('usage: protocol_vectors.mjs [--check]');
    return 2;
  }
  writeFileSync(vectorFile, vectorFileText());
  return 0;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) process.exitCode = main(process.argv[2]);
