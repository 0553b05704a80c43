#!/usr/bin/env python3
"""Runs the commands of one Markdown page in their order, as a reader would type them, in an empty folder.

usage: run_commands.py --tool KAVFILT --work FOLDER [--pictures FOLDER] PAGE

The folder first gets what the page takes for granted: for docs/tool.md the pictures that its commands read, for any
other docs/X.md what docs/X_scenes.py makes. Commands that stand in a table come last and in a folder of their own. A block
after `<!-- output -->` is what the block before it prints.

What must hold afterwards: every command succeeded and printed what the page says, every picture that the page shows
is in docs/ or was made, and one that is both is the same, pel by pel. --pictures keeps those that were made and are
not in docs/.
"""

import argparse
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import zlib

import markdown

TOOL_INPUTS = ("fabric.png", "cut-out.png", "blob.png")


def prepare(page, folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    if page.path.name == "tool.md":
        for name in TOOL_INPUTS:
            shutil.copy(page.path.parent / "pictures" / name, folder)
    scenes = page.path.with_name(page.path.stem + "_scenes.py")
    if scenes.exists():
        subprocess.run([sys.executable, "-B", str(scenes), str(folder)], check=True)


def run(text, where, folder, tool):
    environment = dict(os.environ, PATH=f"{tool.parent}:{os.environ['PATH']}")
    script = "set -eu\n" + text
    done = subprocess.run(
        ["bash", "-c", script], cwd=folder, env=environment, capture_output=True, text=True, check=False
    )
    if done.returncode == 0:
        return None, done.stdout
    return f"{where}: exit code {done.returncode}\n{text}{done.stdout}{done.stderr}", None


def png_rows(path):
    """The bytes of a PNG picture's header and of its unpacked rows."""
    data = path.read_bytes()
    position, header, packed = 8, b"", b""
    while position < len(data):
        (size,) = struct.unpack(">I", data[position : position + 4])
        kind, content = data[position + 4 : position + 8], data[position + 8 : position + 8 + size]
        header += content if kind == b"IHDR" else b""
        packed += content if kind == b"IDAT" else b""
        position += size + 12
    return header, zlib.decompress(packed)


def check_pictures(page, folders, keep):
    """Errors about the pictures that the page shows, and how many of them its commands made."""
    errors, made = [], 0
    for link in page.links:
        if not link.image or "://" in link.target:
            continue
        kept = page.path.parent / link.target
        fresh = [folder / kept.name for folder in folders if (folder / kept.name).exists()]
        made += 1 if fresh else 0
        if not kept.exists() and fresh and keep is not None:
            shutil.copy(fresh[-1], keep)
        if not kept.exists() and not fresh:
            errors.append(f"{page.path}:{link.line}: no command makes {link.target}")
        # The same picture may be made by a command of the text and by one of a table.
        if kept.exists() and fresh and kept.suffix == ".png" and png_rows(kept) != png_rows(fresh[-1]):
            errors.append(f"{page.path}:{link.line}: {link.target} is not what the commands make")
    return errors, made


def check(path, tool, work, keep=None):
    page = markdown.Page(path)
    errors, count = [], 0
    text_folder, table_folder = work / "text", work / "tables"
    prepare(page, text_folder)
    printed = None
    for block in page.commands():
        where = f"{path}:{block.line}"
        if block.is_output:
            if printed is not None and block.text != printed:
                errors.append(f"{where}: the commands print\n{printed}")
            continue
        count += 1
        error, printed = run(block.text, where, text_folder, tool)
        errors.append(error)
    if page.table_commands:
        prepare(page, table_folder)
    for command, line in page.table_commands:
        count += 1
        errors.append(run(command + "\n", f"{path}:{line}", table_folder, tool)[0])
    picture_errors, made = check_pictures(page, [text_folder, table_folder], keep)
    return count, made, [error for error in errors if error] + picture_errors


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", type=pathlib.Path, required=True)
    parser.add_argument("--work", type=pathlib.Path, required=True)
    parser.add_argument("--pictures", type=pathlib.Path)
    parser.add_argument("page", type=pathlib.Path)
    options = parser.parse_args()
    tool, work = options.tool.resolve(), options.work.resolve()
    count, made, errors = check(options.page, tool, work, options.pictures)
    for error in errors:
        print(error, file=sys.stderr)
    print(f"{options.page.name}: {count} commands run, {made} pictures made")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
