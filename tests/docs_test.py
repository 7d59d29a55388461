"""What the docs say: their commands run, their programs compile, their links lead somewhere.

Usage: docs_test.py SOURCE_DIR BUILD_DIR

Each fenced block of README.md, docs/*.md and the package's README names its language. sh is run, c and cpp are
compiled, cmake is configured, in a copy of the tree that shares what is built already; text, mermaid and ini are only
shown. HTML comments, which readers of the page don't see, say what else holds of the block that follows:
  <!-- not run: WHY -->     it can't be tried here
  <!-- file: NAME -->       it is a file that the blocks after it use
  <!-- from: FILE -->       its lines stand in that file, which is built and tried elsewhere
  <!-- in: PARAMETERS -->   statements, compiled in a function with these parameters behind the module's header
  <!-- printed -->          its lines are printed by the sh block before it
  <!-- blocks run in the package -->  for all of a page: in a folder where the package is installed
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SOURCE, BUILD = (Path(argument).resolve() for argument in sys.argv[1:])
WORK = BUILD / "docs-test"
TREE, PACKAGE, SHIMS = WORK / "tree", WORK / "package", WORK / "shims"
PREFIXES = [TREE / "build/mingw32/wine/scan", PACKAGE / "wine"]
C, CPP = ["i686-w64-mingw32-gcc", "-std=c89"], ["i686-w64-mingw32-g++", "-std=c++17"]
WARNINGS = ["-Wall", "-Wextra", "-Werror", "-Wno-unused", "-pedantic"]
ENVIRONMENT = {key: value for key, value in os.environ.items() if not key.startswith("VSCAN_")}
# Never the user's own Wine prefix, whatever a block leaves out.
ENVIRONMENT["WINEPREFIX"] = str(PREFIXES[1])
ENVIRONMENT["PATH"] = f"{SHIMS}:{os.environ['PATH']}"
MARKER = re.compile(r"<!-- (not run|file|from|in|printed)(?:: (.*))? -->")

failures = []
counts = Counter()


def fail(place, text):
    failures.append(f"{place}: {text}")


def run(command, place, folder):
    """What the command printed; None if it failed."""
    # A file, as Wine's desktop process keeps a pipe open for seconds.
    with tempfile.TemporaryFile("w+", errors="replace") as output:
        done = subprocess.run(command, cwd=folder, env=ENVIRONMENT, stdin=subprocess.DEVNULL, stdout=output,
                              stderr=subprocess.STDOUT, timeout=120)
        output.seek(0)
        printed = output.read()
    if done.returncode == 0:
        return printed
    last_lines = "\n".join(printed.splitlines()[-30:])
    fail(place, f"ends with {done.returncode}\n{last_lines}")
    return None


def link_entries(source, target):
    target.mkdir(parents=True)
    for entry in source.iterdir():
        (target / entry.name).symlink_to(entry)


def prepare():
    """The tree: its own scripts, products and Wine prefix, so that nothing that a block writes reaches the others."""
    shutil.rmtree(WORK, ignore_errors=True)
    TREE.mkdir(parents=True)
    for entry in SOURCE.iterdir():
        if entry.name not in (".git", "build", "out", "scripts"):
            (TREE / entry.name).symlink_to(entry)
    link_entries(SOURCE / "scripts", TREE / "scripts")
    (TREE / "scripts/build.sh").unlink()
    (TREE / "scripts/build.sh").symlink_to("/bin/true")  # the build is there
    link_entries(BUILD / "bin", TREE / "build/mingw32/bin")
    (TREE / "build/mingw32/lib").symlink_to(BUILD / "lib")
    (TREE / "build/mingw32/wine").mkdir()
    subprocess.run(["cp", "-al", BUILD / "wine/base", TREE / "build/mingw32/wine/base"], check=True)
    SHIMS.mkdir()
    for program in ("smscan", "smtrace"):
        shim = SHIMS / program
        shim.write_text(f'#!/bin/sh\nexec "{TREE}/scripts/wine.sh" "{TREE}/build/mingw32/bin/{program}.exe" "$@"\n')
        shim.chmod(0o755)
    run(["cmake", "--install", BUILD, "--prefix", PACKAGE, "--component", "product"], "the package", SOURCE)


def blocks(page):
    """Of each fenced block its place, language, marker, the marker's value and its lines."""
    lines = page.read_text().splitlines()
    opened = None
    for number, line in enumerate(lines, 1):
        if opened is None and line.lstrip().startswith("```"):
            marker = MARKER.fullmatch(lines[number - 2].strip()) if number > 1 else None
            place, language = f"{os.path.relpath(page, SOURCE)}:{number}", line.strip("` ").partition(" ")[0]
            opened, body = (place, language, *(marker.groups() if marker else ("", ""))), []
        elif opened and line.strip() == "```":
            yield (*opened, body)
            opened = None
        elif opened:
            body.append(line)
        elif line.startswith("    ") and not lines[number - 2].strip():
            fail(f"{page.name}:{number}", "a block by indentation; write a fenced one, which says what it is")


def compile_block(place, folder, language, parameters, body):
    header = "scanmodule.hpp" if language == "cpp" else "scanmodule.h"
    head = ["#include <stdio.h>", f"#include <scanmodule/{header}>"]
    if parameters is not None:
        body = [*head, f"void block({parameters}) {{", *body, "}"]
    file = folder / f"block.{language}"
    file.write_text("\n".join(body) + "\n")
    compiler = CPP if language == "cpp" else C
    run([*compiler, *WARNINGS, "-fsyntax-only", f"-I{SOURCE}/include", file], place, folder)


