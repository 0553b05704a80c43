# Sourced by the scripts beside it: finds the project and installs what is missing from Debian's packages.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)

build_packages="g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libpng-dev libtiff-dev nettle-dev"
# The second line is for the examples that work with other libraries; without one of them its example is left out.
test_packages="$build_packages libgtest-dev libgmock-dev binutils pkg-config python3
    libopencv-core-dev libfftw3-dev python3-numpy python3-pil"
docs_packages="$test_packages doxygen"
# The benchmark and the libraries that it compares with.
bench_packages="$build_packages pkg-config libbenchmark-dev libfftw3-dev libopencv-core-dev libvips-dev"
identity_packages="g++ cmake ninja-build binutils clang g++-aarch64-linux-gnu qemu-user-static"
check_packages="$test_packages git clang libclang-rt-dev clang-format clang-tidy cppcheck"
memcheck_packages="$test_packages valgrind"
package_packages="$build_packages pkg-config dpkg-dev file lintian man-db"
abi_packages="g++ cmake ninja-build abigail-tools"

# need_packages NAME...: installs those that are missing, as root or through sudo. Without a network it succeeds as long
# as nothing is missing.
need_packages() {
    local missing=() as_root=() package
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        echo "No Debian package manager here. This project needs: $*" >&2
        echo "Install them your system's way, then: cmake --preset release && cmake --build build/release" >&2
        exit 1
    fi
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Not root, and sudo was not found. Install these packages and run again: ${missing[*]}" >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq || echo "The package lists could not be refreshed; trying the old ones." >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}
