#!/usr/bin/env bash
# Draws the pictures of the documentation anew: the diagrams beside their sources in Docs/Diagrams, what
# `pellix ask` shows in a terminal, and the windows of Examples, from what `./test --preset release` has built.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages graphviz libgtk-4-dev mscgen python3 qt6-base-dev xauth xvfb
for source in Docs/Diagrams/*.dot; do dot -Tsvg "$source" -o "${source%.*}.svg"; done
for source in Docs/Diagrams/*.msc; do
  # On white, like the others, whatever page it stands on.
  mscgen -T svg -i "$source" -o - |
    sed 's|text-rendering="geometricPrecision">|&<rect width="100%" height="100%" fill="white"/>|' >"${source%.*}.svg"
done

build=$PWD/${PELLIX_BUILD:-build/release}
PATH=$build/bin:$PATH
exec {listening}< <(exec answer-service --quiet --token a-token)
trap "kill $!" EXIT
read -r -u "$listening" line
export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token TERM=xterm-256color
Scripts/draw-terminal.py 92 pellix ask "I forgot my password" >Docs/Pictures/ask.svg
for toolkit in gtk qt; do
  PELLIX_PICTURE=Docs/Pictures/$toolkit-window.png xvfb-run -a \
    env LD_PRELOAD="$build/Tests/Examples/libdrive-$toolkit.so" "$toolkit-window" "I forgot my password" >/dev/null
done
