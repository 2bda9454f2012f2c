#!/usr/bin/env bash
# release_test.sh FOLDER: tries what ./dev release made as those who get it would, one way after the other: what the
# README's table of ways to get it says. A way whose tools are not here is said to be left out.
set -euo pipefail
files=$(cd "$1" && pwd)
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "FAILED  $*"; exit 1; }
asia=$source/samples/hugin/asia.net
cd "$place"
reads() { "$@" "$asia" 2>log | grep -q '8 nature' || fail "$* does not read: $(cat log)"; }

sums() { (cd "$files" && sha256sum --quiet -c SHA256SUMS); }
page() { /usr/bin/python3 "$source/tests/web_test.py" "$files/lumo.html" "$source/build/release/lumo-import" "$source/samples" >log 2>&1; }
windows() {
    unzip -q "$files"/lumo-import-*-windows-x64.zip
    WINEDEBUG=-all WINEPREFIX=$place/wine reads /usr/lib/wine/wine64 lumo-import-*-windows-x64/lumo-import.exe
}
linux() {
    tar -xf "$files"/lumo-import-*-linux-x64-static.tar.xz
    reads lumo-import-*-static/lumo-import
    ! ldd lumo-import-*-static/lumo-import 2>/dev/null
}
debian() {
    for deb in "$files"/*.deb; do dpkg-deb -x "$deb" root; done
    LD_LIBRARY_PATH=$(echo root/usr/lib/*-linux-gnu*) reads root/usr/bin/lumo-import
}
wheel() {
    /usr/bin/python3 -m venv --system-site-packages env
    env/bin/python -m pip -q --disable-pip-version-check install --no-index --no-deps "$files"/lumo-*.whl
    reads env/bin/lumo-import
    env/bin/python -c "import lumo; assert len(lumo.read('$asia')) == 8"
}
r() {
    mkdir library
    R CMD INSTALL -l library "$files"/lumo_*.tar.gz >log 2>&1 || fail "$(tail log)"
    R_LIBS=library Rscript -e "stopifnot(length(lumo::read_net('$asia')\$nodes) == 8)"
}
sources() {
    tar -xf "$files"/lumo-import-*[0-9].tar.xz
    cmake -S lumo-import-*[0-9] -B build -DLUMO_BUILD_TESTS=OFF >/dev/null
}
manifests() {
    tar -xf "$files"/lumo-import-*-manifests.tar.xz
    ! grep -r '@[A-Z_]*@' manifests
}

way() {  # NAME FILES COMMAND...
    local name=$1 wanted=$2
    shift 2
    compgen -G "$files/$wanted" >/dev/null || { echo "absent  $name"; return; }
    for tool; do command -v "$tool" >/dev/null || { echo "no $tool  $name"; return; }; done
    "$name" || fail "$name: $(cat log 2>/dev/null)"
    echo "passed  $name"
}
way sums SHA256SUMS
way page lumo.html chromium
way windows 'lumo-import-*-windows-x64.zip' /usr/lib/wine/wine64 unzip
way linux 'lumo-import-*-linux-x64-static.tar.xz'
way debian 'lumo-import_*.deb' dpkg-deb
way wheel 'lumo-*.whl' python3
way r 'lumo_*.tar.gz' R
way sources 'lumo-import-*[0-9].tar.xz'
way manifests 'lumo-import-*-manifests.tar.xz'
