#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# killed-writers.bash PROBE [ROUNDS]: two processes write into one place, settings or a vault, saying each write that
# they were told is done, and are killed at a random moment. After each round no write that was said is missing and what
# is stored is undamaged. PROBE is tests/corvane_defaults_probe or tests/corvane_vault_probe of a build.
set -euo pipefail
probe=$1
rounds=${2:-50}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

said=0
for ((round = 1; round <= rounds; ++round)); do
    writers=()
    for name in a b; do
        "$probe" write "$folder/suite" "$name" >"$folder/$name.log" &
        writers+=($!)
    done
    # From before the file is opened to well into its checkpoints.
    sleep "0.$(printf '%03d' $((RANDOM % (round % 10 == 0 ? 400 : 60))))"
    kill -9 "${writers[@]}"
    wait "${writers[@]}" 2>/dev/null || true
    for name in a b; do
        if ! outcome=$("$probe" verify "$folder/suite" "$name" "$folder/$name.log"); then
            echo "round $round: $outcome"
            exit 1
        fi
        said=$((said + $(wc -l <"$folder/$name.log")))
    done
done
[[ $said -gt $((rounds * 10)) ]] || { echo "only $said writes in $rounds rounds: nothing was put to the test" && exit 1; }
# The database with its log and index, and a vault's key: nothing that was set aside.
leftovers=$(find "$folder/suite" -name '*damaged*' -o -type f ! -name '*.sqlite*' ! -name 'vault.key*')
[[ -z $leftovers ]] || { echo "left behind: $leftovers" && exit 1; }
echo "$rounds rounds, $said writes said, none missing"
