// What can go wrong, one class for each thing that a program would do about it.

export class OrvaError extends Error {
  constructor(message, options) {
    super(message, options);
    this.name = this.constructor.name;
  }
}

// Nobody serves the pipes: start the service.
export class NotRunningError extends OrvaError {
  code = 'ORVA_NOT_RUNNING';
}

// What came does not keep to the protocol: somebody else serves the pipes, or there is a bug. Trying
// again does not help.
export class NotTheServiceError extends OrvaError {
  code = 'ORVA_NOT_THE_SERVICE';
}

// The service ended the connection, or has ended itself. Whether it has carried out the request that was
// under way is not known.
export class HungUpError extends OrvaError {
  code = 'ORVA_HUNG_UP';
}

// The deadline passed. Whether the request is still carried out is not known.
export class TimeoutError extends OrvaError {
  code = 'ORVA_TIMEOUT';
}

// The service or the library said no; `answer` is what it said, as far as there is something.
export class RefusedError extends OrvaError {
  code = 'ORVA_REFUSED';

  constructor(message, answer, options) {
    super(message, options);
    this.answer = answer;
  }
}

// The caller's own signal; `cause` is its reason. The name is what Node.js itself uses.
export class AbortedError extends OrvaError {
  code = 'ORVA_ABORTED';

  constructor(reason) {
    super('the caller has given up', { cause: reason });
    this.name = 'AbortError';
  }
}
