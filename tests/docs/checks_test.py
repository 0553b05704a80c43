#!/usr/bin/env python3
"""Each check of the documentation finds what it is there for."""

import pathlib
import sys
import tempfile
import unittest

import check_code
import check_links
import markdown
import run_commands

sys.path.insert(0, str(markdown.ROOT / "docs" / "site"))
import header_filter  # pylint: disable=wrong-import-position,wrong-import-order
import page_filter  # pylint: disable=wrong-import-position,wrong-import-order


class Checks(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in ("docs", "examples", "tests/docs", "scripts"):
            (self.root / name).mkdir(parents=True)
        self.write("CMakePresets.json", '{"configurePresets": [{"name": "release"}]}')
        self.write("scripts/demo", "")

    def write(self, name, text):
        path = self.root / name
        path.write_text(text, encoding="utf-8")
        return path

    def code_errors(self, text):
        _, errors = check_code.check([self.write("docs/page.md", text)], "c++", self.root)
        return "\n".join(errors)

    def test_whole_files_compile(self):
        self.assertEqual(self.code_errors("```cpp\nint f() { return 1; }\n```\n"), "")
        broken = "\n\n```cpp\nint f() { return x; }\n```\n"
        self.assertIn("page.md:3: does not compile", self.code_errors(broken))

    def test_excerpts_are_those_of_the_file(self):
        self.write("examples/a.cpp", "int main() {\n    // [loop]\n    for (;;) {\n    }\n    // [loop]\n}\n")
        self.write("examples/CMakeLists.txt", "add_example(a)\n")
        page = "<!-- snippet: loop -->\n```cpp\nfor (;;) {\n}\n```\n"
        self.assertEqual(self.code_errors(page), "")
        self.assertIn("differs from [loop]", self.code_errors(page.replace("{", "{ ")))
        self.assertIn("marks [lop]", self.code_errors(page.replace("loop", "lop")))
        other = self.write("examples/b.cpp", "// [loop]\n// [loop]\n")
        self.assertIn("b.cpp marks [loop], too", self.code_errors(page))
        other.unlink()
        self.write("examples/CMakeLists.txt", "add_example(b)\n")
        self.assertIn("is not built", self.code_errors(page))
        self.write("examples/a.cpp", "// [loop]\n")
        self.assertIn("is marked 1 times", self.code_errors(page))

    def test_no_block_goes_unchecked(self):
        self.assertEqual(self.code_errors("```text\n?\n```\n"), "")
        self.assertIn("nothing checks", self.code_errors("```c++\nint i;\n```\n"))
        self.assertIn("does not end", self.code_errors("```cpp\nint i;\n"))
        self.assertIn("no code block follows", self.code_errors("<!-- snippet: a -->\n\n"))

    def test_scripts_and_presets_exist(self):
        self.assertEqual(self.code_errors("\n    scripts/demo\n    cmake --preset release\n"), "")
        self.assertIn("there is no scripts/dem", self.code_errors("\n    scripts/dem\n"))
        self.assertIn("there is no preset fast", self.code_errors("\n    cmake --preset fast\n"))

    def link_errors(self, text):
        _, errors = check_links.check_pages([self.write("docs/page.md", text)])
        return "\n".join(errors)

    def test_links_of_pages(self):
        self.write("docs/other.md", "# A `b` title\n")
        good = "[a](other.md) [b](other.md#a-b-title) [c](https://example.org/x)\n"
        self.assertEqual(self.link_errors(good), "")
        self.assertIn("no heading #b", self.link_errors("[![x](other.md)](other.md#b)\n"))
        self.assertIn("page.md:2: there is no othre.md", self.link_errors("\n[a](othre.md)\n"))
        self.assertIn("no heading #a-title", self.link_errors("[a](other.md#a-title)\n"))
        self.assertIn("there is no x.png", self.link_errors("| ![x](x.png) | y |\n"))
        self.assertEqual(self.link_errors("![x](x.png)\n```sh\nkavfilt demo -o x.png\n```\n"), "")

    def site_errors(self, text):
        self.write("index.html", text)
        _, errors = check_links.check_site(self.root)
        return "\n".join(errors)

    def test_links_of_the_site(self):
        good = '<p id="a"><a href="#a">x</a><a href="https://example.org">y</a>'
        self.assertEqual(self.site_errors(good), "")
        self.assertIn("there is no b.html", self.site_errors('<a href="b.html">x</a>'))
        self.assertIn("no anchor #b", self.site_errors('<a href="index.html#b">x</a>'))
        self.assertIn("from elsewhere", self.site_errors('<script src="https://example.org/a.js"></script>'))
        self.write("menudata.js", "var menudata={children:[{text:'x',url:'gone.html'}]}")
        self.assertIn("there is no gone.html", self.site_errors(""))
        self.write("menudata.js", "")
        self.write("a.css", "a { background: url(//example.org/a.png) }")
        self.assertIn("from elsewhere", self.site_errors(""))

    def command_errors(self, text):
        page = self.write("docs/page.md", text)
        _, _, errors = run_commands.check(page, self.root / "bin" / "kavfilt", self.root / "work")
        return "\n".join(errors)

    def test_commands(self):
        self.assertEqual(self.command_errors("```sh\necho 1 > a\n```\n\n```sh\ntest -s a\n```\n"), "")
        self.assertIn("page.md:2: exit code 1", self.command_errors("\n```sh\nfalse\ntrue\n```\n"))
        self.assertIn("page.md:1: exit code", self.command_errors("| `{ false; }` |\n"))
        self.assertIn("page.md:2: exit code 127", self.command_errors("\n    kavfilt info x.png\n"))
        self.assertEqual(self.command_errors("```sh\n: > a.png\n```\n![a](a.png)\n"), "")
        self.assertIn("no command makes b.png", self.command_errors("```sh\n: > a.png\n```\n![a](b.png)\n"))

    def test_output(self):
        page = "```sh\necho 1\necho 2\n```\n\n<!-- output -->\n```text\n1\n2\n```\n"
        self.assertEqual(self.command_errors(page), "")
        other = self.command_errors(page.replace("echo 2", "echo 3"))
        self.assertIn("page.md:7: the commands print\n1\n3\n", other)

    def test_kept_pictures_are_what_commands_make(self):
        pictures = markdown.ROOT / "docs" / "pictures"
        for name, message in (("blob.png", ""), ("cut-out.png", "is not what the commands make")):
            (self.root / "docs" / "blob.png").write_bytes((pictures / name).read_bytes())
            text = f"```sh\ncp {pictures}/blob.png .\n```\n![blob](blob.png)\n"
            errors = self.command_errors(text)
            self.assertTrue(message in errors and bool(message) == bool(errors), errors)

    def test_a_comment_stands_for_overloads_that_follow_directly(self):
        shared = "    /// Width.\n    void width(long value);\n    [[nodiscard]] long width() const;\n"
        seen = header_filter.share_comments(shared)
        self.assertIn("/** Width. */     [[nodiscard]] long width() const;", seen)
        other_name = shared.replace(" long width()", " long height()")
        apart = shared.replace(";\n    [", ";\n\n    [")
        for text in (other_name, apart):
            self.assertEqual(header_filter.share_comments(text), text)
        pair = "/// Equal.\nbool operator==(A a, A b);\nbool operator!=(A a, A b);\n"
        self.assertIn("/** The opposite of operator==. */ bool operator!=", header_filter.share_comments(pair))
        inside = "/// A class.\nclass A {\npublic:\n    A();\n};\n"
        self.assertEqual(header_filter.share_comments(inside), inside)

    def test_private_parts_are_left_out(self):
        text = "class A {\npublic:\n    int a;\nprivate:\n    int b;\n};\nint c;\n"
        self.assertEqual(
            header_filter.without_private_parts(text), "class A {\npublic:\n    int a;\n\n\n};\nint c;\n"
        )

    def test_pages_are_written_for_doxygen(self):
        self.assertEqual(page_filter.filter_page("see [`a/`](a.md), `b`"), "see [a/](a.md), `b`")
        linked = page_filter.filter_page("[x](../b/c.md), [y](d.md#e), [z](https://f.g/h.md)", "docs")
        self.assertEqual(linked, "[x](b/c.md), [y](docs/d.md#e), [z](https://f.g/h.md)")
        cell = "| `a \\| b > c` | `d` |"
        self.assertEqual(page_filter.filter_page(cell), "| <code>a \\| b &gt; c</code> | `d` |")
        fenced = "```sh\n| `a \\| b` |\n```"
        self.assertEqual(page_filter.filter_page(fenced), fenced)


if __name__ == "__main__":
    unittest.main()
