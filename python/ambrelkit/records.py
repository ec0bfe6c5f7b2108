"""What a collection is, and how its sources fared: dictionaries, of the types that stand here.

A `Record`, as docs/ambrel-data.schema.json describes it; times are whole seconds since 1970::

    {"timestamp": 1700000000,                    when it was started
     "bleScan": [                                Bluetooth Low Energy peripherals in range: Peripheral
         {"address": "CCCCCCCC-0000-4000-8000-000000000001", "name": "Lamp", "timestamp": 1700000003}],
     "nearbyDevices": [                          DNS-SD services on the local network: Service
         {"name": "Printer", "protocolType": "_ipp._tcp.", "address": "192.0.2.9", "txtRecord": {"note": "hall"},
          "timestamp": 1700000002}],
     "locationCollection":                       where the device was: Fix
         {"lat": 60.1, "lon": 24.9, "timestamp": 1700000001},
     "ip": "192.0.2.7",                          the device's own address
     "wifiNetwork":                              the Wi-Fi networks that it is joined to: WiFi, JoinedNetwork
         {"connectedDevices": [{"name": "Home"}]},
     "ambrel_analytics":                         permissions and settings, as the host stated them: Analytics
         {"bluetooth_permission": True, "bluetooth_setting": True}}

An `Outcome`, as docs/outcome.schema.json describes it; codes are for programs, all other texts for people::

    {"began": 1700000000.25,
     "sources": {"bluetooth": {                  and services, location, address, wifi, lifecycle: SourceReport
         "outcome": "failed",                    or not-asked, listened, interrupted
         "reports": 0,                           how many it gave
         "code": "switched-off", "reason": "hci0 is switched off", "remedy": "bluetoothctl power on",
         "absences": [                           when it did not listen any more, in seconds since it began: Absence
             {"who": "BlueZ", "from": 3.1, "until": 3.6}],
         "now": {"state": "idle", "since": 1700000010.25}}}}     what is known of it now: Condition

What was not seen or is not known has no key; ``None`` never occurs.
"""

from __future__ import annotations

from typing import Literal, NotRequired, TypedDict

__all__: list[str] = []  # help() would list what they have of dict


class Peripheral(TypedDict):
    """A Bluetooth Low Energy peripheral in range."""

    address: str  #: The identifier that this machine knows it by, a UUID; not its hardware address.
    name: NotRequired[str]
    timestamp: int


class Service(TypedDict):
    """A DNS-SD service on the local network."""

    name: str
    protocolType: str  #: As in ``_ipp._tcp.``
    address: NotRequired[str]  #: IPv4
    txtRecord: NotRequired[dict[str, str]]
    timestamp: int


class Fix(TypedDict):
    """Where the device was."""

    lat: float  #: Degrees north.
    lon: float  #: Degrees east.
    timestamp: int


class JoinedNetwork(TypedDict):
    """A Wi-Fi network that the device is joined to."""

    name: NotRequired[str]  #: The SSID.


class WiFi(TypedDict):
    """The Wi-Fi networks, one for each joined interface."""

    connectedDevices: list[JoinedNetwork]


class Analytics(TypedDict, total=False):
    """The user's permissions and settings, as the host stated them."""

    bluetooth_permission: bool
    bluetooth_setting: bool
    network_permission: bool
    network_setting: bool
    location_permission: bool
    location_precise_permission: bool
    location_setting: bool


class Record(TypedDict):
    """One collection. Times are whole seconds since 1970."""

    timestamp: int  #: When it was started.
    ip: NotRequired[str]  #: The device's own IPv4 address.
    wifiNetwork: NotRequired[WiFi]
    bleScan: list[Peripheral]
    locationCollection: NotRequired[Fix]
    nearbyDevices: list[Service]
    ambrel_analytics: Analytics


SourceName = Literal["bluetooth", "services", "location", "address", "wifi", "lifecycle"]
State = Literal["idle", "starting", "listening", "unavailable", "off", "refused", "left-out"]
OutcomeName = Literal["not-asked", "listened", "interrupted", "failed"]


class Condition(TypedDict):
    """What is known of a source now. Codes are for programs, all other texts for people."""

    state: State
    since: float  #: Seconds since 1970.
    means: NotRequired[str]  #: By what it listens, as in ``BlueZ, hci0``.
    code: NotRequired[str]  #: Of the reason.
    reason: NotRequired[str]  #: What stands in the way.
    remedy: NotRequired[str]  #: What would help.


# One key is a word of the language.
Absence = TypedDict(
    "Absence",
    {
        "who": str,
        "from": float,
        "until": NotRequired[float],
        "code": NotRequired[str],
        "reason": NotRequired[str],
        "remedy": NotRequired[str],
    },
)
Absence.__doc__ = "A time in which a source did not listen any more, in seconds since the collection began."


class SourceReport(TypedDict):
    """What a source did in a collection."""

    outcome: OutcomeName
    reports: int  #: How many it gave, several of one thing included.
    means: NotRequired[str]  #: By what it listened last.
    code: NotRequired[str]
    reason: NotRequired[str]  #: Why it failed.
    remedy: NotRequired[str]
    absences: NotRequired[list[Absence]]
    now: Condition


class Outcome(TypedDict):
    """What each source did in the collection that runs, else in the last one."""

    began: NotRequired[float]  #: Seconds since 1970; absent before the first collection.
    sources: dict[SourceName, SourceReport]
