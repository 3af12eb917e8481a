"""A whole session with the service in Python, from the protocol page alone. Windows only.

    python session.py ACCOUNT CREDENTIAL GAME AREA SERVER

Initialises the library, logs in, accelerates until it is confirmed, shows some figures, stops and
leaves. Prints a line for each step; ends with 1 and a reason if a step fails.
"""

import os
import sys

import orva_pipes
import orva_protocol as protocol

CONNECT_SECONDS = 5
ANSWER_SECONDS = 10
OUTCOME_SECONDS = 10


class Failure(Exception):
    """A step was answered, and the answer is no."""


class Session:
    def __init__(self):
        self.client_id = os.getpid()
        # First the push pipe: notifications are not kept for later.
        self._push = orva_pipes.Pipe(orva_pipes.PUSH_PIPE, CONNECT_SECONDS)
        self._push.write(protocol.encode_registration(self.client_id), ANSWER_SECONDS)
        self._requests = orva_pipes.Pipe(orva_pipes.REQUEST_PIPE, CONNECT_SECONDS)
        self._reader = protocol.NotificationReader()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._requests.close()
        self._push.close()

    def ask(self, message_type, **values):
        """Sends a request and gives the values of its answer."""
        request = protocol.encode_request(message_type, self.client_id, **values)
        self._requests.write(request, ANSWER_SECONDS)
        length = protocol.decode_response_header(self._requests.read(ANSWER_SECONDS))
        payload = self._requests.read(ANSWER_SECONDS) if length else b""
        if len(payload) != length:
            raise protocol.ProtocolError(f"{len(payload)} of {length} bytes came")
        return protocol.decode_response(message_type, payload)

    def outcome(self, *types):
        """The next notification of one of these types that is about this client."""
        while True:
            notification = self._reader.take(self._push.read(OUTCOME_SECONDS))
            if notification is None or notification["clientId"] != self.client_id:
                continue
            if notification["type"] in types:
                return notification


def initialise(session):
    # The heartbeat gives the service the moment in which it notices the registration.
    session.ask(protocol.HEARTBEAT)
    print("connected")
    answer = session.ask(protocol.SDK_INIT, channelId=1, channelNumber=0, channelName="official")
    if answer["result"] != 1:
        raise Failure(f"the acceleration library cannot be initialised: {answer['result']}")
    print("initialised")


def log_in(session, account, credential):
    session.ask(protocol.USER_LOGIN, account=account, credential=credential)
    code = session.outcome(protocol.NOTIFY_USER_LOGIN)["code"]
    if code != 0:
        raise Failure(f"the login was refused, code {code}")
    print("logged in")


def accelerate(session, game, area, server):
    answer = session.ask(protocol.START_ACCEL, startArg1=game, startArg2=area, startArg3=0,
                         startText=server, nodeSelection="auto")
    if not answer["accepted"]:
        raise Failure("the start was refused")
    while True:
        result = session.outcome(protocol.NOTIFY_START_ACCEL, protocol.NOTIFY_START_ACCEL_EX)
        print(f"state {result['state']}: {result['text1']}, {result['text2']}")
        if result["state"] in (5, 6, 7):
            raise Failure("the acceleration has ended")
        if result["state"] == 4:
            return


def show_figures(session, game):
    owner = session.ask(protocol.QUERY_ACCEL_OWNER)
    print("mine:", "yes" if owner["ownedByCaller"] else "no")
    data = session.ask(protocol.GET_ACCEL_DATA)
    print(f"game {data['value2']}, area {data['value3']}, node {data['text3']}")
    for node in session.ask(protocol.GET_GAME_USED_NODE_LIST, gameId=game)["nodes"]:
        print(f"used node {node['used1']}: {node['usedText1']}")


def stop_and_leave(session):
    session.ask(protocol.STOP_ACCEL)
    print("stopped, code", session.outcome(protocol.NOTIFY_STOP_ACCEL)["code"])
    print("left,", session.ask(protocol.CLIENT_LEAVING)["remainingClients"], "remain")


def main(arguments):
    if len(arguments) != 5:
        print("usage: session.py ACCOUNT CREDENTIAL GAME AREA SERVER", file=sys.stderr)
        return 2
    account, credential, game, area, server = arguments
    sys.stdout.reconfigure(encoding="utf-8")  # Whatever the code page of the console.
    try:
        with Session() as session:
            initialise(session)
            log_in(session, account, credential)
            accelerate(session, int(game), int(area), server)
            show_figures(session, int(game))
            stop_and_leave(session)
    except (Failure, protocol.ProtocolError, OSError) as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
