# Certificates for the HTTPS test sites, made with the openssl tool into $1:
# ca.pem (a test authority), valid.pem (from it, 127.0.0.1, expires in 10 days),
# expired.pem (from it, expired in 2020) and self.pem (self-signed); each with its -key.pem.
make_test_certificates() {
    local dir=$1
    mkdir -p "$dir/ca-db"
    touch "$dir/ca-db/index.txt"
    echo 1000 >"$dir/ca-db/serial"
    cat >"$dir/ca.cnf" <<CONF
[ ca ]
default_ca = test_ca
[ test_ca ]
dir = $dir/ca-db
database = \$dir/index.txt
new_certs_dir = \$dir
serial = \$dir/serial
default_md = sha256
policy = any_name
x509_extensions = leaf
unique_subject = no
[ any_name ]
commonName = supplied
[ leaf ]
subjectAltName = IP:127.0.0.1
basicConstraints = CA:FALSE
CONF
    local quiet=(-nodes -newkey ec -pkeyopt ec_paramgen_curve:P-256)
    openssl req -x509 "${quiet[@]}" -keyout "$dir/ca-key.pem" -out "$dir/ca.pem" \
        -subj /CN=Ravo-Test-CA -days 30 2>/dev/null
    for leaf in valid expired; do
        openssl req "${quiet[@]}" -keyout "$dir/$leaf-key.pem" -out "$dir/$leaf.csr" \
            -subj /CN=127.0.0.1 2>/dev/null
    done
    openssl ca -batch -config "$dir/ca.cnf" -cert "$dir/ca.pem" -keyfile "$dir/ca-key.pem" \
        -in "$dir/valid.csr" -out "$dir/valid.pem" -days 10 -notext 2>/dev/null
    openssl ca -batch -config "$dir/ca.cnf" -cert "$dir/ca.pem" -keyfile "$dir/ca-key.pem" \
        -in "$dir/expired.csr" -out "$dir/expired.pem" -startdate 20200101000000Z \
        -enddate 20200201000000Z -notext 2>/dev/null
    openssl req -x509 "${quiet[@]}" -keyout "$dir/self-key.pem" -out "$dir/self.pem" \
        -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -days 30 2>/dev/null
    for cert in ca valid expired self; do
        [ -s "$dir/$cert.pem" ] || { echo "could not make $cert.pem" >&2; return 1; }
    done
}
