# The tasks of this repository. CMake builds (see CMakePresets.json); this only spells the usual sequences, and installs
# the Debian packages a task needs if they are missing.
PREFIX ?= /usr/local
DESTDIR ?=
SECONDS ?= 30
KILLS ?= 200

.PHONY: help demo test crash-test bench fuzz install format clean

help:
	@echo "make demo        build library and market, and show a session live"
	@echo "make test        build everything and run all tests"
	@echo "make crash-test  kill a host KILLS ($(KILLS)) times, and judge what it leaves behind"
	@echo "make bench       run all benchmarks"
	@echo "make fuzz        run each fuzz target for SECONDS ($(SECONDS))"
	@echo "make install     install below PREFIX ($(PREFIX)), staged below DESTDIR if set"
	@echo "make format      format all C++ sources"
	@echo "make clean       remove all that was built"

demo:
	@scripts/install_packages.sh demo
	@scripts/build.sh demo
	@scripts/demo.sh build/demo

test:
	@scripts/install_packages.sh test
	@scripts/build.sh release
	@ctest --preset release

crash-test:
	@scripts/install_packages.sh test
	@scripts/build.sh release
	@build/release/tests/crash/crash_driver --kills $(KILLS)

bench:
	@scripts/install_packages.sh test
	@scripts/build.sh release
	@scripts/run_benchmarks.sh build/release/bench

fuzz:
	@scripts/install_packages.sh fuzz
	@scripts/build.sh fuzz
	@scripts/run_fuzz_targets.sh build/fuzz/fuzz $(SECONDS)

install:
	@scripts/install_packages.sh demo
	@scripts/build.sh demo
	@DESTDIR="$(DESTDIR)" cmake --install build/demo --prefix "$(PREFIX)"

format:
	@scripts/install_packages.sh format
	@git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format -i

clean:
	rm -rf build
