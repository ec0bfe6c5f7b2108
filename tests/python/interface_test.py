"""What the module declares is what the C headers and the schemas declare."""

import inspect
import json
import pathlib
import pydoc
import re
import subprocess
import sys
import typing

import ambrelkit
import pytest
from ambrelkit import _library, records, simulated

ROOT = pathlib.Path(__file__).parents[2]


def test_functions_take_what_the_headers_say():
    headers = "".join(path.read_text() for path in (ROOT / "AmbrelKit/C").glob("*.h"))
    declared = {
        name: [argument.split() for argument in arguments.split(",")]
        for name, arguments in re.findall(r"AMBREL_API [^;(]*?(ambrel_\w+)\(([^;]*)\);", headers)
    }
    assert len(declared) > 40
    for name, taken in _library._FALLIBLE.items():
        assert len(declared[name]) == len(taken) + 1 and declared[name][-1][0] == "ambrel_error*", name
    for name, (_, taken) in _library._OTHERS.items():
        assert len([argument for argument in declared[name] if argument != ["void"]]) == len(taken), name


SCHEMAS = {name: json.loads((ROOT / f"docs/{name}.schema.json").read_text()) for name in ("ambrel-data", "outcome")}
DATA, OUTCOME = SCHEMAS["ambrel-data"]["properties"], SCHEMAS["outcome"]["$defs"]


@pytest.mark.parametrize(
    "kind, schema",
    [
        (records.Record, SCHEMAS["ambrel-data"]),
        (records.Peripheral, DATA["bleScan"]["items"]),
        (records.Service, DATA["nearbyDevices"]["items"]),
        (records.Fix, DATA["locationCollection"]),
        (records.WiFi, DATA["wifiNetwork"]),
        (records.JoinedNetwork, DATA["wifiNetwork"]["properties"]["connectedDevices"]["items"]),
        (records.Analytics, DATA["ambrel_analytics"]),
        (records.Outcome, SCHEMAS["outcome"]),
        (records.SourceReport, OUTCOME["report"]),
        (records.Absence, OUTCOME["absence"]),
        (records.Condition, OUTCOME["condition"]),
    ],
)
def test_records_have_the_keys_of_the_schema(kind, schema):
    known = typing.get_type_hints(kind, include_extras=True)
    required = {key for key in known if kind.__total__ and typing.get_origin(known[key]) is not typing.NotRequired}
    assert (set(known), required) == (set(schema["properties"]), set(schema.get("required", [])))


def test_names_are_those_of_the_schema():
    outcome = SCHEMAS["outcome"]["properties"]["sources"]["required"]
    assert list(typing.get_args(records.SourceName)) == outcome
    assert list(typing.get_args(records.State)) == OUTCOME["condition"]["properties"]["state"]["enum"]
    assert list(typing.get_args(records.OutcomeName)) == OUTCOME["report"]["properties"]["outcome"]["enum"]


def test_help_reads_like_documentation():
    assert len(pydoc.render_doc(ambrelkit).splitlines()) < 1000
    for place in ambrelkit, simulated:
        for name in getattr(place, "__all__", ["Platform", "replay"]):
            thing = getattr(place, name)
            assert inspect.getdoc(thing), name
            for member, value in vars(thing).items() if isinstance(thing, type) else ():
                if not member.startswith("_") and callable(value):
                    assert inspect.getdoc(value), f"{name}.{member}"
        assert "_handle" not in pydoc.render_doc(place)


def test_is_typed(tmp_path):
    use = tmp_path / "use.py"
    use.write_text(
        "import asyncio, ambrelkit\n"
        "record = asyncio.run(ambrelkit.scan(services=['_ipp._tcp'], mdns='embedded', location_source='none'))\n"
        "reveal_type(record['bleScan'][0]['address'])\n"
        "ambrelkit.Store().save(record)\n"
        "asyncio.run(ambrelkit.scan(location_source='moon'))\n"
    )
    cache = ["--cache-dir", str(tmp_path / "cache")]
    command = [sys.executable, "-m", "mypy", "--strict", *cache]
    package = subprocess.run([*command, str(ROOT / "python/ambrelkit")], capture_output=True, text=True)
    assert package.returncode == 0, package.stdout
    told = subprocess.run([*command, str(use)], capture_output=True, text=True, cwd=ROOT / "python").stdout
    assert 'Revealed type is "builtins.str"' in told and "Found 1 error" in told, told
