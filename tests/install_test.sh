#!/usr/bin/env bash
# Installs the build into a folder, moves that, and builds a small program against it: with CMake,
# with pkg-config, and with pkg-config and the shared library.
set -euo pipefail
build=$1
source=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cat >"$place/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(user LANGUAGES CXX)
find_package(Lumo 0.1 REQUIRED)
add_executable(user user.cpp)
target_link_libraries(user PRIVATE Lumo::export)
END
# The programs of the documentation.
program_of() { sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$source/$1"; }
program_of docs/library.md >"$place/user.cpp"
program_of README.md >"$place/readme.cpp"

install_and_move() {
    cmake --install "$1" --prefix "$place/first-$2" >/dev/null
    mv "$place/first-$2" "$place/$2"
}

with_pkg_config() {
    local found flags
    found=$(dirname "$(find "$place/$1" -name lumo.pc)")
    read -ra flags < <(PKG_CONFIG_PATH=$found pkg-config --cflags --libs lumo)
    c++ -std=c++20 "$place/user.cpp" "${flags[@]}" -o "$place/user-$1"
    c++ -std=c++20 "$place/readme.cpp" "${flags[@]}" -o "$place/readme-$1"
}

expect_nodes() {
    local nodes
    nodes=$(cd "$source/samples/hugin" && "$1" asia.net | grep -c '^[a-z]')
    [ "$nodes" -eq 8 ] || { echo "$1: 8 nodes expected, $nodes seen"; exit 1; }
}

install_and_move "$build" static
cmake -S "$place" -B "$place/build" -DCMAKE_PREFIX_PATH="$place/static" >/dev/null
cmake --build "$place/build" >/dev/null
expect_nodes "$place/build/user"
with_pkg_config static
expect_nodes "$place/user-static"
expect_nodes "$place/readme-static"
"$place/static/bin/lumo-import" --version

# A program that detects, reads and writes; nothing internal is installed; C++17 is refused in words.
(cd "$source/samples/hugin" && "$place/user-static" asia.net "$place/asia.xdsl" >/dev/null)
grep -q '<smile' "$place/asia.xdsl"
! find "$place/static/include" -name 'access.h' -o -name 'state.h' -o -name 'blocks.h' | grep .
echo '#include <lumo/ForeignFile.h>' >"$place/old.cpp"
! c++ -std=c++17 -fsyntax-only -I "$place/static/include" "$place/old.cpp" 2>"$place/said"
grep -q 'Lumo import needs C++20' "$place/said"

# Not optimised, as only the linking counts.
cmake -S "$source" -B "$place/library" -DBUILD_SHARED_LIBS=ON -DLUMO_BUILD_APP=OFF \
    -DLUMO_BUILD_TESTS=OFF -DCMAKE_BUILD_TYPE=None >/dev/null
cmake --build "$place/library" -j 2 >/dev/null
install_and_move "$place/library" shared
with_pkg_config shared
export LD_LIBRARY_PATH
LD_LIBRARY_PATH=$(dirname "$(find "$place/shared" -name liblumo_import.so)")
expect_nodes "$place/user-shared"
ldd "$place/user-shared" | grep "$place/shared/.*liblumo_import.so"
