#!/bin/bash
# Shows the journal at work on real text, then that a change of one byte is found: demo.sh PATH_TO_JOURNAL
set -euo pipefail

fail() { echo "demo: $*" >&2; exit 1; }

[ $# -eq 1 ] && [ -x "$1" ] || fail "give the path of the journal program"
journal=$(realpath "$1")
root=$(realpath "$(dirname "$0")/../..")

if [ -s /var/log/dpkg.log ] && [ -r /var/log/dpkg.log ]; then
    texts=(/var/log/dpkg.log)
else
    shopt -s nullglob
    texts=("$root"/*.md "$root"/examples/journal/*.md)
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

step() { echo; echo "# $*"; }
run() { echo "\$ journal $*"; "$journal" "$@"; }

# A copy: the package manager may be at work.
cat "${texts[@]}" >text
lines=$(grep -c '' text)

step "Each line of ${texts[*]} becomes a record, chained to the one before under a new key."
run write --key log.key --journal log.jrn text

step "As it was written, the journal is intact."
run verify --key log.key --journal log.jrn | tee verified
grep -qx "log.jrn: intact, $lines records" verified || fail "expected $lines records"

step "Its first and last records: number, time stamp, text."
run show --journal log.jrn --to 3
echo ...
run show --key log.key --journal log.jrn --last 3

step "A sealed record can be read with the key only."
echo "nobody else's business" >secret
run write --seal --key log.key --journal log.jrn secret
run show --journal log.jrn --last 1
run show --key log.key --journal log.jrn --last 1 | tee shown
grep -q "nobody else's business" shown || fail "expected the sealed text"

# The byte to change: the last of a record's text, in front of the 24 bytes of its MAC and CRC.
victim=$(((lines + 1) / 2))
head -n "$victim" text >half
"$journal" write --new --key log.key --journal half.jrn half >printed
# The closing record takes 60 bytes.
offset=$(($(stat -c %s half.jrn) - 60 - 24 - 1))

step "One byte of record $victim is changed in a copy, at offset $offset."
cp log.jrn copy.jrn
old=$(od -An -tu1 -j "$offset" -N 1 copy.jrn)
printf "\\x$(printf %02x $((old ^ 1)))" | dd of=copy.jrn bs=1 seek="$offset" conv=notrunc status=none

step "Verification names the record."
status=0
run verify --key log.key --journal copy.jrn 2>refused || status=$?
cat refused
[ "$status" -eq 1 ] || fail "expected exit status 1 instead of $status"
[ "$(cat refused)" = "journal: copy.jrn: record $victim: damaged: its CRC-32 does not fit" ] || fail "expected record $victim to be named"
