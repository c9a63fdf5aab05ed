#!/usr/bin/env bash
# Checks the layer order of the libraries: a file of src/<lib> (and of tests/<lib>, bench/<lib>_*,
# fuzz/<lib>_*) includes headers only of <lib> and of the libraries before it. The order is the
# order of add_subdirectory in src/CMakeLists.txt. The kernel (kernel/) shares no code with the
# lab: it includes nothing of src/, and src/ nothing of it. Prints every crossing and fails on
# any; run by the test suite.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t order < <(sed -n 's/^add_subdirectory(\([a-z]*\)).*/\1/p' src/CMakeLists.txt)
declare -A rank
for i in "${!order[@]}"; do rank[${order[$i]}]=$i; done

faults=0
# check FILE LIB: every "x/..." include of FILE names a library at or before LIB.
check() {
    local file=$1 lib=$2 line target
    while IFS= read -r line; do
        target=${line#*\"}
        target=${target%%/*}
        [[ -n "${rank[$target]+x}" ]] || continue # a header of the file's own folder or tests/
        if ((rank[$target] > rank[$lib])); then
            echo "$file: includes $target/ above $lib in the layer order: ${line#*#}"
            faults=$((faults + 1))
        fi
    done < <(grep -E '^\s*#\s*include\s+"[a-z]+/' "$file" || true)
}

for lib in "${order[@]}"; do
    for file in src/"$lib"/*.h src/"$lib"/*.cpp tests/"$lib"/*.h tests/"$lib"/*.cpp \
        bench/"$lib"_*.cpp fuzz/"$lib"_*.cpp; do
        [[ -f "$file" ]] && check "$file" "$lib"
    done
done

# The kernel and the lab meet only in files.
while IFS= read -r hit; do
    echo "$hit: the kernel includes a header of the lab"
    faults=$((faults + 1))
done < <(grep -lE '^\s*#\s*include\s+"('"$(IFS='|'; echo "${order[*]}")"')/' kernel/*.h kernel/*.cpp || true)
while IFS= read -r hit; do
    echo "$hit: the lab includes a header of the kernel"
    faults=$((faults + 1))
done < <(grep -rlE '^\s*#\s*include\s+"(KernelInput|ElementTest|SoilModel|MohrCoulomb|Kernel|ResultFile|KernelTypes)\.h"' src || true)

if ((faults > 0)); then
    echo "layer order: $faults include(s) cross it (order: ${order[*]})"
    exit 1
fi
echo "layer order: no include crosses it (order: ${order[*]})"
