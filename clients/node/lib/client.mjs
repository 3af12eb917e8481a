// A client of the service: registered for notifications, and asking one request at a time.
import { setImmediate } from 'node:timers/promises';

import { HungUpError, NotRunningError, RefusedError } from './errors.mjs';
import { PushChannel } from './push_channel.mjs';
import { RequestChannel } from './request_channel.mjs';
import { decode, encode } from './requests.mjs';
import { Subscription } from './subscription.mjs';
import { pause, until, within } from './within.mjs';

const defaults = {
  requestPipe: '\\\\.\\pipe\\OrvaAccelerator_Request',
  pushPipe: '\\\\.\\pipe\\OrvaAccelerator_Push',
  clientId: process.pid,
  timeoutMs: 10000,
  reconnectMs: 30000,
  onReconnected: async () => {},
};

const NOTIFY_START_ACCEL = 4096;
const NOTIFY_START_ACCEL_EX = 4097;
const NOTIFY_STOP_ACCEL = 4098;
const NOTIFY_USER_LOGIN = 4099;
const RECONNECT_PAUSE_MS = 200;

export class OrvaClient {
  #options;
  #requests;             // The RequestChannel, if there is one; it is made again when it is needed.
  #push;
  #turns = [];           // Who waits for the request channel; the first one has it.
  #subscriptions = new Set();
  #outcomes = new Set();  // Those subscriptions that a broken connection ends.
  #closing = new AbortController();
  #isLeaving = false;

