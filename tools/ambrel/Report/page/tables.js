// Tables that sort, filter and turn their pages.

const filters = [];

/// Several texts below one another.
const texts = (list) => (list.length < 2 ? list.map(isolated) : [make("ul", {}, list.map((text) => make("li", {}, isolated(text))))]);

const collate = new Intl.Collator("en", { numeric: true, sensitivity: "base" }).compare;
const compare = (a, b) => (typeof a === "number" ? a - b : collate(a, b));
const time = (value) => make("time", { datetime: new Date(value * 1000).toISOString(), title: `${moment(value)} (${offsetText(value)})` }, moment(value));
const seenColumns = [
    ["Seen", (thing) => [number(thing.count), make("span", { class: "muted" }, ` · ${percent(thing.count / model.collections)}`)], (thing) => thing.count, "number"],
    ["First seen", (thing) => time(thing.first), (thing) => thing.first, "time"],
    ["Last seen", (thing) => [time(thing.last), make("span", { class: "muted" }, ` · ${ago(thing.last)}`)], (thing) => thing.last, "time"],
];

/// A table of `list` under columns of [heading, what a cell shows, what it is sorted by, class].
function table(caption, list, columns, size = 25) {
    let rows = list, order = null, down = false;
    const body = make("tbody");
    const fillBody = (first) => body.replaceChildren(...rows.slice(first, first + size).map((thing) =>
        make("tr", {}, columns.map(([, show, , kind], index) =>
            make(index === 0 ? "th" : "td", { class: kind ?? null, scope: index === 0 ? "row" : null }, show(thing))))));
    const turner = pager(size, fillBody);
    function update() {
        rows = list.filter(matches);
        if (order !== null) rows.sort((a, b) => compare(columns[order][2](a), columns[order][2](b)) * (down ? -1 : 1));
        turner.of(rows.length);
        fillBody(0);
    }
    function sort(index, kind) {
        down = order === index ? !down : kind === "number" || kind === "time";
        order = index;
        headings.forEach((heading, each) => each === index ? heading.setAttribute("aria-sort", down ? "descending" : "ascending") : heading.removeAttribute("aria-sort"));
        update();
    }
    const headings = columns.map(([heading, , , kind], index) => {
        const press = make("button", { type: "button" }, heading);
        press.addEventListener("click", () => sort(index, kind));
        return make("th", { scope: "col", class: kind === "number" ? kind : null }, press);
    });
    filters.push(update);
    update();
    const scroller = make("div", { class: "scroll", role: "region", tabindex: 0, "aria-label": `Table: ${caption}` },
        make("table", {}, make("caption", { class: "unseen" }, caption), make("thead", {}, make("tr", {}, headings)), body));
    return make("div", {}, scroller, turner.element);
}

let wanted = [];

/// Whether a thing has every word of the filter.
const matches = (thing) => wanted.every((word) => thing.search.includes(word));

/// "The 2,000 seen most of 198,113": what a table leaves out.
function leftOut(kind) {
    const { distinct, once } = model[kinds[kind][0]];
    const shown = things[kind].length;
    const rest = once > 0 && model.collections > 1 ? ` ${number(once)} of them in one collection only.` : "";
    return distinct > shown ? `The ${number(shown)} seen most of ${amount(kind)}.${rest}` : `${several(distinct, kind)}.${rest}`;
}

function tables() {
    const name = (thing) => {
        const press = make("button", { type: "button", class: `what ${thing.kind}` }, make("span", {}, isolated(thing.label)));
        press.addEventListener("click", () => chooseWeek(thing));
        const others = thing.names?.slice(1) ?? [];
        return [press, others.length === 0 ? null : make("div", { class: "muted" }, "also ", others.map((other, index) => [index > 0 ? ", " : "", isolated(other)]))];
    };
    at("peripherals-hint").textContent = leftOut("peripheral");
    at("peripherals").append(table("Peripherals", things.peripheral, [
        ["Name", name, (thing) => thing.label],
        ["Identifier", (thing) => make("code", {}, thing.id), (thing) => thing.id],
        ...seenColumns,
    ]));
    at("services-hint").textContent = leftOut("service");
    at("services").append(table("Services", things.service, [
        ["Name", name, (thing) => thing.label],
        ["Kind", (thing) => [typeText(thing.type), " ", make("code", {}, thing.type.replace(/\.$/, ""))], (thing) => thing.detail],
        ["Address", (thing) => texts(thing.addresses), (thing) => thing.addresses[0] ?? "", "address"],
        ["It says", (thing) => texts(thing.txt.map(([key, value]) => `${key}: ${value}`)), (thing) => thing.txt.flat().join(), "long"],
        ...seenColumns,
    ]));
    const networks = [...things.network, ...things.address];
    if (networks.length > 0) {
        at("networks").append(table("Networks and addresses", networks, [
            ["Name", name, (thing) => thing.label],
            ["Kind", (thing) => thing.kind === "network" ? "Wi-Fi network" : "IPv4 address", (thing) => thing.kind],
            ["Together with", (thing) => texts(thing.addresses ?? thing.networks), (thing) => thing.detail],
            ...seenColumns,
        ]));
    }
}
