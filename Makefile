# Build and run contract: `make run` and `make test` work on a fresh Debian machine.
PACKAGES := minisat libcadical-dev libbdd-dev librapidxml-dev zlib1g-dev bison flex iverilog \
            libgtest-dev cmake ninja-build g++ make
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all deps build build-asan run test test-release test-asan bench fuzz fuzz-deps install-packages clean

all: build

deps:
	@$(MAKE) --no-print-directory install-packages WANTED="$(PACKAGES)"

# Only fuzzing needs clang and its libFuzzer runtime.
fuzz-deps: deps
	@$(MAKE) --no-print-directory install-packages WANTED="clang libclang-rt-dev"

install-packages:
	@missing=""; for p in $(WANTED); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "installing:$$missing"; \
	  $(SUDO) apt-get update -qq && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; \
	fi

build: deps
	@cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build build -j $(JOBS)

build-asan: deps
	@cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DNUREX_SANITIZE=ON >/dev/null
	@cmake --build build-asan -j $(JOBS)

build-release: deps
	@cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DNUREX_BENCH=ON >/dev/null
	@cmake --build build-release -j $(JOBS)

# Only the program that it runs.
run: deps
	@cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build build -j $(JOBS) --target nurex
	./build/nurex -D examples/philosophers.pnml.gz

# Both configurations run whatever the other gave; the last line sums them up.
test: build build-asan
	@start=$$(date +%s); \
	(cd build && ctest --output-on-failure -j $(JOBS)) > build/test.log 2>&1; release=$$?; \
	grep -E 'tests passed|tests failed|^[[:space:]]+[0-9]+ - ' build/test.log | sed 's/^/release: /'; \
	(cd build-asan && ASAN_OPTIONS=detect_leaks=1 ctest --output-on-failure -j $(JOBS)) > build-asan/test.log 2>&1; asan=$$?; \
	grep -E 'tests passed|tests failed|^[[:space:]]+[0-9]+ - ' build-asan/test.log | sed 's/^/sanitized: /'; \
	[ $$release = 0 ] || tail -n 60 build/test.log; [ $$asan = 0 ] || tail -n 60 build-asan/test.log; \
	summary() { grep -oE '[0-9]+ tests failed out of [0-9]+' $$1 | tail -1; }; \
	echo "make test: release $$(summary build/test.log), sanitized $$(summary build-asan/test.log), tests $$(( $$(date +%s) - start )) s"; \
	[ $$release = 0 ] && [ $$asan = 0 ]

test-release: build
	cd build && ctest --output-on-failure -j $(JOBS)

test-asan: build-asan
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 ctest --output-on-failure -j $(JOBS)

bench: build-release
	bench/run

# Fuzzes every reader and parser for FUZZ_SECONDS each (clang's libFuzzer).
fuzz: fuzz-deps
	tests/fuzz/run

clean:
	rm -rf build build-asan build-release build-fuzz
