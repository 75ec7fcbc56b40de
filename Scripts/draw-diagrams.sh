#!/usr/bin/env bash
# Draws the diagrams of the documentation anew, beside their sources in Docs/Diagrams.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages graphviz mscgen
for source in Docs/Diagrams/*.dot; do dot -Tsvg "$source" -o "${source%.*}.svg"; done
for source in Docs/Diagrams/*.msc; do
  # On white, like the others, whatever page it stands on.
  mscgen -T svg -i "$source" -o - |
    sed 's|text-rendering="geometricPrecision">|&<rect width="100%" height="100%" fill="white"/>|' >"${source%.*}.svg"
done
