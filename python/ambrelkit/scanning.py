"""Records by one line: `scan` and `watch`."""

from __future__ import annotations

import asyncio
from collections.abc import AsyncGenerator, Iterable, Iterator
from contextlib import contextmanager, nullcontext
from dataclasses import dataclass, field
from datetime import timedelta
from typing import Any

from .kit import Delegate, Kit, LocationSource, MDNSStack, reuse_threshold
from .records import Record
from .status import HostStatus, SourceReports

_SHORTEST, _LONGEST = timedelta(seconds=10), timedelta(days=366)
_KEPT_RECORDS = 2  # the one that may be handed over again, and the one that is being collected


@dataclass
class _Host(Delegate):
    """Grants what its caller grants, has the settings from the system, and keeps what is delivered until it is taken."""

    bluetooth: bool
    location: bool
    network: bool
    status: HostStatus = field(default_factory=HostStatus)
    arrived: asyncio.Queue[Record | BaseException | None] = field(default_factory=asyncio.Queue)

    async def next(self) -> Record | None:
        """What is delivered next; None when only a source has changed. Raises what a callback raised."""
        arrived = await self.arrived.get()
        if isinstance(arrived, BaseException):
            raise arrived
        return arrived

    def did_receive_update_with_collected_data(self, record: Record) -> None:
        self.arrived.put_nowait(record)

    def bluetooth_setting(self) -> bool | None:
        return self.status.bluetooth_setting()

    def bluetooth_permission(self) -> bool:
        return self.bluetooth

    def location_setting(self) -> bool | None:
        return self.status.location_setting()

    def location_permission(self) -> bool:
        return self.location

    def location_precise_permission(self) -> bool:
        return self.location

    def network_setting(self) -> bool | None:
        return self.status.network_setting()

    def network_permission(self) -> bool:
        return self.network


@contextmanager
def _hosting(bluetooth: bool, location: bool, network: bool, **options: Any) -> Iterator[tuple[_Host, Kit, SourceReports]]:
    host = _Host(bluetooth, location, network)
    with (
        host.status as status,
        SourceReports(lambda: host.arrived.put_nowait(None)) as reports,
        Kit(host, **options) as kit,
    ):
        for driven in (status, reports, kit):
            driven._attach(host.arrived.put_nowait)
        yield host, kit, reports


async def scan(
    *,
    bluetooth: bool = True,
    location: bool = True,
    network: bool = True,
    services: Iterable[str] | None = None,
    mdns: MDNSStack = "auto",
    location_source: LocationSource = "auto",
    desktop_id: str | None = None,
) -> Record:
    """Takes one collection, ten seconds long, as ``ambrel scan`` does, and gives its record.

    ``bluetooth``, ``location``, ``network``: what may be looked for. What is not there is left out of the record: ``sources()``
    says afterwards who could not listen, and what would help. The other arguments are those of ``Kit``. Cancelling the
    task stops the collection::

        record = asyncio.run(ambrelkit.scan(location=False))
    """
    options = {"services": services, "mdns": mdns, "location_source": location_source, "desktop_id": desktop_id}
    with _hosting(bluetooth, location, network, **options) as (host, kit, _):
        kit.start_scanning_once()
        while (record := await host.next()) is None:
            pass
        return record


async def watch(
    *,
    every: timedelta | None = None,
    bluetooth: bool = True,
    location: bool = True,
    network: bool = True,
    services: Iterable[str] | None = None,
    mdns: MDNSStack = "auto",
    location_source: LocationSource = "auto",
    desktop_id: str | None = None,
) -> AsyncGenerator[Record, None]:
    """Takes a collection now, and whenever the device resumes or its user comes back, as ``ambrel watch`` does.

    With ``every``, 10 seconds to 366 days, also at this interval; the reuse threshold of the process is 0 meanwhile.
    What falls due while the body of the loop runs is made up for once. The other arguments are those of ``scan``. It ends
    with the task, or when it is closed: ``contextlib.aclosing`` does so at once where a loop is left early::

        async for record in ambrelkit.watch(every=timedelta(minutes=15)):
            store.save(record)
    """
    if every is not None and not _SHORTEST <= every <= _LONGEST:
        raise ValueError(f"every is from 10 seconds to 366 days, not {every}")
    options = {"services": services, "mdns": mdns, "location_source": location_source, "desktop_id": desktop_id}
    with _hosting(bluetooth, location, network, **options) as (host, kit, reports), (reuse_threshold(kit, 0) if every else nullcontext()):
        kit.history_limit = _KEPT_RECORDS
        clock = asyncio.get_running_loop().time
        at = clock() + every.total_seconds() if every else None
        kit.start_scanning()
        due = False
        while True:
            # Asked for between its ten seconds and its delivery, a collection would begin in the place of the one that is
            # under way.
            if due and reports.state("address") in ("idle", "left-out") and host.arrived.empty():
                due = False
                kit.start_scanning()
            try:
                async with asyncio.timeout_at(at):
                    record = await host.next()
            except TimeoutError:
                assert every is not None and at is not None
                at += ((clock() - at) // every.total_seconds() + 1) * every.total_seconds()
                due = True
                continue
            if record is not None:
                kit.complete_scanning()  # the device may go to sleep from here on
                yield record
