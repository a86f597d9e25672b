#!/bin/sh
# Every relative link of the Markdown documents leads to a file of the project.
set -eu
cd "$SOURCE_DIR"
broken=0
for document in *.md docs/*.md samples/*.md; do
    [ -f "$document" ] || continue
    folder=$(dirname "$document")
    for target in $(grep -o '](\([^)#]*\)' "$document" | sed 's/^](//' | grep -v '^[a-z]*:'); do
        if [ ! -e "$folder/$target" ]; then
            echo "$document: $target does not exist"
            broken=1
        fi
    done
done
exit $broken
