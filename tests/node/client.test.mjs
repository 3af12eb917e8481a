// The client for Node.js against scripted pipes.
import assert from 'node:assert/strict';
import { afterEach, beforeEach, test } from 'node:test';

import {
  AbortedError,
  HungUpError,
  NotRunningError,
  NotTheServiceError,
  OrvaClient,
  RefusedError,
  TimeoutError,
} from '../../clients/node/index.mjs';
import { FakeService, golden, notification } from './fake_service.mjs';

const ID = 7;
let service;
let clients;

beforeEach(async () => {
  clients = [];
  service = await FakeService.start();
});

afterEach(async () => {
  for (const client of clients) client.close();
  await service.dispose();
});

async function connect(options = {}) {
  const { requestPipe, pushPipe } = service;
  const client = await OrvaClient.connect({ requestPipe, pushPipe, clientId: ID, ...options });
  clients.push(client);
  return client;
}

// A promise, and what settles it.
function signalled() {
  let resolve;
  const promise = new Promise((settle) => (resolve = settle));
  return { promise, resolve };
}

// Lets what has been written arrive: a request goes there and back behind it.
const roundTrip = (client) => client.request('MsgHeartbeat');

const login = { account: 'player@orva', credential: 's3cret;=' };
const start = {
  startArg1: 1001,
  startArg2: 2,
  startText: 'asia-1',
  startArg3: 5,
  nodeSelection: 'auto',
};

test('connecting registers first and then sends a heartbeat', async () => {
  await connect();
  assert.deepEqual(service.registrations, ['07000000']);
  assert.deepEqual(service.names(), ['MsgHeartbeat']);
});

test('a request has the golden values on both sides, however the answer is cut', async () => {
  const client = await connect();
  service.answer = ({ message }, socket) => {
    if (message !== 'MsgGetGameUsedNodeList') return undefined;
    socket.setNoDelay?.(true);
    const bytes = golden('responses/get_game_used_node_list_two');
    for (let at = 0; at < bytes.length; at += 5) socket.write(bytes.subarray(at, at + 5));
    return null;
  };
  const { count, nodes } = await client.request('MsgGetGameUsedNodeList', { gameId: 1001 });
  assert.equal(count, 2);
  assert.deepEqual(nodes.map(({ used1, used4 }) => [used1, used4]), [[11, 1761661963614n], [21, 7n]]);
  assert.deepEqual(service.requests.at(-1).values, { gameId: 1001 });
  assert.equal(service.requests.at(-1).clientId, ID);
});

test('requests that overlap go out one after the other', async () => {
  const client = await connect();
  const first = signalled();
  service.answer = ({ message }, socket) => {
    if (message !== 'MsgSdkIsInitialised') return undefined;
    first.resolve(socket);
    return null;
  };
  const answers = [client.request('MsgSdkIsInitialised'), client.request('MsgQueryAccelOwner')];
  const socket = await first.promise;
  assert.deepEqual(service.names().slice(1), ['MsgSdkIsInitialised']);
  socket.write(golden('responses/sdk_is_initialised_no'));
  assert.deepEqual(await Promise.all(answers), [
    { initialised: 0 },
    { anyAcceleration: 1, ownedByCaller: 1 },
  ]);
});

test('a deadline that passes is a TimeoutError, and the late answer is nobody else\'s', async () => {
  const client = await connect();
  let late;
  service.answer = ({ message }, socket) => {
    if (message === 'MsgSdkIsInitialised') late = socket;
    else if (!late.destroyed) late.write(golden('responses/sdk_is_initialised_no'));
    return message === 'MsgSdkIsInitialised' ? null : undefined;
  };
  await assert.rejects(client.request('MsgSdkIsInitialised', {}, { timeoutMs: 20 }), TimeoutError);
  assert.deepEqual(await client.request('MsgQueryAccelOwner'), {
    anyAcceleration: 1,
    ownedByCaller: 1,
  });
});

test('requests that wait for one that times out make no connections of their own', async () => {
  const client = await connect();
  service.answer = ({ message }) => (message === 'MsgSdkIsInitialised' ? null : undefined);
  // The deadlines of the others are long over when the first one's turn ends.
  const waiting = Array.from({ length: 50 }, (_, i) =>
    assert.rejects(
      client.request('MsgSdkIsInitialised', {}, { timeoutMs: i === 0 ? 300 : 20 }),
      TimeoutError,
    ),
  );
  await Promise.all(waiting);
  await roundTrip(client);
  assert.equal(service.connections, 2);
});

test('an aborted request is an AbortedError with the reason, and the next one works', async () => {
  const client = await connect();
  const controller = new AbortController();
  service.answer = ({ message }) => {
    if (message !== 'MsgSdkIsInitialised') return undefined;
    controller.abort('no longer wanted');
    return null;
  };
  const given = client.request('MsgSdkIsInitialised', {}, { signal: controller.signal });
  await assert.rejects(given, (error) => {
    assert.ok(error instanceof AbortedError);
    assert.equal(error.name, 'AbortError');
    assert.equal(error.cause, 'no longer wanted');
    return true;
  });
  await roundTrip(client);
});

