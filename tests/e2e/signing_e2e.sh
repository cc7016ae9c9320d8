#!/bin/bash
# signing_e2e.sh SIGNED IDENTITIES UNSIGNED: both signatures of the built driver hold, and the driver
# can be signed with an identity to ship with, in either form, protected by a password.
set -u
signed=$1 identities=$2 unsigned=$3
sign=$(dirname "$0")/../../tools/loadprobe/driver/sign_driver.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
unset KR_DRIVER_PASSWORD SOURCE_DATE_EPOCH

# check WHAT COMMAND...
check() {
  if "${@:2}" >"$work/log" 2>&1; then
    echo "ok    $1"
  else
    echo "FAIL  $1"
    tail -n 20 "$work/log"
    failures=$((failures + 1))
  fi
}

# holds COUNT FILE ROOT...: every signature of FILE leads to one of the roots, and there are COUNT.
# The tool's own exit status is content with one that does.
holds() {
  cat "${@:3}" >"$work/roots.pem"
  osslsigncode verify -CAfile "$work/roots.pem" -in "$2" >"$work/verify"
  cat "$work/verify"
  [ "$(grep -c '^Signature verification: ok' "$work/verify")" -eq "$1" ] &&
    grep -q "^Number of verified signatures: $1" "$work/verify"
}

check 'both throwaway signatures hold' \
  holds 2 "$signed" "$identities/maker-root.pem" "$identities/publisher-root.pem"
cp "$signed" "$work/changed.sys"
printf 'K' | dd of="$work/changed.sys" bs=1 seek=1040 conv=notrunc status=none
check 'a changed driver is found out' eval \
  '! holds 2 "$work/changed.sys" "$identities/maker-root.pem" "$identities/publisher-root.pem"'
check 'the same keys give the same bytes' eval \
  'KR_SIGN_IDENTITIES=$identities "$sign" "$unsigned" "$work/again.sys" &&
   cmp "$signed" "$work/again.sys"'

# The maker's identity once more, as one would get it: encrypted key, separate chain.
openssl x509 -in "$identities/maker-chain.pem" -out "$work/leaf.pem"
sed '1,/END CERTIFICATE/d' "$identities/maker-chain.pem" >"$work/chain.pem"
openssl rsa -aes256 -passout pass:secret -in "$identities/maker-leaf.key" -out "$work/leaf.key" \
  2>/dev/null
openssl pkcs12 -export -passout pass:secret -inkey "$identities/maker-leaf.key" \
  -in "$work/leaf.pem" -out "$work/leaf.p12"

# ship PASSWORD OUT: signs with the identity that the KR_SIGN_* variables name.
ship() {
  KR_DRIVER_PASSWORD=$1 "$sign" "$unsigned" "$2"
}

export KR_SIGN_CHAIN=$work/chain.pem
export KR_SIGN_CERTIFICATE=$work/leaf.p12
check 'PKCS#12: signs' ship secret "$work/p12.sys"
check 'PKCS#12: the signature holds' holds 1 "$work/p12.sys" "$identities/maker-root.pem"
check 'PKCS#12: a wrong password is an error, and nothing is made' eval \
  '! ship wrong "$work/none.sys" && [ ! -e "$work/none.sys" ]'
export KR_SIGN_CERTIFICATE=$work/leaf.pem KR_SIGN_KEY=$work/leaf.key
check 'PEM: signs' ship secret "$work/pem.sys"
check 'PEM: the signature holds' holds 1 "$work/pem.sys" "$identities/maker-root.pem"
check 'PEM: a wrong password is an error, and nothing is made' eval \
  '! ship wrong "$work/none.sys" && [ ! -e "$work/none.sys" ]'
check 'an unreachable time-stamp server is an error, and nothing is made' eval \
  '! KR_SIGN_TIMESTAMP=http://127.0.0.1:9/ ship secret "$work/none.sys" &&
   [ ! -e "$work/none.sys" ]'

exit $((failures != 0))
