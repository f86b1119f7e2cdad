# Thin front end over CMake. `make demo` and `make test` are all a newcomer needs.
MAKEFLAGS += --no-print-directory
comma := ,
JOBS ?= $(shell nproc)
CMAKE ?= cmake

.PHONY: all demo test asan bench fuzz check-api install clean duckdb

all: test

build/CMakeCache.txt:
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo

demo: build/CMakeCache.txt
	$(CMAKE) --build build -j$(JOBS) --target zvq_demo
	./build/examples/zvq_demo

test: build/CMakeCache.txt check-api
	-@$(MAKE) duckdb || echo "*** DuckDB could not be fetched: its round trips will be skipped"
	$(CMAKE) --build build -j$(JOBS)
	ctest --test-dir build --output-on-failure -j$(JOBS)

# DuckDB's C library, the counterpart of the Arrow round trips, the Arrow
# benchmark and the tour: libduckdb.so from the npm package that ships it
# (no header; tests/support/duckdb_api.h declares what is used), fetched
# into the build tree and never committed.
DUCKDB_VERSION ?= 1.5.6-r.1
DUCKDB_LIB := build/duckdb/libduckdb.so
duckdb: $(DUCKDB_LIB)
$(DUCKDB_LIB):
	@command -v npm >/dev/null || { echo "npm not found: cannot fetch DuckDB"; exit 1; }
	rm -rf build/duckdb.tmp && mkdir -p build/duckdb.tmp build/duckdb
	cd build/duckdb.tmp && timeout 120 npm pack --silent @duckdb/node-bindings-linux-x64@$(DUCKDB_VERSION) >/dev/null \
		&& tar xzf duckdb-node-bindings-linux-x64-*.tgz package/libduckdb.so
	mv build/duckdb.tmp/package/libduckdb.so $(DUCKDB_LIB) && rm -rf build/duckdb.tmp

asan:
	$(CMAKE) -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DZVQ_SANITIZE=ON
	$(CMAKE) --build build-asan -j$(JOBS)
	ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
		ctest --test-dir build-asan --output-on-failure -j$(JOBS)

# Every benchmark against the library built as Release, as the README's
# install builds it, and with a distribution's plain -O2; one table.
# COMPILERS="gcc clang" adds clang's builds; BENCH_ARGS passes --filter etc.
COMPILERS ?= gcc
bench:
	python3 tools/bench.py --compilers $(subst $() ,$(comma),$(COMPILERS)) --jobs $(JOBS) $(BENCH_ARGS)

# libFuzzer targets (fuzz/) built with clang, ASan and UBSan; each runs
# FUZZ_SECONDS over a scratch corpus seeded from fuzz/corpus/<target>.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS := parse parse_char custom_parse print from_arrow
fuzz:
	CC=clang CXX=clang++ $(CMAKE) -S fuzz -B build-fuzz
	$(CMAKE) --build build-fuzz -j$(JOBS)
	for t in $(FUZZ_TARGETS); do \
		mkdir -p build-fuzz/corpus/$$t && \
		./build-fuzz/fuzz_$$t build-fuzz/corpus/$$t fuzz/corpus/$$t \
			-max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 || exit 1; \
	done

# The generated declarations must match the manifests and the type table.
check-api:
	python3 tools/gen_api.py --check

clean:
	rm -rf build build-asan build-bench build-fuzz
