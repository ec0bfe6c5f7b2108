# Takes one collection and prints it.
import asyncio
import json

import ambrelkit

record = asyncio.run(ambrelkit.scan(services=["_ipp._tcp", "_http._tcp"]))
print(json.dumps(record, indent=2, ensure_ascii=False))
