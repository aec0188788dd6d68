#!/usr/bin/env python3
"""Puts the page of `nimbrel report` together from its files and dygraphs, and cuts it in two where
the data goes.

    assemble.py DYGRAPHS OUT

DYGRAPHS is the folder with dygraph.min.js and dygraph.min.css. Writes OUT/head.html and
OUT/tail.html. The page's policy lets the browser run and load what is in it now, by its hash, and
nothing else.

The scripts are modules, so that each says what it needs of the others. A page without a network
cannot load modules, so that they are joined into one, each after those that it imports."""
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


IMPORT = re.compile(r"^import \{[^}]*\} from '\./(\w+\.js)';\n", re.MULTILINE)


def joined(name, included):
    """A module after those that it imports and that are not included yet."""
    if name in included:
        return ""
    included.add(name)
    text = read(PAGE / name)
    imported = "".join(joined(each, included) for each in IMPORT.findall(text))
    own = re.sub(r"^export ", "", IMPORT.sub("", text), flags=re.MULTILINE)
    return f"{imported}\n// {name}\n\n{own}"


def hashed(text):
    digest = hashlib.sha256(text.encode()).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def assemble(dygraphs):
    parts = {
        "STYLE": read(PAGE / "page.css"),
        "DYGRAPHS-STYLE": read(dygraphs / "dygraph.min.css"),
        "DYGRAPHS": read(dygraphs / "dygraph.min.js"),
        "SCRIPT": joined("page.js", set()),
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
