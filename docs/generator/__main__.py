"""Writes what is generated from the IDL: the reference and the TypeScript declarations.

Usage: python3 docs/generator [--check]     (--check writes nothing and tells which file is out of date)
"""

import sys

import idl
import reference
import typescript

OUTPUTS = {
    "docs/reference.md": reference.render,
    "samples/typescript/kzrsecx.d.ts": typescript.render,
}


def main():
    stale = 0
    for name, render in OUTPUTS.items():
        path = idl.ROOT / name
        text = render()
        if path.is_file() and path.read_text(encoding="utf-8") == text:
            continue
        if "--check" in sys.argv[1:]:
            stale += 1
            print(f"{name} is out of date: run python3 docs/generator")
        else:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
            print(f"wrote {name}")
    return 1 if stale else 0


sys.exit(main())
