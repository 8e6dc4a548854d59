# The commands of the README. Each installs what is missing, then builds with a CMake preset.
.PHONY: run panel test golden docs coverage-campaign coverage-sample build static deb completion setup sanitize valgrind coverage fuzz bench reproducible format lint clean

BUILD := build/release
RUN_RECORD := build/run
KEYWORDS ?= run
PACE ?= max
CTEST := ctest -j $(shell expr $$(nproc) + 2) # some only wait, for a browser or a cluster

build: setup
	@cmake --preset release
	@cmake --build --preset release

setup:
	@scripts/setup

# What bash completes for k4sim, for this user; as root PREFIX=/usr/local for all.
PREFIX ?= $(HOME)/.local
completion: setup
	@cmake --preset release --log-level=WARNING >/dev/null
	@cmake --install $(BUILD) --component completion --prefix $(PREFIX)

# The real program on a virtual device, its console live, an automatic operator at the panel.
# Builds no more than that. KEYWORDS: the program's; PACE: how many times as fast as real time.
# The status is the run's.
run: setup
	@cmake --preset release --log-level=WARNING >/dev/null
	@cmake --build --preset release --target k4selftest k4sim_launcher libk4sim.so
	@$(BUILD)/k4sim run --board aes --operator auto --pace $(PACE) --record $(RUN_RECORD) -- \
	    $(BUILD)/k4selftest $(KEYWORDS); \
	status=$$?; echo; echo "Exit status $$status. OLED pictures and events: $(RUN_RECORD)/"; \
	ls $(RUN_RECORD); exit $$status

# The device in the browser; the address is printed.
panel: setup
	@cmake --preset release --log-level=WARNING >/dev/null
	@cmake --build --preset release --target k4selftest k4sim_launcher libk4sim.so
	@$(BUILD)/k4sim panel -- $(BUILD)/k4selftest $(KEYWORDS)

test: build
	@scripts/setup --browser || echo "The panel is not tested in a browser: there is none."
	@scripts/setup --slurm || echo "Campaigns are not tested on a cluster: there is no Slurm."
	@scripts/setup --deb && scripts/deb selftest desk32 || \
	    echo "Packages are not tested: there is nothing to install them on."
	@$(CTEST) --preset release

# Writes the golden records anew: look at the difference before you commit it.
golden: build
	@K4_RENEW_GOLDEN=1 $(BUILD)/system_tests --gtest_filter='*Golden*:Launcher.Refuses*:Scenario.Is*:*CausesItsVerdict*' --gtest_brief=1
	@git status --short tests/system/golden

# What is made in docs/ and README.md anew, pictures and tables: look at it before you commit it.
docs: build
	@scripts/manual $(BUILD)/k4sim
	@scripts/docs $(BUILD)
	@git status --short docs README.md

# docs/coverage.* anew: every single fault once. Goes on where it was broken off.
coverage-campaign: build
	@scripts/coverage-campaign

# Five in a hundred of them, others for each commit: they must still come to what the docs tell.
coverage-sample: build
	@scripts/coverage-campaign sample

# Every test again under AddressSanitizer and UBSan (32 bits) and ThreadSanitizer (64 bits).
sanitize: setup
	@for preset in asan analysis64; do \
	    cmake --preset $$preset && cmake --build --preset $$preset && $(CTEST) --preset $$preset || exit 1; \
	done

# build/release/static/k4selftest, for a device that has no more than libc and libasound.
static: setup
	@cmake --preset release --log-level=WARNING >/dev/null
	@cmake --build --preset release --target k4selftest_static
	@ls -l $(BUILD)/static/k4selftest; scripts/glibc-need $(BUILD)/static/k4selftest

# The packages, in build/release/deb: k4selftest for the device, k4sim for the desk.
deb: setup
	@scripts/deb

valgrind: build
	@scripts/valgrind

coverage: setup
	@cmake --preset coverage && cmake --build --preset coverage
	@find build/coverage -name '*.gcda' -delete # counts of other builds
	@$(CTEST) --preset coverage
	@scripts/coverage

fuzz: setup
	@cmake --preset fuzz && cmake --build --preset fuzz --target fuzz_targets && $(CTEST) --preset fuzz

bench: build
	@$(BUILD)/k4bench
	@scripts/bench-runs
	@scripts/instructions

# The same sources give the same bytes, wherever they are built.
reproducible: setup
	@scripts/reproducible .

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

lint: setup
	@scripts/lint

clean:
	@rm -rf build
