#!/usr/bin/env python3
"""Puts the page of `nimbrel report` together from its files and dygraphs, and cuts it in two where
the data goes.

    assemble.py DYGRAPHS OUT

DYGRAPHS is the folder with dygraph.min.js and dygraph.min.css. Writes OUT/head.html and
OUT/tail.html. The page's policy lets the browser run and load what is in it now, by its hash, and
nothing else."""
import base64
import hashlib
import pathlib
import re
import sys

PAGE = pathlib.Path(__file__).parent


def read(path):
    """A file without its pointer to a source map, which the browser's inspector would look for."""
    return re.sub(r"\n?/[/*]# sourceMappingURL=\S+( \*/)?\s*$", "\n",
                  path.read_text(encoding="utf-8"))


def hashed(text):
    digest = hashlib.sha256(text.encode()).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def assemble(dygraphs):
    parts = {
        "STYLE": read(PAGE / "page.css"),
        "DYGRAPHS-STYLE": read(dygraphs / "dygraph.min.css"),
        "DYGRAPHS": read(dygraphs / "dygraph.min.js"),
        "SCRIPT": read(PAGE / "page.js"),
    }
    for name, text in parts.items():
        if re.search(r"</(script|style)", text, re.IGNORECASE):
            sys.exit(f"{name} would end its own element")
    parts["POLICY"] = "; ".join([
        "default-src 'none'",
        f"script-src {hashed(parts['DYGRAPHS'])} {hashed(parts['SCRIPT'])}",
        f"style-src {hashed(parts['DYGRAPHS-STYLE'])} {hashed(parts['STYLE'])}",
        "img-src data:", "base-uri 'none'", "form-action 'none'",
    ])
    page = (PAGE / "page.html").read_text(encoding="utf-8")
    return re.sub(r"\{\{([A-Z-]+)\}\}",
                  lambda match: parts.get(match[1], match[0]), page).split("{{DATA}}")


if __name__ == "__main__":
    out = pathlib.Path(sys.argv[2])
    head, tail = assemble(pathlib.Path(sys.argv[1]))
    (out / "head.html").write_text(head, encoding="utf-8")
    (out / "tail.html").write_text(tail, encoding="utf-8")
