// Requests by name, as the messages that go over the pipe and back.
import { decodeResponse, encodeRequest, ProtocolError } from './codec.mjs';
import { NotTheServiceError, RefusedError } from './errors.mjs';
import * as layouts from './layouts.mjs';

const types = new Map([...layouts.requests].map(([type, { name }]) => [name, type]));

// Throws a TypeError or RangeError for what no request can carry.
export function encode(name, clientId, values) {
  if (!types.has(name)) throw new TypeError(`there is no request ${name}`);
  if (values.nodeSelection !== undefined) checkNodeSelection(values.nodeSelection);
  return encodeRequest({ type: types.get(name), clientId, values });
}

export function decode(name, response) {
  try {
    const { values } = decodeResponse(types.get(name), response);
    if (values === undefined) throw new RefusedError(`the service does not know ${name}`);
    return values;
  } catch (error) {
    if (!(error instanceof ProtocolError)) throw error;
    throw new NotTheServiceError(`the answer to ${name} is none: ${error.message}`, { cause: error });
  }
}

// The service ends itself over anything else.
function checkNodeSelection(text) {
  if (text === '' || text === 'auto') return;
  for (const piece of text.split(';')) {
    const number = piece === '' ? 0 : Number(piece);
    if (!/^-?\d*$/.test(piece) || number !== (number | 0)) {
      throw new RangeError(`not "", "auto", or numbers separated by ";": ${text}`);
    }
  }
}
