// What the report knows, in words and elements. Names come from strangers: they are only ever text. What cannot be seen in them
// is an escape already.
const model = JSON.parse(document.getElementById("model").textContent);
const at = (id) => document.getElementById(id);

function fill(element, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (value !== null && value !== false) element.setAttribute(name, value === true ? "" : value);
    }
    element.append(...children.flat(Infinity).filter((child) => child !== null));
    return element;
}

/// An HTML element; an attribute that is null or false is left out.
const make = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);

/// The same of SVG.
const draw = (tag, attributes = {}, ...children) =>
    fill(document.createElementNS("http://www.w3.org/2000/svg", tag), attributes, children);

function button(text, attributes, press) {
    const element = make("button", { type: "button", class: "button", ...attributes }, text);
    element.addEventListener("click", press);
    return element;
}

/// A name, whose direction of writing ends with it.
const isolated = (text) => make("bdi", {}, text);

const number = new Intl.NumberFormat("en").format;
const decimal = new Intl.NumberFormat("en", { maximumFractionDigits: 1 }).format;

function several(count, word) {
    const plural = word.endsWith("s") ? `${word}es` : `${word}s`;
    return `${number(count)} ${count === 1 ? word : plural}`;
}

/// "100 %" only of all, and "0 %" only of nothing.
function percent(share) {
    if (share > 0 && share < 0.01) return "< 1 %";
    return `${share < 1 ? Math.min(99, Math.round(share * 100)) : 100} %`;
}

/// Seconds east of UTC on the machine that made the page.
function offsetAt(time) {
    const zone = model.zones.findLast(([from]) => from <= time) ?? model.zones[0];
    return zone[1];
}

/// A date whose UTC fields are the local ones.
const local = (time) => new Date((time + offsetAt(time)) * 1000);
const form = (options) => {
    const format = new Intl.DateTimeFormat("en-GB", { timeZone: "UTC", ...options });
    return (time) => format.format(local(time));
};
const day = form({ day: "numeric", month: "short", year: "numeric" });
const dayOfYear = form({ day: "numeric", month: "short" });
const month = form({ month: "short", year: "numeric" });
const clock = form({ hour: "2-digit", minute: "2-digit", hourCycle: "h23" });
const moment = (time) => `${day(time)}, ${clock(time)}`;

function offsetText(time) {
    const minutes = Math.round(offsetAt(time) / 60);
    const two = (value) => String(Math.floor(value)).padStart(2, "0");
    return `UTC${minutes < 0 ? "−" : "+"}${two(Math.abs(minutes) / 60)}:${two(Math.abs(minutes) % 60)}`;
}

/// "14 Nov 2023, 22:13 to 23:03", the day said again only where it is another.
function between(from, to) {
    if (moment(from) === moment(to)) return moment(from);
    return `${moment(from)} to ${day(from) === day(to) ? clock(to) : moment(to)}`;
}

const units = [["year", 31556952], ["month", 2629746], ["week", 604800], ["day", 86400], ["hour", 3600], ["minute", 60]];
const relative = new Intl.RelativeTimeFormat("en", { numeric: "auto" });

function ago(time) {
    const seconds = Date.now() / 1000 - time;
    const [unit, length] = units.find(([, each]) => Math.abs(seconds) >= each) ?? units.at(-1);
    return relative.format(-Math.floor(seconds / length), unit);
}

function duration(seconds) {
    const [unit, length] = units.slice(3).find(([, each]) => seconds >= each) ?? units.at(-1);
    return several(Math.round(seconds / length), unit);
}

function distance(metres) {
    if (metres < 1000) return `${number(Math.round(metres))} m`;
    const kilometres = metres / 1000;
    return `${kilometres < 100 ? decimal(kilometres) : number(Math.round(kilometres))} km`;
}

const typeWords = {
    __proto__: null, // a type may be called so
    _airplay: "AirPlay screen", _raop: "AirPlay speaker", _googlecast: "Google Cast", _ipp: "Printer", _ipps: "Printer",
    _printer: "Printer", "_pdl-datastream": "Printer", _uscan: "Scanner", _uscans: "Scanner", _scanner: "Scanner",
    _ssh: "Remote login", "_sftp-ssh": "File transfer", _http: "Web page", _https: "Web page", _smb: "Shared files",
    _afpovertcp: "Shared files", _nfs: "Shared files", _webdav: "Shared files", _hap: "Smart home", _matter: "Smart home",
    _homekit: "Smart home", _workstation: "Computer", _rfb: "Shared screen", "_spotify-connect": "Spotify speaker",
    _sonos: "Sonos speaker", _daap: "Music", _mqtt: "Message broker", "_home-assistant": "Home Assistant",
};

/// A service's type for people, as "Printer"; the type itself where nobody named it.
const typeText = (type) => typeWords[type.split(".")[0].toLowerCase()] ?? type.replace(/\.$/, "");

/// What is to be seen of each thing, by kind: its name, what stands beside it, and all that the filter looks at.
const kinds = {
    peripheral: ["peripherals", (thing) => [thing.names[0], thing.id, thing.names]],
    service: ["services", (thing) => [thing.name, typeText(thing.type), [thing.type, thing.addresses, thing.txt]]],
    network: ["networks", (thing) => [thing.name, thing.addresses[0] ?? "", thing.addresses]],
    address: ["addresses", (thing) => [thing.address, thing.networks[0] ?? "", thing.networks]],
    place: ["places", (thing, index) => [`Place ${index + 1}`, thing.networks[0] ?? "", thing.networks]],
};

/// How many of a kind there were, as well as it is known.
function amount(kind) {
    const { distinct, atMost } = model[kinds[kind][0]];
    return atMost ? `at most ${number(distinct)}` : number(distinct);
}

const things = Object.fromEntries(Object.entries(kinds).map(([kind, [table, tell]]) => [kind,
    model[table].things.map((thing, index) => {
        const [name, detail, words] = tell(thing, index);
        const label = name?.trim() ? name : `Unnamed ${kind === "peripheral" ? detail.slice(0, 8) : detail}`;
        return { ...thing, kind, label, detail, search: [label, detail, words].flat(3).join("\n").toLowerCase() };
    })]));
