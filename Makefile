# Thin front end over CMake. `make demo` and `make test` are all a newcomer needs.
MAKEFLAGS += --no-print-directory
comma := ,
JOBS ?= $(shell nproc)
CMAKE ?= cmake

.PHONY: all demo test asan bench fuzz check-api install clean

all: test

build/CMakeCache.txt:
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo

demo: build/CMakeCache.txt
	$(CMAKE) --build build -j$(JOBS) --target zvq_demo
	./build/examples/zvq_demo

test: build/CMakeCache.txt check-api
	$(CMAKE) --build build -j$(JOBS)
	ctest --test-dir build --output-on-failure -j$(JOBS)

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
FUZZ_TARGETS := parse parse_char custom_parse print
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
