# Thin front end over CMake. `make demo` and `make test` are all a newcomer needs.
MAKEFLAGS += --no-print-directory
comma := ,
JOBS ?= $(shell nproc)
CMAKE ?= cmake

.PHONY: all demo test asan bench check-api install clean

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

# The generated declarations must match the manifests and the type table.
check-api:
	python3 tools/gen_api.py --check

clean:
	rm -rf build build-asan build-bench build-fuzz
