#!/bin/bash
# The session of Wine that the tests share: see usage below.
set -u
source "$(dirname "$0")/common.sh"
case "$#${1:-}" in
  2start | 2stop)
    use_prefix "$2"
    "$1_wine"
    ;;
  *) help_only 'usage: wine_session.sh start|stop PREFIX' "${@:---}" ;;
esac
