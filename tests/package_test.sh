#!/usr/bin/env bash
# Makes the Debian packages, of what the release has compiled, and tries them where they are unpacked,
# with the tests that Debian runs where they are installed.
set -euo pipefail
build=$1
source=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "$*"; exit 1; }
field() { dpkg-deb -f "$place"/"$1"_*.deb "$2"; }

for tool in dpkg-buildpackage dh dh_python3 lintian; do
    command -v $tool >/dev/null || { echo "no $tool"; exit 77; }
done
# Stands before the compiler, and takes what the release has of the same name.
cat >"$place/compiled" <<END
#!/usr/bin/env bash
while [ "\${out:-}" != -o ]; do out=\$1; command+=("\$1"); shift; done
[[ \$PWD/\$1 =~ /obj-[^/]*/(.*) ]] && cp "$build/\${BASH_REMATCH[1]}" "\$1" 2>/dev/null || exec "\${command[@]}" "\$@"
END
chmod +x "$place/compiled"
export DEB_BUILD_OPTIONS="nocheck noautodbgsym" CMAKE_CXX_COMPILER_LAUNCHER=$place/compiled
"$source/dev" package "$place" >"$place/log" 2>&1 || fail "$(cat "$place/log")"

for deb in "$place"/*.deb; do dpkg-deb -x "$deb" "$place/root"; done
usr=$place/root/usr
export PATH=$usr/bin:$PATH CMAKE_PREFIX_PATH=$usr LD_LIBRARY_PATH PKG_CONFIG_PATH
export PYTHONPATH=$usr/lib/python3/dist-packages
LD_LIBRARY_PATH=$(echo "$usr"/lib/*-linux-gnu*)
PKG_CONFIG_PATH=$LD_LIBRARY_PATH/pkgconfig
for test in command library python; do
    export AUTOPKGTEST_TMP=$place/$test
    mkdir "$AUTOPKGTEST_TMP"
    (cd "$source" && "debian/tests/$test") || fail "debian/tests/$test"
done

# One version everywhere, and the papers of the program.
version=$(lumo-import --version | sed -n '1s/.* //p')
for name in lumo-import liblumo-import0 liblumo-dev python3-lumo; do
    [ "$(field $name Version)" = "$version" ] || fail "$name has not the version $version"
done
[ "$(pkg-config --modversion lumo)" = "$version" ] || fail "lumo.pc has not the version $version"
grep -q "lumo-import $version" <(zcat "$usr/share/man/man1/lumo-import.1.gz") || fail "no man page"
[ -s "$usr/share/bash-completion/completions/lumo-import" ] || fail "no completion"
[ -s "$usr/share/doc/lumo-import/docs/hugin.md" ] || fail "no documentation"
[[ $(field python3-lumo Depends) == *python3-numpy* ]] || fail "python3-lumo does without NumPy"
# Each page has what it links to beside it.
find "$usr/share/doc" -name '*.md' | while read -r page; do
    { grep -oE '\]\([^):#]+[)#]' "$page" || true; } | sed 's/^](//; s/[)#]$//' | sort -u | while read -r link; do  # none of the web
        [ -e "$(dirname "$page")/$link" ] || echo "$page: $link is not there"
    done
done >"$place/missing"
[ ! -s "$place/missing" ] || fail "$(cat "$place/missing")"
[ -x "$usr/share/doc/lumo-import/docs/scale.py" ] || fail "scale.py cannot be run"
[ -s "$usr/share/mime/packages/lumo-import.xml" ] || fail "no MIME types"
[ -e "$LD_LIBRARY_PATH/liblumo_import.a" ] || fail "no static library"