test('a request that is aborted while others are before it is never sent', async () => {
  const client = await connect();
  const controller = new AbortController();
  const answers = ['MsgSdkIsInitialised', 'MsgStopAccel', 'MsgQueryAccelOwner'].map((name) =>
    client.request(name, {}, name === 'MsgStopAccel' ? { signal: controller.signal } : {}),
  );
  controller.abort();
  await assert.rejects(answers[1], AbortedError);
  await Promise.all([answers[0], answers[2]]);
  assert.deepEqual(service.names().slice(1), ['MsgSdkIsInitialised', 'MsgQueryAccelOwner']);
  const late = client.request('MsgStopAccel', {}, { signal: controller.signal });
  await assert.rejects(late, AbortedError);
  await roundTrip(client);
  assert.ok(!service.names().includes('MsgStopAccel'));
});

test('pipes that nobody serves are a NotRunningError', async () => {
  await service.end();
  await assert.rejects(connect(), NotRunningError);
});

test('a pipe that comes back within a moment is waited for', async () => {
  await service.end();
  setTimeout(() => service.listen(), 100);
  await connect();
});

test('a connection that is closed instead of an answer is a HungUpError, and is made anew', async () => {
  const client = await connect();
  service.answer = ({ message }, socket) => {
    if (message !== 'MsgSdkIsInitialised') return undefined;
    socket.destroy();
    return null;
  };
  await assert.rejects(client.request('MsgSdkIsInitialised'), HungUpError);
  await roundTrip(client);
});

test('an answer that is none is a NotTheServiceError', async () => {
  const client = await connect();
  const tooLong = Buffer.from('00000000010000000101', 'hex');
  const endless = Buffer.from('00000000FFFFFFFF', 'hex');
  const wrongSize = Buffer.from('00000000020000000101', 'hex');
  for (const garbage of [tooLong, endless, wrongSize]) {
    service.answer = ({ message }) => (message === 'MsgSdkIsInitialised' ? garbage : undefined);
    await assert.rejects(client.request('MsgSdkIsInitialised'), NotTheServiceError);
  }
  // Of the first two nobody knows what comes next.
  assert.equal(service.connections, 3);
});

test('an answer without payload is a RefusedError: the service does not know the request', async () => {
  const client = await connect();
  service.answer = () => golden('responses/unknown_type');
  await assert.rejects(client.request('MsgStopAccel'), RefusedError);
});

test('what no request can carry is not sent', async () => {
  const client = await connect();
  await assert.rejects(client.request('MsgNothing'), TypeError);
  await assert.rejects(client.request('MsgUserLogin', { ...login, account: 'x'.repeat(65536) }), RangeError);
  for (const nodeSelection of ['AUTO', '1, 2', 'x', '1;2147483648', '- 1']) {
    await assert.rejects(client.start({ ...start, nodeSelection }), RangeError, nodeSelection);
  }
  for (const nodeSelection of ['', 'auto', '1;;-2;', '2147483647']) {
    await client.request('MsgStartAccel', { ...start, nodeSelection });
  }
  assert.equal(service.requests.length, 1 + 4);
});

test('a login gives its own outcome, even if that comes before the answer', async () => {
  const client = await connect();
  service.answer = ({ message }) => {
    if (message !== 'MsgUserLogin') return undefined;
    service.notify(
      notification('user_login_refused', ID + 1),
      notification('start_accel_accelerating', ID),
      notification('user_login_succeeded', ID),
    );
    return undefined;
  };
  assert.deepEqual(await client.login(login), { code: 0, text: '' });
});

test('an outcome that is no success is a RefusedError with what came', async () => {
  const client = await connect();
  const outcomes = {
    MsgUserLogin: 'user_login_refused',
    MsgStartAccel: 'start_accel_failed',
    MsgStopAccel: 'stop_accel_failed',
  };
  service.answer = ({ message }) => {
    if (outcomes[message]) service.notify(notification(outcomes[message], ID));
    return undefined;
  };
  const refused = (property, value) => (error) =>
    error instanceof RefusedError && error.answer[property] === value;
  await assert.rejects(client.login(login), refused('code', 20001));
  await assert.rejects(client.start(start), refused('state', 6));
  await assert.rejects(client.stop(), refused('code', 10061));
  service.answer = () => golden('responses/start_accel_refused');
  await assert.rejects(client.start(start), refused('accepted', 0));
});

test('a start tells its progress, and is extended when it has the fourth argument', async () => {
  const client = await connect();
  service.answer = ({ message }) => {
    if (message !== 'MsgStartAccelEx') return undefined;
    service.notify(
      notification('start_accel_progress_empty_texts', ID),
      notification('start_accel_ex_accelerating', ID),
    );
    return undefined;
  };
  const states = [];
  const onProgress = ({ state }) => states.push(state);
  const { state } = await client.start({ ...start, startArg4: 1 }, { onProgress });
  assert.equal(state, 4);
  assert.equal(states.length, 2);
});

