"""A scan beside a neighbour that floods the network finds every service of the others, and a bounded part of its lies."""

import asyncio
import json
import pathlib
import sys
import tempfile
import unittest

sys.path.append(str(pathlib.Path(__file__).parents[2] / "bench"))
import network

SERVICES = 20
PROGRAM = sys.argv[1]
FLOOD = pathlib.Path(network.__file__).with_name("flood.py")
KINDS = {"services": 500, "addresses": 100}  # datagrams a second


async def found(folder, number, kind, rate):
    net = network.Network(folder, number)
    await net.crowd(SERVICES)
    flood = await net.start(net.far, [sys.executable, FLOOD, "v0", rate, kind, *network.TYPES], stdout=asyncio.subprocess.PIPE)
    await flood.stdout.readline()
    scan = await net.start(net.near, [PROGRAM, "scan", "--only", "network", "--format", "json", *network.services()],
                           stdout=asyncio.subprocess.PIPE)
    output, _ = await scan.communicate()
    flood.kill()
    await flood.wait()
    return json.loads(output)["nearbyDevices"]


class Neighbours(unittest.TestCase):
    def test_one_that_floods_hides_nobody(self):
        async def all_kinds(folder):
            return await asyncio.gather(*(found(folder, number, *kind) for number, kind in enumerate(KINDS.items())))

        with tempfile.TemporaryDirectory() as folder:
            results = asyncio.run(all_kinds(folder))
        for kind, devices in zip(KINDS, results):
            with self.subTest(kind):
                whole = {each["name"] for each in devices if each.get("address") and each.get("txtRecord", {}).get("id")}
                self.assertEqual(whole, {f"Device {number}" for number in range(SERVICES)})
                self.assertLessEqual(len(devices), SERVICES + 3000)


if __name__ == "__main__":
    network.enter()
    unittest.main(argv=sys.argv[:1])
