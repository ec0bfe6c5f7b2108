"""Kits on the simulated platform: what they deliver, what becomes of exceptions, and who keeps whom alive."""

import gc
import json
import pathlib
import subprocess
import sys
import threading
import weakref

import ambrelkit
import pytest
from ambrelkit import simulated

SCRIPTS = pathlib.Path(__file__).parents[1] / "Simulated" / "Replay" / "scripts"
LAMP = "C0FFEE00-0000-4000-8000-000000000001"


class Host(ambrelkit.Delegate):
    def __init__(self, receive=lambda record: None):
        self.records = []
        self.receive = receive

    def did_receive_update_with_collected_data(self, record):
        self.records.append(record)
        self.receive(record)

    def bluetooth_permission(self):
        return True

    def location_permission(self):
        return False


@pytest.fixture
def platform():
    with simulated.Platform(start=1700000000, identifiers=[LAMP]) as platform:
        yield platform


def collect(platform, kit):
    kit.start_scanning_once()
    platform.feed({"bluetooth": {"state": 5}})
    platform.feed({"bluetooth": {"discover": {"identifier": LAMP, "name": "Lämp"}}})
    platform.advance(11)


def test_collects(platform):
    host, trace = Host(), []
    platform.trace(trace.append)
    with platform.kit(host) as kit:
        kit.history_limit = 1
        collect(platform, kit)
        assert (kit.history_limit, platform.now) == (1, 11)
        fared = kit.sources()
    [record] = host.records
    assert record["bleScan"] == [{"address": LAMP, "name": "Lämp", "timestamp": 1700000000}]
    assert record["ambrel_analytics"] == {"bluetooth_permission": True, "location_permission": False}
    assert fared["sources"]["bluetooth"]["reports"] == 1
    assert {"at": 0.0, "bluetooth": "create"} in trace


def test_what_a_callback_raises_reaches_who_called(platform):
    def fail(*_):
        raise problem

    problem = LookupError("here")
    host = Host(fail)
    with platform.kit(host) as kit:
        with pytest.raises(LookupError) as raised:
            collect(platform, kit)
        assert raised.value is problem
        host.bluetooth_permission = fail
        with pytest.raises(LookupError):
            kit.start_scanning_once()
        del host.bluetooth_permission
        host.receive = lambda record: None
        platform.advance(31)
        collect(platform, kit)
        assert len(host.records) == 2  # nothing was started, and the kit goes on
    platform.trace(fail)
    with pytest.raises(LookupError), platform.kit(Host()) as kit:
        collect(platform, kit)


def test_what_is_wrong_is_told(platform):
    kit = platform.kit()
    for wrong in (
        lambda: kit.set_time_threshold(31),
        lambda: platform.kit(services=["_a\0._tcp"]),
        lambda: simulated.Platform(identifiers=["none"]),
        lambda: ambrelkit.Kit(location_source="moon"),
        lambda: ambrelkit.Kit(mdns="moon"),
        lambda: ambrelkit.Kit(gpsd_address="localhost"),
        lambda: ambrelkit.Kit(gpsd_port=0),
        lambda: platform.feed({"bluetooth": {"state": float("nan")}}),
        lambda: platform.feed({"weather": 1}),
        lambda: platform.advance(-1),
        lambda: setattr(kit, "history_limit", 0),
        lambda: (kit.close(), kit.close(), kit.start_scanning()),
    ):
        with pytest.raises(ValueError):
            wrong()
    with pytest.raises(TypeError):
        platform.kit(services="_ipp._tcp")


def test_a_callback_may_close_everything(platform):
    host = Host(lambda record: (kit.close(), platform.close()))
    kit = platform.kit(host)
    collect(platform, kit)
    assert len(host.records) == 1


def test_a_kit_that_only_its_delegate_holds_goes(platform):
    trace = []
    platform.trace(trace.append)
    host = Host()
    host.kit = platform.kit(host)
    host.kit.start_scanning_once()
    known = weakref.ref(host.kit)
    del host
    gc.collect()
    assert known() is None
    begun = len(trace)
    platform.advance(11)
    assert len(trace) == begun


