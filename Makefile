# Thin over the CMake presets in CMakePresets.json. Every target installs what is missing first.
PREFIX ?= /usr/local
PROGRAM := build/release/bin/vantorel

.PHONY: run build test sanitize bench lint install package clean packages

# On a desktop: starts the program in the tray. Without a display: a short demonstration on a
# private virtual one.
run: build
	@tools/run.sh $(PROGRAM)

# The optimised program, at build/release/bin/vantorel.
build: packages
	@cmake --preset release --log-level=WARNING
	@cmake --build --preset release --target vantorel-program

# Build, format, tidy, the sanitizers, the fuzzers and all tests.
test: packages
	@tools/run_tests.sh

# Of `make test` the sanitizers and fuzzers alone.
sanitize: packages
	@tools/run_sanitizers.sh

# The speed of the hot paths, each beside a named alternative.
bench: packages
	@cmake --preset release --log-level=WARNING
	@cmake --build --preset release
	@bench/run.sh

lint: packages
	@cmake --preset release --log-level=WARNING
	@tools/check_style.sh --all

install: build
	@cmake --install build/release --prefix $(PREFIX) --component program

# A Debian package of it, at build/package/.
package: build
	@cd build/release && cpack -G DEB

packages:
	@tools/install_packages.sh

clean:
	rm -rf build
