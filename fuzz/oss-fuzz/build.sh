#!/bin/bash -eu
# Builds the fuzz targets as OSS-Fuzz wants them: its compiler and flags come in $CXX, $CXXFLAGS and $LIB_FUZZING_ENGINE, and
# the programs, their dictionaries and their first inputs go into $OUT.
source=$(cd "$(dirname "$0")/../.." && pwd)
cmake -S "$source" -B "$WORK/lumo" -DCMAKE_BUILD_TYPE=None -DLUMO_BUILD_FUZZERS=ON -DLUMO_BUILD_APP=OFF \
    -DLUMO_BUILD_TESTS=OFF -DLUMO_IMAGES=OFF -DLUMO_UNITE=ON -DLUMO_FUZZING_ENGINE="$LIB_FUZZING_ENGINE"
cmake --build "$WORK/lumo" -j "$(nproc)"

for program in "$WORK"/lumo/fuzz/*_fuzz; do
    target=$(basename "$program" _fuzz)
    cp "$program" "$OUT/"
    [ ! -f "$source/formats/$target/fuzz.dict" ] || cp "$source/formats/$target/fuzz.dict" "$OUT/${target}_fuzz.dict"
    seeds=()
    for folder in samples formats/@/cases fuzz/seeds fuzz/found; do
        [[ $folder == *@* ]] && folder=${folder/@/$target} || folder=$folder/$target
        [ ! -d "$source/$folder" ] || seeds+=("$source/$folder"/*)
    done
    (IFS=$'\n' && printf '%s\n' "${seeds[@]}" | grep -v '\.expected$' | zip -q -j "$OUT/${target}_fuzz_seed_corpus.zip" -@)
    printf '[libfuzzer]\nmax_len = 20000\ntimeout = 20\n' >"$OUT/${target}_fuzz.options"
done
