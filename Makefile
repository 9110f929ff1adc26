# The commands: `make run`, `make test`, `make package`. Each installs what is missing first.
BUILD ?= build

.PHONY: deps build run test bench package clean

deps:
	@scripts/install-deps.sh

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD)

run: build
	$(BUILD)/lumox

test: build
	@scripts/run-tests.sh $(BUILD)

bench: build
	@scripts/run-bench.sh $(BUILD)

# The Debian package, $(BUILD)/lumox_<version>_<arch>.deb.
package: build
	@cmake --build $(BUILD) --target package

clean:
	rm -rf $(BUILD)
