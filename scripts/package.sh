#!/usr/bin/env bash
# Builds the Debian package build/package/quorvane_VERSION_amd64.deb the Debian way (debian/,
# debhelper driving the CMake install rules) from a copy of this tree, then checks it with lintian,
# which must report no errors. Installs what it needs first (as root, or with sudo).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh package
version=$(sed -n 's/^project(quorvane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
changelog=$(dpkg-parsechangelog -S Version)
if [ "$version" != "$changelog" ]; then
    echo "package.sh: CMakeLists.txt says version $version, debian/changelog says $changelog" >&2
    exit 1
fi

# The build runs in a copy, so its leftovers stay out of the tree and the package lands beside it.
out=build/package
rm -rf "$out"
mkdir -p "$out/src"
tar --exclude=./build --exclude=./.git -cf - . | tar -xf - -C "$out/src"
(cd "$out/src" && dpkg-buildpackage --build=binary --no-sign -j"$(nproc)")

deb="$out/quorvane_${version}_$(dpkg --print-architecture).deb"
echo "== lintian $deb"
lintian --fail-on error --info "$deb"
echo "Built $deb"
