"""The sample in Python: its bytes against the golden vectors, its session against scripted pipes.

    python_sample_test.py SAMPLE-FOLDER VECTOR-FOLDER
"""

import contextlib
import io
import os
import struct
import sys
import unittest

SAMPLE, VECTORS = sys.argv[1:3]
sys.dont_write_bytecode = True
sys.path[:0] = [SAMPLE, os.path.dirname(os.path.abspath(__file__))]

import fake_windows
from golden import Golden, bytes_of, joined, written_out

windows = fake_windows.FakeWindows()
windows.install()

import orva_pipes
import orva_protocol as protocol
import session

golden = Golden(VECTORS)


def given(reader, message):
    """As the sequences write it."""
    try:
        notification = reader.take(message)
    except protocol.ProtocolError:
        return "lost"
    if notification is None:
        return None
    head = {name: notification.pop(name) for name in ("clientId", "type", "timestamp")}
    if "payload" in notification:
        return {**head, "payload": notification["payload"].hex(" ").upper()}
    return {**head, "values": notification}


def response(name):
    """The messages of a response."""
    message = bytes_of(golden.vectors("responses")[name])
    return [message[:8], message[8:]] if len(message) > 8 else [message]


def notification(name, client_id):
    message = bytes_of(golden.vectors("notifications")[name])
    return [message[:4] + struct.pack("<I", client_id) + message[8:20], message[20:]]


class Protocol(unittest.TestCase):
    def test_requests_are_the_golden_bytes(self):
        for name, vector in golden.vectors("requests").items():
            if not vector.get("encodes", True):
                continue
            with self.subTest(name):
                values = written_out(vector["values"])
                request = protocol.encode_request(vector["type"], values.pop("clientId"), **values)
                self.assertEqual(request.hex(" "), bytes_of(vector).hex(" "))

    def test_responses_give_the_golden_values(self):
        for name, vector in golden.vectors("responses").items():
            with self.subTest(name):
                message = bytes_of(vector)
                self.assertEqual(protocol.decode_response_header(message[:8]), len(message) - 8)
                if name == "unknown_type":
                    with self.assertRaises(protocol.ProtocolError):
                        protocol.decode_response(protocol.HEARTBEAT, message[8:])
                    continue
                self.assertEqual(protocol.decode_response(vector["type"], message[8:]),
                                 written_out(vector["values"]))

    def test_notifications_give_the_golden_values(self):
        for name, vector in golden.vectors("notifications").items():
            with self.subTest(name):
                message = bytes_of(vector)
                reader = protocol.NotificationReader()
                self.assertIsNone(reader.take(message[:20]))
                values = reader.take(message[20:])
                self.assertEqual(values.pop("type"), vector["type"])
                del values["timestamp"]
                self.assertEqual(values, written_out(vector["values"]))

    def test_registration_is_the_golden_bytes(self):
        vector = golden.vectors("headers")["registration"]
        self.assertEqual(protocol.encode_registration(vector["values"]["clientId"]),
                         bytes_of(vector))

    def test_sequences_give_what_they_say(self):
        for name, sequence in golden.vectors("sequences").items():
            reader = protocol.NotificationReader()
            for number, (pieces, gives) in enumerate(sequence["messages"]):
                with self.subTest(name, message=number):
                    # Texts of 64 KiB are not for reading.
                    self.assertTrue(given(reader, joined(pieces)) == written_out(gives))

    def test_shortened_answers_are_refused(self):
        for name, vector in golden.vectors("responses").items():
            if vector["type"] is None or name.endswith("longest_text"):
                continue
            payload = bytes_of(vector)[8:]
            for length in range(len(payload)):
                with self.subTest(name, length=length):
                    with self.assertRaises(protocol.ProtocolError):
                        protocol.decode_response(vector["type"], payload[:length])

    def test_a_text_that_is_too_long_is_not_sent(self):
        with self.assertRaises(protocol.ProtocolError):
            protocol.encode_request(protocol.USER_LOGIN, 7, account="x" * 65536, credential="")


