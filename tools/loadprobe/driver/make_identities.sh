#!/bin/sh
# make_identities.sh DIRECTORY
#
# Makes the two throwaway signing identities of a development build below DIRECTORY: "maker", which
# gives the driver its own signature, and "publisher", which gives the nested one. Each is a root, an
# intermediate and a code-signing leaf. What stays: NAME-root.pem to verify with, NAME-chain.pem
# (leaf, then intermediate) and NAME-leaf.key to sign with, readable by the owner only; the keys of
# the roots and the intermediates never reach a disk. An existing DIRECTORY is kept as it is, so that
# every build that shares it signs with the same keys.
set -eu

directory=$1
[ ! -d "$directory" ] || exit 0
umask 077
# dash runs no EXIT trap for a signal that has none of its own.
work=
trap '[ -z "$work" ] || rm -rf "$work"' EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
mkdir -p "$(dirname "$directory")"
# Made aside and moved into place in one step: builds that share the directory may run at once.
work=$(mktemp -d "$directory.XXXXXX")

# Relative names: an absolute one may hold what openssl's configuration takes for syntax.
configuration() {
  cat <<'END'
[ca]
default_ca = throwaway
[throwaway]
database = index.txt
new_certs_dir = .
rand_serial = yes
default_md = sha256
policy = policy
unique_subject = no
[policy]
organizationName = supplied
commonName = supplied
[root]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[intermediate]
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[leaf]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = codeSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
END
}

# certify NAME ROLE ISSUER...: the certificate of a new key, which is $key afterwards, signed as the
# openssl options ISSUER say with the key that was $key before; a root's with its own.
# The dates are fixed and wide, so that any SOURCE_DATE_EPOCH of our time falls into them.
certify() {
  name=$1 role=$2 issuer_key=$key
  shift 2
  key=$(openssl genrsa 2048) &&
    printf '%s\n' "$key" | openssl req -new -sha256 -key /dev/stdin \
      -subj "/O=loadprobe throwaway $name/CN=loadprobe throwaway $name $role" \
      -out "$name-$role.csr" &&
    : >index.txt &&
    printf '%s\n' "${issuer_key:-$key}" | openssl ca -batch -notext -config ca.cnf \
      -extensions "$role" -startdate 20200101000000Z -enddate 20491231235959Z \
      -keyfile /dev/stdin -in "$name-$role.csr" -out "$name-$role.pem" "$@"
}

# identity NAME: ends with a look at what was written, because openssl reports no failed write.
identity() {
  key=
  certify "$1" root -selfsign &&
    certify "$1" intermediate -cert "$1-root.pem" &&
    certify "$1" leaf -cert "$1-intermediate.pem" &&
    cat "$1-leaf.pem" "$1-intermediate.pem" >"made/$1-chain.pem" &&
    cp "$1-root.pem" made/ &&
    printf '%s\n' "$key" >"made/$1-leaf.key" &&
    openssl verify -CAfile "made/$1-root.pem" -untrusted "made/$1-chain.pem" "made/$1-chain.pem" &&
    [ "$(openssl pkey -in "made/$1-leaf.key" -pubout)" = \
      "$(openssl x509 -in "made/$1-chain.pem" -noout -pubkey)" ]
}

make_all() {
  cd "$work" && mkdir made && configuration >ca.cnf && identity maker && identity publisher
}

(make_all) >"$work/log" 2>&1 || {
  grep '' "$work/log" >&2 || : # whose last line may be cut
  echo "make_identities.sh: the throwaway signing identities could not be made: is the disk full?" >&2
  exit 1
}
mv -T "$work/made" "$directory" 2>/dev/null || [ -f "$directory/publisher-leaf.key" ]
