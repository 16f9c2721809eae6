#!/usr/bin/env bash
# Usage: install_and_move.sh CMAKE BUILD STAGE MOVED
set -euo pipefail
cmake=$1 build=$2 stage=$3 moved=$4
rm -rf "$stage" "$moved"
"$cmake" --install "$build" --prefix "$stage"
mv "$stage" "$moved"
