#!/usr/bin/env bash
# Makes the Debian packages of the build, unpacks them and uses them from there.
set -euo pipefail
build=$1
samples=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "$*"; exit 1; }
field() { dpkg-deb -f "$place"/"$1"_*.deb "$2"; }

for tool in dpkg-shlibdeps file; do
    command -v $tool >/dev/null || { echo "no $tool"; exit 77; }
done
cpack --config "$build/CPackConfig.cmake" -B "$place" >"$place/log" || fail "$(cat "$place/log")"
version=$("$build/lumo-import" --version | cut -d ' ' -f 2)
for deb in "$place"/*.deb; do
    name=$(basename "$deb" | cut -d _ -f 1)
    [ "$(field "$name" Version)" = "$version" ] || fail "$name has not the version $version"
    dpkg-deb -x "$deb" "$place/root"
    [ -s "$place/root/usr/share/doc/$name/copyright" ] || fail "$name has no copyright"
    grep -q "$version" <(zcat "$place/root/usr/share/doc/$name/changelog.gz") || fail "$name has no changelog"
done

# The program needs nothing that a bare machine does not have, and runs from where it was unpacked.
others=$(field lumo-import Depends | tr ',' '\n' | grep -vE '^ *(libc6|libgcc-s1|libstdc\+\+6) ' || true)
[ -z "$others" ] || fail "lumo-import depends on $others"
usr=$place/root/usr
grep -q '8 nature' <("$usr/bin/lumo-import" "$samples/hugin/asia.net") || fail "no summary"
"$usr/bin/lumo-import" convert "$samples/hugin/asia.net" -o "$place/asia.json" >/dev/null
grep -q '"schema":"lumo-import/1"' "$place/asia.json" || fail "no JSON"
grep -q "lumo-import $version" <(zcat "$usr/share/man/man1/lumo-import.1.gz") || fail "no man page"
[ -s "$usr/share/bash-completion/completions/lumo-import" ] || fail "no completion"
[ -e "$usr/lib/liblumo_import.a" ] || [ -e "$usr"/lib/*/liblumo_import.a ] || fail "no library"
[ "$(PKG_CONFIG_PATH=$usr/lib/pkgconfig pkg-config --modversion lumo)" = "$version" ] || fail "no lumo.pc"

if [ -e "$place"/python3-lumo_*.deb ]; then
    python=$(/usr/bin/python3 -c 'import sys; print("3.%d" % sys.version_info.minor)')
    [[ $(field python3-lumo Depends) == *"python3 (>= $python)"*python3-numpy* ]] ||
        fail "python3-lumo depends on $(field python3-lumo Depends)"
    PYTHONPATH=$usr/lib/python$python/dist-packages /usr/bin/python3 -c \
        "import lumo; assert len(lumo.read('$samples/hugin/asia.net').nodes) == 8"
fi
