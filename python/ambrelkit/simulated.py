"""A platform on which nothing happens but what it is told, in virtual time: for tests of hosts, and to run scripts.

::

    with simulated.Platform() as platform, platform.kit(host) as kit:
        kit.start_scanning_once()
        platform.feed({"bluetooth": {"state": 5}})
        platform.feed({"bluetooth": {"discover": {"identifier": "C0FFEE00-0000-4000-8000-000000000001", "name": "Lamp"}}})
        platform.advance(11)  # the host has its record now

It stands in a library of its own, which is loaded when it is used.
"""

from __future__ import annotations

import ctypes
import json
import os
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path
from typing import Any, get_args

from ._library import LINE, Condition, SimulatedOptions, Trace, call, decoded, encoded, function, state, texts, zero_ended
from ._objects import Changed, LibraryObject, destroy, end_context, guarded, new_context
from .kit import Delegate, Kit, service_types
from .records import SourceName, State
from .status import SourceReports, _Observing, source_number

_SECOND = 1_000_000_000  # nanoseconds
TraceLine = dict[str, Any]


class _Tracer:
    """Gathers what is traced."""

    def __init__(self, take: Callable[[TraceLine], object]) -> None:
        self.take = take
        self.failure: BaseException | None = None

    def line(self, address: int, length: int) -> None:
        state.is_tracing = True
        try:
            if self.failure is None:
                self.take(decoded(address, length))
        except BaseException as exception:
            self.failure = exception
        finally:
            state.is_tracing = False

    def check(self) -> None:
        failure, self.failure = self.failure, None
        if failure is not None:
            raise failure


def _line(context: int, address: int, length: int) -> None:
    guarded(context, lambda tracer: tracer.line(address, length))


_line_callback = LINE(_line)


class SimulatedReports(SourceReports):
    """How the sources of a simulated platform fare."""

    def __init__(self, platform: Platform, changed: Changed | None = None) -> None:
        _Observing.__init__(self, changed, "ambrel_simulated_source_reports_new", platform._handle)


class SimulatedKit(Kit):
    """A kit on a simulated platform, which drives it."""

    _is_of_this_machine = False

    def __init__(self, platform: Platform, delegate: Delegate | None, services: Iterable[str]) -> None:
        self._begin(
            delegate, SimulatedReports(platform), "ambrel_simulated_kit_new", platform._handle, service_types(services))


class Platform(LibraryObject):
    """A platform, at virtual time 0.

    ``start``: the wall clock then, in seconds since 1970. ``identifiers``: the UUIDs that the kit gets for its records; after
    them, and without, 00000000-0000-4000-8000-000000000001 and so on. While it lives, the settings of the process are its
    own: the reuse threshold (30 again), the clock, the identifiers and the state of the network. So kits on different
    platforms, or on the machine's own, must not run at once. ValueError for an identifier that is no UUID.
    """

    _unref = "ambrel_simulated_unref"

    def __init__(self, *, start: float = 0, identifiers: Iterable[str] = ()) -> None:
        options = SimulatedOptions(start=round(start * _SECOND), identifiers=texts(identifiers))
        self._tracer: _Tracer | None = None
        super().__init__(lambda _context, handle: call("ambrel_simulated_new", ctypes.byref(options), handle))

    def kit(self, delegate: Delegate | None = None, *, services: Iterable[str] = ()) -> Kit:
        """A kit on this platform that looks for services of these types. It may outlive the platform; nothing happens to it
        any more then."""
        return SimulatedKit(self, delegate, services)

    def feed(self, event: Mapping[str, Any]) -> None:
        """Has something happen, now: what a step of a replay script has, without its ``at``; docs/replay.md lists them all::

            {"bluetooth": {"state": 5}}
            {"bonjour": {"found": {"type": "_ipp._tcp.", "name": "Printer"}}}
            {"location": {"update": [{"latitude": 60.1, "longitude": 24.9, "timestamp": 1700000000}]}}
            {"network": {"interfaces": [{"name": "en0", "address": "192.0.2.9"}]}}
            {"application": "didBecomeActive"}

        Raises ``ScriptError`` for what is none of these, and what a delegate raises."""
        self._do("ambrel_simulated_feed", *encoded(event))

    def advance(self, seconds: float) -> None:
        """Lets time pass: the timers that are due run in their order. What a delegate raises is raised, and time stands
        still then. ValueError where ``seconds`` is negative, or more than 64 bits hold in nanoseconds."""
        self._do("ambrel_simulated_advance", round(seconds * _SECOND))

    def _do(self, name: str, *arguments: Any) -> None:
        call(name, self._handle, *arguments)
        if self._tracer is not None:
            self._tracer.check()

    @property
    def now(self) -> float:
        """The virtual time, in seconds."""
        nanoseconds: int = function("ambrel_simulated_now")(self._handle)
        return nanoseconds / _SECOND

    def sources(self, changed: Changed | None = None) -> SourceReports:
        """How its sources fare. ``changed`` is called when time is advanced next, also by nothing, and once more
        for what it changes itself: one that does so each time keeps time from passing."""
        return SimulatedReports(self, changed)

    def impose(self, source: SourceName, state: State, *, means: str = "", code: str = "", reason: str = "", remedy: str = "") -> None:
        """Has the source be in this condition, whatever happens, until ``release``. ValueError for a source or a state that
        is none."""
        condition = Condition(
            means=zero_ended(means), code=zero_ended(code), reason=zero_ended(reason), remedy=zero_ended(remedy),
            state=get_args(State).index(state))
        call("ambrel_simulated_impose", self._handle, source_number(source), ctypes.byref(condition))

    def release(self, source: SourceName) -> None:
        """Has the source fare by itself again."""
        call("ambrel_simulated_impose", self._handle, source_number(source), None)

    def trace(self, take: Callable[[TraceLine], object] | None) -> None:
        """Tells ``take`` from now on what the kits ask of this platform, a line of the trace (docs/replay.md) at a time; None:
        nobody. It may come while objects go: nothing of this package is to be called there. What it raises, the next ``feed`` or
        ``advance`` raises."""
        self._tracer = _Tracer(take) if take is not None else None
        if self._tracer is None:
            call("ambrel_simulated_set_trace", self._handle, None)
            return
        context = new_context(self._tracer)
        try:
            call("ambrel_simulated_set_trace", self._handle, ctypes.byref(Trace(context=context, destroy=destroy, line=_line_callback)))
        except BaseException:
            end_context(context)
            raise


def replay(path: str | os.PathLike[str], *, queries: bool = False, quiet: bool = False) -> list[TraceLine]:
    """Runs a replay script (docs/replay.md), such as ``ambrel record`` writes, in virtual time, and gives the trace: what the
    kit did, call by call. With ``queries`` also the questions that the host's delegate is asked; with ``quiet`` nothing but the
    records. Raises ``ScriptError`` where the script is wrong, OSError where it can't be read. Call it while no kit lives."""
    script = Path(path).read_bytes()
    lines: list[TraceLine] = []
    tracer = _Tracer(lines.append)
    context = new_context(tracer)
    try:
        call("ambrel_replay", script, len(script), queries * 1 | quiet * 2, ctypes.byref(Trace(context=context, line=_line_callback)))
    finally:
        end_context(context)
    tracer.check()
    return lines
