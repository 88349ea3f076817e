# Everything the project is asked for; tools/ and CMakePresets.json do the work.
.PHONY: run build test bench format lint sanitize fuzz install clean

run: build
	@tools/demo

install:
	@tools/install

build: install
	@cmake --preset dev >build-configure.log 2>&1 || { cat build-configure.log; exit 1; }
	@rm -f build-configure.log
	@cmake --build --preset dev

# The formatter first, so that the run ends with the tests' own closing line.
test: build
	@tools/format --check
	@ctest --preset dev -j2

bench: install
	@cmake --workflow --preset release-build
	@bench/run

sanitize: install
	@cmake --workflow --preset asan
	@cmake --workflow --preset tsan

# Twenty seconds a target; FUZZ_SECONDS=600 for a long look.
fuzz: install
	@cmake --workflow --preset fuzz
	@fuzz/run

format: install
	@tools/format

lint: build
	@tools/lint

clean:
	rm -rf build build-*
