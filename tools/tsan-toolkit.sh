#!/usr/bin/env bash
# Builds the toolkit's modules under the engine (Core, Network, Sql, Xml) from Debian's source with the thread sanitizer,
# into a cache outside the tree, so that stories under it see the toolkit's own locks. Not part of ./check.
#   tools/tsan-toolkit.sh [fetch|configure|build]    each step does those before it; build is the default and takes long
# Then: VN_TSAN_LIBS=$(tools/tsan-toolkit.sh where) LD_LIBRARY_PATH=$VN_TSAN_LIBS ctest --test-dir build/tsan -R story
set -euo pipefail
step=${1:-build}
cache=${XDG_CACHE_HOME:-$HOME/.cache}/vandrel-tsan
apt=$cache/apt src=$cache/src obj=$cache/obj
[ "$step" != where ] || { echo "$obj/lib"; exit 0; }
case $step in fetch | configure | build) ;; *) sed -n '2,5p' "$0" >&2; exit 2 ;; esac
say() { echo "tsan-toolkit: $*"; }
for tool in apt-get dpkg-source g++ make perl; do
  command -v "$tool" >/dev/null || { say "$tool is needed (packages dpkg-dev, g++, make, perl)" >&2; exit 1; }
done

# The system's own sources and keys are left alone: the same mirrors, for sources, under a private configuration.
fetch() {
  mkdir -p "$apt"/{lists/partial,cache/archives/partial} "$src"
  local suite mirror
  . /etc/os-release
  suite=${VERSION_CODENAME:?}
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 2>/dev/null | grep -m1 -v security || true)
  echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] ${mirror:-http://deb.debian.org/debian/} $suite main" >"$apt/sources.list"
  cat >"$apt/apt.conf" <<EOF
Dir::Etc::SourceList "$apt/sources.list";
Dir::Etc::SourceParts "-";
Dir::State::Lists "$apt/lists";
Dir::Cache "$apt/cache";
APT::Sandbox::User "$(id -un)";
EOF
  export APT_CONFIG=$apt/apt.conf
  [ -e "$src"/fetched ] && return
  apt-get update -qq
  # The version that is installed: its parts call each other by names that only the same version has.
  local version
  version=$(dpkg-query -W -f '${source:Version}' libqt5core5a)
  (cd "$src" && apt-get source -qq "qtbase-opensource-src=$version")
  touch "$src"/fetched
}

configure() {
  [ -e "$obj"/config.summary ] && return
  local tree
  tree=$(echo "$src"/qtbase-opensource-src-*/)
  [ -x "$tree/configure" ] || { say "no source in $src" >&2; exit 1; }
  mkdir -p "$obj"
  (cd "$obj" && "$tree/configure" -opensource -confirm-license -release -force-debug-info -sanitize thread \
    -prefix "$obj" -no-gui -no-widgets -no-dbus -no-icu -openssl-linked -system-zlib -qt-pcre -qt-doubleconversion -no-glib \
    -no-feature-zstd -nomake examples -nomake tests -no-pch)
}

build() {
  make -C "$obj" -j"$(nproc)" sub-src-qmake_all
  make -C "$obj/src" -j"$(nproc)" sub-corelib sub-network sub-sql sub-xml
  say "libraries in $obj/lib"
}

fetch
say "source in $src"
[ "$step" = fetch ] && exit
configure
say "configured in $obj"
[ "$step" = configure ] || build
