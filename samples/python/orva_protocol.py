"""The bytes of the protocol, as docs/protocol.md tells them. Pure functions, any system.

A message's payload is a fixed part and its texts, back to back in the order of their lengths. So a
layout is a list of fields in the order of the fixed part: a struct code and a name, "text" for the
16-bit length of a text, and no name for padding. Values are dictionaries with the page's names.
"""

import struct

REQUEST_MAGIC = 0x52584C50
PUSH_MAGIC = 0x52584B50
REQUEST_HEADER = struct.Struct("<IIIIII")
RESPONSE_HEADER = struct.Struct("<II")
PUSH_HEADER = struct.Struct("<IIIII")

SDK_INIT = 256
USER_LOGIN = 257
SDK_RELEASE = 258
SDK_IS_INITIALISED = 512
START_ACCEL = 1280
START_ACCEL_EX = 1281
STOP_ACCEL = 1282
QUERY_ACCEL_OWNER = 1283
GET_ACCEL_DATA = 1536
GET_GAME_LAST_ACCEL_INFO = 1537
GET_GAME_ACCEL_INFO = 1538
GET_TEST_SPEED_DATA = 1539
GET_CONSOLE_DATA = 1540
GET_GAME_USED_NODE_LIST = 1541
CLIENT_LEAVING = 1792
HEARTBEAT = 65535

NOTIFY_START_ACCEL = 4096
NOTIFY_START_ACCEL_EX = 4097
NOTIFY_STOP_ACCEL = 4098
NOTIFY_USER_LOGIN = 4099

_GAME = [("I", "gameId")]
_START = [("I", "startArg1"), ("I", "startArg2"), ("text", "startText"), ("2x", None),
          ("I", "startArg3"), ("text", "nodeSelection"), ("2x", None)]

# What is not here has no payload.
REQUESTS = {
    SDK_INIT: [("I", "channelId"), ("I", "channelNumber"), ("text", "channelName"), ("2x", None)],
    USER_LOGIN: [("text", "account"), ("text", "credential")],
    START_ACCEL: _START,
    START_ACCEL_EX: _START + [("I", "startArg4")],
    GET_GAME_LAST_ACCEL_INFO: _GAME,
    GET_GAME_ACCEL_INFO: _GAME,
    GET_TEST_SPEED_DATA: [("I", "gameId"), ("I", "areaId"), ("text", "serverKey"), ("2x", None),
                          ("I", "testOption")],
    GET_GAME_USED_NODE_LIST: _GAME,
}

RESPONSES = {
    SDK_INIT: [("i", "result")],
    USER_LOGIN: [("I", "result")],
    SDK_RELEASE: [("I", "result")],
    SDK_IS_INITIALISED: [("B", "initialised")],
    START_ACCEL: [("B", "accepted")],
    START_ACCEL_EX: [("B", "accepted")],
    STOP_ACCEL: [("B", "result")],
    QUERY_ACCEL_OWNER: [("B", "anyAcceleration"), ("B", "ownedByCaller")],
    GET_ACCEL_DATA: [("I", "value2"), ("I", "value3"), ("I", "value4"), ("I", "value1"),
                     ("I", "value5"), ("I", "value6"), ("I", "value9"), ("4x", None),
                     ("Q", "value8"), ("I", "value10"), ("text", "text3"), ("2x", None)],
    GET_GAME_LAST_ACCEL_INFO: [("I", "status"), ("I", "areaId"), ("I", "nodeId"),
                               ("I", "infoFlag"), ("I", "infoValue"), ("text", "infoText"),
                               ("text", "serverKey")],
    GET_GAME_ACCEL_INFO: [("I", "status"), ("I", "gameId"), ("I", "areaId"), ("I", "nodeId"),
                          ("I", "infoFlag"), ("I", "infoValue"), ("I", "reservedWord"),
                          ("4x", None), ("Q", "reservedLong"), ("I", "nodeValue1"),
                          ("I", "nodeValue2"), ("text", "gameText"), ("text", "infoText"),
                          ("text", "serverKey"), ("text", "serverText"), ("text", "nodeText"),
                          ("6x", None)],
    GET_TEST_SPEED_DATA: [("I", "status"), ("14I", "summary")],
    GET_CONSOLE_DATA: [("I", "status"), ("I", "console1"), ("I", "console2"), ("I", "console3"),
                       ("I", "console4"), ("I", "console5"), ("I", "consoleFlag")],
    GET_GAME_USED_NODE_LIST: [("I", "status"), ("I", "count")],  # The nodes follow.
    CLIENT_LEAVING: [("I", "lastClient"), ("I", "remainingClients")],
    HEARTBEAT: [("I", "monotonicMs")],
}
_USED_NODE = [("I", "used1"), ("I", "used2"), ("I", "used3"), ("4x", None), ("Q", "used4"),
              ("text", "usedText1"), ("text", "usedText2"), ("4x", None)]

_ACCEL_RESULT = [("I", "value1"), ("I", "value2"), ("text", "text1"), ("2x", None),
                 ("I", "value3"), ("I", "state"), ("I", "value4"), ("I", "value5"),
                 ("text", "text2"), ("2x", None)]
