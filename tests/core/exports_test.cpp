// The shared library exports exactly the declared names, and the record has
// the layout that C callers compile against.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <set>
#include <string>

#include "zvq/seq.h"

extern "C" int zvq_c99_header_probe(int64_t* sum_out);

// The record layout C callers compile against.
static_assert(offsetof(zvq_seq_iterator, next) == 0);
static_assert(offsetof(zvq_seq_iterator, elem_size) == 32);
static_assert(offsetof(zvq_seq_iterator, run_pos) == 38);
static_assert(offsetof(zvq_seq_iterator, prepared) == 39);
static_assert(offsetof(zvq_seq_iterator, first_pos) == 40);
static_assert(offsetof(zvq_seq_iterator, operand) == 64);
static_assert(offsetof(zvq_seq_iterator, elem_type) == 104);
static_assert(offsetof(zvq_seq_iterator, state) % 8 == 0);
static_assert(sizeof(zvq_seq_iterator::state) == 288);
static_assert(offsetof(zvq_seq_iterator, null_bitmap) == offsetof(zvq_seq_iterator, state) + 288);
static_assert(offsetof(zvq_seq_iterator, chunk) == offsetof(zvq_seq_iterator, null_bitmap) + 16);
static_assert(sizeof(zvq_seq_iterator) == offsetof(zvq_seq_iterator, chunk) + 4096);

namespace {

const char* const kDeclared[] = {
#include "support/api_names.inc"
};

// Left out of a build for a host runtime that supplies them.
const char* const kHostNames[] = {
#include "support/host_names.inc"
};

bool expected_in_library(const std::string& name) {
    if (ZVQ_WITH_HOST) return true;
    for (const char* h : kHostNames)
        if (name == h) return false;
    return true;
}

TEST(Exports, EveryDeclaredNameIsExported) {
    if (!ZVQ_WITH_HOST) GTEST_SKIP() << "the library cannot be opened alone without the host operations";
    void* lib = dlopen(ZVQ_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(lib, nullptr) << dlerror();
    for (const char* name : kDeclared) {
        EXPECT_NE(dlsym(lib, name), nullptr) << name;
    }
    dlclose(lib);
}

TEST(Exports, NothingUndeclaredIsExported) {
    const std::string cmd = std::string("nm -D --defined-only ") + ZVQ_SHARED_LIBRARY;
    FILE* pipe = popen(cmd.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> declared(std::begin(kDeclared), std::end(kDeclared));
    char line[1024];
    size_t seen = 0;
    while (fgets(line, sizeof line, pipe)) {
        char kind = 0;
        char name[900] = {0};
        if (sscanf(line, "%*s %c %899s", &kind, name) != 2) continue;
        const std::string n = name;
        // Sanitizer builds add their own bookkeeping symbols.
        if (n.rfind("__asan", 0) == 0 || n.rfind("__odr_asan", 0) == 0 || n.rfind("__ubsan", 0) == 0) continue;
        if (n == "_init" || n == "_fini") continue;
        EXPECT_TRUE(declared.count(n) && expected_in_library(n)) << "exported but not declared: " << n;
        ++seen;
    }
    EXPECT_EQ(pclose(pipe), 0);
    size_t expected = 0;
    for (const auto& n : declared) expected += expected_in_library(n);
    EXPECT_EQ(seen, expected);
}

TEST(Header, CompilesAsC99AndWorks) {
    int64_t sum = 0;
    EXPECT_EQ(zvq_c99_header_probe(&sum), 0);
    EXPECT_EQ(sum, 2 + 3 + 4 + 5);
}

}  // namespace
