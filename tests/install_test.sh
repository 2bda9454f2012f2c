#!/usr/bin/env bash
# Installs the build into a folder, moves that, and builds a small program against it: with CMake and
# with pkg-config. (The shared library is tried where it is packed, in package_test.sh.)
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

expect_nodes() {
    local nodes
    nodes=$(cd "$source/samples/hugin" && "$1" asia.net | grep -c '^[a-z]')
    [ "$nodes" -eq 8 ] || { echo "$1: 8 nodes expected, $nodes seen"; exit 1; }
}

cmake --install "$build" --prefix "$place/first" >/dev/null
mv "$place/first" "$place/static"
cmake -S "$place" -B "$place/build" -DCMAKE_PREFIX_PATH="$place/static" >/dev/null
cmake --build "$place/build" >/dev/null
expect_nodes "$place/build/user"
found=$(dirname "$(find "$place/static" -name lumo.pc)")
read -ra flags < <(PKG_CONFIG_PATH=$found pkg-config --cflags --libs lumo)
for program in user readme; do
    c++ -std=c++20 "$place/$program.cpp" "${flags[@]}" -o "$place/$program-static"
done
expect_nodes "$place/user-static"
expect_nodes "$place/readme-static"
"$place/static/bin/lumo-import" --version

# The headers alone, with every warning, for each compiler and standard that is here.
(cd "$place/static/include" && find lumo -name '*.h' | sort | sed 's/.*/#include <&>/') >"$place/headers.cpp"
for compiler in g++ clang++-14 clang++-16; do
    command -v $compiler >/dev/null || continue
    for standard in c++20 c++2b; do
        $compiler -std=$standard -Wall -Wextra -Wpedantic -Wconversion -Werror -fsyntax-only \
            -I "$place/static/include" "$place/headers.cpp"
    done
done

# Pages can be made of them: every member is explained.
if command -v doxygen >/dev/null; then
    (cd "$source" && LUMO_HEADERS=$place/static/include/lumo LUMO_PAGES=$place LUMO_VERSION=0 doxygen cmake/Doxyfile)
fi

# A program that detects, reads and writes; nothing internal is installed; C++17 is refused in words.
(cd "$source/samples/hugin" && "$place/user-static" asia.net "$place/asia.xdsl" >/dev/null)
grep -q '<smile' "$place/asia.xdsl"
! find "$place/static/include" -name 'access.h' -o -name 'numbers.h' -o -name 'state.h' -o -name 'blocks.h' | grep .
echo '#include <lumo/ForeignFile.h>' >"$place/old.cpp"
! c++ -std=c++17 -fsyntax-only -I "$place/static/include" "$place/old.cpp" 2>"$place/said"
grep -q 'Lumo import needs C++20' "$place/said"
