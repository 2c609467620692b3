# Two set-up commands: `make run` and `make test`. Both install what is missing,
# configure and build; `make run` then runs the tool's main job, `make test` all tests.
JOBS ?= $(shell nproc)
# Let ccache share results between checkouts at different paths.
export CCACHE_BASEDIR := $(CURDIR)
export CCACHE_NOHASHDIR := 1

.PHONY: run test deps bench-deps build test-asan test-tsan bench fuzz clean

deps:
	@./tools/install-deps.sh

# Only for `make bench`: the libraries of the Qt and OCAF anchors.
bench-deps:
	@./tools/install-deps.sh qtbase5-dev libocct-ocaf-dev libocct-foundation-dev libtbb-dev

build: deps
	@cmake --preset default >/dev/null
	@cmake --build build -j $(JOBS)

# The tool's main job: a small document built from the example configuration,
# saved, loaded back, edited, undone and redone; then its tree and a check of
# the file.
run: build
	./build/dmtool sample build/sample.kiv --config examples/documents.xml
	./build/dmtool tree build/sample.kiv
	./build/dmtool verify build/sample.kiv

test: build
	cd build && ctest --output-on-failure -j $(JOBS)

test-asan: deps
	@cmake --preset asan >/dev/null
	@cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

test-tsan: deps
	@cmake --preset tsan >/dev/null
	@cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" ctest --output-on-failure -j $(JOBS)

bench: bench-deps
	@cmake --preset bench >/dev/null
	@cmake --build build-bench -j $(JOBS)
	./build-bench/bench/dm_bench --benchmark_counters_tabular=true

# Not in CI: builds the libFuzzer targets with clang and fuzzes the file reader,
# images, the bulk data records and documents for a bounded time. New inputs
# go to build-fuzz/*corpus; findings (crash-*)
# land in the current directory and belong in tests/kivbasictypes/corpus
# (file reader) or tests/documents/corpus (Document::load).
FUZZ_TIME ?= 60
fuzz:
	@cmake -S fuzz -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug >/dev/null
	@cmake --build build-fuzz -j $(JOBS)
	@mkdir -p build-fuzz/corpus
	./build-fuzz/kivfile_fuzz -max_total_time=$(FUZZ_TIME) -rss_limit_mb=2048 build-fuzz/corpus tests/kivbasictypes/corpus
	@mkdir -p build-fuzz/image-corpus
	./build-fuzz/kivimage_fuzz -max_total_time=$(FUZZ_TIME) -rss_limit_mb=2048 build-fuzz/image-corpus
	@mkdir -p build-fuzz/bulkcorpus
	./build-fuzz/bulkdata_fuzz -max_total_time=$(FUZZ_TIME) -rss_limit_mb=2048 build-fuzz/bulkcorpus tests/kivbasictypes/bulkcorpus
	@mkdir -p build-fuzz/document-corpus
	./build-fuzz/document_fuzz -max_total_time=$(FUZZ_TIME) -rss_limit_mb=2048 -timeout=10 build-fuzz/document-corpus tests/documents/corpus
	@mkdir -p build-fuzz/collection-corpus
	./build-fuzz/collections_fuzz -max_total_time=$(FUZZ_TIME) -rss_limit_mb=2048 -timeout=10 build-fuzz/collection-corpus tests/properties/collectioncorpus

clean:
	rm -rf build build-asan build-tsan build-bench
