// The page itself: its head, the filter, the colours, and everything in its place.

function heading() {
    const { collections, first, last } = model;
    at("span").textContent = collections === 0 ? `No collections. Made ${moment(model.made)} (${offsetText(model.made)}).`
        : `${several(collections, "collection")}${first === last ? ", " : " from "}${between(first, last)} (${offsetText(last)})`;
    const figures = [[collections, "collection", number(collections)], ...["peripheral", "service", "network", "place"].map((kind) =>
        [model[kinds[kind][0]].distinct, kind, amount(kind)])];
    at("figures").append(...figures.map(([count, word, text]) =>
        make("div", {}, make("dt", {}, several(count, word).replace(/^\S+ /, "")), make("dd", { id: `${word}-figure` }, text))));
    const notes = [`Made ${moment(model.made)} (${offsetText(model.made)}) by ambrel report. Times are local to the machine that made it. This page holds everything it shows, and sends nothing.`,
        model.unreadable > 0 ? `${several(model.unreadable, "file")} could not be read.` : "",
        model.untimed > 0 ? `${several(model.untimed, "collection")} without a time, with one beyond every calendar, or not in the order of their files ${model.untimed === 1 ? "is" : "are"} left out.` : ""];
    at("footer").textContent = notes.join(" ");
}

function colours() {
    const root = document.documentElement;
    const dark = matchMedia("(prefers-color-scheme: dark)");
    const isDark = () => (root.dataset.theme ?? (dark.matches ? "dark" : "light")) === "dark";
    const say = () => { at("theme").textContent = isDark() ? "Light colours" : "Dark colours"; };
    at("theme").addEventListener("click", () => {
        root.dataset.theme = isDark() ? "light" : "dark";
        say();
    });
    dark.addEventListener("change", say);
    say();
}

const orders = {
    count: (a, b) => b.count - a.count, first: (a, b) => a.first - b.first,
    last: (a, b) => b.last - a.last, name: (a, b) => compare(a.label, b.label),
};

function presence() {
    const section = at("presence"), rows = strips(20);
    section.append(rows.element);
    const all = [...things.peripheral, ...things.service];
    const update = () => {
        const kind = at("presence-kind").value;
        rows.show(all.filter((thing) => (kind === "" || thing.kind === kind) && matches(thing)).sort(orders[at("presence-order").value]));
    };
    for (const choice of ["presence-kind", "presence-order"]) at(choice).addEventListener("change", update);
    at("zoom").append(...zoomButtons.map(([press]) => press));
    filters.push(update);
    update();
}

function networks() {
    at("networks-hint").textContent = `Joined to a Wi-Fi network in ${number(model.joined)} of ${several(model.collections, "collection")}.`;
    const rows = strips(12);
    at("networks").append(rows.element);
    const update = () => rows.show([...things.network, ...things.address].filter(matches));
    filters.push(update);
    update();
}

function filter() {
    let timer = 0;
    at("filter").addEventListener("input", (event) => {
        clearTimeout(timer);
        timer = setTimeout(() => {
            wanted = event.target.value.toLowerCase().split(/\s+/).filter(Boolean);
            for (const update of filters) update();
            const found = Object.values(things).flat().filter(matches).length;
            at("found").textContent = wanted.length === 0 ? "Everything is shown." : `Matches: ${number(found)}.`;
        }, 80);
    });
}

heading();
colours();
for (const id of ["theme", "figures", "bar", "main"]) at(id).hidden = false;
if (empty) {
    at("bar").hidden = true;
    at("main").replaceChildren(make("p", { class: "card" }, "Nothing was stored in this time: ambrel scan | ambrel store save keeps a collection."));
} else {
    presence();
    counts();
    networks();
    places();
    week();
    tables();
    filter();
    for (const id of ["presence", "counts", "networks"]) {
        listenForKeys(at(id));
        listenForPointers(at(id), ".plot");
    }
    addEventListener("keydown", (event) => event.key === "Escape" && tip(null));
    addEventListener("wheel", () => tip(null), { passive: true });
    new ResizeObserver(repaint).observe(at("main"));
    paint();
}
performance.mark("ready");
