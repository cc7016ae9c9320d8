#!/bin/sh
# make_identities.sh DIRECTORY
#
# Makes the two throwaway signing identities of a development build below DIRECTORY: "maker", which
# gives the driver its own signature, and "publisher", which gives the nested one. Each is a root, an
# intermediate and a code-signing leaf. What stays: NAME-root.pem to verify with, NAME-chain.pem
# (leaf, then intermediate) and NAME-leaf.key to sign with, readable by the owner only; the keys of
# the roots and the intermediates are gone when this script ends. An existing DIRECTORY is kept as it
# is, so that every build that shares it signs with the same keys.
set -eu

directory=$1
[ ! -d "$directory" ] || exit 0
umask 077
mkdir -p "$(dirname "$directory")"
# Made aside and moved into place in one step: builds that share the directory may run at once.
work=$(mktemp -d "$directory.XXXXXX")
trap 'rm -rf "$work"' EXIT

cat >"$work/ca.cnf" <<EOF
[ca]
default_ca = throwaway
[throwaway]
database = $work/index.txt
new_certs_dir = $work
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
EOF

# certify NAME ROLE ISSUER...: a key and its certificate, signed as the openssl options ISSUER say.
# The dates are fixed and wide, so that any SOURCE_DATE_EPOCH of our time falls into them.
certify() {
  name=$1 role=$2
  shift 2
  openssl req -new -newkey rsa:2048 -nodes -sha256 -keyout "$work/$name-$role.key" \
    -subj "/O=loadprobe throwaway $name/CN=loadprobe throwaway $name $role" \
    -out "$work/$name-$role.csr"
  : >"$work/index.txt"
  openssl ca -batch -notext -config "$work/ca.cnf" -extensions "$role" \
    -startdate 20200101000000Z -enddate 20491231235959Z \
    -in "$work/$name-$role.csr" -out "$work/$name-$role.pem" "$@"
}

identity() {
  certify "$1" root -selfsign -keyfile "$work/$1-root.key"
  certify "$1" intermediate -cert "$work/$1-root.pem" -keyfile "$work/$1-root.key"
  certify "$1" leaf -cert "$work/$1-intermediate.pem" -keyfile "$work/$1-intermediate.key"
  mkdir -p "$work/made"
  cat "$work/$1-leaf.pem" "$work/$1-intermediate.pem" >"$work/made/$1-chain.pem"
  cp "$work/$1-root.pem" "$work/$1-leaf.key" "$work/made/"
}

make_all() {
  identity maker
  identity publisher
}

make_all >"$work/log" 2>&1 || {
  cat "$work/log" >&2
  echo "make_identities.sh: openssl could not make the throwaway signing identities" >&2
  exit 1
}
mv -T "$work/made" "$directory" 2>/dev/null || [ -f "$directory/publisher-leaf.key" ]
