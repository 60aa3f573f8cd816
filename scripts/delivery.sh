#!/usr/bin/env bash
# CI leg "delivery": what an integrator receives, checked from the tree.
#  1. native release build (with debug information, which the packages strip); install into a
#     temporary prefix and check the layout; the installed library's ABI against the baseline
#     (scripts/abi-check.sh)
#  2. Debian packages (cpack) checked with lintian; installed with dpkg, their files where they
#     belong, the installed simulator plays the built-in scenario; removed again at the end
#  3. the host example against the install: through find_package (with the development platform
#     at hand, so a stand-in browser makes requests) and through pkg-config (the installed packages)
#  4. HBBTV_PLATFORM=system against the development platform installed into a prefix of its own:
#     build, the built-in scenario; and the configure error when the platform is missing
#  5. the armhf packages from the armhf cross build, checked with dpkg-deb and lintian, and the
#     simulator from the unpacked armhf packages playing the built-in scenario under qemu-arm
# Builds that only make packages leave the suite out (the other legs run it); they use folders of
# their own under build/, so build/release stays as people configured it.
set -euo pipefail
cd "$(dirname "$0")/.."
top=$(pwd)

scripts/bootstrap.sh --armhf --delivery

sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"

arch=$(dpkg --print-architecture)
triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
version=$(sed -n 's/^project(HbbtvBackendGlue VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
major=${version%%.*}
runtime_pkg="libhbbtvbackendglue${major}"
packages=("$runtime_pkg" libhbbtvbackendglue-dev hbbtvbackendglue-simulator)
platform_libs=(libbinder.so libplx.so libncor.so libyxtservice.so libtvservice.so libzrkeymapping.so)

work=$(mktemp -d /tmp/hbbtv-delivery.XXXXXX)
installed_packages=0
cleanup() {
  # Nothing of ours stays in the system's folders: other builds on this machine must not see it.
  if [ "$installed_packages" -eq 1 ]; then
    $sudo_cmd dpkg -P "${packages[@]}" >/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

started=$(date +%s)
step() { echo "=== delivery: $* ($(( $(date +%s) - started )) s)"; }
fail() { echo "delivery: FAILED: $*" >&2; exit 1; }
expect_file() { [ -e "$1" ] || fail "missing $1"; }
expect_no_file() { [ ! -e "$1" ] || fail "must not exist: $1"; }
runpath_of() { readelf -d "$1" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p'; }
soname_of() { readelf -d "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p'; }
# The built-in scenario (the command from the second argument on), with the library the
# simulator loaded checked against the one meant (the first argument).
play_scenario() {
  local library=$1 log=$work/scenario.log loaded
  shift
  "$@" >"$log" 2>&1 || { tail -30 "$log"; fail "$*: the built-in scenario failed"; }
  loaded=$(sed -n 's/^\[sim .*\]     loaded //p' "$log")
  [ -n "$loaded" ] && [ "$(readlink -f "$loaded")" = "$(readlink -f "$library")" ] ||
    fail "$* loaded \"$loaded\", not $library"
  grep "scenario passed" "$log" || fail "$*: no pass line"
}

# ---- 1. release build, install into a prefix ---------------------------------------------------
step "release build"
native=build/delivery-$arch
cmake --preset release -B "$native" -DHBBTV_BUILD_TESTS=OFF -DCMAKE_CXX_FLAGS=-g >/dev/null
cmake --build "$native"

step "install into a temporary prefix"
prefix=$work/prefix
cmake --install "$native" --prefix "$prefix" >/dev/null
libdir=$prefix/lib/$triplet
expect_file "$libdir/libhbbtvbackendglue.so.$version"
expect_file "$libdir/libhbbtvbackendglue.so.$major"
expect_file "$libdir/libhbbtvbackendglue.so"
for header in ZR_HbbtvImplInterface.h HbbtvBackendCommand.h HbbtvBackendCommandCatalogue.h HbbtvBackendRecords.h \
              HbbtvHostRecords.h HbbtvChannelListPool.h HbbtvTraceFormat.h; do
  expect_file "$prefix/include/HbbtvBackendGlue/$header"
done
for file in HbbtvBackendGlueConfig.cmake HbbtvBackendGlueConfigVersion.cmake HbbtvBackendGlueTargets.cmake; do
  expect_file "$libdir/cmake/HbbtvBackendGlue/$file"
done
expect_file "$libdir/pkgconfig/hbbtvbackendglue.pc"
grep -qx "prefix=$prefix" "$libdir/pkgconfig/hbbtvbackendglue.pc" || fail "pkg-config file without the install prefix"
expect_file "$prefix/bin/hbbtv_simulator"
expect_file "$prefix/share/hbbtvbackendglue/scenarios/evening.json"
for lib in "${platform_libs[@]}"; do
  expect_file "$libdir/hbbtvbackendglue-sim/$lib"
  expect_no_file "$libdir/$lib" # never where it would shadow a television's own
done
[ "$(soname_of "$libdir/libhbbtvbackendglue.so.$version")" = "libhbbtvbackendglue.so.$major" ] ||
  fail "SONAME is not libhbbtvbackendglue.so.$major"
case "$(runpath_of "$libdir/libhbbtvbackendglue.so.$version")" in
  *hbbtvbackendglue-sim*) fail "the library's run path reaches the simulator's platform" ;;
esac
cmake -DNM=nm -DLIBRARY="$libdir/libhbbtvbackendglue.so.$version" \
      -DALLOWED=CreateHbbtvWrapper,DestroyHbbtvWrapper -P cmake/CheckExports.cmake
step "ABI against the baseline"
scripts/abi-check.sh "$prefix"
[ "$("$prefix/bin/hbbtv_simulator" --version)" = "hbbtv_simulator $version" ] || fail "simulator --version"
play_scenario "$libdir/libhbbtvbackendglue.so.$major" "$prefix/bin/hbbtv_simulator"

# ---- 2. Debian packages ------------------------------------------------------------------------
step "cpack ($arch)"
(cd "$native" && cpack >/dev/null)
debs=()
for package in "${packages[@]}"; do
  debs+=("$native/${package}_${version}-1_${arch}.deb")
  expect_file "${debs[-1]}"
done
for deb in "${debs[@]}"; do
  [ "$(dpkg-deb -f "$deb" Version)" = "$version-1" ] || fail "$deb: version"
done

step "lintian ($arch)"
lintian --fail-on error,warning "${debs[@]}"

step "dpkg install ($arch)"
installed_packages=1
$sudo_cmd dpkg -i "${debs[@]}" >/dev/null
usrlib=/usr/lib/$triplet
dpkg -L "$runtime_pkg" | grep -x "$usrlib/libhbbtvbackendglue.so.$major" >/dev/null || fail "$runtime_pkg: library"
dpkg -L libhbbtvbackendglue-dev | grep -x "/usr/include/HbbtvBackendGlue/ZR_HbbtvImplInterface.h" >/dev/null ||
  fail "libhbbtvbackendglue-dev: headers"
dpkg -L hbbtvbackendglue-simulator | grep -x "$usrlib/hbbtvbackendglue-sim/libbinder.so" >/dev/null ||
  fail "hbbtvbackendglue-simulator: private platform"
for lib in "${platform_libs[@]}"; do
  expect_no_file "$usrlib/$lib"
done
[ "$(hbbtv_simulator --version)" = "hbbtv_simulator $version" ] || fail "installed simulator --version"
play_scenario "$usrlib/libhbbtvbackendglue.so.$major" /usr/bin/hbbtv_simulator
expect_file /usr/include/HbbtvBackendGlue/HbbtvHostCheckPlugin.h
hbbtv-host-check --host "$usrlib/hbbtv-host-check/libhbbtv_host_simulated.so" --junit "$work/host-check.xml" \
  >"$work/host-check.log" || { cat "$work/host-check.log"; fail "installed hbbtv-host-check with the simulated host"; }
[ "$(xmllint --xpath 'string(/testsuites/@failures)' "$work/host-check.xml")" = 0 ] &&
  [ "$(xmllint --xpath 'count(//testcase)' "$work/host-check.xml")" -gt 0 ] ||
  fail "installed hbbtv-host-check --junit: not a JUnit report without failures"
# A field trace of the installed simulator's evening, summarised, drawn and replayed from the install.
HBBTV_TRACE="$work/evening.trace" hbbtv_simulator >/dev/null || fail "installed simulator with HBBTV_TRACE"
hbbtv-trace --html "$work/evening.html" --perfetto "$work/evening.json" "$work/evening.trace" >"$work/trace.log" ||
  { cat "$work/trace.log"; fail "installed hbbtv-trace"; }
expect_file "$work/evening.html"
# The trace-event file, checked by the tests' checker built from the tree.
c++ -std=c++17 -O1 -o "$work/trace-event-check" tools/trace/tests/TraceEventCheck.cpp
"$work/trace-event-check" "$work/evening.json" |
  grep " [1-9][0-9]* from the browser through the library and the host back to the browser; 0 problems" ||
  fail "installed hbbtv-trace --perfetto: the file breaks the trace-event format"
hbbtv_simulator --replay "$work/evening.trace" >"$work/replay.log" ||
  { cat "$work/replay.log"; fail "installed simulator's replay of its own evening"; }

# ---- 3. the host example -----------------------------------------------------------------------
step "development platform into a prefix of its own"
# In build/, not in the temporary folder: the system build's cache keeps the paths it found.
platform=$top/build/delivery-platform
rm -rf "$platform"
cmake --install "$native" --component dev-platform --prefix "$platform" >/dev/null
expect_file "$platform/lib/$triplet/libbinder.so"
expect_file "$platform/include/ITVService.h"

# On a television the platform libraries are in the system's library path; here the development
# platform stands in for them.
step "host example through find_package, with a stand-in browser"
cmake -S examples/host -B "$work/host-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix;$platform" >/dev/null
cmake --build "$work/host-cmake" >/dev/null
LD_LIBRARY_PATH=$platform/lib/$triplet HBBTV_SHM_SUFFIX=.example$$ "$work/host-cmake/example_host" |
  tee "$work/host-cmake.log"
grep -q "the host's answer reached the browser" "$work/host-cmake.log" || fail "the example made no requests"

step "host example through pkg-config, against the installed packages"
cmake -S examples/host -B "$work/host-pc" -G Ninja -DEXAMPLE_HOST_WITH_PKG_CONFIG=ON >/dev/null
cmake --build "$work/host-pc" >/dev/null
LD_LIBRARY_PATH=$usrlib/hbbtvbackendglue-sim HBBTV_SHM_SUFFIX=.example$$ "$work/host-pc/example_host" |
  tee "$work/host-pc.log"
grep -q "loaded $usrlib/libhbbtvbackendglue.so.$major" "$work/host-pc.log" || fail "the example loaded another library"

step "remove the packages"
$sudo_cmd dpkg -P "${packages[@]}" >/dev/null
installed_packages=0

# ---- 4. the system platform --------------------------------------------------------------------
step "HBBTV_PLATFORM=system without a platform: the configure error"
if cmake -S . -B "$work/no-platform" -G Ninja -DHBBTV_PLATFORM=system -DCMAKE_PREFIX_PATH="$work/empty" \
     >"$work/no-platform.log" 2>&1; then
  fail "configuring against a missing platform succeeded"
fi
grep -q "libbinder (the library)" "$work/no-platform.log" || { cat "$work/no-platform.log"; fail "the error does not name libbinder"; }

step "HBBTV_PLATFORM=system against the installed development platform"
system=build/delivery-system
cmake -S . -B "$system" -G Ninja -DCMAKE_BUILD_TYPE=Release -DHBBTV_PLATFORM=system -DHBBTV_BUILD_TESTS=OFF \
      -DCMAKE_PREFIX_PATH="$platform" >/dev/null
cmake --build "$system"
needed=$(ldd "$system/libhbbtvbackendglue.so.$major")
for lib in "${platform_libs[@]}"; do
  grep -q "$lib => $platform/lib/$triplet/$lib" <<<"$needed" || { echo "$needed"; fail "$lib is not the platform's"; }
done
(cd "$system" && ctest -R 'simulator_(scenario|version)$' --output-on-failure)

# ---- 5. armhf packages -------------------------------------------------------------------------
step "armhf cross build and cpack"
cross=build/delivery-armhf
cmake --preset armhf -B "$cross" -DCMAKE_BUILD_TYPE=Release -DHBBTV_BUILD_TESTS=OFF >/dev/null
cmake --build "$cross"
(cd "$cross" && cpack >/dev/null)
cross_debs=()
for package in "${packages[@]}"; do
  cross_debs+=("$cross/${package}_${version}-1_armhf.deb")
  expect_file "${cross_debs[-1]}"
done
grep "./usr/lib/arm-linux-gnueabihf/libhbbtvbackendglue.so.$version\$" \
  <<<"$(dpkg-deb -c "$cross/${runtime_pkg}_${version}-1_armhf.deb")" >/dev/null || fail "armhf library layout"
grep "./usr/lib/arm-linux-gnueabihf/hbbtvbackendglue-sim/libbinder.so\$" \
  <<<"$(dpkg-deb -c "$cross/hbbtvbackendglue-simulator_${version}-1_armhf.deb")" >/dev/null ||
  fail "armhf simulator layout"
lintian --fail-on error,warning "${cross_debs[@]}"

step "armhf simulator from its unpacked packages, under qemu-arm"
unpacked=$work/armhf-root
for package in "$runtime_pkg" hbbtvbackendglue-simulator; do
  dpkg-deb -x "$cross/${package}_${version}-1_armhf.deb" "$unpacked"
done
# As the armhf leg runs its tests: the multiarch loader, and the unpacked 7z.so under libutils.
armhf_extra=$top/build/armhf-sysroot-extra/usr/lib/p7zip
play_scenario "$unpacked/usr/lib/arm-linux-gnueabihf/libhbbtvbackendglue.so.$major" \
  qemu-arm -E LD_LIBRARY_PATH="$armhf_extra" "$unpacked/usr/bin/hbbtv_simulator"

step "passed"
