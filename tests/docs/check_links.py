#!/usr/bin/env python3
"""Checks, without a network, that links lead somewhere.

usage: check_links.py [PAGE...]      Markdown pages: all of them by default
       check_links.py --site FOLDER  a built site

Files, anchors and pictures that are linked exist. A site loads nothing from elsewhere.
"""

import argparse
import html.parser
import pathlib
import re
import sys
import urllib.parse

import markdown


def is_external(target):
    return re.match(r"[a-z][a-z0-9+.-]*:|//", target) is not None


def check_pages(paths):
    errors, count = [], 0
    for path in map(pathlib.Path, paths):
        page = markdown.Page(path)
        for link in page.links:
            if is_external(link.target):
                continue
            count += 1
            name, _, anchor = link.target.partition("#")
            target = path.parent / name if name else path
            if not target.exists():
                name = rf"\b{re.escape(target.name)}\b"
                if not link.image or not any(re.search(name, block.text) for block in page.commands()):
                    errors.append(f"{path}:{link.line}: there is no {link.target}")
            elif anchor and (target.suffix != ".md" or anchor not in markdown.Page(target).anchors):
                errors.append(f"{path}:{link.line}: {name or path.name} has no heading #{anchor}")
    return count, errors


class SitePage(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.anchors, self.links, self.loads = set(), [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.anchors.update(values[key] for key in ("id", "name") if values.get(key))
        for key in ("href", "src", "data"):
            if values.get(key) and not values[key].startswith(("javascript:", "data:")):
                (self.links if tag == "a" else self.loads).append(values[key])


def check_site(folder):
    folder = pathlib.Path(folder).resolve()
    parsed = {path: SitePage(path.read_text(encoding="utf-8")) for path in sorted(folder.rglob("*.html"))}
    errors, count = [], 0

    def check_target(path, target):
        name, _, anchor = target.partition("#")
        file = (path.parent / urllib.parse.unquote(name.partition("?")[0])).resolve() if name else path
        if not file.exists():
            errors.append(f"{path}: there is no {target}")
        elif anchor and urllib.parse.unquote(anchor) not in (parsed[file].anchors if file in parsed else ()):
            errors.append(f"{path}: {file.name} has no anchor #{anchor}")

    for path, page in parsed.items():
        for target in page.links + page.loads:
            if not is_external(target):
                count += 1
                check_target(path, target)
            elif target in page.loads:
                errors.append(f"{path}: loads {target} from elsewhere")
    # The menu and the search index are scripts; style sheets load pictures.
    for path in sorted(folder.rglob("*.js")):
        text = path.read_text(encoding="utf-8", errors="replace")
        base = folder / "index.html" if path.name == "menudata.js" else path
        menu = re.findall(r"url:\s*[\"']([^\"']+)[\"']", text)
        found = re.findall(r"['\"](\.\./[^'\"]+\.html[^'\"]*)", text)
        for target in menu + found:
            if not is_external(target):
                count += 1
                check_target(base, target)
    for path in sorted(folder.rglob("*.css")):
        for target in re.findall(r"url\(['\"]?([^'\")]+)", path.read_text(encoding="utf-8")):
            if target.startswith("data:"):
                continue
            if is_external(target):
                errors.append(f"{path}: loads {target} from elsewhere")
            else:
                count += 1
                check_target(path, target)
    return count, errors


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--site")
    parser.add_argument("pages", nargs="*")
    options = parser.parse_args()
    if options.site:
        count, errors = check_site(options.site)
    else:
        count, errors = check_pages(options.pages or markdown.pages())
    for error in errors:
        print(error, file=sys.stderr)
    print(f"{count} links checked")
    return 1 if errors or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
