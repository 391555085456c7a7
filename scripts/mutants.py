"""Plants faults in a copy of the sources and counts those that the native tests see. Run by mutants.sh."""
import argparse
import os
import random
import re
import shutil
import subprocess
import sys

ROOT = os.getcwd()
COPY = os.path.join(ROOT, "build", "mutants")
BUILD = os.path.join(COPY, "build", "native")
EQUIVALENT = os.path.join(ROOT, "scripts", "mutants.equivalent")
TEST_SECONDS = 180  # a fault may make a program run for ever

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


def run(command, seconds):
    try:
        return subprocess.run(command, cwd=COPY, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, timeout=seconds).returncode
    except subprocess.TimeoutExpired:
        return -1


def build():
    return run(["cmake", "--build", BUILD, "--parallel", str(os.cpu_count())], 1800) == 0


def programs():
    names = sorted(n for n in os.listdir(os.path.join(BUILD, "bin")) if n.endswith("_tests"))
    # Those that need a screen or only the layer come last, if at all.
    return [n for n in names if n not in ("desktop_tests", "platform_tests", "threads_tests")]


def seen_by(order):
    for name in order:
        if run(["timeout", "-k", "5", str(TEST_SECONDS), "scripts/run-native.sh", os.path.join(BUILD, "bin", name),
                "--gtest_fail_fast"], TEST_SECONDS + 20) != 0:
            return name
    return None


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--count", type=int, default=100)
    options.add_argument("--seed", type=int, default=1)
    options.add_argument("--only", default="")
    options.add_argument("--list", action="store_true")
    options = options.parse_args()

    equivalent = set()
    if os.path.exists(EQUIVALENT):
        with open(EQUIVALENT, encoding="utf-8") as file:
            equivalent = {tuple(line.rstrip("\n").split(" | ")[:2]) for line in file if " | " in line}
    faults = [f for f in all_faults(options.only) if (f[0], f[3].strip()) not in equivalent]
    random.Random(options.seed).shuffle(faults)
    if options.list:
        for path, number, text, planted in faults[:options.count]:
            print(f"{path}:{number + 1}: {text.strip()}  ->  {planted.strip()}")
        return 0

    os.makedirs(COPY, exist_ok=True)
    tracked = subprocess.run(["git", "ls-files", "-z"], capture_output=True, check=True).stdout.decode().split("\0")
    for name in filter(None, tracked):
        target = os.path.join(COPY, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(name, "rb") as file:
            fresh = file.read()
        if not os.path.exists(target) or open(target, "rb").read() != fresh:
            shutil.copyfile(name, target)
            shutil.copymode(name, target)
    if run(["cmake", "--preset", "native"], 600) != 0 or not build():
        sys.exit("mutants: the sources don't build as they are")
    if failing := seen_by(programs()):
        sys.exit(f"mutants: {failing} fails as it is")

    tried = seen = broken = 0
    order = programs()
    for path, number, text, planted in faults:
        if tried == options.count:
            break
        target = os.path.join(COPY, path)
        with open(target, encoding="utf-8") as file:
            sound = file.read()
        lines = sound.split("\n")
        lines[number] = planted
        with open(target, "w", encoding="utf-8") as file:
            file.write("\n".join(lines))
        if not build():
            broken += 1
        else:
            tried += 1
            by = seen_by(order)
            if by:
                seen += 1
                order.remove(by)
                order.insert(0, by)
            else:
                print(f"not seen: {path}:{number + 1}: {text.strip()}  ->  {planted.strip()}", flush=True)
        with open(target, "w", encoding="utf-8") as file:
            file.write(sound)
    print(f"{seen} of {tried} faults were seen ({100 * seen // max(tried, 1)} %); {broken} didn't compile")
    return 0


if __name__ == "__main__":
    sys.exit(main())
