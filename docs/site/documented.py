#!/usr/bin/env python3
"""Fails where a class, an enumeration or one of its values has no comment: documented.py FOLDER_OF_XML

Of all else Doxygen warns itself; of empty structs, of enumerations without a name and of values it does not.
"""

import pathlib
import sys
import xml.etree.ElementTree


def is_documented(element):
    return any("".join(part.itertext()).strip() for part in element.iterfind("*") if part.tag in ("briefdescription", "detaileddescription"))


def undocumented(compound):
    name = compound.findtext("compoundname")
    if compound.get("kind") in ("class", "struct", "namespace") and compound.get("prot") != "private" and not is_documented(compound):
        yield name
    for enumeration in compound.iterfind("sectiondef/memberdef[@kind='enum']"):
        inner = f"{name}: enum {enumeration.findtext('name').lstrip('@0123456789') or enumeration.findtext('enumvalue/name')}"
        if enumeration.get("prot") != "private":
            yield from [inner] * (not is_documented(enumeration))
            yield from (f"{inner}: {value.findtext('name')}" for value in enumeration.iterfind("enumvalue") if not is_documented(value))


def main(folder):
    compounds = [each for path in sorted(pathlib.Path(folder).glob("*.xml")) for each in xml.etree.ElementTree.parse(path).iter("compounddef")]
    names = sorted({name for compound in compounds for name in undocumented(compound)})
    for name in names:
        print(f"without a comment: {name}", file=sys.stderr)
    return bool(names) or not compounds


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
