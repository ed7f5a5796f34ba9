# Front door of the build. `make test` sets up a fresh machine (packages,
# cross-built dependencies), builds everything and runs every test under Wine.

BUILD_DIR ?= build
BUILD_TYPE ?= MinSizeRel
CTEST_ARGS ?=

SETUP := tools/setup
TOOLCHAIN_I686 := cmake/toolchain-i686-w64-mingw32.cmake
TOOLCHAIN_X64 := cmake/toolchain-x86_64-w64-mingw32.cmake
# The 64-bit tools (the packing tool) are built in their own tree and put
# beside the product in $(BUILD_DIR)/bin.
TOOLS_DIR := $(BUILD_DIR)/x64
# The native (Linux, clang) build of the portable code: sanitizers and fuzzing.
NATIVE_DIR := $(BUILD_DIR)/native
# The build-time tools built for Linux (the packing tool, tools/native), put
# beside the Windows programs in $(BUILD_DIR)/bin.
NATIVE_TOOLS_DIR := $(BUILD_DIR)/native-tools
FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=

.PHONY: all setup deps configure build test test-size native-configure native-test fuzz demo bench clean

all: build

# Debian packages: mingw-w64 toolchains, Wine, Xvfb, CMake, Ninja.
setup:
	bash $(SETUP)/install-packages.sh

# Cross-built libraries for both architectures, cached outside the checkout.
# The 32-bit prefix is recorded for the configure step.
deps: setup
	@mkdir -p $(BUILD_DIR)
	bash $(SETUP)/build-deps.sh x86_64 | tail -n 1 > $(BUILD_DIR)/deps-prefix-x86_64.txt
	bash $(SETUP)/build-deps.sh i686 | tail -n 1 > $(BUILD_DIR)/deps-prefix-i686.txt

configure: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja \
	  -DCMAKE_TOOLCHAIN_FILE=$(TOOLCHAIN_I686) \
	  -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DORVIK_DEPS_PREFIX="$$(cat $(BUILD_DIR)/deps-prefix-i686.txt)"
	cmake -S . -B $(TOOLS_DIR) -G Ninja \
	  -DCMAKE_TOOLCHAIN_FILE=$(TOOLCHAIN_X64) \
	  -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DORVIK_TOOLS_ONLY=ON \
	  -DORVIK_RUNTIME_OUTPUT_DIRECTORY="$(abspath $(BUILD_DIR))/bin" \
	  -DORVIK_DEPS_PREFIX="$$(cat $(BUILD_DIR)/deps-prefix-x86_64.txt)"
	cmake -S tools/native -B $(NATIVE_TOOLS_DIR) -G Ninja \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
	  -DORVIK_RUNTIME_OUTPUT_DIRECTORY="$(abspath $(BUILD_DIR))/bin"

build: configure
	cmake --build $(TOOLS_DIR)
	cmake --build $(NATIVE_TOOLS_DIR)
	cmake --build $(BUILD_DIR)

test: build native-test
	bash tools/test/run-tests.sh $(BUILD_DIR) $(CTEST_ARGS)

# Lines of the tests against lines of the rest of the code; fails above 0.35.
test-size:
	@bash tools/test/test-size.sh

# The portable code's unit tests built natively under AddressSanitizer and
# UndefinedBehaviorSanitizer, with the libFuzzer targets beside them, each of
# which replays its seed corpus once among the tests.
native-configure: setup
	cmake -S tests/native -B $(NATIVE_DIR) -G Ninja \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DORVIK_FUZZ=ON

native-test: native-configure
	cmake --build $(NATIVE_DIR)
	cd $(NATIVE_DIR) && ctest -j2 --output-on-failure --no-tests=error \
	  --output-junit ctest-results.xml

# Runs every fuzz target (or those in FUZZ_TARGETS) for FUZZ_SECONDS seconds
# from its seed corpus.
fuzz: native-configure
	cmake --build $(NATIVE_DIR)
	bash tools/test/run-fuzzers.sh $(NATIVE_DIR) $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# Builds a sample installer and runs it twice under Wine, showing each
# child's command line, the exit code and the run's log.
demo: build
	bash tools/demo/run-demo.sh $(BUILD_DIR)

# Benchmarks, not tests: builds only what they run (the template, the packing
# tool, the benchmark programs, the archive manager natively without
# sanitizers) and prints one table; see bench/README.md. BENCH_ARGS are
# passed to bench/run_bench.py.
BENCH_NATIVE_DIR := $(BUILD_DIR)/bench-native
BENCH_ARGS ?=
bench: configure
	cmake --build $(TOOLS_DIR)
	cmake --build $(NATIVE_TOOLS_DIR)
	cmake --build $(BUILD_DIR) --target orvik_bootstrapper bench_programs
	cmake -S tests/native -B $(BENCH_NATIVE_DIR) -G Ninja \
	  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=MinSizeRel \
	  -DORVIK_SANITIZE=OFF -DORVIK_BENCH=ON
	cmake --build $(BENCH_NATIVE_DIR) --target archive_unpack
	bash bench/run-bench.sh $(BUILD_DIR) $(BENCH_ARGS)

clean:
	rm -rf $(BUILD_DIR)
