# Everything starts here: `make test` and `make demo` set up a fresh machine on their own.
PRESET := linux-armhf
BUILD_DIR := build/$(PRESET)

.PHONY: all bootstrap configure build test demo bench clean

all: build

bootstrap:
	@scripts/bootstrap

configure: bootstrap
	@if [ ! -f $(BUILD_DIR)/build.ninja ]; then cmake --preset $(PRESET); fi

build: configure
	cmake --build --preset $(PRESET)

test: build
	ctest --preset $(PRESET)

demo: build
	@tools/kelp-demo

# Every tests/bench program under qemu-arm, then one table of adaptor/host pairs and the
# start-up measurement (scripts/bench-report --help for repetitions and filters).
bench: build
	cmake --build --preset $(PRESET) --target benchmarks
	@command -v python3 >/dev/null || { echo "make bench: scripts/bench-report needs python3" >&2; exit 1; }
	@scripts/bench-report --build $(BUILD_DIR)

clean:
	rm -rf build
