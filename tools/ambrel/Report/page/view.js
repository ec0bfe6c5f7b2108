// The stretch of time that every chart shows, and what moves it.
const minute = 60, hour = 3600, aDay = 86400;
const empty = model.first === null;

function withMargin(first, last) {
    const margin = empty ? 0 : Math.max((last - first) * 0.01, 10 * minute);
    return { from: first - margin, to: last + margin };
}

/// Where the collections begin, but for a few so long before that the others would stand on one spot: taken before the clock was set.
function beginning() {
    const { at: places, collections, origin, width } = model.bins;
    const few = Math.max(1, model.collections / 20);
    let first = model.first;
    for (let i = 1, before = collections[0]; i < places.length && before <= few; before += collections[i++]) {
        if ((places[i] - places[i - 1]) * width > 0.9 * (model.last - first)) first = origin + places[i] * width;
    }
    return first;
}

const whole = withMargin(model.first, model.last);
const view = withMargin(beginning(), model.last);
const painters = [];
let waiting = false;

function paint() {
    waiting = false;
    for (const painter of painters) painter();
    at("range").textContent = `Shown: ${between(Math.round(view.from), Math.round(view.to))}`;
    for (const [press, possible] of zoomButtons) press.disabled = !possible();
}

/// Has every chart drawn again with the next frame.
function repaint() {
    if (!waiting) requestAnimationFrame(paint);
    waiting = true;
}

function show(from, to) {
    const least = Math.min(30 * minute, whole.to - whole.from);
    const span = Math.min(Math.max(to - from, least), whole.to - whole.from);
    const middle = (from + to) / 2;
    view.from = Math.min(Math.max(middle - span / 2, whole.from), whole.to - span);
    view.to = view.from + span;
    repaint();
}

/// Shows `factor` times as much; what is at `share` of the width stays there.
function zoom(factor, share = 0.5) {
    const still = view.from + share * (view.to - view.from);
    show(still - (still - view.from) * factor, still + (view.to - still) * factor);
}

function move(share) {
    const way = share * (view.to - view.from);
    show(view.from + way, view.to + way);
}

const reset = () => show(whole.from, whole.to);
const zoomed = () => view.to - view.from < whole.to - whole.from - 1;
const zoomButtons = [
    [button("←", { "aria-label": "Earlier" }, () => move(-0.25)), () => view.from > whole.from + 1],
    [button("−", { "aria-label": "Zoom out" }, () => zoom(2)), zoomed],
    [button("+", { "aria-label": "Zoom in" }, () => zoom(0.5)), () => view.to - view.from > 30 * minute + 1],
    [button("→", { "aria-label": "Later" }, () => move(0.25)), () => view.to < whole.to - 1],
    [button("All", { "aria-label": "Show all the time" }, reset), zoomed],
];
const keys = {
    "ArrowLeft": () => move(-0.2), "ArrowRight": () => move(0.2), "+": () => zoom(0.5), "=": () => zoom(0.5),
    "-": () => zoom(2), "0": reset,
};

/// Lets keys in `section` move the time; a field and a table that scrolls keep theirs.
function listenForKeys(section) {
    section.addEventListener("keydown", (event) => {
        const act = keys[event.key];
        if (!act || event.ctrlKey || event.metaKey || event.altKey || event.target.closest("select, .scroll")) return;
        event.preventDefault();
        act();
    });
}

