"""The few functions of Windows that the sample in Python calls, for systems without them.

Stands in for ctypes.WinDLL. Knows pipes as scripts: what is written is handed to a function, which
puts the messages that answer it where reads find them.
"""

import ctypes
from ctypes import wintypes

SERVICE_PROCESS = 4711


class FakePipe:
    def __init__(self, on_write):
        self.on_write = on_write
        self.written = []
        self.incoming = []  # Messages that have come and not been read.
        self.taken = 0      # Of the first one.


class FakeWindows:
    def __init__(self):
        self.error = 0
        self.pipes = {}              # Name to FakePipe.
        self.open_failures = []      # The next opens fail with these.
        self.servers = [(SERVICE_PROCESS, 0)]  # Process and session of each opening; the last stays.
        self.service = SERVICE_PROCESS
        self.open_handles = set()
        self.pending = None          # (moved, error) of the operation under way; None: still pending.
        self._next_handle = 100
        self._by_handle = {}

    def install(self):
        ctypes.WinDLL = lambda *_, **__: _Library(self)
        ctypes.get_last_error = lambda: self.error
        wintypes.DWORD = ctypes.c_uint32  # Elsewhere its base type has another size.

    def _handle(self):
        self._next_handle += 1
        self.open_handles.add(self._next_handle)
        return self._next_handle

    def _fail(self, error):
        self.error = error
        return 0

    def CreateFileW(self, name, _access, _share, _security, _creation, _flags, _template):
        if self.open_failures:
            self._fail(self.open_failures.pop(0))
            return ctypes.c_void_p(-1).value
        handle = self._handle()
        self._by_handle[handle] = self.pipes[name]
        return handle

    def CloseHandle(self, handle):
        self.open_handles.remove(handle)
        return 1

    CloseServiceHandle = CloseHandle

    def CreateEventW(self, *_):
        return self._handle()

    def WaitNamedPipeW(self, *_):
        return 1

    def SetNamedPipeHandleState(self, _handle, mode, *_):
        assert mode._obj.value == 2
        return 1

    def GetNamedPipeServerProcessId(self, _handle, out):
        out._obj.value = self.servers[0][0]
        return 1

    def GetNamedPipeServerSessionId(self, _handle, out):
        out._obj.value = self.servers[0][1]
        if len(self.servers) > 1:
            self.servers.pop(0)
        return 1

    def OpenSCManagerW(self, *_):
        return self._handle()

    def OpenServiceW(self, _manager, name, _access):
        assert name == "OrvaAcceleratorService"
        return self._handle()

    def QueryServiceStatusEx(self, _service, _level, out, size, _needed):
        assert size == 36
        out._obj.process_id = self.service
        return 1

    def WriteFile(self, handle, message, length, _moved, _overlapped):
        pipe = self._by_handle[handle]
        pipe.written.append(message[:length])
        pipe.incoming += pipe.on_write(message[:length])
        self.pending = (length, 0)
        return self._fail(997)  # Pending, as it may be.

    def ReadFile(self, handle, buffer, size, _moved, _overlapped):
        pipe = self._by_handle[handle]
        if not pipe.incoming:
            self.pending = None
            return self._fail(997)
        message = pipe.incoming[0]
        if message is None:
            return self._fail(109)
        part = message[pipe.taken:pipe.taken + size]
        ctypes.memmove(buffer, part, len(part))
        pipe.taken += len(part)
        if pipe.taken < len(message):
            self.pending = (len(part), 234)
            return self._fail(234)
        pipe.incoming.pop(0)
        pipe.taken = 0
        self.pending = (len(part), 0)
        return 1

    def WaitForSingleObject(self, _event, _milliseconds):
        return 0 if self.pending is not None else 258

    def CancelIoEx(self, *_):
        self.pending = (0, 995)
        return 1

    def GetOverlappedResult(self, _handle, _overlapped, moved, wait):
        assert wait
        count, error = self.pending
        moved._obj.value = count
        return self._fail(error) if error else 1


class _Library:
    def __init__(self, windows):
        self._windows = windows

    def __getattr__(self, name):
        function = getattr(self._windows, name)

        # A function of its own, since the sample sets its types.
        def call(*arguments):
            return function(*arguments)
        setattr(self, name, call)
        return call
