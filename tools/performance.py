#!/usr/bin/env python3
"""performance - medians of the benchmark runs, beside the aims

usage: performance.py [--guard] [--write FILE] JSON...

Reads what the programs under bench/ write with --benchmark_out: single runs of "<case>/ours" and "<case>/peer" that
alternate in one process. bench/aims.txt names the peer and the least ratio of every case that has one. Prints the table,
or writes it as a document. With --guard a ratio below 80 % of its aim is an error, and so is a case that was not run.
"""
import argparse
import json
import pathlib
import re
import statistics
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
GUARD = 0.8
PEERS = ["libeigen3-dev", "libgsl-dev", "liblcms2-dev", "libnlopt-dev", "libopenblas-dev", "libssl-dev", "libavfilter-dev",
         "libcgal-dev", "libopencolorio-dev", "libopencv-imgproc-dev", "libqhull-dev", "libswscale-dev", "libvips-dev",
         "lib2geom-dev", "libcairo2-dev", "libfreetype-dev", "libboost-dev", "libnanoflann-dev"]


def read_aims():
    """(program, case) -> (peer, least ratio or None)"""
    aims = {}
    for line in (ROOT / "bench" / "aims.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            program, case, peer, aim = (field.strip() for field in line.split("|"))
            aims[program, case] = (peer, float(aim) if aim else None)
    return aims


def read_rates(path):
    """case -> side -> median of the items a second, in million; cases in the order of the program"""
    runs = {}
    for run in sorted(json.loads(pathlib.Path(path).read_text())["benchmarks"], key=lambda run: run["family_index"]):
        if run.get("run_type") == "iteration" and "items_per_second" in run and "/" in run["run_name"]:
            case, side = run["run_name"].rsplit("/", 1)
            runs.setdefault(case, {}).setdefault(side, []).append(run["items_per_second"] * 1e-6)
    return {case: {side: statistics.median(rates) for side, rates in sides.items()} for case, sides in runs.items()}


def tables(paths, aims):
    """program -> rows (case, peer, ours, theirs, ratio, aim)"""
    result = {}
    for path in paths:
        program = pathlib.Path(path).stem
        for case, sides in read_rates(path).items():
            if {"ours", "peer"} <= sides.keys():
                peer, aim = aims.get((program, case), ("", None))
                result.setdefault(program, []).append(
                    (case, peer, sides["ours"], sides["peer"], sides["ours"] / sides["peer"], aim))
    return result


def machine():
    cpu = dict(re.findall(r"^([^\t:]+?)\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), flags=re.MULTILINE))
    model = f"{cpu['model name']} (family {cpu['cpu family']}, model {cpu['model']})"
    compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    versions = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}\n", *PEERS], capture_output=True,
                              text=True, check=False).stdout.split("\n")
    return model, compiler, [line for line in versions if line]


HEAD = """# Performance

Million items a second on one thread, ours beside a peer's. Both run in one process, in turns; each figure is
the median of at least seven runs. An item is a pixel or a point where nothing else is said. Under "scaling" one
object is asked by two threads (ours) beside one (theirs). A table for each processor: `./dev measure` writes that of
the machine it runs on and leaves the others; the aims are those of `bench/aims.txt`, the same for all.

"""


def section(result):
    """The tables of this machine: its line, then text."""
    model, compiler, versions = machine()
    title = f"## {model}; {compiler}"
    lines = [title, ""]
    for program, rows in result.items():
        lines += [f"### {program.removesuffix('_bench')}", "", "| | peer | ours | theirs | ratio | aim |",
                  "|---|---|---:|---:|---:|---:|"]
        for case, peer, ours, theirs, ratio, aim in rows:
            lines.append(f"| {case} | {peer} | {ours:.1f} | {theirs:.1f} | {ratio:.2f} | {aim if aim else ''} |")
        lines.append("")
    lines += ["### Versions", "", *(f"- {version}" for version in versions), ""]
    return title, "\n".join(lines)


def write(path, result):
    """Puts the tables of this machine in the place of its former ones."""
    text = path.read_text() if path.exists() else ""
    others = [part for part in re.split(r"^(?=## )", text, flags=re.MULTILINE) if part.startswith("## ")]
    title, own = section(result)
    parts = {part.splitlines()[0]: part.rstrip() + "\n" for part in others} | {title: own}
    path.write_text(HEAD + "\n".join(parts[key] for key in sorted(parts)))


def failures(result, aims):
    seen = {(program, row[0]): row for program, rows in result.items() for row in rows}
    for (program, case), (_, aim) in aims.items():
        if aim is None:
            continue
        if (program, case) not in seen:
            yield f"{program}: {case}: not run"
        elif seen[program, case][4] < GUARD * aim:
            yield f"{program}: {case}: {seen[program, case][4]:.2f}, below {GUARD:.0%} of {aim}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--guard", action="store_true")
    parser.add_argument("--write", metavar="FILE")
    parser.add_argument("json", nargs="+")
    arguments = parser.parse_args()
    aims = read_aims()
    result = tables(arguments.json, aims)
    if arguments.write:
        write(pathlib.Path(arguments.write), result)
    for program, rows in result.items():
        for case, _, ours, theirs, ratio, aim in rows:
            missed = " below the aim" if aim and ratio < aim else ""
            print(f"{program:22} {case:48} {ours:9.1f} {theirs:9.1f} {ratio:7.2f} {aim or '':>6}{missed}")
    broken = list(failures(result, aims)) if arguments.guard else []
    for line in broken:
        print(line, file=sys.stderr)
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
