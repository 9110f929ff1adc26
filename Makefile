# The commands: `make run`, `make test`, `make package`. Each installs what is missing first.
BUILD ?= build

.PHONY: deps build run test test-sanitized bench package clean

deps:
	@scripts/install-deps.sh

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD)

run: build
	$(BUILD)/lumox

test: build
	@scripts/run-tests.sh $(BUILD)

# The whole suite built with AddressSanitizer and UBSan; leak checks are off, as the system's
# GL, X and D-Bus libraries keep allocations to the end by design.
test-sanitized: deps
	@cmake -S . -B build-sanitized -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLUMOX_SANITIZE=ON >/dev/null
	@cmake --build build-sanitized
	@ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 scripts/run-tests.sh build-sanitized

bench: build
	@scripts/run-bench.sh $(BUILD)

# The Debian package, $(BUILD)/lumox_<version>_<arch>.deb.
package: build
	@cmake --build $(BUILD) --target package

clean:
	rm -rf $(BUILD)
