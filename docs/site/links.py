#!/usr/bin/env python3
"""Fails where a page of a folder of HTML links to what is not there, or loads anything from elsewhere: links.py FOLDER"""

import html.parser
import pathlib
import sys
import urllib.parse


class Reader(html.parser.HTMLParser):
    """What a page can be linked at, what it links, and what it loads."""

    def __init__(self, path):
        super().__init__()
        self.anchors, self.links, self.loads = set(), set(), set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        given = dict(attrs)
        self.anchors |= {given.get("id"), given.get("name")}
        if tag == "a" and given.get("href"):
            self.links.add(given["href"])
        self.loads |= {given[key] for key in ("src", "href") if tag in ("img", "script", "link", "iframe") and given.get(key)}


def main(folder):
    pages = {path.resolve(): Reader(path) for path in pathlib.Path(folder).rglob("*.html")}
    count, wrong = 0, set()
    for path, page in pages.items():
        wrong |= {f"{path.name}: loads {load} from elsewhere" for load in page.loads if urllib.parse.urlsplit(load).netloc}
        for link in page.links | page.loads:
            url = urllib.parse.urlsplit(link)
            # The second: Doxygen's own, to the section of private classes, which it leaves out.
            if url.scheme or url.netloc or url.fragment == "nested-classes":
                continue
            count += 1
            target = (path.parent / urllib.parse.unquote(url.path)).resolve() if url.path else path
            anchor = urllib.parse.unquote(url.fragment)
            if not target.exists() or anchor and target in pages and anchor not in pages[target].anchors:
                wrong.add(f"{path.name}: nothing is at {link}")
    print("\n".join(sorted(wrong)), f"\n{len(pages)} pages, {count} links, {len(wrong)} of them wrong")
    return bool(wrong) or not pages


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
