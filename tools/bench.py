#!/usr/bin/env python3
"""Builds the library the ways users and packagers build it and runs every
benchmark against each build, printing one table.

The builds, per compiler:
    release   -DCMAKE_BUILD_TYPE=Release
    default   no build type: what `cmake -S . -B build` gives (the README's install)
    O2        -DCMAKE_BUILD_TYPE=None with CFLAGS/CXXFLAGS=-O2, as a distribution builds

The benchmark programs are built once, in the tree of the first compiler's
default build, with their own -O3, and carry no run path: each run picks the
library through LD_LIBRARY_PATH, so the hand loops are the same machine code in
every column and only the library differs. Rounds alternate the order of the
libraries so that drift of a shared machine does not favour one column.

    tools/bench.py [--compilers gcc,clang] [--rounds 2] [--repetitions 3]
                   [--filter REGEX] [--max-elements N] [--jobs N]
"""
import argparse
import json
import re
import os
import pathlib
import shutil
import statistics
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
OUT = ROOT / "build-bench"

VARIANTS = {
    "release": ["-DCMAKE_BUILD_TYPE=Release"],
    "default": [],
    "O2": ["-DCMAKE_BUILD_TYPE=None", "-DCMAKE_C_FLAGS=-O2", "-DCMAKE_CXX_FLAGS=-O2"],
}
COMPILERS = {"gcc": ("gcc", "g++"), "clang": ("clang", "clang++")}


def sh(cmd, **kw):
    print("+ " + " ".join(map(str, cmd)), file=sys.stderr, flush=True)
    subprocess.run(cmd, check=True, **kw)


def version(cxx):
    return subprocess.run([cxx, "--version"], capture_output=True, text=True).stdout.splitlines()[0]


def build(compiler, variant, with_bench, jobs):
    cc, cxx = COMPILERS[compiler]
    tree = OUT / ("%s-%s" % (compiler, variant))
    cache = tree / "CMakeCache.txt"
    flags = VARIANTS[variant] + ["-DZVQ_BUILD_TESTS=OFF", "-DZVQ_BUILD_EXAMPLES=OFF",
                                 "-DZVQ_BUILD_BENCH=%s" % ("ON" if with_bench else "OFF")]
    if not cache.exists():
        env = dict(os.environ, CC=cc, CXX=cxx)
        env.pop("CFLAGS", None), env.pop("CXXFLAGS", None)
        sh(["cmake", "-S", ROOT, "-B", tree, *flags], env=env, stdout=subprocess.DEVNULL)
    sh(["cmake", "--build", tree, "-j%d" % jobs] + ([] if with_bench else ["--target", "zvqseq"]),
       stdout=subprocess.DEVNULL)
    return tree


def run_once(binary, libdir, args):
    env = dict(os.environ, LD_LIBRARY_PATH=str(libdir))
    out = subprocess.run([binary, "--benchmark_format=json", *args], env=env, check=True,
                         capture_output=True, text=True).stdout
    medians = {}
    if not out.strip():  # the filter matched nothing in this program
        return medians
    for b in json.loads(out)["benchmarks"]:
        # One repetition reports no aggregates, only the run itself.
        if b.get("aggregate_name") == "median" or b.get("repetitions", 1) == 1:
            medians[b["run_name"]] = (b["ns_per_elem"], b["loop_ns_per_elem"])
    return medians


def machine_code(tree):
    """The library's instructions with addresses and symbol offsets taken out."""
    lib = tree / "libzvqseq.so"
    text = subprocess.run(["objdump", "-d", "--no-show-raw-insn", lib], capture_output=True, text=True).stdout
    out = []
    for ln in text.splitlines()[3:]:
        ln = ln.split(":", 1)[1] if ln.startswith(" ") and ":" in ln else ln
        out.append(re.sub(r"\b[0-9a-f]{4,}\b|<[^>]*>", "", ln).strip())
    return out


