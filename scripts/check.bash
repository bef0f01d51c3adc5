# SPDX-License-Identifier: Apache-2.0
# The steps of `./dev check`, sourced by it. Each is a function check_<step>; all run, the failed ones are named at
# the end. ctest's summary of the sanitizers' runs comes last.

check_steps=(format clang headers documentation package kills tsan asan)

command_check() {
    need build check
    local name failed=()
    for name in "${@:-${check_steps[@]}}"; do
        [[ $(type -t "check_$name") == function ]] || die "No such step: $name. There are: ${check_steps[*]}"
        "check_$name" || failed+=("$name")
    done
    [[ ${#failed[@]} -eq 0 ]] || die "./dev check failed in: ${failed[*]}"
}

check_format() { step "Format" name_unformatted; }

name_unformatted() {
    local file status=0
    while IFS= read -r -d '' file; do
        clang-format-14 --dry-run -Werror "$file" &>/dev/null || {
            echo "clang-format-14 -i $file"
            status=1
        }
    done < <(find benchmarks corvane examples tests \( -name '*.h' -o -name '*.cpp' \) -print0)
    return $status
}

# Warnings as errors, thread-safety analysis, and clang-tidy over the libraries' sources as they are compiled.
check_clang() { build check; }

# Every public header compiles alone.
check_headers() { build check all_verify_interface_header_sets; }

# Every block of C++ in README.md and docs/ compiles; the whole programs among them run.
check_documentation() { build default documentation; }

# Each component is found, linked and run alone from an install tree, by CMake and by pkg-config, shared and static.
check_package() {
    build default && build static || return
    step "Package, shared" tests/Package/consume build/default build/package/shared &&
        step "Package, static" tests/Package/consume build/static build/package/static
}

# Nothing that a process was told is stored is missing after it was killed. `scripts/killed-writers.bash PROBE 500`
# takes a minute.
check_kills() {
    build default || return
    step "Killed writers of settings" scripts/killed-writers.bash build/default/tests/corvane_defaults_probe 50 &&
        step "Killed writers of a vault" scripts/killed-writers.bash build/default/tests/corvane_vault_probe 50
}

check_tsan() {
    build tsan || return
    # Libraries that are not built for the sanitizer, so that it does not see how they keep their threads in order.
    export TSAN_OPTIONS=suppressions=$root/tests/Support/RacesOfOthers.txt
    run_tests tsan || return
    step "A minute of mixed operations" env CORVANE_STRESS_SECONDS=60 build/tsan/tests/corvane_core_tests \
        --gtest_filter=*MixedOperationsOfManyThreads
}

# The tests, then image files damaged at random for a bounded time.
check_asan() {
    build asan-ubsan || return
    # What other libraries keep for the life of the process, in the programs that the tests run too.
    export LSAN_OPTIONS=suppressions=$root/tests/Support/LeaksOfOthers.txt:print_suppressions=0
    local mutations=build/asan-ubsan/tests/corvane_image_mutations
    if [[ -x $mutations ]]; then
        step "Damaged images" "$mutations" 10000 180 || return
    fi
    run_tests asan-ubsan
}
