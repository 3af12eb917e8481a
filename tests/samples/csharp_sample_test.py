"""The sample in C#: compiled with Mono's compiler, its bytes against the golden vectors under Mono.

    csharp_sample_test.py SAMPLE-FOLDER VECTOR-FOLDER MCS MONO
"""

import glob
import json
import os
import subprocess
import sys
import tempfile
import unittest

SAMPLE, VECTORS, MCS, MONO = sys.argv[1:5]
HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
sys.path.insert(0, HERE)

from golden import Golden, bytes_of, joined, written_out

golden = Golden(VECTORS)


def compile_to(program, sources):
    # The language level of the sample's project is 7.3; 7.2 is the newest that this compiler knows.
    result = subprocess.run([MCS, "-langversion:7.2", "-warnaserror", "-out:" + program, *sources],
                            capture_output=True, text=True)
    if result.returncode != 0:
        raise AssertionError(result.stdout + result.stderr)


class CSharpSample(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        program = os.path.join(cls.folder.name, "codec.exe")
        compile_to(program, [os.path.join(SAMPLE, "Protocol.cs"),
                             os.path.join(HERE, "CSharpCodec.cs")])
        cls.codec = subprocess.Popen([MONO, program], stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, text=True)

    @classmethod
    def tearDownClass(cls):
        cls.codec.communicate()
        cls.folder.cleanup()

    def ask(self, *words):
        self.codec.stdin.write(" ".join(map(str, words)) + "\n")
        self.codec.stdin.flush()
        return json.loads(self.codec.stdout.readline())

    def test_the_whole_sample_compiles_and_wants_five_arguments(self):
        program = os.path.join(self.folder.name, "session.exe")
        compile_to(program, glob.glob(os.path.join(SAMPLE, "*.cs")))
        result = subprocess.run([MONO, program], capture_output=True, text=True)
        self.assertEqual(result.returncode, 2)
        self.assertIn("usage: OrvaSession", result.stderr)

    def test_requests_are_the_golden_bytes(self):
        for name, vector in golden.vectors("requests").items():
            if not vector.get("encodes", True):
                continue
            with self.subTest(name):
                values = written_out(vector["values"])
                words = ["request", vector["type"], values.pop("clientId")]
                for field, value in values.items():
                    is_text = isinstance(value, str)
                    words += [field, "t" if is_text else "n",
                              value.encode().hex() or "-" if is_text else value]
                self.assertEqual(self.ask(*words), bytes_of(vector).hex(" ").upper())

    def test_registration_is_the_golden_bytes(self):
        vector = golden.vectors("headers")["registration"]
        self.assertEqual(self.ask("registration", vector["values"]["clientId"]),
                         bytes_of(vector).hex(" ").upper())

    def test_responses_give_the_golden_values(self):
        for name, vector in golden.vectors("responses").items():
            with self.subTest(name):
                expected = "refused" if name == "unknown_type" else written_out(vector["values"])
                found = self.ask("response", vector["type"] or 0, bytes_of(vector).hex())
                self.assertEqual(found, expected)

    def test_shortened_answers_are_refused(self):
        for name, vector in golden.vectors("responses").items():
            message = bytes_of(vector)
            if vector["type"] is None or len(message) > 300:
                continue
            for length in range(len(message) - 8):
                shortened = message[:4] + length.to_bytes(4, "little") + message[8:8 + length]
                with self.subTest(name, length=length):
                    self.assertEqual(self.ask("response", vector["type"], shortened.hex()), "refused")

    def test_notifications_give_the_golden_values(self):
        for name, vector in golden.vectors("notifications").items():
            with self.subTest(name):
                message = bytes_of(vector)
                values = written_out(vector["values"])
                self.ask("reader")
                self.assertIsNone(self.ask("message", message[:20].hex()))
                found = self.ask("message", message[20:].hex())
                self.assertEqual(found["clientId"], values.pop("clientId"))
                self.assertEqual(found["type"], vector["type"])
                self.assertEqual(found["values"], values)

    def test_sequences_give_what_they_say(self):
        for name, sequence in golden.vectors("sequences").items():
            self.ask("reader")
            for number, (pieces, gives) in enumerate(sequence["messages"]):
                with self.subTest(name, message=number):
                    # Texts of 64 KiB are not for reading.
                    self.assertTrue(self.ask("message", joined(pieces).hex()) == written_out(gives))


unittest.main(argv=[sys.argv[0]])
