// The type declarations of the client for Node.js have the fields that its layouts have.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';

import * as layouts from '../../clients/node/lib/layouts.mjs';

const declarations = readFileSync(new URL('../../clients/node/index.d.ts', import.meta.url), 'utf8');

// [name, type] of everything that is declared in a piece of text.
const declared = (text) =>
  [...text.matchAll(/(\w+): (number|bigint|string)\b/g)].map(([, ...pair]) => pair.join(': '));

function block(begin, end) {
  const from = declarations.indexOf(begin);
  assert.notEqual(from, -1, begin);
  return declarations.slice(from, declarations.indexOf(end, from));
}

const interfaceNamed = (name) => declared(block(`export interface ${name} {`, '\n}'));

// What decoding a record gives, without the lengths.
function fieldsOf({ fields, each }) {
  return fields.flatMap(({ kind, name, count }) => {
    if (kind === 'pad') return [];
    if (kind === 'count') return ['count: number', ...fieldsOf(each)];
    if (count !== undefined) return [`${name}: number`];
    return [`${name}: ${{ length: 'string', u64: 'bigint' }[kind] ?? 'number'}`];
  });
}

for (const { name, request, response } of layouts.requests.values()) {
  test(`${name} is declared as it is`, () => {
    const text = block(`\n  ${name}: [`, '];\n  Msg').split('];\n}')[0];
    const shared = ['Game', 'Start'].filter((one) => new RegExp(`\\b${one}\\b`).test(text.slice(name.length + 4)));
    const found = [...declared(text), ...shared.flatMap(interfaceNamed)];
    assert.deepEqual(new Set(found), new Set([...fieldsOf(request), ...fieldsOf(response)]));
  });
}

for (const [type, result] of [[4096, 'AccelResult'], [4098, 'StopResult'], [4099, 'LoginResult']]) {
  test(`${result} is declared as it is`, () => {
    assert.deepEqual(new Set(interfaceNamed(result)), new Set(fieldsOf(layouts.notifications.get(type).payload)));
  });
}
