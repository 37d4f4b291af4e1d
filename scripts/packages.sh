# Debian 12 packages, one list for each purpose. To be sourced; then: ensure_packages LIST…
# shellcheck shell=bash disable=SC2034

packages_build=(
    ca-certificates
    ccache
    cmake
    g++
    libcpp-httplib-dev
    libgdcm-dev
    libgl1-mesa-dev
    libgtest-dev
    libqt6opengl6-dev
    libssl-dev
    libvalijson-dev
    libvtk9-dev
    ninja-build
    nlohmann-json3-dev
    pkg-config
    qt6-base-dev
    qt6-base-private-dev
    qt6-svg-dev
    zlib1g-dev
)

packages_run=(
    curl
    fonts-dejavu-core
    fonts-inter
    libgl1-mesa-dri
    openssl
    orthanc
    orthanc-dicomweb
    osslsigncode
    python3
    xvfb
)

packages_test=(
    clang-format
    git
)

# The word processor that tests drive, and an independent reader of its documents.
packages_office=(
    libreoffice-gtk3
    libreoffice-writer
    python3-docx
    python3-uno
    xdotool
)

packages_fuzz=(
    clang
    libclang-rt-14-dev
)

packages_windows=(
    g++-mingw-w64-x86-64-posix
    googletest
    libz-mingw-w64-dev
    wine
    wine64
)

# Installs what is missing of the named lists, as root or with sudo; names it and fails where neither works.
ensure_packages() {
    local list package
    local -a wanted=() missing=() as_root=()
    for list; do
        local -n packages=packages_$list
        wanted+=("${packages[@]}")
    done
    local installed
    installed=$(dpkg-query --show --showformat='${db:Status-Status} ${Package}\n' "${wanted[@]}" 2>/dev/null || true)
    for package in "${wanted[@]}"; do
        [[ $'\n'$installed$'\n' == *$'\n'"installed $package"$'\n'* ]] || missing+=("$package")
    done
    if ((${#missing[@]} == 0)); then
        return 0
    fi

    if ((EUID != 0)); then
        as_root=(sudo)
        if ! command -v sudo >/dev/null || ! { sudo -n true 2>/dev/null || { [[ -t 0 ]] && sudo -v; }; }; then
            echo "These Debian packages are missing, and neither root nor sudo is there to install them:" >&2
            echo "  ${missing[*]}" >&2
            return 1
        fi
    fi
    echo "Installing ${missing[*]}"
    if ! { "${as_root[@]}" apt-get update -q &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends \
            "${missing[@]}"; } >&2; then
        echo "These Debian packages are missing and could not be installed:" >&2
        echo "  ${missing[*]}" >&2
        return 1
    fi
}
