#!/usr/bin/env python3
"""Follows every relative link of the documents in the source folder and in an installation: the file is there, and
has the heading that a link names.

    links_test.py CMAKE BUILD-FOLDER SOURCE-FOLDER
"""
import pathlib
import re
import subprocess
import sys
import tempfile

LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")


def without_code(text):
    """Code may look like a link, and has none."""
    text = re.sub(r"^```.*?^```", "", text, flags=re.M | re.S)
    return re.sub(r"`[^`\n]*`", "", text)


def anchors(text):
    """Headings, as readers of Markdown make names of them."""
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```", "", text, flags=re.M | re.S), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def check(root, documents):
    """Tells how many links were followed and which lead nowhere."""
    followed, broken = 0, []
    for document in documents:
        for target in LINK.findall(without_code(document.read_text())):
            if re.match(r"[a-z]+:", target):
                continue
            path, _, anchor = target.partition("#")
            to = (document.parent / path).resolve() if path else document
            followed += 1
            inside = root.resolve() in [to, *to.parents]
            if not inside or not to.exists():
                broken.append(f"{document.relative_to(root)}: {target}")
            elif anchor and anchor not in anchors(to.read_text()):
                broken.append(f"{document.relative_to(root)}: {target} (no such heading)")
    return followed, broken


def documents_of(source, build):
    """The documents that git knows or does not ignore; without git, as in an unpacked archive, all but those of the
    build folder."""
    try:
        listed = subprocess.run(["git", "-C", source, "ls-files", "--cached", "--others", "--exclude-standard", "*.md"],
                                capture_output=True, text=True, check=True)
        return [pathlib.Path(source, name) for name in listed.stdout.splitlines()]
    except (FileNotFoundError, subprocess.CalledProcessError) as error:
        print(f"git does not list the documents, so all below {source} are read: {error}", file=sys.stderr)
        return [path for path in pathlib.Path(source).rglob("*.md") if pathlib.Path(build) not in path.parents]


def main():
    cmake, build, source = sys.argv[1:]
    documents = documents_of(source, build)
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        for component in ("library", "development", "tool"):
            subprocess.run([cmake, "--install", build, "--prefix", folder, "--component", component], check=True,
                           stdout=subprocess.DEVNULL)
        installed = pathlib.Path(folder, "share/doc/plx")
        for place, root, pages in (("source", pathlib.Path(source), documents),
                                   ("installation", installed, sorted(installed.rglob("*.md")))):
            followed, broken = check(root, pages)
            print(f"{place}: {len(pages)} documents, {followed} links, {len(broken)} broken")
            for link in broken:
                print(f"  {link}", file=sys.stderr)
            # Fewer would mean that the documents were not found.
            failed |= bool(broken) or len(pages) < 15 or followed < 20
    return failed


if __name__ == "__main__":
    sys.exit(main())
