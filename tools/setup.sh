#!/bin/bash
# Installs the Debian packages the project needs and fetches the photograph of the demonstration.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  g++ clang libomp-dev cmake ninja-build ccache pkg-config   # the build
  libhwy-dev                                                 # the library
  libgtest-dev libbenchmark-dev python3 clang-format         # tests, benchmarks and checks
  dpkg-dev doxygen                                           # packages and the reference
  libpng-dev libtiff-dev libfreetype-dev fonts-dejavu-core   # the examples
)
# The Debian package whose test pictures include a photograph; it is unpacked, not installed.
photo_package=librust-tiff-dev
photo=out/photo.tif

as_root() {
  if [[ $(id -u) == 0 ]]; then "$@"; else sudo "$@"; fi
}

update_package_lists() { as_root apt-get update -qq; }

installed() { [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

missing=()
for package in "${packages[@]}"; do
  installed "$package" || missing+=("$package")
done
if [[ ${#missing[@]} -gt 0 ]]; then
  echo "setup: installing ${missing[*]}"
  update_package_lists
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" >/dev/null
else
  echo "setup: all packages are installed"
fi

if [[ ! -s $photo ]]; then
  echo "setup: fetching the photograph $photo from the package $photo_package"
  unpacked=$(mktemp -d)
  trap 'rm -rf "$unpacked"' EXIT
  apt-cache show "$photo_package" >/dev/null 2>&1 || update_package_lists
  (cd "$unpacked" && apt-get download -qq -o APT::Sandbox::User=root "$photo_package" && dpkg -x ./*.deb .)
  mkdir -p out
  cp "$unpacked"/usr/share/cargo/registry/tiff-*/tests/benches/kodim07-lzw.tif "$photo"
fi
