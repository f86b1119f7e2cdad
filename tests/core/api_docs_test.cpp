// Every declaration a user reads sits under a doc block that gives its types
// and statuses; status names and the version agree with the headers.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "zvq/seq.h"

namespace {

namespace fs = std::filesystem;

const char* const kDeclared[] = {
#include "support/api_names.inc"
};

struct Block {
    bool has_types = false;
    bool has_statuses = false;
    int type_rows = 0;
    int status_rows = 0;
    bool complete() const { return has_types && has_statuses && type_rows > 0 && status_rows > 0; }
};

struct Finding {
    std::set<std::string> documented;    // names under a complete block
    std::vector<std::string> problems;   // names outside one, with the file
};

std::string declared_name(const std::string& line) {
    // "ZVQ_SEQ_API extern T name;" or "ZVQ_SEQ_API T name(args...);"
    static const std::regex fn(R"((\w+)\s*\()");
    static const std::regex var(R"((\w+)\s*;\s*$)");
    std::smatch m;
    const bool is_var = line.find("extern ") != std::string::npos;
    if (!is_var && std::regex_search(line, m, fn)) return m[1];
    if (std::regex_search(line, m, var)) return m[1];
    return {};
}

// Walks one generated header: a block comment "/**" ... " */" covers the
// declarations that follow it until the next block.
void scan_header(const fs::path& path, Finding& out) {
    std::ifstream in(path);
    std::string line;
    Block current;
    bool have_block = false, in_block = false;
    enum { kNone, kTypes, kStatuses } section = kNone;
    while (std::getline(in, line)) {
        if (line.rfind("/**", 0) == 0) {
            current = Block{};
            in_block = true;
            have_block = true;
            section = kNone;
            continue;
        }
        if (in_block) {
            if (line == " */") {
                in_block = false;
            } else if (line == " * Types (operand -> result):") {
                current.has_types = true;
                section = kTypes;
            } else if (line == " * Statuses:") {
                current.has_statuses = true;
                section = kStatuses;
            } else if (line.rfind(" *   ", 0) == 0 && line.rfind(" *     ", 0) != 0) {
                if (section == kTypes) ++current.type_rows;
                if (section == kStatuses) ++current.status_rows;
            } else if (line.rfind(" * ", 0) == 0 && line.rfind(" *  ", 0) != 0) {
                section = kNone;
            }
            continue;
        }
        if (line.rfind("ZVQ_SEQ_API ", 0) != 0) continue;
        const std::string name = declared_name(line);
        if (have_block && current.complete())
            out.documented.insert(name);
        else
            out.problems.push_back(path.filename().string() + ": " + name);
    }
}

Finding scan_all_headers() {
    Finding f;
    for (const auto& entry : fs::directory_iterator(fs::path(ZVQ_SOURCE_DIR) / "include/zvq/seq"))
        if (entry.path().extension() == ".h") scan_header(entry.path(), f);
    return f;
}

TEST(ApiDocs, EveryDeclaredNameSitsUnderABlockWithTypesAndStatuses) {
    const Finding f = scan_all_headers();
    for (const std::string& p : f.problems) ADD_FAILURE() << "declared outside a documented block: " << p;
    for (const char* name : kDeclared) EXPECT_TRUE(f.documented.count(name)) << "no documented declaration of " << name;
    EXPECT_EQ(f.documented.size(), std::size(kDeclared));
}

TEST(ApiDocs, TheScannerRefusesWhatAUserWouldMiss) {
    const fs::path dir = fs::temp_directory_path() / "zvq_api_docs_probe";
    fs::create_directories(dir);
    const fs::path h = dir / "probe.h";
    std::ofstream(h) << "ZVQ_SEQ_API zvq_seq_status zvq_before_any(zvq_seq_iterator* it);\n"
                        "/**\n * a: no statuses\n *\n * Types (operand -> result):\n *   int4 -> int8\n */\n"
                        "ZVQ_SEQ_API zvq_seq_status zvq_no_statuses(zvq_seq_iterator* it);\n"
                        "/**\n * b: both\n *\n * Types (operand -> result):\n *   int4 -> int8\n"
                        " * Statuses:\n *   SEQ_END: done\n */\n"
                        "ZVQ_SEQ_API zvq_seq_status zvq_good(zvq_seq_iterator* it);\n"
                        "ZVQ_SEQ_API extern uint64_t zvq_good_variable;\n"
                        "/**\n * c: an empty status list\n *\n * Types (operand -> result):\n *   int4 -> int8\n"
                        " * Statuses:\n * Prepare/merge: no.\n */\n"
                        "ZVQ_SEQ_API zvq_seq_status zvq_empty_statuses(zvq_seq_iterator* it);\n";
    Finding f;
    scan_header(h, f);
    fs::remove_all(dir);
    EXPECT_EQ(f.documented, (std::set<std::string>{"zvq_good", "zvq_good_variable"}));
    EXPECT_EQ(f.problems, (std::vector<std::string>{"probe.h: zvq_before_any", "probe.h: zvq_no_statuses",
                                                    "probe.h: zvq_empty_statuses"}));
}

TEST(ApiDocs, EveryHeaderHasItsReferencePage) {
    for (const auto& entry : fs::directory_iterator(fs::path(ZVQ_SOURCE_DIR) / "include/zvq/seq")) {
        const std::string stem = entry.path().stem().string();
        if (stem == "all" || stem == "version") continue;
        EXPECT_TRUE(fs::exists(fs::path(ZVQ_SOURCE_DIR) / "docs/reference" / (stem + ".md"))) << stem;
    }
}

TEST(StatusName, EveryStatusHasItsNameAndOthersAreUnknown) {
    const struct {
        zvq_seq_status status;
        const char* name;
    } table[] = {
        {SEQ_OK, "SEQ_OK"},
        {SEQ_END, "SEQ_END"},
        {SEQ_NOMEM, "SEQ_NOMEM"},
        {SEQ_NOT_SUPPORTED, "SEQ_NOT_SUPPORTED"},
        {SEQ_TYPE_MISMATCH, "SEQ_TYPE_MISMATCH"},
        {SEQ_BAD_ARGUMENT, "SEQ_BAD_ARGUMENT"},
        {SEQ_BAD_ORDER, "SEQ_BAD_ORDER"},
        {SEQ_ALREADY_BOUND, "SEQ_ALREADY_BOUND"},
    };
    for (const auto& row : table) EXPECT_STREQ(zvq_seq_status_name(row.status), row.name) << row.status;
    for (zvq_seq_status other : {1u, 10u, 12u, 51u, 63u, 699u, 702u, 0xFFFFFFFFu})
        EXPECT_STREQ(zvq_seq_status_name(other), "unknown status") << other;
    // A static string: the same pointer every time, never to be freed.
    EXPECT_EQ(zvq_seq_status_name(SEQ_END), zvq_seq_status_name(SEQ_END));
}

TEST(Version, StringMatchesTheHeaderMacrosAndTheSharedLibrary) {
    const std::string from_macros = std::to_string(ZVQ_SEQ_VERSION_MAJOR) + "." +
                                    std::to_string(ZVQ_SEQ_VERSION_MINOR) + "." + std::to_string(ZVQ_SEQ_VERSION_PATCH);
    EXPECT_EQ(from_macros, ZVQ_SEQ_VERSION_STRING);
    EXPECT_EQ(std::string(zvq_seq_version()), from_macros);

    // The shared library's file carries the project version (libzvqseq.so.X.Y.Z).
    char resolved[PATH_MAX];
    ASSERT_NE(realpath(ZVQ_SHARED_LIBRARY, resolved), nullptr);
    const std::string file = fs::path(resolved).filename().string();
    EXPECT_EQ(file, "libzvqseq.so." + from_macros);

    if (!ZVQ_WITH_HOST) GTEST_SKIP() << "the library cannot be opened alone without the host operations";
    void* lib = dlopen(ZVQ_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    auto* version = reinterpret_cast<const char* (*)(void)>(dlsym(lib, "zvq_seq_version"));
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(std::string(version()), from_macros);
    dlclose(lib);
}

}  // namespace
