"""The service's two pipes, by ctypes: nothing needs to be installed beside Python. Windows only.

Run against stand-ins for Windows only, never with real pipes yet.
"""

import ctypes
import time
from ctypes import wintypes

REQUEST_PIPE = r"\\.\pipe\OrvaAccelerator_Request"
PUSH_PIPE = r"\\.\pipe\OrvaAccelerator_Push"
SERVICE = "OrvaAcceleratorService"

ERROR_FILE_NOT_FOUND = 2
ERROR_PIPE_BUSY = 231
ERROR_MORE_DATA = 234
ERROR_IO_PENDING = 997
_WAIT_OBJECT_0 = 0
_GENERIC_READ_WRITE = 0xC0000000
_OPEN_EXISTING = 3
_FILE_FLAG_OVERLAPPED = 0x40000000
_SECURITY_SQOS_PRESENT = 0x00100000  # With it, 0 means SECURITY_ANONYMOUS.
_PIPE_READMODE_MESSAGE = 2
_SC_MANAGER_CONNECT = 1
_SERVICE_QUERY_STATUS = 4
_SC_STATUS_PROCESS_INFO = 0
_INVALID_HANDLE = ctypes.c_void_p(-1).value


class _Overlapped(ctypes.Structure):
    _fields_ = [("internal", ctypes.c_void_p), ("internal_high", ctypes.c_void_p),
                ("offset", wintypes.DWORD), ("offset_high", wintypes.DWORD),
                ("event", wintypes.HANDLE)]


class _ServiceStatus(ctypes.Structure):
    _fields_ = [(name, wintypes.DWORD) for name in (
        "type", "state", "controls", "exit_code", "specific_exit_code", "check_point",
        "wait_hint", "process_id", "flags")]


def _declare(library, name, result, *arguments):
    function = getattr(library, name)
    function.restype = result
    function.argtypes = arguments
    return function


_kernel32 = ctypes.WinDLL("kernel32", use_last_error=True)
_advapi32 = ctypes.WinDLL("advapi32", use_last_error=True)
_H, _D, _B, _P, _W = (wintypes.HANDLE, wintypes.DWORD, wintypes.BOOL, ctypes.c_void_p,
                      wintypes.LPCWSTR)
_PD = ctypes.POINTER(wintypes.DWORD)
_PO = ctypes.POINTER(_Overlapped)
_CreateFile = _declare(_kernel32, "CreateFileW", _H, _W, _D, _D, _P, _D, _D, _H)
_CloseHandle = _declare(_kernel32, "CloseHandle", _B, _H)
_CreateEvent = _declare(_kernel32, "CreateEventW", _H, _P, _B, _B, _W)
_WaitNamedPipe = _declare(_kernel32, "WaitNamedPipeW", _B, _W, _D)
_SetState = _declare(_kernel32, "SetNamedPipeHandleState", _B, _H, _PD, _P, _P)
_GetServer = _declare(_kernel32, "GetNamedPipeServerProcessId", _B, _H, _PD)
_GetServerSession = _declare(_kernel32, "GetNamedPipeServerSessionId", _B, _H, _PD)
_ReadFile = _declare(_kernel32, "ReadFile", _B, _H, _P, _D, _P, _PO)
_WriteFile = _declare(_kernel32, "WriteFile", _B, _H, _P, _D, _P, _PO)
_GetResult = _declare(_kernel32, "GetOverlappedResult", _B, _H, _PO, _PD, _B)
_CancelIo = _declare(_kernel32, "CancelIoEx", _B, _H, _PO)
_Wait = _declare(_kernel32, "WaitForSingleObject", _D, _H, _D)
_OpenManager = _declare(_advapi32, "OpenSCManagerW", _H, _W, _W, _D)
_OpenService = _declare(_advapi32, "OpenServiceW", _H, _H, _W, _D)
_QueryStatus = _declare(_advapi32, "QueryServiceStatusEx", _B, _H, ctypes.c_int, _P, _D, _PD)
_CloseService = _declare(_advapi32, "CloseServiceHandle", _B, _H)


def _failure(what):
    code = ctypes.get_last_error()
    return OSError(code, f"{what} (Win32 error {code})")


