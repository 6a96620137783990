#!/usr/bin/env bash
# Checks that the library installs and that programs build against it, from
# a build directory already built (default build/release):
#   1. installs into a temporary prefix, moves the prefix, and builds and runs
#      examples/embed there as an outside project, once through the CMake
#      package and once through the pkg-config files; runs the installed gena;
#   2. checks that no installed file names the source tree, the build tree or
#      the prefix, and that the installed headers include only each other and
#      the standard library;
#   3. builds the Debian packages with cpack and, as root, installs them with
#      apt-get, builds and runs the outside project against /usr, runs
#      gena --version, removes the packages and checks that they left nothing
#      behind. Without root the packages are built but not installed.
# Usage: scripts/check-install.sh [build-dir]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/release}" && pwd)

"$root/scripts/install-deps.sh" package
cmake --build "$build" -j "$(nproc)" >/dev/null

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
libdir=$(sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$build/CMakeCache.txt")
packages=(tavik-gena libtavikupnpgena-dev "libtavikupnpgena${version%%.*}")

work=$(mktemp -d)
# apt-get reads the .deb files as its unprivileged user.
chmod 755 "$work"
installed_here=false
cleanup() {
	if $installed_here; then
		apt-get remove -y -qq "${packages[@]}" >/dev/null || true
	fi
	rm -rf "$work"
}
trap cleanup EXIT

fail() {
	echo "!! $*" >&2
	exit 1
}

# Builds examples/embed as a project of its own into $1 (further arguments go
# to cmake) and runs it; checks that the package came from $expected_package.
build_outside() {
	local dir=$1
	shift
	cmake -S "$root/examples/embed" -B "$dir" "$@" >"$dir.log" 2>&1 ||
		{ cat "$dir.log"; fail "configuring examples/embed failed"; }
	local found
	found=$(sed -n 's/^TavikUPnPGENA_DIR:PATH=//p' "$dir/CMakeCache.txt")
	[ "$found" = "$expected_package" ] || fail "examples/embed found the package in '$found', not $expected_package"
	cmake --build "$dir" >>"$dir.log" 2>&1 || { cat "$dir.log"; fail "building examples/embed failed"; }
	"$dir/embed" >/dev/null || fail "examples/embed built against $expected_package failed"
}

# Prints the installed files under $1 that name the source tree, the build
# tree or $2.
paths_named() {
	grep -rlF -e "$root" -e "$build" -e "$2" "$1" || true
}

echo "-- install into a prefix, then move it"
cmake --install "$build" --prefix "$work/installed" >"$work/install.log"
mv "$work/installed" "$work/prefix"
prefix=$work/prefix
named=$(paths_named "$prefix" "$work/installed")
[ -z "$named" ] || fail "installed files name the source, build or install path: $named"

# A header named with a directory or an extension must be installed too;
# the standard library's have neither.
for header in $(cd "$prefix/include" && find . -name '*.h' | sed 's|^\./||'); do
	while read -r included; do
		case $included in
		*/* | *.*) [ -f "$prefix/include/$included" ] || fail "installed $header includes $included, which is not installed" ;;
		esac
	done < <(sed -n 's/^#include [<"]\(.*\)[>"].*/\1/p' "$prefix/include/$header")
done

[ "$("$prefix/bin/gena" --version)" = "gena $version" ] || fail "installed gena --version does not say $version"

echo "-- examples/embed against the prefix (CMake package)"
expected_package=$prefix/$libdir/cmake/TavikUPnPGENA
build_outside "$work/embed-cmake" -DCMAKE_PREFIX_PATH="$prefix"

echo "-- examples/embed against the prefix (pkg-config)"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
# shellcheck disable=SC2046
"${CXX:-c++}" -std=c++17 -o "$work/embed-pkg-config" "$root/examples/embed/embed.cpp" \
	$(pkg-config --cflags --libs TavikUPnPGENAHost) || fail "building examples/embed with pkg-config failed"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir TavikUPnPGENAHost) "$work/embed-pkg-config" >/dev/null ||
	fail "examples/embed built with pkg-config failed"
unset PKG_CONFIG_PATH

echo "-- Debian packages"
cpack --config "$build/CPackConfig.cmake" -B "$work/debs" >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log"; fail "cpack failed"; }
debs=()
for package in "${packages[@]}"; do
	deb=$work/debs/${package}_${version}_$(dpkg --print-architecture).deb
	[ -f "$deb" ] || fail "cpack made no $deb"
	debs+=("$deb")
	echo "$package: $(dpkg-deb -f "$deb" Depends)"
	dpkg-deb -x "$deb" "$work/contents"
done
named=$(paths_named "$work/contents" "$work/debs")
[ -z "$named" ] || fail "packaged files name the source or build path: $named"

if [ "$(id -u)" -ne 0 ]; then
	echo "-- SKIPPED: installing the Debian packages needs root; they were built in a temporary directory and deleted"
	exit 0
fi

echo "-- install the Debian packages with apt-get, build against /usr, remove them"
# A run that stopped half-way may have left them installed.
apt-get remove -y -qq "${packages[@]}" >/dev/null 2>&1 || true
# Every path the packages bring that does not exist yet must go with them.
new_paths=()
while read -r path; do
	[ -e "$path" ] || [ -L "$path" ] || new_paths+=("$path")
done < <(for deb in "${debs[@]}"; do dpkg-deb -c "$deb"; done | awk '{print substr($6, 2)}' | sort -u)

installed_here=true
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${debs[@]}" >"$work/apt.log" 2>&1 ||
	{ cat "$work/apt.log"; fail "apt-get install failed"; }
[ "$(/usr/bin/gena --version)" = "gena $version" ] || fail "gena --version does not say $version"
expected_package=/usr/$libdir/cmake/TavikUPnPGENA
build_outside "$work/embed-usr"
DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq "${packages[@]}" >"$work/apt.log" 2>&1 ||
	{ cat "$work/apt.log"; fail "apt-get remove failed"; }
installed_here=false

for package in "${packages[@]}"; do
	if dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -qv "not-installed"; then
		fail "$package is still known to dpkg: $(dpkg-query -W -f='${Status}' "$package")"
	fi
done
for path in "${new_paths[@]}"; do
	[ ! -e "$path" ] && [ ! -L "$path" ] || fail "$path is left after removing the packages"
done
echo "-- packages installed, used and removed cleanly (${#new_paths[@]} paths)"
