"""A ten-second snapshot of what surrounds the device: Bluetooth LE peripherals, DNS-SD services, a location fix, the IPv4
address, the joined Wi-Fi. One call, one dictionary, no thread; nothing is sent anywhere.

::

    import ambrelkit, asyncio

    record = asyncio.run(ambrelkit.scan())

`scan` takes one (`ambrelkit.records` lists its keys); `watch` takes one now, and whenever the device resumes or its user comes back; `sources` says who could
not listen, and what would help; `Store` keeps records in files, where ``ambrel store`` looks, too. `replay` runs a script in
virtual time.

A program that answers for its users' permissions itself has a `Kit` and its `Delegate`, with `HostStatus` for what the
system shows. For its tests there is `ambrelkit.simulated`, a platform that does what it is told.

The library's descriptor lies in asyncio's loop. A program with another loop, such as GTK's, polls `fileno` and calls
`dispatch` when that is readable. All objects that a process has at a time live on one thread; use on another raises
RuntimeError, and so does use in a process that was forked from one that has used them. The store may be used on any. An
object that is closed raises ValueError, but for `close`.

The library is ``libambrelkit.so.0``, where the loader finds it, or in the folder that ``$AMBRELKIT_LIBRARY_DIR`` names.
"""

from __future__ import annotations

from ._library import ScriptError, StoreError, function
from ._objects import dispatch, fileno
from .kit import Delegate, Kit, sources
from .records import Outcome as Outcome
from .records import Record as Record
from .scanning import scan, watch
from .simulated import replay
from .status import HostStatus, SourceReports
from .store import Store, StoreWarning

__all__ = [
    "Delegate", "HostStatus", "Kit", "ScriptError", "SourceReports", "Store", "StoreError", "StoreWarning", "dispatch", "fileno", "replay",
    "scan", "sources", "version", "watch"]


def version() -> str:
    """The version of the library that runs, such as ``0.1.0``."""
    text: bytes = function("ambrel_version")()
    return text.decode()
