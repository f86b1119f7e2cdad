#!/usr/bin/env python3
"""Writes the public declarations under include/zvq/seq/ from the manifests in
tools/api/ and the element type table of src/core/types.hpp.

Every exported name is written out in full so that grep finds it. Each manifest
is one family file's list of declarations, with type positions to expand:

    each("zvq_seq_status zvq_seq_next_{t}(zvq_seq_iterator* it, {t_c}* value_out);", t=ALL)

{t} is the type name, {t_c} its C value type; plain string lists expand too.
A manifest may set PREAMBLE: C text (types, constants) written ahead of the
declarations.
For the tests it also writes tests/support/api_table.inc: Api<Tag> with each
single-type constructor (and merge) under its name without zvq_seq_ and type.

A doc(...) entry in DECLS documents the declarations that follow it, up to the
next doc(...): gen_api.py writes it as a comment above them in the header and
as a section of the family's page under docs/reference/. A declaration before
the first doc(...) is undocumented, which the doc coverage test refuses.
docs/building.md says how to write one. Every Caution: line is also collected
into docs/behaviours.md.

    gen_api.py           rewrite the generated files
    gen_api.py --check   exit 1 if any generated file is stale
"""
import itertools
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TYPES_HPP = ROOT / "src/core/types.hpp"
MANIFESTS = ROOT / "tools/api"
OUT_DIR = ROOT / "include/zvq/seq"
DOCS_OUT = ROOT / "docs/reference"
BEHAVIOURS_OUT = ROOT / "docs/behaviours.md"
CMAKE_LISTS = ROOT / "CMakeLists.txt"
NAMES_OUT = ROOT / "tests/support/api_names.inc"
HOST_NAMES_OUT = ROOT / "tests/support/host_names.inc"
TABLE_OUT = ROOT / "tests/support/api_table.inc"
HOST_MANIFEST = "core_host"


class Type:
    def __init__(self, name, tag, c):
        self.name, self.tag, self.c = name, tag, c

    def __repr__(self):
        return self.name


def read_type_table():
    text = TYPES_HPP.read_text()
    lists = {}
    for macro in ("ZVQ_NUMERIC_TYPES", "ZVQ_CHAR_TYPE"):
        m = re.search(r"#define %s\(X\)((?:.*\\\n)*.*)" % macro, text)
        if not m:
            sys.exit("gen_api: %s not found in %s" % (macro, TYPES_HPP))
        lists[macro] = [Type(*row) for row in re.findall(r"X\((\w+),\s*(\w+),\s*(\w+)\)", m.group(1))]
    return lists["ZVQ_NUMERIC_TYPES"], lists["ZVQ_CHAR_TYPE"]


NUMERIC, CHAR = read_type_table()
ALL = NUMERIC + CHAR


def by_name(*names):
    table = {t.name: t for t in ALL}
    return [table[n] for n in names]


def each(template, **axes):
    keys = list(axes)
    out = []
    for combo in itertools.product(*(axes[k] for k in keys)):
        fields = {}
        for k, v in zip(keys, combo):
            if isinstance(v, Type):
                fields[k], fields[k + "_c"] = v.name, v.c
            else:
                fields[k] = v
        out.append(template.format(**fields))
    return out


class Doc:
    """One documented block: the declarations after it up to the next Doc."""

    def __init__(self, name, what, types, statuses, args=None, merge=None, allocates=None, caution=None,
                 tests=None):
        if not types or not statuses:
            sys.exit("gen_api: doc(%s) needs types and statuses" % name)
        self.name, self.what, self.types, self.statuses = name, what, types, statuses
        self.args, self.merge, self.allocates = args or [], merge, allocates
        self.caution, self.tests = caution, tests or []


def doc(name, what, types, statuses, **fields):
    return Doc(name, what, types, statuses, **fields)


def wrap(text, width, first, rest):
    words, lines, line = text.split(), [], first
    for w in words:
        if len(line) + len(w) + 1 > width and line.strip():
            lines.append(line.rstrip())
            line = rest
        line += w + " "
    lines.append(line.rstrip())
    return lines


