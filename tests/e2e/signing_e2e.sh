#!/bin/bash
# signing_e2e.sh SIGNED IDENTITIES UNSIGNED: both signatures of the built driver hold, the driver can be signed
# with an identity to ship with, in either form, and signing that fails, is stopped or killed leaves neither a
# broken driver nor a secret.
set -u
signed=$1 identities=$2 unsigned=$3
source "$(dirname "$0")/lib.sh"
driver=$(realpath "$(dirname "$0")/../../tools/loadprobe/driver")
sign=$driver/sign_driver.sh
unset KR_DRIVER_PASSWORD SOURCE_DATE_EPOCH
out=$work/out
mkdir "$out" && cd "$work" || exit

# holds COUNT FILE ROOT...: every signature of FILE leads to one of the roots, and there are COUNT.
# The tool's own exit status is content with one that does.
holds() {
  cat "${@:3}" >roots.pem
  osslsigncode verify -CAfile roots.pem -in "$2" | tee verify
  [ "$(grep -c '^Signature verification: ok' verify)" -eq "$1" ] &&
    grep -q "^Number of verified signatures: $1" verify
}

# leaves WHAT [FILE...]: what lies in $out, which is emptied.
leaves() {
  check "$1 leaves" "$(ls -A "$out" | paste -sd' ')" "${*:2}"
  rm -rf "$out" && mkdir "$out"
}

# fails WHAT COMMAND...: an error with a word of the script's, and nothing made.
fails() {
  local word
  word=$("${@:2}" 2>&1)
  check "$1" "$? $(tail -n 1 <<<"$word" | grep -c '^[a-z_]*\.sh: ')" '1 1'
  leaves "$1"
}

roots=("$identities/maker-root.pem" "$identities/publisher-root.pem")
passes 'both throwaway signatures hold' holds 2 "$signed" "${roots[@]}"
export KR_SIGN_IDENTITIES=$identities
passes 'the same keys: signs' "$sign" "$unsigned" "$out/again.sys"
passes 'the same keys: the same bytes' cmp "$signed" "$out/again.sys"
leaves 'the same keys' again.sys

# With less room than the signed driver takes the tools lose what they cannot write, and say nothing.
with_room() { (trap '' XFSZ && ulimit -f "$1" && "${@:2}"); }
for blocks in 1 $(($(stat -c %s "$unsigned") / 1024)) $(($(stat -c %s "$signed") / 1024)); do
  fails "room for $blocks KiB: no driver" with_room "$blocks" "$sign" "$unsigned" "$out/none.sys"
done
fails 'room for 1 KiB: no identities' with_room 1 "$driver/make_identities.sh" "$out/none"

odd=$out/"it's \$1 \"#2\""
KR_SIGN_IDENTITIES=$odd/keys passes 'a folder with an odd name' \
  eval 'mkdir "$odd" && "$sign" "$unsigned" "$odd/krdummy.sys" &&
    holds 2 "$odd/krdummy.sys" "$odd/keys/maker-root.pem" "$odd/keys/publisher-root.pem"'
leaves 'a folder with an odd name' "${odd##*/}"

# The maker's identity once more, as one would get it: encrypted key, separate chain.
printf %s "$(openssl x509 -in "$identities/maker-chain.pem")" >leaf.pem # whose last line lacks its end
sed '1,/END CERTIFICATE/d' "$identities/maker-chain.pem" >chain.pem
openssl rsa -aes256 -passout pass:secret -in "$identities/maker-leaf.key" -out leaf.key 2>/dev/null
openssl pkcs12 -export -passout pass:secret -inkey "$identities/maker-leaf.key" -in leaf.pem -out leaf.p12

# ship [NAME=VALUE...]: signs with the identity that the KR_SIGN_* variables name.
ship() { env KR_DRIVER_PASSWORD=secret "$@" "$sign" "$unsigned" "$out/shipped.sys"; }

