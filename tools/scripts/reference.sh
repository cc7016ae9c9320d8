#!/bin/bash
# Makes the reference pages: see usage below.
set -u
cd "$(dirname "$0")/../.." || exit 2
source tools/scripts/common.sh
help_only 'usage: tools/scripts/reference.sh

Makes the reference pages of the public headers in build/reference/html. Exit status 0 when doxygen had
nothing to warn of.' "$@"

logs=$PWD/build/reference
mkdir -p "$logs" || die "Cannot write to $logs."
echo "${bold}loadprobe: reference pages$plain"
need doxygen=doxygen python3=python3
KR_PUBLIC_HEADERS=$(tools/scripts/include_graph.py --public) || die 'The public headers could not be listed.'
export KR_PUBLIC_HEADERS
doxygen docs/Doxyfile || exit
row pages build/reference/html/index.html