class WithPipes(unittest.TestCase):
    def setUp(self):
        windows.__init__()
        self.push = windows.pipes[orva_pipes.PUSH_PIPE] = fake_windows.FakePipe(lambda _: [])
        self.requests = windows.pipes[orva_pipes.REQUEST_PIPE] = fake_windows.FakePipe(self.answer)
        self.announced = {
            protocol.USER_LOGIN: ["user_login_succeeded"],
            protocol.START_ACCEL: ["start_accel_progress_empty_texts", "start_accel_accelerating"],
            protocol.STOP_ACCEL: ["stop_accel_succeeded"],
        }
        self.answers = {
            protocol.HEARTBEAT: "heartbeat",
            protocol.SDK_INIT: "sdk_init_initialised",
            protocol.USER_LOGIN: "user_login",
            protocol.START_ACCEL: "start_accel_accepted",
            protocol.QUERY_ACCEL_OWNER: "query_accel_owner_own",
            protocol.GET_ACCEL_DATA: "get_accel_data_chinese_text",
            protocol.GET_GAME_USED_NODE_LIST: "get_game_used_node_list_two",
            protocol.STOP_ACCEL: "stop_accel",
            protocol.CLIENT_LEAVING: "client_leaving_last",
        }

    def tearDown(self):
        self.assertEqual(windows.open_handles, set(), "handles are left open")

    def answer(self, request):
        kind = protocol.REQUEST_HEADER.unpack(request[:24])[2]
        for name in self.announced.get(kind, []):
            # Somebody else's comes first.
            self.push.incoming += notification(name, 1) + notification(name, os.getpid())
        return response(self.answers[kind])

    def run_session(self):
        output, errors = io.TextIOWrapper(io.BytesIO(), "utf-8"), io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(errors):
            code = session.main(["player", "secret", "1001", "2", "asia-1"])
        output.flush()
        return code, output.buffer.getvalue().decode().splitlines(), errors.getvalue()


class Session(WithPipes):
    def test_goes_from_registration_to_leaving(self):
        code, lines, errors = self.run_session()
        self.assertEqual((code, errors), (0, ""))
        self.assertEqual(self.push.written, [struct.pack("<I", os.getpid())])
        self.assertEqual([protocol.REQUEST_HEADER.unpack(message[:24])[2]
                          for message in self.requests.written],
                         [65535, 256, 257, 1280, 1283, 1536, 1541, 1282, 1792])
        self.assertEqual(lines[:3], ["connected", "initialised", "logged in"])
        self.assertIn("state 4: asia-1, Node 11", lines)
        self.assertIn("mine: yes", lines)
        self.assertIn("game 102, area 103, node 上海节点", lines)
        self.assertIn("used node 21: 上海电信", lines)
        self.assertEqual(lines[-2:], ["stopped, code 0", "left, 0 remain"])

    def test_says_why_a_login_fails(self):
        self.announced[protocol.USER_LOGIN] = ["user_login_refused"]
        code, _, errors = self.run_session()
        self.assertEqual((code, errors), (1, "the login was refused, code 20001\n"))

    def test_says_that_no_outcome_came(self):
        self.announced[protocol.USER_LOGIN] = []
        code, _, errors = self.run_session()
        self.assertEqual((code, errors), (1, "the service did not get there in time\n"))

    def test_says_that_the_service_hung_up(self):
        self.announced[protocol.USER_LOGIN] = []
        self.push.incoming.append(None)
        code, _, errors = self.run_session()
        self.assertEqual(code, 1)
        self.assertIn("the service ended the connection (Win32 error 109)", errors)

    def test_wants_five_arguments(self):
        with contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(session.main([]), 2)


class Pipes(WithPipes):
    def test_opening_is_tried_again_between_two_instances(self):
        windows.open_failures = [2, 231]
        orva_pipes.Pipe(orva_pipes.PUSH_PIPE, 10).close()

    def test_opening_ends_at_the_deadline(self):
        windows.open_failures = [2]
        with self.assertRaisesRegex(OSError, "cannot be reached .Win32 error 2."):
            orva_pipes.Pipe(orva_pipes.PUSH_PIPE, 0)

    def test_a_pipe_of_somebody_else_is_refused(self):
        for server in [(1234, 0), (fake_windows.SERVICE_PROCESS, 1)]:
            with self.subTest(server):
                windows.servers = [server]
                with self.assertRaises(PermissionError):
                    orva_pipes.Pipe(orva_pipes.REQUEST_PIPE, 0)
        self.assertEqual(self.requests.written, [])

    def test_an_instance_beside_the_services_is_passed_by(self):
        windows.servers = [(1234, 1), *windows.servers]
        orva_pipes.Pipe(orva_pipes.REQUEST_PIPE, 10).close()
        self.assertEqual(len(windows.servers), 1)

    def test_a_long_message_is_read_whole(self):
        message = bytes(range(256)) * 600
        self.push.incoming.append(message)
        with orva_pipes.Pipe(orva_pipes.PUSH_PIPE, 0) as pipe:
            self.assertEqual(pipe.read(1), message)


unittest.main(argv=[sys.argv[0]])
