#!/usr/bin/env python3
"""Static analysis of what has changed since it last passed.

analyse.py [--all] [--record] BUILD_DIRECTORY

BUILD_DIRECTORY is a finished Ninja build with compile commands. A source file is analysed unless the list .ci/analysed says that it passed
with this very content, headers and settings included. The list is part of the project, so that a fresh clone knows it;
--record writes it after a run without findings. It may be behind (more is analysed) and never lies (content is the key).
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIST = ROOT / ".ci" / "analysed"
FOLDERS = ("src/", "tools/", "raster/src/")


def dependencies(build):
    """The files that each object was made from, as Ninja noted them while building."""
    text = subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True, check=True).stdout
    result, current = {}, None
    for line in text.splitlines():
        if line.startswith(" "):
            result[current].append((build / line.strip()).resolve())
        elif ": #deps" in line:
            current = line.split(": #deps")[0]
            result[current] = []
    return result


def within(path):
    """The path from the project's root, or None for a file of the system or of the build."""
    try:
        relative = path.relative_to(ROOT)
    except ValueError:
        return None
    return None if relative.parts[0] == "build" else relative.as_posix()


def units(build):
    """Source file -> key of its content, its headers and the settings."""
    settings = (ROOT / ".clang-tidy").read_bytes()
    made_from = dependencies(build)
    content, result = {}, {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        source = within(pathlib.Path(entry["file"]).resolve())
        if source is None or not source.startswith(FOLDERS) or source in result:
            continue
        words = entry["command"].split()
        target = words[words.index("-o") + 1]
        if target not in made_from:
            sys.exit(f"{target} has not been built: analyse after the build")
        key = hashlib.sha256(settings)
        for file in sorted(filter(None, map(within, made_from[target]))):
            if file not in content:
                content[file] = hashlib.sha256((ROOT / file).read_bytes()).digest()
            key.update(file.encode() + content[file])
        result[source] = key.hexdigest()[:20]
    return result


def analyse(build, source):
    """Output of clang-tidy, empty when it finds nothing."""
    run = subprocess.run(["clang-tidy", "-p", build, "--quiet", ROOT / source], capture_output=True, text=True)
    return run.stdout + run.stderr if run.returncode else ""


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("build", type=pathlib.Path)
    arguments.add_argument("--all", action="store_true", help="analyse everything")
    arguments.add_argument("--record", action="store_true", help="write the list of what passed")
    options = arguments.parse_args()
    build = options.build.resolve()

    keys = units(build)
    passed = dict(reversed(line.split()) for line in LIST.read_text().splitlines()) if LIST.exists() else {}
    wanted = sorted(source for source, key in keys.items() if options.all or passed.get(source) != key)
    print(f"{len(wanted)} of {len(keys)} source files to analyse", flush=True)

    faults = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source, output in zip(wanted, pool.map(lambda source: analyse(build, source), wanted)):
            if output:
                faults += 1
                print(f"{source}:\n{output}", flush=True)
    if faults:
        sys.exit(f"static analysis: findings in {faults} files")
    if options.record:
        LIST.write_text("".join(f"{key} {source}\n" for source, key in sorted(keys.items())))


if __name__ == "__main__":
    main()
