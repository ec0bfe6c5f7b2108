"""The C interface, <ambrelkit.h>, and how a call of it fails."""

from __future__ import annotations

import ctypes
import errno
import functools
import itertools
import json
import os
import threading
from collections.abc import Iterable, Mapping
from ctypes import POINTER, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_uint, c_void_p
from typing import Any

SOVERSION = 0


class StoreError(OSError):
    """The store could not do what it was asked."""


class ScriptError(ValueError):
    """A replay script, or an event for a simulated platform, is wrong."""

    def __init__(self, description: str, line: int) -> None:
        super().__init__(f"line {line}: {description}")
        #: The line that is wrong, counted from 1.
        self.line = line


class Error(ctypes.Structure):
    _fields_ = [("domain", c_char_p), ("code", c_int), ("description", c_char_p)]


def _struct(name: str, *fields: tuple[str, Any]) -> type[ctypes.Structure]:
    """A struct of the C interface, which begins with its size; everything else is zero at first."""

    def begin(self: ctypes.Structure, **members: Any) -> None:
        ctypes.Structure.__init__(self, ctypes.sizeof(type(self)), **members)

    return type(name, (ctypes.Structure,), {"_fields_": [("size", c_size_t), *fields], "__init__": begin})


TEXTS = POINTER(c_char_p)
CONTEXT = ("context", c_void_p)
DESTROY = ctypes.CFUNCTYPE(None, c_void_p)
CHANGED = ctypes.CFUNCTYPE(c_int, c_void_p)
RECEIVE = ctypes.CFUNCTYPE(c_int, c_void_p, c_void_p, c_size_t)
STATUS = ctypes.CFUNCTYPE(c_int, c_void_p, c_int, POINTER(c_int64))
SKIPPED = ctypes.CFUNCTYPE(None, c_void_p, c_char_p)
LINE = ctypes.CFUNCTYPE(None, c_void_p, c_void_p, c_size_t)

KitOptions = _struct(
    "KitOptions", ("service_types", TEXTS), ("desktop_id", c_char_p), ("gpsd_address", c_char_p), ("gpsd_port", c_int32),
    ("location_source", c_int32), ("location_accuracy", c_int32), ("flags", c_int32),
    ("mdns", c_int32), ("reserved", c_int32))
CDelegate = _struct(
    "CDelegate", CONTEXT, ("destroy", DESTROY), ("did_receive_update_with_collected_data", RECEIVE), ("status", STATUS))
Observer = _struct("Observer", CONTEXT, ("destroy", DESTROY), ("changed", CHANGED))
Visitor = _struct("Visitor", CONTEXT, ("visit", RECEIVE), ("skipped", SKIPPED))
SimulatedOptions = _struct("SimulatedOptions", ("start", c_int64), ("identifiers", TEXTS))
Condition = _struct(
    "Condition", ("means", c_char_p), ("code", c_char_p), ("reason", c_char_p), ("remedy", c_char_p), ("state", c_int32),
    ("reserved", c_int32))
Trace = _struct("Trace", CONTEXT, ("destroy", DESTROY), ("line", LINE))

USUAL_SERVICES = 1

_HANDLE = POINTER(c_void_p)
_ERROR = POINTER(Error)
_JSON = (c_char_p, c_size_t)

#: What a function takes; one that can fail takes an error, too, at its end.
_FALLIBLE: Mapping[str, tuple[Any, ...]] = {
    "ambrel_loop_fd": (),
    "ambrel_loop_dispatch": (),
    "ambrel_kit_new": (POINTER(KitOptions), _HANDLE),
    "ambrel_kit_set_delegate": (c_void_p, POINTER(CDelegate)),
    "ambrel_kit_start_scanning": (c_void_p,),
    "ambrel_kit_start_scanning_once": (c_void_p,),
    "ambrel_kit_complete_scanning": (c_void_p,),
    "ambrel_kit_stop_scanning": (c_void_p,),
    "ambrel_kit_automatic_mode_for_notification_and_background_task": (c_void_p,),
    "ambrel_kit_set_time_threshold": (c_void_p, c_int64),
    "ambrel_kit_set_history_limit": (c_void_p, c_size_t),
    "ambrel_host_status_new": (POINTER(Observer), _HANDLE),
    "ambrel_source_reports_new": (POINTER(Observer), _HANDLE),
    "ambrel_source_reports_json": (c_void_p, _HANDLE, POINTER(c_size_t)),
    "ambrel_source_reports_shortfall": (c_void_p, c_int, _HANDLE),
    "ambrel_store_save": _JSON,
    "ambrel_store_delete": _JSON,
    "ambrel_store_for_each_between": (c_double, c_double, POINTER(Visitor)),
    "ambrel_store_file_name": (*_JSON, _HANDLE),
    "ambrel_store_path": (_HANDLE,),
    "ambrel_simulated_new": (POINTER(SimulatedOptions), _HANDLE),
    "ambrel_simulated_kit_new": (c_void_p, TEXTS, _HANDLE),
    "ambrel_simulated_feed": (c_void_p, *_JSON),
    "ambrel_simulated_advance": (c_void_p, c_int64),
    "ambrel_simulated_source_reports_new": (c_void_p, POINTER(Observer), _HANDLE),
    "ambrel_simulated_impose": (c_void_p, c_int, POINTER(Condition)),
    "ambrel_simulated_set_trace": (c_void_p, POINTER(Trace)),
    "ambrel_replay": (*_JSON, c_uint, POINTER(Trace)),
}

