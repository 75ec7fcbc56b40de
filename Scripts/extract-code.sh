#!/bin/sh
# Prints the code of one language in a page: all of its pieces, one after the other.
#
#   extract-code.sh LANGUAGE PAGE
exec sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/!p}" "$2"