test('an outcome that does not come is a TimeoutError', async () => {
  const client = await connect();
  await assert.rejects(client.login(login, { timeoutMs: 50 }), TimeoutError);
});

test('an outcome is lost with the push connection', async () => {
  const client = await connect();
  service.answer = ({ message }) => {
    if (message === 'MsgUserLogin') service.hangUpPush();
    return undefined;
  };
  await assert.rejects(client.login(login), HungUpError);
});

test('everybody\'s notifications come in their order, to each iterator', async () => {
  const client = await connect();
  const iterators = [client.notifications(), client.notifications()];
  service.notify(notification('user_login_succeeded', 9), notification('stop_accel_failed', ID));
  for (const iterator of iterators) {
    assert.equal((await iterator.next()).value.clientId, 9);
    assert.equal((await iterator.next()).value.values.code, 10061);
  }
});

test('an iterator ends with break, with its signal, and with the client', async () => {
  const client = await connect();
  service.notify(notification('user_login_succeeded', ID));
  const broken = client.notifications();
  for await (const one of broken) {
    assert.equal(one.type, 4099);
    break;
  }
  assert.equal((await broken.next()).done, true);

  const controller = new AbortController();
  const waiting = client.notifications({ signal: controller.signal }).next();
  controller.abort();
  await assert.rejects(waiting, AbortedError);

  const left = client.notifications().next();
  client.close();
  assert.equal((await left).done, true);
  assert.equal((await client.notifications().next().catch(() => 'ended')), 'ended');
});

test('closing ends what is under way', async () => {
  const client = await connect();
  service.answer = () => null;
  const waiting = client.request('MsgHeartbeat');
  client.close();
  await assert.rejects(waiting, HungUpError);
  await assert.rejects(client.request('MsgHeartbeat'), HungUpError);
  await service.abandoned();
});

test('a push connection that ends is made anew, and iterators go on', async () => {
  const back = signalled();
  const client = await connect({ onReconnected: async (again) => back.resolve(again) });
  const iterator = client.notifications();
  service.hangUpPush();
  assert.equal(await back.promise, client);
  assert.deepEqual(service.registrations, ['07000000', '07000000']);
  service.notify(notification('user_login_succeeded', ID));
  assert.equal((await iterator.next()).value.type, 4099);
});

test('a service that starts anew is found again', async () => {
  const back = signalled();
  await connect({ onReconnected: async () => back.resolve() });
  await service.end();
  setTimeout(() => service.listen(), 1200);
  await back.promise;
  assert.equal(service.registrations.length, 2);
});

test('a service that stays away ends the iterators and requests with a NotRunningError', async () => {
  const client = await connect({ reconnectMs: 1500 });
  const iterator = client.notifications();
  await service.end();
  await assert.rejects(iterator.next(), NotRunningError);
  await assert.rejects(client.request('MsgHeartbeat'), NotRunningError);
});

test('without reconnecting, the end of the connection ends the iterators', async () => {
  const client = await connect({ reconnectMs: 0 });
  const iterator = client.notifications();
  service.hangUpPush();
  await assert.rejects(iterator.next(), HungUpError);
  assert.equal(service.registrations.length, 1);
});

test('an error in onReconnected closes the client with it', async () => {
  const failure = new Error('the login failed again');
  const client = await connect({ onReconnected: () => Promise.reject(failure) });
  const iterator = client.notifications();
  service.hangUpPush();
  await assert.rejects(iterator.next(), failure);
});

test('garbage on the push pipe is a NotTheServiceError, and not tried again', async () => {
  const client = await connect();
  const iterator = client.notifications();
  service.notify(Buffer.from('no notification'));
  await assert.rejects(iterator.next(), NotTheServiceError);
  assert.equal(service.registrations.length, 1);
});

test('a stream of which nobody knows where it goes on is left for a new connection', async () => {
  const back = signalled();
  const client = await connect({ onReconnected: async () => back.resolve() });
  const iterator = client.notifications();
  service.notify(notification('user_login_succeeded', ID), Buffer.from('no notification'));
  assert.equal((await iterator.next()).value.type, 4099);
  await back.promise;
});

test('leaving tells who remains and does not come back', async () => {
  const client = await connect();
  service.answer = ({ message }, socket) => {
    if (message !== 'MsgClientLeaving') return undefined;
    service.hangUpPush();
    // The last one's answer takes its time.
    setTimeout(() => socket.write(golden('responses/client_leaving_last')), 100);
    return null;
  };
  const iterator = client.notifications();
  assert.deepEqual(await client.leave(), { lastClient: 1, remainingClients: 0 });
  assert.equal((await iterator.next()).done, true);
  assert.equal(service.registrations.length, 1);
});