def comment_lines(d):
    """The block above a family's declarations: what, types, arguments, statuses, the rest."""
    out = wrap("%s: %s" % (d.name, d.what), 100, " * ", " *   ")
    out.append(" *")
    out.append(" * Types (operand -> result):")
    for row in d.types:
        out += wrap("%s -> %s" % row, 100, " *   ", " *     ")
    if d.args:
        out.append(" * Arguments:")
        for arg, role in d.args:
            out += wrap("%s: %s" % (arg, role), 100, " *   ", " *     ")
    out.append(" * Statuses:")
    for status, when in d.statuses:
        out += wrap("%s: %s" % (status, when), 100, " *   ", " *     ")
    out += wrap("Prepare/merge: " + (d.merge or "no."), 100, " * ", " *   ")
    out += wrap("Allocates: " + (d.allocates or "nothing."), 100, " * ", " *   ")
    if d.caution:
        out += wrap("Caution: " + d.caution, 100, " * ", " *   ")
    if d.tests:
        out += wrap("Pinned by: " + ", ".join(d.tests), 100, " * ", " *   ")
    return ["/**"] + [l.replace("*/", "* /") for l in out] + [" */"]


def page_section(d, names):
    md = ["## `%s`" % d.name, "", d.what, "", "| Operand | Result |", "|---|---|"]
    md += ["| %s | %s |" % row for row in d.types]
    if d.args:
        md += ["", "| Argument | Role |", "|---|---|"] + ["| `%s` | %s |" % a for a in d.args]
    md += ["", "| Status | When |", "|---|---|"] + ["| `%s` | %s |" % s for s in d.statuses]
    md += ["", "**Prepare/merge:** " + (d.merge or "no."), "", "**Allocates:** " + (d.allocates or "nothing.")]
    if d.caution:
        md += ["", "**Caution:** " + d.caution]
    if d.tests:
        md += ["", "**Pinned by:** " + ", ".join("`%s`" % t for t in d.tests)]
    shown = ["`%s`" % n for n in names]
    if len(shown) > 6:
        shown = shown[:3] + ["…"] + shown[-2:]
    md += ["", "%d names: %s" % (len(names), ", ".join(shown)), ""]
    return md


def exported_name(decl):
    if "(" in decl.split("=")[0] and not decl.lstrip().startswith("extern"):
        return re.search(r"(\w+)\s*\(", decl).group(1)
    return re.findall(r"\w+", decl.split(";")[0])[-1]


def load_manifest(path, calls=None):
    def recorded(template, **axes):
        if calls is not None:
            calls.append((template, axes))
        return each(template, **axes)

    scope = {"each": recorded, "NUMERIC": NUMERIC, "CHAR": CHAR, "ALL": ALL, "by_name": by_name, "doc": doc}
    exec(compile(path.read_text(), str(path), "exec"), scope)
    return scope["TITLE"], scope["DECLS"], scope.get("NOTES", ""), scope.get("PREAMBLE", "")


def declarations(entries):
    return [e for e in entries if isinstance(e, str)]


def render_header(stem, title, entries, preamble=""):
    guard = "ZVQ_SEQ_%s_H" % stem.upper()
    lines = [
        "/* Generated by tools/gen_api.py from tools/api/%s.py; do not edit. */" % stem,
        "/* %s */" % title,
        "#ifndef %s" % guard,
        "#define %s" % guard,
        "",
        "#ifdef __cplusplus",
        'extern "C" {',
        "#endif",
        "",
    ]
    if preamble:
        lines += [preamble.strip("\n"), ""]
    for e in entries:
        if isinstance(e, Doc):
            lines += ["" if lines[-1] else None] + comment_lines(e)
            lines = [l for l in lines if l is not None]
        else:
            lines.append("ZVQ_SEQ_API " + e)
    lines += ["", "#ifdef __cplusplus", "}", "#endif", "", "#endif", ""]
    return "\n".join(lines)


CXX_KEYWORDS = {"union", "if", "and", "or", "not", "xor", "const", "char", "double", "float"}


