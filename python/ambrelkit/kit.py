"""The kit, for hosts that answer its questions themselves."""

from __future__ import annotations

import ctypes
from collections.abc import Iterable, Iterator
from contextlib import contextmanager
from typing import Any, ClassVar, Literal, get_args

from ._library import RECEIVE, STATUS, USUAL_SERVICES, CDelegate, KitOptions, call, decoded, function, texts, zero_ended
from ._objects import LibraryObject, destroy, guarded, owner
from .records import Outcome, Record
from .status import ANSWERS, QUESTIONS, SourceReports

LocationSource = Literal["auto", "geoclue", "gpsd", "none"]
MDNSStack = Literal["auto", "daemon", "embedded"]
Accuracy = Literal["exact", "street", "neighborhood", "city", "country"]
_ACCURACIES: dict[Accuracy, int] = {"exact": 8, "street": 6, "neighborhood": 5, "city": 4, "country": 1}


class Delegate:
    """What a host implements, as much of it as it wants.

    The questions are answered by True (granted, or switched on), False, or None for what is not known or not decided
    yet. The kit takes the answers for the truth. It asks often, so an answer should be at hand; a permission is to be
    withdrawn only while nothing is collected. With several kits the delegate of the one made last is asked what may
    be started.
    """

    def did_receive_update_with_collected_data(self, record: Record) -> None:
        """A collection is finished, or a recent one is handed over again: inside an operation of the kit, or from
        the loop. Anything may be done here, also closing the kit."""

    def bluetooth_setting(self) -> bool | None:
        """Is Bluetooth switched on?"""
        return None

    def bluetooth_permission(self) -> bool | None:
        """May this program look for peripherals?"""
        return None

    def location_setting(self) -> bool | None:
        """Is location switched on?"""
        return None

    def location_permission(self) -> bool | None:
        """May this program use the location?"""
        return None

    def location_precise_permission(self) -> bool | None:
        """May the location be exact?"""
        return None

    def network_setting(self) -> bool | None:
        """Is the network switched on?"""
        return None

    def network_permission(self) -> bool | None:
        """May this program look for services?"""
        return None


def _receive(context: int, json: int, length: int) -> int:
    return guarded(context, lambda kit: kit._receive(decoded(json, length)))


def _status(context: int, question: int, answer: Any) -> int:
    def ask(kit: Kit) -> None:
        answer[0] = kit._answer(question)

    return guarded(context, ask)


_receive_callback, _status_callback = RECEIVE(_receive), STATUS(_status)


def service_types(services: Iterable[str]) -> Any:
    if isinstance(services, str):
        raise TypeError("services is a list of types, not a text")
    return texts(services)


