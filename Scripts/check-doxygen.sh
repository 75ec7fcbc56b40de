#!/usr/bin/env bash
# Makes the site, out of the pages and of the comments of the public sources, in build/site/html. A
# warning is an error, and so are a link to nothing, a page that is wider than a phone, and a picture that
# is not shown.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages "${site_packages[@]}"
say "Making the site"
rm -rf build/site
Scripts/doxygen-sources.py build/site/sources
(cd build/site/sources && doxygen Docs/Doxyfile)
Scripts/check-links.py build/site/html

say "Looking at it"
look='<script>addEventListener("load", () => {
  const pictures = [...document.querySelectorAll(".image img, .image object, .center iframe")];
  const shown = pictures.filter(picture => picture.getBoundingClientRect().height > 20).length;
  const wider = document.documentElement.scrollWidth - innerWidth;
  document.documentElement.dataset.seen = `${pictures.length - shown} hidden, ${Math.max(wider, 0)} too wide`;
})</script></body>'
for page in index classPellixProvidersSDK_1_1PellixProvider QVLPellix_8h md_Docs_{Troubleshooting,HowItWorks,Benchmarks}; do
  sed "s|</body>|${look//$'\n'/ }|" "build/site/html/$page.html" >build/site/html/looked-at.html
  chromium --headless --no-sandbox --disable-gpu --window-size=500,900 --virtual-time-budget=10000 --dump-dom \
    "file://$PWD/build/site/html/looked-at.html" 2>/dev/null | grep -q 'data-seen="0 hidden, 0 too wide"' ||
    die "$page overflows, or lacks a picture."
done
rm build/site/html/looked-at.html
say "The site is in build/site/html."
