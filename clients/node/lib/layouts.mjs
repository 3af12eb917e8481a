// The messages of docs/protocol.md as tables. Written from that page, not from the service's sources:
// the two are compared through the golden vectors alone.
//
// A record is its fixed part, field by field. Texts follow it in the order of their lengths.
//   u8, u16, u32, i32, u64 NAME   an integer
//   u32xN NAME                    N integers in a row
//   length NAME                   u16, the bytes of the text NAME
//   pad N                         N bytes of padding
//   count NAME                    u32, how many records follow, see `each`

const integerSizes = { u8: 1, u16: 2, u32: 4, i32: 4, u64: 8 };

function field(text, offset) {
  const [kind, name] = text.split(' ');
  if (kind === 'pad') return { kind, offset, size: Number(name) };
  if (kind === 'length') return { kind, name, offset, size: 2 };
  if (kind === 'count') return { kind, name, offset, size: 4 };
  const [, integer, times] = /^([ui]\d+)(?:x(\d+))?$/.exec(kind);
  const count = times === undefined ? undefined : Number(times);
  return { kind: integer, name, offset, count, size: integerSizes[integer] * (count ?? 1) };
}

export function record(description, options = {}) {
  const fields = [];
  let size = 0;
  for (const text of description.split(', ').filter((part) => part !== '')) {
    fields.push(field(text, size));
    size += fields.at(-1).size;
  }
  const texts = fields.filter(({ kind }) => kind === 'length').map(({ name }) => name);
  return { fields, size, texts, ...options };
}

export const requestHeader = record(
  'u32 magic, u32 reserved1, u32 type, u32 payloadLength, u32 reserved2, u32 clientId',
);
export const responseHeader = record('u32 reserved, u32 payloadLength');
export const pushFrameHeader = record(
  'u32 magic, u32 clientId, u32 type, u32 payloadLength, u32 timestamp',
);
export const registration = record('u32 clientId');

const nothing = record('');
const game = record('u32 gameId');
const start =
  'u32 startArg1, u32 startArg2, length startText, pad 2, u32 startArg3, length nodeSelection, pad 2';
const consoles = [1, 2, 3, 4, 5].map((i) => `u32 console${i}`).join(', ');
const usedNode = record(
  'u32 used1, u32 used2, u32 used3, pad 4, u64 used4, length usedText1, length usedText2, pad 4',
);

export const requests = new Map([
  [256, {
    name: 'MsgSdkInit',
    request: record('u32 channelId, u32 channelNumber, length channelName, pad 2'),
    response: record('i32 result'),
  }],
  [257, {
    name: 'MsgUserLogin',
    request: record('length account, length credential'),
    response: record('u32 result'),
  }],
  [258, { name: 'MsgSdkRelease', request: nothing, response: record('u32 result') }],
  [512, { name: 'MsgSdkIsInitialised', request: nothing, response: record('u8 initialised') }],
  [1280, { name: 'MsgStartAccel', request: record(start), response: record('u8 accepted') }],
  [1281, {
    name: 'MsgStartAccelEx',
    request: record(`${start}, u32 startArg4`),
    response: record('u8 accepted'),
  }],
  [1282, { name: 'MsgStopAccel', request: nothing, response: record('u8 result') }],
  [1283, {
    name: 'MsgQueryAccelOwner',
    request: nothing,
    response: record('u8 anyAcceleration, u8 ownedByCaller'),
  }],
  [1536, {
    name: 'MsgGetAccelData',
    request: nothing,
    response: record(
      'u32 value2, u32 value3, u32 value4, u32 value1, u32 value5, u32 value6, u32 value9, pad 4, ' +
        'u64 value8, u32 value10, length text3, pad 2',
    ),
  }],
  [1537, {
    name: 'MsgGetGameLastAccelInfo',
    request: game,
    response: record(
      'u32 status, u32 areaId, u32 nodeId, u32 infoFlag, u32 infoValue, length infoText, ' +
        'length serverKey',
    ),
  }],
  [1538, {
    name: 'MsgGetGameAccelInfo',
    request: game,
    response: record(
      'u32 status, u32 gameId, u32 areaId, u32 nodeId, u32 infoFlag, u32 infoValue, ' +
        'u32 reservedWord, pad 4, u64 reservedLong, u32 nodeValue1, u32 nodeValue2, ' +
        'length gameText, length infoText, length serverKey, length serverText, length nodeText, ' +
        'pad 6',
    ),
  }],
  [1539, {
    name: 'MsgGetTestSpeedData',
    request: record('u32 gameId, u32 areaId, length serverKey, pad 2, u32 testOption'),
    response: record('u32 status, u32x14 summary'),
  }],
  [1540, {
    name: 'MsgGetConsoleData',
    request: nothing,
    response: record(`u32 status, ${consoles}, u32 consoleFlag`),
  }],
  [1541, {
    name: 'MsgGetGameUsedNodeList',
    request: game,
    response: record('u32 status, count nodes', { each: usedNode }),
  }],
  [1792, {
    name: 'MsgClientLeaving',
    request: nothing,
    response: record('u32 lastClient, u32 remainingClients'),
  }],
  [65535, { name: 'MsgHeartbeat', request: nothing, response: record('u32 monotonicMs') }],
]);

// The length fields of a start's result hold the lengths modulo 65,536; its texts are whole.
const startResult = record(
  'u32 value1, u32 value2, length text1, pad 2, u32 value3, u32 state, u32 value4, u32 value5, ' +
    'length text2, pad 2',
  { lengthsWrap: true },
);

export const notifications = new Map([
  [4096, { name: 'NotifyStartAccel', payload: startResult }],
  [4097, { name: 'NotifyStartAccelEx', payload: startResult }],
  [4098, { name: 'NotifyStopAccel', payload: record('u32 success, i32 code, length text, pad 2') }],
  [4099, { name: 'NotifyUserLogin', payload: record('i32 code, length text, pad 2') }],
]);
