# shellcheck shell=bash
# What the scripts share: sourced first by each of them.

set -euo pipefail

# The same messages, sort order and encoding wherever it runs; a bare system sets no locale at all.
export LC_ALL=C.UTF-8

# Every script works from the root of the source tree, wherever it was called from.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
cd "$root"

# fail MESSAGE...: ends the script with one line that says why.
fail()
{
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# stage TITLE: announces the next stage, with the time since the script began.
stage()
{
    printf '\n==> [%3d s] %s\n' "$SECONDS" "$*"
}