def api_table(calls):
    """For typed tests: Api<Tag> holds each constructor (and merge) of that
    type under the name with zvq_seq_ and the type dropped."""
    members = {t.name: [] for t in ALL}
    for template, axes in calls:
        m = re.search(r"zvq_seq_([\w{}]*?)_?\{t\}(_merge)?\(", template)
        others = [k for k in axes if k != "t"]
        if not m or "t" not in axes or any(isinstance(v, Type) for k in others for v in axes[k]):
            continue
        for combo in itertools.product(*(axes[k] for k in others)):
            fields = dict(zip(others, combo))
            member = (m.group(1) + (m.group(2) or "")).format(**fields)
            member += "_" if member in CXX_KEYWORDS else ""
            for t in axes["t"]:
                fn = "zvq_seq_" + m.group(0)[len("zvq_seq_"):-1].format(t=t.name, **fields)
                members[t.name].append("    static constexpr auto %s = %s;" % (member, fn))
    lines = ["/* Generated by tools/gen_api.py: each type's constructors by tag. */", "template <class Tag>",
             "struct Api;"]
    for t in ALL:
        lines += ["template <>", "struct Api<%s> {" % t.tag] + members[t.name] + ["};"]
    lines.append("using NumericTags = ::testing::Types<%s>;" % ", ".join(t.tag for t in NUMERIC))
    return "\n".join(lines) + "\n"


def render_page(stem, title, entries, notes):
    md = ["<!-- Generated by tools/gen_api.py from tools/api/%s.py; do not edit. -->" % stem,
          "# %s" % title, "", "Declared in `zvq/seq/%s.h`." % stem, ""]
    block, names = None, []
    for e in entries + [None]:
        if isinstance(e, str):
            names.append(exported_name(e))
            continue
        if block is not None:
            md += page_section(block, names)
        elif names:
            md += ["## Undocumented", "", ", ".join("`%s`" % n for n in names), ""]
        block, names = e, []
    if notes.strip():
        md += ["## Decisions and details", "", notes.strip(), ""]
    return "\n".join(md)


BEHAVIOURS_HEAD = """<!-- Generated by tools/gen_api.py from the Caution: lines of tools/api/*.py; do not edit. -->
# Behaviours to know

Every operator below answers `SEQ_OK` and still gives what its name does not suggest, or stops the
process, or never returns. Each behaviour is kept on purpose: hosts rely on it. The line says what
happens, with an input and its answer, and which operator gives what the name suggests. The family
page behind each link has the whole contract and the test that pins it.
"""


def render_behaviours(cautions, faults):
    md = [BEHAVIOURS_HEAD, "## Wrong-looking answers with SEQ_OK", "", "| Operator | What happens, and the alternative |",
          "|---|---|"]
    md += ["| [`%s`](reference/%s.md) | %s |" % (name, stem, text.replace("|", "\\|")) for stem, name, text in cautions]
    md += ["", "## Faults: the process stops", "", "| Operator | When |", "|---|---|"]
    md += ["| [`%s`](reference/%s.md) | %s: %s |" % (name, stem, sig, when) for stem, name, sig, when in faults]
    md += ["", "## Operators that do not end by themselves", "",
           "`zvq_seq_const_T` (endless by design), `zvq_seq_stretch_T_U`, `zvq_seq_stretch0_T_U` and "
           "`zvq_seq_asof_join_T_U` repeat their answer after the last key; `zvq_seq_thin_T` with step 0; "
           "`zvq_seq_print_char`; `zvq_seq_custom_parse` over a text whose last item has no `,` or `}` behind it; "
           "`zvq_seq_parse_char` over an unquoted list without `}`. Bound their reader with `zvq_seq_limit` or "
           "a binary operator whose other operand ends. `zvq_seq_filter_first_pos` with a false flag under its "
           "input's cursor never returns from `next`.", ""]
    return "\n".join(md)


def version_header():
    m = re.search(r"project\(zvqseq VERSION (\d+)\.(\d+)\.(\d+)", CMAKE_LISTS.read_text())
    if not m:
        sys.exit("gen_api: project(zvqseq VERSION x.y.z ...) not found in CMakeLists.txt")
    major, minor, patch = m.groups()
    return "\n".join([
        "/* Generated by tools/gen_api.py from the project VERSION in CMakeLists.txt; do not edit. */",
        "#ifndef ZVQ_SEQ_VERSION_H", "#define ZVQ_SEQ_VERSION_H", "",
        "#define ZVQ_SEQ_VERSION_MAJOR %s" % major,
        "#define ZVQ_SEQ_VERSION_MINOR %s" % minor,
        "#define ZVQ_SEQ_VERSION_PATCH %s" % patch,
        '#define ZVQ_SEQ_VERSION_STRING "%s.%s.%s"' % (major, minor, patch), "", "#endif", ""])


