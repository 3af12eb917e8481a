"""The golden vectors, for the tests of the samples."""

import json
import os


def written_out(value):
    """A value of a vector with its repetitions written out."""
    if isinstance(value, dict) and "repeat" in value:
        return value["repeat"] * value["times"]
    if isinstance(value, dict):
        return {name: written_out(part) for name, part in value.items()}
    if isinstance(value, list):
        return [written_out(part) for part in value]
    return value


def joined(pieces):
    """The bytes of a string of hexadecimal digits, of a repetition of one, or of a list of these."""
    if isinstance(pieces, list):
        return b"".join(joined(piece) for piece in pieces)
    if isinstance(pieces, dict):
        return bytes.fromhex(pieces["repeat"]) * pieces["times"]
    return bytes.fromhex(pieces)


def bytes_of(vector):
    return joined([field[0] for field in vector["fields"]])


class Golden:
    def __init__(self, folder):
        self._folder = folder

    def vectors(self, name):
        """By name, those of "requests" and so on, or the sequences."""
        with open(os.path.join(self._folder, name + ".json"), encoding="utf-8") as file:
            found = {vector["name"]: vector for vector in json.load(file)}
        assert found
        return found
