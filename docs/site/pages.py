#!/usr/bin/env python3
"""Turns the project's Markdown into pages for Doxygen: pages.py FOLDER

docs/README.md lists the pages, and so is the first; its links give the order. GitHub's anchors, and links between
pages, become Doxygen's; a link to a file that is no page becomes its path. What leads nowhere ends this with an error.
"""

import html
import os
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FIRST = ROOT / "docs/README.md"
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^()\s]+)\)")
FENCE = re.compile(r"^(```+)([\w-]*).*$")


def label(page):
    """What Doxygen knows a page by, and names its file after."""
    name = page.relative_to(ROOT).with_suffix("").as_posix().removeprefix("docs/")
    return "page_" + re.sub(r"\W", "_", name).lower()


def slug(heading):
    """GitHub's anchor of a heading."""
    return re.sub(r"[^\w\- ]", "", heading.strip().lower().replace("`", "")).replace(" ", "-")


def anchors(page):
    """GitHub's anchors of the page's headings, in their order."""
    fenced, seen = False, []
    for line in page.read_text(encoding="utf-8").splitlines():
        fenced ^= line.startswith("```")
        if not fenced and (match := re.match(r"#+ (.*)", line)):
            seen.append(slug(match[1]))
            yield seen[-1] + (f"-{again}" if (again := seen.count(seen[-1]) - 1) else "")


def listed():
    """The pages, in the order of the first one's links."""
    targets = [target.partition("#")[0] for _, _, target in LINK.findall(FIRST.read_text(encoding="utf-8"))]
    pages = [(FIRST.parent / target).resolve() for target in targets if target.endswith(".md") and ":" not in target]
    return list(dict.fromkeys([FIRST, *pages]))


class Page:
    def __init__(self, path, pages, files):
        self.path, self.pages, self.files, self.wrong = path, pages, files, []

    def link(self, match):
        mark, text, target = match.groups()[:3]
        if re.match(r"https?://|mailto:", target):
            return match[0]
        name, _, anchor = target.partition("#")
        path = (self.path.parent / name).resolve() if name else self.path
        if not path.exists() or anchor and anchor not in anchors(path):
            self.wrong.append(f"{self.path.relative_to(ROOT)}: nothing is at {target}")
        if mark:
            return f"![{text}]({path.name})"
        if path in self.pages:
            where = label(path) if path != FIRST else "index"
            return f'<a href="{where}.html{"#" + where + "_" + anchor if anchor else ""}">{text}</a>'
        if path.suffix == ".json" and path.parent == FIRST.parent:
            self.files.add(path)
            return f'<a href="{path.name}">{text}</a>'
        return f"{text} (`{path.relative_to(ROOT)}`)" if text.strip("`") not in str(path) else text

    def converted(self):
        lines, fenced, names = [], "", anchors(self.path)
        where = label(self.path) if self.path != FIRST else "index"
        for line in self.path.read_text(encoding="utf-8").splitlines():
            if fence := FENCE.match(line):
                fenced = "" if fenced else fence[1]
                language = {"python": ".py", "cpp": ".cpp", "c": ".c", "sql": ".sql"}.get(fence[2], ".unparsed")
                line = f"{fence[1]}{{{language}}}" if fenced else fence[1]
            elif fenced:
                pass
            elif heading := re.match(r"(#+) (.*)", line):
                title = heading[2].replace("`", "") if self.path != ROOT / "README.md" or heading[1] != "#" else "README"
                name = f"{where}_{next(names)}"
                line = f"{heading[1]} {title} {{#{label(self.path) if heading[1] == '#' else name}}}"
                if heading[1] == "#" and self.path == FIRST:
                    line = f"# {title} {{#mainpage}}"
            lines.append(line)
        # Links may break over lines; what is code stays as it is.
        return re.sub(rf"^```.*?^```$|{LINK.pattern}|`([^`]*)`|\bAmbrelKit\b(?![:/`])", self.inline, "\n".join(lines), flags=re.MULTILINE | re.DOTALL)

    def inline(self, match):
        if match[3]:
            return self.link(match)
        if match[0] == "AmbrelKit":
            return "%AmbrelKit"  # not a link to its namespace, wherever it is named
        if match[4] and "'" in match[4]:  # Doxygen takes `word' for a quotation
            return f"<code>{re.sub(r'([@%#])', chr(92) + chr(92) + r'1', html.escape(match[4]))}</code>"
        return match[0]


def topic(title, text, pages):
    """A section of the first page as a page of its own, which has those that it lists below it."""

    def listed_below(match):
        path = (FIRST.parent / match[3]).resolve()
        return f'@subpage {label(path)} "{match[2]}"' if path in pages else match[2]

    return f"# {title} {{#topic_{slug(title)}}}\n\n{LINK.sub(listed_below, text)}"


def main(folder):
    pages, files, wrong = listed(), set(), []
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    for number, path in enumerate(pages):
        page = Page(path, pages, files)
        text = page.converted()
        wrong += page.wrong
        pathlib.Path(folder, f"{number:02}_{label(path)}.md").write_text(text + "\n", encoding="utf-8")
    for number, (title, text) in enumerate(re.findall(r"^## (.*)\n((?:(?!## ).*\n)*)", FIRST.read_text(encoding="utf-8"), re.MULTILINE)):
        pathlib.Path(folder, f"topic_{number}.md").write_text(topic(title, text, pages), encoding="utf-8")
    unlisted = {*ROOT.glob("docs/**/*.md")} - {*pages}
    wrong += [f"docs/README.md does not list {path.relative_to(ROOT)}" for path in sorted(unlisted)]
    print(" ".join(str(path) for path in sorted(files)))
    sys.exit("\n".join(wrong) or 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
