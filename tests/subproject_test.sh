#!/usr/bin/env bash
# The library among the targets of somebody else's project, through add_subdirectory and through FetchContent: the
# headers are found as they are installed, and the library alone is built. What the release has compiled is taken.
set -euo pipefail
build=$1
source=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "$*"; exit 1; }

cat >"$place/compiled" <<END
#!/usr/bin/env bash
while [ "\${out:-}" != -o ]; do out=\$1; command+=("\$1"); shift; done
[[ \$PWD/\$1 =~ /lumo(-build)?/(CMakeFiles/.*) ]] && cp "$build/\${BASH_REMATCH[2]}" "\$1" 2>/dev/null || exec "\${command[@]}" "\$@"
END
chmod +x "$place/compiled"
mkdir "$place/lumo"
tar -C "$source" -c --exclude=./build --exclude=./.git --exclude=./R . | tar -C "$place/lumo" -x
tar -C "$place" -czf "$place/lumo.tar.gz" lumo

try() {  # NAME LINE...: a project that has the library by these lines of CMake
    mkdir "$place/$1"
    sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$source/docs/library.md" >"$place/$1/user.cpp"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(user LANGUAGES CXX)' "${@:2}" \
        'add_executable(user user.cpp)' 'target_link_libraries(user PRIVATE Lumo::export)' >"$place/$1/CMakeLists.txt"
    cmake -S "$place/$1" -B "$place/$1/build" -DCMAKE_CXX_COMPILER_LAUNCHER="$place/compiled" >/dev/null
    cmake --build "$place/$1/build" >"$place/log" || fail "$(cat "$place/log")"
    [ "$("$place/$1/build/user" "$source/samples/hugin/asia.net" | grep -c '^[a-z]')" -eq 8 ] || fail "$1 does not read"
    ! find "$place/$1/build" -name lumo-import -type f -perm -u+x | grep . || fail "$1 builds the program"
    cmake --install "$place/$1/build" --prefix "$place/$1/installed" >/dev/null
    [ ! -e "$place/$1/installed" ] || fail "$1 installs the library"
}
try folder "add_subdirectory($place/lumo lumo)"
try fetched 'include(FetchContent)' "FetchContent_Declare(lumo URL $place/lumo.tar.gz)" 'FetchContent_MakeAvailable(lumo)'
