"""Plants faults in a copy of the sources and counts those that the native tests see. Run by mutants.sh."""
import argparse
import collections
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys

ROOT = os.getcwd()
COPY = os.path.join(ROOT, "build", "mutants")
BUILD = os.path.join(COPY, "build", "native")
EQUIVALENT = os.path.join(ROOT, "scripts", "mutants.equivalent")
RESULTS = os.path.join(ROOT, "build", "mutants.json")
LINKER = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
TEST_SECONDS = 300  # a fault may make a program run for ever

# The test programs that can notice a fault in the server. Those of a person at a screen and of the layer below aren't asked.
HELPERS = ["BVSchema", "BVSamples", "dlgs", "bvhost"]
QUICK = ["tree", "xml", "com", "components", "job", "watermark", "module", "input", "samples", "late_binding", "dialogs",
         "cuts"]
SLOW = ["threads", "failures", "bvhost"]

# A pattern, and what it becomes. Each names one place in a line of code.
FAULTS = [
    (r"(?<![<>=!\-])<(?![<=])(?= )", "<="),
    (r"(?<= )>(?![>=])(?= )", ">="),
    (r"<=(?!>)", "<"),
    (r">=", ">"),
    (r"==", "!="),
    (r"!=", "=="),
    (r"&&(?= )", "||"),
    (r"\|\|", "&&"),
    (r"\bif \((?!constexpr)(?!auto)(?!const )(?!\w+ \w+ =)([^;]*)\)(?= return| break| continue)", r"if (!(\1))"),
    (r"\btrue\b", "false"),
    (r"\bfalse\b", "true"),
    (r"\breturn S_OK;", "return S_FALSE;"),
    (r"\breturn E_[A-Z]+;", "return S_OK;"),
    (r"(?<=[ (\[])0(?=[;,)\] ])", "1"),
    (r"(?<=[ (\[])1(?=[;,)\] ])", "2"),
    (r" \+ 1\b", " - 1"),
    (r" - 1\b", " + 1"),
    (r"\+\+(?=\w)", "--"),
    (r"^( +)(?!return|break|continue|else|case|using|const|auto|std::ignore)[\w.>\-]+\([^;{}]*\);$", r"\1;"),
]


def lines_of_code(path):
    """Line numbers with code that runs: no comments, directives, declarations of tables or assertions."""
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file):
            text = line.split("//")[0].rstrip()
            if not text.strip() or text.lstrip().startswith(("#", "static_assert", "template", "inline constexpr",
                                                             "constexpr", "{", "BV_")):
                continue
            if re.search(r"^\s*\.\w+ =|\boperator\b|GuidOf|virtual .*;$", text):
                continue
            yield number, text


def all_faults(only):
    listed = subprocess.run(["git", "ls-files", "src/*.cpp", "src/*.h"], capture_output=True, text=True, check=True)
    for path in sorted(listed.stdout.split()):
        if only and not re.search(only, path):
            continue
        for number, text in lines_of_code(path):
            code = re.sub(r'"(\\.|[^"\\])*"', lambda m: '"' + "." * (len(m[0]) - 2) + '"', text)
            for pattern, becomes in FAULTS:
                for match in re.finditer(pattern, code):
                    kept = text[match.start(1):match.end(1)] if match.re.groups else ""
                    planted = text[:match.start()] + becomes.replace(r"\1", kept) + text[match.end():]
                    if planted != text:
                        yield path, number, text, planted


def key_of(fault):
    path, _, text, planted = fault
    return f"{path} | {text.strip()} | {planted.strip()}"


def chosen(only, seed):
    """All faults in an order that the seed gives; a fault keeps its place when other lines change."""
    places = collections.Counter()
    order = []
    for fault in all_faults(only):
        key = key_of(fault)
        places[key] += 1
        order.append((hashlib.sha256(f"{seed} {key} {places[key]}".encode()).digest(), fault))
    return [fault for _, fault in sorted(order)]


def equivalents():
    """A path, a line of it and what that becomes; the fourth column is the reason."""
    if not os.path.exists(EQUIVALENT):
        return set()
    with open(EQUIVALENT, encoding="utf-8") as file:
        return {line.rstrip("\n").rsplit(" | ", 1)[0] for line in file if line.count(" | ") >= 3}


def run(command, seconds):
    try:
        return subprocess.run(command, cwd=COPY, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=seconds).returncode
    except subprocess.TimeoutExpired:
        return -1


def build(seconds=1800):
    return run(["cmake", "--build", BUILD, "--parallel", str(os.cpu_count()), "--target", *HELPERS,
                *(name + "_tests" for name in QUICK + SLOW)], seconds) == 0


