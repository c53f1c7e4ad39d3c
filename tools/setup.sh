# Sourced by ./run, ./test and .ci/run from the root: installs what is missing, and builds.

say() { printf '== %s\n' "$*" >&2; }

die() {
    say "$*"
    exit 1
}

# install_packages [PACKAGE...]: installs the listed packages and the named ones. Calls apt only for missing packages.
install_packages() {
    local package missing=()
    while read -r package; do
        dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^.i' || missing+=("$package")
    done < <(grep -v '^#' tools/packages; printf '%s\n' "$@" | grep .)
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        sudo -n true 2>/dev/null ||
            die "These Debian packages are missing, and installing them needs root: ${missing[*]}"
        as_root=(sudo -n)
    fi
    say "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update -qq >&2 || say "apt-get update failed; trying with the lists at hand"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >&2 </dev/null || die "apt-get could not install: ${missing[*]}"
}

# build PRESET [TARGET...]: configures once and builds the named targets, or everything.
build() {
    local preset=$1
    shift
    say "Building ($preset)"
    cmake --preset "$preset" >"build-$preset.log" 2>&1 || {
        cat "build-$preset.log" >&2
        die "cmake could not configure the preset $preset"
    }
    rm -f "build-$preset.log"
    cmake --build --preset "$preset" ${1:+--target "$@"} >&2 || die "The build failed"
}
