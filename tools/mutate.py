#!/usr/bin/python3
"""mutate - puts small faults into the library, one at a time, and prints those that no test notices

    mutate.py [--since COMMIT | --all] [--minutes M] [--seed S] [--jobs J]

Faults are drawn from the lines that differ from COMMIT (default: the commit before the last), or from the whole
library. The checkout is cloned to build/mutants, with what is not committed, and built there once; each mutant then
has the clone for itself: an overlay at the same path in a mount namespace of its own, thrown away afterwards. So nothing
is built twice, and a mutant that deletes or fills what it should not does so in memory. Needs root and python3-clang-14.

The verdict of a mutant:
    compile    does not compile, `same`: the object code is the same; neither counts
    killed     a test fails, `timeout`: one of them takes too long
    survived   all tests pass: the fault is shown as a difference
A survivor may be equivalent (nothing observable changes), a free choice (speed, room, a tolerance), or a gap in the
tests; that takes reading. Warnings stay warnings here: the tests have to notice, not the compiler.

build/mutants/results.jsonl keeps what was tried, a line each; the next run with the same clone goes on after it.
"""
import argparse
import collections
import difflib
import hashlib
import json
import os
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time

from mutation_sites import counted, find_sites

ROOT = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
HOME = os.path.join(ROOT, "build/mutants")
CLONE = os.path.join(HOME, "clone")
BUILD = os.path.join(CLONE, "build/dev")
RESULTS = os.path.join(HOME, "results.jsonl")
# These look at what is installed or at the programs around the library; they are slow, and watch no single line.
NOT_ASKED = {"install", "tools", "python", "examples"}


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def run(*command, cwd=ROOT, **more):
    """What a command prints; bytes that are no UTF-8, of test data in a difference, come through unchanged."""
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True, encoding="utf-8", errors="surrogateescape",
                          **more).stdout


def stored(name, make):
    """What make() gives, kept in a file of the clone's."""
    path = os.path.join(HOME, name)
    if not os.path.exists(path):
        value = make()
        with open(path, "w", encoding="utf-8") as file:
            json.dump(value, file)
    with open(path, encoding="utf-8") as file:
        return json.load(file)


# ---- The clone, and what its tests are made of -----------------------------------------------------------------------


def state_of_checkout():
    return run("git", "rev-parse", "HEAD") + hashlib.md5(run("git", "diff", "HEAD").encode(errors="surrogateescape")).hexdigest()


def make_clone():
    """A built copy of the checkout as it is now; one of another state is thrown away."""
    state, known = state_of_checkout(), os.path.join(HOME, "state")
    if os.path.exists(known) and read(known) == state:
        return
    run("rm", "-rf", HOME)
    os.makedirs(HOME)
    run("git", "clone", "--quiet", "--shared", ROOT, CLONE)
    run("git", "apply", "--allow-empty", "-", cwd=CLONE, input=run("git", "diff", "--binary", "HEAD"))
    print("building the clone", flush=True)
    run("cmake", "--preset", "dev", "-DTESKA_DEVELOPER=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", cwd=CLONE)
    run("ninja", "-C", BUILD, cwd=CLONE)
    with open(known, "w", encoding="utf-8") as file:
        file.write(state)


def digest(path):
    with open(path, "rb") as file:
        return hashlib.blake2b(file.read()).hexdigest()


def identity(path):
    """What tells without reading that a file has not been written since."""
    status = os.stat(path)
    return [status.st_mtime_ns, status.st_size]


def changed(path, files):
    return identity(path) != files[path]["identity"] and digest(path) != files[path]["digest"]


def execute(command, folder, wall, cpu=None):
    """(exit status, or None when it took too long; output)"""

    def limits():
        os.setsid()
        if cpu:
            resource.setrlimit(resource.RLIMIT_CPU, (cpu, cpu + 2))
        resource.setrlimit(resource.RLIMIT_AS, (12 << 30, 12 << 30))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    settings = {"GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "LC_ALL": "C.UTF-8"}
    with tempfile.TemporaryFile() as out:
        process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT,
                                   env={**os.environ, **settings}, preexec_fn=limits)
        try:
            status = process.wait(timeout=wall)
        except subprocess.TimeoutExpired:
            status = None
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()
        out.seek(0)
        text = out.read(1 << 20).decode(errors="replace")
    if status in (-signal.SIGXCPU, 128 + signal.SIGXCPU) or (status == -signal.SIGKILL and cpu):
        status = None
    return status, text


