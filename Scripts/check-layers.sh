#!/bin/sh
# Checks that a library knows nothing of those above it: no name, header, folder or operation of theirs.
#
#   check-layers.sh ROOT
set -eu
cd "$1"
product='PellixProvidersSDK|PellixProvider|PellixSettings|PellixDispatcher|PellixError|Deflection|deflection|Source/(Models|Providers|Resources|Settings)/'
knowledge='Veltrane|Lumeno|lumeno|/knowledge|knowledge base'
core='Quorvel'
faults=$(
  # shellcheck disable=SC2086
  {
    grep -rnE "$product|$knowledge|$core" Platform || true
    grep -rnE "$product|$knowledge" QuorvelCoreSDK || true
    grep -rnE "$product" VeltraneProvidersSDK || true
  }
)
[ -z "$faults" ] && exit
echo "These know what stands above them:"
echo "$faults"
exit 1
