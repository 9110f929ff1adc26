# The two commands: `make run` and `make test`. Both install what is missing first.
BUILD ?= build

.PHONY: deps build run test bench clean

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

clean:
	rm -rf $(BUILD)
