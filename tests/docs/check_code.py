#!/usr/bin/env python3
"""Checks the C++ and other blocks of Markdown pages; run_commands.py runs those for the shell.

usage: check_code.py --compiler CXX PAGE...

- After `<!-- snippet: NAME -->` a block repeats, but for its indentation, the text between two comments
  `[NAME]` of a file in examples/, tests/examples/ or tests/docs/, which is built and run.
- Any other cpp block is a whole file and compiles.
- Blocks of other languages would go unchecked, so there are none but sh and text.
- Scripts and presets that an indented block names exist.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap

import markdown


def snippets(root):
    """Every marked text: name to a list of (file, text)."""
    found, errors = {}, []
    folders = ("examples", "tests/docs", "tests/examples")
    for path in sorted(path for folder in folders for path in root.glob(f"{folder}/**/*")):
        if path.suffix not in (".cpp", ".h", ".py", ".txt"):
            continue
        text = path.read_text(encoding="utf-8")
        marks = re.findall(r"^ *(?://|#) \[([\w-]+)\]$", text, re.M)
        for name in sorted(set(marks)):
            parts = re.split(rf"^ *(?://|#) \[{name}\]\n", text, flags=re.M)
            if len(parts) != 3:
                errors.append(f"{path}: [{name}] is marked {len(parts) - 1} times instead of twice")
            else:
                found.setdefault(name, []).append((path, textwrap.dedent(parts[1])))
    return found, errors


def is_built(path):
    """Whether the CMakeLists.txt beside a file names it, or makes a program of every test."""
    lists = path.with_name("CMakeLists.txt")
    text = lists.read_text(encoding="utf-8")
    named = re.search(rf"\b{re.escape(path.stem)}\b", text) is not None
    return path == lists or named or path.stem.endswith("_test") and "kav_add_tests(" in text


def compile_error(compiler, text, root):
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "block.cpp"
        source.write_text(text, encoding="utf-8")
        command = [compiler, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-I", str(root), "-c", str(source)]
        done = subprocess.run(command + ["-o", "/dev/null"], capture_output=True, text=True, check=False)
        return done.stderr if done.returncode else None


def missing_name(line, root):
    """The script or preset that a command line names and that does not exist."""
    for script in re.findall(r"(?:^|\s)(scripts/[\w.]+)", line):
        if not (root / script).is_file():
            return script
    presets = json.loads((root / "CMakePresets.json").read_text(encoding="utf-8"))["configurePresets"]
    names = {preset["name"] for preset in presets if not preset.get("hidden")}
    for preset in re.findall(r"--preset (\w+)|build/(\w+)\b(?!/docs)", line):
        name = preset[0]
        if name and name not in names:
            return f"preset {name}"
    return None


def check(page_paths, compiler, root=markdown.ROOT):
    known, errors = snippets(root)
    checked = 0
    for path in page_paths:
        try:
            page = markdown.Page(path)
        except ValueError as error:
            errors.append(str(error))
            continue
        for block in page.blocks:
            where = f"{path}:{block.line}"
            checked += 1
            if block.snippet is not None:
                if block.snippet not in known:
                    errors.append(f"{where}: no example or test marks [{block.snippet}]")
                    continue
                source, text = known[block.snippet][0]
                if len(known[block.snippet]) > 1:
                    errors.append(f"{where}: {known[block.snippet][1][0]} marks [{block.snippet}], too")
                if textwrap.dedent(block.text) != text:
                    errors.append(f"{where}: differs from [{block.snippet}] in {source}")
                elif not is_built(source):
                    errors.append(f"{where}: {source} is not built")
            elif block.language == "cpp":
                error = compile_error(compiler, block.text, root)
                if error:
                    errors.append(f"{where}: does not compile\n{error}")
            elif block.language is None:
                for line in block.text.split("\n"):
                    missing = missing_name(line, root)
                    if missing:
                        errors.append(f"{where}: there is no {missing}")
            elif block.language not in ("sh", "text"):
                errors.append(f"{where}: nothing checks a block of the language '{block.language}'")
    return checked, errors


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    parser.add_argument("pages", nargs="*")
    options = parser.parse_args()
    checked, errors = check(options.pages or markdown.pages(), options.compiler)
    for error in errors:
        print(error, file=sys.stderr)
    print(f"{checked} blocks checked")
    return 1 if errors or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
