#!/usr/bin/env bash
# What scripts/demo --aravis does: acquires images from the cameras that Aravis finds through the Linux adapter. With
# none plugged in, Aravis' own fake GigE Vision camera sends them over the loopback interface.
source "$(dirname "$0")/lib.sh"

need_build_tools
need_aravis
build linux camhost MaravelAdapterZorvik aravis_sdk

out=build/demo-aravis
rm -rf "$out"
mkdir -p "$out"
export ZORVIK_HOME=$ROOT/build/linux/sdk-aravis
export MARAVEL_PLATFORM_ROOT=$ROOT/$out/machine
log=$out/machine/Documents/Halvane/AdapterZorvik/MaravelAdapterZorvik.log
camhost() { build/linux/bin/camhost "$@"; }

fake=
stop_fake() {
    [[ -n $fake ]] && kill "$fake" 2>/dev/null
    fake=
}
trap stop_fake EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

no_camera() { [[ $(camhost list) == 'no cameras'* ]]; }

say "Looking for cameras"
if no_camera; then
    say "None is plugged in: starting Aravis' fake camera on the loopback interface"
    arv-fake-gv-camera-0.8 -i 127.0.0.1 -s FAKE-1 >"$out/fake-camera.log" 2>&1 &
    fake=$!
    tries=0
    while no_camera; do
        kill -0 "$fake" 2>/dev/null || die "the fake camera does not start (see $out/fake-camera.log)."
        ((++tries < 5)) || die "the fake camera is not found (see docs/real-cameras.md)."
    done
fi
camhost list

# grab FORMAT: four images and their sheet; false when the first camera has no such format.
grab() {
    camhost set 0 "PixelFormat=$1" >/dev/null 2>&1 || return 1
    camhost grab 0 --frames 4 --set "PixelFormat=$1" --out "$out/$1" --contact-sheet "$out/contact-sheet-$1.png" \
        >"$out/last.txt" 2>&1 || { cat "$out/last.txt" >&2; die "grabbing $1 failed."; }
    sed 's/^/   /' "$out/last.txt"
}

# one_of FORMAT ...: the first of them that the camera has.
one_of() {
    local format
    for format in "$@"; do
        grab "$format" && return 0
    done
    say "The camera has none of: $*"
}

grabbed() { compgen -G "$out/contact-sheet-*.png" >/dev/null; }

say "Monochrome"
one_of Mono8
say "Raw colour, made into a picture by the image-transform library"
one_of BayerRG8 BayerGR8 BayerGB8 BayerBG8
say "Colour"
one_of RGB8
rm -f "$out/last.txt"
cp "$log" "$out/"
grabbed || die "the camera has none of these formats; camhost describe 0 lists what it has."

say "Done"
cat <<END
   Contact sheets  $(cd "$out" && echo contact-sheet-*.png)
   All of it in    $ROOT/$out
END
