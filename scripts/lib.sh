# Shared by the scripts: messages, packages, builds, Wine. Sourced, not run.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

# Clones and unpacked sources in any folder share what was compiled.
export CCACHE_BASEDIR=$ROOT

say() { printf '== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# need COMMAND|FILE:PACKAGE ...: installs the packages whose command or file is missing; takes no time when none is.
need() {
    local missing=() pair probe
    for pair in "$@"; do
        probe=${pair%%:*}
        if [[ $probe == /* ]]; then
            [[ -e $probe ]] || missing+=("${pair#*:}")
        else
            command -v "$probe" >/dev/null 2>&1 || missing+=("${pair#*:}")
        fi
    done
    ((${#missing[@]} == 0)) && return 0
    command -v apt-get >/dev/null || die "missing: ${missing[*]}. Install them with your system's package manager."
    local asRoot=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null || die "missing: ${missing[*]}. Run as root, or install them first."
        asRoot=(sudo)
    fi
    say "Installing ${missing[*]}"
    "${asRoot[@]}" apt-get update -qq >/dev/null ||
        die "apt-get update failed; without a package source ${missing[*]} cannot be installed."
    DEBIAN_FRONTEND=noninteractive "${asRoot[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null || die "could not install ${missing[*]}."
}

need_build_tools() {
    need cmake:cmake ninja:ninja-build g++:g++ git:git ccache:ccache \
        /usr/src/googletest/CMakeLists.txt:googletest \
        xmllint:libxml2-utils /usr/share/i18n/locales/de_DE:locales \
        /usr/include/toml++/toml.h:libtomlplusplus-dev \
        /usr/include/CLI/CLI.hpp:libcli11-dev \
        /usr/include/stb/stb_image.h:libstb-dev \
        /usr/include/hwy/highway.h:libhwy-dev \
        /usr/include/nlohmann/json.hpp:nlohmann-json3-dev \
        /usr/include/boost/beast.hpp:libboost1.81-dev
}

need_browser() {
    need chromedriver:chromium-driver chromium:chromium \
        /usr/lib/python3/dist-packages/selenium/__init__.py:python3-selenium
}

need_windows_tools() {
    need x86_64-w64-mingw32-g++-posix:g++-mingw-w64-x86-64-posix /usr/lib/wine/wine64:wine64
}

need_aravis() {
    need /usr/include/aravis-0.8/arv.h:libaravis-dev /usr/include/libusb-1.0/libusb.h:libusb-1.0-0-dev \
        arv-fake-gv-camera-0.8:aravis-tools ip:iproute2
}

# build PRESET [TARGET ...]: configures when that is due and builds, quietly unless something fails.
build() {
    local preset=$1
    shift
    say "Building $preset"
    [[ $preset != linux && $preset != linux-asan ]] || need_aravis
    local log=build/$preset.log
    mkdir -p build
    if [[ ! -f build/$preset/build.ninja || CMakePresets.json -nt build/$preset/build.ninja ]]; then
        cmake --preset "$preset" >"$log" 2>&1 || { tail -n 30 "$log" >&2; die "configuring $preset failed (see $log)."; }
    fi
    local targets=()
    (($# > 0)) && targets=(--target "$@")
    cmake --build "build/$preset" "${targets[@]}" >"$log" 2>&1 ||
        { grep -E 'error|FAILED' -A5 "$log" | head -n 40 >&2; die "building $preset failed (see $log)."; }
}

# wine_run PROGRAM ARGUMENT ...: in a Wine environment of the build folder's own.
wine_run() {
    WINEPREFIX="$ROOT/build/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=' \
        /usr/lib/wine/wine64 "$@"
}

wine_prepare() {
    [[ -f build/wineprefix/system.reg ]] && return 0
    say "Preparing Wine"
    mkdir -p build
    wine_run wineboot -i >/dev/null 2>&1 || die "Wine does not start on this machine."
    WINEPREFIX="$ROOT/build/wineprefix" /usr/lib/wine/wineserver64 -w 2>/dev/null || true
}
