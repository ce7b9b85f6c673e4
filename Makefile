# Thin wrapper over CMake. `make demo` runs the demo, `make test` the whole test suite.
JOBS ?= 2
BUILD ?= build
PREFIX ?= /usr/local
CMAKE_FLAGS ?=
GENERATOR := $(if $(shell command -v ninja 2>/dev/null),Ninja,Unix Makefiles)

.PHONY: all build demo test sanitize tsan bench install clean

all: build

build:
	cmake -S . -B $(BUILD) -G "$(GENERATOR)" $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	./$(BUILD)/examples/korvs_demo

test: build
	cd $(BUILD) && ctest -j $(JOBS) --output-on-failure

# The suite once more under AddressSanitizer and UndefinedBehaviorSanitizer.
sanitize:
	$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DKORVS_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug"

# The suite under ThreadSanitizer. The signal trap's handler raises the library's error,
# which formats and allocates; the fault it handles is synchronous, so the report of
# signal-unsafe calls does not apply.
tsan:
	TSAN_OPTIONS=report_signal_unsafe=0 $(MAKE) test BUILD=build-tsan CMAKE_FLAGS="-DKORVS_TSAN=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo"

bench:
	$(MAKE) build BUILD=build-bench CMAKE_FLAGS="-DKORVS_BENCH=ON -DKORVS_TESTS=OFF -DCMAKE_BUILD_TYPE=Release"
	for b in build-bench/bench/bench_*; do $$b; done

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf build build-asan build-tsan build-bench
