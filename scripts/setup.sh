# Sourced by the other scripts: brings a bare Debian 12 to where the preset linux-mingw builds and runs.
# Installs only what is missing, as root or through sudo; does nothing, quickly, when all is there.

zv_packages=(
    cmake
    ninja-build
    g++-mingw-w64-x86-64-posix
    wine
    wine64
    clang-19
    lld-19
    libc++-19-dev
    rapidjson-dev
    libcli11-dev
    googletest
    doxygen
    doxygen-awesome-css
    gcovr
    python3
)

zv_install_missing_packages() {
    local package missing=()
    for package in "${zv_packages[@]}"; do
        if [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
            missing+=("$package")
        fi
    done
    if ((${#missing[@]} == 0)); then
        return
    fi

    echo "Installing: ${missing[*]}"
    local as_root=()
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "Not root and no sudo here: install these packages and run this script again." >&2
            return 1
        fi
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# Configures and builds the preset linux-mingw. Arguments go to the build, for example --target wmihost.
zv_build() {
    cmake --preset linux-mingw
    cmake --build --preset linux-mingw --parallel "$@"
}

# Runs the host program as a user would on Windows.
zv_wmihost=build/linux-mingw/bin/wmihost.exe
wmihost() {
    scripts/wine-run.sh "$zv_wmihost" "$@"
}
