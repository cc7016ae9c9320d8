#!/bin/bash
# Makes the reference pages of the public headers in build/reference/html; fails at any warning.
set -eu
cd "$(dirname "$0")/../.."
source tools/scripts/common.sh
logs=$PWD/build/reference
mkdir -p "$logs"
echo "${bold}loadprobe: reference pages$plain"
need doxygen=doxygen python3=python3
KR_PUBLIC_HEADERS=$(tools/scripts/include_graph.py --public)
export KR_PUBLIC_HEADERS
doxygen docs/Doxyfile
row pages build/reference/html/index.html
