#!/usr/bin/env bash
# Installs the build into a folder of its own and builds a small program against it.
set -euo pipefail
build=$1
samples=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cmake --install "$build" --prefix "$place/prefix" >/dev/null
cat >"$place/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(user LANGUAGES CXX)
find_package(Lumo 0.1 REQUIRED)
add_executable(user user.cpp)
target_link_libraries(user PRIVATE Lumo::import)
END
cat >"$place/user.cpp" <<'END'
#include <cstdio>

#include "import/ForeignFile.h"

int main(int, char** argv) {
    const lumo::OwnedNet net(lumo::ReadForeignNetFile_kt(argv[1], lumo::FormatErgo, false));
    if (net == nullptr) return 1;
    for (const lumo::Bnode_bn* node : net->nodes) std::puts(node->name());
}
END
cmake -S "$place" -B "$place/build" -DCMAKE_PREFIX_PATH="$place/prefix" >/dev/null
cmake --build "$place/build" >/dev/null
nodes=$("$place/build/user" "$samples/ergo/garden.erg" | wc -l)
[ "$nodes" -eq 4 ] || { echo "4 nodes expected, $nodes seen"; exit 1; }
"$place/prefix/bin/lumo-import" --version