def seen_by(path):
    """The first program that fails. The one of the fault's own folder is asked first, those that take long last."""
    own = path.split("/")[1] if path else ""
    for name in os.listdir(os.path.join(BUILD, "bin")):  # what a program left that was ended
        if name.startswith("{"):
            os.remove(os.path.join(BUILD, "bin", name))
    for area in sorted(QUICK, key=lambda name: name != own) + SLOW:
        if run(["timeout", "-k", "5", str(TEST_SECONDS), "scripts/run-native.sh",
                os.path.join(BUILD, "bin", area + "_tests"), "--gtest_fail_fast"], TEST_SECONDS + 20) != 0:
            return area
    return None


def copy_tree():
    """Brings the copy up to date and returns a name for its state."""
    state = hashlib.sha256()
    tracked = subprocess.run(["git", "ls-files", "-z"], capture_output=True, check=True).stdout.decode()
    for name in sorted(filter(os.path.exists, filter(None, tracked.split("\0")))):
        target = os.path.join(COPY, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(name, "rb") as file:
            fresh = file.read()
        state.update(name.encode() + b"\0" + fresh)
        if not os.path.exists(target) or open(target, "rb").read() != fresh:
            shutil.copyfile(name, target)
            shutil.copymode(name, target)
    kept = set(tracked.split("\0"))
    for top in ("src", "tests"):  # what was moved or taken out since
        for folder, _, names in os.walk(os.path.join(COPY, top)):
            for name in names:
                target = os.path.join(folder, name)
                if os.path.relpath(target, COPY) not in kept or not os.path.exists(os.path.relpath(target, COPY)):
                    os.remove(target)
    return state.hexdigest()


def try_fault(fault):
    """What came of it: "seen", "not seen" or "broken", which doesn't compile."""
    path, number, _, planted = fault
    target = os.path.join(COPY, path)
    with open(target, encoding="utf-8") as file:
        sound = file.read()
    lines = sound.split("\n")
    lines[number] = planted
    with open(target, "w", encoding="utf-8") as file:
        file.write("\n".join(lines))
    try:
        if not build():
            return "broken"
        return "seen" if seen_by(path) else "not seen"
    finally:
        with open(target, "w", encoding="utf-8") as file:
            file.write(sound)


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--count", type=int, default=100)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--only", default="")
    options.add_argument("--list", action="store_true")
    options.add_argument("--again", action="store_true")
    options = options.parse_args()

    equivalent = equivalents()
    faults = chosen(options.only, options.seed)
    if options.list:
        for path, number, text, planted in faults[:options.count]:
            print(f"{path}:{number + 1}: {text.strip()}  ->  {planted.strip()}")
        return 0

    os.makedirs(COPY, exist_ok=True)
    state = copy_tree()
    results = {}
    if os.path.exists(RESULTS):
        with open(RESULTS, encoding="utf-8") as file:
            kept = json.load(file)
        if kept["state"] == state:
            results = kept["results"]
        elif options.again:  # what was seen before is taken to be seen still
            results = {key: came for key, came in kept["results"].items() if came != "not seen"}
    if run(["cmake", "--preset", "native", "-DCMAKE_UNITY_BUILD=OFF", "-DCMAKE_CXX_FLAGS_RELEASE=-O0",
            *([f"-DCMAKE_EXE_LINKER_FLAGS={LINKER}", f"-DCMAKE_MODULE_LINKER_FLAGS={LINKER}"] if LINKER else [])],
           600) != 0 or not build(2 * 3600):
        sys.exit("mutants: the sources don't build as they are")
    if failing := seen_by(""):
        sys.exit(f"mutants: {failing}_tests fails as it is")

    count = collections.Counter()
    for fault in faults:
        if count["seen"] + count["not seen"] == options.count:
            break
        path, number, text, planted = fault
        key = key_of(fault)
        if key in equivalent:
            came = "equivalent"
        else:
            came = results.get(key) or try_fault(fault)
            results[key] = came
            with open(RESULTS + ".new", "w", encoding="utf-8") as file:
                json.dump({"state": state, "results": results}, file, indent=0)
            os.replace(RESULTS + ".new", RESULTS)
        count[came] += 1
        if came == "not seen":
            print(f"not seen: {path}:{number + 1}: {text.strip()}  ->  {planted.strip()}", flush=True)
    tried = count["seen"] + count["not seen"]
    print(f"{count['seen']} of {tried} faults were seen ({100 * count['seen'] // max(tried, 1)} %); "
          f"{count['broken']} more didn't compile, {count['equivalent']} change nothing")
    return 0


if __name__ == "__main__":
    sys.exit(main())
