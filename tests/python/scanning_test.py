"""`scan` and `watch` in asyncio's loop, on this machine's own platform, without a bus."""

import asyncio
import gc
import os
import select
import subprocess
import sys
import time
from contextlib import aclosing
from datetime import timedelta

import ambrelkit
import pytest

NOTHING = {"bluetooth": False, "location": False, "network": False, "services": []}


class Host(ambrelkit.Delegate):
    def network_permission(self):
        return True

    def did_receive_update_with_collected_data(self, record):
        raise LookupError("here")


def descriptors():
    gc.collect()
    return sorted(os.listdir("/proc/self/fd"))


def test_one_loop_after_another():
    for _ in range(2):
        record = asyncio.run(ambrelkit.scan(**NOTHING))
        assert record["ambrel_analytics"]["network_permission"] is False


def test_cancelling_stops_the_scan():
    async def cancel():
        scan = asyncio.create_task(ambrelkit.scan())
        await asyncio.sleep(0.2)
        with ambrelkit.SourceReports() as reports:
            assert reports.state("address") != "idle"
            scan.cancel()
            with pytest.raises(asyncio.CancelledError):
                await scan
            assert reports.state("address") == "idle"

    asyncio.run(cancel())
    before = descriptors()
    asyncio.run(cancel())
    assert descriptors() == before


FORKS = """
import ambrelkit, asyncio, os, sys

async def main():
    scan = asyncio.create_task(ambrelkit.scan(bluetooth=False, location=False, services=[]))
    await asyncio.sleep(0.1)
    child = os.fork()
    if child == 0:
        try:
            ambrelkit.HostStatus()
        except RuntimeError:
            sys.exit(7)
    code = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    await asyncio.wait_for(scan, 15)
    sys.exit(code)

asyncio.run(main())
"""


def test_a_fork_that_ends_leaves_the_scan_alone():
    assert subprocess.run([sys.executable, "-c", FORKS]).returncode == 7


def test_what_a_callback_raises_in_the_loop_ends_the_block():
    async def collect(swallow=False):
        async with ambrelkit.Kit(Host(), services=[]) as kit:
            kit.start_scanning_once()
            await asyncio.sleep(30)

    async def both():
        return await asyncio.gather(collect(), collect(), return_exceptions=True)

    begin = time.monotonic()
    assert [type(problem) for problem in asyncio.run(both())] == [LookupError, LookupError]
    assert time.monotonic() - begin < 20


def test_an_own_cancellation_stays_one():
    async def collect():
        async with ambrelkit.Kit(Host()) as kit:
            kit.start_scanning()
            await asyncio.sleep(30)

    async def cancel():
        with pytest.raises(TimeoutError):
            await asyncio.wait_for(collect(), 0.1)

    asyncio.run(cancel())


def test_a_watch_asks_for_none_in_the_place_of_one_under_way(monkeypatch):
    def start(kit):
        assert kit.sources()["sources"]["address"]["now"]["state"] == "idle"
        time.sleep(0.3)  # so that the interval is over before the collection
        start_scanning(kit)

    start_scanning = ambrelkit.Kit.start_scanning
    monkeypatch.setattr(ambrelkit.Kit, "start_scanning", start)

    async def take():
        times = []
        async with aclosing(ambrelkit.watch(every=timedelta(seconds=10), network=True, services=[])) as watch:
            async for record in watch:
                times.append(record["timestamp"])
                if len(times) == 2:
                    return times

    begin = time.monotonic()
    first, second = asyncio.run(take())
    assert 10 <= second - first <= 12
    assert time.monotonic() - begin < 25


@pytest.mark.parametrize("seconds", [9.9, 367 * 86400])
def test_a_watch_has_an_interval_that_makes_sense(seconds):
    with pytest.raises(ValueError):
        asyncio.run(anext(ambrelkit.watch(every=timedelta(seconds=seconds))))


def test_another_loop_polls_the_descriptor():
    class Polled(ambrelkit.Delegate):
        records = []

        def did_receive_update_with_collected_data(self, record):
            self.records.append(record)

        def network_permission(self):
            return True

    with ambrelkit.Kit(Polled(), services=[]) as kit:
        kit.start_scanning_once()
        while not Polled.records:
            assert select.select([ambrelkit.fileno()], [], [], 5)[0]
            ambrelkit.dispatch()
        assert kit.sources()["sources"]["address"]["outcome"] == "failed"
    assert ambrelkit.sources()["sources"]["address"]["outcome"] == "failed"
