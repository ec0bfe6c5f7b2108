// Rows of things with the times at which each was there, a page of rows at a time.

/// "1–25 of 2,000" with a button to either side; `turn` is told the first to show.
function pager(size, turn) {
    let first = 0, total = 0;
    const words = make("span", { role: "status" });
    const back = button("Previous", {}, () => go(first - size));
    const on = button("Next", {}, () => go(first + size));
    const element = make("div", { class: "pager" }, back, words, on);
    function go(to) {
        first = Math.max(0, to);
        update();
        turn(first);
    }
    function update() {
        back.disabled = first === 0;
        on.disabled = first + size >= total;
        back.hidden = on.hidden = total <= size;
        element.hidden = total > 0 && total <= size;
        words.textContent = total === 0 ? (wanted.length > 0 ? "Nothing matches the filter." : "None was seen.")
            : total <= size ? "" : `${number(first + 1)}–${number(Math.min(first + size, total))} of ${number(total)}`;
    }
    return { element, of(count) { total = count; first = 0; update(); } };
}

/// The path of a thing's times at that width; what would be a pixel apart is drawn as one.
function stripPath(runs, width) {
    const parts = [];
    let from = -2, to = -2;
    const put = () => to > 0 && parts.push(`M${from.toFixed(1)} 0h${(to - from).toFixed(1)}v18h${(from - to).toFixed(1)}z`);
    for (let index = 0; index < runs.length; index += 2) {
        const end = scale(model.first + runs[index + 1], width);
        if (end < -2) continue;
        const start = scale(model.first + runs[index], width);
        if (start > width) break;
        const left = Math.max(0, Math.min(start, width - 2)), right = Math.min(width, Math.max(end, start + 2));
        if (left > to + 1) {
            put();
            from = left;
        }
        to = Math.max(to, right);
    }
    put();
    return parts.join("");
}

function summary(thing) {
    const share = thing.count / model.collections;
    return [`Seen in ${several(thing.count, "collection")} of ${number(model.collections)} (${percent(share)})`,
        `from ${moment(thing.first)}`, `to ${moment(thing.last)} (${offsetText(thing.last)})`];
}

/// What was around at a point of time, for the pointer.
function runText(thing, time) {
    const reach = (view.to - view.from) / 150;
    const since = time - model.first;
    for (let index = 0; index < thing.runs.length; index += 2) {
        const [from, to] = [thing.runs[index], thing.runs[index + 1]];
        if (since < from - reach || since > to + reach) continue;
        const about = thing.gap > 0 && to > from ? `; absences of up to ${duration(thing.gap)} are not told apart` : "";
        return `There ${between(model.first + from, model.first + to)}${about}`;
    }
    return `Not seen at ${moment(Math.round(time))}`;
}

/// Rows for `list`, which `show` exchanges.
function strips(size) {
    let list = [], first = 0;
    const rows = make("ul", { class: "strips" });
    const turner = pager(size, (to) => { first = to; fillRows(); });
    let drawn = [];
    function row(thing) {
        const path = draw("path");
        const strip = draw("svg", { class: `strip plot ${thing.kind}`, role: "img", "aria-label": summary(thing).join(" ") }, path);
        const label = make("button", { type: "button", class: `what ${thing.kind}` }, make("span", {}, isolated(thing.label)));
        label.addEventListener("click", () => chooseWeek(thing));
        label.addEventListener("focus", () => requestAnimationFrame(() => { // when it has been scrolled to
            if (!label.matches(":focus-visible")) return;
            const box = label.getBoundingClientRect();
            tip([thing.label, ...summary(thing)], box.left, box.bottom - 14);
        }));
        label.addEventListener("blur", () => tip(null));
        strip.addEventListener("pointermove", (event) => {
            const box = strip.getBoundingClientRect();
            const time = view.from + (event.clientX - box.left) / box.width * (view.to - view.from);
            tip([thing.label, runText(thing, time)], event.clientX, event.clientY);
        });
        strip.addEventListener("pointerleave", () => tip(null));
        drawn.push([path, thing]);
        return make("li", {}, label, strip);
    }
    function fillRows() {
        drawn = [];
        rows.replaceChildren(...list.slice(first, first + size).map(row));
        repaint();
    }
    rows.addEventListener("keydown", (event) => {
        const way = { ArrowDown: 1, ArrowUp: -1 }[event.key];
        const next = way && rows.children[[...rows.children].indexOf(event.target.parentElement) + way];
        if (!next) return;
        event.preventDefault();
        next.firstChild.focus();
    });
    painters.push(() => {
        const width = drawn[0]?.[0].parentElement.clientWidth;
        for (const [path, thing] of drawn) path.setAttribute("d", stripPath(thing.runs, width));
    });
    return {
        element: make("div", {}, axis(), rows, turner.element),
        show(those) {
            [list, first] = [those, 0];
            turner.of(list.length);
            fillRows();
        },
    };
}
