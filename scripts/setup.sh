# shellcheck shell=bash
# Sourced by the other scripts, in the top folder: installs what is missing on a bare Debian 12, builds, and tells of it.

export LC_ALL=C.UTF-8 # always there, unlike what a terminal may ask for; names of files are beyond ASCII

# Packages by what needs them.
zv_for_building=(cmake ninja-build g++-mingw-w64-x86-64-posix rapidjson-dev libcli11-dev wine wine64)
zv_for_site=(doxygen doxygen-awesome-css python3)
zv_for_tests=("${zv_for_building[@]}" "${zv_for_site[@]}" googletest clang-19 lld-19 libc++-19-dev)
zv_for_coverage=("${zv_for_tests[@]}" gcovr)

# zv_phase NAME: says what begins, and remembers when, for zv_summary.
zv_phases=()
zv_phase() {
    zv_phases+=("$SECONDS $1")
    printf '\n--- %s\n' "$1"
}

# How long each phase took, in one line.
zv_summary() {
    local i start name end text=
    for ((i = 0; i < ${#zv_phases[@]}; ++i)); do
        read -r start name <<<"${zv_phases[i]}"
        end=${zv_phases[i + 1]:-$SECONDS}
        text+="${text:+, }$name $((${end%% *} - start)) s"
    done
    printf '\n%s; together %d s.\n' "${text^}" "$SECONDS"
}

# zv_install PACKAGE...: installs those that are missing, as root or through sudo, and says before how much that is. Does
# nothing, quickly, when all are there.
zv_install() {
    local package missing=()
    for package; do
        if [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        return
    fi

    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get) install=(install --no-install-recommends "${missing[@]}")
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            printf 'Packages are missing, and you are not root and have no sudo. As root, run:\napt-get update && apt-get %s\n' \
                "${install[*]}" >&2
            return 1
        fi
        apt=(sudo "${apt[@]}")
    fi
    echo "Missing: ${missing[*]}"
    local log=build/packages.log
    mkdir -p build
    "${apt[@]}" -q update >$log 2>&1 || { tail $log >&2; return 1; }
    "${apt[@]}" "${install[@]}" --assume-no 2>>$log | grep -E '^(Need to get|After this operation)' ||
        true # it ends as if somebody had said no
    "${apt[@]}" "${install[@]}" --yes -o APT::Status-Fd=1 </dev/null 2>&1 | tee -a $log | zv_show_progress_of_apt ||
        { tail $log >&2; return 1; }
}

# Turns apt's lines for programs into two for people.
zv_show_progress_of_apt() {
    local kind percent phase='' tenth=0
    while IFS=: read -r kind _ percent _; do
        [[ $kind == [dp][lm]status ]] || continue
        if [[ $kind != "$phase" ]]; then
            [[ -z $phase ]] || echo
            phase=$kind tenth=0
            [[ $kind == dlstatus ]] && printf 'Fetching  ' || printf 'Installing'
        fi
        percent=${percent%.*}
        while (((percent + 2) / 10 > tenth)); do # it ends a little below 100
            ((tenth += 1))
            printf ' %d%%' $((tenth * 10))
        done
    done
    echo
}

# zv_build TARGET...: builds these, or without any everything.
zv_build() {
    NINJA_STATUS='[%p] ' cmake --build --preset linux-mingw --parallel "${@/#/--target=}"
}

zv_configure() {
    cmake --preset linux-mingw "$@" >/dev/null
}

# For what needs no test: a build tree that is there stays as it is, as one without tests needs fewer packages.
zv_configure_without_tests() {
    [[ -f build/linux-mingw/build.ninja ]] || zv_configure -DZV_BUILD_TESTS=OFF -DZV_BUILD_BENCHMARKS=OFF
}