def fmt(x):
    return "%.4f" % x if x < 10 else "%.1f" % x


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--compilers", default="gcc")
    ap.add_argument("--rounds", type=int, default=2)
    ap.add_argument("--repetitions", type=int, default=3)
    ap.add_argument("--filter", default="")
    ap.add_argument("--max-elements", type=int, default=0)
    ap.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    opts = ap.parse_args()

    compilers = opts.compilers.split(",")
    for c in compilers:
        if c not in COMPILERS or not shutil.which(COMPILERS[c][1]):
            sys.exit("bench: no compiler %s" % c)
    libs = []
    for c in compilers:
        for v in VARIANTS:
            harness = c == compilers[0] and v == "default"
            libs.append(("%s %s" % (c, v), build(c, v, harness, opts.jobs)))
    harness = OUT / ("%s-default" % compilers[0])
    binaries = sorted((harness / "bench").glob("bench_*"))
    binaries = [b for b in binaries if b.is_file() and os.access(b, os.X_OK)]

    args = ["--benchmark_repetitions=%d" % opts.repetitions, "--benchmark_report_aggregates_only=true",
            "--benchmark_min_time=0.2"]
    if opts.filter:
        args.append("--benchmark_filter=" + opts.filter)
    if opts.max_elements:
        os.environ["ZVQ_BENCH_MAX_ELEMENTS"] = str(opts.max_elements)

    lib_ns = {}   # (benchmark, lib) -> [ns per element]
    loop_ns = {}  # benchmark -> [ns per element of the hand loop]
    order = []
    for binary in binaries:
        for r in range(opts.rounds):
            for label, tree in (libs if r % 2 == 0 else libs[::-1]):
                print("  %s, round %d, %s" % (binary.name, r + 1, label), file=sys.stderr, flush=True)
                for name, (ns, loop) in run_once(binary, tree, args).items():
                    if name not in loop_ns:
                        order.append(name)
                        loop_ns[name] = []
                    lib_ns.setdefault((name, label), []).append(ns)
                    loop_ns[name].append(loop)

    # Builds of one compiler that give the same instructions cannot differ
    # in speed; the timings below then only show the machine's noise.
    same_code = []
    for c in compilers:
        trees = [(label, tree) for label, tree in libs if label.startswith(c + " ")]
        if shutil.which("objdump"):
            ref = machine_code(trees[0][1])
            for label, tree in trees[1:]:
                same = machine_code(tree) == ref
                same_code.append("%s: %s machine code as %s" % (label, "the same" if same else "other", trees[0][0]))

    labels = [label for label, _ in libs]
    release_of = lambda label: label.split()[0] + " release"
    print()
    print("Compilers: " + "; ".join("%s = %s" % (c, version(COMPILERS[c][1])) for c in compilers))
    print("ns per element, medians over %d rounds x %d repetitions; (+x%%) is the change against the"
          % (opts.rounds, opts.repetitions))
    print("release build of the same compiler;")
    print("ratio = library / hand loop, for the %s build." % labels[1])
    print()
    head = ["benchmark", "hand loop"] + labels + ["ratio"]
    rows = []
    worst = 0.0
    for name in order:
        row = [name, fmt(statistics.median(loop_ns[name]))]
        for label in labels:
            ns = statistics.median(lib_ns[(name, label)])
            if label == release_of(label):
                row.append(fmt(ns))
            else:
                change = (ns / statistics.median(lib_ns[(name, release_of(label))]) - 1.0) * 100.0
                worst = max(worst, change)
                row.append("%s (%+.0f%%)" % (fmt(ns), change))
        row.append("%.4f" % (statistics.median(lib_ns[(name, labels[1])]) / statistics.median(loop_ns[name])))
        rows.append(row)
    widths = [max(len(str(r[i])) for r in rows + [head]) for i in range(len(head))]
    line = lambda r: "| " + " | ".join(str(c).ljust(w) for c, w in zip(r, widths)) + " |"
    print(line(head))
    print("|" + "|".join("-" * (w + 2) for w in widths) + "|")
    for r in rows:
        print(line(r))
    print()
    print("largest slowdown against a release build: %+.1f%%" % worst)
    for line_ in same_code:
        print(line_)
    return 0


if __name__ == "__main__":
    sys.exit(main())
