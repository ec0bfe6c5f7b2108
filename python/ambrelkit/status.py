"""What this machine shows of its permissions and of its sources."""

from __future__ import annotations

import ctypes
import json
from typing import Any, cast, get_args

from ._library import call, function, taken, text
from ._objects import Changed, LibraryObject, observer
from .records import Outcome, OutcomeName, SourceName, State

#: The questions of a kit, at their numbers.
QUESTIONS = (
    "bluetooth_setting", "bluetooth_permission", "location_setting", "location_permission", "location_precise_permission",
    "network_setting", "network_permission")
#: The answers, at theirs.
ANSWERS = (None, True, False)


class _Observing(LibraryObject):
    def __init__(self, changed: Changed | None, name: str, *arguments: Any) -> None:
        self._changed: Changed = changed or (lambda: None)
        super().__init__(lambda context, handle: call(name, *arguments, ctypes.byref(observer(context)), handle))


class HostStatus(_Observing):
    """What this machine shows of the permissions and settings, for hosts that have no better answers of their own.

    No daemon is started, no device looked for, no user asked. What is not known yet is None, so make it some time
    ahead of the first collection. ``changed`` is called, from the loop, when an answer has become another. Raises OSError
    when the system gives no descriptor.
    """

    _unref = "ambrel_host_status_unref"

    def __init__(self, changed: Changed | None = None) -> None:
        super().__init__(changed, "ambrel_host_status_new")

    def _get(self, question: str) -> bool | None:
        answer: int = function("ambrel_host_status_get")(self._handle, QUESTIONS.index(question))
        return ANSWERS[answer]

    def bluetooth_setting(self) -> bool | None:
        """Is Bluetooth switched on?"""
        return self._get("bluetooth_setting")

    def bluetooth_permission(self) -> bool | None:
        """May this program look for peripherals?"""
        return self._get("bluetooth_permission")

    def location_setting(self) -> bool | None:
        """Is location switched on?"""
        return self._get("location_setting")

    def location_permission(self) -> bool | None:
        """May this program use the location?"""
        return self._get("location_permission")

    def location_precise_permission(self) -> bool | None:
        """May the location be exact?"""
        return self._get("location_precise_permission")

    def network_setting(self) -> bool | None:
        """Is the network switched on?"""
        return self._get("network_setting")

    def network_permission(self) -> bool | None:
        """May this program look for services?"""
        return self._get("network_permission")


def source_number(name: SourceName) -> int:
    return get_args(SourceName).index(name)


class SourceReports(_Observing):
    """How the sources of the thread's loop fare, whichever kit uses them: what they know anyway, no daemon is asked.

    ``changed`` is called, from the loop, when the state of one has become another. ValueError for a source that is none,
    OSError when the system gives no descriptor.
    """

    _unref = "ambrel_source_reports_unref"

    def __init__(self, changed: Changed | None = None) -> None:
        super().__init__(changed, "ambrel_source_reports_new")

    def outcome(self) -> Outcome:
        """All that is known: of the collection that runs, else of the last one, and of now."""
        given, length = ctypes.c_void_p(), ctypes.c_size_t()
        call("ambrel_source_reports_json", self._handle, ctypes.byref(given), ctypes.byref(length))
        return cast(Outcome, json.loads(taken(given) or "{}"))

    def state(self, source: SourceName) -> State:
        """The state of a source now."""
        states = get_args(State)
        return cast(State, states[function("ambrel_source_reports_state")(self._handle, source_number(source))])

    def outcome_of(self, source: SourceName) -> OutcomeName:
        """How it fared in the collection that runs, else in the last one."""
        outcomes = get_args(OutcomeName)
        return cast(OutcomeName, outcomes[function("ambrel_source_reports_outcome")(self._handle, source_number(source))])

    def shortfall(self, source: SourceName) -> str:
        """What people should know of the source's collection, in one line; empty when it listened throughout, but for
        moments within a tenth of a second, or was not asked."""
        return text("ambrel_source_reports_shortfall", self._handle, source_number(source)) or ""
