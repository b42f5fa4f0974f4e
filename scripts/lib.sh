# Shared by the scripts beside it. Sourced with bash; the caller has set -euo pipefail.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# What a fresh Debian 12 machine lacks to build, test and run the project.
PACKAGES=(
    g++ cmake ninja-build ccache pkg-config
    libboost-dev libboost-thread-dev libboost-system-dev libboost-date-time-dev
    libtirpc-dev rpcsvc-proto rpcbind nlohmann-json3-dev libcli11-dev
    libgtest-dev libgmock-dev libbenchmark-dev python3 python3-jsonschema
)

say() { printf '%s\n' "$*" >&2; }
die() { say "$(basename "$0"): $*"; exit 1; }

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "root rights are needed for: $* (install sudo, or run as root)"
    fi
}

# install_packages NAME...: installs those that are missing, and nothing where none is.
install_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    command -v apt-get >/dev/null || die "not a Debian system: install the equivalents of: ${missing[*]}"
    say "Installing ${missing[*]} ..."
    local log
    log=$(mktemp)
    # rpcbind's package would start the daemon on all addresses; whoever needs one here starts it.
    as_root env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 sh -c 'apt-get update -qq &&
        apt-get install -y -qq --no-install-recommends "$@"' sh "${missing[@]}" >"$log" 2>&1 || {
        cat "$log" >&2
        rm -f "$log"
        die "the packages could not be installed; the lines above say why"
    }
    rm -f "$log"
}

# build PRESET [CMAKE-ARGUMENT...]
build() {
    local preset=$1
    shift
    say "Building ($preset) ..."
    (cd "$ROOT" && cmake --preset "$preset" "$@" >/dev/null && cmake --build --preset "$preset" >&2)
}

portmapper_answers() { rpcinfo -n 111 -t 127.0.0.1 100000 >/dev/null 2>&1 || rpcinfo -p 127.0.0.1 >/dev/null 2>&1; }

# Starts a portmapper where none answers; RPCBIND is then its process id, and stop_portmapper ends it.
RPCBIND=
start_portmapper() {
    PATH=$PATH:/usr/sbin:/sbin
    portmapper_answers && return 0
    if [ "$(id -u)" = 0 ]; then
        rpcbind -w -f &
        RPCBIND=$!
    else
        sudo -n true 2>/dev/null || { say "No portmapper, and no root rights to start one: clients need --port."; return 0; }
        sudo rpcbind -w -f &
        RPCBIND=$!
    fi
    local tries
    for tries in $(seq 100); do
        portmapper_answers && return 0
        kill -0 "$RPCBIND" 2>/dev/null || break
        sleep 0.05
    done
    say "The portmapper did not start: clients need --port."
    stop_portmapper
}

stop_portmapper() {
    [ -n "$RPCBIND" ] || return 0
    as_root kill "$RPCBIND" 2>/dev/null || true
    wait "$RPCBIND" 2>/dev/null || true
    RPCBIND=
}