_OTHERS: Mapping[str, tuple[Any, tuple[Any, ...]]] = {
    "ambrel_version": (c_char_p, ()),
    "ambrel_error_free": (None, (_ERROR,)),
    "ambrel_free": (None, (c_void_p,)),
    "ambrel_kit_unref": (c_void_p, (c_void_p,)),
    "ambrel_kit_history_limit": (c_size_t, (c_void_p,)),
    "ambrel_host_status_get": (c_int64, (c_void_p, c_int)),
    "ambrel_host_status_unref": (c_void_p, (c_void_p,)),
    "ambrel_source_reports_state": (c_int, (c_void_p, c_int)),
    "ambrel_source_reports_outcome": (c_int, (c_void_p, c_int)),
    "ambrel_source_reports_unref": (c_void_p, (c_void_p,)),
    "ambrel_simulated_now": (c_int64, (c_void_p,)),
    "ambrel_simulated_unref": (c_void_p, (c_void_p,)),
}


@functools.cache
def _library(name: str) -> ctypes.CDLL:
    file = f"{name}.so.{SOVERSION}"
    if name != "libambrelkit":
        _library("libambrelkit")  # which it needs, and finds loaded
    return ctypes.CDLL(os.path.join(os.environ.get("AMBRELKIT_LIBRARY_DIR", ""), file))


@functools.cache
def function(name: str) -> Any:
    """A function of the library, which is loaded with the first one."""
    simulated = name.startswith(("ambrel_simulated_", "ambrel_replay"))
    result = getattr(_library("libambrelkit-simulated" if simulated else "libambrelkit"), name)
    if name in _FALLIBLE:
        result.restype, result.argtypes = c_int, (*_FALLIBLE[name], _ERROR)
    else:
        result.restype, result.argtypes = _OTHERS[name]
    return result


class _State(threading.local):
    def __init__(self) -> None:
        #: Whether a line of a trace is being told, below which the library is not to be called.
        self.is_tracing = False
        #: What callbacks raised, by the number that they returned for it, and the object that they belong to.
        self.failures: dict[int, tuple[BaseException, object]] = {}


state = _State()

_numbers = itertools.count(1)
_MOST_FAILURES = 100  # some are never told: what fails while the first is on its way


def keep_failure(exception: BaseException, origin: object = None) -> int:
    """What a callback is to return that raised this."""
    number = -(next(_numbers) % 2**31 or next(_numbers))
    state.failures[number] = exception, origin
    if len(state.failures) > _MOST_FAILURES:
        del state.failures[next(iter(state.failures))]
    return number


def _exception(error: Error) -> tuple[BaseException, object]:
    domain = (error.domain or b"").decode()
    code: int = error.code
    description = (error.description or b"").decode(errors="replace")
    if domain == "AmbrelKit.Callback":
        return state.failures.pop(code, (RuntimeError(description), None))
    if domain == "AmbrelKit.Store":
        return StoreError(errno.EIO, description), None
    if domain == "AmbrelKit.Script":
        return ScriptError(description, code), None
    if domain == "AmbrelKit.Errno":
        kinds: dict[int, type[Exception]] = {
            errno.EINVAL: ValueError, errno.ERANGE: ValueError, errno.EBUSY: RuntimeError, errno.ENOMEM: MemoryError}
        if code in kinds:
            return kinds[code](description), None
        return OSError(code, description), None
    return ValueError(description), None


def attempt(name: str, *arguments: Any) -> tuple[int, BaseException | None, object]:
    """What a fallible function returned; else what is to be raised, and the object whose callback raised it."""
    error = Error()
    result: int = function(name)(*arguments, ctypes.byref(error))
    if result >= 0:
        return result, None, None
    try:
        return result, *_exception(error)
    finally:
        function("ambrel_error_free")(ctypes.byref(error))


def call(name: str, *arguments: Any) -> int:
    """What a fallible function returns. Raises what it tells, or what a callback raised."""
    result, exception, _ = attempt(name, *arguments)
    if exception is not None:
        raise exception
    return result


def zero_ended(value: str | None) -> bytes | None:
    if value is not None and "\0" in value:
        raise ValueError("a text has a zero byte")
    return None if value is None else value.encode()


def texts(values: Iterable[str]) -> Any:
    """A list that ends with NULL."""
    items = [*map(zero_ended, values), None]
    return (c_char_p * len(items))(*items)


def text(name: str, *arguments: Any) -> str | None:
    """The text that a function hands out, if any, by its last argument but the error."""
    given = c_void_p()
    call(name, *arguments, ctypes.byref(given))
    return taken(given)


def taken(given: c_void_p) -> str | None:
    if not given.value:
        return None
    try:
        return ctypes.string_at(given.value).decode(errors="surrogateescape")
    finally:
        function("ambrel_free")(given)


def encoded(dictionary: Mapping[str, Any]) -> tuple[bytes, int]:
    """A dictionary as a function takes it: JSON, and its length."""
    data = json.dumps(dictionary, ensure_ascii=False, allow_nan=False).encode()
    return data, len(data)


def decoded(address: int, length: int) -> Any:
    """The JSON that a callback is given."""
    return json.loads(ctypes.string_at(address, length))