def run_test(test, wall, cpu):
    status, text = execute(test["command"], test["folder"], wall, cpu)
    return status == 0 or (status is not None and status == test["skip"]), status, text


def list_of_tests():
    for test in json.loads(run("ctest", "--show-only=json-v1", cwd=BUILD))["tests"]:
        properties = {p["name"]: p["value"] for p in test["properties"]}
        if not NOT_ASKED & set(properties.get("LABELS", [])):
            yield {"name": test["name"], "command": test["command"],
                   "folder": properties.get("WORKING_DIRECTORY", BUILD), "skip": properties.get("SKIP_RETURN_CODE")}


def names_in(path, kinds=None):
    lines = subprocess.run(["nm", "--defined-only", path], text=True, capture_output=True, check=False).stdout
    words = [line.split() for line in lines.splitlines()]
    return {w[-1] for w in words if len(w) == 3 and (kinds is None or w[1] in kinds)}


def who_uses_what():
    """Source or header of the library -> its objects; header -> the programs of the tests that include it."""
    objects, users, target = collections.defaultdict(list), collections.defaultdict(list), None
    for line in run("ninja", "-C", BUILD, "-t", "deps", cwd=BUILD).splitlines():
        if line and not line.startswith((" ", "ninja")):
            target = line.split(":")[0]
        elif target and line.strip():
            path = os.path.relpath(os.path.join(BUILD, line.strip()), CLONE)
            if counted(path) and "_objects.dir/" in target:
                objects[path].append(os.path.join(BUILD, target))
            elif counted(path):
                users[path].append(os.path.join(BUILD, re.sub(r"CMakeFiles/(\w+)\.dir/.*", r"\1", target)))
    return objects, users


def calibrate():
    """Runs all tests once: their times, and for each program the objects of the library that it holds."""
    print("running the tests once", flush=True)
    objects, users = who_uses_what()
    strong = {o: names_in(o, "TDBRG") for o in {o for group in objects.values() for o in group}}
    tests, holds = list(list_of_tests()), {}
    for test in tests:
        programs = {w for w in test["command"] if w.startswith(BUILD) and os.path.isfile(w) and os.access(w, os.X_OK)}
        made_of = set(programs)
        for program in programs:
            linked = subprocess.run(["ldd", program], text=True, capture_output=True, check=False).stdout
            made_of |= {os.path.realpath(path) for path in re.findall(r"=> (/\S+)", linked)}
        test["made_of"] = sorted(path for path in made_of if path.startswith(BUILD))
        for path in test["made_of"]:
            if path not in holds:
                names = names_in(path)
                holds[path] = sorted(o for o in strong if not strong[o] or strong[o] & names)
        begun = time.time()
        passed, status, text = run_test(test, 600, None)
        test["seconds"] = time.time() - begun
        if not passed:
            print(f"{test['name']} fails without a fault ({status}); left out\n{text[-1000:]}", file=sys.stderr)
    tests = [test for test in tests if test["made_of"] and test["seconds"] < 600]
    files = {path: {"identity": identity(path), "digest": digest(path)} for path in [*strong, *holds]}
    return {"tests": tests, "files": files, "objects": objects, "users": users, "holds": holds}


def map_of_modules():
    """source -> (subsystem, program of its tests)"""
    found = {}
    for line in read(os.path.join(BUILD, "map.txt")).splitlines():
        subsystem, module, *sources = line.split()
        for source in sources:
            found[source] = subsystem, module + "_test"
            found[f"Private/Source/{module}"] = subsystem, module + "_test"
    return found


