"""The store: records as files, one each."""

from __future__ import annotations

import ctypes
import math
import warnings
from collections.abc import Iterator, Mapping
from pathlib import Path
from types import TracebackType
from typing import Any, cast

from ._library import RECEIVE, SKIPPED, Visitor, call, decoded, encoded, keep_failure, text
from .records import Record

_FEWEST, _MOST = 16, 1024  # records that are read in one go


class StoreWarning(UserWarning):
    """A file of the store can't be read, and is left out."""


class _Visit:
    """One go through the store."""

    def __init__(self, most: int) -> None:
        self.most = most
        self.records: list[Record] = []
        self.skipped: list[str] = []

    def run(self, since: float, until: float) -> bool:
        """Whether that was all."""

        def visit(_context: int, json: int, length: int) -> int:
            try:
                self.records.append(decoded(json, length))
            except BaseException as exception:
                return keep_failure(exception)
            return 1 if len(self.records) == self.most else 0

        def skipped(_context: int, line: bytes) -> None:
            self.skipped.append(line.decode(errors="replace"))

        visitor = Visitor(visit=RECEIVE(visit), skipped=SKIPPED(skipped))
        return call("ambrel_store_for_each_between", since, until, ctypes.byref(visitor)) == 0


class Store:
    """The records that were saved, as files in ``path``.

    They lie in ``collections`` of ``$AMBREL_DOCUMENTS_DIR``, else ``$STATE_DIRECTORY``, else ``$XDG_DATA_HOME/ambrelkit``, else
    ``~/.local/share/ambrelkit``, where ``ambrel store`` looks, too. A record is known by its ``timestamp``: two with the same
    share a file, and the later replaces the earlier. Nothing is kept open between calls; any thread may make them, and any
    callback. They raise ``StoreError`` when the file work can't be done, ValueError or TypeError for what has no JSON form::

        with ambrelkit.Store() as store:
            store.save(await ambrelkit.scan())
            for record in store.between(since=1700000000):
                print(record["timestamp"], len(record["bleScan"]))
    """

    def __enter__(self) -> Store:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, value: BaseException | None, traceback: TracebackType | None
    ) -> None:
        pass  # nothing was opened

    @property
    def path(self) -> Path:
        """The folder of the files, which need not exist."""
        return Path(text("ambrel_store_path") or "")

    def save(self, record: Mapping[str, Any]) -> bool:
        """Whether it is on the disk now; False, and nothing is done, when there is no number under ``timestamp``. A save
        that is cut short leaves the earlier file whole."""
        return call("ambrel_store_save", *encoded(record)) == 1

    def delete(self, record: Mapping[str, Any]) -> bool:
        """Removes the file that the record's ``timestamp`` names; False, and nothing is done, when there is no number. Nothing
        else of the record is looked at."""
        return call("ambrel_store_delete", *encoded(record)) == 1

    def file_name(self, record: Mapping[str, Any]) -> str | None:
        """The name of the record's file, such as ``1700000000.0``; None when there is no number under ``timestamp``."""
        return text("ambrel_store_file_name", *encoded(record))

    def __iter__(self) -> Iterator[Record]:
        return self.between()

    def between(self, since: float = -math.inf, until: float = math.inf) -> Iterator[Record]:
        """The records from ``since`` to ``until``, both included, in seconds since 1970, oldest first. They are read a few
        at a time. A file that can't be read is a ``StoreWarning``."""
        most = _FEWEST
        while True:
            visit = _Visit(most)
            is_all = visit.run(since, until)
            for line in visit.skipped:
                warnings.warn(line, StoreWarning, stacklevel=2)
            yield from visit.records
            if is_all:
                return
            since = math.nextafter(cast(float, visit.records[-1]["timestamp"]), math.inf)
            most = min(2 * most, _MOST)
