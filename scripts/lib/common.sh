# Shared by the scripts: where things are and how to say what happens. Sourced, never run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
preset=${TAVIX_PRESET:-release}
build=$root/build/$preset

say() { printf '== %s\n' "$*"; }

# Runs a step that ends with this script even when a signal reaches the script alone; an unbound step would go on.
bound() { setpriv --pdeathsig TERM "$@"; }

die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}
