#!/usr/bin/env python3
"""Doxygen's input filter for Markdown pages: what it reads unlike others is put in a form that it does read.

- Code in the text of a link is plain text.
- Code with an escaped bar in a table's cell is HTML, where the escape is read.
"""

import re
import sys


def filter_page(text):
    lines, fenced = text.split("\n"), False
    for index, line in enumerate(lines):
        if line.startswith("```"):
            fenced = not fenced
        if fenced:
            continue
        line = re.sub(r"(?<!!)\[`([^`\]]+)`\]\(", r"[\1](", line)
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
        sys.stdout.write(filter_page(page.read()))