NOTIFICATIONS = {
    NOTIFY_START_ACCEL: _ACCEL_RESULT,
    NOTIFY_START_ACCEL_EX: _ACCEL_RESULT,
    NOTIFY_STOP_ACCEL: [("I", "success"), ("i", "code"), ("text", "text"), ("2x", None)],
    NOTIFY_USER_LOGIN: [("i", "code"), ("text", "text"), ("2x", None)],
}


class ProtocolError(Exception):
    """What came does not keep to the protocol, or what is to be sent would not."""


def _encode(layout, values):
    fixed, texts = b"", b""
    for code, name in layout:
        if name is None:
            fixed += struct.pack("<" + code)
        elif code == "text":
            text = values[name].encode("utf-8")
            if len(text) > 0xFFFF:
                raise ProtocolError(f"{name} has more than 65535 bytes")
            fixed += struct.pack("<H", len(text))
            texts += text
        else:
            fixed += struct.pack("<" + code, values[name])
    return fixed + texts


def _decode(layout, data, surplus=0):
    """The values, and what is left of the data behind them.

    `surplus`: how many bytes the first text has beyond its length.
    """
    formats = ["H" if code == "text" else code for code, _ in layout]
    fixed = struct.Struct("<" + "".join(formats))
    if len(data) < fixed.size:
        raise ProtocolError(f"{len(data)} bytes are too few")
    numbers, rest = list(fixed.unpack_from(data)), data[fixed.size:]
    values = {}
    for code, name in layout:
        if name is None:
            continue
        if code == "text":
            length, surplus = numbers.pop(0) + surplus, 0
            if length > len(rest):
                raise ProtocolError(f"{name} is longer than what came")
            # What is no UTF-8 is shown, not refused.
            values[name] = rest[:length].decode("utf-8", "replace")
            rest = rest[length:]
        elif len(code) > 1:
            count = int(code[:-1])
            values[name], numbers = numbers[:count], numbers[count:]
        else:
            values[name] = numbers.pop(0)
    return values, rest


def encode_request(message_type, client_id, **values):
    """Header and payload, as the one message that is written to the request pipe."""
    payload = _encode(REQUESTS.get(message_type, []), values)
    return REQUEST_HEADER.pack(REQUEST_MAGIC, 0, message_type, len(payload), 0, client_id) + payload


def encode_registration(client_id):
    """The one message that is ever written to the push pipe."""
    return struct.pack("<I", client_id)


def decode_response_header(data):
    """How many bytes of payload follow."""
    if len(data) != RESPONSE_HEADER.size:
        raise ProtocolError(f"a response's header has {len(data)} bytes")
    return RESPONSE_HEADER.unpack(data)[1]


def decode_response(message_type, payload):
    if not payload:
        raise ProtocolError(f"the service does not know request {message_type}")
    values, rest = _decode(RESPONSES[message_type], payload)
    if message_type == GET_GAME_USED_NODE_LIST:
        values["nodes"] = []
        for _ in range(values["count"]):
            node, rest = _decode(_USED_NODE, rest)
            values["nodes"].append(node)
    if rest:
        raise ProtocolError(f"{len(rest)} bytes too many came")
    return values


def decode_notification(kind, payload):
    """The values; of a type that is not known, the bytes as "payload"."""
    layout = NOTIFICATIONS.get(kind)
    if layout is None:
        return {"payload": payload}
    values, rest = _decode(layout, payload)
    # A start's texts go out whole when their lengths do not fit.
    if rest and layout is _ACCEL_RESULT and len(rest) % 65536 == 0:
        values, rest = _decode(layout, payload, len(rest))
    if rest:
        raise ProtocolError(f"{len(rest)} bytes too many came")
    return values


class NotificationReader:
    """Puts the messages of the push pipe together.

    Headers of notifications that are sent at the same time may come before both payloads: a payload
    belongs to the earliest header that announces its length and whose type it decodes as.
    """

    def __init__(self):
        self._waiting = []

    def take(self, message):
        """The notification that this message completes, or None.

        Raises ProtocolError for a message that is lost; the next ones can still be taken.
        """
        if len(message) == PUSH_HEADER.size:
            magic, client_id, kind, length, timestamp = PUSH_HEADER.unpack(message)
            if magic == PUSH_MAGIC:
                header = {"clientId": client_id, "type": kind, "timestamp": timestamp}
                if length == 0:
                    return {**header, **decode_notification(kind, b"")}
                self._waiting.append((length, header))
                return None
        return self._take_payload(message)

    def _take_payload(self, message):
        candidates = [entry for entry in self._waiting if entry[0] == len(message)]
        for entry in candidates:
            header = entry[1]
            try:
                values = decode_notification(header["type"], message)
            except ProtocolError:
                continue  # Another header's payload.
            self._waiting.remove(entry)
            return {**header, **values}
        # It was the payload of one of them: kept, that header would take another one's.
        if candidates:
            self._waiting.remove(candidates[0])
        raise ProtocolError(f"{len(message)} bytes belong to no header")
