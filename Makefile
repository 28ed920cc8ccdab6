# Front door: `make demo` and `make test` do all the set-up on a fresh machine.
MAKEFLAGS += --no-print-directory
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= 2
TCLSH      ?= tclsh8.6
CMAKE_ARGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo
# Warnings are errors here and in CI; `make WERROR=OFF` for a compiler that
# warns about more than this one.
WERROR     ?= ON

# A build directory configured before follows a change of WERROR.
sync-werror = @grep -qx 'ZK_WERROR:BOOL=$(WERROR)' $(1)/CMakeCache.txt || \
	cmake -S . -B $(1) -DZK_WERROR:BOOL=$(WERROR) >/dev/null

.PHONY: all bootstrap build build-asan test test-asan fuzz demo bench install docs clean

all: build

bootstrap:
	@scripts/bootstrap

$(BUILD)/Makefile: | bootstrap
	@cmake -S . -B $(BUILD) $(CMAKE_ARGS) -DZK_WERROR:BOOL=$(WERROR) >/dev/null

$(ASAN_BUILD)/Makefile: | bootstrap
	@cmake -S . -B $(ASAN_BUILD) $(CMAKE_ARGS) -DZK_WERROR:BOOL=$(WERROR) -DZK_SANITIZE=ON >/dev/null

build: bootstrap $(BUILD)/Makefile
	$(call sync-werror,$(BUILD))
	@cmake --build $(BUILD) -j $(JOBS)

build-asan: bootstrap $(ASAN_BUILD)/Makefile
	$(call sync-werror,$(ASAN_BUILD))
	@cmake --build $(ASAN_BUILD) -j $(JOBS)

# Every suite, then the same suites under AddressSanitizer + UBSan.
test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)
	@$(MAKE) --no-print-directory test-asan

test-asan: build-asan
	@cd $(ASAN_BUILD) && ctest --output-on-failure -j $(JOBS)

# A longer run of the random-command fuzzer under ASan + UBSan, for example
# `make fuzz SECONDS=600 SEED=7`; SEED defaults to the clock, and the run
# prints it.
SECONDS ?= 60
SEED    ?= $(shell date +%s)
fuzz: build-asan
	@cd $(ASAN_BUILD) && TCLLIBPATH=$(CURDIR)/$(ASAN_BUILD) \
	  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  tests/zktclsh $(CURDIR)/tests/fuzz/fuzz.tcl -seed $(SEED) -seconds $(SECONDS)

demo: build
	@TCLLIBPATH=$(CURDIR)/$(BUILD) $(TCLSH) examples/demo.tcl

bench: build
	@cmake --build $(BUILD) --target zkbench -j $(JOBS) >/dev/null
	@TCLLIBPATH=$(CURDIR)/$(BUILD) $(BUILD)/bench/zkbench
	@cmake --build $(BUILD) --target zkbgp_bench -j $(JOBS) >/dev/null
	@$(BUILD)/bench/zkbgp_bench --benchmark_min_time=0.2
	@cmake --build $(BUILD) --target zkrip_bench -j $(JOBS) >/dev/null
	@$(BUILD)/bench/zkrip_bench --benchmark_min_time=0.2
	@TCLLIBPATH=$(CURDIR)/$(BUILD) $(TCLSH) bench/live_bgp.tcl
	@TCLLIBPATH=$(CURDIR)/$(BUILD) $(TCLSH) bench/live_bgp.tcl -family vpn4 -routes 100000

docs: build
	@cmake --build $(BUILD) --target docs

install: build
	@cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
