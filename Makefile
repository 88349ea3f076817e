# Everything the project is asked for; tools/ and CMakePresets.json do the work.
.PHONY: run build test check bench format lint sanitize fuzz package package-test install clean

# Builds only what runs: the tests stay out until `make test` configures them in.
run:
	@tools/install run
	@tools/build run
	@tools/demo

# Builds everything, with the tests; installs nothing.
build:
	@tools/build dev

install:
	@tools/install run test

# The formatter first, so that the run ends with the tests' own closing line.
test: install build
	@tools/format --check
	@ctest --preset dev -j2

# What a release has to pass besides: lint, the sanitizers, the package in a clean Debian root, a long
# run of the kill campaign.
check: test lint sanitize package-test
	@build/glancery drill --kills 2000

bench:
	@tools/install run test bench
	@cmake --workflow --preset release-build
	@bench/run

sanitize: install
	@cmake --workflow --preset asan
	@cmake --workflow --preset tsan

# A Debian package in build-package/.
package:
	@tools/install run
	@tools/build package
	@cd build-package && SOURCE_DATE_EPOCH=$$(git log -1 --format=%ct) cpack

package-test: package
	@tools/install package
	@tools/package_test

# Twenty seconds a target; FUZZ_SECONDS=600 for a long look.
fuzz:
	@tools/install run fuzz
	@cmake --workflow --preset fuzz
	@fuzz/run

format: install
	@tools/format

lint: build
	@tools/install lint
	@tools/check_includes
	@tools/lint

clean:
	rm -rf build build-*