def classify(path, modules):
    """(subsystem, program of its tests or "")"""
    folder, name = os.path.split(path)
    if path in modules or folder in modules:
        return modules.get(path) or modules[folder]
    if path.startswith("companions/"):
        return "companions", path.split("/")[1] + "_test"
    tests = sorted({test for _, test in modules.values()}, key=len, reverse=True)
    area = path.split("/")[1].lower()
    return ("files" if area == "platform" else area), \
        next((test for test in tests if name.startswith(test.removesuffix("_test") + "_")), "")


# ---- Which faults ----------------------------------------------------------------------------------------------------


def lines_since(commit):
    """file -> the numbers of its lines that differ from the commit"""
    lines, path = collections.defaultdict(set), None
    for line in run("git", "diff", "--unified=0", "--no-renames", commit).splitlines():
        if line.startswith("+++ "):
            path = line[6:]
        elif match := re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line):
            first, count = int(match[1]), int(match[2] or 1)
            lines[path].update(range(first, first + count))
    return lines


def draw(sites, seed):
    """Sites in random order: a file by the number of its lines that have one, a line, a kind of fault, a fault. No line
    twice."""
    by_line = collections.defaultdict(list)
    for site in sites:
        by_line[site["file"], site["line"]].append(site)
    dice = random.Random(seed)
    order = sorted(by_line)
    dice.shuffle(order)
    for line in order:
        kind = dice.choice(sorted({site["kind"] for site in by_line[line]}))
        yield dice.choice([site for site in by_line[line] if site["kind"] == kind])


# ---- One mutant, in a mount namespace of its own ---------------------------------------------------------------------


def private_copy():
    def mount(*words):
        subprocess.run(["mount", *words], check=True)

    mount("-t", "tmpfs", "-o", "size=4g", "tmpfs", "/mnt")
    for name in ("lower", "upper", "work", "tmp"):
        os.mkdir("/mnt/" + name)
    os.chmod("/mnt/tmp", 0o1777)
    mount("--bind", CLONE, "/mnt/lower")
    mount("--bind", "/mnt/tmp", "/tmp")
    mount("-t", "overlay", "overlay", "-o", "lowerdir=/mnt/lower,upperdir=/mnt/upper,workdir=/mnt/work", CLONE)
    os.environ["TMPDIR"] = "/tmp"


def mutated(text, mutant):
    start, end = mutant["start"], mutant["end"]
    assert text[start:end].decode() == mutant["before"]
    return text[:start] + mutant["after"].encode() + text[end:]


def verdict_of(mutant):
    baseline = json.loads(read(os.path.join(HOME, "baseline.json")))
    files, objects = baseline["files"], set(baseline["objects"].get(mutant["file"], []))
    users = set(baseline["users"].get(mutant["file"], []))
    private_copy()
    os.chdir(CLONE)
    with open(mutant["file"], "rb") as file:
        text = file.read()
    with open(mutant["file"], "wb") as file:
        file.write(mutated(text, mutant))

    def targets(tests):
        return sorted({os.path.relpath(path, BUILD) for test in tests for path in test["made_of"]
                       if objects & set(baseline["holds"][path]) or path in users})

    own = [test for test in baseline["tests"] if mutant["own"] and test["name"].endswith("." + mutant["own"])]
    others = sorted((test for test in baseline["tests"] if test not in own and targets([test])),
                    key=lambda test: test["seconds"])
    # Only a few of the many are built at a time: the first that notices ends it.
    groups = [own] + [others[i:i + 8] for i in range(0, len(others), 8)]
    for group in filter(targets, groups):
        status, text = execute(["ninja", "-C", BUILD, "-j1", *targets(group)], BUILD, 900)
        if status != 0:
            return {"verdict": "compile" if "error:" in text or "undefined reference" in text else "broken",
                    "why": text[-500:]}
        if not users and not any(changed(o, files) for o in objects):
            return {"verdict": "same"}
        for test in group:
            if not any(changed(path, files) for path in test["made_of"]):
                continue
            limit = test["seconds"]
            passed, status, text = run_test(test, 90 + 12 * limit, int(12 + 8 * limit))
            if not passed:
                failures = re.findall(r"\[  FAILED  \] ([\w./]+)", text) or text.strip().splitlines()[-1:]
                return {"verdict": "timeout" if status is None else "killed", "by": [test["name"], *failures[:1]]}
    return {"verdict": "survived"}


