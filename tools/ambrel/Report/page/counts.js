// How much there was in each stretch of time.

/// The bins to be seen, joined so that none is narrower than `least` pixels.
function columns(width, least) {
    const bins = model.bins, found = [];
    const seconds = Math.max(1, Math.ceil(least * (view.to - view.from) / width / bins.width)) * bins.width;
    let last = null;
    bins.at.forEach((place, index) => {
        const from = bins.origin + place * bins.width;
        if (from + bins.width < view.from || from > view.to) return;
        const start = bins.origin + Math.floor((from - bins.origin) / seconds) * seconds;
        if (last?.from !== start) {
            last = { from: start, to: start + seconds, collections: 0, peripheralSum: 0, serviceSum: 0, peripheralMax: 0, serviceMax: 0 };
            found.push(last);
        }
        for (const sum of ["collections", "peripheralSum", "serviceSum"]) last[sum] += bins[sum][index];
        for (const most of ["peripheralMax", "serviceMax"]) last[most] = Math.max(last[most], bins[most][index]);
    });
    return found;
}

/// A round number that is at least `value`.
function ceiling(value) {
    const power = 10 ** Math.floor(Math.log10(Math.max(1, value)));
    return [1, 2, 3, 4, 5, 6, 8, 10].find((each) => each * power >= value) * power;
}

const tall = 84, floor = 80, roof = 8;

function backdrop(width, top) {
    return [0, 0.5, 1].map((share) => {
        const y = Math.round(floor - share * (floor - roof)) + 0.5;
        return draw("path", { class: "grid", d: `M0 ${y}H${width}` });
    }).concat(draw("text", { x: width, y: roof - 2, "text-anchor": "end" }, decimal(top)));
}

/// One chart: its painter draws `marks(columns, x, y)` up to the greatest `height(column)`.
function chart(kind, title, text, height, marks) {
    const picture = draw("svg", { class: `plot ${kind}`, role: "img", "aria-label": `${title}: ${text}` });
    painters.push(() => {
        const width = picture.clientWidth;
        const list = columns(width, kind === "collection" ? 5 : 3);
        const top = ceiling(Math.max(1, ...list.map(height)));
        const y = (value) => (floor - value / top * (floor - roof)).toFixed(1);
        const x = (time) => Math.min(width, Math.max(0, scale(time, width))).toFixed(1);
        picture.replaceChildren(...backdrop(width, top), ...marks(list, x, y));
    });
    picture.addEventListener("pointermove", (event) => {
        const box = picture.getBoundingClientRect();
        const time = view.from + (event.clientX - box.left) / box.width * (view.to - view.from);
        const one = columns(box.width, 3).find((each) => time >= each.from && time < each.to);
        tip(one ? columnText(one) : [`No collection at ${moment(Math.round(time))}`], event.clientX, event.clientY);
    });
    picture.addEventListener("pointerleave", () => tip(null));
    return make("div", { class: "chart" }, make("div", {}, make("h3", {}, title), make("p", {}, text)), picture);
}

const columnText = (one) => [between(one.from, one.to), several(one.collections, "collection"),
    `Peripherals: ${decimal(one.peripheralSum / one.collections)} on average, at most ${number(one.peripheralMax)}`,
    `Services: ${decimal(one.serviceSum / one.collections)} on average, at most ${number(one.serviceMax)}`];

const bars = (list, x, y) => [draw("path", { class: "bars",
    d: list.map((one) => `M${x(one.from)} ${floor}V${y(one.collections)}H${Math.max(x(one.to) - 1, +x(one.from) + 1)}V${floor}z`).join("") })];

/// The mean as a line below which is the area up to the most; broken where there was no collection for long.
const meanAndMost = (sum, most) => (list, x, y) => {
    const parts = [];
    for (const one of list) {
        const before = parts.at(-1)?.at(-1);
        if (before && one.from - before.to <= Math.max(hour, 3 * (one.to - one.from))) parts.at(-1).push(one);
        else parts.push([one]);
    }
    const middle = (one) => x((one.from + one.to) / 2);
    const line = (part, height) => part.length === 1
        ? `${x(part[0].from)} ${y(height(part[0]))}H${Math.max(+x(part[0].to), +x(part[0].from) + 2)}`
        : part.map((one) => `${middle(one)} ${y(height(one))}`).join("L");
    const mean = (one) => one[sum] / one.collections;
    return [
        draw("path", { class: "area", d: parts.map((part) => `M${line(part, (one) => one[most])}V${floor}H${part.length === 1 ? x(part[0].from) : middle(part[0])}z`).join("") }),
        draw("path", { class: "trace", d: parts.map((part) => `M${line(part, mean)}`).join("") }),
    ];
};

function counts() {
    const total = (key) => model.bins[key].reduce((sum, each) => sum + each, 0);
    const most = (key) => model.bins[key].reduce((top, each) => Math.max(top, each), 0);
    const text = (sum, top) => `${decimal(total(sum) / model.collections)} in a collection on average, at most ${number(most(top))}`;
    at("counts").append(axis(),
        chart("collection", "Collections", number(model.collections) + (model.last > model.first ? ` in ${duration(model.last - model.first)}` : ""), (one) => one.collections, bars),
        chart("peripheral", "Peripherals", text("peripheralSum", "peripheralMax"), (one) => one.peripheralMax, meanAndMost("peripheralSum", "peripheralMax")),
        chart("service", "Services", text("serviceSum", "serviceMax"), (one) => one.serviceMax, meanAndMost("serviceSum", "serviceMax")));
}
