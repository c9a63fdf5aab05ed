#!/usr/bin/env bash
# Installs every Debian package the project builds, tests and runs with. Works as root or
# through sudo, skips what is installed and runs apt-get update only when something is missing.
# With --fuzz it also installs clang and its sanitizer and libFuzzer runtimes (scripts/fuzz.sh).
set -euo pipefail

packages=(
    # building
    g++ cmake ninja-build pkg-config git
    # windows and charts
    qt6-base-dev qt6-charts-dev libqt6opengl6-dev fonts-dejavu-core
    # libraries
    libcpp-httplib-dev nlohmann-json3-dev libpugixml-dev zlib1g-dev libssl-dev gettext
    libfmt-dev libeigen3-dev libnlopt-cxx-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth
)
if [[ "${1:-}" == "--fuzz" ]]; then
    packages+=(clang libclang-rt-dev)
fi

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
    exit 0
fi

if ((EUID == 0)); then
    as_root=()
elif command -v sudo >/dev/null; then
    as_root=(sudo -n)
    sudo -n true 2>/dev/null || as_root=(sudo)
else
    echo "setup: missing packages (${missing[*]}) and neither root nor sudo" >&2
    exit 1
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
