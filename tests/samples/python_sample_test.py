"""The sample in Python: its bytes against the golden vectors, its session against scripted pipes.

    python_sample_test.py SAMPLE-FOLDER VECTOR-FOLDER
"""

import contextlib
import io
import json
import os
import struct
import sys
import unittest

SAMPLE, VECTORS = sys.argv[1:3]
sys.dont_write_bytecode = True
sys.path[:0] = [SAMPLE, os.path.dirname(os.path.abspath(__file__))]

import fake_windows

windows = fake_windows.FakeWindows()
windows.install()

import orva_pipes
import orva_protocol as protocol
import session


def written_out(value):
    """A value of a vector with its repetitions written out."""
    if isinstance(value, dict) and "repeat" in value:
        return value["repeat"] * value["times"]
    if isinstance(value, dict):
        return {name: written_out(part) for name, part in value.items()}
    if isinstance(value, list):
        return [written_out(part) for part in value]
    return value


def bytes_of(vector):
    message = b""
    for field in vector["fields"]:
        hexadecimal = field[0]
        if isinstance(hexadecimal, dict):
            message += bytes.fromhex(hexadecimal["repeat"]) * hexadecimal["times"]
        else:
            message += bytes.fromhex(hexadecimal)
    return message


def vectors(name):
    with open(os.path.join(VECTORS, name), encoding="utf-8") as file:
        found = {vector["name"]: vector for vector in json.load(file)}
    assert found
    return found


def response(name):
    """The messages of a response."""
    message = bytes_of(vectors("responses.json")[name])
    return [message[:8], message[8:]] if len(message) > 8 else [message]


def notification(name, client_id):
    message = bytes_of(vectors("notifications.json")[name])
    return [message[:4] + struct.pack("<I", client_id) + message[8:20], message[20:]]


class Protocol(unittest.TestCase):
    def test_requests_are_the_golden_bytes(self):
        for name, vector in vectors("requests.json").items():
            if name == "heartbeat_reserved_words_set":
                continue  # The page says: write zeros.
            with self.subTest(name):
                values = written_out(vector["values"])
                request = protocol.encode_request(vector["type"], values.pop("clientId"), **values)
                self.assertEqual(request.hex(" "), bytes_of(vector).hex(" "))

    def test_responses_give_the_golden_values(self):
        for name, vector in vectors("responses.json").items():
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
        for name, vector in vectors("notifications.json").items():
            with self.subTest(name):
                message = bytes_of(vector)
                reader = protocol.NotificationReader()
                self.assertIsNone(reader.take(message[:20]))
                values = reader.take(message[20:])
                self.assertEqual(values.pop("type"), vector["type"])
                self.assertEqual(values.pop("rest"), b"")
                del values["timestamp"]
                self.assertEqual(values, written_out(vector["values"]))

    def test_registration_is_the_golden_bytes(self):
        vector = vectors("headers.json")["registration"]
        self.assertEqual(protocol.encode_registration(vector["values"]["clientId"]),
                         bytes_of(vector))

    def test_interleaved_notifications_are_told_apart(self):
        start = notification("start_accel_chinese_texts", 7)
        login = notification("user_login_succeeded", 7)
        reader = protocol.NotificationReader()
        self.assertIsNone(reader.take(start[0]))
        self.assertIsNone(reader.take(login[0]))
        self.assertEqual(reader.take(login[1])["type"], protocol.NOTIFY_USER_LOGIN)
        self.assertEqual(reader.take(start[1])["type"], protocol.NOTIFY_START_ACCEL)
        with self.assertRaises(protocol.ProtocolError):
            reader.take(b"123")

    def test_shortened_answers_are_refused(self):
        for name, vector in vectors("responses.json").items():
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
        windows.server = 1234
        with self.assertRaises(PermissionError):
            orva_pipes.Pipe(orva_pipes.REQUEST_PIPE, 0)
        self.assertEqual(self.requests.written, [])

    def test_a_long_message_is_read_whole(self):
        message = bytes(range(256)) * 600
        self.push.incoming.append(message)
        with orva_pipes.Pipe(orva_pipes.PUSH_PIPE, 0) as pipe:
            self.assertEqual(pipe.read(1), message)


unittest.main(argv=[sys.argv[0]])
