#!/usr/bin/env bash
# The R package, built, checked and tested as R does it, against the library as it is installed.
set -euo pipefail
build=$1
source=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "$*"; exit 1; }

command -v R >/dev/null || { echo "no R (r-base-dev)"; exit 77; }
for package in cpp11 testthat; do
    Rscript -e "quit(status = !requireNamespace('$package', quietly = TRUE))" ||
        { echo "no $package (r-cran-$package)"; exit 77; }
done
version=$("$build/lumo-import" --version | sed -n '1s/.* //p')
grep -qx "Version: $version" "$source/R/DESCRIPTION" || fail "the version of the R package is not $version"

cmake --install "$build" --prefix "$place/lumo" --component development >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$place/lumo" -name lumo.pc)")
export PKG_CONFIG_PATH LUMO_IMPORT=$build/lumo-import LUMO_SAMPLES=$source/samples
export R_MAKEVARS_USER=$place/flags
echo 'CXX20FLAGS = -O0 -Wall -Werror' >"$R_MAKEVARS_USER"
cd "$place"
R CMD build "$source/R" >log 2>&1 || fail "$(cat log)"
R CMD check --no-manual lumo_*.tar.gz >log 2>&1 || fail "$(cat log lumo.Rcheck/00install.out; tail -n 40 lumo.Rcheck/tests/*.fail)"
grep -q '^Status: OK' log || fail "$(cat log)"
grep -h '^\[ FAIL' lumo.Rcheck/tests/*.Rout

# What the documentation shows, but for bnlearn, which the distribution does not have.
r_of() { sed -n '/^```r$/,/^```$/{/^```/d;/library(bnlearn)/d;p}' "$source/$1"; }
run() { (cd "$1" && R_LIBS=$place/lumo.Rcheck R_DEFAULT_DEVICE=pdf Rscript "$place/$2" >"$place/log" 2>&1) || fail "$(cat log)"; }
r_of README.md >readme.R
r_of docs/r.md >doc.R
ln -s "$source/samples" samples
ln -s samples/hugin/asia.net .
run . readme.R
run . doc.R
grep -q 'comments of 1 node are not kept by BIF' log || fail "$(cat log)"

# The sources in the package are enough to build the library where it is not installed.
tar xf lumo_*.tar.gz
cmake -S lumo/src/lumo -B sources -DLUMO_BUILD_APP=OFF -DLUMO_BUILD_TESTS=OFF >/dev/null
[ "$(find lumo/src/lumo/library lumo/src/lumo/formats lumo/src/lumo/export -name '*.cpp' | wc -l)" -gt 80 ]