export KR_SIGN_CHAIN=chain.pem KR_SIGN_CERTIFICATE KR_SIGN_KEY=
for KR_SIGN_CERTIFICATE in leaf.p12 leaf.pem; do
  [ $KR_SIGN_CERTIFICATE = leaf.p12 ] || KR_SIGN_KEY=leaf.key
  passes "$KR_SIGN_CERTIFICATE: signs" ship
  check "$KR_SIGN_CERTIFICATE: warns of nothing" "$(cat log)" ''
  passes "$KR_SIGN_CERTIFICATE: the signature holds" holds 1 "$out/shipped.sys" "${roots[0]}"
  leaves "$KR_SIGN_CERTIFICATE" shipped.sys
  fails "$KR_SIGN_CERTIFICATE: wrong password" ship KR_DRIVER_PASSWORD=wrong
done
fails 'unreachable time-stamp server' ship KR_SIGN_TIMESTAMP=http://127.0.0.1:9/

# warns WHAT PATTERN [NAME=VALUE...]: signs all the same.
warns() {
  passes "$1: signs" ship "${@:3}"
  check "$1: warns" "$(grep -cE "warning: the certificate of .* $2" log)" 1
  leaves "$1" shipped.sys
}

# certificate NAME FIRST LAST USE: of the same key, signed by itself.
certificate() {
  printf '[ca]\ndefault_ca=a\n[a]\ndatabase=index\nnew_certs_dir=.\nrand_serial=yes\npolicy=p\n[p]\n' >ca.cnf
  printf 'commonName=supplied\n[use]\nextendedKeyUsage=%s\n' "$4" >>ca.cnf
  : >index
  openssl req -new -key "$identities/maker-leaf.key" -subj /CN=tried -out request.pem
  openssl ca -batch -notext -config ca.cnf -md sha256 -extensions use -selfsign -startdate "$2" -enddate "$3" \
    -keyfile "$identities/maker-leaf.key" -in request.pem -out "$1" 2>/dev/null
}
certificate old.pem 20200101000000Z 20210101000000Z codeSigning
certificate early.pem 20480101000000Z 20490101000000Z codeSigning
certificate other.pem 20200101000000Z 20490101000000Z serverAuth
warns expired 'expired on ' KR_SIGN_CERTIFICATE=old.pem
warns early 'is not valid before ' KR_SIGN_CERTIFICATE=early.pem
warns 'another use' 'is not for code signing' KR_SIGN_CERTIFICATE=other.pem
warns 'no chain' "is not followed by its issuer's" KR_SIGN_CHAIN=

# Tools that send a signal to everything of their session when one of them is called for the n-th time.
mkdir bin
for tool in openssl osslsigncode; do
  cat >bin/$tool <<'END'
#!/bin/sh
echo >>"$CALLS"
[ "$(wc -l <"$CALLS")" -ne "$CALL" ] || kill -s "$SIGNAL" 0
PATH=${PATH#*:} exec "${0##*/}" "$@"
END
done
chmod +x bin/*

# stopped SIGNAL CALL COMMAND...: what stays: nothing, or after KILL nothing secret. False when there is no such
# call, and the command went its way.
stopped() {
  local code=0 secrets
  : >calls
  env PATH="$work/bin:$PATH" CALLS="$work/calls" SIGNAL="$1" CALL="$2" setsid -w "${@:3}" >log 2>&1 || code=$?
  secrets=$(grep -rlE 'secret|PRIVATE KEY' "$out" | grep -v -- '-leaf\.key$')
  if [ "$1" = KILL ] || [ "$(wc -l <calls)" -lt "$2" ]; then rm -rf "${out:?}"/*; fi
  [ "$(wc -l <calls)" -ge "$2" ] || return
  check "$1 at call $2 of ${3##*/}" "$code $secrets" "$((128 + $(kill -l "$1"))) "
  leaves "$1 at call $2 of ${3##*/}"
} 2>/dev/null
export KR_DRIVER_PASSWORD=secret
for signal in HUP INT TERM KILL; do
  stopped $signal 2 "$sign" "$unsigned" "$out/none.sys"
  stopped $signal 8 "$driver/make_identities.sh" "$out/keys"
done
for signal in TERM KILL; do
  for ((call = 1; call < 100; ++call)); do
    stopped $signal $call "$sign" "$unsigned" "$out/none.sys" || break
  done
  check "$signal: signing ends" $((call > 5 && call < 100)) 1
done

finish
