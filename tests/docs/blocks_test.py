#!/usr/bin/env python3
"""Runs the code blocks of the documentation: blocks_test.py SOURCE BUILD COMPILER

The info string of a block says its language and what is done with it: `run`, `compile`, `check`, `parse`, `record`, or
`not-run REASON`; or the example that it is, which a test of the installation runs. The blocks of a page share a folder, in their order; shells find `ambrel` there, on a network of their own.
`console` has what its commands print, where `…` stands for anything. SQL is not run here: engines have tests of their own.
"""

import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import jsonschema

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import isolation

SOURCE, BUILD, COMPILER = map(pathlib.Path, sys.argv[1:])
PAGES = [SOURCE / name for name in ("README.md", "CONTRIBUTING.md", "SECURITY.md", "fuzz/README.md")]
FLAGS = ["-std=c++20", "-Wall", "-Wextra", f"-I{SOURCE}", f"-I{BUILD}/include"]
LIBRARIES = [f"-L{BUILD}/AmbrelKit", f"-Wl,-rpath,{BUILD}/AmbrelKit", "-lambrelkit-simulated", "-lambrelkit"]
ENVIRONMENT = {**os.environ, "PATH": f"{BUILD}/bin:{os.environ['PATH']}", "PYTHONPATH": f"{SOURCE}/python",
               "AMBRELKIT_LIBRARY_DIR": f"{BUILD}/AmbrelKit", "AMBREL_CONFIG": "", "NO_COLOR": "1", "TZ": "UTC"}
HOW = {"cpp": {"run", "compile"}, "c": {"compile"}, "python": {"run", "check"}, "sh": {"run", "parse"}, "console": {"run"},
       "json": {"record", "parse"}, "cmake": set(), "text": set(), "sql": set()}
COMMANDS = set(re.findall(r"^\./dev ([\w-]+)", subprocess.run([SOURCE / "dev"], capture_output=True, text=True, check=True).stdout, re.MULTILINE))
BY_THEMSELVES = {"sql": "not-run engine", "text": "not-run drawing"}


def run(*command, folder, **options):
    """What it prints."""
    environment = {**ENVIRONMENT, "AMBREL_DOCUMENTS_DIR": f"{folder}/documents"}
    done = subprocess.run(list(map(str, command)), cwd=folder, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=120, check=False, **options)
    if done.returncode != 0:
        raise ValueError(f"exit status {done.returncode}\n{done.stdout}")
    return done.stdout


def compiled(text, folder, language, *options):
    flags = FLAGS if language == "c++" else ["-std=c99", "-Werror=implicit", *FLAGS[1:]]
    run(COMPILER if language == "c++" else "cc", "-x", language, "-", *flags, *options, folder=folder, input=text)


def console(text, folder):
    for command, expected in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", text, re.MULTILINE):
        printed = run("bash", "-c", command, folder=folder)
        if not re.fullmatch(re.escape(expected).replace("…", ".*"), printed, re.DOTALL):
            raise ValueError(f"$ {command}\n{printed}")


def do(language, how, text, folder):
    if (language, how) == ("cpp", "run"):
        compiled(text, folder, "c++", *LIBRARIES, "-o", "program")
        run("./program", folder=folder)
    elif how == "compile":
        compiled(text, folder, "c++" if language == "cpp" else "c", "-fsyntax-only")
    elif language == "python":
        pathlib.Path(folder, "block.py").write_text(text, encoding="utf-8")
        run(sys.executable, "-m", "mypy", "--strict", "--cache-dir", BUILD / "mypy", "block.py", folder=folder)
        if how == "run":
            run(sys.executable, "block.py", folder=folder)
    elif language == "sh":
        if unknown := set(re.findall(r"^\./dev ([\w-]+)", text, re.MULTILINE)) - COMMANDS:
            raise ValueError(f"./dev has no {unknown}")
        run("bash", *(["-n"] if how == "parse" else ["-euo", "pipefail"]), folder=folder, input=text)
    elif language == "console":
        console(text, folder)
    else:
        schema = json.loads((SOURCE / "docs/ambrel-data.schema.json").read_text(encoding="utf-8")) if how == "record" else {}
        jsonschema.validate(json.loads(text), schema)


def reasons():
    """The rows that the page of the sources has to have: code, text and remedy of each reason."""
    table = (SOURCE / "AmbrelKit/Linux/Sources/SourceReasons.cpp").read_text(encoding="utf-8")
    quoted = r'((?:\s*"[^"]*")+)'
    for code, text, remedy in re.findall(rf"Row\{{\w+, \w+,{quoted},{quoted},{quoted}\}}", re.sub(r",\s+", ", ", table)):
        joined = ("".join(re.findall('"([^"]*)"', part)) for part in (text, remedy))
        yield f"`{code.strip()[1:-1]}` | " + " | ".join(re.sub(r"\{\d\}", "{…}", part) for part in joined) + " |"


def main():
    counts, failed = collections.Counter(), 0
    for page in [*PAGES, *sorted(SOURCE.glob("docs/**/*.md"))]:
        text = page.read_text(encoding="utf-8")
        if indented := re.search(r"\n\n {4}\S.*", re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)):
            failed += 1
            print(f"{page.relative_to(SOURCE)}: a block without an info string: {indented[0].strip()}")
        with tempfile.TemporaryDirectory() as folder:
            for match in re.finditer(r"^```(\S*) ?(.*)\n((?:.*\n)*?)```$", text, re.MULTILINE):
                language, how, block = match.groups()
                how = how or BY_THEMSELVES.get(language, "")
                counts[f"{language}: {how}"] += 1
                try:
                    if how.startswith("examples/"):
                        if block != (SOURCE / how).read_text(encoding="utf-8"):
                            raise ValueError(f"this is not {how}")
                    elif how in HOW.get(language, set()):
                        do(language, how, block, folder)
                    elif not how.startswith("not-run "):
                        raise ValueError(f"its info string has to say what is done with it: {sorted(HOW.get(language, HOW))}")
                except (ValueError, subprocess.TimeoutExpired, jsonschema.ValidationError) as error:
                    failed += 1
                    reason = getattr(error, "message", error)  # without the whole schema
                    print(f"{page.relative_to(SOURCE)}:{text.count(chr(10), 0, match.start()) + 1}: {reason}")
    sources = (SOURCE / "docs/sources.md").read_text(encoding="utf-8")
    rows = list(reasons())
    for row in rows:
        if row not in sources:
            failed += 1
            print(f"docs/sources.md lacks {row}")
    counts["reasons of sources, each in its page"] = len(rows)
    print("\n".join(f"{count:3}  {what}" for what, count in sorted(counts.items())))
    return int(failed > 0 or not counts)


if __name__ == "__main__":
    isolation.enter()
    sys.exit(main())
