"""What all objects of the library have in common: one thread, a life, callbacks, and a place in asyncio's loop."""

from __future__ import annotations

import asyncio
import collections
import ctypes
import itertools
import os
import threading
import weakref
from collections.abc import Callable
from types import TracebackType
from typing import Any, ClassVar, TypeVar

from ._library import CHANGED, DESTROY, Observer, attempt, call, function, keep_failure, state

Self = TypeVar("Self", bound="LibraryObject")
Changed = Callable[[], object]


class _Owner:
    """The thread on which all objects live that the process has now."""

    def __init__(self) -> None:
        self.thread = 0
        self.objects = 0
        self.is_used = False
        #: Whether this process was forked from one that used the library, whose descriptors it shares.
        self.is_copy = False
        os.register_at_fork(after_in_child=self._forked)
        #: References to be given back there, of objects that were dropped elsewhere, or while a trace was told.
        self.garbage: collections.deque[tuple[Any, int]] = collections.deque()

    def _forked(self) -> None:
        self.is_copy = self.is_used

    def check(self) -> None:
        if self.is_copy:
            raise RuntimeError("AmbrelKit can't be used in a process that was forked from one that has used it: start it anew")
        self.is_used = True
        if self.objects > 0 and threading.get_ident() != self.thread:
            raise RuntimeError("AmbrelKit is used on the thread on which its first object was made, until its last one is closed")
        while self.garbage and not state.is_tracing:
            self.give_back(*self.garbage.popleft())

    def give_back(self, unref: Any, handle: int) -> None:
        self.objects -= 1
        unref(handle)

    def drop(self, unref: Any, handle: int) -> None:
        """As `give_back`, at any time on any thread."""
        if self.is_copy:
            return
        self.garbage.append((unref, handle))
        if threading.get_ident() == self.thread:
            self.check()


owner = _Owner()

#: What the library calls back, by the context that it is given. It keeps nothing alive: who has the object decides.
_contexts: dict[int, weakref.ref[Any]] = {}
_numbers = itertools.count(1)


def new_context(target: object) -> int:
    number = next(_numbers)
    _contexts[number] = weakref.ref(target)
    return number


def end_context(context: int) -> None:
    _contexts.pop(context, None)


def guarded(context: int, action: Callable[[Any], object]) -> int:
    """Does it to the object of the context, if that lives, and keeps what is raised."""
    known = _contexts.get(context)
    target = known() if known is not None else None
    try:
        if target is not None:
            action(target)
    except BaseException as exception:
        return keep_failure(exception, target)
    return 0


def _changed(context: int) -> int:
    return guarded(context, lambda target: target._changed())


# Made once, and never freed: nothing that the library holds can go before it.
destroy = DESTROY(end_context)
_changed_callback = CHANGED(_changed)


def observer(context: int) -> Any:
    return Observer(context=context, destroy=destroy, changed=_changed_callback)


class LibraryObject:
    """Closed by ``close``, at the end of ``with`` or ``async with``, or when nobody holds it any more.

    ``async with`` also has asyncio's running loop drive it. What a callback of it raises there ends the block,
    as if its body had raised that.
    """

    _unref: ClassVar[str]

    def __init__(self, make: Callable[[int, Any], object]) -> None:
        # `make` is given a context, which ends when it raises, and where to put the handle.
        owner.check()
        handle = ctypes.c_void_p()
        context = new_context(self)
        try:
            make(context, ctypes.byref(handle))
        except BaseException:
            end_context(context)
            raise
        assert handle.value is not None
        owner.thread = threading.get_ident()
        owner.objects += 1
        self._life = weakref.finalize(self, owner.drop, function(self._unref), handle.value)
        self._handle_value = handle.value
        self._on_failure: Callable[[BaseException], object] | None = None
        self._leave: Callable[[], object] = lambda: None
        self._failure: BaseException | None = None
        self._task: asyncio.Task[Any] | None = None

    @property
    def _handle(self) -> int:
        owner.check()
        self._check_open()
        return self._handle_value

    def _check_open(self) -> None:
        if not self._life.alive:
            raise ValueError(f"this {type(self).__name__} is closed")

    def close(self) -> None:
        """Ends it, silently: nothing is called back any more. It may be called in a callback, and again."""
        if owner.is_copy:
            return
        owner.check()
        self._leave()
        self._leave = lambda: None
        known = self._life.detach()
        if known is not None:
            owner.give_back(*known[2])

    def _attach(self, failed: Callable[[BaseException], object]) -> None:
        """Has asyncio's running loop drive it until it is closed; what its callbacks raise is told to `failed`."""
        self._check_open()
        self._leave = drive()
        self._on_failure = failed

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, value: BaseException | None, traceback: TracebackType | None
    ) -> None:
        self.close()

    async def __aenter__(self: Self) -> Self:
        self._task = asyncio.current_task()
        self._attach(self._interrupt)
        return self

    def _interrupt(self, exception: BaseException) -> None:
        if self._failure is None and self._task is not None:
            self._failure = exception
            self._task.cancel()

    async def __aexit__(
        self, kind: type[BaseException] | None, value: BaseException | None, traceback: TracebackType | None
    ) -> None:
        self.close()
        failure, self._failure = self._failure, None
        if failure is not None and self._task is not None:
            others = self._task.uncancel()
            if others == 0 and (kind is None or issubclass(kind, asyncio.CancelledError)):
                raise failure


#: How many want each loop of asyncio to drive the library's.
_drivers: dict[asyncio.AbstractEventLoop, int] = {}


def drive() -> Callable[[], None]:
    """Has asyncio's running loop drive the library's loop of this thread, until what this returns is called."""
    loop = asyncio.get_running_loop()
    descriptor = fileno()
    if loop not in _drivers:
        loop.add_reader(descriptor, _turn)
    _drivers[loop] = _drivers.get(loop, 0) + 1

    def leave() -> None:
        _drivers[loop] -= 1
        if _drivers[loop] == 0:
            del _drivers[loop]
            if not loop.is_closed():
                loop.remove_reader(descriptor)

    return leave


def _turn() -> None:
    """What a callback raised goes to who drives its object, anything else to asyncio's handler of exceptions."""
    owner.check()
    _, exception, origin = attempt("ambrel_loop_dispatch")
    if exception is None:
        return
    failed = origin._on_failure if isinstance(origin, LibraryObject) else None
    if failed is None or not isinstance(exception, Exception):
        raise exception
    failed(exception)


def fileno() -> int:
    """The descriptor of the calling thread's loop: readable when there is something to ``dispatch``.

    For hosts with a loop other than asyncio's, such as GTK's; it is only to be polled. OSError when the system gives none,
    or libsystemd is missing.
    """
    owner.check()
    return call("ambrel_loop_fd")


def dispatch() -> None:
    """Runs what is due on the calling thread's loop, without waiting.

    Raises what a callback raises; the rest stays due. RuntimeError from a callback of the loop.
    """
    owner.check()
    call("ambrel_loop_dispatch")