def configure_block(place, folder, body):
    folder = folder / "configured"
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "third_party").mkdir(parents=True)
    (folder / "third_party/scanmodule").symlink_to(SOURCE)
    shutil.copy(SOURCE / "examples/simplest.c", folder / "host.c")
    head = ["cmake_minimum_required(VERSION 3.21)", "project(host C CXX)", "add_executable(host host.c)"]
    (folder / "CMakeLists.txt").write_text("\n".join(head + body) + "\n")
    run(["cmake", "-S", ".", "-B", "build", "-G", "Ninja", "--toolchain", SOURCE / "cmake/mingw32.cmake",
         f"-DScanModule_DIR={PACKAGE}/lib/cmake/ScanModule"], place, folder)


def is_excerpt(file, body):
    def lines(text):
        return "\n".join(line.strip() for line in text if line.strip())
    return lines(body) in lines((SOURCE / file).read_text().splitlines())


def try_in_turn(pages, folder):
    """Each page begins with what is there for all."""
    there = set(folder.iterdir())
    for page in pages:
        try_page(page, folder)
        for entry in set(folder.iterdir()) - there:
            shutil.rmtree(entry, ignore_errors=True) if entry.is_dir() else entry.unlink()


def try_page(page, folder):
    exported = folder / "exported"  # what a block exports holds for the next ones of its page
    printed = ""
    for place, language, marker, value, body in blocks(page):
        if marker == "not run":
            counts[f"not run ({value})"] += 1
        elif marker == "printed":
            counts["outputs compared"] += 1
            for line in body:
                if line not in printed.splitlines():
                    fail(place, f'"{line}" is not printed by the block before, but\n{printed}')
        elif marker == "from":
            counts["excerpts compared"] += 1
            if not is_excerpt(value, body):
                fail(place, f"these lines don't stand so in {value}")
        elif language == "sh":
            counts["run"] += 1
            script = [f"[[ ! -e '{exported}' ]] || . '{exported}'", *body, f"export -p >'{exported}'"]
            printed = run(["bash", "-euo", "pipefail", "-c", "\n".join(script)], place, folder)
            if printed is None:
                return  # what follows builds on it
        elif language in ("c", "cpp"):
            counts["compiled"] += 1
            compile_block(place, folder, language, value if marker == "in" else None, body)
        elif language == "cmake":
            counts["configured"] += 1
            configure_block(place, folder, body)
        elif language not in ("text", "mermaid", "ini"):
            fail(place, f'a block of "{language}": sh, c, cpp, cmake, text, mermaid, ini, or else marked "not run"')
        if marker == "file":
            (folder / value).write_text("\n".join(body) + "\n")


def anchors(page):
    """The names that hosting sites give headings."""
    heads = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```", "", page.read_text(), flags=re.M | re.S), re.M)
    return {re.sub(r"[^\w\- ]", "", head.lower()).replace(" ", "-") for head in heads}


def check_links(page, root):
    text = re.sub(r"^```.*?^```", "", page.read_text(), flags=re.M | re.S)
    for target in re.findall(r"(?:\]\(|src=\")([^)\"\s]+)", text):
        if "://" in target:
            continue
        counts["links"] += 1
        path, _, anchor = target.partition("#")
        file = page.parent / path if path else page
        if not file.exists():
            fail(page.relative_to(root), f"the link to {target} leads nowhere")
        elif anchor and anchor not in anchors(file):
            fail(page.relative_to(root), f"the link to {target} finds no such heading")
    if root == SOURCE:
        folders = "|".join({entry.name for entry in SOURCE.iterdir() if entry.is_dir()} - {"build", "out"})
        for path in re.findall(rf"`((?:{folders})/[\w./-]*\w)`", text):
            if "..." in path or path.rpartition("/")[2].isupper():
                continue  # a placeholder
            counts["files named"] += 1
            if not (SOURCE / path).exists():
                fail(page.relative_to(root), f"there is no {path}")


def main():
    prepare()
    pages = [SOURCE / "README.md", *sorted((SOURCE / "docs").glob("*.md"))]
    # By folder, as the blocks of one may write the same files.
    by_folder = {PACKAGE: [PACKAGE / "README.md"], TREE: []}
    for page in pages:
        by_folder[PACKAGE if "<!-- blocks run in the package -->" in page.read_text() else TREE].append(page)
    try:
        with ThreadPoolExecutor() as pool:
            list(pool.map(lambda folder: try_in_turn(by_folder[folder], folder), by_folder))
    finally:
        for prefix in filter(Path.exists, PREFIXES):
            for option in ("-k", "-w"):
                subprocess.run(["wineserver", option], env=dict(ENVIRONMENT, WINEPREFIX=str(prefix)), check=False)
    for page in [*pages, SOURCE / "CONTRIBUTING.md", SOURCE / "CHANGELOG.md"]:
        check_links(page, SOURCE)
    for page in [PACKAGE / "README.md", PACKAGE / "CHANGELOG.md", *sorted((PACKAGE / "docs").glob("*.md"))]:
        check_links(page, PACKAGE)
    print("\n".join(failures))
    print("In the docs: " + "\n  ".join(["", *(f"{count:3} {what}" for what, count in sorted(counts.items()))]))
    for kind in ("run", "compiled", "configured", "links"):
        if not counts[kind]:
            fail("docs_test", f"nothing was found to be {kind}")
    if not failures:
        shutil.rmtree(WORK)
    sys.exit(1 if failures else 0)


main()
