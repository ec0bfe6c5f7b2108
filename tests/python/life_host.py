"""A host in Python: reads lives as tests/life/RandomLife.cpp writes them, each ended by "run", and writes what its kits did,
ended by "."."""

import json
import sys

from ambrelkit import Delegate, simulated

QUESTIONS = [
    "bluetooth_setting", "bluetooth_permission", "location_setting", "location_permission",
    "location_precise_permission", "network_setting", "network_permission"]
OPERATIONS = {
    "startScanning": "start_scanning", "startScanningOnce": "start_scanning_once",
    "completeScanning": "complete_scanning", "stopScanning": "stop_scanning", "release": "close",
    "automaticMode": "automatic_mode_for_notification_and_background_task"}


class Failed(Exception):
    pass


class Host(Delegate):
    def __init__(self, life, number):
        self.life, self.number = life, number

    def did_receive_update_with_collected_data(self, record):
        text = json.dumps(record, sort_keys=True, separators=(",", ":"))
        self.life.callback(f"{self.number} receives {text}")


def asks(question):
    def answer(host):
        host.life.callback(f"{host.number} asks {question}")
        return {1: True, 2: False}.get(host.life.answers[host.number][question])

    return answer


for index, name in enumerate(QUESTIONS):
    setattr(Host, name, asks(index))


class Life:
    def __init__(self, steps):
        self.steps = steps
        self.reactions = {}
        for step in steps:
            self.reactions.setdefault(step[0], []).append(step)
        self.callbacks = 0
        self.answers = [[1] * len(QUESTIONS) for _ in range(3)]
        self.kits = {}
        self.until = 0.0
        self.platform = simulated.Platform(start=1700000000)
        self.platform.trace(self.tell)

    def tell(self, line):
        done = {key: value for key, value in line.items() if key != "at"}
        made, operation = next(iter(done.items()))
        number = f" {done['identifier']}" if "identifier" in done else ""
        print((f"{made} " if operation == "create" else "") + operation + number)

    def callback(self, line):
        print(line)
        turn, self.callbacks = self.callbacks, self.callbacks + 1
        for step in self.reactions.get(turn, []):
            self.perform(*step[1:])

    def perform(self, name, who, value):
        if name == "feed":
            self.platform.feed(value)
        elif name == "fail":
            raise Failed
        elif name == "create":
            if who in self.kits:
                self.kits.pop(who).close()
            delegate = Host(self, value) if value >= 0 else None
            self.kits[who] = self.platform.kit(delegate, services=["_a._tcp.", "_b._tcp."][:2 - who])
        elif name == "answer":
            self.answers[who][value // 8] = value % 8
        elif name == "permit":
            for question in (1, 3, 6):
                self.answers[who][question] = value
        elif name == "advance":
            self.platform.advance(self.until - self.platform.now)
        elif who in self.kits:
            self.operate(self.kits.pop(who) if name == "release" else self.kits[who], name, value)

    def operate(self, kit, name, value):
        if name == "setThreshold":
            try:
                kit.set_time_threshold(value)
            except ValueError:
                print("refused")
        elif name == "setHistoryLimit":
            kit.history_limit = value or None
        else:
            getattr(kit, OPERATIONS[name])()

    def live(self):
        for step in self.reactions.get(-1, []):
            self.until += step[3] / 1000 if step[1] == "advance" else 0
            while True:
                try:
                    self.perform(*step[1:])
                    break
                except Failed:
                    print("failed")
                    if step[1] != "advance":  # else time has stood still
                        break
        self.platform.trace(None)
        for kit in self.kits.values():
            kit.close()
        self.platform.close()


steps = []
for line in sys.stdin:
    if line == "run\n":
        Life(steps).live()
        steps = []
        print(".", flush=True)
    elif line.split(" ", 2)[1] == "feed":
        at, _, event = line.split(" ", 2)
        steps.append((int(at), "feed", 0, json.loads(event)))
    else:
        at, name, who, value = line.split()
        steps.append((int(at), name, int(who), int(value)))
