#!/usr/bin/env bash
# Draws the pictures of the documentation anew: the diagrams beside their sources in Docs/Diagrams, and
# what `pellix ask` shows in a terminal, from what ./demo has built.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages graphviz mscgen python3
for source in Docs/Diagrams/*.dot; do dot -Tsvg "$source" -o "${source%.*}.svg"; done
for source in Docs/Diagrams/*.msc; do
  # On white, like the others, whatever page it stands on.
  mscgen -T svg -i "$source" -o - |
    sed 's|text-rendering="geometricPrecision">|&<rect width="100%" height="100%" fill="white"/>|' >"${source%.*}.svg"
done

PATH=$PWD/${PELLIX_BUILD:-build/release}/bin:$PATH
exec {listening}< <(exec answer-service --quiet --token a-token)
trap "kill $!" EXIT
read -r -u "$listening" line
export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token TERM=xterm-256color
Scripts/draw-terminal.py 92 pellix ask "I forgot my password" >Docs/Pictures/ask.svg
