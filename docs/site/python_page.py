#!/usr/bin/env python3
"""Prints a page of the Python module's public names, made from their docstrings; one without ends this with an error."""

import inspect
import re
import sys

import ambrelkit
import ambrelkit.records
import ambrelkit.simulated

UNDOCUMENTED = []


def documented(name, thing):
    text = inspect.getdoc(thing)
    if not text:
        UNDOCUMENTED.append(name)
        return ""
    text = re.sub(r"(?m)^::\n", "", text).replace("::\n", ":\n")
    return re.sub(r"``([^`]*)``", r"`\1`", text) + "\n"


def entry(level, name, thing):
    """Markdown of a name and of what is in it."""
    takes = ""
    if inspect.isfunction(thing):
        takes = re.sub(r"\(self(, )?", "(", str(inspect.signature(thing)).replace("'", ""))
    elif inspect.isclass(thing) and not issubclass(thing, (dict, BaseException)) and "__init__" in vars(thing):
        takes = re.sub(r"\(self(, )?", "(", str(inspect.signature(thing.__init__)).replace("'", "")).removesuffix(" -> None")
    asynchronous = inspect.iscoroutinefunction(thing) or inspect.isasyncgenfunction(thing)
    yield f"{level} {name} {{#python_{re.sub(r'[^A-Za-z0-9]', '_', name).lower()}}}\n"
    if takes:
        yield f"```{{.py}}\n{'async ' * asynchronous}{name.rpartition('.')[2]}{takes}\n```\n"
    yield documented(name, thing)
    if inspect.isclass(thing):
        if fields := vars(thing).get("__annotations__") if issubclass(thing, dict) else None:
            yield "\n".join(f"- `{key}`: `{getattr(kind, '__forward_arg__', kind)}`" for key, kind in fields.items()) + "\n"
        for key, member in vars(thing).items():
            if not key.startswith("_") and (inspect.isfunction(member) or isinstance(member, property)):
                yield from entry(level + "#", f"{name}.{key}", member)


def main():
    print("# The Python module {#page_python}\n")
    for module in (ambrelkit, ambrelkit.simulated, ambrelkit.records):
        names = getattr(module, "__all__", [])
        print(f"## {module.__name__} {{#python_{module.__name__.replace('.', '_')}}}\n\n{documented(module.__name__, module)}")
        for name in names or [key for key, thing in vars(module).items()
                                       if inspect.isclass(thing) and thing.__module__ == module.__name__ and key[0] != "_"]:
            print("\n".join(entry("###", f"{module.__name__}.{name}", getattr(module, name))))
    sys.exit(f"without a docstring: {', '.join(UNDOCUMENTED)}" if UNDOCUMENTED else 0)


if __name__ == "__main__":
    main()
