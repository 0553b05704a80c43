"""What the checks need of a Markdown page: code blocks, headings, links and commands in tables, with their lines."""

import dataclasses
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]


def pages():
    """Every page that is held: the folder's front pages and docs/."""
    names = ("README.md", "CONTRIBUTING.md", "CHANGELOG.md", "examples/README.md")
    return [ROOT / name for name in names] + sorted(ROOT.glob("docs/*.md"))


@dataclasses.dataclass
class Block:
    """A code block.

    `language` is None for an indented one. `snippet` names the text that it repeats, if it does; `is_output` says
    that it is what the sh block before it prints.
    """

    language: str | None
    text: str
    line: int
    snippet: str | None = None
    is_output: bool = False


@dataclasses.dataclass
class Link:
    target: str
    line: int
    image: bool


class Page:
    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.blocks, self.links, self.anchors, self.table_commands = [], [], set(), []
        self._read(self.path.read_text(encoding="utf-8").split("\n"))

    def _read(self, lines):
        snippet, is_output, index = None, False, 0
        while index < len(lines):
            line = lines[index]
            fence = re.match(r"(```+|~~~+)\s*(\S*)", line)
            marker = re.match(r"<!--\s*(?:snippet:\s*(\S+)|output)\s*-->\s*$", line)
            if fence:
                end = index + 1
                while end < len(lines) and lines[end].rstrip() != fence.group(1):
                    end += 1
                if end == len(lines):
                    raise ValueError(f"{self.path}:{index + 1}: this code block does not end")
                text = "\n".join(lines[index + 1 : end]) + "\n"
                self.blocks.append(Block(fence.group(2), text, index + 1, snippet, is_output))
                index = end
            elif marker:
                if not lines[index + 1].startswith("```"):
                    raise ValueError(f"{self.path}:{index + 1}: no code block follows this marker")
                snippet, is_output = marker.group(1), marker.group(1) is None
                index += 1
                continue
            elif self._begins_indented_block(lines, index):
                end = index
                while end < len(lines) and (lines[end].startswith("    ") or lines[end] == ""):
                    end += 1
                text = "\n".join(each[4:] for each in lines[index:end]).rstrip("\n") + "\n"
                self.blocks.append(Block(None, text, index + 1))
                index = end - 1
            else:
                self._read_prose(line, index + 1)
            snippet, is_output = None, False
            index += 1

    @staticmethod
    def _begins_indented_block(lines, index):
        if not lines[index].startswith("    ") or index > 0 and lines[index - 1] != "":
            return False
        while index > 0 and (lines[index] == "" or lines[index].startswith(" ")):
            index -= 1
        return not re.match(r"[-*+] |\d+\. ", lines[index])  # An item of a list goes on in deeper lines.

    def _read_prose(self, line, number):
        heading = re.match(r"#+\s+(.*?)\s*(\{#([\w-]+)\})?\s*$", line)
        if heading:
            self.anchors.add(heading.group(3) or slug(heading.group(1)))
        for anchor in re.findall(r"<a (?:id|name)=\"([^\"]+)\"", line):
            self.anchors.add(anchor)
        if line.startswith("|"):
            for span in re.findall(r"`([^`]+)`", line):
                if re.match(r"kavfilt \w+ |\{ ", span):
                    self.table_commands.append((span.replace("\\|", "|"), number))
        prose = re.sub(r"`[^`]*`", "", line)
        image = r"!\[[^\]]*\]\(([^)\s]+)[^)]*\)"
        self.links += [Link(target, number, True) for target in re.findall(image, prose)]
        targets = re.findall(r"\[[^\]]*\]\(([^)\s]+)[^)]*\)", re.sub(image, "", prose))
        self.links += [Link(target, number, False) for target in targets]

    def commands(self):
        """What a reader can type, and what it prints: sh blocks, indented blocks that only call the tool, output."""
        return [
            block
            for block in self.blocks
            if block.language == "sh"
            or block.is_output
            or block.language is None
            and all(line.startswith("kavfilt ") for line in block.text.strip().split("\n"))
        ]


def slug(heading):
    """The anchor that a heading gets where Markdown is shown."""
    text = re.sub(r"[`*_]|\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
