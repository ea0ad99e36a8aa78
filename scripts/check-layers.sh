#!/usr/bin/env bash
# Fails when an include climbs back up the layer order: a folder may include only its own layer
# and the layers below it. The order, lowest first (the README's "Layout" says the same):
layers=(runtime link frames calibration encoding form session plans panel automation scpi)
# Front ends sit on top and may include any layer; the simulated instrument sits beside the
# library over the link; the image exporter needs only the runtime.
front_ends=(cli qt capi panel/win32 automation/com)
set -euo pipefail
cd "$(dirname "$0")/.."

rank_of() {  # rank of a folder path, -1 when it is no layer
    local path=$1 i
    for fe in "${front_ends[@]}"; do [[ $path == "$fe" || $path == "$fe"/* ]] && { echo 100; return; }; done
    case $path in runtime/win32*) echo 0; return;; sim*) echo 1; return;; imaging*) echo 0; return;; esac
    for i in "${!layers[@]}"; do [[ ${path%%/*} == "${layers[$i]}" ]] && { echo "$i"; return; }; done
    echo -1
}

bad=0
while IFS= read -r file; do
    dir=$(dirname "$file")
    from=$(rank_of "$dir")
    [ "$from" -lt 0 ] && continue
    while IFS= read -r target; do
        to=$(rank_of "$(dirname "$target")")
        allowed=1
        if [[ $dir == sim* ]]; then
            [[ $target == runtime/* || $target == link/* || $target == sim/* ]] || allowed=0
        elif [[ $dir == imaging* ]]; then
            [[ $target == runtime/* || $target == imaging/* ]] || allowed=0
        elif [ "$to" -gt "$from" ] || [[ $target == sim/* && $from -lt 100 ]]; then
            allowed=0
        fi
        if [ $allowed -eq 0 ]; then
            echo "layer check: $file includes $target, a higher layer"
            bad=1
        fi
    done < <(sed -n 's/^#include "\([a-z0-9_]*\/[^"]*\)".*/\1/p' "$file")
done < <(git ls-files '*.cpp' '*.hpp')
[ $bad -eq 0 ] && echo "layer check: every include points down"
exit $bad
