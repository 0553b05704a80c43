#!/usr/bin/env python3
"""Doxygen's input filter: prints a header in the form that Doxygen understands. Lines keep their numbers.

- One comment stands for every overload that follows it directly: the declarations of one name without a blank
  line in between, a setter and its getter, say. So it does for the other half of a pair, begin and end. Doxygen
  wants a comment before each.
- Private parts are left out. Doxygen would link to the types in them, which it does not describe.
"""

import re
import sys


# What stands below the first half of a pair, under one comment; None: the comment fits both.
PAIRS = {"operator!=": ("operator==", "The opposite of operator==."), "end": ("begin", None)}


def declaration_end(lines, start):
    """The last line of the declaration that begins at `start`."""
    depth = 0
    for index in range(start, len(lines)):
        depth += len(re.findall(r"[({]", lines[index])) - len(re.findall(r"[)}]", lines[index]))
        if depth == 0 and re.search(r"[;}]\s*(//.*)?$", lines[index]):
            return index
    return len(lines) - 1


def function_name(declaration):
    """The name of the function that is declared, or None."""
    text = re.sub(r"\[\[\w+\]\]|template\s*<[^>]*>", " ", declaration).strip()
    if re.match(r"(class|struct|enum|union|namespace|extern|using)\b", text):
        return None
    found = re.match(r"[^(=]*?(operator\W+?|~?\w+)\s*\(", text)
    return found.group(1) if found else None


def share_comments(text):
    lines = text.split("\n")
    comment, shared_name = [], None
    index = 0
    while index < len(lines):
        line = lines[index].strip()
        if line.startswith("///"):
            comment = comment + [line[3:].strip()] if shared_name is None else [line[3:].strip()]
            shared_name = None
        elif line == "" or not re.match(r"[\w\[~]", line) or re.match(r"(public|protected|private):", line):
            comment, shared_name = [], None
        else:
            end = declaration_end(lines, index)
            name = function_name(" ".join(lines[index : end + 1]))
            if name is None:
                comment, shared_name = [], None
            elif shared_name is not None and shared_name in (name, PAIRS.get(name, (None,))[0]):
                words = PAIRS[name][1] if name in PAIRS else None
                lines[index] = "/** " + (words or " ".join(comment)) + " */ " + lines[index]
            elif comment and shared_name is None:
                shared_name = name
            else:
                comment, shared_name = [], None
            index = end if name else index  # Over a function, into a class.
        index += 1
    return "\n".join(lines)


def without_private_parts(text):
    lines = text.split("\n")
    indentation = None
    for index, line in enumerate(lines):
        if indentation is None:
            begin = re.match(r"( *)private:$", line)
            indentation = begin.group(1) if begin else None
        elif re.match(rf"{indentation}(\}};|public:|protected:)", line):
            indentation = None
        if indentation is not None:
            lines[index] = ""
    return "\n".join(lines)


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(share_comments(without_private_parts(header.read())))
