#!/bin/sh
# CheckUnits.sh FOLDER: the unit files in FOLDER are well-formed, and the service is as locked up as it claims to be.
# Without systemd-analyze there is nothing to check them with: a line says so.
set -eu
if ! command -v systemd-analyze >/dev/null; then
    echo "systemd-analyze is not installed: the unit files are not checked"
    exit 0
fi
FOLDER=$(mktemp -d)
trap 'rm -rf "$FOLDER"' EXIT
# The program needn't be installed for the check; what stands in its place has to be a program.
for UNIT in "$1"/*; do
    sed 's#^ExecStart=/usr/bin/zn #ExecStart=/bin/true #' "$UNIT" >"$FOLDER/${UNIT##*/}"
done
COMPLAINTS=$(systemd-analyze verify --man=no "$FOLDER"/zn-serve.service "$FOLDER"/zn-serve.socket 2>&1) || {
    echo "$COMPLAINTS"
    exit 1
}
# What verify warns of it doesn't fail for.
if [ -n "$COMPLAINTS" ]; then
    echo "$COMPLAINTS"
    exit 1
fi
systemd-analyze security --offline=true --threshold=15 "$FOLDER/zn-serve.service" | tail -1
