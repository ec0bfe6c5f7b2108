"""What headers declare, and what a library defines, by qualified names."""

import re
import subprocess

NOISE = re.compile(r'//[^\n]*|/\*.*?\*/|^\s*#(?:\\\n|[^\n])*|"(?:\\.|[^"\\])*"', re.DOTALL | re.MULTILINE)
PUNCTUATION = re.compile(r"([{};]|\b(?:public|protected|private)\s*:(?!:))")
DELETED = re.compile(r"=\s*delete\s*$")
NAMESPACE = re.compile(r"(?:inline\s+)?namespace\s+([\w:]+)|extern()\s*$")
TYPE = re.compile(r"(?:template\s*<[^{]*?>\s*)?(?:class|struct)\s+(?:AMBREL\w+\s+)?([\w:]+(?:<[\w:]+>)?)(?![\w:<])")
FUNCTION = re.compile(r"(operator\s*(?:\(\)|[^\s\w(]+)|~?\w+)\s*\(")


def declared(header, mark=""):
    """The functions and types that `header` declares, where they bear `mark`, as a dictionary: whether each is for
    others. Of a type outside another a definition is asked for."""
    names = {}
    scopes = [("", NAMESPACE, True)]  # the name of each, its kind, and whether what stands there is for others

    def note(pattern, statement):
        scope, _, for_others = scopes[-1]
        for name in pattern.findall(statement) if mark in statement else ():
            name = "::".join(filter(None, [scope, name]))
            names[name] = for_others or names.get(name, False)

    statement = ""
    for token in PUNCTUATION.split(NOISE.sub("", header)):
        scope, kind, for_others = scopes[-1]
        if token == "{":
            inner = next((inner for inner in (NAMESPACE, TYPE) if inner.match(statement.strip())), None)
            if kind:
                note(TYPE if inner == TYPE else FUNCTION, statement)
            name = inner and inner.match(statement.strip())[1]
            scopes.append(("::".join(filter(None, [scope, name])), kind and inner, for_others))
        elif token == "}":
            scopes.pop()
        elif token == ";":
            if kind and not DELETED.search(statement):
                note(TYPE if kind == TYPE and TYPE.match(statement.strip()) else FUNCTION, statement)
        elif PUNCTUATION.fullmatch(token):
            scopes[-1] = (scope, kind, not token.startswith("private"))
        statement = "" if PUNCTUATION.fullmatch(token) else token
    return names


def defined(library, *options):
    """What nm finds defined: {(name, kind, version)}."""
    lines = subprocess.run(["nm", "-C", "--defined-only", "--extern-only", *options, library], text=True,
                           capture_output=True, check=True).stdout
    found = set()
    for kind, symbol in re.findall(r"^[0-9a-f]+ (\w) (.*)$", lines, re.MULTILINE):
        symbol, _, version = symbol.replace("[abi:cxx11]", "").partition("@@")
        symbol = re.sub(r"^(typeinfo|typeinfo name|vtable|VTT) for ", "", symbol)
        found.add((re.match(r"[^(]*(?:\(\)(?=\())?", symbol)[0], kind, version))
    return found
