#!/usr/bin/env python3
"""Doxygen's input filter for Markdown pages: what it reads unlike others is put in a form that it does read.

- Links to pages are relative to the project's root, where Doxygen runs and looks first.
- Code in the text of a link is plain text.
- Code with an escaped bar in a table's cell is HTML, where the escape is read.
"""

import os
import re
import sys


def filter_page(text, folder="."):
    """`folder` is the page's, seen from the project's root."""

    def from_root(link):
        return link.group(1) + os.path.normpath(os.path.join(folder, link.group(2)))

    lines, fenced = text.split("\n"), False
    for index, line in enumerate(lines):
        if line.startswith("```"):
            fenced = not fenced
        if fenced:
            continue
        line = re.sub(r"(?<!!)\[`([^`\]]+)`\]\(", r"[\1](", line)
        line = re.sub(r"(\]\()(?![a-z]+:)([^)\s#]+\.md\b)", from_root, line)
        if line.startswith("|"):
            line = re.sub(r"`([^`]*\\\|[^`]*)`", lambda code: html_code(code.group(1)), line)
        lines[index] = line
    return "\n".join(lines)


def html_code(code):
    for character, entity in (("&", "&amp;"), ("<", "&lt;"), (">", "&gt;")):
        code = code.replace(character, entity)
    return f"<code>{code}</code>"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as page:
        sys.stdout.write(filter_page(page.read(), os.path.relpath(os.path.dirname(sys.argv[1]) or ".")))
