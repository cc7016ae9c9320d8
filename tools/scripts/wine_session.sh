#!/bin/bash
# wine_session.sh start|stop PREFIX: the session that the tests under Wine share.
set -eu
source "$(dirname "$0")/common.sh"
use_prefix "$2"
"$1_wine"
