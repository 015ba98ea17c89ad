"""Every relative link of every page leads to a file of the tree and to a heading that is there."""

from __future__ import annotations

import unittest

import links


class Links(unittest.TestCase):
    maxDiff = None

    def test_all_pages(self) -> None:
        found = [(name, t) for name in links.page_names() for t in links.targets(links.read(name))]
        self.assertIn(("README.md", "ARCHITECTURE.md"), found)
        mistakes = [links.mistake(name, target) for name, target in found]
        self.assertEqual([mistake for mistake in mistakes if mistake], [])

    def test_every_page_is_reached_from_the_readme(self) -> None:
        reached, waiting = set(), {"README.md"}
        while waiting:
            name = waiting.pop()
            reached.add(name)
            linked = {
                links.page_of(name, target)
                for target in links.targets(links.read(name))
                if not links.is_outside(target)
            }
            waiting |= {page for page in linked if page.endswith(".md")} - reached
        # What lies in hidden folders is for the tools that look for it there.
        pages = {name for name in links.page_names() if not name.startswith(".")}
        self.assertEqual(sorted(pages - reached), [])


class Reader(unittest.TestCase):
    """The reader of pages itself, on a made-up page."""

    PAGE = """# The page

[One](a.md#first) and ![two](b.svg), [![three](c.svg)](d.md "title"), `[no](e.md)`.
<picture><source srcset="f.svg"><img alt="four" src="g.svg"></picture>

## It's *here*, (two) `words`
## Дошка і фігури
## Twice
## Twice

    [no](h.md)

```sh not run
# [no](i.md)
```

[five]: j.md
"""

    def test_targets(self) -> None:
        self.assertEqual(
            sorted(links.targets(self.PAGE)),
            ["a.md#first", "b.svg", "c.svg", "d.md", "f.svg", "g.svg", "j.md"],
        )

    def test_anchors(self) -> None:
        self.assertEqual(
            links.anchors(self.PAGE),
            {"the-page", "its-here-two-words", "дошка-і-фігури", "twice", "twice-1"},
        )

    def test_mistakes(self) -> None:
        page = "docs/datagen.md"
        for target in ("../LICENSE", "performance.md#figures", "#options", "../src", "x://y"):
            with self.subTest(target=target):
                self.assertEqual(links.mistake(page, target), "")
        for target in ("LICENSE", "/LICENSE", "../../x.md"):
            with self.subTest(target=target):
                self.assertEqual(links.mistake(page, target), f"{page}: {target}: no such file")
        for target in ("performance.md#none", "../LICENSE#none", "#none"):
            with self.subTest(target=target):
                self.assertEqual(links.mistake(page, target), f"{page}: {target}: no such heading")


if __name__ == "__main__":
    unittest.main()
