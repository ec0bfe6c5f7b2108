// Where the collections were made, on a plain scale: metres to the east and north of the place seen most.

const directions = ["N", "NE", "E", "SE", "S", "SW", "W", "NW"];

/// "1.2 km NE": how far a place is from the first, and which way.
function way(place) {
    const metres = Math.hypot(place.x, place.y);
    if (metres === 0) return "–";
    return `${distance(metres)} ${directions[Math.round(Math.atan2(place.x, place.y) / Math.PI * 4 + 8) % 8]}`;
}

/// The longest of 1, 2, 5, 10, 20 … metres that is not longer than `most`.
function roundMetres(most) {
    const power = 10 ** Math.floor(Math.log10(most));
    return [5, 2, 1].find((each) => each * power <= most) * power;
}

function scaleBar(metres, perMetre, height) {
    const end = 16 + metres * perMetre;
    return [draw("path", { class: "rule", d: `M16 ${height - 20}v6H${end.toFixed(1)}v-6` }),
        draw("text", { x: 16, y: height - 26 }, distance(metres))];
}

const north = (width) => [draw("path", { class: "rule", d: `M${width - 20} 44V20M${width - 25} 27l5 -7l5 7` }),
    draw("text", { x: width - 20, y: 58, "text-anchor": "middle" }, "N")];

/// Every whole scale step a line, so that distances can be judged anywhere.
function net(middle, metres, perMetre, width, height) {
    const step = metres * perMetre;
    const lines = [];
    for (let x = middle.x - Math.ceil(middle.x / step) * step; x < width; x += step) lines.push(`M${x.toFixed(1)} 0V${height}`);
    for (let y = middle.y - Math.ceil(middle.y / step) * step; y < height; y += step) lines.push(`M0 ${y.toFixed(1)}H${width}`);
    return draw("path", { class: "grid", d: lines.join("") });
}

function paintMap(map, list) {
    const width = map.clientWidth, height = map.clientHeight, inset = 48;
    const xs = list.map((place) => place.x), ys = list.map((place) => place.y);
    const [left, right, bottom, top] = [Math.min(...xs), Math.max(...xs), Math.min(...ys), Math.max(...ys)];
    const perMetre = Math.min((width - 2 * inset) / Math.max(right - left, 200), (height - 2 * inset) / Math.max(top - bottom, 200));
    const x = (metres) => width / 2 + (metres - (left + right) / 2) * perMetre;
    const y = (metres) => height / 2 - (metres - (bottom + top) / 2) * perMetre;
    const bar = roundMetres(width / 4 / perMetre);
    const dots = list.map((place, index) => {
        const radius = 6 + 20 * Math.sqrt(place.count / list[0].count);
        const dot = draw("circle", { class: "dot", cx: x(place.x).toFixed(1), cy: y(place.y).toFixed(1), r: radius.toFixed(1) });
        dot.addEventListener("pointermove", (event) =>
            tip([place.label, place.detail, several(place.count, "collection"), `Last there ${moment(place.last)}`].filter(Boolean), event.clientX, event.clientY));
        dot.addEventListener("pointerleave", () => tip(null));
        return [dot, index < 30 ? draw("text", { class: "mark", x: x(place.x).toFixed(1), y: (y(place.y) + 4).toFixed(1), "pointer-events": "none" }, index + 1) : null];
    });
    map.replaceChildren(net({ x: x(0), y: y(0) }, bar, perMetre, width, height), ...dots.reverse().flat().filter(Boolean),
        ...scaleBar(bar, perMetre, height), ...north(width));
}

function places() {
    const list = things.place;
    at("places-hint").textContent = list.length === 0 ? "No collection has a position."
        : `${several(model.places.distinct, "place")} from ${several(model.located, "position")}; north is up. Positions within ${distance(model.places.radius)} of each other are one place. A larger circle is more collections.`;
    if (list.length === 0) return;
    const map = draw("svg", { class: "map", role: "img", "aria-label": `Map of ${several(list.length, "place")}, told in the table below` });
    painters.push(() => paintMap(map, list));
    at("places").append(map, table("Places", list, [
        ["Place", (place) => place.label, (place) => place.label],
        ["Network there", (place) => texts(place.networks), (place) => place.detail],
        ["From place 1", way, (place) => Math.hypot(place.x, place.y), "number"],
        ["Position", (place) => make("code", {}, `${place.lat.toFixed(4)}, ${place.lon.toFixed(4)}`), (place) => place.lat],
        ...seenColumns,
    ]));
}
