#!/bin/sh
# sign_driver.sh UNSIGNED SIGNED: signs the test driver. What it signs with comes from the
# environment:
#
#   KR_SIGN_CERTIFICATE  the identity to ship with: a PKCS#12 file, or a PEM certificate together
#                        with KR_SIGN_KEY. Gives one signature.
#   KR_SIGN_KEY          its PEM key.
#   KR_SIGN_CHAIN        PEM file of the certificates between it and its root; may be empty.
#   KR_SIGN_TIMESTAMP    address of an RFC 3161 time-stamp server; may be empty.
#   KR_DRIVER_PASSWORD   password of the PKCS#12 file or the key; may be unset.
#   KR_SIGN_IDENTITIES   without KR_SIGN_CERTIFICATE: the directory of the two throwaway identities,
#                        made when missing. Gives two signatures, the second nested in the first.
#   SOURCE_DATE_EPOCH    signing time in seconds since 1970. The throwaway identities sign with a
#                        fixed time when it is unset, so that the same sources and keys give the
#                        same bytes; the identity to ship with then signs with the current time.
set -eu

unsigned=$1
signed=$2
here=$(dirname "$0")
umask 077
work=$(mktemp -d "$signed.XXXXXX")
trap 'rm -rf "$work"' EXIT

# sign IN OUT OPTION...: one signature; osslsigncode's words appear only when it fails.
sign() {
  in=$1 out=$2
  shift 2
  osslsigncode sign -h sha256 -n krdummy "$@" -in "$in" -out "$out" >"$work/log" 2>&1 || {
    cat "$work/log" >&2
    echo "sign_driver.sh: osslsigncode could not sign $in" >&2
    exit 1
  }
}

sign_to_ship() {
  set --
  if [ -n "${KR_SIGN_KEY:-}" ]; then
    # One PEM file: the leaf first, then its chain.
    cat "$KR_SIGN_CERTIFICATE" ${KR_SIGN_CHAIN:+"$KR_SIGN_CHAIN"} >"$work/chain.pem"
    set -- "$@" -certs "$work/chain.pem" -key "$KR_SIGN_KEY"
  else
    set -- "$@" -pkcs12 "$KR_SIGN_CERTIFICATE" ${KR_SIGN_CHAIN:+-ac "$KR_SIGN_CHAIN"}
  fi
  if [ -n "${KR_DRIVER_PASSWORD:-}" ]; then
    # Through a file that only the owner reads: a command line is seen by every user.
    printf '%s' "$KR_DRIVER_PASSWORD" >"$work/password"
    set -- "$@" -readpass "$work/password"
  fi
  sign "$unsigned" "$work/signed.sys" "$@" \
    ${KR_SIGN_TIMESTAMP:+-ts "$KR_SIGN_TIMESTAMP"} ${SOURCE_DATE_EPOCH:+-time "$SOURCE_DATE_EPOCH"}
}

sign_to_develop() {
  "$here/make_identities.sh" "$KR_SIGN_IDENTITIES"
  time=${SOURCE_DATE_EPOCH:-1704067200}
  sign "$unsigned" "$work/once.sys" -time "$time" \
    -certs "$KR_SIGN_IDENTITIES/maker-chain.pem" -key "$KR_SIGN_IDENTITIES/maker-leaf.key"
  sign "$work/once.sys" "$work/signed.sys" -nest -time "$time" \
    -certs "$KR_SIGN_IDENTITIES/publisher-chain.pem" -key "$KR_SIGN_IDENTITIES/publisher-leaf.key"
}

if [ -n "${KR_SIGN_CERTIFICATE:-}" ]; then
  sign_to_ship
else
  sign_to_develop
fi
chmod 644 "$work/signed.sys"
mv "$work/signed.sys" "$signed"
