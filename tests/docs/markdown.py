"""What the checks need of a Markdown page: its code blocks, headings, links and table commands, with line numbers."""

import dataclasses
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]


def pages():
    """Every page that is held: the folder's front pages and docs/."""
    return [ROOT / name for name in ("README.md", "CONTRIBUTING.md", "CHANGELOG.md", "examples/README.md")] + sorted(ROOT.glob("docs/*.md"))


@dataclasses.dataclass
class Block:
    """A code block. `language` is None for an indented one; `snippet` names the text that it repeats, if it does."""

    language: str | None
    text: str
    line: int
    snippet: str | None = None


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
        snippet, index = None, 0
        while index < len(lines):
            line = lines[index]
            fence = re.match(r"(```+|~~~+)\s*(\S*)", line)
            marker = re.match(r"<!--\s*snippet:\s*(\S+)\s*-->\s*$", line)
            if fence:
                end = index + 1
                while end < len(lines) and lines[end].rstrip() != fence.group(1):
                    end += 1
                if end == len(lines):
                    raise ValueError(f"{self.path}:{index + 1}: this code block does not end")
                text = "\n".join(lines[index + 1 : end]) + "\n"
                self.blocks.append(Block(fence.group(2), text, index + 1, snippet))
                index = end
            elif marker:
                if not lines[index + 1].startswith("```"):
                    raise ValueError(f"{self.path}:{index + 1}: no code block follows this marker")
                snippet = marker.group(1)
                index += 1
                continue
            elif line.startswith("    ") and (index == 0 or lines[index - 1] == "") and not self._in_list(lines, index):
                end = index
                while end < len(lines) and (lines[end].startswith("    ") or lines[end] == ""):
                    end += 1
                text = "\n".join(each[4:] for each in lines[index:end]).rstrip("\n") + "\n"
                self.blocks.append(Block(None, text, index + 1))
                index = end - 1
            else:
                self._read_prose(line, index + 1)
            snippet = None
            index += 1

    @staticmethod
    def _in_list(lines, index):
        """Whether the paragraph before is an item of a list, which deeper lines continue."""
        while index > 0 and (lines[index] == "" or lines[index].startswith(" ")):
            index -= 1
        return re.match(r"[-*+] |\d+\. ", lines[index]) is not None

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
        for image, target in re.findall(r"(!?)\[[^\[\]]*(?:!\[[^\]]*\]\([^)]*\))?[^\[\]]*\]\(([^)\s]+)[^)]*\)", prose):
            self.links.append(Link(target, number, image == "!"))
        for target in re.findall(r"!\[[^\]]*\]\(([^)\s]+)[^)]*\)", prose):
            if not any(link.image and link.target == target and link.line == number for link in self.links):
                self.links.append(Link(target, number, True))

    def commands(self):
        """What a reader can type: sh blocks, and indented blocks of nothing but calls of the tool."""
        return [
            block
            for block in self.blocks
            if block.language == "sh"
            or block.language is None
            and all(line.startswith("kavfilt ") for line in block.text.strip().split("\n"))
        ]


def slug(heading):
    """The anchor that a heading gets where Markdown is shown."""
    text = re.sub(r"[`*_]|\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
