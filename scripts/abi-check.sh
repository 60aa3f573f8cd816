#!/usr/bin/env bash
# The library's ABI against the baseline committed in abi/<arch>/, with Debian's abigail-tools.
#   scripts/abi-check.sh [DIR]                      compare
#   scripts/abi-check.sh --update [DIR]             write the baseline (after a major version change)
#   scripts/abi-check.sh --update --compatible [DIR]   write it for a change no host can notice
# DIR is an install prefix (lib/<multiarch>/libhbbtvbackendglue.so.<major>, include/HbbtvBackendGlue)
# or a build folder (its library, the headers of this tree); the library needs debug information.
# Without DIR the library is built as the delivery leg builds it (release, with -g) and installed
# into a temporary prefix.
#
# Two descriptions make the baseline:
#   libhbbtvbackendglue.abi  the library itself: its SONAME, its two exported functions and what
#                            they reach (ZR_HbbtvImplInterface's slots and the types of its operations)
#   host-boundary.abi        abi/HbbtvAbiAnchor.cpp compiled from the same boundary headers: one
#                            exported function that reaches the classes the host implements or is
#                            handed (Hbbtv_TVServer, HbbtvBackendClientRegister), the command numbers
#                            and every record, which the library's exports do not reach
# Any difference fails: a host built against the baseline may depend on every slot, field and
# number in it. An incompatible change goes with a new major number (the SONAME's) and the baseline
# updated in the same commit. Every run ends by proving the check sees a deliberate change: an
# operation added at the end of Hbbtv_TVServer and a widened field of a host record.
set -euo pipefail
shopt -s extglob
top=$(cd "$(dirname "$0")/.." && pwd)

update=0
compatible=0
dir=""
for arg in "$@"; do
  case "$arg" in
    --update) update=1 ;;
    --compatible) compatible=1 ;;
    -*) echo "abi-check: unknown option $arg" >&2; exit 2 ;;
    *) dir=$arg ;;
  esac
done
[ "$compatible" -eq 0 ] || [ "$update" -eq 1 ] || { echo "abi-check: --compatible goes with --update" >&2; exit 2; }

fail() { echo "abi-check: FAILED: $*" >&2; exit 1; }
command -v abidw >/dev/null || fail "abidw is missing: scripts/bootstrap.sh --delivery installs abigail-tools"

work=$(mktemp -d /tmp/hbbtv-abi.XXXXXX)
trap 'rm -rf "$work"' EXIT

if [ -z "$dir" ]; then
  build=$top/build/delivery-$(dpkg --print-architecture)
  cmake --preset release -S "$top" -B "$build" -DHBBTV_BUILD_TESTS=OFF -DCMAKE_CXX_FLAGS=-g >/dev/null
  cmake --build "$build" --target hbbtvbackendglue >/dev/null
  for component in runtime development; do
    cmake --install "$build" --component "$component" --prefix "$work/prefix" >/dev/null
  done
  dir=$work/prefix
fi
[ -d "$dir" ] || fail "no such folder: $dir"
dir=$(cd "$dir" && pwd)

# The library under its SONAME's name, and the headers that go with it.
shopt -s nullglob
libraries=("$dir"/lib/*/libhbbtvbackendglue.so.+([0-9]))
headers=$dir/include/HbbtvBackendGlue
if [ "${#libraries[@]}" -eq 0 ]; then
  libraries=("$dir"/libhbbtvbackendglue.so.+([0-9]))
  headers=$top/include
fi
shopt -u nullglob
[ "${#libraries[@]}" -eq 1 ] ||
  fail "expected one libhbbtvbackendglue.so.<major> under $dir (an install prefix or a build folder), found ${#libraries[@]}"
library=${libraries[0]}
[ -f "$headers/ZR_HbbtvImplInterface.h" ] || fail "no boundary headers in $headers"
readelf -S "$library" | grep -q '\.debug_info' ||
  fail "$library has no debug information: build it with -g (the release preset with -DCMAKE_CXX_FLAGS=-g, or RelWithDebInfo)"

case "$(readelf -h "$library" | sed -n 's/^ *Machine: *//p')" in
  *X86-64*) arch=amd64 cxx=g++ ;;
  ARM) arch=armhf cxx=arm-linux-gnueabihf-g++ ;;
  *) fail "$library: no baseline for its machine" ;;
esac
baseline=$top/abi/$arch

# What the exported functions reach, nothing of the library's inside. Paths, build folders and
# numbering stay out (a translation unit goes by its file name), so that a description depends on
# the ABI alone, wherever it was built.
describe() { # BINARY HEADERS OUTPUT
  abidw --exported-interfaces-only --headers-dir "$2" --drop-private-types --no-show-locs --no-corpus-path \
        --no-comp-dir-path --no-elf-needed --type-id-style hash "$1" |
    sed -E "s|^( *<abi-instr [^>]* path=')[^']*/|\1|" >"$3"
}
# Full class descriptions wherever a class is used, not only where its vtable is emitted: the
# anchor emits no vtable of the host's classes.
anchor() { # HEADERS OUTPUT
  "$cxx" -std=c++17 -g -femit-class-debug-always -fPIC -shared -I"$1" -o "$2" "$top/abi/HbbtvAbiAnchor.cpp"
}
soname_in() { sed -n "s/.*<abi-corpus .*soname='\([^']*\)'.*/\1/p" "$1"; }

