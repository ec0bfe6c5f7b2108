// The hours of the week: how full they are, and what keeps to them.

const days = ["Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"];
const hourText = (hours) => `${String(hours % 24).padStart(2, "0")}:00`;
const collected = model.week.collections;

/// In how many of an hour's collections the thing was, 0 to 1.
const shareAt = (thing, place) => (collected[place] > 0 ? thing.week[place] / collected[place] : 0);

/// What a cell says and how full it is, 0 to 1, for one thing or for all.
function cell(thing, place, top) {
    const when = `${days[Math.floor(place / 24)]} ${hourText(place % 24)}–${hourText(place % 24 + 1)}`;
    if (collected[place] === 0) return [`${when}: no collections`, null];
    const of = several(collected[place], "collection");
    if (thing) return [`${when}: in ${percent(shareAt(thing, place))} of ${of}`, shareAt(thing, place)];
    const mean = model.week.peripherals[place] / collected[place];
    return [`${when}: ${decimal(mean)} peripherals on average, ${of}`, mean / top];
}

function weekTable(thing) {
    const top = Math.max(...collected.map((count, place) => (count > 0 ? model.week.peripherals[place] / count : 0)), 1e-9);
    const heading = make("tr", {}, make("td", {}), Array.from({ length: 24 }, (_, hours) =>
        make("th", { scope: "col" }, hours % 6 === 0 ? String(hours).padStart(2, "0") : make("span", { class: "unseen" }, String(hours)))));
    const rows = days.map((name, index) => make("tr", {}, make("th", { scope: "row" }, name), Array.from({ length: 24 }, (_, hours) => {
        const [text, share] = cell(thing, index * 24 + hours, top);
        const element = make("td", { class: share === null ? "never" : null }, make("span", { class: "unseen" }, text));
        if (share) element.style.setProperty("--share", `${Math.round(12 + share * 88)}%`);
        element.addEventListener("pointermove", (event) => tip([text], event.clientX, event.clientY));
        element.addEventListener("pointerleave", () => tip(null));
        return element;
    })));
    return make("table", { class: `week ${thing?.kind ?? "peripheral"}` },
        make("caption", { class: "unseen" }, thing ? `How often ${thing.label} was there` : "How many peripherals were there"),
        make("thead", {}, heading), make("tbody", {}, rows));
}

function weekKey(thing) {
    return make("p", { class: `key ${thing?.kind ?? "peripheral"}`, "aria-hidden": "true" }, thing ? "never" : "fewer", [0, 25, 50, 75, 100].map((share) => {
        const box = make("i");
        box.style.setProperty("--share", `${share}%`);
        return box;
    }), thing ? "always" : "more");
}

const weekly = [...things.service, ...things.peripheral, ...things.network].filter((thing) => thing.week);

function showWeek(thing) {
    at("week-hint").textContent = thing ? "How many of each hour's collections it was in; local time."
        : "How many peripherals a collection saw on average; local time.";
    at("week").querySelectorAll(".week, .key").forEach((each) => each.remove());
    at("week").append(weekTable(thing), weekKey(thing));
}

/// Shows the week of `thing`, and goes there.
function chooseWeek(thing) {
    const place = weekly.indexOf(thing);
    at("week-thing").value = place < 0 ? "all" : place;
    showWeek(weekly[place]);
    if (place < 0) at("week-hint").textContent = `${thing.label} was seen too seldom to tell of its week: ${several(thing.count, "time")}.`;
    at("week-title").focus({ preventScroll: true });
    at("week").scrollIntoView({ block: "start" });
}

/// The hours from the first to the last usual one, over midnight where that is shorter: [first, how many].
function stretch(usual) {
    let longest = 0, first = 0;
    for (let hours = 0, away = 0; hours < 48; ++hours) {
        away = usual[hours % 24] ? 0 : away + 1;
        if (away > longest) [longest, first] = [away, (hours + 1) % 24];
    }
    return [first, 24 - longest];
}

/// The days and hours that hold most of a thing's sightings, in words; null where it keeps to none.
function habit(thing) {
    const on = thing.week.map((count, place) => count > 0 && shareAt(thing, place) >= 0.4);
    const which = days.map((_, index) => index).filter((index) => on.slice(index * 24, index * 24 + 24).filter(Boolean).length > 0);
    if (which.length === 0) return null;
    const usual = Array.from({ length: 24 }, (_, hours) => which.filter((index) => on[index * 24 + hours]).length * 2 > which.length);
    const [first, length] = stretch(usual);
    const inside = (place) => which.includes(Math.floor(place / 24)) && (place + 24 - first) % 24 < length;
    const sum = (list) => list.reduce((total, count, place) => total + (inside(place) ? count : 0), 0);
    const strength = sum(thing.week) / Math.max(1, sum(collected));
    if (sum(thing.week) < 0.7 * thing.count || strength < 0.4) return null;
    const consecutive = which.at(-1) - which[0] === which.length - 1 && which.length > 2;
    const daysText = which.length === 7 ? "every day" : consecutive ? `${days[which[0]]}–${days[which.at(-1)]}` : which.map((index) => days[index]).join(", ");
    const hoursText = length === 24 ? "at any hour" : `${hourText(first)}–${hourText(first + length)}`;
    return { text: `${daysText}, ${hoursText}`, strength };
}

const fact = (thing, text) => make("li", {}, make("span", { class: `what ${thing.kind}` }, make("span", {}, isolated(thing.label))), make("span", { class: "when" }, text));

function facts() {
    const long = model.last - model.first >= 7 * aDay;
    const found = long ? weekly.map((thing) => ({ thing, habit: habit(thing) })).filter((each) => each.habit) : [];
    found.sort((a, b) => b.habit.strength - a.habit.strength);
    at("regular-hint").textContent = found.length > 0 ? "When most sightings of it are, and the share of the collections then that saw it."
        : long ? "Nothing keeps to hours or days." : "Collections of a week or more can tell.";
    at("regular").append(...found.slice(0, 8).map(({ thing, habit: { text, strength } }) => fact(thing, `${text} · ${percent(strength)}`)));

    const fresh = ["service", "network", "place", "peripheral"].flatMap((kind) => things[kind].filter((thing) => model.newSince !== null && thing.first >= model.newSince && (thing.count > 1 || kind !== "peripheral"))
        .sort((a, b) => b.count - a.count));
    const amounts = ["peripheral", "service", "network", "place"].map((kind) => [model[kinds[kind][0]].new, kind]).filter(([count]) => count > 0);
    at("new-hint").textContent = model.newSince === null ? "Collections of a week or more can tell."
        : `First seen in the week to ${moment(model.last)}${model.since === null ? "" : `, of what was stored since ${day(model.since)}`}: ${
            amounts.map(([count, kind]) => several(count, kind)).join(", ") || "nothing"}.${
            amounts.length === 0 ? "" : fresh.length > 0 ? " Seen most:" : " Each was seen once."}`;
    at("new").append(...fresh.slice(0, 8).map((thing) => fact(thing, `${several(thing.count, "time")}, first ${dayOfYear(thing.first)}`)));
}

function week() {
    const option = (thing) => make("option", { value: weekly.indexOf(thing) }, thing.label);
    at("week-thing").append(make("option", { value: "all" }, "all peripherals"), ...["service", "peripheral", "network"].map((kind) =>
        make("optgroup", { label: `${kind[0].toUpperCase()}${kind.slice(1)}s` }, weekly.filter((thing) => thing.kind === kind).map(option))));
    at("week-thing").addEventListener("change", (event) => showWeek(weekly[event.target.value]));
    showWeek();
    facts();
}
