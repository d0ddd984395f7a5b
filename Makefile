# The front door: every target installs what is missing, configures and builds.
#   make run       set-up, build, render every sample document of examples/
#   make test      set-up, build, run the whole test suite
#   make bench     set-up, build, run the benchmarks of bench/
#   make sanitize  the whole test suite in a separate AddressSanitizer + UBSan build
#   make fuzz      each libFuzzer target of fuzz/ for FUZZ_SECONDS (default 60) under clang
#   make fuzz-coverage  the source lines the corpora grown by make fuzz reach
#   make package   set-up, build, the Debian packages build/pastrel-print_VERSION_ARCH.deb and
#                  build/libpastrel-dev_VERSION_ARCH.deb (MAINTAINER="Name <address>" sets
#                  their Maintainer field)
BUILD_DIR ?= build
JOBS      ?= $(shell nproc)
CMAKE_ARGS ?=

# Debian packages the build, the tests and the demo need (Debian 12).
PACKAGES := cmake g++ make libgtest-dev qt6-base-dev libqt6sql6-psql qt6-l10n-tools \
            qt6-tools-dev-tools qt6-tools-dev postgresql time xxd
# The Debian package and its test: dpkg-shlibdeps computes its dependencies (dpkg-dev, file);
# the manual pages are rendered with man -l and groff; the consumer test builds with pkg-config.
PACKAGES += dpkg-dev file man-db groff-base pkgconf
# The packages' test checks them as Debian does, and the spool's timer as systemd reads it.
PACKAGES += lintian systemd
# pastrel-preview: its fonts and the SVG writer.
PACKAGES += fonts-dejavu-core qt6-svg-dev
# QR codes and barcodes: their encoders (libqrencode, zint), and the decoder the tests read
# the preview's pictures back with (zbarimg).
PACKAGES += libqrencode-dev libzint-dev zbar-tools

.PHONY: all deps configure build run test bench package sanitize fuzz fuzz-coverage clean

all: build

deps:
	@scripts/install-deps.sh $(PACKAGES)

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) -DPASTREL_WERROR=ON $(CMAKE_ARGS)

configure: $(BUILD_DIR)/CMakeCache.txt

build: deps configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@scripts/demo.sh $(BUILD_DIR)/app/pastrel-print examples

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

bench: build
	@bench/run.sh $(BUILD_DIR)/app/pastrel-print

MAINTAINER ?=
package: build
	$(if $(MAINTAINER),cmake -S . -B $(BUILD_DIR) "-DPASTREL_MAINTAINER=$(MAINTAINER)")
	cmake --build $(BUILD_DIR) --target package

SANITIZE_DIR ?= build-sanitize
sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DPASTREL_WERROR=ON -DPASTREL_SANITIZE=ON $(CMAKE_ARGS)
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS)

# libFuzzer comes with clang's runtime (libclang-rt-14-dev), installed only for this target.
FUZZ_DIR     ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=
fuzz: deps
	@scripts/install-deps.sh clang libclang-rt-14-dev
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DPASTREL_WERROR=ON -DPASTREL_SANITIZE=ON \
	    -DPASTREL_FUZZ=ON -DPASTREL_BUILD_TESTS=OFF $(CMAKE_ARGS)
	cmake --build $(FUZZ_DIR) -j $(JOBS)
	fuzz/run.sh $(FUZZ_DIR) $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# The source lines the grown corpora of make fuzz reach (llvm-cov), for a fuzzing session's note.
fuzz-coverage: deps
	@scripts/install-deps.sh clang llvm
	fuzz/coverage.sh $(FUZZ_DIR) build-fuzz-coverage

clean:
	rm -rf $(BUILD_DIR)