class Kit(LibraryObject):
    """A kit on this machine. It collects for ten seconds when it is asked to, and hands its delegate the record.

    ::

        class Host(ambrelkit.Delegate):
            def network_permission(self):
                return True

            def did_receive_update_with_collected_data(self, record):
                print(record["nearbyDevices"])

        async with ambrelkit.Kit(Host()) as kit:
            kit.start_scanning()
            await asyncio.sleep(60)

    In ``async with`` asyncio's running loop drives it; what the delegate raises there ends the block. In ``with`` the
    program does so, by ``fileno`` and ``dispatch``; what the delegate raises, ``dispatch`` raises. What it raises inside
    an operation of the kit, that operation raises, and has started nothing then.

    ``delegate`` may be replaced at any time, also in a callback; None answers nothing.

    All objects that a process has at a time live on one thread.

    ``services``: the DNS-SD types to look for, such as ``_ipp._tcp``, or ``all`` for whatever the network says it has;
    an empty list for none. None: what ``ambrel`` looks for: the types that ``NSBonjourServices`` lists in the JSON file
    that ``$AMBREL_INFO`` names, else common ones. ``mdns``: avahi-daemon where it serves and surely keeps all that there
    is, else mDNS in this process, or one of them alone. ``location_source``: GeoClue, and gpsd where that is not there, or
    one of them alone, or neither. ``location_accuracy``: how exactly GeoClue is asked. ``desktop_id``: the name of the
    program's desktop file, without ``.desktop``, by which GeoClue knows it. ``gpsd_address``, numeric, and ``gpsd_port``:
    127.0.0.1 and 2947 unless given. Raises ValueError for what is none of these, OSError when the system gives no
    descriptor, or libsystemd is missing.
    """

    _unref = "ambrel_kit_unref"
    _is_of_this_machine: ClassVar[bool] = True

    def __init__(
        self,
        delegate: Delegate | None = None,
        *,
        services: Iterable[str] | None = None,
        mdns: MDNSStack = "auto",
        location_source: LocationSource = "auto",
        location_accuracy: Accuracy = "exact",
        desktop_id: str | None = None,
        gpsd_address: str | None = None,
        gpsd_port: int | None = None,
    ) -> None:
        if mdns not in get_args(MDNSStack):
            raise ValueError(f"no mdns: {mdns!r}")
        if location_source not in get_args(LocationSource):
            raise ValueError(f"no location_source: {location_source!r}")
        if location_accuracy not in _ACCURACIES:
            raise ValueError(f"no location_accuracy: {location_accuracy!r}")
        if gpsd_port is not None and not 0 < gpsd_port < 65536:
            raise ValueError(f"no port: {gpsd_port}")
        options = KitOptions(
            service_types=None if services is None else service_types(services),
            desktop_id=zero_ended(desktop_id),
            gpsd_address=zero_ended(gpsd_address),
            gpsd_port=gpsd_port or 0,
            location_source=get_args(LocationSource).index(location_source),
            location_accuracy=_ACCURACIES[location_accuracy],
            flags=USUAL_SERVICES,
            mdns=get_args(MDNSStack).index(mdns),
        )
        reports = SourceReports()
        self._begin(delegate, reports, "ambrel_kit_new", ctypes.byref(options))

    def _begin(self, delegate: Delegate | None, reports: SourceReports, name: str, *arguments: Any) -> None:
        #: Who is asked and told; it may be replaced at any time, also in a callback.
        self.delegate = delegate
        self._reports = reports

        def make(context: int, handle: Any) -> None:
            call(name, *arguments, handle)
            callbacks = CDelegate(
                context=context, destroy=destroy, did_receive_update_with_collected_data=_receive_callback,
                status=_status_callback)
            call("ambrel_kit_set_delegate", handle._obj, ctypes.byref(callbacks))

        LibraryObject.__init__(self, make)

    def _receive(self, record: Record) -> None:
        if self.delegate is not None:
            self.delegate.did_receive_update_with_collected_data(record)

    def _answer(self, question: int) -> int:
        if self.delegate is None or question >= len(QUESTIONS):
            return 0
        answer = getattr(self.delegate, QUESTIONS[question])()
        return ANSWERS.index(None if answer is None else bool(answer))

    def start_scanning(self) -> None:
        """Collects now for ten seconds, and again each time the device resumes or its user comes back, until
        ``stop_scanning`` or a single collection. A finished record within the reuse threshold is handed over again
        instead; without any granted permission an empty one is; both before this returns. While a collection runs, the
        request is ignored."""
        call("ambrel_kit_start_scanning", self._handle)

    def start_scanning_once(self) -> None:
        """As ``start_scanning``, once: a collection that this starts ends the automatic mode."""
        call("ambrel_kit_start_scanning_once", self._handle)

    def complete_scanning(self) -> None:
        """Lets the device sleep again: ends the background task of the automatic mode. A running collection goes on."""
        call("ambrel_kit_complete_scanning", self._handle)

    def stop_scanning(self) -> None:
        """Ends the running collection without handing it over, the automatic mode and the background task. Nothing is
        handed over then until the next start. When an answer of the delegate raises, call it again."""
        call("ambrel_kit_stop_scanning", self._handle)

    def automatic_mode_for_notification_and_background_task(self) -> None:
        """Turns the automatic mode on without starting a collection now. Sleep is delayed from here on, until
        ``complete_scanning``."""
        call("ambrel_kit_automatic_mode_for_notification_and_background_task", self._handle)

    def set_time_threshold(self, seconds: int) -> None:
        """Sets the reuse threshold of this process: up to how many seconds after its start a finished collection is
        handed over again in answer to a request. 30 at first. Raises ValueError unless it is from 0 to 30."""
        global _threshold
        call("ambrel_kit_set_time_threshold", self._handle, seconds)
        _threshold = seconds

    @property
    def history_limit(self) -> int | None:
        """How many records the kit keeps, the newest; None, as at first, for every one. A host that runs for months
        sets it. Setting it raises ValueError for less than 1."""
        return function("ambrel_kit_history_limit")(self._handle) or None

    @history_limit.setter
    def history_limit(self, limit: int | None) -> None:
        if limit is not None and limit < 1:
            raise ValueError(f"a limit is at least 1, not {limit}")
        call("ambrel_kit_set_history_limit", self._handle, limit or 0)

    def sources(self) -> Outcome:
        """How each source fares: in the collection that runs, else in the last one, and now."""
        return self._reports.outcome()

    def close(self) -> None:
        """Ends what runs, silently, and gives back what the library holds for it. It may be called in a callback, and
        again."""
        if self._life.alive and not owner.is_copy and self._is_of_this_machine:
            _remember(self.sources())
        super().close()
        self._reports.close()


_threshold = 30


@contextmanager
def reuse_threshold(kit: Kit, seconds: int) -> Iterator[None]:
    """This one for a while."""
    before = _threshold
    kit.set_time_threshold(seconds)
    try:
        yield
    finally:
        kit.set_time_threshold(before)


_last: Outcome | None = None


def _remember(outcome: Outcome) -> None:
    global _last
    if "began" in outcome:
        _last = outcome


def sources() -> Outcome:
    """How each source fared in the collection that runs on this thread, else in the last one of this process."""
    with SourceReports() as reports:
        outcome = reports.outcome()
    return outcome if "began" in outcome or _last is None else _last
