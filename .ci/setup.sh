# Sourced by run, test and .ci/run: where the project lies, what it needs from Debian, and how a preset is built.

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

# ccache may answer for files that use the precompiled header.
export CCACHE_SLOPPINESS="${CCACHE_SLOPPINESS:-pch_defines,time_macros,include_file_mtime,include_file_ctime}"

# install_packages WITHOUT...: installs every package of packages.txt that is missing, but for those with a word in WITHOUT.
# Does nothing at all when none is missing.
install_packages() {
    local without=" $* " package why present missing=()
    if ! command -v dpkg-query >/dev/null; then
        echo "Not a Debian system: install by hand what packages.txt names." >&2
        return 0
    fi
    present=" $(dpkg-query --show --showformat='${db:Status-Status} ${binary:Package}\n' |
        awk '$1 == "installed" { sub(/:.*/, "", $2); print $2 }' | tr '\n' ' ') "
    while read -r package why; do
        [[ -z $package || $package == \#* || $without == *" $why "* || $present == *" $package "* ]] || missing+=("$package")
    done <"$project/packages.txt"
    ((${#missing[@]})) || return 0

    echo "Installing from Debian: ${missing[*]}" >&2
    local as_root=()
    ((EUID == 0)) || as_root=(sudo)
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Acquire::Retries=3)
    "${apt[@]}" update >&2
    "${apt[@]}" install --yes --no-install-recommends "${missing[@]}" >&2
}

# configure PRESET: makes its build folder ready. Under CI a warning of the preset dev is an error, and it is built as lightly as
# the sanitizers' presets, which takes a third less time; built so, the compiler sees some warnings that are none. Says
# nothing on standard output.
configure() {
    local settings=(-DLARKSPOOL_WARNINGS_AS_ERRORS=OFF)
    [[ ${CI:-} != true || $1 != dev ]] ||
        settings=(-DLARKSPOOL_WARNINGS_AS_ERRORS=ON "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -Wno-maybe-uninitialized")
    (cd "$project" && cmake --preset "$1" --log-level=WARNING "${settings[@]}") >&2
}

# build PRESET [TARGET...]: configures a preset and builds it, all of it or the named targets. Says nothing on standard output.
build() {
    configure "$1"
    (cd "$project" && cmake --build --preset "$1" --parallel "$jobs" ${2:+--target "${@:2}"}) >&2
}
