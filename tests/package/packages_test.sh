#!/usr/bin/env bash
# Installs the packages of build/packages in a bare Debian 12 root, uses and purges them: packages_test.sh PACKAGES
set -euo pipefail
packages=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Settings of the caller, such as a launcher for compilers, are not there.
clean="env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root ${http_proxy:+http_proxy='$http_proxy'}"
mmdebstrap --quiet --variant=apt \
    --customize-hook='mkdir "$1/try"' \
    --customize-hook="copy-in $(printf '%s ' "$packages"/*.deb) $here/in_bare_root.sh $here/CMakeLists.txt /try" \
    --customize-hook="$clean"' chroot "$1" bash /try/in_bare_root.sh' \
    bookworm /dev/null > "$log" 2>&1 || { tail -n 60 "$log" >&2; exit 1; }
