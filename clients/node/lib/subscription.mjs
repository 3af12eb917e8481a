// Notifications from the moment of its making on, for one reader: an async iterator with a queue.
import { AbortedError, OrvaError } from './errors.mjs';
import { until } from './within.mjs';

export class Subscription {
  #queue = [];
  #wake;
  #isEnded = false;
  #failure;
  #onEnd;
  #signal;

  // `onEnd` is called when the reader is done.
  constructor(onEnd, signal) {
    this.#onEnd = onEnd;
    this.#signal = signal;
  }

  push(notification) {
    if (this.#isEnded) return;
    this.#queue.push(notification);
    this.#wake?.();
  }

  // Ends it behind what is queued, with an error if there is one.
  end(failure) {
    if (this.#isEnded) return;
    this.#isEnded = true;
    this.#failure = failure;
    this.#wake?.();
  }

  async next() {
    while (this.#queue.length === 0) {
      if (this.#isEnded) return this.#last();
      await until(this.#signal, (resolve) => (this.#wake = resolve)).catch((reason) => {
        this.return();
        throw reason instanceof OrvaError ? reason : new AbortedError(reason);
      });
    }
    return { value: this.#queue.shift(), done: false };
  }

  // The error once, then nothing more.
  #last() {
    const failure = this.#failure;
    this.return();
    if (failure) throw failure;
    return { value: undefined, done: true };
  }

  async return() {
    this.#queue = [];
    this.#isEnded = true;
    this.#failure = undefined;
    this.#wake?.();
    this.#onEnd(this);
    return { value: undefined, done: true };
  }

  [Symbol.asyncIterator]() {
    return this;
  }
}