def _service_process():
    """The id of the process that runs the service; 0 when it does not run."""
    manager = _OpenManager(None, None, _SC_MANAGER_CONNECT)
    if not manager:
        raise _failure("the service control manager cannot be reached")
    try:
        service = _OpenService(manager, SERVICE, _SERVICE_QUERY_STATUS)
        if not service:
            raise _failure("the service is not installed")
        try:
            status, needed = _ServiceStatus(), wintypes.DWORD()
            if not _QueryStatus(service, _SC_STATUS_PROCESS_INFO, ctypes.byref(status),
                                ctypes.sizeof(status), ctypes.byref(needed)):
                raise _failure("the service's status cannot be read")
            return status.process_id
        finally:
            _CloseService(service)
    finally:
        _CloseService(manager)


def _open(name, deadline):
    """Error 2 and error 231 pass: the service is just making its next instance."""
    while True:
        handle = _CreateFile(name, _GENERIC_READ_WRITE, 0, None, _OPEN_EXISTING,
                             _FILE_FLAG_OVERLAPPED | _SECURITY_SQOS_PRESENT, None)
        if handle != _INVALID_HANDLE:
            return handle
        code = ctypes.get_last_error()
        if code not in (ERROR_FILE_NOT_FOUND, ERROR_PIPE_BUSY) or time.monotonic() >= deadline:
            raise _failure("the service cannot be reached")
        if code == ERROR_PIPE_BUSY:
            _WaitNamedPipe(name, 200)
        else:
            time.sleep(0.01)


def _is_served_by(handle, service):
    """Whether that process, which ran the service before the pipe was opened, still does and serves it.

    An instance keeps the process id of its maker after that has gone, so the id alone could have been
    prepared; but no user's process is in session 0.
    """
    server, session = wintypes.DWORD(), wintypes.DWORD()
    if not (_GetServer(handle, ctypes.byref(server))
            and _GetServerSession(handle, ctypes.byref(session))):
        raise _failure("the pipe does not tell its server")
    return server.value == service and session.value == 0 and _service_process() == service


def _open_service_pipe(name, deadline):
    """Any program can make an instance beside the service's, to be told the next credential."""
    while True:
        service = _service_process()
        handle = _open(name, deadline)
        try:
            if _is_served_by(handle, service):
                return handle
        except BaseException:
            _CloseHandle(handle)
            raise
        _CloseHandle(handle)
        if time.monotonic() >= deadline:
            raise PermissionError("another program serves the pipe and is not the service")
        time.sleep(0.01)


class Pipe:
    """One connection; one thread at a time. Times are in seconds."""

    def __init__(self, name, timeout):
        self._event = None
        self._handle = _open_service_pipe(name, time.monotonic() + timeout)
        try:
            mode = wintypes.DWORD(_PIPE_READMODE_MESSAGE)
            if not _SetState(self._handle, ctypes.byref(mode), None, None):
                raise _failure("the pipe cannot be put into message mode")
            self._event = _CreateEvent(None, True, False, None)
            if not self._event:
                raise _failure("no event can be made")
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        _CloseHandle(self._handle)
        if self._event:
            _CloseHandle(self._event)

    def _run(self, start, deadline):
        """Starts an operation and waits for its end: the bytes moved, and whether there are more."""
        overlapped = _Overlapped(event=self._event)
        if not start(ctypes.byref(overlapped)):
            code = ctypes.get_last_error()
            if code not in (ERROR_IO_PENDING, ERROR_MORE_DATA):
                raise _failure("the service ended the connection")
        left = max(0, int((deadline - time.monotonic()) * 1000))
        in_time = _Wait(self._event, left) == _WAIT_OBJECT_0
        if not in_time:
            _CancelIo(self._handle, ctypes.byref(overlapped))
        moved = wintypes.DWORD()
        # Waits for a cancelled operation as well: the buffer is the system's until then.
        if _GetResult(self._handle, ctypes.byref(overlapped), ctypes.byref(moved), True):
            return moved.value, False
        if ctypes.get_last_error() == ERROR_MORE_DATA:
            return moved.value, True
        if not in_time:
            raise TimeoutError("the service did not get there in time")
        raise _failure("the service ended the connection")

    def write(self, message, timeout):
        def start(overlapped):
            return _WriteFile(self._handle, message, len(message), None, overlapped)
        self._run(start, time.monotonic() + timeout)

    def read(self, timeout):
        """The next message, whole."""
        deadline = time.monotonic() + timeout
        buffer = ctypes.create_string_buffer(65536)

        def start(overlapped):
            return _ReadFile(self._handle, buffer, len(buffer), None, overlapped)
        message, more = b"", True
        while more:
            moved, more = self._run(start, deadline)
            message += buffer.raw[:moved]
        return message