/// Lets the pointers over those parts of `section` that match `selector` move the time.
function listenForPointers(section, selector) {
    const held = new Map();
    const place = (x) => {
        const box = section.querySelector(selector).getBoundingClientRect();
        return (x - box.left) / box.width;
    };
    section.addEventListener("wheel", (event) => {
        if (!event.target.closest(selector)) return;
        const sideways = event.shiftKey ? event.deltaY || event.deltaX : event.deltaX;
        if (!event.ctrlKey && !event.metaKey && !sideways) return;
        event.preventDefault();
        if (event.ctrlKey || event.metaKey) zoom(Math.exp(Math.max(-100, Math.min(100, event.deltaY)) / 150), place(event.clientX));
        else move(sideways / 800);
    }, { passive: false });
    section.addEventListener("dblclick", (event) => {
        if (event.target.closest(selector)) zoom(0.5, place(event.clientX));
    });
    section.addEventListener("pointerdown", (event) => {
        if (event.button === 0 && event.target.closest(selector)) held.set(event.pointerId, place(event.clientX));
    });
    addEventListener("pointermove", (event) => {
        if (event.buttons === 0) held.clear(); // let go outside the window
        if (!held.has(event.pointerId)) return;
        const before = [...held.values()];
        held.set(event.pointerId, place(event.clientX));
        const after = [...held.values()];
        if (after.length === 1) move(before[0] - after[0]);
        else pinch(before, after);
    });
    for (const end of ["pointerup", "pointercancel"]) addEventListener(end, (event) => held.delete(event.pointerId));
}

function pinch([a, b], [c, d]) {
    const spread = Math.abs(c - d);
    if (spread < 0.02) return;
    move((a + b - c - d) / 2);
    zoom(Math.abs(a - b) / spread, (c + d) / 2);
}

const steps = [minute, 5 * minute, 15 * minute, 30 * minute, hour, 3 * hour, 6 * hour, 12 * hour, aDay, 2 * aDay, 7 * aDay, 14 * aDay];

/// Round times to be named below a chart of that width: [time, name] each.
function ticks(width) {
    const least = (view.to - view.from) / Math.max(2, Math.floor(width / 95));
    const step = steps.find((each) => each >= least);
    const from = view.from + offsetAt(view.from), to = view.to + offsetAt(view.to);
    const monday = step >= 7 * aDay ? 4 * aDay : 0; // 1970 began on a Thursday
    const places = [];
    if (step) {
        for (let place = Math.ceil((from - monday) / step) * step + monday; place <= to; place += step) places.push(place);
    } else {
        const months = [1, 3, 6, 12, 24, 60, 120].find((each) => each * 30 * aDay >= least) ?? 1200;
        const start = new Date(from * 1000);
        for (let index = start.getUTCFullYear() * 12 + months * Math.ceil(start.getUTCMonth() / months);; index += months) {
            const place = Date.UTC(Math.floor(index / 12), index % 12) / 1000;
            if (place > to) break;
            if (place >= from) places.push(place);
        }
    }
    return places.map((place) => {
        const time = place - offsetAt(place - offsetAt(place));
        if (!step) return [time, month(time)];
        return [time, step < aDay && place % aDay !== 0 ? clock(time) : dayOfYear(time)];
    });
}

const scale = (time, width) => (time - view.from) / (view.to - view.from) * width;

/// The ruler of a chart: the names of round times.
function axis() {
    const ruler = draw("svg", { "aria-hidden": "true" });
    painters.push(() => {
        const width = ruler.clientWidth;
        ruler.replaceChildren(...ticks(width).map(([time, name]) => {
            const x = scale(time, width);
            const anchor = x < 24 ? "start" : x > width - 24 ? "end" : "middle";
            return draw("text", { x: x.toFixed(1), y: 15, "text-anchor": anchor }, name);
        }));
    });
    return make("div", { class: "axis" }, ruler);
}

/// Says `lines` beside a point of the window, or nothing any more.
function tip(lines, x = 0, y = 0) {
    const box = at("tip");
    box.hidden = lines === null;
    if (lines === null) return;
    box.replaceChildren(...lines.map((line) => make("p", {}, line)));
    const left = Math.min(Math.max(8, x + 14), innerWidth - box.offsetWidth - 8);
    const below = y + 18 + box.offsetHeight < innerHeight;
    box.style.transform = `translate(${left}px, ${below ? y + 18 : y - box.offsetHeight - 10}px)`;
}
