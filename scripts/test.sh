#!/usr/bin/env bash
# Sets up, builds and runs every check: the test suites in a normal and in an address- and
# undefined-behaviour-sanitized build, the Windows cross-build (run under wine), the format check,
# the fuzz targets for a bounded time, and a short benchmark run.
set -euo pipefail
cd "$(dirname "$0")/.."
fuzz_seconds=${FUZZ_SECONDS:-30}

scripts/setup.sh
# Where ccache is installed, rebuilds of unchanged sources come from its cache.
if command -v ccache >/dev/null && [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ]; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CMAKE_C_COMPILER_LAUNCHER=ccache
    # Paths inside the checkout are hashed relative to it, so every clone shares the cache.
    export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=1
fi

step() { printf '\n== %s\n' "$*"; }

step "format check"
git ls-files '*.cpp' '*.hpp' | xargs clang-format --dry-run --Werror

step "layer check"
scripts/check-layers.sh

step "build and test (GCC)"
cmake -S . -B build -G Ninja >/dev/null
cmake --build build -j2
ctest --test-dir build --output-on-failure -j2

step "Python package over libsynthor (pytest, mypy --strict)"
SYNTHOR_BUILD="$PWD/build" /usr/bin/python3 -m pytest -q -p no:cacheprovider tests/python
(cd python && mypy --strict synthor)

step "clang-tidy (bugprone, performance)"
git ls-files '*.cpp' | grep -v '^tests/\|^fuzz/\|^bench/\|/com/\|/win32/\|/gdiplus/' |
    xargs -P2 -n8 clang-tidy -p build --quiet 2>/dev/null | tee build/tidy.txt
if grep -q 'error:' build/tidy.txt; then echo "clang-tidy found problems"; exit 1; fi

step "build and test (AddressSanitizer + UndefinedBehaviorSanitizer)"
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DSYNTHOR_SANITIZE=ON -DSYNTHOR_BENCH=OFF >/dev/null
cmake --build build-asan -j2
ASAN_OPTIONS=detect_leaks=1 ctest --test-dir build-asan --output-on-failure -j2

step "Windows cross-build (mingw-w64)"
cmake -S . -B build-win -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake >/dev/null
cmake --build build-win -j2

step "Windows build under wine: the same script gives the same output"
export WINEDEBUG=-all WINEPREFIX="$PWD/build-win/wineprefix"
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
build/synthor --sim --script examples/demo.txt > build-win/demo-linux.txt
"$wine" build-win/synthor.exe --sim --script examples/demo.txt 2>/dev/null | tr -d '\r' \
    > build-win/demo-windows.txt
diff -u build-win/demo-linux.txt build-win/demo-windows.txt
# Without --sim the tool loads ftd2xx.dll from its own folder: the drop-in simulated driver.
printf 'FND\n' | "$wine" build-win/synthor.exe --script - 2>/dev/null | tr -d '\r' | grep -qx 1234
echo "wine: same output, and the drop-in driver library answers"
cmake -S . -B build-win32 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-i686.cmake >/dev/null
cmake --build build-win32 -j2 --target Synthor01 ftd2xx
scripts/test-com.sh build-win build-win32
scripts/test-win32-panel.sh  # the Win32 panel and the GDI+ exporter under Xvfb

step "fuzz targets (${fuzz_seconds} s each)"
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DSYNTHOR_FUZZ=ON -DSYNTHOR_TESTS=OFF \
    -DSYNTHOR_BENCH=OFF -DSYNTHOR_WERROR=OFF >/dev/null
cmake --build build-fuzz -j2
for target in build-fuzz/fuzz_*; do
    [ -x "$target" ] || continue
    mkdir -p "build-fuzz/corpus/$(basename "$target")"
    "$target" -max_total_time="$fuzz_seconds" -rss_limit_mb=2048 -timeout=10 \
        "build-fuzz/corpus/$(basename "$target")" 2>&1 | tail -n 2
done

step "benchmarks (short run)"
for bench in build/synthor_bench; do
    [ -x "$bench" ] || continue
    "$bench" --benchmark_min_time=0.05
done

step "all checks passed"
