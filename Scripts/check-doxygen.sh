#!/usr/bin/env bash
# Makes the site, out of the pages and of the comments of the public sources, in build/site/html. A
# warning is an error, and so is a link to nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages doxygen graphviz python3
say "Making the site"
rm -rf build/site
Scripts/doxygen-sources.py build/site/sources
(cd build/site/sources && doxygen Docs/Doxyfile)
Scripts/check-links.py build/site/html
say "The site is in build/site/html."