  // Registers, and waits until the service knows of it. See index.d.ts for the options.
  static async connect(options = {}) {
    const client = new OrvaClient({ ...defaults, ...options });
    try {
      await within(client.#limits(options), (signal) => client.#register(signal));
      return client;
    } catch (error) {
      client.#fail(error);
      throw error;
    }
  }

  constructor(options) {
    this.#options = options;
  }

  get clientId() {
    return this.#options.clientId;
  }

  // The answer's values, whatever they say.
  async request(name, values = {}, options = {}) {
    const message = encode(name, this.clientId, values);
    return within(this.#limits(options), async (signal) =>
      decode(name, await this.#exchange(message, signal)),
    );
  }

  notifications({ signal } = {}) {
    return this.#subscribe(this.#subscriptions, signal);
  }

  async login(values, options) {
    const isOutcome = ({ type }) => type === NOTIFY_USER_LOGIN;
    const outcome = await this.#outcome('MsgUserLogin', values, options, isOutcome);
    if (outcome.code !== 0) throw new RefusedError(`the login failed, code ${outcome.code}`, outcome);
    return outcome;
  }

  async start(values, { onProgress, ...options } = {}) {
    const name = values.startArg4 === undefined ? 'MsgStartAccel' : 'MsgStartAccelEx';
    const isOutcome = (notification) => {
      if (![NOTIFY_START_ACCEL, NOTIFY_START_ACCEL_EX].includes(notification.type)) return false;
      onProgress?.(notification.values);
      return notification.values.state >= 4 && notification.values.state <= 7;
    };
    const outcome = await this.#outcome(name, values, options, isOutcome);
    if (outcome.state !== 4) {
      throw new RefusedError(`the acceleration has ended, state ${outcome.state}`, outcome);
    }
    return outcome;
  }

  async stop(options) {
    const isOutcome = ({ type }) => type === NOTIFY_STOP_ACCEL;
    const outcome = await this.#outcome('MsgStopAccel', {}, options, isOutcome);
    if (outcome.code !== 0) throw new RefusedError(`the stop failed, code ${outcome.code}`, outcome);
    return outcome;
  }

  // Says goodbye and closes. The service ends when the last client has left.
  async leave(options) {
    this.#isLeaving = true;
    try {
      return await this.request('MsgClientLeaving', {}, options);
    } finally {
      this.close();
    }
  }

  // Ends requests under way and all iterators. The service keeps the registration until a notification
  // cannot reach this client.
  close() {
    this.#fail(undefined);
  }

  #limits({ timeoutMs = this.#options.timeoutMs, signal } = {}) {
    return { timeoutMs, signal, closing: this.#closing.signal };
  }

  async #exchange(message, signal) {
    await this.#turn(signal);
    try {
      if (!this.#requests?.isOpen) {
        // Deadlines that pass together are told one after the other: the next in turn must not make a
        // connection for a request whose own is over.
        await setImmediate();
        signal.throwIfAborted();
        this.#requests = await RequestChannel.open(this.#options.requestPipe, signal);
      }
      return await this.#requests.exchange(message, signal);
    } finally {
      this.#turns.shift();
      this.#turns[0]?.();
    }
  }

  // Waits until everybody who came before is done. Whoever gives up leaves the queue.
  async #turn(signal) {
    signal.throwIfAborted();
    if (this.#turns.push(() => {}) === 1) return;
    const place = this.#turns.length - 1;
    let mine;
    await until(
      signal,
      (resolve) => (mine = this.#turns[place] = resolve),
      () => this.#turns.splice(this.#turns.indexOf(mine), 1),
    );
  }

  // First the push pipe, then a request, whose answer shows that the service had its moment.
  async #register(signal) {
    const { pushPipe, clientId } = this.#options;
    let isRegistered = false;
    let loss;
    const events = {
      notify: (notification) => this.#notify(notification),
      end: (reason) => (isRegistered ? this.#lost(reason) : (loss = reason)),
    };
    const push = await PushChannel.register(pushPipe, clientId, events, signal);
    try {
      const answer = await this.#exchange(encode('MsgHeartbeat', clientId, {}), signal);
      decode('MsgHeartbeat', answer);
      if (loss) throw loss;
    } catch (error) {
      push.close();
      throw error;
    }
    isRegistered = true;
    this.#push = push;
  }

  #notify(notification) {
    for (const subscription of [...this.#subscriptions, ...this.#outcomes]) {
      subscription.push(notification);
    }
  }

  #subscribe(among, signal) {
    const subscription = new Subscription(() => among.delete(subscription), signal);
    if (this.#closing.signal.aborted) subscription.end(this.#closing.signal.reason);
    else among.add(subscription);
    return subscription;
  }

  // Asks, and waits for the notification of this client's that tells what became of it.
  async #outcome(name, values, options, isOutcome) {
    const message = encode(name, this.clientId, values);
    return within(this.#limits(options), async (signal) => {
      // Before the request: the outcome may be there before the answer.
      const notifications = this.#subscribe(this.#outcomes, signal);
      try {
        const answer = decode(name, await this.#exchange(message, signal));
        if (answer.accepted === 0) throw new RefusedError('the start was refused', answer);
        for await (const notification of notifications) {
          if (notification.clientId === this.clientId && isOutcome(notification)) {
            return notification.values;
          }
        }
        throw new HungUpError('the client was closed');
      } finally {
        notifications.return();
      }
    });
  }

  // The push connection is gone, and with it every outcome that was still to come.
  async #lost(reason) {
    if (this.#closing.signal.aborted || this.#isLeaving) return;
    for (const subscription of this.#outcomes) subscription.end(reason);
    if (!(reason instanceof HungUpError) || this.#options.reconnectMs === 0) {
      this.#fail(reason);
      return;
    }
    try {
      const limits = this.#limits({ timeoutMs: this.#options.reconnectMs });
      await within(limits, (signal) => this.#registerAgain(signal));
      await this.#options.onReconnected(this);
    } catch (error) {
      this.#fail(error);
    }
  }

  async #registerAgain(signal) {
    let failure;
    const isPassing = (error) => error instanceof NotRunningError || error instanceof HungUpError;
    for (;;) {
      try {
        await this.#register(signal);
        return;
      } catch (error) {
        // What kept it from coming back says more than that the time is over.
        if (!isPassing(error)) throw (signal.aborted && failure) || error;
        failure = error;
      }
      await pause(RECONNECT_PAUSE_MS, signal).catch(() => {
        throw failure;
      });
    }
  }

  // For good; with undefined, because the program wanted it.
  #fail(failure) {
    if (this.#closing.signal.aborted) return;
    this.#closing.abort(failure ?? new HungUpError('the client is closed'));
    this.#push?.close();
    this.#requests?.close();
    for (const subscription of [...this.#subscriptions]) subscription.end(failure);
    for (const subscription of [...this.#outcomes]) {
      subscription.end(failure ?? this.#closing.signal.reason);
    }
  }
}
