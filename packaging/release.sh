#!/usr/bin/env bash
# release.sh FOLDER: makes what a page of releases carries, of the last commit, in that folder. The same commit at the
# same place gives the same bits: every time in them is the commit's.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mkdir -p "$1"
place=$(cd "$1" && pwd)
work=$PWD/build/release-work
version=$(sed -n 's/^project(Lumo VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=lumo-import-$version
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH LC_ALL=C TZ=UTC
rm -rf "$work" "${place:?}"/*
mkdir -p "$work"

dev() { ./dev "$@" >&2; }
say() { echo "== $*" >&2; }

# pack ARCHIVE FOLDER: a folder beside the others, in the order of names.
pack() {
    (cd "$work" && find "$2" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
    case $1 in
        *.zip) find "$2" -type f | sort | zip -X -q "$place/$1" -@ ;;
        *.tar.gz) tar --format=ustar --sort=name --owner=0 --group=0 --numeric-owner -c "$2" | gzip -9n >"$place/$1" ;;
        *) tar --format=ustar --sort=name --owner=0 --group=0 --numeric-owner -c "$2" | xz -9 -T1 >"$place/$1" ;;
    esac)
}

# with_program FOLDER PROGRAM: the program and what goes with it.
with_program() {
    mkdir -p "$work/$1"
    cp "$2" README.md CHANGELOG.md LICENSE "$work/$1"
    cp -r docs samples "$work/$1"
    find "$work/$1" '(' -name '*.py' -o -name '*.expected' ')' -delete
}

programs() {
    say "programs"
    dev program windows
    dev program static
    strip -o "$work/lumo-import" build/static/lumo-import
    x86_64-w64-mingw32-strip -o "$work/lumo-import.exe" build/windows/lumo-import.exe
    with_program "$name-windows-x64" "$work/lumo-import.exe"
    pack "$name-windows-x64.zip" "$name-windows-x64"
    with_program "$name-linux-x64-static" "$work/lumo-import"
    cp build/static/lumo-import.1 packaging/completion.* "$work/$name-linux-x64-static"
    pack "$name-linux-x64-static.tar.xz" "$name-linux-x64-static"
}

page() {
    say "page"
    dev web
    cp build/web/lumo.html "$place/lumo.html"
}

sources() {
    say "sources"
    mkdir "$work/$name"
    git archive HEAD | tar -x -C "$work/$name"
    pack "$name.tar.xz" "$name"
}

debian() {
    say "Debian packages"
    DEB_BUILD_OPTIONS="nocheck noautodbgsym" dev package "$work/debian"
    cp "$work"/debian/*.deb "$work"/debian/*.dsc "$work"/debian/lumo_*.tar.xz "$place"
}

# The oldest glibc that has all that the wheel's binaries ask for; they bring the rest with them.
glibc_of() { objdump -T "$@" | grep -o 'GLIBC_[0-9.]*' | sort -uV | tail -1 | cut -d _ -f 2; }

wheel() {
    say "wheel"
    local glibc
    cmake -S . -B build/wheel -DCMAKE_BUILD_TYPE=Release -DLUMO_BUILD_PYTHON=ON -DLUMO_BUILD_TESTS=OFF \
        -DCMAKE_MODULE_LINKER_FLAGS="-static-libstdc++ -static-libgcc" >&2
    mkdir "$work/wheel"
    git archive HEAD | tar -x -C "$work/wheel"
    (cd "$work/wheel" && LUMO_BUILD_DIR=$OLDPWD/build/wheel /usr/bin/python3 -m pip wheel -q --no-build-isolation \
        --no-index --no-deps -w "$work/wheels" . >&2)
    unzip -q "$work"/wheels/*.whl -d "$work/unpacked"
    glibc=$(glibc_of "$work"/unpacked/lumo/_core*.so "$work/unpacked/lumo/lumo-import")
    ! objdump -p "$work"/unpacked/lumo/_core*.so | grep 'NEEDED.*libstdc++'
    sed -i "s/^\(Tag: .*-\)linux_x86_64/\1manylinux_${glibc/./_}_x86_64/" "$work"/unpacked/*.dist-info/WHEEL
    /usr/bin/python3 -m wheel pack -d "$place" "$work/unpacked" >&2
}

# As R makes it, but for the times and names of who made it.
r_sources() {
    say "R sources"
    local folder=$PWD
    (cd "$work" && R CMD build "$folder/R" >&2 && mkdir r && tar -x -C r -f lumo_*.tar.gz && rm lumo_*.tar.gz && mv r/lumo .)
    sed -i "s/^Packaged: .*/Packaged: $(date -u -d "@$SOURCE_DATE_EPOCH" '+%F %T UTC'); lumo/" "$work/lumo/DESCRIPTION"
    pack "lumo_$version.tar.gz" lumo
}

# The templates for Homebrew and winget, filled in.
manifests() {
    say "manifests"
    mkdir "$work/manifests"
    sum_of() { sha256sum "$place/$1" | cut -d ' ' -f 1; }
    cp -r packaging/lumo-import.rb packaging/winget "$work/manifests"
    find "$work/manifests" -type f -exec sed -i "/^#/d; s/@VERSION@/$version/g; s/@SHA256_SOURCE@/$(sum_of "$name.tar.xz")/
        s/@SHA256_WINDOWS@/$(sum_of "$name-windows-x64.zip")/" {} +
    pack "$name-manifests.tar.xz" manifests
}

for part in ${LUMO_RELEASE_PARTS:-programs page sources debian wheel r_sources manifests}; do $part; done
(cd "$place" && rm -f SHA256SUMS && find . -maxdepth 1 -type f -printf '%P\n' | sort | xargs sha256sum >"$work/sums" && mv "$work/sums" SHA256SUMS)
cat "$place/SHA256SUMS"