# ---- Many of them ----------------------------------------------------------------------------------------------------


def difference(mutant):
    with open(os.path.join(CLONE, mutant["file"]), "rb") as file:
        text = file.read()
    old, new = text.decode().splitlines(), mutated(text, mutant).decode().splitlines()
    return "\n".join(difflib.unified_diff(old, new, mutant["file"], f"{mutant['kind']}, {mutant['key']}", "", "", 3, ""))


def tried():
    return [json.loads(line) for line in read(RESULTS).splitlines()] if os.path.exists(RESULTS) else []


def summary(results):
    count = collections.defaultdict(collections.Counter)
    for result in results:
        count[result["system"]][result["verdict"]] += 1
        count["all"][result["verdict"]] += 1
    verdicts = ["killed", "timeout", "survived", "compile", "same", "broken"]
    print(f"\n{'':12}" + "".join(f"{v:>10}" for v in verdicts) + "   noticed")
    for system in sorted(count, key=lambda name: (name == "all", name)):
        c = count[system]
        noticed, all_of_them = c["killed"] + c["timeout"], c["killed"] + c["timeout"] + c["survived"]
        print(f"{system:12}" + "".join(f"{c[v]:10}" for v in verdicts)
              + (f"   {100 * noticed / all_of_them:.1f} %" if all_of_them else ""))
    for result in results:
        if result["verdict"] == "survived":
            print(f"\n{difference(result)}")


def hunt(mutants, minutes, jobs):
    begun, lock, known = time.time(), threading.Lock(), {result["key"] for result in tried()}
    waiting = (mutant for mutant in mutants if mutant["key"] not in known)

    def worker():
        while time.time() - begun < 60 * minutes:
            with lock:
                mutant = next(waiting, None)
            if mutant is None:
                return
            start = time.time()
            process = subprocess.run(["nice", "unshare", "-m", "-p", "-f", "-i", "--mount-proc", "--kill-child",
                                      sys.executable, os.path.realpath(__file__), "--one"],
                                     input=json.dumps(mutant), text=True, capture_output=True, check=False)
            try:
                answer = json.loads(process.stdout.splitlines()[-1])
            except (IndexError, ValueError):
                answer = {"verdict": "broken", "why": process.stderr[-500:]}
            result = {**mutant, **answer}
            with lock:
                with open(RESULTS, "a", encoding="utf-8") as file:
                    file.write(json.dumps(result) + "\n")
                print(f"{result['verdict']:9} {time.time() - start:6.1f} s  {result['file']}:{result['line']} "
                      f"{result['kind']} {' '.join(result.get('by', []))}", flush=True)

    workers = [threading.Thread(target=worker) for _ in range(jobs)]
    for thread in workers:
        thread.start()
    for thread in workers:
        thread.join()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--since", metavar="COMMIT", default="HEAD~1")
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--minutes", type=float, default=10)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--one", action="store_true", help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    if arguments.one:
        print(json.dumps(verdict_of(json.load(sys.stdin))))
        return 0
    if os.geteuid() != 0:
        print("mutate: root is needed, for mounts that each mutant has for itself", file=sys.stderr)
        return 2
    make_clone()
    stored("baseline.json", calibrate)
    sites = stored("sites.json", lambda: find_sites(CLONE, BUILD))
    if not arguments.all:
        touched = lines_since(arguments.since)
        sites = [site for site in sites if site["line"] in touched[site["file"]]]
    modules = map_of_modules()
    for site in sites:
        site["system"], site["own"] = classify(site["file"], modules)
        site["key"] = f"{site['file']}:{site['start']}:{site['end']}:{site['after']}"
    print(f"{len(sites)} places for a fault in {len({site['file'] for site in sites})} files", flush=True)
    hunt(draw(sites, arguments.seed), arguments.minutes, arguments.jobs)
    results = [result for result in tried() if result["key"] in {site["key"] for site in sites}]
    summary(results)
    return 0


if __name__ == "__main__":
    sys.exit(main())
