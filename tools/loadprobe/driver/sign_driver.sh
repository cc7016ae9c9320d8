#!/bin/sh
# sign_driver.sh UNSIGNED SIGNED: signs the test driver. What it signs with comes from the
# environment:
#
#   KR_SIGN_CERTIFICATE  the identity to ship with: a PKCS#12 file, or a PEM certificate together
#                        with KR_SIGN_KEY. Gives one signature.
#   KR_SIGN_KEY          its PEM key, or the pkcs11: address of a key on a token.
#   KR_SIGN_PKCS11       module (shared library) of that token; empty for keys in files.
#   KR_SIGN_CHAIN        PEM file of the certificates between it and its root; may be empty.
#   KR_SIGN_TIMESTAMP    address of an RFC 3161 time-stamp server; may be empty.
#   KR_DRIVER_PASSWORD   password of the PKCS#12 file or the key, PIN of the token; may be unset.
#   KR_SIGN_IDENTITIES   without KR_SIGN_CERTIFICATE: the directory of the two throwaway identities,
#                        made when missing. Gives two signatures, the second nested in the first.
#   SOURCE_DATE_EPOCH    signing time in seconds since 1970. The throwaway identities sign with a
#                        fixed time when it is unset, so that the same sources and keys give the
#                        same bytes; the identity to ship with then signs with the current time.
#
# SIGNED appears whole or not at all.
set -eu

unsigned=$1
signed=$2
here=$(dirname "$0")
umask 077
# dash runs no EXIT trap for a signal that has none of its own.
work=
trap '[ -z "$work" ] || rm -rf "$work"' EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
work=$(mktemp -d "$signed.XXXXXX")

# fail WHAT: the tool's words, then ours.
fail() {
  grep '' "$work/log" >&2 || : # whose last line may be cut
  echo "sign_driver.sh: $1" >&2
  exit 1
}

# sign IN OUT COUNT OPTION...: one signature more, COUNT of them then. The password goes through a
# pipe: every user sees a command line, and a file would outlive a kill. osslsigncode reports no failed
# write, so what it wrote is read back: a checksum over the whole file, and signatures over what stands
# before them. Whether somebody trusts them is not asked, so the exit status of verify says nothing.
sign() {
  in=$1 out=$2 count=$3
  shift 3
  [ -z "${KR_DRIVER_PASSWORD:-}" ] || set -- "$@" -readpass /dev/stdin
  printf '%s' "${KR_DRIVER_PASSWORD:-}" |
    osslsigncode sign -h sha256 -n krdummy "$@" -in "$in" -out "$out" >"$work/log" 2>&1 ||
    fail "osslsigncode could not sign $in"
  osslsigncode verify -in "$out" >"$work/log" 2>&1 || :
  if grep -qE 'MISMATCH|invalid PE checksum' "$work/log" ||
    [ "$(grep -c '^Calculated message digest' "$work/log")" -ne "$count" ]; then
    fail "the signature just made of $in cannot be read back: is the disk full?"
  fi
}

# warn_of_signer FILE: what osslsigncode takes without a word, though a system may refuse the driver for
# it whoever trusts the signer.
warn_of_signer() {
  signature=$work/signature.pem signer=$work/signer.pem
  osslsigncode extract-signature -pem -in "$1" -out "$signature" >"$work/log" 2>&1 &&
    openssl smime -verify -noverify -nosigs -inform PEM -in "$signature" -signer "$signer" \
      -out /dev/null >"$work/log" 2>&1 || fail "the signer cannot be read back from $1"
  fact() { openssl x509 -in "$signer" -noout "$@" 2>/dev/null | sed '1s/^[a-zA-Z]*=//'; }
  warn() { echo "sign_driver.sh: warning: the certificate of $(fact -subject) $1" >&2; }
  now=$(date +%s)
  [ "$(date -d "$(fact -startdate)" +%s)" -le "$now" ] ||
    warn "is not valid before $(fact -startdate)"
  [ "$(date -d "$(fact -enddate)" +%s)" -ge "$now" ] || warn "expired on $(fact -enddate)"
  fact -ext extendedKeyUsage | grep -q 'Code Signing' || warn "is not for code signing"
  issuer=$(fact -issuer)
  openssl pkcs7 -in "$signature" -print_certs -noout | grep -qFx "subject=$issuer" ||
    warn "is not followed by its issuer's: name that in KR_DRIVER_CHAIN"
}

sign_to_ship() {
  set --
  if [ -n "${KR_SIGN_KEY:-}" ]; then
    # One PEM file: the leaf first, then its chain. Either's last line may lack its end.
    awk 1 "$KR_SIGN_CERTIFICATE" ${KR_SIGN_CHAIN:+"$KR_SIGN_CHAIN"} >"$work/chain.pem"
    set -- -certs "$work/chain.pem" -key "$KR_SIGN_KEY" \
      ${KR_SIGN_PKCS11:+-pkcs11module "$KR_SIGN_PKCS11"}
  else
    set -- -pkcs12 "$KR_SIGN_CERTIFICATE" ${KR_SIGN_CHAIN:+-ac "$KR_SIGN_CHAIN"}
  fi
  sign "$unsigned" "$work/signed.sys" 1 "$@" \
    ${KR_SIGN_TIMESTAMP:+-ts "$KR_SIGN_TIMESTAMP"} ${SOURCE_DATE_EPOCH:+-time "$SOURCE_DATE_EPOCH"}
  warn_of_signer "$work/signed.sys"
}

sign_to_develop() {
  "$here/make_identities.sh" "$KR_SIGN_IDENTITIES"
  time=${SOURCE_DATE_EPOCH:-1704067200}
  KR_DRIVER_PASSWORD=
  sign "$unsigned" "$work/once.sys" 1 -time "$time" \
    -certs "$KR_SIGN_IDENTITIES/maker-chain.pem" -key "$KR_SIGN_IDENTITIES/maker-leaf.key"
  sign "$work/once.sys" "$work/signed.sys" 2 -nest -time "$time" \
    -certs "$KR_SIGN_IDENTITIES/publisher-chain.pem" -key "$KR_SIGN_IDENTITIES/publisher-leaf.key"
}

if [ -n "${KR_SIGN_CERTIFICATE:-}" ]; then
  sign_to_ship
else
  sign_to_develop
fi
chmod 644 "$work/signed.sys"
mv -f "$work/signed.sys" "$signed"
