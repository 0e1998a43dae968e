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

bench: build
	cmake --build --preset $(PRESET) --target benchmarks
	@for b in $(BUILD_DIR)/bench/*; do echo "== $$b"; qemu-arm $$b; done

clean:
	rm -rf build