def test_sources_fare_as_imposed(platform):
    changes = []
    with platform.sources(lambda: changes.append(1)) as reports:
        platform.impose("bluetooth", "off", code="switched-off", reason="hci0 is off", remedy="turn it on")
        assert reports.state("bluetooth") == "off"
        with platform.kit(Host()) as kit:
            collect(platform, kit)
        assert reports.outcome_of("bluetooth") == "failed"
        assert reports.shortfall("bluetooth") == "hci0 is off: turn it on"
        assert reports.outcome()["sources"]["bluetooth"]["code"] == "switched-off"
        platform.release("bluetooth")
        assert reports.state("bluetooth") == "idle"
    assert changes


def on_another_thread(action):
    raised = []

    def run():
        try:
            action()
        except Exception as exception:
            raised.append(exception)

    thread = threading.Thread(target=run)
    thread.start()
    thread.join()
    return raised


def test_another_thread_is_told_so_and_gives_nothing_back(platform):
    host = Host()
    kit = platform.kit(host)
    for action in kit.start_scanning_once, kit.close, ambrelkit.HostStatus, ambrelkit.sources, ambrelkit.dispatch:
        [problem] = on_another_thread(action)
        assert isinstance(problem, RuntimeError)
    gc.collect()  # what was raised holds the kit
    kit.start_scanning_once()
    kept = [kit]
    del kit
    assert on_another_thread(kept.clear) == []
    platform.advance(11)  # gives it back first
    assert host.records == []
    platform.close()
    assert on_another_thread(lambda: ambrelkit.HostStatus().close()) == []


def test_replays():
    script = SCRIPTS / "typical-run.ndjson"
    trace = [json.loads(line) for line in (SCRIPTS / "typical-run.trace").read_text().splitlines()]
    assert ambrelkit.replay(script) == trace
    records = [json.loads(line) for line in (SCRIPTS / "typical-run.quiet.trace").read_text().splitlines()]
    assert ambrelkit.replay(script, quiet=True) == records


def test_a_wrong_script_names_its_line(tmp_path):
    script = tmp_path / "script"
    script.write_text('{"ambrelReplay": 1}\n\n{"at": 0, "rain": true}\n')
    with pytest.raises(ambrelkit.ScriptError) as raised:
        ambrelkit.replay(script)
    assert raised.value.line == 3
    with pytest.raises(FileNotFoundError):
        ambrelkit.replay(tmp_path / "none")


@pytest.mark.parametrize(
    "program",
    [
        "async def main():\n    asyncio.create_task(ambrelkit.scan()); await asyncio.sleep(0.1); sys.exit(3)\nasyncio.run(main())",
        "kit = ambrelkit.Kit(); kit.start_scanning(); sys.exit(3)",
        "kit = ambrelkit.Kit(); kit.delegate = type('D', (ambrelkit.Delegate,), {'kit': kit})(); kit.start_scanning(); sys.exit(3)",
        "threading.Thread(target=lambda: asyncio.run(ambrelkit.scan()), daemon=True).start(); time.sleep(0.5); sys.exit(3)",
    ],
)
def test_an_interpreter_ends_while_it_scans(program):
    program = f"import ambrelkit, asyncio, sys, threading, time\n{program}"
    ended = subprocess.run([sys.executable, "-X", "dev", "-c", program], capture_output=True, text=True, timeout=30)
    assert ended.returncode == 3, ended.stderr
    assert "rror" not in ended.stderr, ended.stderr


def test_the_library_is_loaded_when_it_is_used():
    program = "import ambrelkit, ambrelkit.simulated; m = lambda: open('/proc/self/maps').read()\n" \
        "assert 'libambrelkit' not in m(); ambrelkit.version(); assert 'libambrelkit.so' in m() and 'simulated' not in m()"
    subprocess.run([sys.executable, "-c", program], check=True)
