# The front door: `make run` starts the application, `make test` runs every test.
# Both install what they need first (scripts/install-deps is idempotent).
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 20

.PHONY: deps build run test asan tsan fuzz bench package format format-check tidy qmllint clean

deps:
	bash scripts/install-deps

build: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)

run: build
	./build/dev/src/Ambrel/ambrel

test: build
	ctest --preset dev -j $(JOBS)

asan: deps
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

# The threaded code (scanner, catch-up, eraser, the model's pool) under ThreadSanitizer.
# The Space Watch tests are left out: QtDBus drives libdbus's locks through hooks that tsan
# reads as unlocks on the wrong thread, so every test that talks over the bus is reported.
# The pkexec scan is left out too: it runs the command-line programs, which this build omits.
tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

# Builds every libFuzzer target and runs each briefly on its seed corpus.
fuzz: deps
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	bash scripts/run-fuzzers build/fuzz $(FUZZ_SECONDS)

# A packager's Release build (default options: warnings are not errors) and its .deb.
package: deps
	cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DAMBREL_TESTS=OFF -DAMBREL_BENCH=OFF
	cmake --build build/release -j $(JOBS)
	cd build/release && cpack -G DEB

bench: build
	@for b in build/dev/bench/bench_*; do echo "== $$b"; $$b; done

format:
	clang-format -i $$(git ls-files '*.cpp' '*.hpp')

format-check: deps
	clang-format --dry-run --Werror $$(git ls-files '*.cpp' '*.hpp')

tidy: deps
	cmake --preset dev
	JOBS=$(JOBS) bash scripts/tidy

qmllint: deps
	bash scripts/qmllint

clean:
	rm -rf build
