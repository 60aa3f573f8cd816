#!/usr/bin/env bash
# Installs what a fresh Debian bookworm machine lacks to build and test the project,
# native and armhf. Safe to run again: it installs only what is missing.
#   scripts/bootstrap.sh          native toolchain and platform libraries
#   scripts/bootstrap.sh --armhf  also the armhf cross toolchain, libraries and qemu
#   scripts/bootstrap.sh --delivery  also what packaging and checking the packages need
#   scripts/bootstrap.sh --clang  also clang, for the clang preset's thread-safety analysis
#   scripts/bootstrap.sh --fuzz   also clang and its libFuzzer and sanitizer runtimes
#   scripts/bootstrap.sh --chromium  also Debian's chromium, for the timeline page's test
# (the options can be given together).
set -euo pipefail

want_armhf=0
want_delivery=0
want_clang=0
want_fuzz=0
want_chromium=0
for arg in "$@"; do
  case "$arg" in
    --armhf) want_armhf=1 ;;
    --delivery) want_delivery=1 ;;
    --clang) want_clang=1 ;;
    --fuzz) want_fuzz=1 ;;
    --chromium) want_chromium=1 ;;
    *) echo "bootstrap: unknown option $arg" >&2; exit 2 ;;
  esac
done

sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"

native_pkgs=(
  g++ cmake ninja-build pkg-config
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  android-libutils-dev android-liblog-dev android-platform-frameworks-native-headers
  android-libbase-dev android-libcutils-dev
  nlohmann-json3-dev libxml2-utils librapidcheck-dev
)
delivery_pkgs=(dpkg-dev file lintian abigail-tools)
clang_pkgs=(clang)
fuzz_pkgs=("${clang_pkgs[@]}" libclang-rt-14-dev)
chromium_pkgs=(chromium)
armhf_pkgs=(
  g++-arm-linux-gnueabihf qemu-user
  android-libutils-dev:armhf android-liblog-dev:armhf
  libgtest-dev:armhf libgmock-dev:armhf librapidcheck-dev:armhf
)

missing() {
  local p out=()
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || out+=("$p")
  done
  [ "${#out[@]}" -eq 0 ] || printf '%s\n' "${out[@]}"
}

# A mirror in mid-sync can fail one index for a while; retry, then go on with what was read.
apt_update() {
  local i
  for i in 1 2 3; do
    $sudo_cmd apt-get update -qq && { apt_updated=1; return 0; }
    sleep $((i * 5))
  done
  echo "bootstrap: apt-get update reported errors; installing from the lists it could read" >&2
  apt_updated=1
}

apt_updated=0
apt_install() {
  [ "$#" -gt 0 ] || return 0
  [ "$apt_updated" -eq 1 ] || apt_update
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "$@"
}

mapfile -t todo < <(missing "${native_pkgs[@]}")
apt_install "${todo[@]}"

if [ "$want_delivery" -eq 1 ]; then
  mapfile -t todo < <(missing "${delivery_pkgs[@]}")
  apt_install "${todo[@]}"
fi
if [ "$want_chromium" -eq 1 ]; then
  mapfile -t todo < <(missing "${chromium_pkgs[@]}")
  apt_install "${todo[@]}"
fi
if [ "$want_clang" -eq 1 ]; then
  mapfile -t todo < <(missing "${clang_pkgs[@]}")
  apt_install "${todo[@]}"
fi
if [ "$want_fuzz" -eq 1 ]; then
  mapfile -t todo < <(missing "${fuzz_pkgs[@]}")
  apt_install "${todo[@]}"
fi

if [ "$want_armhf" -eq 1 ]; then
  if ! dpkg --print-foreign-architectures | grep -qx armhf; then
    $sudo_cmd dpkg --add-architecture armhf
    apt_updated=0
  fi
  mapfile -t todo < <(missing "${armhf_pkgs[@]}")
  apt_install "${todo[@]}"

  # The armhf libbacktrace (pulled in by libutils) needs 7z.so at link and run time. Installing
  # p7zip-full:armhf would replace the native one, so unpack it into a folder of our own.
  top=$(cd "$(dirname "$0")/.." && pwd)
  dest="$top/build/armhf-sysroot-extra"
  if [ ! -e "$dest/usr/lib/p7zip/7z.so" ]; then
    tmp=$(mktemp -d)
    chmod 755 "$tmp" # apt downloads as its own user
    [ "$apt_updated" -eq 1 ] || apt_update
    (cd "$tmp" && apt-get download -qq p7zip-full:armhf)
    mkdir -p "$dest"
    dpkg -x "$tmp"/p7zip-full_*_armhf.deb "$dest"
    rm -rf "$tmp"
  fi
fi
echo "bootstrap: dependencies present"
