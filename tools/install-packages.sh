#!/usr/bin/env bash
# Installs the Debian packages that a command needs and that are missing: packages.txt up to the end
# of the command's section.
#
#   tools/install-packages.sh ./run | ./test | .ci/run
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)

wanted=$(awk -v last="# $1" '
  /^#/ { section = $0; next }
  /^$/ { if (section == last) exit; next }
  { print }' "$here/packages.txt")

missing=()
for package in $wanted; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ]; then
  echo "$1 needs packages that are not installed. As root, run:" >&2
  echo "  apt-get update && apt-get install --no-install-recommends -y ${missing[*]}" >&2
  exit 1
fi
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install --no-install-recommends -y -qq "${missing[@]}" >/dev/null
