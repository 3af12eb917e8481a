// The service's two pipes, served by the test itself: real sockets, scripted answers.
import { once } from 'node:events';
import { mkdtempSync, rmSync } from 'node:fs';
import net from 'node:net';
import { tmpdir } from 'node:os';
import path from 'node:path';

import { decodeRequest } from '../../clients/node/lib/codec.mjs';
import { bytesOf, goldenVectors } from './vectors.mjs';

const vectors = new Map(goldenVectors().map((vector) => [vector.name, vector]));
export const golden = (name) => bytesOf(vectors.get(name));

// A golden notification for this client.
export function notification(name, clientId) {
  const bytes = golden(`notifications/${name}`);
  bytes.writeUInt32LE(clientId, 4);
  return bytes;
}

const usual = {
  MsgHeartbeat: 'heartbeat',
  MsgSdkIsInitialised: 'sdk_is_initialised_yes',
  MsgUserLogin: 'user_login',
  MsgStartAccel: 'start_accel_accepted',
  MsgStartAccelEx: 'start_accel_ex_accepted',
  MsgStopAccel: 'stop_accel',
  MsgQueryAccelOwner: 'query_accel_owner_own',
  MsgClientLeaving: 'client_leaving_last',
};

let count = 0;

export class FakeService {
  requests = [];        // All that have come, decoded.
  registrations = [];   // The bytes that came first on each push connection.
  connections = 0;      // To the request pipe.
  answer = () => undefined;  // Bytes, or undefined for the usual answer, or null for none.
  #servers = [];
  #sockets = new Set();
  #push = [];
  #folder;

  static async start() {
    const service = new FakeService();
    await service.listen();
    return service;
  }

  constructor() {
    const name = `orva-${process.pid}-${++count}`;
    if (process.platform === 'win32') {
      this.requestPipe = `\\\\.\\pipe\\${name}-request`;
      this.pushPipe = `\\\\.\\pipe\\${name}-push`;
    } else {
      this.#folder = mkdtempSync(path.join(tmpdir(), 'orva-'));
      this.requestPipe = path.join(this.#folder, 'request');
      this.pushPipe = path.join(this.#folder, 'push');
    }
  }

  async listen() {
    await this.#listen(this.requestPipe, (socket) => this.#serveRequests(socket));
    await this.#listen(this.pushPipe, (socket) => this.#servePush(socket));
  }

  async #listen(name, serve) {
    const server = net.createServer((socket) => {
      this.#sockets.add(socket);
      socket.on('error', () => {});
      socket.on('close', () => this.#sockets.delete(socket));
      serve(socket);
    });
    this.#servers.push(server);
    server.listen(name);
    await once(server, 'listening');
  }

  #serveRequests(socket) {
    ++this.connections;
    let bytes = Buffer.alloc(0);
    socket.on('data', (chunk) => {
      bytes = Buffer.concat([bytes, chunk]);
      while (bytes.length >= 24 && bytes.length >= 24 + bytes.readUInt32LE(12)) {
        const length = 24 + bytes.readUInt32LE(12);
        const request = decodeRequest(bytes.subarray(0, length));
        bytes = bytes.subarray(length);
        this.requests.push(request);
        const answer = this.answer(request, socket);
        if (answer === null) continue;
        socket.write(answer ?? golden(`responses/${usual[request.message]}`));
      }
    });
  }

  #servePush(socket) {
    this.#push.push(socket);
    socket.once('data', (id) => this.registrations.push(id.toString('hex')));
  }

  // To the push connection that was made last.
  notify(...messages) {
    this.#push.at(-1).write(Buffer.concat(messages));
  }

  hangUpPush() {
    this.#push.at(-1).destroy();
  }

  names() {
    return this.requests.map(({ message }) => message);
  }

  // When every client has closed its connections.
  async abandoned() {
    await Promise.all([...this.#sockets].map((socket) => socket.closed || once(socket, 'close')));
  }

  async end() {
    for (const socket of this.#sockets) socket.destroy();
    const closed = this.#servers.map((server) => new Promise((resolve) => server.close(resolve)));
    this.#servers = [];
    await Promise.all(closed);
  }

  async dispose() {
    await this.end();
    if (this.#folder) rmSync(this.#folder, { recursive: true });
  }
}