def outputs():
    files = {}
    calls = []
    names = []
    host_names = []
    stems = []
    pages, cautions, faults = [], [], []
    for path in sorted(MANIFESTS.glob("*.py")):
        title, entries, notes, preamble = load_manifest(path, calls)
        for d in entries:
            if isinstance(d, Doc):
                if d.caution:
                    cautions.append((path.stem, d.name, d.caution))
                faults += [(path.stem, d.name, st, when) for st, when in d.statuses if st.startswith("SIG")]
        decls = declarations(entries)
        stems.append(path.stem)
        pages.append((path.stem, title))
        files[OUT_DIR / (path.stem + ".h")] = render_header(path.stem, title, entries, preamble)
        files[DOCS_OUT / (path.stem + ".md")] = render_page(path.stem, title, entries, notes)
        names += [exported_name(d) for d in decls]
        if path.stem == HOST_MANIFEST:
            host_names += [exported_name(d) for d in decls]
    dupes = sorted({n for n in names if names.count(n) > 1})
    if dupes:
        sys.exit("gen_api: declared twice: " + ", ".join(dupes))
    umbrella = ["/* Generated by tools/gen_api.py; do not edit. */", "#ifndef ZVQ_SEQ_ALL_H", "#define ZVQ_SEQ_ALL_H"]
    umbrella += ['#include "zvq/seq/%s.h"' % s for s in stems]
    umbrella += ["#endif", ""]
    files[OUT_DIR / "all.h"] = "\n".join(umbrella)
    files[OUT_DIR / "version.h"] = version_header()
    index = ["<!-- Generated by tools/gen_api.py; do not edit. -->", "# Reference by family", "",
             "One page per header under `include/zvq/seq/`, with the same text as the header's comments.", ""]
    index += ["- [%s](%s.md): %s" % (stem, stem, title) for stem, title in pages]
    files[DOCS_OUT / "README.md"] = "\n".join(index + [""])
    files[BEHAVIOURS_OUT] = render_behaviours(cautions, faults)
    files[NAMES_OUT] = "/* Generated by tools/gen_api.py: every exported name. */\n" + "".join(
        '"%s",\n' % n for n in sorted(names))
    files[HOST_NAMES_OUT] = "/* Generated by tools/gen_api.py: the names the host module supplies. */\n" + "".join(
        '"%s",\n' % n for n in sorted(host_names))
    files[TABLE_OUT] = api_table(calls)
    return files


TESTS_DIR = ROOT / "tests"


def missing_tests():
    """Test names a doc block cites (Suite.Name) that no test defines: a
    renamed or dropped test would leave the reference pointing nowhere."""
    defined = set()
    for path in TESTS_DIR.rglob("*.cpp"):
        defined |= {"%s.%s" % m for m in re.findall(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)",
                                                  path.read_text())}
    cited = set()
    for path in sorted(MANIFESTS.glob("*.py")):
        for e in load_manifest(path)[1]:
            if isinstance(e, Doc):
                cited |= set(e.tests)
    return sorted(cited - defined)


def main():
    check = "--check" in sys.argv[1:]
    if check and missing_tests():
        print("gen_api: doc blocks cite tests that do not exist: " + ", ".join(missing_tests()))
        return 1
    stale = []
    for path, text in outputs().items():
        if path.exists() and path.read_text() == text:
            continue
        stale.append(path.relative_to(ROOT))
        if not check:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
    if check:
        known = set(outputs())
        extra = [p for p in list(OUT_DIR.glob("*.h")) + list(DOCS_OUT.glob("*.md")) if p not in known]
        stale += [p.relative_to(ROOT) for p in extra]
    if check and stale:
        print("gen_api: stale generated files (run tools/gen_api.py): " + ", ".join(map(str, stale)))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
