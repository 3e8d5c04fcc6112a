#!/usr/bin/env bash
# Usage: make-msi.sh FOLDER FULL-VERSION FILE: an installer of the folder, the same bits for the same files.
# SOURCE_DATE_EPOCH gives its time. What wixl has no words for is added to its tables.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$1 version=$2 file=$(realpath -m "$3")
at_that_time() { TZ=UTC faketime -f "@$(date -u -d "@$SOURCE_DATE_EPOCH" '+%Y-%m-%d %H:%M:%S')" "$@"; }
package_code() { python3 -c 'import sys, uuid; print("{" + str(uuid.uuid5(uuid.NAMESPACE_DNS, "package.maravel.example " + sys.argv[1])).upper() + "}")' "$1"; }

rm -f "$file"
find "$folder" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} + # the cabinet keeps the files' times
fill() { python3 "$here/make-installer.py" "$here/$1" "$folder" "$version"; }
fill installer.wxs.in >"$file.wxs"
problems=$(cd "$folder" && at_that_time wixl -a x64 -o "$file" "$file.wxs" 2>&1) || # which takes relative paths only
    problems+=" (wixl failed)"
[[ -z $problems ]] || { printf '%s\n' "$problems" >&2; exit 1; } # it warns of words that it does not know, and leaves them out
fill installer.sql >"$file.sql"
while IFS= read -r query; do
    at_that_time msibuild "$file" -q "$query" || { printf 'this query failed: %s\n' "$query" >&2; exit 1; }
done <"$file.sql"
at_that_time msibuild "$file" -s "MaravelAdapterZorvik $version" maravel 'x64;1033' "$(package_code "$version")"
rm -f "$file.wxs" "$file.sql"
