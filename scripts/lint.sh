#!/usr/bin/env bash
# Checks the format of all C++ files and, with --tidy, analyses the project's own sources.
#   usage: lint.sh [--fix] [--tidy [FILE...]]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
for tool in clang-format-19 clang-tidy-19; do
    if ! command -v "$tool" >/dev/null; then
        echo "$tool is missing; on Debian: apt-get install $tool" >&2
        exit 2
    fi
done

mapfile -t files < <(git ls-files '*.h' '*.cpp')
case ${1:-} in
--fix)
    clang-format-19 -i "${files[@]}"
    ;;
--tidy)
    shift
    # In a folder of its own: clang cannot read GCC's precompiled headers, and each file is to include what it needs.
    cmake --preset linux-mingw -B build/lint -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
    if [[ $# -gt 0 ]]; then
        sources=("$@")
    else
        mapfile -t sources < <(git ls-files 'Services/*.cpp' 'Shared/*.cpp' 'Platform/*.cpp' 'Logging/*.cpp' 'Interception/*.cpp' \
            'Simulator/*.cpp' 'Host/*.cpp')
    fi
    # The compiler's own warnings are GCC's business.
    printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy-19 --quiet -p build/lint \
        --extra-arg=--target=x86_64-w64-mingw32 --extra-arg=-Wno-everything
    ;;
*)
    if ! clang-format-19 --dry-run --Werror "${files[@]}"; then
        echo "Formatting differs; mend it with: scripts/lint.sh --fix" >&2
        exit 1
    fi
    ;;
esac
