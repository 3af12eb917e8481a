// The client for Node.js against the installed service, with the simulated library. Windows only; started
// by node_client_test.cpp. The last test ends the service.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import net from 'node:net';
import { after, before, test } from 'node:test';

import { NotRunningError, OrvaClient, RefusedError } from '../../clients/node/index.mjs';

const PUSH_PIPE = '\\\\.\\pipe\\OrvaAccelerator_Push';
const start = {
  startArg1: 1001,
  startArg2: 1,
  startText: 'east-1',
  startArg3: 0,
  nodeSelection: '101;111',
};
let client;
let reconnected = () => {};

before(async () => {
  // Nothing here waits for a deadline, and the machine may be busy.
  const timeoutMs = 60000;
  client = await OrvaClient.connect({
    clientId: 41,
    timeoutMs,
    onReconnected: async () => reconnected(),
  });
});

after(() => client?.close());

test('many requests that overlap get their answers', async () => {
  const names = ['MsgHeartbeat', 'MsgSdkIsInitialised', 'MsgGetConsoleData', 'MsgQueryAccelOwner'];
  const answers = await Promise.all(
    Array.from({ length: 100 }, (_, i) => client.request(names[i % names.length])),
  );
  for (const [i, answer] of answers.entries()) {
    const expected = ['monotonicMs', 'initialised', 'console1', 'ownedByCaller'][i % names.length];
    assert.ok(expected in answer, `${names[i % names.length]}: ${Object.keys(answer)}`);
  }
});

test('a start before the initialisation is refused', async () => {
  await assert.rejects(client.start(start), RefusedError);
});

test('a session goes from the initialisation to the stop, and others hear of it', async () => {
  const channel = { channelId: 1, channelNumber: 0, channelName: 'official' };
  assert.deepEqual(await client.request('MsgSdkInit', channel), { result: 1 });
  const other = await OrvaClient.connect({ clientId: 42, timeoutMs: 60000 });
  const heard = other.notifications();
  await assert.rejects(client.login({ account: 'player', credential: '' }), RefusedError);
  assert.equal((await client.login({ account: 'player', credential: 'secret' })).code, 0);

  const states = [];
  const { text1 } = await client.start(start, { onProgress: ({ state }) => states.push(state) });
  assert.deepEqual(states, [1, 2, 3, 4]);
  assert.equal(text1, '星河战纪');
  const { nodes } = await client.request('MsgGetGameUsedNodeList', { gameId: 1001 });
  assert.deepEqual(nodes.map(({ used1 }) => used1), [101, 111]);
  assert.equal((await client.stop()).code, 0);

  const seen = [];
  for await (const { type, clientId } of heard) {
    assert.equal(clientId, 41);
    seen.push(type);
    if (type === 4098) break;
  }
  assert.deepEqual(seen, [4099, 4099, 4096, 4096, 4096, 4096, 4098]);
  assert.deepEqual(await other.leave(), { lastClient: 0, remainingClients: 1 });
});

test('a request as long as they get goes out as one message', async () => {
  const startText = '游'.repeat(21845);
  assert.equal((await client.start({ ...start, startText, startArg4: 1 })).state, 4);
  assert.equal((await client.stop()).code, 0);
});

test('a registration that somebody takes over is taken back', async () => {
  const back = new Promise((resolve) => (reconnected = resolve));
  const thief = net.connect({ path: PUSH_PIPE });
  thief.on('error', () => {});
  await once(thief, 'connect');
  thief.write(Buffer.from([41, 0, 0, 0]));
  thief.resume();
  await Promise.all([back, once(thief, 'close')]);
  assert.equal((await client.login({ account: 'player', credential: 'secret' })).code, 0);
});

test('the last one to leave ends the service', async () => {
  assert.deepEqual(await client.leave(), { lastClient: 1, remainingClients: 0 });
  let failure;
  // A connection that is opened just then may still succeed.
  while (!(failure instanceof NotRunningError)) {
    failure = await OrvaClient.connect({ clientId: 41, reconnectMs: 0 }).then(
      (late) => late.close(),
      (error) => error,
    );
  }
});