describe "$library" "$headers" "$work/libhbbtvbackendglue.abi"
anchor "$headers" "$work/anchor.so"
describe "$work/anchor.so" "$headers" "$work/host-boundary.abi"
soname=$(soname_in "$work/libhbbtvbackendglue.abi")

# Compares the two descriptions with the baseline; prints what changed. 0: none, 1: changed.
compare() {
  local name status changed=0
  for name in libhbbtvbackendglue.abi host-boundary.abi; do
    [ -f "$baseline/$name" ] || { echo "abi-check: no baseline $baseline/$name"; changed=1; continue; }
    status=0
    abidiff "$baseline/$name" "$work/$name" >"$work/$name.diff" 2>&1 || status=$?
    if [ $((status & 3)) -ne 0 ]; then
      cat "$work/$name.diff" >&2
      fail "abidiff could not compare $baseline/$name (status $status)"
    fi
    if [ "$status" -ne 0 ]; then
      changed=1
      echo "abi-check: $name differs from the baseline ($( [ $((status & 8)) -ne 0 ] &&
        echo "incompatible, says abidiff" || echo "abidiff does not call it incompatible; a host may still depend on it")):"
      sed 's/^/    /' "$work/$name.diff"
    fi
  done
  return "$changed"
}

# Proves the comparison sees a deliberate change, whatever the baseline: a host built before an
# operation was added at the end of Hbbtv_TVServer has no slot for it, and a widened field moves
# everything after it in a record the host fills.
self_test() {
  local patched=$work/patched status=0
  cp -r "$headers" "$patched"
  awk '/^class Hbbtv_TVServer /{open=1} open && /^};/{print "    virtual void HBBTV_AbiCheckProbe() = 0;"; open=0} {print}' \
    "$headers/ZR_HbbtvImplInterface.h" >"$patched/ZR_HbbtvImplInterface.h"
  sed -i 's/^    uint32_t value2;$/    uint64_t value2;/' "$patched/HbbtvHostRecords.h"
  grep -q HBBTV_AbiCheckProbe "$patched/ZR_HbbtvImplInterface.h" && grep -q 'uint64_t value2;' "$patched/HbbtvHostRecords.h" ||
    fail "self-test: the headers no longer take the deliberate change; adjust self_test in $0"
  anchor "$patched" "$work/patched.so"
  describe "$work/patched.so" "$patched" "$work/patched.abi"
  abidiff "$work/host-boundary.abi" "$work/patched.abi" >"$work/patched.diff" 2>&1 || status=$?
  if [ $((status & 8)) -eq 0 ] || ! grep -q "Hbbtv_TVServer::HBBTV_AbiCheckProbe()" "$work/patched.diff" ||
     ! grep -q "HbbtvMultimediaComponentData" "$work/patched.diff"; then
    cat "$work/patched.diff"
    fail "self-test: abidiff (status $status) did not report the operation added to Hbbtv_TVServer as incompatible and the widened field of HbbtvMultimediaComponentData"
  fi
  echo "abi-check: self-test: an operation added to Hbbtv_TVServer (incompatible, says abidiff) and a widened record field are seen"
}

changed=0
baseline_soname=""
if [ -f "$baseline/libhbbtvbackendglue.abi" ]; then
  baseline_soname=$(soname_in "$baseline/libhbbtvbackendglue.abi")
  compare || changed=1
else
  echo "abi-check: no baseline for $arch in ${baseline#"$top"/}"
  changed=1
fi
self_test

if [ "$update" -eq 1 ]; then
  if [ "$changed" -eq 1 ] && [ -n "$baseline_soname" ] && [ "$soname" = "$baseline_soname" ] &&
     [ "$compatible" -eq 0 ]; then
    fail "the ABI changed (above) while the SONAME stays $soname: raise the major number in project() (CMakeLists.txt) first, or, for a change no host can notice (an operation added at the end of ZR_HbbtvImplInterface, a new record), give --compatible"
  fi
  mkdir -p "$baseline"
  cp "$work/libhbbtvbackendglue.abi" "$work/host-boundary.abi" "$baseline/"
  echo "abi-check: baseline ${baseline#"$top"/} written for $soname from $library; commit it with the change"
  exit 0
fi

if [ "$changed" -eq 0 ]; then
  echo "abi-check: $soname ($library) matches the baseline ${baseline#"$top"/}"
  exit 0
fi
[ -n "$baseline_soname" ] || fail "make the baseline with scripts/abi-check.sh --update and commit it"
if [ "$soname" != "$baseline_soname" ]; then
  fail "the library is $soname, the baseline describes $baseline_soname: update the baseline in the same commit (scripts/abi-check.sh --update)"
fi
fail "the ABI of $soname changed (above). Undo the change, or raise the major number in project() (CMakeLists.txt) and update the baseline in the same commit (scripts/abi-check.sh --update); a change no host can notice is recorded with --update --compatible"
