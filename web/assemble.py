"""Puts the page that reads files together: one file, with the hashes of its scripts and styles and of those of the
report that it shows.

Arguments: the folder of its parts, the module without its extension, the source of the report's page, the page to write.
"""
import base64
import gzip
import hashlib
import re
import sys
from pathlib import Path

parts, module, report, page = map(Path, sys.argv[1:])


def read(*names):
    return "".join((parts / name).read_text(encoding="utf-8") for name in names)


def hashes(text, kind):
    """The page's own, and the report's: what stands in its frame keeps to both policies."""
    own = base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()
    theirs = re.search(kind + r"-src '(sha256-[^']*)'", report.read_text(encoding="utf-8"))[1]
    return "'sha256-%s' '%s'" % (own, theirs)


loader = module.with_suffix(".js").read_text(encoding="utf-8")
code = gzip.compress(module.with_suffix(".wasm").read_bytes(), mtime=0)
texts = {"style": "\n" + read("page.css"), "script": "\n" + read("zip.js", "page.js"), "worker": loader + "\n" + read("worker.js"),
         "module": base64.b64encode(code).decode()}
texts["script-hashes"] = hashes(texts["script"], "script")
texts["style-hashes"] = hashes(texts["style"], "style")
assert not any("</script" in text.lower() for text in texts.values()), "a text that would end its element"
page.write_text(re.sub(r"\{\{([a-z-]+)\}\}", lambda name: texts[name[1]], read("page.html")), encoding="utf-8")
