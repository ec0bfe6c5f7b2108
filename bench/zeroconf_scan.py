#!/usr/bin/python3
"""The task of a scan, done with python3-zeroconf as its users write it: browses the types for so many seconds,
and asks for each service that appears. Prints the services as JSON.

    zeroconf_scan.py SECONDS TYPE...
"""

import asyncio
import json
import sys
import time

from zeroconf import IPVersion, ServiceStateChange
from zeroconf.asyncio import AsyncServiceBrowser, AsyncServiceInfo, AsyncZeroconf


async def main():
    seconds, types = float(sys.argv[1]), [f"{kind}.local." for kind in sys.argv[2:]]
    zeroconf = AsyncZeroconf(ip_version=IPVersion.All)
    found, requests = [], {}

    async def resolve(kind, name):
        info = AsyncServiceInfo(kind, name)
        if await info.async_request(zeroconf.zeroconf, 1000 * seconds):
            txt = {key.decode(): (value or b"").decode() for key, value in info.properties.items()}
            found.append({"name": name.removesuffix(f".{kind}"), "protocolType": kind.removesuffix("local."),
                          "address": info.parsed_addresses()[0], "txtRecord": txt, "time": time.time()})

    def changed(service_type, name, state_change, **_):
        if state_change is ServiceStateChange.Added and name not in requests:
            requests[name] = asyncio.ensure_future(resolve(service_type, name))

    browser = AsyncServiceBrowser(zeroconf.zeroconf, types, handlers=[changed])
    await asyncio.sleep(seconds)
    print(json.dumps(found))
    await browser.async_cancel()
    await zeroconf.async_close()


asyncio.run(main())
